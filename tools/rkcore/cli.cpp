#include "cli.h"

#include <QFile>
#include <QJsonDocument>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace rkcli {

namespace {
constexpr int kLabelWidth = 22;

// The error of the first write to standard output that failed (0: none).
int &firstOutputError()
{
    static int error = 0;
    return error;
}

void writeBytes(std::FILE *stream, const QByteArray &bytes)
{
    errno = 0;
    const size_t written = std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    if (written != static_cast<size_t>(bytes.size()) && stream == stdout && firstOutputError() == 0)
        firstOutputError() = errno != 0 ? errno : EIO;
}

void writeUtf8(std::FILE *stream, const QString &text)
{
    writeBytes(stream, text.toUtf8());
}

QList<QByteArray> &storedRawArguments()
{
    static QList<QByteArray> arguments;
    return arguments;
}

QString &storedCommand()
{
    static QString name;
    return name;
}

struct JsonState {
    bool active = false;
    QJsonObject document;
};

JsonState &json()
{
    static JsonState state;
    return state;
}

std::FILE *&errorStream()
{
    static std::FILE *stream = stderr;
    return stream;
}

void writeError(const QString &text)
{
    if (errorStream() != nullptr) writeUtf8(errorStream(), text);
}

// "rkcore ls: " or, before a command is chosen, "rkcore: ".
QString prefix()
{
    const QString &command = storedCommand();
    return command.isEmpty() ? QStringLiteral("rkcore: ") : QStringLiteral("rkcore %1: ").arg(command);
}
} // namespace

void setRawArguments(int argc, char **argv)
{
    storedRawArguments().clear();
    for (int i = 0; i < argc; ++i)
        storedRawArguments().append(QByteArray(argv[i]));
}

QList<QByteArray> rawArguments()
{
    return storedRawArguments();
}

void setErrorStream(std::FILE *stream)
{
    errorStream() = stream;
}

void setCurrentCommand(const QString &name)
{
    storedCommand() = name;
}

QString currentCommand()
{
    return storedCommand();
}

int usageError(const QString &message)
{
    const QString &command = storedCommand();
    const QString help =
        command.isEmpty() ? QStringLiteral("rkcore --help") : QStringLiteral("rkcore %1 --help").arg(command);
    writeError(QStringLiteral("%1%2 (see '%3')\n").arg(prefix(), message, help));
    return kExitUsage;
}

int failure(const QString &message)
{
    writeError(prefix() + message + QLatin1Char('\n'));
    return kExitFailure;
}

void printLine(const QString &text)
{
    writeUtf8(stdout, text + QLatin1Char('\n'));
}

void printBytes(const QByteArray &bytes)
{
    writeBytes(stdout, bytes);
}

void printField(const QString &label, const QString &value)
{
    if (json().active) {
        json().document.insert(label, value);
        return;
    }
    printLine(QStringLiteral("%1 %2").arg(label + QLatin1Char(':'), -kLabelWidth).arg(value));
}

void beginJson()
{
    json().active = true;
    json().document = QJsonObject();
}

bool jsonMode()
{
    return json().active;
}

QJsonObject &jsonDocument()
{
    return json().document;
}

void finishJson()
{
    if (!json().active) return;
    writeBytes(stdout, QJsonDocument(json().document).toJson(QJsonDocument::Indented));
    json().active = false;
}

int checkedExit(int status)
{
    errno = 0;
    const bool failed = std::fflush(stdout) != 0 || std::ferror(stdout) != 0;
    const int error = firstOutputError() != 0 ? firstOutputError() : errno;
    if (failed) {
        writeUtf8(stderr, prefix() + QStringLiteral("cannot write to standard output: %1\n")
                                         .arg(QString::fromLocal8Bit(std::strerror(error != 0 ? error : EIO))));
        (void)std::fflush(stderr);
        return status == 0 ? kExitFailure : status;
    }
    if (std::fflush(stderr) != 0 && status == 0) return kExitFailure;
    return status;
}

QString fromCore(const char *text)
{
    return text == nullptr ? QString() : QString::fromUtf8(text);
}

QString fromCore(const CoreText &text)
{
    return fromCore(text.get());
}

// ---- arguments ----

namespace {
// The argument as it may be shown in an error line: line ends and other
// control characters escaped, so that the line stays one line.
QString shown(const QString &value)
{
    QString text;
    for (const QChar c : value) {
        if (c == QLatin1Char('\n'))
            text += QLatin1String("\\n");
        else if (c == QLatin1Char('\r'))
            text += QLatin1String("\\r");
        else if (c == QLatin1Char('\t'))
            text += QLatin1String("\\t");
        else if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            text += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            text += c;
    }
    return text;
}
} // namespace

bool checkText(const QString &what, const QString &value)
{
    if (value.isEmpty()) return true;
    const auto isBlank = [](QChar c) { return c.isSpace(); };
    QString problem;
    if (value.endsWith(QLatin1Char('\n')) || value.endsWith(QLatin1Char('\r')))
        problem = QStringLiteral("ends in a line end");
    else if (isBlank(value.back()))
        problem = QStringLiteral("ends in a blank");
    else if (isBlank(value.front()))
        problem = QStringLiteral("begins with a blank");
    else if (std::any_of(value.begin(), value.end(), [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; }))
        problem = QStringLiteral("holds a control character");
    if (problem.isEmpty()) return true;
    usageError(QStringLiteral("%1 '%2' %3").arg(what, shown(value), problem));
    return false;
}

std::optional<int64_t> parseInteger(const QString &what, const QString &text, int64_t low, int64_t high)
{
    bool ok = false;
    const qlonglong value = text.toLongLong(&ok, 10);
    const bool digitsOnly = !text.isEmpty() &&
                            std::all_of(text.begin() + (text.startsWith(QLatin1Char('-')) ? 1 : 0), text.end(),
                                        [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); }) &&
                            text != QLatin1String("-");
    if (!digitsOnly) {
        usageError(QStringLiteral("%1 is not a whole number: '%2'").arg(what, shown(text)));
        return std::nullopt;
    }
    if (!ok || value < low || value > high) {
        usageError(QStringLiteral("%1 must lie between %2 and %3, not %4").arg(what).arg(low).arg(high).arg(text));
        return std::nullopt;
    }
    return value;
}

} // namespace rkcli

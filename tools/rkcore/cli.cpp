#include "cli.h"

#include <algorithm>
#include <cstdio>

namespace rkcli {

namespace {
constexpr int kLabelWidth = 22;

void writeUtf8(std::FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    (void)std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
}
} // namespace

namespace {
QList<QByteArray> &storedRawArguments()
{
    static QList<QByteArray> arguments;
    return arguments;
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

int usageError(const QString &message)
{
    writeUtf8(stderr, QStringLiteral("rkcore: %1\n").arg(message));
    return kExitUsage;
}

int failure(const QString &message)
{
    writeUtf8(stderr, QStringLiteral("rkcore: %1\n").arg(message));
    return kExitFailure;
}

void printLine(const QString &text)
{
    writeUtf8(stdout, text + QLatin1Char('\n'));
}

void printField(const QString &label, const QString &value)
{
    printLine(QStringLiteral("%1 %2").arg(label + QLatin1Char(':'), -kLabelWidth).arg(value));
}

QString fromCore(const char *text)
{
    return text == nullptr ? QString() : QString::fromUtf8(text);
}

QString fromCore(const CoreText &text)
{
    return fromCore(text.get());
}

} // namespace rkcli

namespace rkcli {

bool singleArgument(const char *command, const QStringList &arguments, QString &value)
{
    QStringList values = arguments;
    if (!values.isEmpty() && values.first() == QLatin1String("--")) values.removeFirst();
    if (values.size() != 1) {
        usageError(QStringLiteral("%1 takes exactly one argument (see rkcore --help)").arg(QLatin1String(command)));
        return false;
    }
    value = values.first();
    return true;
}

bool splitArguments(const char *command, const QStringList &arguments, std::initializer_list<Flag> flags,
                    QStringList &positional, std::initializer_list<ValueOption> valueOptions)
{
    bool optionsEnded = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (optionsEnded || argument.size() < 2 || !argument.startsWith(QLatin1Char('-'))) {
            positional << argument;
            continue;
        }
        if (argument == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        const ValueOption *option =
            std::find_if(valueOptions.begin(), valueOptions.end(),
                         [&argument](const ValueOption &o) { return argument == QLatin1String(o.name); });
        if (option != valueOptions.end()) {
            if (i + 1 == arguments.size()) {
                usageError(QStringLiteral("%1: option %2 needs a value (see rkcore --help)")
                               .arg(QLatin1String(command), argument));
                return false;
            }
            *option->value = arguments.at(++i);
            continue;
        }
        const Flag *flag = std::find_if(flags.begin(), flags.end(),
                                        [&argument](const Flag &f) { return argument == QLatin1String(f.name); });
        if (flag == flags.end()) {
            usageError(
                QStringLiteral("%1: unknown option %2 (see rkcore --help)").arg(QLatin1String(command), argument));
            return false;
        }
        *flag->given = true;
    }
    return true;
}

} // namespace rkcli

// Shared pieces of the rkcore tool's commands: the command line as bytes, the
// one argument parser every command uses, the error lines, and output that is
// either text or (with --json) one JSON document.
#pragma once

#include <rkcore/rpf_memory.h>

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

namespace rkcli {

// Exit statuses: 0 done, 1 the work failed (a path that cannot be read),
// 2 bad usage (unknown command, bad argument), 3 a service the command needs
// is not usable (no Secret Service, a locked collection).
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitUnavailable = 3;

// The command line's bytes as the program received them (for paths that are
// not UTF-8): set once by main(), then read by the commands.
void setRawArguments(int argc, char **argv);
QList<QByteArray> rawArguments();

// The command being run ("ls"), named in every error line; empty before one
// is chosen.
void setCurrentCommand(const QString &name);
QString currentCommand();

// Where error lines go: standard error unless changed (a test harness may
// discard them with null).
void setErrorStream(std::FILE *stream);

// Writes "rkcore COMMAND: <message> (see 'rkcore COMMAND --help')" to standard
// error and returns kExitUsage.
int usageError(const QString &message);

// Writes "rkcore COMMAND: <message>" to standard error and returns kExitFailure.
int failure(const QString &message);

// Writes text to standard output as UTF-8, followed by a line end.
void printLine(const QString &text);
// Writes bytes to standard output unchanged.
void printBytes(const QByteArray &bytes);

// Writes "label: value" with the label padded so that values line up; in JSON
// mode the pair becomes a member of the document instead.
void printField(const QString &label, const QString &value);

// JSON mode: printField collects members, and commands may add their own;
// finishJson() writes the document (indented) to standard output.
void beginJson();
bool jsonMode();
QJsonObject &jsonDocument();
void finishJson();

// Flushes standard output and standard error at the end of a command: any
// write that failed (a full disk, a closed pipe) gives one line on standard
// error and kExitFailure; otherwise `status` is returned unchanged.
int checkedExit(int status);

// Owns a text the C core returned (free()); empty when the core gave null.
using CoreText = rpf::Text;

// The core's text as a QString (UTF-8); a null QString for a null text.
QString fromCore(const char *text);
QString fromCore(const CoreText &text);

// ---- arguments ----

// An option a command takes: a flag (no valueName) or an option with a value
// in the next argument ("--sort date") or after '=' ("--sort=date").
struct OptionSpec {
    const char *name = nullptr;      // "--sort"
    const char *valueName = nullptr; // "name|date|size|access"; null for a flag
    const char *help = "";
    bool freeValue = false; // the value may hold blanks at its ends (a pattern)
};

// What a command's positional arguments are: texts (strict: no blanks or line
// ends at either end, no control characters) or paths and names (any bytes).
enum class ArgumentKind { Text, Path };

struct Command;

// The parsed command line of one command.
class Arguments {
public:
    bool has(const char *option) const { return given_.contains(QLatin1String(option)); }
    // The value of a valued option, or a null QString when it was not given.
    QString value(const char *option) const { return values_.value(QLatin1String(option)); }
    const QStringList &positional() const { return positional_; }
    // The positional arguments as the command line's bytes.
    const QList<QByteArray> &positionalBytes() const { return positionalBytes_; }
    qsizetype count() const { return positional_.size(); }
    const QString &at(qsizetype index) const { return positional_.at(index); }

private:
    friend std::optional<Arguments> parseArguments(const Command &, const QList<QByteArray> &, bool &);
    QStringList given_;
    QHash<QString, QString> values_;
    QStringList positional_;
    QList<QByteArray> positionalBytes_;
};

// A text argument that must be clean: nothing is refused for a Path; for a
// Text, a leading or trailing blank or line end or any control character is
// reported as a usage error ("argument 'x\n' ends in a line end") and false.
bool checkText(const QString &what, const QString &value);

// A decimal number in [low, high]: "1e3", "+5", blanks, "0x10" and values that
// overflow are refused with a usage error naming `what`; nothing on refusal.
std::optional<int64_t> parseInteger(const QString &what, const QString &text, int64_t low, int64_t high);

} // namespace rkcli

// Shared pieces of the rkcore tool's commands.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdlib>
#include <initializer_list>
#include <memory>

namespace rkcli {

// Exit statuses: 0 done, 1 the work failed (a path that cannot be read),
// 2 bad usage (unknown command, bad argument).
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// The command line's bytes as the program received them (for paths that are
// not UTF-8): set once by main(), then read by the commands.
void setRawArguments(int argc, char **argv);
QList<QByteArray> rawArguments();

// Writes "rkcore: <message>" to standard error and returns kExitUsage.
int usageError(const QString &message);

// Writes "rkcore: <message>" to standard error and returns kExitFailure.
int failure(const QString &message);

// Writes text to standard output as UTF-8, followed by a line end.
void printLine(const QString &text);

// Writes "label: value" with the label padded so that values line up.
void printField(const QString &label, const QString &value);

// Owns a text the C core returned (free()); empty when the core gave null.
struct FreeDeleter {
    void operator()(char *text) const { std::free(text); }
};
using CoreText = std::unique_ptr<char, FreeDeleter>;

// The core's text as a QString (UTF-8); a null QString for a null text.
QString fromCore(const char *text);
QString fromCore(const CoreText &text);

} // namespace rkcli

namespace rkcli {

// For commands that take exactly one argument and no options (the argument
// may begin with '-', as "-rwxr-xr-x" does): stores it in `value` and returns
// true, or reports a usage error and returns false.
bool singleArgument(const char *command, const QStringList &arguments, QString &value);

// A flag option (no value) and where to record that it was given.
struct Flag {
    const char *name; // "--bytes"
    bool *given;
};

// An option that takes the next argument as its value ("--sort date").
struct ValueOption {
    const char *name; // "--sort"
    QString *value;   // set to the value when given
};

// Splits `arguments` into the given flags, valued options and the positional
// arguments; "--" ends the options. Any other argument of two or more
// characters starting with '-' before "--" is reported as "<command>: unknown
// option X", a valued option without its value as "<command>: option X needs
// a value"; both give false.
bool splitArguments(const char *command, const QStringList &arguments, std::initializer_list<Flag> flags,
                    QStringList &positional, std::initializer_list<ValueOption> valueOptions = {});

} // namespace rkcli

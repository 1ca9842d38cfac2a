// rkcore: the framework's command-line tool.
//
//   rkcore COMMAND [ARGUMENTS...]
//
// Each command prints the framework's answers for its input. Unknown commands
// and bad arguments give a one-line error on standard error and exit status 2.

#include <QCoreApplication>

#include "cli.h"
#include "commands.h"

namespace {

void printHelp()
{
    rkcli::printLine(QStringLiteral("Usage: rkcore COMMAND [ARGUMENTS...]\n\nCommands:"));
    for (const rkcli::Command &command : rkcli::commands()) {
        rkcli::printLine(
            QStringLiteral("  %1 %2\n      %3")
                .arg(QLatin1String(command.name), QLatin1String(command.usage), QLatin1String(command.summary)));
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("rkcore"));
    QCoreApplication::setApplicationVersion(QStringLiteral(RKCORE_VERSION));

    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty()) return rkcli::usageError(QStringLiteral("no command given (see rkcore --help)"));
    const QString name = arguments.takeFirst();
    if (name == QLatin1String("--help") || name == QLatin1String("-h") || name == QLatin1String("help")) {
        printHelp();
        return 0;
    }
    if (name == QLatin1String("--version")) {
        rkcli::printLine(QStringLiteral("rkcore %1").arg(QCoreApplication::applicationVersion()));
        return 0;
    }
    for (const rkcli::Command &command : rkcli::commands()) {
        if (name == QLatin1String(command.name)) return command.run(arguments);
    }
    return rkcli::usageError(QStringLiteral("unknown command: %1 (see rkcore --help)").arg(name));
}

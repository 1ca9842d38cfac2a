// rkcore: the framework's command-line tool.
//
//   rkcore COMMAND [ARGUMENTS...]
//
// Each command prints the framework's answers for its input. Unknown commands
// and bad arguments give a one-line error on standard error and exit status 2.

#include <QCoreApplication>
#include <QGuiApplication>

#include <cstring>
#include <memory>

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

// Whether the command named on the command line draws images (icons), which
// needs a QGuiApplication; the others run without a display.
bool drawsImages(int argc, char *argv[])
{
    if (argc < 2) return false;
    for (const rkcli::Command &command : rkcli::commands())
        if (std::strcmp(argv[1], command.name) == 0) return command.drawsImages;
    return false;
}

int main(int argc, char *argv[])
{
    rkcli::setRawArguments(argc, argv);
    std::unique_ptr<QCoreApplication> app;
    if (drawsImages(argc, argv)) {
        if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
            qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        app = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
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

// rkcore: the framework's command-line tool.
//
//   rkcore COMMAND [ARGUMENTS...]
//   rkcore COMMAND --help
//
// Each command prints the framework's answers for its input. Unknown commands
// and bad arguments give a one-line error on standard error and exit status 2;
// a failed write to standard output gives one line and status 1.

#include <QCoreApplication>
#include <QGuiApplication>

#include <cstring>
#include <memory>

#include "cli.h"
#include "commands.h"

namespace {

void printHelp()
{
    rkcli::printLine(
        QStringLiteral("Usage: rkcore COMMAND [ARGUMENTS...]\n"
                       "       rkcore COMMAND --help   (a command's arguments, options and exit statuses)\n"
                       "\nCommands:"));
    for (const rkcli::Command &command : rkcli::commands()) {
        const QString synopsis =
            QStringLiteral("%1 %2").arg(QLatin1String(command.name), QLatin1String(command.usage)).trimmed();
        rkcli::printLine(QStringLiteral("  %1\n      %2").arg(synopsis, QLatin1String(command.summary)));
    }
}

// Runs the command named by words[0] with the words after it.
int runCommand(const QList<QByteArray> &words, int argc, char *argv[])
{
    const rkcli::Command *command = rkcli::findCommand(words.first());
    if (command == nullptr) {
        return rkcli::usageError(QStringLiteral("unknown command '%1'").arg(QString::fromLocal8Bit(words.first())));
    }
    rkcli::setCurrentCommand(QLatin1String(command->name));
    bool help = false;
    const auto arguments = rkcli::parseArguments(*command, words.mid(1), help);
    if (help) {
        rkcli::printCommandHelp(*command);
        return 0;
    }
    if (!arguments) return rkcli::kExitUsage;
    std::unique_ptr<QCoreApplication> app;
    if (command->drawsImages) {
        if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
            qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        app = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName(QStringLiteral("rkcore"));
    QCoreApplication::setApplicationVersion(QStringLiteral(RKCORE_VERSION));
    if (command->json && arguments->has("--json")) rkcli::beginJson();
    const int status = command->run(*arguments);
    // A command that failed before its answer writes no half document.
    if (status == 0 || status == rkcli::kExitFailure) rkcli::finishJson();
    return status;
}

} // namespace

int main(int argc, char *argv[])
{
    rkcli::setRawArguments(argc, argv);
    const QList<QByteArray> words = rkcli::rawArguments().mid(1);
    if (words.isEmpty()) return rkcli::checkedExit(rkcli::usageError(QStringLiteral("no command given")));
    const QByteArray &name = words.first();
    if (name == "--help" || name == "-h" || name == "help") {
        printHelp();
        return rkcli::checkedExit(0);
    }
    if (name == "--version") {
        rkcli::printLine(QStringLiteral("rkcore %1").arg(QStringLiteral(RKCORE_VERSION)));
        return rkcli::checkedExit(0);
    }
    return rkcli::checkedExit(runCommand(words, argc, argv));
}

// rkcore admin-open: opens an application, or a document with an
// application, as administrator, and says what came of it.

#include <rkcore/Alert.h>
#include <rkcore/RBRootRunner.h>

#include <QFile>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

using Outcome = rk::RBRootRunner::Outcome;

QString outcomeText(Outcome outcome)
{
    switch (outcome) {
    case Outcome::NoHelper: return QStringLiteral("failed: could not find the adminopen helper");
    case Outcome::NotAnApplication: return QStringLiteral("not an application");
    case Outcome::NoExecutable: return QStringLiteral("failed: the application has no executable");
    case Outcome::Refused: return QStringLiteral("refused: not authorised as administrator");
    case Outcome::NoAuthority:
        return QStringLiteral("refused: polkit cannot be asked (no polkit daemon or system bus)");
    case Outcome::Failed: return QStringLiteral("failed: could not launch application as Administrator");
    case Outcome::Opened: return QStringLiteral("opened as administrator");
    case Outcome::None: break;
    }
    return QStringLiteral("nothing done");
}

} // namespace

int adminOpenCommand(const Arguments &arguments)
{
    // The paths are the command line's bytes, so names that are not UTF-8
    // reach the helper unchanged.
    const QList<QByteArray> &raw = arguments.positionalBytes();

    // The tool reports the outcome itself: alerts are not shown and do not end it.
    const auto previousAlert = rk::setAlertHandler([](const rk::Alert &) { return 0; });
    const auto previousTerminate = rk::setTerminateHandler([] {});
    const auto runner = rk::RBRootRunner::create();
    if (raw.size() == 1) {
        runner->openItemAtPathAsRoot(raw.at(0));
    } else {
        runner->openItemAsRoot(raw.at(1), raw.at(0));
    }
    rk::setAlertHandler(previousAlert);
    rk::setTerminateHandler(previousTerminate);

    const QString application = QFile::decodeName(raw.at(0));
    const Outcome outcome = runner->lastOutcome();
    if (outcome == Outcome::Opened) {
        printLine(
            raw.size() == 1
                ? QStringLiteral("opened as administrator: %1").arg(application)
                : QStringLiteral("opened as administrator: %1 with %2").arg(application, QFile::decodeName(raw.at(1))));
        return 0;
    }
    return failure(QStringLiteral("%1: %2").arg(application, outcomeText(outcome)));
}

} // namespace rkcli

// rkcore ps: the processes the framework sees, one walk of the process list.

#include <rkcore/RKProcess.h>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {
QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}
} // namespace

int psCommand(const Arguments & /*arguments*/)
{
    printLine(QStringLiteral("%1  %2  %3  %4  %5")
                  .arg(QStringLiteral("PID"), 7)
                  .arg(QStringLiteral("BG-ONLY"), -7)
                  .arg(QStringLiteral("FRONT"), -5)
                  .arg(QStringLiteral("FOREGROUND"), -10)
                  .arg(QStringLiteral("NAME")));
    while (const auto process = rk::RKProcess::getNextProcess()) {
        printLine(QStringLiteral("%1  %2  %3  %4  %5")
                      .arg(process->psn().lowLongOfPSN, 7)
                      .arg(yesNo(process->isBGOnly()), -7)
                      .arg(yesNo(process->isFrontProcess()), -5)
                      .arg(yesNo(process->isForeground()), -10)
                      .arg(process->getName()));
    }
    return 0;
}

} // namespace rkcli

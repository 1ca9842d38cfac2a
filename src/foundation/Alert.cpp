#include <rkcore/Alert.h>

#include <rkcore/Logging.h>

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace rk {

namespace {

struct Handlers {
    AlertHandler alert;
    BeepHandler beep;
    TerminateHandler terminate;
};

Handlers &handlers()
{
    static Handlers instance;
    return instance;
}

} // namespace

int runAlert(const Alert &alert)
{
    if (handlers().alert) return handlers().alert(alert);
    qCWarning(rkcoreLog).noquote() << QStringLiteral("Alert: %1: %2").arg(alert.title, alert.message);
    return 0;
}

void beep()
{
    if (handlers().beep) {
        handlers().beep();
        return;
    }
    (void)std::fputs("\a", stderr);
}

void terminateApplication()
{
    if (handlers().terminate) {
        handlers().terminate();
        return;
    }
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::exit(0);
    } else {
        std::exit(0); // NOLINT(concurrency-mt-unsafe): quitting is what was asked
    }
}

AlertHandler setAlertHandler(AlertHandler handler)
{
    return std::exchange(handlers().alert, std::move(handler));
}

BeepHandler setBeepHandler(BeepHandler handler)
{
    return std::exchange(handlers().beep, std::move(handler));
}

TerminateHandler setTerminateHandler(TerminateHandler handler)
{
    return std::exchange(handlers().terminate, std::move(handler));
}

} // namespace rk

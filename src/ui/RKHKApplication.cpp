#include <rkcore/RKHKApplication.h>

#include <rkcore/HotKeyCenter.h>

namespace rk {

RKHKApplication::RKHKApplication(int &argc, char **argv) : QApplication(argc, argv) {}

RKHKApplication::~RKHKApplication() = default;

bool RKHKApplication::notify(QObject *receiver, QEvent *event)
{
    // The registry ignores every other event, so only these are handed over:
    // the registry is then never made from inside the application's own
    // construction.
    if (event != nullptr && event->type() == SystemDefinedEvent::eventType())
        HotKeyCenter::sharedCenter().sendEvent(static_cast<const SystemDefinedEvent *>(event)->value());
    return QApplication::notify(receiver, event);
}

} // namespace rk

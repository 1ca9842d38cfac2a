#include <rkcore/HotKeyEvent.h>

namespace rk {

SystemDefinedEvent::SystemDefinedEvent(ApplicationEvent value) : QEvent(eventType()), value_(value) {}

SystemDefinedEvent::~SystemDefinedEvent() = default;

QEvent::Type SystemDefinedEvent::eventType()
{
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

} // namespace rk

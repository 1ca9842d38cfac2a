// RKHKApplication: the application class that routes every event through the
// hot-key registry first (HotKeyCenter::sendEvent, for systems without system
// hot keys: a posted rk::SystemDefinedEvent), then dispatches it as
// QApplication does. Use it in place of QApplication.
//
// Thread: GUI thread.
#pragma once

#include <QApplication>

#include <rkcore/rkcore_widgets_export.h>

namespace rk {

class RKCORE_WIDGETS_EXPORT RKHKApplication : public QApplication {
    Q_OBJECT
public:
    RKHKApplication(int &argc, char **argv);
    ~RKHKApplication() override;

    bool notify(QObject *receiver, QEvent *event) override;
};

} // namespace rk

// Alerts, the beep and quitting the application: the few places where the
// object layer speaks to the user or ends the program. Each goes through a
// replaceable handler so that a GUI library can show real dialogs and tests
// can record calls instead.
//
// Defaults (no handler installed; this library links no GUI):
//   runAlert     writes "Alert: <title>: <message>" to the rkcore category and
//                answers 0 (the default button);
//   beep         writes "\a" to standard error;
//   terminateApplication  QCoreApplication::exit(0) when an application object
//                exists, else std::exit(0).
// Thread: call these on the main thread. Installing handlers is not
// synchronised with calls; install them at start-up or in a test's set-up.
#pragma once

#include <QString>

#include <functional>

#include <rkcore/Conventions.h>

namespace rk {

struct Alert {
    QString title;
    QString message;
    QString defaultButton = QStringLiteral("OK");
    QString alternateButton; // null: none
    QString otherButton;     // null: none
};

using AlertHandler = std::function<int(const Alert &)>;
using BeepHandler = std::function<void()>;
using TerminateHandler = std::function<void()>;

// Shows the alert and answers the index of the button chosen (0 default,
// 1 alternate, 2 other).
RKCORE_EXPORT int runAlert(const Alert &alert);
RKCORE_EXPORT void beep();
RKCORE_EXPORT void terminateApplication();

// Install a handler and answer the previous one; an empty handler restores the
// default.
RKCORE_EXPORT AlertHandler setAlertHandler(AlertHandler handler);
RKCORE_EXPORT BeepHandler setBeepHandler(BeepHandler handler);
RKCORE_EXPORT TerminateHandler setTerminateHandler(TerminateHandler handler);

} // namespace rk

// A hot-key target that records its calls, and an X11 helper for the tests.
#pragma once

#include <rkcore/HotKeyCenter.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QList>
#include <QObject>
#include <QProcess>

namespace rktest {

class HotKeyTarget : public QObject {
    Q_OBJECT
public:
    QList<rk::HotKeyCenter *> calls;

    Q_INVOKABLE void pressed(rk::HotKeyCenter *center) { calls << center; }

    // Runs the event loop until a call arrived or `ms` passed.
    bool waitForCall(int ms = 3000)
    {
        const QDeadlineTimer deadline(ms);
        const qsizetype before = calls.size();
        while (calls.size() == before && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return calls.size() > before;
    }
    // Runs the event loop for `ms` and answers whether any call arrived.
    bool anyCallWithin(int ms)
    {
        const qsizetype before = calls.size();
        const QDeadlineTimer deadline(ms);
        while (!deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return calls.size() > before;
    }
};

// Sends keys with xdotool (XTEST: through the passive grabs, as a real keyboard does).
inline bool xdotool(const QStringList &arguments)
{
    return QProcess::execute(QStringLiteral("xdotool"), arguments) == 0;
}

inline bool haveDisplay()
{
    return !qgetenv("DISPLAY").isEmpty();
}

} // namespace rktest

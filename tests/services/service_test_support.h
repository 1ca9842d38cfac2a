// Helpers of the service tests: spinning the event loop, a thread-safe capture
// of the rkcore log (the watchers log from their own threads), temporary files.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QStringList>

#include <functional>
#include <mutex>

namespace rktest {

// Runs the current thread's event loop until `done` holds or `ms` pass.
inline bool spinUntil(const std::function<bool()> &done, int ms = 5000)
{
    for (QDeadlineTimer deadline(ms); !done(); QCoreApplication::processEvents(QEventLoop::AllEvents, 10)) {
        if (deadline.hasExpired()) return false;
    }
    return true;
}

// Runs the event loop for `ms`.
inline void spinFor(int ms)
{
    spinUntil([] { return false; }, ms);
}

// Collects the rkcore category's lines from any thread while alive.
class ThreadSafeLogCapture {
public:
    ThreadSafeLogCapture()
    {
        const std::lock_guard lock(state().mutex);
        state().lines.clear();
        m_previous = qInstallMessageHandler(&ThreadSafeLogCapture::handler);
    }
    ~ThreadSafeLogCapture() { qInstallMessageHandler(m_previous); }
    ThreadSafeLogCapture(const ThreadSafeLogCapture &) = delete;
    ThreadSafeLogCapture &operator=(const ThreadSafeLogCapture &) = delete;

    // Deep copies made under the lock: a shared copy would be released
    // outside it while the handler grows the list on another thread.
    QStringList lines() const
    {
        const std::lock_guard lock(state().mutex);
        QStringList copy;
        for (const QString &line : state().lines)
            copy << QString(line.constData(), line.size());
        return copy;
    }
    int count(const QString &line) const
    {
        const std::lock_guard lock(state().mutex);
        return static_cast<int>(state().lines.count(line));
    }

private:
    struct State {
        std::mutex mutex;
        QStringList lines;
    };
    static State &state()
    {
        static State instance;
        return instance;
    }
    static void handler(QtMsgType /*type*/, const QMessageLogContext &context, const QString &message)
    {
        if (QLatin1String(context.category) != QLatin1String("rkcore")) return;
        const std::lock_guard lock(state().mutex);
        state().lines << message;
    }
    QtMessageHandler m_previous = nullptr;
};

} // namespace rktest

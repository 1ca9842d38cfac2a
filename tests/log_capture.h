// Collects the messages of the rkcore logging category while alive (one at a time).
#pragma once

#include <QLoggingCategory>
#include <QStringList>

namespace rktest {

class LogCapture {
public:
    LogCapture()
    {
        lines().clear();
        previous = qInstallMessageHandler(&LogCapture::handler);
    }
    ~LogCapture() { qInstallMessageHandler(previous); }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    static QStringList &lines()
    {
        static QStringList collected;
        return collected;
    }

private:
    static void handler(QtMsgType /*type*/, const QMessageLogContext &context, const QString &message)
    {
        if (QLatin1String(context.category) == QLatin1String("rkcore")) lines() << message;
    }
    QtMessageHandler previous = nullptr;
};

} // namespace rktest

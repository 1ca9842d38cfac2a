#include <rkcore/RKLog.h>

#include <rkcore/AssertionFailure.h>
#include <rkcore/NotificationCenter.h>

#include <stdexcept>

namespace rk {

const QString RK_LOG_MESSAGE_CONTENTS = QStringLiteral("RK_LOG_MESSAGE_CONTENTS");
const QString RK_LOG_MESSAGE_TYPE = QStringLiteral("RK_LOG_MESSAGE_TYPE");
const QString RB_LOG_UPDATED = QStringLiteral("RB_LOG_UPDATED");

namespace {

constexpr const char *kLogMethod = "-[RKLog logMessage:ofType:]";
constexpr const char *kSourceFile = "UFServices/RKLog";
constexpr int kNilMessageLine = 0; // the contract names the file, not a line

} // namespace

std::shared_ptr<RKLog> RKLog::create()
{
    return std::make_shared<RKLog>(Tag{});
}

// The port's handler needs only the raw pointer: the port belongs to the log,
// and a port that goes away drops the wake-ups still queued for it.
RKLog::RKLog(Tag) : logUpdateNotifPort(std::make_unique<LocalPort>([this](const QVariant &) { handlePortMessage(); }))
{
}

RKLog::~RKLog() = default;

void RKLog::logMessage(const QString &message, int32_t type)
{
    const std::lock_guard lock(accessLock);
    if (message.isNull()) {
        assertionFailed(QString::fromLatin1(kLogMethod), this, QString::fromLatin1(kSourceFile), kNilMessageLine,
                        QStringLiteral("logMessage:ofType: called with NULL message"));
    }
    myLogEntries.append(QVariantMap{{RK_LOG_MESSAGE_CONTENTS, message}, {RK_LOG_MESSAGE_TYPE, type}});
    // One wake-up per message, sent under the lock so that the wake-ups keep
    // the order of the entries. Sending only queues: it never waits.
    logUpdateNotifPort->send();
}

int RKLog::messageCount() const
{
    const std::lock_guard lock(accessLock);
    return static_cast<int>(myLogEntries.size());
}

QString RKLog::messageTextAtIndex(int index, int32_t *type) const
{
    const std::lock_guard lock(accessLock);
    if (index == -1) return {};
    const auto count = static_cast<unsigned int>(myLogEntries.size());
    if (static_cast<unsigned int>(index) > count) return {};
    // index == count gets here, as the bound is "greater than": the list's own
    // check answers it.
    if (static_cast<unsigned int>(index) == count) {
        throw std::out_of_range("RKLog: index " + std::to_string(index) + " beyond bounds (count " +
                                std::to_string(count) + ")");
    }
    const QVariantMap &entry = myLogEntries.at(index);
    if (type != nullptr) *type = entry.value(RK_LOG_MESSAGE_TYPE).toInt();
    return entry.value(RK_LOG_MESSAGE_CONTENTS).toString();
}

void RKLog::dump() const
{
    const std::lock_guard lock(accessLock);
}

void RKLog::handlePortMessage()
{
    NotificationCenter::defaultCenter().post(RB_LOG_UPDATED, this);
}

} // namespace rk

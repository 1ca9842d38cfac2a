#include <rkcore/RBKeychain.h>

#include <rkcore/Logging.h>

#include "../platform/SecretService_p.h"

#include <optional>

namespace rk {

namespace {

using platform::SecretItemKey;

// An existing item is deleted and the store tried again; a store that keeps
// answering "duplicate" after that many rounds is given up on.
constexpr int kMaxReplaceRounds = 3;

thread_local int32_t lastStatus = RBKeychain::kNoErr;

// Records `status` as the thread's last result and answers it.
int32_t noted(int32_t status)
{
    lastStatus = status;
    return status;
}

// The password's C-string form: its UTF-8 bytes up to the first NUL; none for a
// null string or one with an unpaired surrogate (no UTF-8 form).
std::optional<QByteArray> cStringOf(const QString &password)
{
    if (password.isNull() || !password.isValidUtf16()) return std::nullopt;
    QByteArray bytes = password.toUtf8();
    const qsizetype terminator = bytes.indexOf('\0');
    if (terminator >= 0) bytes.truncate(terminator);
    return bytes;
}

// The text of a read-back buffer: UTF-8 up to the first NUL (bytes that are
// not UTF-8 read as replacement characters).
QString textOf(const QByteArray &buffer)
{
    const qsizetype terminator = buffer.indexOf('\0');
    return QString::fromUtf8(terminator >= 0 ? buffer.left(terminator) : buffer);
}

// Logs the message of the codes the store tells apart; false for any other.
bool logKnownFailure(int32_t status)
{
    switch (status) {
    case RBKeychain::kBufferTooSmall: qCWarning(rkcoreLog, "RBKeychain : Buffer be to small"); return true;
    case RBKeychain::kItemNotFound: qCWarning(rkcoreLog, "RBKeychain : No Item Found"); return true;
    case RBKeychain::kNoDefaultKeychain: qCWarning(rkcoreLog, "RBKeychain : No Default Keychain"); return true;
    default: return false;
    }
}

// Codes the store does not tell apart (a locked collection, any other
// failure) still leave a line with the code: the answer alone (stored, "")
// does not show them.
void logOtherFailure(int32_t status)
{
    if (status != keychain::kNoErr) qCWarning(rkcoreLog, "Keychain Error : %d", static_cast<int>(status));
}

SecretItemKey internetKey(const QString &host, const QString &userName, uint16_t port)
{
    return SecretItemKey{SecretItemKey::Kind::Internet, host, userName, port};
}

SecretItemKey genericKey(const QString &host, const QString &userName)
{
    return SecretItemKey{SecretItemKey::Kind::Generic, host, userName, 0};
}

// Adds the item; an existing one with the same attributes is deleted and the
// add tried again. Answers the final status.
int32_t addReplacing(const SecretItemKey &key, const QByteArray &secret)
{
    int32_t status = platform::secretServiceAdd(key, secret);
    for (int round = 0; status == RBKeychain::kDuplicateItem && round < kMaxReplaceRounds; ++round) {
        (void)platform::secretServiceDelete(key);
        status = platform::secretServiceAdd(key, secret);
    }
    return status;
}

// The store's answer to an add: YES on success and on codes it does not tell apart.
bool storeResult(int32_t status)
{
    if (status == keychain::kNoErr) return true;
    if (logKnownFailure(status)) return false;
    logOtherFailure(status);
    // A duplicate that could not be replaced is not stored; other codes count
    // as stored, deliberately (lastResultCode tells the truth).
    return status != RBKeychain::kDuplicateItem;
}

// Whether a delete removed an item. Nothing to delete is no failure of the
// store and logs nothing; a store that could not be asked logs why.
bool deleteResult(int32_t status)
{
    if (status == keychain::kNoErr) return true;
    if (status != keychain::kItemNotFound && !logKnownFailure(status)) logOtherFailure(status);
    return false;
}

} // namespace

int32_t RBKeychain::lastResultCode()
{
    return lastStatus;
}

RBKeychain &RBKeychain::sharedKeychain()
{
    static auto *instance = new RBKeychain; // never released
    return *instance;
}

bool RBKeychain::setInternetPassword(const QString &password, const QString &host, const QString &userName,
                                     uint16_t port)
{
    const std::optional<QByteArray> secret = cStringOf(password);
    if (!secret) {
        noted(kNotAvailable);
        qCWarning(rkcoreLog, "Password C String All Fucked Up");
        return false;
    }
    return storeResult(noted(addReplacing(internetKey(host, userName, port), *secret)));
}

QString RBKeychain::findInternetPasswordForHost(const QString &host, const QString &userName, uint16_t port)
{
    QByteArray buffer;
    const int32_t status =
        noted(platform::secretServiceFind(internetKey(host, userName, port), &buffer, kPasswordBufferSize));
    if (status == keychain::kNoErr) return textOf(buffer);
    if (logKnownFailure(status)) return {};
    logOtherFailure(status);
    return QStringLiteral(""); // the cleared buffer's text
}

void RBKeychain::deleteInternetPassword(const QString &password, const QString &host, const QString &userName,
                                        uint16_t port)
{
    if (!cStringOf(password)) {
        noted(kNotAvailable);
        qCWarning(rkcoreLog, "Password C String All Fucked Up");
        return;
    }
    deleteResult(noted(platform::secretServiceDelete(internetKey(host, userName, port))));
}

bool RBKeychain::setGenericPassword(const QString &password, const QString &host, const QString &userName)
{
    const std::optional<QByteArray> secret = cStringOf(password);
    if (!secret) {
        noted(kNotAvailable);
        qCWarning(rkcoreLog, "Password C String was NULL");
        return false;
    }
    return storeResult(noted(addReplacing(genericKey(host, userName), *secret)));
}

QString RBKeychain::findGenericPasswordForHost(const QString &host, const QString &userName)
{
    QByteArray buffer;
    const int32_t status = noted(platform::secretServiceFind(genericKey(host, userName), &buffer, kPasswordBufferSize));
    if (status != keychain::kNoErr) {
        qCWarning(rkcoreLog, "Keychain Error : %d", static_cast<int>(status));
        return {};
    }
    return textOf(buffer);
}

bool RBKeychain::deleteGenericPasswordForHost(const QString &host, const QString &userName)
{
    return deleteResult(noted(platform::secretServiceDelete(genericKey(host, userName))));
}

} // namespace rk

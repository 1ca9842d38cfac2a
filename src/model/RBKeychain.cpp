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

// The password's C-string form: its Latin-1 bytes up to the first NUL; none for
// a null string or one with a character outside Latin-1.
std::optional<QByteArray> cStringOf(const QString &password)
{
    if (password.isNull()) return std::nullopt;
    for (const QChar character : password) {
        if (character.unicode() > 0xFF) return std::nullopt;
    }
    QByteArray bytes = password.toLatin1();
    const qsizetype terminator = bytes.indexOf('\0');
    if (terminator >= 0) bytes.truncate(terminator);
    return bytes;
}

// The text of a read-back buffer: Latin-1 up to the first NUL.
QString textOf(const QByteArray &buffer)
{
    const qsizetype terminator = buffer.indexOf('\0');
    return QString::fromLatin1(terminator >= 0 ? buffer.left(terminator) : buffer);
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
    if (status == platform::kKeychainNoErr) return true;
    if (status == RBKeychain::kDuplicateItem) return false;
    return !logKnownFailure(status);
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
    if (status == platform::kKeychainNoErr) return textOf(buffer);
    if (logKnownFailure(status)) return {};
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
    (void)noted(platform::secretServiceDelete(internetKey(host, userName, port)));
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
    if (status != platform::kKeychainNoErr) {
        qCWarning(rkcoreLog, "Keychain Error : %d", static_cast<int>(status));
        return {};
    }
    return textOf(buffer);
}

bool RBKeychain::deleteGenericPasswordForHost(const QString &host, const QString &userName)
{
    return noted(platform::secretServiceDelete(genericKey(host, userName))) == platform::kKeychainNoErr;
}

} // namespace rk

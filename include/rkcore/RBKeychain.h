// RBKeychain: login passwords for remote locations, kept in the user's password
// store (the Secret Service: gnome-keyring, KWallet) so that URL texts can
// leave them out.
//
// Items, as written and looked up (other clients' items with the same
// attributes are found too):
//   internet passwords: schema "org.ravix.InternetPassword", attributes
//     server = host, account = user, port, protocol = "ftp " for every scheme
//     (FTP, SFTP, AFP and SMB logins alike), authtype = 0;
//   generic passwords: schema "org.ravix.GenericPassword", attributes
//     service = host, account = user.
// A password is stored as its UTF-8 bytes (its C-string form, as secret-tool
// and every other Secret Service client store secrets), up to its first NUL;
// a text with an unpaired surrogate has no UTF-8 form and is refused. Passwords
// read back are limited to 256 UTF-8 bytes (kPasswordBufferSize) and decoded as
// UTF-8 up to the first NUL, so any password a user types round-trips and what
// another client stored reads back as the same text. Storing again for the
// same attributes replaces the item.
//
// Messages (rkcore logging category), never containing a password:
//   "RBKeychain : Buffer be to small", "RBKeychain : No Item Found",
//   "RBKeychain : No Default Keychain" (no Secret Service reachable, or no
//   default collection), "Password C String All Fucked Up",
//   "Password C String was NULL", "Keychain Error : <code>" (the generic find's
//   failures, and any code without a message of its own, such as a locked
//   collection).
//
// Result codes: lastResultCode() tells the calling thread's last outcome:
// kNoDefaultKeychain without a Secret Service or a default collection,
// kInteractionNotAllowed when the default collection is locked (the store
// never prompts; nothing is stored, read or deleted), kItemNotFound for a
// missing item, kBufferTooSmall for a password longer than 256 bytes on read,
// kNotAvailable for a password without a C-string form or any other failure.
//
// Thread: no locking; calls go straight to the Secret Service on the caller's
// thread and block until it answers.
#pragma once

#include <QString>

#include <cstdint>

#include <rkcore/Conventions.h>
#include <rkcore/KeychainResultCodes.h>

namespace rk {

class RKCORE_EXPORT RBKeychain final {
public:
    // Result codes the store tells apart (Keychain Manager values; the one
    // definition is rkcore/KeychainResultCodes.h).
    static constexpr int32_t kDuplicateItem = keychain::kDuplicateItem;
    static constexpr int32_t kItemNotFound = keychain::kItemNotFound;
    static constexpr int32_t kBufferTooSmall = keychain::kBufferTooSmall;
    static constexpr int32_t kNoDefaultKeychain = keychain::kNoDefaultKeychain;
    static constexpr int32_t kInteractionNotAllowed = keychain::kInteractionNotAllowed; // the collection is locked
    static constexpr int32_t kNotAvailable = keychain::kNotAvailable; // any other failure of the store
    static constexpr int32_t kNoErr = keychain::kNoErr;
    // Longest password read back, in bytes.
    static constexpr int kPasswordBufferSize = 256;

    // The shared instance, made on first use, never released.
    static RBKeychain &sharedKeychain();

    // Stores an internet password, replacing an existing one. false (with the
    // message) when the password has no UTF-8 form, or for item not found,
    // buffer too small or no default keychain. Any other failure of the store
    // (a locked collection included) logs "Keychain Error : <code>" and answers
    // true: unknown failures count as stored, deliberately; lastResultCode()
    // tells. A password longer than 256 UTF-8 bytes is stored but cannot be
    // read back.
    bool setInternetPassword(const QString &password, const QString &host, const QString &userName, uint16_t port);

    // The internet password, or a null QString (with the message) for item not
    // found, buffer too small or no default keychain. Any other failure (a
    // locked collection included) logs "Keychain Error : <code>" and answers
    // the empty string "", deliberately.
    QString findInternetPasswordForHost(const QString &host, const QString &userName, uint16_t port);

    // Deletes the internet item for host, user and port. `password` plays no
    // part in the search, but one without a UTF-8 form logs "Password C String
    // All Fucked Up" and deletes nothing. Answers nothing: lastResultCode() is
    // kNoErr when an item was deleted, kItemNotFound (nothing logged) when there
    // was none, else the store's failure (logged).
    void deleteInternetPassword(const QString &password, const QString &host, const QString &userName, uint16_t port);

    // As setInternetPassword, for a generic item (service = host, account =
    // user); a password without a UTF-8 form logs "Password C String was NULL".
    bool setGenericPassword(const QString &password, const QString &host, const QString &userName);

    // The generic password, or a null QString after logging
    // "Keychain Error : <code>" for any failure (not found included).
    QString findGenericPasswordForHost(const QString &host, const QString &userName);

    // Deletes the generic item for host and user; answers whether one was
    // deleted. (The counterpart of deleteInternetPassword for generic items.)
    bool deleteGenericPasswordForHost(const QString &host, const QString &userName);

    // The result code of the calling thread's last call above: kNoErr when it
    // did what it was asked (a delete that found an item, a store, a read), else
    // one of the codes above. Lets a caller tell "nothing to delete" from "no
    // Secret Service" where the call itself answers nothing.
    static int32_t lastResultCode();

    RBKeychain(const RBKeychain &) = delete;
    RBKeychain &operator=(const RBKeychain &) = delete;

private:
    RBKeychain() = default;
    ~RBKeychain() = default;
};

} // namespace rk

// The Secret Service (org.freedesktop.secrets) through libsecret, answered in
// the result codes of a keychain: the store RBKeychain keeps passwords in.
//
// Every function answers a code of rkcore/KeychainResultCodes.h: kNoErr, or
// kNoDefaultKeychain (no Secret Service, no default collection),
// kInteractionNotAllowed (the default collection is locked: nothing is ever
// prompted for), kItemNotFound, kBufferTooSmall, kDuplicateItem, or
// kNotAvailable for any other failure.
//
// Items:
//   internet: schema "org.ravix.InternetPassword", attributes server, account,
//             port (integer), protocol "ftp " (for every scheme), authtype 0;
//   generic:  schema "org.ravix.GenericPassword", attributes service, account.
// Both schemas match by attributes alone, so items another client stored with
// the same attributes are found, changed and deleted too.
//
// No secret ever reaches a log from here. Thread: any thread (libsecret's
// synchronous calls run their own main context).
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

#include <rkcore/KeychainResultCodes.h>

namespace rk::platform {

// The protocol attribute of every internet item.
inline constexpr const char *kInternetProtocolFTP = "ftp ";

struct SecretItemKey {
    enum class Kind { Internet, Generic };
    Kind kind = Kind::Internet;
    QString server; // internet: server; generic: service
    QString account;
    uint16_t port = 0; // internet only
};

// Creates the item in the default collection. An existing item with the same
// attributes is not touched: the answer is then keychain::kDuplicateItem.
int32_t secretServiceAdd(const SecretItemKey &key, const QByteArray &secret);

// Reads the first matching item's secret into `secret`;
// keychain::kBufferTooSmall (and `secret` left empty) when it is longer than
// `capacity` bytes.
int32_t secretServiceFind(const SecretItemKey &key, QByteArray *secret, int capacity);

// Deletes every matching item; keychain::kItemNotFound when there was none.
int32_t secretServiceDelete(const SecretItemKey &key);

} // namespace rk::platform

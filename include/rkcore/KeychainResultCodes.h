// The result codes of the password store (the keychain), with the values the
// Keychain Manager gave them, defined once: the Secret Service adapter answers
// them and RBKeychain names them (RBKeychain::kItemNotFound is
// rk::keychain::kItemNotFound).
#pragma once

#include <cstdint>

namespace rk::keychain {

inline constexpr int32_t kNoErr = 0;
inline constexpr int32_t kNotAvailable = -25291;          // any other failure of the store
inline constexpr int32_t kDuplicateItem = -25299;         // an item with these attributes exists
inline constexpr int32_t kItemNotFound = -25300;          // no such item
inline constexpr int32_t kBufferTooSmall = -25301;        // the secret is longer than the caller's buffer
inline constexpr int32_t kNoDefaultKeychain = -25307;     // no Secret Service, or no default collection
inline constexpr int32_t kInteractionNotAllowed = -25308; // the collection is locked (the store never prompts)

} // namespace rk::keychain

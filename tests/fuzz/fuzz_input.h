// Turns a fuzzer's bytes into the NUL-terminated text the core takes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace rkfuzz {

// The bytes up to the first NUL, as a text (the core reads no further).
inline std::string text(const uint8_t *data, size_t size)
{
    const void *nul = std::memchr(data, 0, size);
    const size_t length = nul ? static_cast<size_t>(static_cast<const uint8_t *>(nul) - data) : size;
    return {reinterpret_cast<const char *>(data), length};
}

// A fixed-width integer from the first bytes (zero-padded).
template <typename T> T number(const uint8_t *data, size_t size)
{
    T value{};
    std::memcpy(&value, data, size < sizeof value ? size : sizeof value);
    return value;
}

} // namespace rkfuzz

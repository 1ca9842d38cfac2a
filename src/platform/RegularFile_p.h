// Reading a small regular file without ever opening anything else: a FIFO,
// socket or device is recognised by its status before any open, and the
// opened file is checked again (O_NONBLOCK) so a swap in between cannot block.
// Thread: any thread.
#pragma once

#include <QByteArray>

#include <cstddef>
#include <optional>

namespace rk::platform {

// The whole contents of the regular file at `path` (links followed) when it
// holds at most `maxBytes` bytes. Nothing when it is not a regular file,
// cannot be read, or is longer.
std::optional<QByteArray> readSmallRegularFile(const char *path, std::size_t maxBytes);

// Whether `path` (links followed) is a regular file the caller may execute.
bool isExecutableRegularFile(const char *path);

} // namespace rk::platform

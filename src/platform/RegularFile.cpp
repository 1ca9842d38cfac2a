#include "RegularFile_p.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace rk::platform {

std::optional<QByteArray> readSmallRegularFile(const char *path, std::size_t maxBytes)
{
    struct stat before {};
    if (path == nullptr || ::stat(path, &before) != 0 || !S_ISREG(before.st_mode)) return std::nullopt;
    if (static_cast<std::size_t>(before.st_size) > maxBytes) return std::nullopt;
    const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    struct stat opened {};
    std::optional<QByteArray> result;
    if (::fstat(fd, &opened) == 0 && S_ISREG(opened.st_mode) && opened.st_ino == before.st_ino &&
        opened.st_dev == before.st_dev && static_cast<std::size_t>(opened.st_size) <= maxBytes) {
        // One byte more than allowed tells a file that grew since fstat.
        QByteArray bytes(static_cast<qsizetype>(maxBytes) + 1, Qt::Uninitialized);
        qsizetype filled = 0;
        bool failed = false;
        while (filled < bytes.size()) {
            const ssize_t n = ::read(fd, bytes.data() + filled, static_cast<std::size_t>(bytes.size() - filled));
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) failed = true;
            if (n <= 0) break;
            filled += n;
        }
        if (!failed && static_cast<std::size_t>(filled) <= maxBytes) {
            bytes.truncate(filled);
            result = std::move(bytes);
        }
    }
    ::close(fd);
    return result;
}

bool isExecutableRegularFile(const char *path)
{
    struct stat status {};
    return path != nullptr && ::stat(path, &status) == 0 && S_ISREG(status.st_mode) &&
           ::faccessat(AT_FDCWD, path, X_OK, AT_EACCESS) == 0;
}

} // namespace rk::platform

#include "ProcessTable_p.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace rk::platform {

namespace {

constexpr size_t kReadLimit = 4096; // argv[0] of a real program fits easily

struct DirCloser {
    void operator()(DIR *dir) const { closedir(dir); }
};

// A /proc entry name that is a process id.
std::optional<pid_t> pidOfEntry(const char *name)
{
    if (name[0] < '1' || name[0] > '9') return std::nullopt;
    errno = 0;
    char *end = nullptr;
    const long value = std::strtol(name, &end, 10);
    if (errno != 0 || *end != '\0' || value > std::numeric_limits<pid_t>::max()) return std::nullopt;
    return static_cast<pid_t>(value);
}

// Up to kReadLimit bytes of /proc/PID/<file>; none when it cannot be opened
// or read.
std::optional<QByteArray> readProcFile(pid_t pid, const char *file)
{
    char path[64];
    (void)std::snprintf(path, sizeof path, "/proc/%d/%s", static_cast<int>(pid), file);
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    QByteArray bytes(kReadLimit, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = read(fd, bytes.data() + filled, static_cast<size_t>(bytes.size() - filled));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            close(fd);
            return std::nullopt;
        }
        if (got == 0) break;
        filled += got;
    }
    close(fd);
    bytes.truncate(filled);
    return bytes;
}

} // namespace

std::optional<pid_t> nextProcessId(pid_t after)
{
    const std::unique_ptr<DIR, DirCloser> dir(opendir("/proc"));
    if (!dir) return std::nullopt;
    std::optional<pid_t> best;
    while (const dirent *entry = readdir(dir.get())) {
        const auto pid = pidOfEntry(entry->d_name);
        if (!pid || *pid <= after || (best && *pid >= *best)) continue;
        if (processIsRunning(*pid)) best = pid;
    }
    return best;
}

namespace {
// The stat text of a running process.
std::optional<QByteArray> runningStat(pid_t pid)
{
    if (pid <= 0) return std::nullopt;
    auto stat = readProcFile(pid, "stat");
    if (!stat) return std::nullopt;
    const auto state = processStateFromStat(*stat);
    if (!state || *state == 'Z' || *state == 'X' || *state == 'x') return std::nullopt;
    return stat;
}
} // namespace

bool processIsRunning(pid_t pid)
{
    return runningStat(pid).has_value();
}

std::optional<uint64_t> processStartTime(pid_t pid)
{
    const auto stat = runningStat(pid);
    return stat ? processStartTimeFromStat(*stat) : std::nullopt;
}

std::optional<char> processStateFromStat(const QByteArray &stat)
{
    // The name may hold ')' itself, so the state follows the last one.
    const qsizetype close = stat.lastIndexOf(')');
    if (close < 0 || close + 2 >= stat.size() || stat.at(close + 1) != ' ') return std::nullopt;
    return stat.at(close + 2);
}

std::optional<uint64_t> processStartTimeFromStat(const QByteArray &stat)
{
    constexpr int kStartTimeField = 20; // counting the state as field 1
    const qsizetype close = stat.lastIndexOf(')');
    if (close < 0) return std::nullopt;
    const QList<QByteArray> fields = stat.mid(close + 1).simplified().split(' ');
    if (fields.size() < kStartTimeField) return std::nullopt;
    bool ok = false;
    const qulonglong value = fields.at(kStartTimeField - 1).toULongLong(&ok, 10);
    if (!ok) return std::nullopt;
    return static_cast<uint64_t>(value);
}

QByteArray commandNameFromCmdline(const char *bytes, size_t size)
{
    const char *end = static_cast<const char *>(std::memchr(bytes, '\0', size));
    QByteArray first(bytes, end != nullptr ? end - bytes : static_cast<qsizetype>(size));
    while (first.size() > 1 && first.endsWith('/'))
        first.chop(1);
    const qsizetype slash = first.lastIndexOf('/');
    return slash >= 0 && first.size() > 1 ? first.mid(slash + 1) : first;
}

std::optional<QString> processName(pid_t pid)
{
    if (pid <= 0) return std::nullopt;
    if (const auto cmdline = readProcFile(pid, "cmdline")) {
        const QByteArray name = commandNameFromCmdline(cmdline->constData(), static_cast<size_t>(cmdline->size()));
        if (!name.isEmpty()) return QFile::decodeName(name);
    }
    if (auto comm = readProcFile(pid, "comm")) {
        if (comm->endsWith('\n')) comm->chop(1);
        return QFile::decodeName(*comm);
    }
    return std::nullopt;
}

} // namespace rk::platform

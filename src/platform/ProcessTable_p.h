// The running processes as /proc shows them: the walk in process-id order, a
// process's state and its name. Each call reads /proc afresh, so a process
// that ends between two calls simply stops being found; nothing is cached.
//
// A process counts as running while /proc/PID/stat can be read and its state
// is neither zombie ('Z') nor dead ('X'): a child that has ended but not yet
// been waited for no longer runs.
//
// Thread: any (no shared state).
#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <sys/types.h>

namespace rk::platform {

// The smallest running process id greater than `after` (0: the first); none at
// the end of the table or when /proc cannot be read.
std::optional<pid_t> nextProcessId(pid_t after);

// Whether process `pid` is running (see above); false for pid <= 0.
bool processIsRunning(pid_t pid);

// When a running process started (clock ticks after boot, /proc/PID/stat's
// 22nd field): with the pid, it tells a process from a later one that got
// the same pid. None when it does not run.
std::optional<uint64_t> processStartTime(pid_t pid);

// The process's name: the last path component of argv[0] (/proc/PID/cmdline),
// else the kernel's name (/proc/PID/comm) when argv[0] is empty or cannot be
// read (kernel threads, other users' processes behind hidepid). Bytes are
// decoded as file names are (the locale's encoding, UTF-8 here; bytes that
// are not UTF-8 become replacement characters, never an error). None when
// neither can be read (the process has gone). A process caught in the middle
// of exec (its new name set, its arguments not yet) gets the kernel's name.
std::optional<QString> processName(pid_t pid);

// The name of a /proc/PID/cmdline text: its first NUL-terminated argument's
// last path component (a trailing '/' ignored). Empty when argv[0] is empty.
// Any bytes are accepted (bounded by `size`).
QByteArray commandNameFromCmdline(const char *bytes, size_t size);

// The state letter of a /proc/PID/stat text ("PID (COMM) S ..."): the
// character after the last ')' and a blank. None when the text has no such
// letter. Any bytes are accepted.
std::optional<char> processStateFromStat(const QByteArray &stat);

// The start time field of a /proc/PID/stat text (the 20th field after the
// name); none when absent or not a decimal number. Any bytes are accepted.
std::optional<uint64_t> processStartTimeFromStat(const QByteArray &stat);

} // namespace rk::platform

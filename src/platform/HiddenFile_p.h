// The freedesktop ".hidden" file: a folder may list, one per line, the names
// of its items that file managers hide.
//
// Thread: any thread.
#pragma once

#include <QByteArray>
#include <QSet>

namespace rk::platform {

// The names listed in `folder`/.hidden, as bytes (blank lines dropped, a
// trailing "\r" removed). Empty when there is no such regular file, it cannot
// be read, or it is longer than 1 MiB (then it is not a list anyone wrote by
// hand). A FIFO or device of that name is never opened for reading.
QSet<QByteArray> readHiddenNames(const QByteArray &folder);

} // namespace rk::platform

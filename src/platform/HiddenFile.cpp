#include "HiddenFile_p.h"

#include "RegularFile_p.h"

namespace rk::platform {

namespace {
// Longer than any list someone wrote by hand.
constexpr std::size_t kMaximumSize = std::size_t{1} << 20;
} // namespace

QSet<QByteArray> readHiddenNames(const QByteArray &folder)
{
    QSet<QByteArray> names;
    if (folder.isEmpty()) return names;
    const QByteArray path = folder.endsWith('/') ? folder + ".hidden" : folder + "/.hidden";
    const auto bytes = readSmallRegularFile(path.constData(), kMaximumSize);
    if (!bytes) return names;
    for (QByteArray line : bytes->split('\n')) {
        if (line.endsWith('\r')) line.chop(1);
        if (!line.isEmpty()) names.insert(line);
    }
    return names;
}

} // namespace rk::platform

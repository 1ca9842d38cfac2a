// rkcore du: bytes on disk of each path, as `du -s -B1` counts them (every
// inode once, folders' own blocks included), or with --apparent the bytes as
// `du -s -b` counts them.

#include <rkcore/RBFolderSizeWalk.h>

#include <QFile>

#include "cli.h"
#include "commands.h"

namespace rkcli {

int duCommand(const QStringList &arguments)
{
    bool apparent = false;
    bool oneFileSystem = false;
    QStringList paths;
    QString threads = QStringLiteral("1");
    if (!splitArguments("du", arguments, {{"--apparent", &apparent}, {"--one-file-system", &oneFileSystem}}, paths,
                        {{"--threads", &threads}}))
        return kExitUsage;
    bool threadsOk = false;
    const int threadCount = threads.toInt(&threadsOk);
    if (!threadsOk || threadCount < 1 || threadCount > 64)
        return usageError(QStringLiteral("du: --threads takes a number from 1 to 64, not %1").arg(threads));
    if (paths.isEmpty()) return usageError(QStringLiteral("du: no path given"));
    rk::RBFolderSizeWalkOptions options;
    options.oneFileSystem = oneFileSystem;
    options.threads = threadCount;
    options.readAttributes = false; // du's figures need one status per entry, nothing more
    int status = 0;
    for (const QString &path : paths) {
        const auto walk = rk::walkFolderSizes(QFile::encodeName(path), options, nullptr);
        if (!walk.found) {
            status = failure(QStringLiteral("du: cannot read %1").arg(path));
            continue;
        }
        const uint64_t bytes = apparent ? walk.extras.apparentSize : walk.extras.diskUsage;
        printLine(QStringLiteral("%1\t%2").arg(bytes).arg(path));
        if (walk.extras.unreadableFolders > 0) {
            failure(QStringLiteral("du: %1 folders under %2 could not be read")
                        .arg(walk.extras.unreadableFolders)
                        .arg(path));
            status = kExitFailure;
        }
        for (const QString &mount : walk.extras.skippedMounts)
            failure(QStringLiteral("du: skipped mount point %1 (not answering, or not mounted)").arg(mount));
    }
    return status;
}

} // namespace rkcli

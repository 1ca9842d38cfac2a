// rkcore du: bytes on disk of each path, as `du -s -B1` counts them (every
// inode once, folders' own blocks included), or with --apparent the bytes as
// `du -s -b` counts them.

#include <rkcore/RBFolderSizeWalk.h>

#include <QFile>
#include <QJsonArray>

#include "cli.h"
#include "commands.h"

namespace rkcli {

int duCommand(const Arguments &arguments)
{
    const bool apparent = arguments.has("--apparent");
    int64_t threads = 1;
    if (arguments.has("--threads")) {
        const auto count = parseInteger(QStringLiteral("--threads"), arguments.value("--threads"), 1, 64);
        if (!count) return kExitUsage;
        threads = *count;
    }
    rk::RBFolderSizeWalkOptions options;
    options.oneFileSystem = arguments.has("--one-file-system");
    options.threads = static_cast<int>(threads);
    options.readAttributes = false; // du's figures need one status per entry, nothing more
    int status = 0;
    QJsonArray entries;
    for (qsizetype i = 0; i < arguments.count(); ++i) {
        const QString &path = arguments.at(i);
        const auto walk = rk::walkFolderSizes(arguments.positionalBytes().at(i), options, nullptr);
        if (!walk.found) {
            status = failure(QStringLiteral("cannot read %1").arg(path));
            continue;
        }
        const uint64_t bytes = apparent ? walk.extras.apparentSize : walk.extras.diskUsage;
        if (jsonMode()) {
            entries.append(
                QJsonObject{{QStringLiteral("path"), path},
                            {QStringLiteral("bytes"), static_cast<qint64>(bytes)},
                            {QStringLiteral("unreadableFolders"), static_cast<qint64>(walk.extras.unreadableFolders)}});
        } else {
            // The path as given, byte for byte, as du writes it.
            printBytes(QByteArray::number(static_cast<qulonglong>(bytes)) + '\t' + arguments.positionalBytes().at(i) +
                       '\n');
        }
        if (walk.extras.unreadableFolders > 0) {
            failure(
                QStringLiteral("%1 folders under %2 could not be read").arg(walk.extras.unreadableFolders).arg(path));
            status = kExitFailure;
        }
        for (const QString &mount : walk.extras.skippedMounts)
            failure(QStringLiteral("skipped mount point %1 (not answering, or not mounted)").arg(mount));
    }
    if (jsonMode()) {
        jsonDocument().insert(QStringLiteral("apparent"), apparent);
        jsonDocument().insert(QStringLiteral("paths"), entries);
    }
    return status;
}

} // namespace rkcli

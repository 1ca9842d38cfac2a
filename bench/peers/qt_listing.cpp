// Qt's reading of a folder into QFileInfo objects, each with its status,
// owner, group and modification time loaded and kept:
//   qt-listing FOLDER
// Prints "entries N read_us T max_rss_kb R".
#include <QDateTime>
#include <QDirIterator>
#include <QFileInfo>
#include <QList>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 2) {
        (void)std::fprintf(stderr, "usage: qt-listing FOLDER\n");
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    QList<QFileInfo> kept;
    QDirIterator entries(QString::fromLocal8Bit(argv[1]),
                         QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    qint64 touched = 0;
    while (entries.hasNext()) {
        entries.next();
        QFileInfo info = entries.fileInfo();
        // Load what a file list shows: kind, size, rights, date, owner, group, a link's target kind.
        touched += info.size() + info.lastModified().toSecsSinceEpoch() +
                   static_cast<qint64>(info.permissions().toInt()) + info.owner().size() + info.group().size() +
                   (info.isSymLink() ? info.isDir() : 0);
        kept.append(info);
    }
    const double elapsed = std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("entries %lld read_us %.0f max_rss_kb %ld touched %lld\n", static_cast<long long>(kept.size()), elapsed,
                usage.ru_maxrss, static_cast<long long>(touched));
    return 0;
}

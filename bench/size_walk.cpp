// The size walk of one folder, as an application asks for it:
//   rkcore-size-walk FOLDER             sizeObject() of the folder, one thread
//   rkcore-size-walk --threads N FOLDER the same walk on N threads
//   rkcore-size-walk --types ROUNDS     typeForFileName lookups per second
// prints "walk_us T entries N files F folders D hidden H du_bytes B max_rss_kb R
// walk_rss_growth_kb G" (G: the peak's growth during the walk alone), or
// "lookups N ns_per_lookup X".
#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBFileSystemObjectSize.h>
#include <rkcore/RKFileTypeIdentifier.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

double nowUs()
{
    using namespace std::chrono;
    return static_cast<double>(duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count()) / 1e3;
}

int typeLookups(long rounds)
{
    QTemporaryDir dir;
    const auto identifier =
        rk::RKFileTypeIdentifier::createWithDataFilePath(dir.path() + QStringLiteral("/Data Types.plist"));
    const QString names[] = {QStringLiteral("photo.jpg"),      QStringLiteral("notes.txt"),
                             QStringLiteral("README"),         QStringLiteral("Sites/index.html"),
                             QStringLiteral("archive.tar.gz"), QStringLiteral("main.cpp"),
                             QStringLiteral("picture.tiff"),   QStringLiteral("x.PNG")};
    long sum = 0;
    const double start = nowUs();
    for (long i = 0; i < rounds; ++i)
        sum += identifier->typeForFileName(names[i % 8]);
    const double elapsed = nowUs() - start;
    std::printf("lookups %ld ns_per_lookup %.1f checksum %ld\n", rounds, elapsed * 1e3 / static_cast<double>(rounds),
                sum);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && std::strcmp(argv[1], "--types") == 0) return typeLookups(std::atol(argv[2]));
    rk::RBFolderSizeWalkOptions options;
    if (argc == 4 && std::strcmp(argv[1], "--threads") == 0) {
        options.threads = std::atoi(argv[2]);
    } else if (argc != 2) {
        (void)std::fprintf(stderr, "usage: rkcore-size-walk [--threads N] FOLDER | --types ROUNDS\n");
        return 2;
    }
    QLoggingCategory::setFilterRules(QStringLiteral("rkcore=false"));
    const auto folder = rk::RBFileSystemObject::newFSOForLocalPath(QString::fromLocal8Bit(argv[argc - 1]), false);
    if (!folder) return 1;
    struct rusage before {};
    getrusage(RUSAGE_SELF, &before);
    const double start = nowUs();
    const auto size = folder->sizeObject(options);
    const double elapsed = nowUs() - start;
    if (!size) return 1;
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("walk_us %.0f entries %llu files %llu folders %llu hidden %llu du_bytes %llu max_rss_kb %ld "
                "walk_rss_growth_kb %ld\n",
                elapsed, static_cast<unsigned long long>(size->containedItemCount()),
                static_cast<unsigned long long>(size->counter(rk::kRBSizeFiles)),
                static_cast<unsigned long long>(size->counter(rk::kRBSizeFolders)),
                static_cast<unsigned long long>(size->counter(rk::kRBSizeHidden)),
                static_cast<unsigned long long>(size->walkExtras()->diskUsage), usage.ru_maxrss,
                usage.ru_maxrss - before.ru_maxrss);
    return 0;
}

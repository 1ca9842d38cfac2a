// Reads one folder into file-system objects (every child identified) and
// reports what it cost; with --sort, also times sorting the children against
// plain sorts of the same keys.
//   rkcore-object-folder [--sort] FOLDER
// prints "entries N read_us T us_per_entry U heap_bytes H heap_per_entry B
// max_rss_kb R", and with --sort one line per attribute:
//   "sort ATTRIBUTE objects_us T plain_us P ratio R naive_us N" (N: a stable
//   sort of the children calling the pairwise comparator).
// The comparison script runs it beside `ls -lU`.
#include <rkcore/RBFileSystemObject.h>

#include <QCoreApplication>
#include <QLoggingCategory>

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

double nowUs()
{
    using namespace std::chrono;
    return static_cast<double>(duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count()) / 1e3;
}

size_t heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// The best of `rounds` timings of `function`, each after `prepare` (untimed).
template <typename Prepare, typename Function> double bestOf(int rounds, Prepare prepare, Function function)
{
    double best = 1e300;
    for (int i = 0; i < rounds; ++i) {
        prepare();
        const double start = nowUs();
        function();
        best = std::min(best, nowUs() - start);
    }
    return best;
}

// Sorting the children on each attribute, beside a plain sort of the same
// keys taken out beforehand: bytes of the names (byte order), the times, the
// sizes. The objects' sort starts from the folder's order every round; the
// first round of the size sort measures the files, so the best round shows
// the sort itself.
void compareSorts(rk::RBFileSystemObject &folder)
{
    const auto original = folder.actualContents();
    std::vector<std::string> names;
    std::vector<int64_t> dates;
    std::vector<int64_t> sizes;
    for (const auto &child : original) {
        names.emplace_back(child->cstruct()->name);
        dates.push_back(child->dateAsTimeT());
        sizes.push_back(child->cstruct()->size);
    }
    struct Row {
        const char *name;
        int32_t attribute;
        double plain;
    };
    constexpr int kRounds = 5;
    auto plainSort = [](const auto &values) {
        auto copy = values;
        return bestOf(
            kRounds, [&] { copy = values; }, [&] { std::sort(copy.begin(), copy.end()); });
    };
    const Row rows[] = {
        {"name", rk::kRBSortByName, plainSort(names)},
        {"date", rk::kRBSortByDate, plainSort(dates)},
        {"size", rk::kRBSortBySize, plainSort(sizes)},
    };
    // The same children sorted the straightforward way: a stable sort asking
    // the comparator of each pair (the way the comparators are specified).
    auto naiveSort = [&original](int32_t attribute) {
        rk::RBFileSystemObjectList copy;
        return bestOf(
            1, [&] { copy = original; },
            [&] {
                std::stable_sort(copy.begin(), copy.end(), [attribute](const auto &a, const auto &b) {
                    switch (attribute) {
                    case rk::kRBSortByName: return a->_sortByName(*b) < 0;
                    case rk::kRBSortByDate: return a->_sortByDate(*b) < 0;
                    default: return a->_sortBySize(*b) < 0;
                    }
                });
            });
    };
    for (const Row &row : rows) {
        const double objects = bestOf(
            kRounds,
            [&] {
                folder.invalidateFilteredItems(); // the visible list: a fresh copy in the folder's order
                folder.setIsFiltered(true);
            },
            [&] { folder.setSortsByAttribute(row.attribute, 0); });
        const double naive = naiveSort(row.attribute);
        std::printf("sort %s objects_us %.0f plain_us %.0f ratio %.2f naive_us %.0f\n", row.name, objects, row.plain,
                    objects / row.plain, naive);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const bool sorts = argc == 3 ? std::strcmp(argv[1], "--sort") == 0 : false;
    if (argc != 2 + (sorts ? 1 : 0)) {
        (void)std::fprintf(stderr, "usage: rkcore-object-folder [--sort] FOLDER\n");
        return 2;
    }
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("rkcore=false"));
    const QString path = QString::fromLocal8Bit(argv[argc - 1]);
    const size_t heapBefore = heapInUse();
    const double start = nowUs();
    const auto folder = rk::RBFileSystemObject::newFSOForLocalPath(path, true);
    const double elapsed = nowUs() - start;
    if (!folder) return 1;
    const size_t heap = heapInUse() - heapBefore;
    const auto entries = static_cast<double>(std::max<qsizetype>(folder->actualContents().size(), 1));
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("entries %lld read_us %.0f us_per_entry %.3f heap_bytes %zu heap_per_entry %.1f max_rss_kb %ld\n",
                static_cast<long long>(folder->actualContents().size()), elapsed, elapsed / entries, heap,
                static_cast<double>(heap) / entries, usage.ru_maxrss);
    if (sorts) compareSorts(*folder);
    if (std::getenv("RKCORE_BENCH_FREE") != nullptr) {
        const double freeStart = nowUs();
        const_cast<std::shared_ptr<rk::RBFileSystemObject> &>(folder).reset();
        std::printf("free_us %.0f\n", nowUs() - freeStart);
    }
    return 0;
}

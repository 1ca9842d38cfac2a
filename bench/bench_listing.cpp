// Reading a folder of 100,000 entries into item records (and freeing them).
// The folder is made under /tmp on the first run (see listing_folder.h);
// RKCORE_BENCH_FOLDER names another one.
#include <rkcore/rpf_fso.h>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdlib>
#include <string>

#include "listing_folder.h"

namespace {

const std::string &folder()
{
    static const std::string path = [] {
        const char *given = std::getenv("RKCORE_BENCH_FOLDER");
        std::string chosen = given != nullptr ? given : rkbench::defaultFolder();
        if (given == nullptr && !rkbench::makeListingFolder(chosen, rkbench::kDefaultEntries)) chosen.clear();
        return chosen;
    }();
    return path;
}

size_t heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

int64_t entriesOf(const rpf_fso *record)
{
    return static_cast<int64_t>(rpf_fso_file_count(record)) + rpf_fso_subdirectory_count(record);
}

void readFolderIntoRecords(benchmark::State &state)
{
    if (folder().empty()) {
        state.SkipWithError("cannot make the benchmark folder");
        return;
    }
    int64_t entries = 0;
    size_t heap = 0;
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores)
        const size_t before = heapInUse();
        rpf_fso *record = rpf_fso_get_local_fso(folder().c_str());
        benchmark::DoNotOptimize(record);
        state.PauseTiming();
        if (record == nullptr) {
            state.SkipWithError("the folder could not be read");
            break;
        }
        entries = entriesOf(record);
        heap = heapInUse() - before;
        rpf_fso_destroy_deep(record);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * entries);
    state.counters["entries"] = static_cast<double>(entries);
    state.counters["heap_bytes_per_entry"] = entries > 0 ? static_cast<double>(heap) / static_cast<double>(entries) : 0;
    state.counters["per_entry"] = benchmark::Counter(static_cast<double>(state.iterations() * entries),
                                                     benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void readAndFreeFolder(benchmark::State &state)
{
    if (folder().empty()) {
        state.SkipWithError("cannot make the benchmark folder");
        return;
    }
    int64_t entries = 0;
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores)
        rpf_fso *record = rpf_fso_get_local_fso(folder().c_str());
        if (record == nullptr) {
            state.SkipWithError("the folder could not be read");
            break;
        }
        entries = entriesOf(record);
        rpf_fso_destroy_deep(record);
    }
    state.SetItemsProcessed(state.iterations() * entries);
}

} // namespace

BENCHMARK(readFolderIntoRecords)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(readAndFreeFolder)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();

/* Reads one folder into item records and reports what it cost:
 *   rkcore-list-folder [--free] FOLDER
 * prints "entries N read_us T us_per_entry U heap_bytes H heap_per_entry B
 * max_rss_kb R", and with --free also "free_us F blocks_left K" (the deep
 * free's time and the packed blocks still in use after it, 0 when nothing
 * leaked). bench/run-all.sh runs it beside its floor and its peers. */
#include <rkcore/rpf_fso.h>

#include <malloc.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <time.h>
#include "peers/peer_clock.h"

static size_t heap_in_use(void)
{
    struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

int main(int argc, char **argv)
{
    int deep_free = argc > 2 && strcmp(argv[1], "--free") == 0;
    if (argc != 2 + deep_free) {
        (void)fprintf(stderr, "usage: rkcore-list-folder [--free] FOLDER\n");
        return 2;
    }
    size_t heap_before = heap_in_use();
    double start = now_us();
    rpf_fso *folder = rpf_fso_get_local_fso(argv[1 + deep_free]);
    double elapsed = now_us() - start;
    if (folder == NULL) return 1;
    size_t heap = heap_in_use() - heap_before;
    long entries = (long)rpf_fso_file_count(folder) + rpf_fso_subdirectory_count(folder);
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    double per = entries > 0 ? (double)entries : 1.0;
    printf("entries %ld read_us %.0f us_per_entry %.3f heap_bytes %zu heap_per_entry %.1f max_rss_kb %ld", entries,
           elapsed, elapsed / per, heap, (double)heap / per, usage.ru_maxrss);
    if (deep_free) {
        start = now_us();
        rpf_fso_destroy_deep(folder);
        printf(" free_us %.0f blocks_left %zu", now_us() - start, rpf_fso_packed_blocks_in_use());
    }
    printf("\n");
    return 0;
}

/* GIO's reading of a folder, keeping every entry's full file info:
 *   gio-listing FOLDER
 * (standard, unix, time and owner attributes, as a file manager asks for
 * them). Prints "entries N read_us T max_rss_kb R". */
#include <gio/gio.h>
#include <stdio.h>
#include <sys/resource.h>
#include <time.h>
#include "peer_clock.h"

int main(int argc, char **argv)
{
    if (argc != 2) {
        (void)fprintf(stderr, "usage: gio-listing FOLDER\n");
        return 2;
    }
    double start = now_us();
    GFile *folder = g_file_new_for_path(argv[1]);
    GFileEnumerator *entries = g_file_enumerate_children(folder, "standard::*,unix::*,time::*,owner::*",
                                                         G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, NULL, NULL);
    if (entries == NULL) return 1;
    GPtrArray *kept = g_ptr_array_new_with_free_func(g_object_unref);
    GFileInfo *info;
    while ((info = g_file_enumerator_next_file(entries, NULL, NULL)) != NULL)
        g_ptr_array_add(kept, info);
    double elapsed = now_us() - start;
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf("entries %u read_us %.0f max_rss_kb %ld\n", kept->len, elapsed, usage.ru_maxrss);
    return 0;
}

// Creates the listing benchmarks' folder:
//   rkcore-make-listing-folder [FOLDER [ENTRIES]]
// (default /tmp/rkcore-bench-tree-100000 with 100,000 entries; an empty
// folder when ENTRIES is 0). Prints the folder's path.
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "listing_folder.h"

int main(int argc, char **argv)
{
    const int entries = argc > 2 ? std::atoi(argv[2]) : rkbench::kDefaultEntries;
    const std::string folder = argc > 1 ? argv[1] : rkbench::defaultFolder(entries);
    const bool made = entries > 0 ? rkbench::makeListingFolder(folder, entries)
                                  : (mkdir(folder.c_str(), 0755) == 0 || access(folder.c_str(), F_OK) == 0);
    if (!made) {
        std::perror(folder.c_str());
        return 1;
    }
    std::printf("%s\n", folder.c_str());
    return 0;
}

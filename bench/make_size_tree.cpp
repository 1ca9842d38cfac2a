// Creates the size walk's benchmark tree:
//   rkcore-make-size-tree FOLDER [ENTRIES]
// ENTRIES (default 200,000) split into a tenth folders, at most 8 levels
// deep, and files spread over them with a heavy tail (a few folders hold most
// files); 100 extra hard-link names, sparse files, symbolic links including
// loops and links to ancestors, a few Finder-invisible items and ".hidden"
// files. Most files are empty, the rest hold up to 2,000 bytes. Deterministic.
// An existing FOLDER holding the finished-marker is left as it is.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

struct Folder {
    std::string path;
    int depth;
};

bool makeFile(const std::string &path, size_t bytes)
{
    std::ofstream file(path);
    if (bytes > 0) file << std::string(bytes, 'b');
    return static_cast<bool>(file);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: rkcore-make-size-tree FOLDER [ENTRIES]\n");
        return 2;
    }
    const std::string top = argv[1];
    const long entries = argc > 2 ? std::atol(argv[2]) : 200000;
    const std::string marker = top + "/.rkcore-size-tree-" + std::to_string(entries);
    if (access(marker.c_str(), F_OK) == 0) {
        std::printf("%s\n", top.c_str());
        return 0;
    }
    if (mkdir(top.c_str(), 0755) != 0 && access(top.c_str(), F_OK) != 0) {
        std::perror(top.c_str());
        return 1;
    }
    std::mt19937_64 random(20261124);
    const long folderCount = entries / 10;
    std::vector<Folder> folders{{top, 0}};
    for (long i = 1; i < folderCount; ++i) {
        // Parents drawn with a bias to the recent ones: deep chains and bushy tops.
        std::uniform_int_distribution<size_t> pick(folders.size() / 2, folders.size() - 1);
        size_t parent = random() % 4 == 0 ? random() % folders.size() : pick(random);
        while (folders[parent].depth >= 8)
            parent = random() % folders.size();
        const Folder folder{folders[parent].path + "/d" + std::to_string(i), folders[parent].depth + 1};
        if (mkdir(folder.path.c_str(), 0755) != 0) {
            std::perror(folder.path.c_str());
            return 1;
        }
        folders.push_back(folder);
    }
    const long special = 100 + 50 + 40 + 20;
    const long files = entries - folderCount - special;
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<std::string> made;
    made.reserve(static_cast<size_t>(files));
    for (long i = 0; i < files; ++i) {
        // u^4 piles most files into the first folders: a heavy tail.
        const double u = unit(random);
        const auto index = static_cast<size_t>(u * u * u * u * static_cast<double>(folders.size()));
        const std::string path = folders[index].path + "/f" + std::to_string(i) + (i % 7 == 0 ? ".txt" : "");
        const size_t bytes = random() % 10 < 7 ? 0 : static_cast<size_t>(random() % 2000) + 1;
        if (!makeFile(path, bytes)) {
            std::perror(path.c_str());
            return 1;
        }
        made.push_back(path);
    }
    for (int i = 0; i < 100; ++i) // hard-link names
        if (link(made[static_cast<size_t>(random()) % made.size()].c_str(),
                 (folders[random() % folders.size()].path + "/hl" + std::to_string(i)).c_str()) != 0)
            std::perror("link");
    for (int i = 0; i < 50; ++i) { // sparse files of up to 1 GiB
        const std::string path = folders[random() % folders.size()].path + "/sparse" + std::to_string(i);
        makeFile(path, 0);
        if (truncate(path.c_str(), static_cast<off_t>(random() % (1U << 30U))) != 0) std::perror("truncate");
    }
    for (int i = 0; i < 20; ++i) { // loops, links to ancestors, dangling links
        const std::string base = folders[random() % folders.size()].path;
        (void)!symlink(("loop" + std::to_string(i) + "b").c_str(), (base + "/loop" + std::to_string(i) + "a").c_str());
        (void)!symlink(("loop" + std::to_string(i) + "a").c_str(), (base + "/loop" + std::to_string(i) + "b").c_str());
    }
    for (int i = 0; i < 40; ++i) {
        const std::string base = folders[random() % folders.size()].path;
        (void)!symlink(i % 2 == 0 ? "../.." : "/no/such/target", (base + "/ln" + std::to_string(i)).c_str());
    }
    for (int i = 0; i < 20; ++i) { // Finder-invisible items, and .hidden lists
        std::array<unsigned char, 32> info{};
        info[8] = 0x40;
        const std::string &path = made[static_cast<size_t>(random()) % made.size()];
        (void)setxattr(path.c_str(), "user.com.apple.FinderInfo", info.data(), info.size(), 0);
        std::ofstream(folders[random() % folders.size()].path + "/.hidden") << "f1\nd2\n";
    }
    makeFile(marker, 0);
    std::printf("%s\n", top.c_str());
    return 0;
}

// Folders of entries with any names, kinds and modification times, read into
// records: every record's name, extension, paths and date text must equal what
// the single-item functions give, and the deep free must give back every
// packed block. The zone has daylight saving (by rule), so its change days
// come up.
#include <rkcore/rpf_date.h>
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_path.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "fuzz_input.h"

namespace {

std::string folder;

std::string textOf(char *value)
{
    std::string result = value == nullptr ? "<null>" : value;
    std::free(value);
    return result;
}

void check(bool holds)
{
    if (!holds) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    rpf_diagnostics_set_stream(nullptr);
    char base[] = "/tmp/rkcore-fuzz-local-XXXXXX";
    if (mkdtemp(base) == nullptr) std::abort();
    folder = base;
    // libFuzzer ends with exit(): the folder goes with the process.
    (void)std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::error_code error;
    std::filesystem::remove_all(folder + "/d", error);
    const std::string dir = folder + "/d";
    if (mkdir(dir.c_str(), 0755) != 0) std::abort();
    // Entries: 5 bytes of time (seconds from 1900 to 2900 or so, signed), 1 of kind, then a name up to NUL.
    int made = 0;
    for (size_t at = 0; at + 6 < size && made < 16;) {
        const int64_t raw = rkfuzz::number<int64_t>(data + at, 5);
        const time_t when = static_cast<time_t>((raw << 24) >> 24) % (INT64_C(1) << 35);
        const uint8_t kind = data[at + 5];
        const std::string name = rkfuzz::text(data + at + 6, size - at - 6);
        at += 6 + name.size() + 1;
        if (name.empty() || name == "." || name == ".." || name.size() > 200 || name.find('/') != std::string::npos)
            continue;
        std::string path = dir + "/";
        path += name;
        const int status = kind % 3 == 0   ? mkdir(path.c_str(), 0700)
                           : kind % 3 == 1 ? symlink(kind & 4 ? "/" : "nowhere", path.c_str())
                                           : close(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        if (status != 0) continue;
        const timespec times[2] = {{when, 0}, {when, 0}};
        (void)utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
        ++made;
    }
    rpf_fso *record = rpf_fso_get_local_fso(dir.c_str());
    check(record != nullptr);
    for (int which : {RPF_FSO_FILES, RPF_FSO_SUBDIRECTORIES}) {
        const int32_t count = which == RPF_FSO_FILES ? rpf_fso_file_count(record) : rpf_fso_subdirectory_count(record);
        for (int32_t i = 0; i < count; ++i) {
            const rpf_fso *item = rpf_fso_get_subitem_at_index(record, i, which);
            struct stat status {};
            check(item != nullptr && lstat(item->complete_path, &status) == 0);
            const std::string name = item->name;
            check(item->complete_path == std::string(dir).append("/").append(name));
            check(std::string(rpf_url_itemPath(item->url)) == item->complete_path);
            check(textOf(rpf_string_get_extension(item->name)) ==
                  (item->extension == nullptr ? "<null>" : item->extension));
            check(textOf(rpf_date_string_from_time_t(status.st_mtime)) ==
                  (item->date_modified == nullptr ? "<null>" : item->date_modified));
        }
    }
    rpf_fso_destroy_deep(record);
    check(rpf_fso_packed_blocks_in_use() == 0);
    return 0;
}

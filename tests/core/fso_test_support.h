// Helpers of the item-record tests: captured diagnostics, owned trees and
// fresh temporary folders.
#pragma once

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_fso.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace rktest {

// Collects the core's diagnostics while it lives; restores standard output
// after.
class CapturedDiagnostics {
public:
    CapturedDiagnostics() { rpf_diagnostics_set_callback(&CapturedDiagnostics::append, &text_); }
    ~CapturedDiagnostics() { rpf_diagnostics_reset(); }
    CapturedDiagnostics(const CapturedDiagnostics &) = delete;
    CapturedDiagnostics &operator=(const CapturedDiagnostics &) = delete;

    // Everything written so far, and forget it.
    std::string take()
    {
        std::string all;
        all.swap(text_);
        return all;
    }

private:
    static void append(const char *text, void *context) { static_cast<std::string *>(context)->append(text); }
    std::string text_;
};

struct DeepDeleter {
    void operator()(rpf_fso *record) const { rpf_fso_destroy_deep(record); }
};
// A tree freed deeply when it goes.
using Tree = std::unique_ptr<rpf_fso, DeepDeleter>;

// A fresh folder under the temporary directory, removed (with everything in
// it, rights restored first) when it goes.
class TempFolder {
public:
    TempFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "rkcore-fso-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        path_ = pattern;
    }
    ~TempFolder()
    {
        std::error_code error;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(path_, error)) {
            if (!entry.is_symlink()) {
                std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                             std::filesystem::perm_options::add, error);
            }
        }
        std::filesystem::remove_all(path_, error);
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    const std::filesystem::path &path() const { return path_; }
    std::string operator/(const std::string &name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

} // namespace rktest

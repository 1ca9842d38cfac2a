// The folder-size walk: a depth-first walk over open folders, each entry read
// once relative to its folder (fstatat), its extended attributes listed once
// (listxattrat where the kernel has it) and read only when one of ours is
// there.
#include <rkcore/RBFolderSizeWalk.h>

#include "../platform/FileCatalog_p.h"
#include "../platform/HiddenFile_p.h"
#include "../platform/MountTable_p.h"

#include <QSet>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <unordered_set>
#include <vector>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace rk {

namespace {

constexpr const char *kFinderInfoAttribute = "user.com.apple.FinderInfo";
constexpr const char *kResourceForkAttribute = "user.com.apple.ResourceFork";

// listxattrat(2) (Linux 6.13): the attribute names of an entry relative to an
// open folder. The same number on every architecture (the shared table).
#ifdef SYS_listxattrat
constexpr long kListXattrAt = SYS_listxattrat;
#else
constexpr long kListXattrAt = 465;
#endif

// Folders a walker keeps open; deeper ones are read whole and closed at once,
// their entries reached by paths relative to an open folder above them (one
// is kept open every kRelativeLimit bytes of path), so that no tree is too
// deep for the process's descriptors or for a path's length.
constexpr size_t kMaxOpenFolders = 128;
constexpr size_t kRelativeLimit = 2048;

// Entries between two looks at the clock for the progress callback.
constexpr uint64_t kProgressStride = 1024;

// Which of our attributes an entry carries.
struct AttributeNames {
    bool finderInfo = false;
    bool resourceFork = false;
};

AttributeNames namesIn(const char *list, ssize_t length)
{
    AttributeNames names;
    const char *end = list + length;
    for (const char *name = list; name < end; name += std::strlen(name) + 1) {
        if (std::strcmp(name, kFinderInfoAttribute) == 0) names.finderInfo = true;
        if (std::strcmp(name, kResourceForkAttribute) == 0) names.resourceFork = true;
    }
    return names;
}

// Network and user-space file systems: their mount points may not answer.
bool mayHang(const QByteArray &type)
{
    static const QSet<QByteArray> types = {"nfs",  "nfs4",      "cifs",  "smb3",   "smbfs", "ncpfs", "afs", "9p",
                                           "ceph", "glusterfs", "davfs", "lustre", "gfs2",  "ocfs2", "fuse"};
    return types.contains(type) || type.startsWith("fuse.");
}

// Whether `path` answers a stat within `timeout`. The stat runs on a thread of
// its own that is left behind (blocked in the kernel) when it does not.
bool answersWithin(const std::string &path, std::chrono::milliseconds timeout)
{
    struct Probe {
        std::mutex mutex;
        std::condition_variable done;
        bool finished = false;
        bool ok = false;
    };
    auto probe = std::make_shared<Probe>();
    try {
        std::thread([probe, path] {
            struct stat status {};
            const bool ok = stat(path.c_str(), &status) == 0;
            const std::lock_guard lock(probe->mutex);
            probe->finished = true;
            probe->ok = ok;
            probe->done.notify_all();
        }).detach();
    } catch (const std::system_error &) {
        return false;
    }
    std::unique_lock lock(probe->mutex);
    probe->done.wait_for(lock, timeout, [&probe] { return probe->finished; });
    return probe->finished && probe->ok;
}

struct InodeKey {
    dev_t device;
    ino_t inode;
    bool operator==(const InodeKey &) const = default;
};

struct InodeHash {
    size_t operator()(const InodeKey &key) const noexcept
    {
        return std::hash<uint64_t>()(static_cast<uint64_t>(key.inode) * 0x9E3779B97F4A7C15ULL ^
                                     static_cast<uint64_t>(key.device));
    }
};

// One folder of the walk: read as it goes (`dir`), or, beyond the
// kMaxOpenFolders deepest, read whole into `entries` and closed, unless it is
// kept open (`held`) for the entries below it.
struct Frame {
    DIR *dir = nullptr;
    DIR *held = nullptr;
    int fd = -1;                                                // open while `dir` or `held` is
    std::vector<std::pair<std::string, unsigned char>> entries; // name and type, when read whole
    size_t next = 0;
    size_t anchor = 0;     // index of the frame whose descriptor the entries' paths are relative to
    size_t pathLength = 0; // of the walker's path buffer for this folder
    dev_t device = 0;
    QSet<QByteArray> hiddenNames;
};

// A folder handed to another thread of the walk: its contents are to be
// walked (the folder itself was counted where it was found).
struct Task {
    std::string path;
    dev_t device = 0;
};

// What the threads of one walk share. The queue holds a folder only while a
// thread waits for one, so it stays short.
struct Shared {
    Shared(const RBFolderSizeWalkOptions &walkOptions, const std::atomic<bool> *cancelFlag)
        : options(walkOptions), cancel(cancelFlag)
    {
    }
    const RBFolderSizeWalkOptions &options;
    const std::atomic<bool> *cancel;
    dev_t topDevice = 0;
    std::optional<platform::MountTable> mounts; // read once, before the threads start

    std::mutex mutex; // guards threads, queue, idle, done
    std::condition_variable wake;
    int threads = 1;
    std::deque<Task> queue;
    int idle = 0;
    bool done = false;
    std::atomic<int> idleHint{0}; // `idle`, for a look without the lock
    std::atomic<bool> stopped{false};

    std::mutex inodeMutex; // guards linkedInodes
    std::unordered_set<InodeKey, InodeHash> linkedInodes;

    std::atomic<uint64_t> items{0}; // progress published by every thread
    std::atomic<uint64_t> bytes{0};
};

void closeFrame(Frame &frame)
{
    if (frame.dir != nullptr) closedir(frame.dir);
    if (frame.held != nullptr) closedir(frame.held);
    frame.dir = frame.held = nullptr;
    frame.fd = -1;
}

class Walker {
public:
    Walker(Shared &shared, bool reportsProgress) : shared_(shared), options_(shared.options), reports_(reportsProgress)
    {
    }
    ~Walker()
    {
        for (Frame &frame : stack_)
            closeFrame(frame);
    }
    Walker(const Walker &) = delete;
    Walker &operator=(const Walker &) = delete;

    // The top item: its own du figures; a folder is opened for drain(). false
    // when there is nothing to walk.
    bool start(const QByteArray &top);
    // Walks the open folders; false when the walk was cancelled.
    bool drain();
    // Takes queued folders and drains them until the walk is over.
    void work();
    // Offers a folder to a waiting thread; false when none waits.
    bool offer(const struct stat &status);
    RBFolderSizeWalkResult &result() { return result_; }

private:
    void countDiskUsage(const struct stat &status);
    bool pushFolder(int fd, dev_t device);
    bool visitNext();
    void visitEntry(const Frame &frame, const char *name, unsigned char type);
    void visitFolderEntry(const Frame &frame, const char *name, const struct stat &status);
    void visitOther(const Frame &frame, const char *name, const struct stat &status);
    AttributeNames attributeNames();
    bool isInvisible(const Frame &frame, const char *name, bool finderInfo, bool followLinks) const;
    bool skipMount();
    void publishProgress();

    Shared &shared_;
    const RBFolderSizeWalkOptions &options_;
    bool reports_;
    RBFolderSizeWalkResult result_;
    std::vector<Frame> stack_;
    std::string path_;
    // The current entry for system calls: a folder descriptor and a path
    // relative to it (the name itself in an open folder).
    int at_ = -1;
    const char *relative_ = nullptr;
    bool haveListXattrAt_ = true;
    uint64_t publishedItems_ = 0;
    uint64_t publishedBytes_ = 0;
    std::chrono::steady_clock::time_point lastProgress_ = std::chrono::steady_clock::now();
    std::array<char, 4096> attributeList_{};
};

void Walker::countDiskUsage(const struct stat &status)
{
    if (options_.oneFileSystem && status.st_dev != shared_.topDevice) return;
    // Hard-linked files count once, as du counts them.
    if (!S_ISDIR(status.st_mode) && status.st_nlink > 1) {
        const std::lock_guard lock(shared_.inodeMutex);
        if (!shared_.linkedInodes.insert(InodeKey{status.st_dev, status.st_ino}).second) return;
    }
    result_.extras.diskUsage += static_cast<uint64_t>(status.st_blocks) * 512U;
    result_.extras.apparentSize += static_cast<uint64_t>(status.st_size);
}

bool Walker::pushFolder(int fd, dev_t device)
{
    DIR *dir = fdopendir(fd);
    if (dir == nullptr) {
        close(fd);
        return false;
    }
    Frame frame;
    frame.pathLength = path_.size();
    frame.fd = fd;
    frame.anchor = stack_.size();
    if (stack_.size() < kMaxOpenFolders) {
        frame.dir = dir;
    } else {
        while (const dirent *entry = readdir(dir))
            frame.entries.emplace_back(entry->d_name, entry->d_type);
        const Frame &parent = stack_.back();
        const size_t parentAnchor = parent.fd >= 0 ? stack_.size() - 1 : parent.anchor;
        if (path_.size() - stack_[parentAnchor].pathLength > kRelativeLimit) {
            frame.held = dir;
        } else {
            closedir(dir);
            frame.fd = -1;
            frame.anchor = parentAnchor;
        }
    }
    frame.device = device;
    if (options_.readAttributes) frame.hiddenNames = platform::readHiddenNames(QByteArray::fromStdString(path_));
    stack_.push_back(std::move(frame));
    return true;
}

bool Walker::start(const QByteArray &top)
{
    path_.assign(top.constData(), static_cast<size_t>(top.size()));
    while (path_.size() > 1 && path_.back() == '/')
        path_.pop_back();
    struct stat status {};
    if (path_.empty() || stat(path_.c_str(), &status) != 0) return false;
    if (path_.front() != '/') {
        // Absolute, so that mount points are recognised in the mount table.
        const std::unique_ptr<char, decltype(&std::free)> folder(getcwd(nullptr, 0), &std::free);
        if (folder) path_ = std::string(folder.get()) + (std::strcmp(folder.get(), "/") == 0 ? "" : "/") + path_;
    }
    result_.found = true;
    shared_.topDevice = status.st_dev;
    result_.extras.entries = 1;
    countDiskUsage(status);
    if (!S_ISDIR(status.st_mode)) return false;
    const int fd = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0 || !pushFolder(fd, status.st_dev)) {
        ++result_.extras.unreadableFolders;
        return false;
    }
    if (path_ == "/") { // entries are joined as path_ + "/" + name
        path_.clear();
        stack_.back().pathLength = 0;
    }
    return true;
}

bool Walker::drain()
{
    while (!stack_.empty()) {
        if (!visitNext()) continue;
        if ((shared_.cancel != nullptr && shared_.cancel->load(std::memory_order_relaxed)) ||
            shared_.stopped.load(std::memory_order_relaxed)) {
            result_.extras.cancelled = true;
            return false;
        }
        if (result_.extras.entries % kProgressStride == 0) publishProgress();
    }
    return true;
}

void Walker::work()
{
    for (;;) {
        Task task;
        {
            std::unique_lock lock(shared_.mutex);
            ++shared_.idle;
            shared_.idleHint.store(shared_.idle, std::memory_order_relaxed);
            if (shared_.idle == shared_.threads && shared_.queue.empty()) shared_.done = true;
            shared_.wake.notify_all();
            shared_.wake.wait(lock, [this] {
                return !shared_.queue.empty() || shared_.done || shared_.stopped.load(std::memory_order_relaxed);
            });
            if (shared_.queue.empty() || shared_.stopped.load(std::memory_order_relaxed)) return;
            task = std::move(shared_.queue.front());
            shared_.queue.pop_front();
            --shared_.idle;
            shared_.idleHint.store(shared_.idle, std::memory_order_relaxed);
        }
        path_ = std::move(task.path);
        const int fd = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0 || !pushFolder(fd, task.device)) {
            ++result_.extras.unreadableFolders;
            continue;
        }
        if (!drain()) {
            const std::lock_guard lock(shared_.mutex);
            shared_.stopped.store(true, std::memory_order_relaxed);
            shared_.wake.notify_all();
            return;
        }
    }
}

bool Walker::offer(const struct stat &status)
{
    if (shared_.idleHint.load(std::memory_order_relaxed) == 0) return false;
    const std::lock_guard lock(shared_.mutex);
    if (shared_.idle <= static_cast<int>(shared_.queue.size())) return false;
    shared_.queue.push_back(Task{path_, status.st_dev});
    shared_.wake.notify_one();
    return true;
}

void Walker::publishProgress()
{
    const RBSizeRecord &record = result_.record;
    const uint64_t items = record[kRBSizeFiles] + record[kRBSizeFolders];
    shared_.items.fetch_add(items - publishedItems_, std::memory_order_relaxed);
    shared_.bytes.fetch_add(record[kRBSizeDataFork] - publishedBytes_, std::memory_order_relaxed);
    publishedItems_ = items;
    publishedBytes_ = record[kRBSizeDataFork];
    if (!reports_ || !options_.progress) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastProgress_ < options_.progressInterval) return;
    lastProgress_ = now;
    options_.progress(RBFolderSizeProgress{shared_.items.load(std::memory_order_relaxed),
                                           shared_.bytes.load(std::memory_order_relaxed)});
}

// Reads the next entry of the deepest open folder; false when that folder
// ended (it is closed) or the entry was "." or "..".
bool Walker::visitNext()
{
    Frame &frame = stack_.back();
    const char *name = nullptr;
    unsigned char type = DT_UNKNOWN;
    if (frame.dir != nullptr) {
        if (const dirent *entry = readdir(frame.dir)) {
            name = entry->d_name;
            type = entry->d_type;
        }
    } else if (frame.next < frame.entries.size()) {
        name = frame.entries[frame.next].first.c_str();
        type = frame.entries[frame.next].second;
        ++frame.next;
    }
    if (name == nullptr) {
        closeFrame(frame);
        stack_.pop_back();
        if (!stack_.empty()) path_.resize(stack_.back().pathLength);
        return false;
    }
    if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) return false;
    ++result_.extras.entries;
    path_.resize(frame.pathLength);
    path_ += '/';
    path_ += name;
    if (frame.fd >= 0) {
        at_ = frame.fd;
        relative_ = name;
    } else {
        const Frame &anchor = stack_[frame.anchor];
        at_ = anchor.fd;
        relative_ = path_.c_str() + anchor.pathLength + 1;
    }
    visitEntry(frame, name, type);
    return true;
}

void Walker::visitEntry(const Frame &frame, const char *name, unsigned char type)
{
    if ((type == DT_DIR || type == DT_UNKNOWN) && skipMount()) {
        ++result_.record[kRBSizeFolders];
        return;
    }
    struct stat status {};
    if (fstatat(at_, relative_, &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) {
        // Vanished, or not examinable: still an item, with nothing to add.
        ++result_.record[kRBSizeFiles];
        return;
    }
    countDiskUsage(status);
    if (S_ISDIR(status.st_mode))
        visitFolderEntry(frame, name, status);
    else
        visitOther(frame, name, status);
}

// A mount point that must not be entered: an automount point not mounted yet,
// or a network mount that does not answer. Reported in skippedMounts.
bool Walker::skipMount()
{
    const platform::MountTable &mounts = *shared_.mounts;
    if (mounts.size() <= 1) return false;
    const QByteArray path = QByteArray::fromRawData(path_.data(), static_cast<qsizetype>(path_.size()));
    if (!mounts.isMountPoint(path)) return false;
    const QByteArray fsType = mounts.fileSystemType(path);
    const bool skip = fsType == "autofs" || (mayHang(fsType) && !answersWithin(path_, options_.mountTimeout));
    if (skip) result_.extras.skippedMounts.append(QString::fromStdString(path_));
    return skip;
}

void Walker::visitFolderEntry(const Frame &frame, const char *name, const struct stat &status)
{
    RBSizeRecord &record = result_.record;
    ++record[kRBSizeFolders];
    if (options_.readAttributes) {
        const AttributeNames names = attributeNames();
        if (isInvisible(frame, name, names.finderInfo, false)) ++record[kRBSizeHidden];
    }
    if (options_.oneFileSystem && status.st_dev != shared_.topDevice) return;
    // A helper opens what it is offered by its whole path: only short ones.
    if (shared_.threads > 1 && path_.size() < kRelativeLimit && offer(status)) return;
    const int fd = openat(at_, relative_, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0 || !pushFolder(fd, status.st_dev)) ++result_.extras.unreadableFolders;
}

void Walker::visitOther(const Frame &frame, const char *name, const struct stat &status)
{
    RBSizeRecord &record = result_.record;
    ++record[kRBSizeFiles];
    if (S_ISLNK(status.st_mode)) {
        // Only a link whose target can be examined has an item to measure.
        struct stat target {};
        if (fstatat(at_, relative_, &target, 0) != 0) return;
        record[kRBSizeDataFork] += static_cast<uint64_t>(status.st_size);
        if (options_.readAttributes && isInvisible(frame, name, true, true)) ++record[kRBSizeHidden];
        return;
    }
    uint64_t fork = 0;
    bool invisible = false;
    if (options_.readAttributes) {
        const AttributeNames names = attributeNames();
        if (names.resourceFork) {
            const ssize_t length = lgetxattr(path_.c_str(), kResourceForkAttribute, nullptr, 0);
            if (length < 0 && errno == ENOENT) return; // vanished since its status was read
            fork = length > 0 ? static_cast<uint64_t>(length) : 0U;
        }
        invisible = isInvisible(frame, name, names.finderInfo, false);
    }
    const auto block = static_cast<uint64_t>(status.st_blksize > 0 ? status.st_blksize : 512);
    record[kRBSizeDataFork] += static_cast<uint64_t>(status.st_size);
    record[kRBSizeDataForkPhysical] += static_cast<uint64_t>(status.st_blocks) * 512U;
    record[kRBSizeResourceFork] += fork;
    record[kRBSizeResourceForkPhysical] += (fork + block - 1) / block * block;
    if (invisible) ++record[kRBSizeHidden];
}

AttributeNames Walker::attributeNames()
{
    ssize_t length = -1;
    if (haveListXattrAt_) {
        length =
            syscall(kListXattrAt, at_, relative_, AT_SYMLINK_NOFOLLOW, attributeList_.data(), attributeList_.size());
        if (length < 0 && (errno == ENOSYS || errno == EPERM)) haveListXattrAt_ = false;
    }
    if (!haveListXattrAt_) length = llistxattr(path_.c_str(), attributeList_.data(), attributeList_.size());
    if (length < 0) {
        // A list longer than the buffer may hold ours: look for them directly.
        if (errno == ERANGE) return AttributeNames{true, true};
        return {};
    }
    return namesIn(attributeList_.data(), length);
}

bool Walker::isInvisible(const Frame &frame, const char *name, bool finderInfo, bool followLinks) const
{
    if (finderInfo) {
        const auto info = platform::readFinderInfo(path_.c_str(), followLinks);
        if (info && (info->flags & platform::kFinderFlagIsInvisible) != 0) return true;
    }
    return !frame.hiddenNames.isEmpty() &&
           frame.hiddenNames.contains(QByteArray::fromRawData(name, static_cast<qsizetype>(std::strlen(name))));
}

} // namespace

namespace {

void merge(RBFolderSizeWalkResult &into, const RBFolderSizeWalkResult &from)
{
    for (int i : {kRBSizeDataFork, kRBSizeDataForkPhysical, kRBSizeResourceFork, kRBSizeResourceForkPhysical,
                  kRBSizeFolders, kRBSizeFiles, kRBSizeHidden})
        into.record[i] += from.record[i];
    into.extras.diskUsage += from.extras.diskUsage;
    into.extras.apparentSize += from.extras.apparentSize;
    into.extras.entries += from.extras.entries;
    into.extras.unreadableFolders += from.extras.unreadableFolders;
    into.extras.cancelled = into.extras.cancelled || from.extras.cancelled;
    into.extras.skippedMounts += from.extras.skippedMounts;
}

// Starts the helpers of a walk; as many as the system gives, up to `count`.
std::vector<std::thread> startHelpers(Shared &shared, std::vector<std::unique_ptr<Walker>> &helpers, int count)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        auto helper = std::make_unique<Walker>(shared, false);
        {
            const std::lock_guard lock(shared.mutex);
            ++shared.threads;
        }
        try {
            threads.emplace_back([walker = helper.get()] { walker->work(); });
            helpers.push_back(std::move(helper));
        } catch (const std::system_error &) {
            const std::lock_guard lock(shared.mutex);
            --shared.threads;
            break;
        }
    }
    return threads;
}

} // namespace

RBFolderSizeWalkResult walkFolderSizes(const QByteArray &path, const RBFolderSizeWalkOptions &options,
                                       const std::atomic<bool> *cancel)
{
    Shared shared(options, cancel);
    shared.mounts = platform::MountTable::snapshot();
    Walker walker(shared, true);
    std::vector<std::unique_ptr<Walker>> helpers;
    std::vector<std::thread> threads;
    if (walker.start(path)) {
        threads = startHelpers(shared, helpers, std::min(options.threads, 64) - 1);
        if (!walker.drain()) {
            const std::lock_guard lock(shared.mutex);
            shared.stopped.store(true, std::memory_order_relaxed);
            shared.wake.notify_all();
        } else if (!threads.empty()) {
            walker.work();
        }
    }
    for (std::thread &thread : threads)
        thread.join();
    RBFolderSizeWalkResult &result = walker.result();
    for (const auto &helper : helpers)
        merge(result, helper->result());
    RBSizeRecord &record = result.record;
    record[kRBSizeTotal] = record[kRBSizeDataFork] + record[kRBSizeResourceFork];
    record[kRBSizePhysicalTotal] = record[kRBSizeDataForkPhysical] + record[kRBSizeResourceForkPhysical];
    record[kRBSizeContainedItems] = record[kRBSizeFiles] + record[kRBSizeFolders];
    if (options.progress && result.found)
        options.progress(RBFolderSizeProgress{record[kRBSizeContainedItems], record[kRBSizeDataFork]});
    return result;
}

} // namespace rk

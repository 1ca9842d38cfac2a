// An item's sizes: remote records, single files, volumes and folder walks,
// cached in the object; and the cancellation of a running walk.
#include <rkcore/Logging.h>
#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBFileSystemObjectSize.h>

#include "RBFileSystemObject_p.h"

#include <cerrno>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>

namespace rk {

namespace {

constexpr const char *kResourceForkAttribute = "user.com.apple.ResourceFork";

std::shared_ptr<RBFileSystemObjectSize> remoteSize(const RBFileSystemObject &object)
{
    auto record = std::make_unique<RBSizeRecord>();
    const rpf_fso *fso = object.cstruct();
    // The record's size is a signed 32-bit field: widen it with its sign.
    const auto size = static_cast<uint64_t>(static_cast<int64_t>(fso != nullptr ? fso->size : 0));
    (*record)[kRBSizeDataFork] = size;
    (*record)[kRBSizeTotal] = size;
    if (object.isFolder()) {
        const auto files = static_cast<uint64_t>(static_cast<int64_t>(object.fileCount()));
        const auto folders = static_cast<uint64_t>(static_cast<int64_t>(object.subFolderCount()));
        (*record)[kRBSizeFiles] = files;
        (*record)[kRBSizeFolders] = folders;
        (*record)[kRBSizeContainedItems] = files + folders;
    }
    return RBFileSystemObjectSize::initWithLocalFileSize(std::move(record));
}

std::shared_ptr<RBFileSystemObjectSize> singleItemSize(const RBFileSystemObject &object)
{
    const auto found = object.getLocalFileSize();
    if (!found) return nullptr;
    auto record = std::make_unique<RBSizeRecord>();
    for (int i = kRBSizeDataFork; i <= kRBSizeResourceForkPhysical; ++i)
        (*record)[i] = (*found)[i];
    (*record)[kRBSizeTotal] = (*record)[kRBSizeDataFork] + (*record)[kRBSizeResourceFork];
    (*record)[kRBSizePhysicalTotal] = (*record)[kRBSizeDataForkPhysical] + (*record)[kRBSizeResourceForkPhysical];
    return RBFileSystemObjectSize::initWithLocalFileSize(std::move(record));
}

} // namespace

std::shared_ptr<RBFileSystemObjectSize> RBFileSystemObject::sizeObject() const
{
    return sizeObject(RBFolderSizeWalkOptions{});
}

std::shared_ptr<RBFileSystemObjectSize> RBFileSystemObject::sizeObject(const RBFolderSizeWalkOptions &options) const
{
    if (d->cachedSizeObject) return d->cachedSizeObject;
    std::shared_ptr<RBFileSystemObjectSize> size;
    if (!isLocal()) {
        size = remoteSize(*this);
    } else if (isFile() || isAlias() || isLink() || (isApplication() && !isApplicationPackaged())) {
        size = singleItemSize(*this);
        if (!size) return nullptr;
    } else if (isVolume()) {
        // Volume figures change all the time: read afresh, never cached.
        return RBFileSystemObjectSize::initWithLocalFileSize(getVolumeInformation());
    } else {
        auto walk = walkFolderSizes(pathBytes(completePath()), options, &d->myCancelFolderSizeCalc);
        size = RBFileSystemObjectSize::initWithLocalFileSize(std::make_unique<RBSizeRecord>(walk.record), walk.extras);
    }
    d->cachedSizeObject = size;
    return size;
}

std::unique_ptr<RBSizeRecord> RBFileSystemObject::getLocalFileSize() const
{
    auto record = std::make_unique<RBSizeRecord>();
    const QByteArray path = pathBytes(completePath());
    struct stat status {};
    if (!path.isEmpty() && lstat(path.constData(), &status) == 0 && S_ISLNK(status.st_mode)) {
        (*record)[kRBSizeDataFork] = static_cast<uint64_t>(status.st_size);
        (*record)[kRBSizeTotal] = static_cast<uint64_t>(status.st_size);
        return record;
    }
    if (path.isEmpty() || !isLocal() || stat(path.constData(), &status) != 0) {
        qCInfo(rkcoreLog).noquote() << "getLocalFileSize : FSRef was null";
        return nullptr;
    }
    uint64_t fork = 0;
    const ssize_t length = getxattr(path.constData(), kResourceForkAttribute, nullptr, 0);
    if (length > 0) {
        fork = static_cast<uint64_t>(length);
    } else if (length < 0 && errno != ENODATA && errno != ENOTSUP && errno != EACCES && errno != EPERM) {
        // No attribute, no support for them, or no right to read them: no
        // resource fork. Anything else (the item vanished, an I/O error) is
        // a failure to read the item.
        qCInfo(rkcoreLog).noquote() << "getLocalFileSize : Error Getting info";
        return nullptr;
    }
    const auto block = static_cast<uint64_t>(status.st_blksize > 0 ? status.st_blksize : 512);
    (*record)[kRBSizeDataFork] = static_cast<uint64_t>(status.st_size);
    (*record)[kRBSizeDataForkPhysical] = static_cast<uint64_t>(status.st_blocks) * 512U;
    (*record)[kRBSizeResourceFork] = fork;
    (*record)[kRBSizeResourceForkPhysical] = (fork + block - 1) / block * block;
    (*record)[kRBSizeTotal] = (*record)[kRBSizeDataFork] + fork;
    return record;
}

std::unique_ptr<RBSizeRecord> RBFileSystemObject::getVolumeInformation() const
{
    const QByteArray path = pathBytes(completePath());
    struct stat status {};
    if (path.isEmpty() || !isLocal() || stat(path.constData(), &status) != 0) {
        qCInfo(rkcoreLog).noquote() << "getLocalFileSize : FSRef was null";
        return nullptr;
    }
    struct statvfs volume {};
    if (statvfs(path.constData(), &volume) != 0) return nullptr;
    auto record = std::make_unique<RBSizeRecord>();
    // The volume's counts are 32-bit, and so is their sum. Linux keeps no
    // separate folder count: every inode in use counts as a file.
    const auto files = static_cast<uint32_t>(volume.f_files - volume.f_ffree);
    const uint32_t folders = 0;
    (*record)[kRBSizeFiles] = files;
    (*record)[kRBSizeFolders] = folders;
    (*record)[kRBSizeContainedItems] = static_cast<uint32_t>(files + folders);
    (*record)[kRBSizeTotal] = static_cast<uint64_t>(volume.f_blocks) * volume.f_frsize;
    (*record)[kRBSizeAvailable] = static_cast<uint64_t>(volume.f_bavail) * volume.f_frsize;
    return record;
}

QString RBFileSystemObject::totalSizeFormattedAsString() const
{
    const auto size = sizeObject();
    if (!size) return QString();
    if (d->myCachedFormattedSize.isNull())
        d->myCachedFormattedSize = isVolume() ? size->usedGetInfoString() : size->formattedStringForKey(4);
    return d->myCachedFormattedSize;
}

void RBFileSystemObject::invalidateCachedSize()
{
    d->cachedSizeObject.reset();
}

void RBFileSystemObject::cancelFolderSizeCalulation()
{
    d->myCancelFolderSizeCalc.store(true, std::memory_order_relaxed);
}

bool RBFileSystemObject::folderSizeCalulationCancelled() const
{
    return d->myCancelFolderSizeCalc.load(std::memory_order_relaxed);
}

} // namespace rk

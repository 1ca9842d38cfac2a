// What kind of item an object is (folder, file, link, alias, application,
// package, volume), the predicates that rest on it, and the target of a link
// or an alias.
#include <rkcore/RBFileSystemObject.h>

#include "../platform/Applications_p.h"
#include "../platform/DesktopEntry_p.h"
#include "../platform/FileCatalog_p.h"
#include "../platform/HiddenFile_p.h"
#include "../platform/MountTable_p.h"
#include "RBFileSystemObject_p.h"

#include <rkcore/Logging.h>

#include <QImageReader>
#include <QMimeDatabase>

#include <array>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace rk {

namespace {

constexpr OSType kApplicationType = 0x4150504C; // 'APPL'
constexpr size_t kLinkBufferSize = 1024;

// What identification needs to know about an item that exists: whether the
// path itself is a symbolic link, and the status of what it leads to (type
// and permission bits).
struct ItemFacts {
    bool isLink = false;
    mode_t mode = 0;
};

int32_t pointedToKindOf(mode_t mode)
{
    if (S_ISDIR(mode)) return kRBKindFolder;
    if (S_ISREG(mode)) return kRBKindFile;
    if (S_ISLNK(mode)) return kRBKindSymbolicLink;
    return kRBKindNone;
}

bool hasExecuteBit(mode_t mode)
{
    return (mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
}

// Whether the item at `path` counts as having the Finder type "APPL": it says
// so in its Finder information, or it is an executable program, or a desktop
// entry of Type=Application. Contents are read only where a rule needs them.
bool hasApplicationType(const char *path, mode_t mode)
{
    const auto info = platform::readFinderInfo(path, true);
    if (info && info->type == kApplicationType) return true;
    if (!S_ISREG(mode)) return false;
    if (hasExecuteBit(mode) && platform::isExecutableProgram(path)) return true;
    if (platform::looksLikeDesktopEntry(path)) {
        const auto entry = platform::readDesktopEntry(path);
        return entry && entry->type == QLatin1String("Application");
    }
    return false;
}

// Steps that follow the existence test, given what is known of the item.
int32_t classify(const QByteArray &path, const ItemFacts &facts, const platform::MountTable &mounts,
                 int32_t *typeWePointTo, bool *isPackaged)
{
    if (facts.isLink) {
        if (typeWePointTo != nullptr) *typeWePointTo = pointedToKindOf(facts.mode);
        return kRBKindSymbolicLink;
    }
    if (S_ISDIR(facts.mode)) {
        const uint32_t flags = platform::folderItemFlags(path, mounts);
        if ((flags & platform::kItemIsApplication) != 0) {
            if (isPackaged != nullptr) *isPackaged = true;
            return kRBKindApplication;
        }
        if ((flags & platform::kItemIsPackage) != 0) return kRBKindPackage;
        if ((flags & platform::kItemIsVolume) != 0) return kRBKindVolume;
        return kRBKindFolder;
    }
    if (!S_ISREG(facts.mode)) return kRBKindNone;

    int32_t kind = kRBKindFile;
    int32_t aliasTargetKind = kRBKindNone;
    QByteArray reference = path;
    mode_t referenceMode = facts.mode;
    if (platform::looksLikeDesktopEntry(path.constData())) {
        const auto resolution = platform::resolveAliasFile(path);
        struct stat target {};
        if (resolution.wasAlias && resolution.resolved && stat(resolution.target.constData(), &target) == 0) {
            kind = kRBKindAlias;
            aliasTargetKind = S_ISDIR(target.st_mode) ? kRBKindFolder : kRBKindFile;
            reference = resolution.target;
            referenceMode = target.st_mode;
        }
    }
    // An alias to a single-file application is an application.
    if (hasApplicationType(reference.constData(), referenceMode)) {
        if (isPackaged != nullptr) *isPackaged = false;
        return kRBKindApplication;
    }
    if (kind == kRBKindAlias && typeWePointTo != nullptr) *typeWePointTo = aliasTargetKind;
    return kind;
}

// The permission bits a record's permission number stands for (755 gives
// rwxr-xr-x).
mode_t modeBitsOf(uint16_t perms)
{
    const unsigned owner = (perms / 100U) % 10U;
    const unsigned group = (perms / 10U) % 10U;
    const unsigned world = perms % 10U;
    return static_cast<mode_t>((owner << 6U) | (group << 3U) | world);
}

std::optional<QByteArray> existingPathBytes(const QString &path)
{
    if (path.isEmpty() || path.contains(QChar(u'\0'))) return std::nullopt;
    return path.toUtf8();
}

// The kind of the item at a path given as the file system's bytes (see
// typeForItemAtPath).
int32_t typeForItemAtPathBytes(const std::optional<QByteArray> &bytes, int32_t *typeWePointTo, bool *isPackaged);

} // namespace

int32_t RBFileSystemObject::typeForItemAtPath(const QString &path, int32_t *typeWePointTo, bool *isPackaged)
{
    return typeForItemAtPathBytes(existingPathBytes(path), typeWePointTo, isPackaged);
}

namespace {

int32_t typeForItemAtPathBytes(const std::optional<QByteArray> &bytes, int32_t *typeWePointTo, bool *isPackaged)
{
    struct stat status {};
    if (!bytes || stat(bytes->constData(), &status) != 0) return kRBKindNone;
    if (isPackaged != nullptr) *isPackaged = false;

    struct stat linkStatus {};
    if (lstat(bytes->constData(), &linkStatus) != 0) return kRBKindNone;
    ItemFacts facts;
    if (S_ISLNK(linkStatus.st_mode)) {
        if (stat(bytes->constData(), &status) != 0) {
            printDiagnostic("\t\tError getting item statistics");
            return kRBKindNone;
        }
        facts = {true, status.st_mode};
    } else {
        if (stat(bytes->constData(), &status) != 0) {
            printDiagnostic("Problem Getting item info...bailing");
            return kRBKindNone;
        }
        facts = {false, status.st_mode};
    }
    return classify(*bytes, facts, platform::MountTable::snapshot(), typeWePointTo, isPackaged);
}

} // namespace

void RBFileSystemObjectPrivate::identifyFromRecord(RBFileSystemObject &object, const platform::MountTable &mounts)
{
    const rpf_fso *record = object.d->_fso_struct;
    auto &state = *object.d;
    bool packaged = false;
    ItemFacts facts;
    switch (record->type) {
    case RPF_FSO_TYPE_LINK:
        // The read examined the target already; one it could not examine does
        // not exist for the existence test (a dangling link).
        if (record->link_target_type == RPF_FSO_TARGET_UNREADABLE) {
            state.myItemsType = kRBKindNone;
            object.setApplicationIsPackaged(false);
            return;
        }
        facts.isLink = true;
        facts.mode = record->link_target_type == RPF_FSO_TARGET_DIRECTORY ? S_IFDIR
                     : record->link_target_type == RPF_FSO_TARGET_FILE    ? S_IFREG
                                                                          : S_IFIFO;
        break;
    case RPF_FSO_TYPE_DIRECTORY: facts.mode = S_IFDIR | modeBitsOf(record->perms); break;
    case RPF_FSO_TYPE_FILE: facts.mode = S_IFREG | modeBitsOf(record->perms); break;
    default:
        facts.mode = S_IFIFO; // a device, pipe or socket: kind 0
        break;
    }
    state.myItemsType = classify(recordPath(record), facts, mounts, &state.myTargetedItemsType, &packaged);
    object.setApplicationIsPackaged(packaged);
}

void RBFileSystemObject::identify()
{
    bool packaged = false;
    // The record's own bytes: a path that is not UTF-8 keeps its bytes.
    const char *path = d->_fso_struct->complete_path;
    d->myItemsType = path != nullptr ? typeForItemAtPathBytes(QByteArray(path), &d->myTargetedItemsType, &packaged)
                                     : typeForItemAtPath(completePath(), &d->myTargetedItemsType, &packaged);
    setApplicationIsPackaged(packaged);
}

int32_t RBFileSystemObject::fsoKind() const
{
    return d->myItemsType;
}

int32_t RBFileSystemObject::aliasOrLinkTargetKind() const
{
    return d->myTargetedItemsType;
}

bool RBFileSystemObject::isDir() const
{
    if (isLocal() && d->myItemsType == kRBKindFolder) return true;
    return rpf_fso_isDir(d->_fso_struct) != 0;
}

bool RBFileSystemObject::isFile() const
{
    return isLocal() ? d->myItemsType == kRBKindFile : rpf_fso_isFile(d->_fso_struct) != 0;
}

bool RBFileSystemObject::isLink() const
{
    return isLocal() ? d->myItemsType == kRBKindSymbolicLink : rpf_fso_isLink(d->_fso_struct) != 0;
}

bool RBFileSystemObject::isAlias() const
{
    return !isRemote() && d->myItemsType == kRBKindAlias;
}

bool RBFileSystemObject::isApplication() const
{
    return !isRemote() && d->myItemsType == kRBKindApplication;
}

bool RBFileSystemObject::isPackage() const
{
    return !isRemote() && d->myItemsType == kRBKindPackage;
}

bool RBFileSystemObject::isVolume() const
{
    return !isRemote() && d->myItemsType == kRBKindVolume;
}

bool RBFileSystemObject::isPackagedApplication() const
{
    return isApplication() && isApplicationPackaged();
}

bool RBFileSystemObject::isApplicationPackaged() const
{
    return d->myApplicationIsPackaged;
}

void RBFileSystemObject::setApplicationIsPackaged(bool packaged)
{
    d->myApplicationIsPackaged = packaged;
}

bool RBFileSystemObject::isCarbonApplication() const
{
    QByteArray executable;
    if (isPackagedApplication()) {
        executable = platform::applicationExecutable(pathBytes(completePath()));
        if (executable.isEmpty()) return false;
    } else {
        executable = pathBytes(completePath());
    }
    return platform::startsWithPEFSignature(executable.constData());
}

bool RBFileSystemObject::isInvisible() const
{
    if (!isLocal()) return false;
    const auto ref = fsRef();
    if (!ref) {
        qCInfo(rkcoreLog).noquote() << "Could not get FSRef";
        return false;
    }
    const auto info = platform::readFinderInfo(ref->path.constData(), true);
    if (info && (info->flags & platform::kFinderFlagIsInvisible) != 0) return true;

    // The folder's ".hidden" file names its hidden items, one per line.
    const QByteArray name = lastPathComponent(completePath()).toUtf8();
    const auto parentObject = parent();
    if (parentObject) {
        auto &names = parentObject->d->hiddenNames;
        if (!names)
            names =
                std::make_unique<QSet<QByteArray>>(platform::readHiddenNames(pathBytes(parentObject->completePath())));
        return names->contains(name);
    }
    return platform::readHiddenNames(pathBytes(parentPath())).contains(name);
}

bool RBFileSystemObject::isGraphicFile() const
{
    if (!isFile()) return false;
    if (d->detectedTypeGraphic == 2) return false;
    if (d->detectedTypeGraphic == 1) return true;
    const QByteArray extension = this->extension().toUtf8();
    const auto formats = QImageReader::supportedImageFormats();
    const bool graphic = !extension.isEmpty() && formats.contains(extension);
    d->detectedTypeGraphic = graphic ? 1 : 2;
    return graphic;
}

QString RBFileSystemObject::kindAsString() const
{
    if (isRemote()) return QStringLiteral("Remote File");
    const QString path = completePath();
    if (path.isEmpty()) return QString();
    static const QMimeDatabase database;
    const QMimeType type =
        isDir() ? database.mimeTypeForName(QStringLiteral("inode/directory")) : database.mimeTypeForFile(path);
    return type.isValid() ? type.comment() : QString();
}

QString RBFileSystemObject::aliasOrLinkTargetPath() const
{
    if (isAlias()) return private_resolveAliasPath(completePath());
    if (!isLink()) return QString();
    if (isRemote()) {
        QString target = _fso_get_string_for_attribute(RPF_FSO_KEY_COMPLETE_ALIAS_PATH);
        qCInfo(rkcoreLog).noquote() << QStringLiteral("Alias points to : %1").arg(target);
        return target;
    }
    std::array<char, kLinkBufferSize> buffer{};
    const QByteArray path = pathBytes(completePath());
    // One byte stays zero so that the text always ends.
    if (readlink(path.constData(), buffer.data(), buffer.size() - 1) < 0) return QString();
    QString text = QString::fromUtf8(buffer.data());
    const QString parent = parentPath();
    if (text.startsWith(QLatin1Char('/'))) return text;
    if (text.startsWith(QLatin1String("../"))) {
        // One "../" is folded; the "/" is added even after "/" itself.
        return deletingLastPathComponent(parent) + QLatin1Char('/') + text.mid(3);
    }
    const QString rest = text.startsWith(QLatin1String("./")) ? text.mid(2) : text;
    return parent == QLatin1String("/") ? parent + rest : parent + QLatin1Char('/') + rest;
}

bool RBFileSystemObject::aliasOrLinkTargetIsInvalid() const
{
    return aliasOrLinkTargetPath().isNull();
}

QString RBFileSystemObject::resolveAliasPath(const QString &path) const
{
    return private_resolveAliasPath(path);
}

QString RBFileSystemObject::resolveAliasFromFileAtPath(const QString &path)
{
    return path.isNull() ? QString() : private_resolveAliasPath(path);
}

QString RBFileSystemObject::private_resolveAliasPath(const QString &path)
{
    const auto bytes = existingPathBytes(path);
    if (!bytes) return path;
    const auto resolution = platform::resolveAliasFile(*bytes);
    if (resolution.wasAlias && resolution.resolved) return QString::fromUtf8(resolution.target);
    return path;
}

} // namespace rk

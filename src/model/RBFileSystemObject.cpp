#include <rkcore/RBFileSystemObject.h>

#include "../platform/Applications_p.h"
#include "../platform/FileCatalog_p.h"
#include "../platform/MountTable_p.h"
#include "RBFileSystemObject_p.h"

#include <rkcore/AssertionFailure.h>
#include <rkcore/Logging.h>
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_memory.h>
#include <rkcore/rpf_path.h>
#include <rkcore/rpf_perms.h>

#include <QLocale>
#include <QTimeZone>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include <pwd.h>
#include <unistd.h>

namespace rk {

namespace {

// Where the null-record assertion of newFSOWithCStruct reports itself.
constexpr const char *kNewWithCStructMethod = "+[RBFileSystemObject newFSOWithCStruct:]";
constexpr const char *kSourceFile = "UFServices/RBFileSystemObject";
constexpr int kNullRecordLine = 223;

// Seconds from 1 January 1904 to 1 January 1970, both GMT.
constexpr int64_t kSeconds1904To1970 = 2082844800;

// The catalogue's error codes for the failures a path can have.
constexpr int32_t kFileNotFoundErr = -43;
constexpr int32_t kPermErr = -54;
constexpr int32_t kBadNameErr = -37;
constexpr int32_t kIOErr = -36;

int32_t carbonErrorFor(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP: return kFileNotFoundErr;
    case EACCES:
    case EPERM: return kPermErr;
    case ENAMETOOLONG: return kBadNameErr;
    default: return kIOErr;
    }
}

using CoreText = rpf::Text;

// Keys whose value is a text: the record's own, or a new one the caller frees.
bool isRecordTextKey(int32_t key)
{
    switch (key) {
    case RPF_FSO_KEY_ACCESS_PERMS:
    case RPF_FSO_KEY_DATE:
    case RPF_FSO_KEY_NAME:
    case RPF_FSO_KEY_OWNER:
    case RPF_FSO_KEY_GROUP:
    case RPF_FSO_KEY_COMPLETE_ALIAS_PATH:
    case RPF_FSO_KEY_ALIAS_LOCATION:
    case RPF_FSO_KEY_COMPLETE_PATH:
    case RPF_FSO_KEY_EXTENSION: return true;
    default: return false;
    }
}

bool isNewTextKey(int32_t key)
{
    return key == RPF_FSO_KEY_SIZE_TEXT || key == RPF_FSO_KEY_URL_TEXT || key == RPF_FSO_KEY_RAVIX_URL ||
           key == RPF_FSO_KEY_PARENT_PATH;
}

void freeNewText(int32_t key, char *text)
{
    if (key == RPF_FSO_KEY_PARENT_PATH)
        rpf_path_free(text);
    else
        std::free(text); // NOLINT(cppcoreguidelines-no-malloc)
}

// The extension of a name: the text after its last '.', none for a name that
// only begins with one (".profile") or ends with one.
qsizetype extensionDot(QStringView name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return (dot <= 0 || dot == name.size() - 1) ? -1 : dot;
}

QString formatCatalogDate(const QDateTime &date)
{
    if (!date.isValid()) return QString();
    return QLocale::system().toString(date.toLocalTime(), QStringLiteral("MMMM dd, yyyy hh:mmAP"));
}

UTCDateTime utcDateTimeFrom(const timespec &time)
{
    const int64_t seconds = static_cast<int64_t>(time.tv_sec) + kSeconds1904To1970;
    const uint64_t fraction = (static_cast<uint64_t>(time.tv_nsec) << 16U) / 1000000000U;
    return (static_cast<uint64_t>(seconds) << 16U) | fraction;
}

QString currentUserName()
{
    passwd entry{};
    passwd *found = nullptr;
    std::array<char, 4096> buffer{};
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return QString();
    return QString::fromLocal8Bit(found->pw_name);
}

// The canonical path of a local item (links followed), as the catalogue sees
// it; empty when it cannot be found.
QByteArray canonicalPath(const QByteArray &path)
{
    CoreText resolved(realpath(path.constData(), nullptr));
    return resolved ? QByteArray(resolved.get()) : QByteArray();
}

} // namespace

QString lastPathComponent(const QString &path)
{
    QStringView view(path);
    while (view.size() > 1 && view.endsWith(QLatin1Char('/')))
        view.chop(1);
    if (view == QLatin1String("/")) return QStringLiteral("/");
    return view.mid(view.lastIndexOf(QLatin1Char('/')) + 1).toString();
}

QString deletingLastPathComponent(const QString &path)
{
    QStringView view(path);
    while (view.size() > 1 && view.endsWith(QLatin1Char('/')))
        view.chop(1);
    const qsizetype slash = view.lastIndexOf(QLatin1Char('/'));
    if (slash < 0) return QString();
    if (slash == 0) return QStringLiteral("/");
    return view.left(slash).toString();
}

// ---- the record tree ----

namespace {
std::mutex &treeRegistryMutex()
{
    static std::mutex mutex;
    return mutex;
}
std::unordered_map<const rpf_fso *, std::weak_ptr<RecordTree>> &treeRegistry()
{
    static std::unordered_map<const rpf_fso *, std::weak_ptr<RecordTree>> registry;
    return registry;
}
} // namespace

RecordTree::RecordTree(rpf_fso *root) : root_(root) {}

RecordTree::~RecordTree()
{
    {
        const std::lock_guard lock(treeRegistryMutex());
        auto &registry = treeRegistry();
        // The registry may already hold a newer tree for a reused address.
        const auto entry = registry.find(root_);
        if (entry != registry.end() && entry->second.expired()) registry.erase(entry);
    }
    rpf_fso_destroy_deep(root_);
}

std::shared_ptr<RecordTree> RecordTree::adopt(rpf_fso *root)
{
    auto tree = std::make_shared<RecordTree>(root);
    const std::lock_guard lock(treeRegistryMutex());
    treeRegistry()[root] = tree;
    return tree;
}

std::shared_ptr<RecordTree> RecordTree::owning(const rpf_fso *record)
{
    const rpf_fso *root = record;
    while (root->parent != nullptr)
        root = root->parent;
    const std::lock_guard lock(treeRegistryMutex());
    const auto &registry = treeRegistry();
    const auto entry = registry.find(root);
    return entry != registry.end() ? entry->second.lock() : nullptr;
}

// ---- construction ----

RBFileSystemObject::RBFileSystemObject(Tag /*unused*/, rpf_fso *record)
    : d(std::make_unique<RBFileSystemObjectPrivate>())
{
    d->_fso_struct = record;
}

RBFileSystemObject::~RBFileSystemObject()
{
    rpf_fso *record = d->_fso_struct;
    if (record != nullptr && record->object == this) {
        record->object = nullptr;
        record->has_object = 0;
    }
    // Children first, then the caches; the tree (and so the records) last.
    d->_unfilteredItems.clear();
    d->actualContents.clear();
}

std::shared_ptr<RBFileSystemObject> RBFileSystemObjectPrivate::wrap(rpf_fso *record, std::shared_ptr<RecordTree> owner)
{
    auto object = std::make_shared<RBFileSystemObject>(RBFileSystemObject::Tag{}, record);
    object->d->tree = std::move(owner);
    rpf_fso_object_set(record, object.get());
    return object;
}

std::shared_ptr<RBFileSystemObject> RBFileSystemObjectPrivate::objectFor(rpf_fso *record,
                                                                         const std::shared_ptr<RecordTree> &owner)
{
    if (rpf_fso_has_object(record) && record->object != nullptr) {
        if (auto existing = static_cast<RBFileSystemObject *>(record->object)->weak_from_this().lock()) return existing;
    }
    return wrap(record, owner);
}

QByteArray RBFileSystemObjectPrivate::recordPath(const rpf_fso *record)
{
    if (record == nullptr || record->complete_path == nullptr) return {};
    // The record's own bytes, not a copy: it outlives every use here, and its
    // terminating NUL keeps constData() a C string.
    return QByteArray::fromRawData(record->complete_path, static_cast<qsizetype>(std::strlen(record->complete_path)));
}

void printDiagnostic(const char *line)
{
    rpf_diagnostics_write_line(line);
}

std::shared_ptr<RBFileSystemObject> RBFileSystemObject::newFSOWithCStruct(rpf_fso *record)
{
    if (record == nullptr) {
        assertionFailed(QString::fromLatin1(kNewWithCStructMethod), nullptr, QString::fromLatin1(kSourceFile),
                        kNullRecordLine, QStringLiteral("RBFilesystemObject : File Info Was NULL"));
    }
    if (rpf_fso_has_object(record) && record->object != nullptr) {
        if (auto existing = static_cast<RBFileSystemObject *>(record->object)->weak_from_this().lock()) return existing;
    }
    auto object = RBFileSystemObjectPrivate::wrap(record, RecordTree::owning(record));
    if (rpf_fso_isDir(record) && rpf_fso_isRemote(record)) object->performAssimilation();
    return object;
}

namespace {

// The bytes of a path for the file system; nothing when the text has none (a
// NUL, or text that is not valid UTF-16).
std::optional<QByteArray> fileSystemRepresentation(const QString &path)
{
    if (path.contains(QChar(u'\0')) || !QStringView(path).isValidUtf16()) return std::nullopt;
    return path.toUtf8();
}

} // namespace

std::shared_ptr<RBFileSystemObject> RBFileSystemObject::newFSOForLocalPath(const QString &path)
{
    if (path.isNull()) return nullptr;
    const auto bytes = fileSystemRepresentation(path);
    if (!bytes) return nullptr;
    rpf_fso *record = rpf_fso_get_local_fso(bytes->constData());
    if (record == nullptr) return nullptr;
    const auto tree = RecordTree::adopt(record);
    auto object = newFSOWithCStruct(record);
    object->identify();
    if (object->isDir() || object->isVolume()) object->performAssimilation();
    return object;
}

std::shared_ptr<RBFileSystemObject> RBFileSystemObject::newFSOForLocalPath(const QString &path, bool assimilating)
{
    if (path.isNull()) {
        qCInfo(rkcoreLog).noquote() << "RBFileSystemObject + ( id ) newFSOForLocalPath [ thePath was null ]";
        return nullptr;
    }
    const auto bytes = fileSystemRepresentation(path);
    if (!bytes) {
        qCInfo(rkcoreLog).noquote()
            << QStringLiteral("RBFileSystemObject + ( id ) newFSOForLocalPath could not get file system rep [ %1 ]")
                   .arg(path);
        return nullptr;
    }
    return newFSOForLocalPathBytes(*bytes, assimilating);
}

std::shared_ptr<RBFileSystemObject> RBFileSystemObject::newFSOForLocalPathBytes(const QByteArray &path,
                                                                                bool assimilating)
{
    if (path.isEmpty() || path.contains('\0')) {
        errno = EINVAL;
        return nullptr;
    }
    rpf_fso *record = rpf_fso_get_local_fso(path.constData());
    if (record == nullptr) {
        const int error = errno;
        qCInfo(rkcoreLog).noquote()
            << "RBFileSystemObject + ( id ) newFSOForLocalPath:(NSString *)thePath Failed to get item information";
        errno = error;
        return nullptr;
    }
    auto object = RBFileSystemObjectPrivate::wrap(record, RecordTree::adopt(record));
    object->identify();
    if (assimilating && (object->isDir() || object->isVolume())) object->performAssimilation();
    return object;
}

// ---- dates and codes ----

double RBFileSystemObject::carbonReferenceDate()
{
    static const double seconds = [] {
        const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
        const QDateTime carbonEpoch(QDate(1904, 1, 1), QTime(0, 0), QTimeZone::utc());
        return static_cast<double>(reference.secsTo(carbonEpoch));
    }();
    return seconds;
}

namespace {
const QDateTime &referenceDate()
{
    static const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
    return reference;
}
} // namespace

QDateTime RBFileSystemObject::UTCDateTimeToNSDate(const UTCDateTime *utcTime)
{
    if (utcTime == nullptr) return QDateTime();
    const double seconds = static_cast<double>(*utcTime) / 65536.0 + carbonReferenceDate();
    return referenceDate().addMSecs(static_cast<qint64>(seconds * 1000.0));
}

void RBFileSystemObject::NSDateToUTCDateTime(const QDateTime &date, UTCDateTime *utcTime)
{
    if (utcTime == nullptr || !date.isValid()) return;
    const double seconds = static_cast<double>(referenceDate().msecsTo(date)) / 1000.0;
    // Through a signed value: a date before 1904 wraps as a plain unsigned
    // conversion would, instead of being undefined behaviour.
    *utcTime = static_cast<uint64_t>(static_cast<int64_t>((seconds - carbonReferenceDate()) * 65536.0));
}

QString RBFileSystemObject::osTypeToFourCharCode(OSType code)
{
    QString text(4, QChar());
    for (int i = 0; i < 4; ++i)
        text[i] = QChar(static_cast<char16_t>((code >> (8U * static_cast<unsigned>(3 - i))) & 0xFFU));
    return text;
}

OSType RBFileSystemObject::fourCharCodeToOSType(const QString &text)
{
    OSType code = 0;
    for (int i = 0; i < 4; ++i) {
        const uint32_t byte = i < text.size() ? (text.at(i).unicode() & 0xFFU) : 0U;
        code = (code << 8U) | byte;
    }
    return code;
}

// ---- record access ----

rpf_fso *RBFileSystemObject::cstruct() const
{
    return d->_fso_struct;
}

void RBFileSystemObject::_setCStruct(rpf_fso *record)
{
    d->_fso_struct = record;
}

intptr_t RBFileSystemObject::_fso_get_int_for_attribute(int32_t key) const
{
    if (d->_fso_struct == nullptr) return 0;
    const intptr_t value = rpf_fso_get_item_for_key(d->_fso_struct, key);
    if (isNewTextKey(key) && value != 0) {
        // A new text as a number is of no use to anyone: free it, answer 0.
        freeNewText(key, reinterpret_cast<char *>(value)); // NOLINT(performance-no-int-to-ptr)
        return 0;
    }
    return value;
}

QString RBFileSystemObject::_fso_get_string_for_attribute(int32_t key) const
{
    if (d->_fso_struct == nullptr || !(isRecordTextKey(key) || isNewTextKey(key))) return QString();
    const intptr_t value = rpf_fso_get_item_for_key(d->_fso_struct, key);
    if (value == 0) return QString();
    auto *text = reinterpret_cast<char *>(value); // NOLINT(performance-no-int-to-ptr)
    QString result = QString::fromUtf8(text);
    if (isNewTextKey(key)) freeNewText(key, text);
    return result;
}

// ---- attributes ----

QString RBFileSystemObject::name() const
{
    if (isVolume()) return volumeName();
    return lastPathComponent(completePath());
}

QString RBFileSystemObject::nameWithoutExtension() const
{
    if (isVolume()) return volumeName();
    QString last = lastPathComponent(completePath());
    const qsizetype dot = extensionDot(last);
    if (dot >= 0) last.truncate(dot);
    return last;
}

bool RBFileSystemObject::nameStartsWithADot() const
{
    return name().startsWith(QLatin1Char('.'));
}

QString RBFileSystemObject::owner() const
{
    return d->owner.isNull() ? _fso_get_string_for_attribute(RPF_FSO_KEY_OWNER) : d->owner;
}

QString RBFileSystemObject::group() const
{
    return d->group.isNull() ? _fso_get_string_for_attribute(RPF_FSO_KEY_GROUP) : d->group;
}

void RBFileSystemObject::setOwner(const QString &owner)
{
    d->owner = owner;
}

void RBFileSystemObject::setGroup(const QString &group)
{
    d->group = group;
}

void RBFileSystemObject::setPermissions(std::shared_ptr<RBPermission> permissions)
{
    d->fsoPermissions = std::move(permissions);
}

void RBFileSystemObject::setCompletePath(const QString &path)
{
    d->myCompletePath = path;
}

QString RBFileSystemObject::completePath() const
{
    return d->myCompletePath.isNull() ? _fso_get_string_for_attribute(RPF_FSO_KEY_COMPLETE_PATH) : d->myCompletePath;
}

QString RBFileSystemObject::parentPath() const
{
    return deletingLastPathComponent(completePath());
}

bool RBFileSystemObject::isRoot() const
{
    return completePath() == QLatin1String("/");
}

bool RBFileSystemObject::isLocal() const
{
    return rpf_fso_isLocal(d->_fso_struct) != 0;
}

bool RBFileSystemObject::isRemote() const
{
    return rpf_fso_isRemote(d->_fso_struct) != 0;
}

QString RBFileSystemObject::extension() const
{
    return _fso_get_string_for_attribute(RPF_FSO_KEY_EXTENSION);
}

QString RBFileSystemObject::extensionReal() const
{
    const QString last = lastPathComponent(completePath());
    const qsizetype dot = extensionDot(last);
    return dot >= 0 ? last.mid(dot + 1) : QStringLiteral("");
}

int32_t RBFileSystemObject::links() const
{
    return static_cast<int32_t>(_fso_get_int_for_attribute(RPF_FSO_KEY_LINKS));
}

QString RBFileSystemObject::date() const
{
    if (d->myCachedDate.isNull()) d->myCachedDate = _fso_get_string_for_attribute(RPF_FSO_KEY_DATE);
    return d->myCachedDate;
}

int64_t RBFileSystemObject::dateAsTimeT() const
{
    return d->_fso_struct != nullptr ? d->_fso_struct->mtime : -1;
}

RBDateOrMinusOne RBFileSystemObject::dateModified() const
{
    if (!isLocal()) return {};
    const auto times = platform::catalogTimes(pathBytes(completePath()).constData());
    if (!times) return {};
    const UTCDateTime value = utcDateTimeFrom(times->modified);
    return {UTCDateTimeToNSDate(&value)};
}

QDateTime RBFileSystemObject::dateCreated() const
{
    if (!isLocal()) return QDateTime();
    const auto times = platform::catalogTimes(pathBytes(completePath()).constData());
    // Some file systems (overlays among them) answer a birth time of exactly
    // 1970 for "unknown".
    if (!times || !times->created || (times->created->tv_sec == 0 && times->created->tv_nsec == 0)) return QDateTime();
    const UTCDateTime value = utcDateTimeFrom(*times->created);
    return UTCDateTimeToNSDate(&value);
}

QString RBFileSystemObject::dateModifiedAsString() const
{
    return formatCatalogDate(dateModified().date);
}

QString RBFileSystemObject::dateCreatedAsString() const
{
    return formatCatalogDate(dateCreated());
}

std::shared_ptr<RBPermission> RBFileSystemObject::permissions() const
{
    if (d->fsoPermissions) return d->fsoPermissions;
    if (isLocal()) {
        const auto status = statsForFileAtPath(completePath());
        int sticky = 0;
        int setgid = 0;
        int setuid = 0;
        const int32_t number =
            status ? modetToPerms(static_cast<uint16_t>(status->st_mode), &sticky, &setgid, &setuid) : 0;
        auto permissions = RBPermission::initWithNumber(number);
        if (sticky != 0) permissions->toggleStickyBit();
        if (setgid != 0) permissions->toggleSgidBit();
        if (setuid != 0) permissions->toggleSuidBit();
        d->fsoPermissions = std::move(permissions);
    } else {
        d->fsoPermissions =
            RBPermission::initWithNumber(static_cast<int32_t>(_fso_get_int_for_attribute(RPF_FSO_KEY_PERMS)));
    }
    return d->fsoPermissions;
}

QString RBFileSystemObject::permissionsAsString() const
{
    return permissions()->stringValue();
}

bool RBFileSystemObject::ownedByCurrentUser() const
{
    return owner() == currentUserName();
}

std::optional<struct stat> RBFileSystemObject::statsForFileAtPath(const QString &path)
{
    const auto bytes = fileSystemRepresentation(path);
    struct stat status {};
    if (!bytes || stat(bytes->constData(), &status) != 0) return std::nullopt;
    return status;
}

std::shared_ptr<RBURL> RBFileSystemObject::urlObject() const
{
    if (!d->myCachedURL) {
        const QString text = _fso_get_string_for_attribute(RPF_FSO_KEY_URL_TEXT);
        if (!text.isNull()) d->myCachedURL = RBURL::initWithString(text);
    }
    return d->myCachedURL;
}

QString RBFileSystemObject::url() const
{
    const auto object = urlObject();
    return object ? object->urlAsString() : QString();
}

QString RBFileSystemObject::urlWithoutPath() const
{
    const auto object = urlObject();
    return object ? object->urlWithoutPath() : QString();
}

QString RBFileSystemObject::cleanURL() const
{
    const auto object = urlObject();
    return object ? object->urlAsCleanString() : QString();
}

QString RBFileSystemObject::urlAsStringResolvingLink(bool resolving) const
{
    if (!resolving || !(isLink() || isAlias())) return url();
    const QString target = aliasOrLinkTargetPath();
    const auto object = urlObject();
    if (target.isNull() || !object) return QString();
    // A copy travels through the URL text; a local file URL has none to
    // travel with, so it is made again from its own text.
    auto copy = object->copy();
    if (!copy) copy = RBURL::initWithString(object->urlAsString());
    if (!copy) return QString();
    copy->setNewPath(target);
    return copy->urlAsString();
}

QString RBFileSystemObject::ravixURL() const
{
    return _fso_get_string_for_attribute(RPF_FSO_KEY_RAVIX_URL);
}

QString RBFileSystemObject::host() const
{
    if (d->hostName.isNull()) {
        const QString text = ravixURL();
        const auto object = text.isNull() ? nullptr : RBURL::initWithRavixURLString(text);
        if (object) d->hostName = object->hostname();
    }
    return QString(d->hostName);
}

std::shared_ptr<RBFileSystemObject> RBFileSystemObject::parent() const
{
    rpf_fso *parentRecord = rpf_fso_parent(d->_fso_struct);
    return parentRecord != nullptr ? RBFileSystemObjectPrivate::objectFor(parentRecord, d->tree) : nullptr;
}

int32_t RBFileSystemObject::subFolderCount() const
{
    return rpf_fso_subdirectory_count(d->_fso_struct);
}

int32_t RBFileSystemObject::fileCount() const
{
    return rpf_fso_file_count(d->_fso_struct);
}

int32_t RBFileSystemObject::totalItems() const
{
    const auto &list = d->_isFiltered ? d->_unfilteredItems : d->actualContents;
    return static_cast<int32_t>(list.size());
}

std::shared_ptr<RBFileSystemObject> RBFileSystemObject::subitemAtIndex(int32_t index) const
{
    const auto &list = d->_isFiltered ? d->_unfilteredItems : d->actualContents;
    return (index >= 0 && index < list.size()) ? list.at(index) : nullptr;
}

bool RBFileSystemObject::isSorted() const
{
    return d->mySortOnAttribute != -1;
}

QString RBFileSystemObject::getObjectForKey(const QString &key) const
{
    if (key == QLatin1String("NAME")) return name();
    if (key == QLatin1String("DATE")) return date();
    if (key == QLatin1String("USER")) return owner();
    if (key == QLatin1String("GROUP")) return group();
    if (key == QLatin1String("PERMISSIONS")) return permissionsAsString();
    return QString();
}

void RBFileSystemObject::dumpToStdOut() const
{
    rpf_fso_dump(d->_fso_struct);
}

char *RBFileSystemObject::nsToCString(const QString &text)
{
    if (text.isNull()) return nullptr;
    const QByteArray bytes = text.toUtf8();
    auto *copy = static_cast<char *>(std::malloc(static_cast<size_t>(bytes.size()) + 1)); // NOLINT
    if (copy != nullptr) std::memcpy(copy, bytes.constData(), static_cast<size_t>(bytes.size()) + 1);
    return copy;
}

// ---- catalogue information ----

std::optional<RBFSRef> RBFileSystemObject::fsRef() const
{
    if (!isLocal()) return std::nullopt;
    const QString path = completePath();
    const auto bytes = fileSystemRepresentation(path);
    struct stat status {};
    if (bytes && !bytes->isEmpty() && stat(bytes->constData(), &status) == 0)
        return RBFSRef{*bytes, static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino)};
    const int32_t error = (bytes && !bytes->isEmpty()) ? carbonErrorFor(errno) : kFileNotFoundErr;
    qCInfo(rkcoreLog).noquote()
        << QStringLiteral("\tERROR : RBFileSystemObject : Could not get FSRef for item at path: %1").arg(path);
    qCInfo(rkcoreLog).noquote() << QStringLiteral("\tERROR : RBFileSystemObject : Error : %1").arg(error);
    return std::nullopt;
}

std::optional<RBFSSpec> RBFileSystemObject::_fsSpec() const
{
    const auto ref = fsRef();
    if (!ref) return std::nullopt;
    struct stat parentStatus {};
    const QByteArray parent = pathBytes(parentPath());
    if (parent.isEmpty() || stat(parent.constData(), &parentStatus) != 0) return std::nullopt;
    return RBFSSpec{ref->device, static_cast<uint64_t>(parentStatus.st_ino), lastPathComponent(completePath())};
}

bool RBFileSystemObject::isLocked() const
{
    if (!isLocal() || isPackage()) return false;
    QByteArray path = pathBytes(completePath());
    // The catalogue answers for what a link points to.
    if (isLink()) path = canonicalPath(path);
    const auto flags = path.isEmpty() ? std::nullopt : platform::nodeFlags(path.constData());
    if (!flags) {
        recordCarbonError(carbonErrorFor(errno));
        return false;
    }
    return *flags != 0;
}

OSType RBFileSystemObject::creator() const
{
    if (!isLocal()) return static_cast<OSType>(-1);
    const auto info = platform::readFinderInfo(pathBytes(completePath()).constData(), true);
    return info ? info->creator : static_cast<OSType>(-1);
}

OSType RBFileSystemObject::type() const
{
    if (!isLocal()) return static_cast<OSType>(-1);
    const auto info = platform::readFinderInfo(pathBytes(completePath()).constData(), true);
    return info ? info->type : static_cast<OSType>(-1);
}

QString RBFileSystemObject::creatorAsString() const
{
    return isRemote() ? QString() : osTypeToFourCharCode(creator());
}

QString RBFileSystemObject::typeAsString() const
{
    return isRemote() ? QString() : osTypeToFourCharCode(type());
}

QString RBFileSystemObject::volumeName() const
{
    const QByteArray path = isLocal() ? canonicalPath(pathBytes(completePath())) : QByteArray();
    if (path.isEmpty()) {
        qCInfo(rkcoreLog).noquote() << "getLocalFileSize : Error Getting info";
        return QString();
    }
    const auto mounts = platform::MountTable::snapshot();
    return mounts.volumeName(mounts.mountPointContaining(path));
}

QString RBFileSystemObject::versionString() const
{
    if (!isLocal() || !isDir()) return QString();
    const auto info = platform::bundleInfoDictionary(pathBytes(completePath()));
    if (!info) return QString();
    const QVariant value = info->value(QStringLiteral("CFBundleGetInfoString"));
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

void RBFileSystemObject::recordCarbonError(int32_t error) const
{
    qCInfo(rkcoreLog).noquote()
        << QStringLiteral("RBFileSystemObject : Carbon Error : %1 [ %2 ]").arg(error).arg(completePath());
}

} // namespace rk

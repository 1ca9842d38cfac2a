#include <rkcore/FSSpec.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace rk {

namespace {

// Makes an empty file at `path` unless something is there already.
bool createEmptyFile(const QByteArray &path)
{
    const int fd = open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    return close(fd) == 0;
}

} // namespace

bool getFSSpec(const QString &path, FSSpec *spec, bool createFileIfNecessary)
{
    if (path.isEmpty()) return false;
    const QByteArray encoded = QFile::encodeName(path);
    struct stat status {};
    if (stat(encoded.constData(), &status) != 0) {
        if (!createFileIfNecessary || !createEmptyFile(encoded)) return false;
    }
    if (spec == nullptr) return false;
    const QString canonical = QFileInfo(path).canonicalFilePath();
    if (canonical.isEmpty() || stat(QFile::encodeName(canonical).constData(), &status) != 0) return false;
    const QString folder = canonical == QLatin1String("/") ? canonical : QFileInfo(canonical).absolutePath();
    struct stat folderStatus {};
    if (stat(QFile::encodeName(folder).constData(), &folderStatus) != 0) return false;
    spec->device = static_cast<uint64_t>(status.st_dev);
    spec->parentInode = static_cast<uint64_t>(folderStatus.st_ino);
    spec->name = canonical == QLatin1String("/") ? canonical : QFileInfo(canonical).fileName();
    return true;
}

} // namespace rk

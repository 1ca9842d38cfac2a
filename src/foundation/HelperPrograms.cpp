#include <rkcore/HelperPrograms.h>

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QStringList>

#include <dlfcn.h>

#ifndef RKCORE_LIBEXEC_FROM_LIBDIR
#define RKCORE_LIBEXEC_FROM_LIBDIR "../libexec/rkcore"
#endif

namespace rk {

namespace {

QMutex &overrideLock()
{
    static QMutex lock;
    return lock;
}

QString &overrideDirectory()
{
    static QString directory;
    return directory;
}

// The folder of the loaded library that holds this function.
QString libraryDirectory()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void *>(&helperProgramPath), &info) == 0 || info.dli_fname == nullptr) return {};
    return QFileInfo(QFile::decodeName(info.dli_fname)).canonicalPath();
}

QStringList searchDirectories()
{
    {
        const QMutexLocker guard(&overrideLock());
        if (!overrideDirectory().isEmpty()) return {overrideDirectory()};
    }
    const QString library = libraryDirectory();
    if (library.isEmpty()) return {};
    return {QDir(library).filePath(QStringLiteral(RKCORE_LIBEXEC_FROM_LIBDIR)),
            QDir(library).filePath(QStringLiteral("../bin"))};
}

} // namespace

QString helperProgramPath(const QString &name)
{
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || name == QLatin1String("..")) return {};
    for (const QString &directory : searchDirectories()) {
        const QFileInfo candidate(QDir(directory).filePath(name));
        if (candidate.isFile() && candidate.isExecutable()) return QDir::cleanPath(candidate.absoluteFilePath());
    }
    return {};
}

void setHelperProgramDirectory(const QString &directory)
{
    const QMutexLocker guard(&overrideLock());
    overrideDirectory() = directory;
}

} // namespace rk

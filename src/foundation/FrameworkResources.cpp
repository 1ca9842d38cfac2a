#include <rkcore/FrameworkResources.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <mutex>

namespace rk {

namespace {

struct Override {
    std::mutex mutex;
    QString directory; // empty: the compiled-in resources
};

Override &resourceOverride()
{
    static Override instance;
    return instance;
}

bool isPlainRelativeName(const QString &name)
{
    if (name.isEmpty() || name.startsWith(QLatin1Char('/')) || name.startsWith(QLatin1Char(':'))) return false;
    const auto parts = QStringView(name).split(QLatin1Char('/'));
    for (const QStringView part : parts) {
        if (part.isEmpty() || part == QLatin1String("..") || part == QLatin1String(".")) return false;
    }
    return true;
}

} // namespace

QString frameworkResourcePath(const QString &name)
{
    if (!isPlainRelativeName(name)) return {};
    QString base;
    {
        const std::lock_guard lock(resourceOverride().mutex);
        base = resourceOverride().directory;
    }
    const QString path = base.isEmpty() ? QStringLiteral(":/rkcore/") + name : QDir(base).filePath(name);
    return QFileInfo(path).isFile() ? path : QString();
}

std::optional<QByteArray> frameworkResourceData(const QString &name)
{
    const QString path = frameworkResourcePath(name);
    if (path.isNull()) return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    return file.readAll();
}

void setFrameworkResourceDirectory(const QString &directory)
{
    const std::lock_guard lock(resourceOverride().mutex);
    resourceOverride().directory = directory;
}

} // namespace rk

// The data types file: any bytes as the file, read into the type table and
// looked up; an existing file is never rewritten.
#include <rkcore/RKFileTypeIdentifier.h>

#include <QFile>

#include <cstdlib>
#include <string>

#include <unistd.h>

namespace {

const QString &dataFile()
{
    static const QString path = [] {
        std::string name = "/tmp/fuzz_data_types-XXXXXX";
        const int fd = mkstemp(name.data());
        if (fd < 0) std::abort();
        close(fd);
        return QString::fromStdString(name);
    }();
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    {
        QFile file(dataFile());
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size()) return 0;
    }
    const auto identifier = rk::RKFileTypeIdentifier::createWithDataFilePath(dataFile());
    for (const char *name : {"a.txt", "b.jpg", "README", "x.", "dir.d/", "c.cpp"}) {
        const int32_t type = identifier->typeForFileName(QString::fromLatin1(name));
        (void)type;
    }
    const QString extension = QString::fromUtf8(bytes.left(16));
    (void)identifier->findEntryForExtension(extension);
    (void)identifier->typeForFileName(QStringLiteral("name.") + extension);
    QFile file(dataFile());
    if (!file.open(QIODevice::ReadOnly) || file.readAll() != bytes) std::abort(); // never rewritten
    return 0;
}

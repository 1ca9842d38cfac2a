// The data types file: written with its default table when missing, read once,
// looked up by extension.
#include <rkcore/PropertyList.h>
#include <rkcore/RKFileTypeIdentifier.h>

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <array>
#include <cerrno>

#include <sys/stat.h>

namespace rk {

namespace {

const QString kExtensionKey = QStringLiteral("IC_EXTENSION");
const QString kTypeKey = QStringLiteral("RB_TYPE");

struct DefaultEntry {
    const char *extension;
    const char *description;
    int type;
    bool otherKeys; // "EXTENSION" / "VERBOSE_TYPE" instead of the IC_ keys
};

// The default content as users have always received it: the repeated rows,
// the full stop after the first "Text File." and the two entries under other
// keys (which lookups therefore never find) are part of it.
constexpr std::array<DefaultEntry, 23> kDefaultEntries{{
    {"txt", "Text File.", 2, false},
    {"jpg", "JPEG Graphics File", 1, false},
    {"gif", "GIF Graphics File", 1, false},
    {"pct", "PICT", 1, false},
    {"pict", "PICT Graphics File", 1, false},
    {"png", "PNG Graphics File", 1, false},
    {"tif", "TIFF Graphics File", 1, false},
    {"tiff", "TIFF Graphics File", 1, false},
    {"html", "HTML File", 2, false},
    {"htm", "HTML File", 2, false},
    {"php", "PHP File", 2, false},
    {"pl", "Perl Source File", 2, false},
    {"php3", "PHP 3 Source File", 2, false},
    {"php3", "PHP 3 Source File", 2, false},
    {"log", "Log File", 2, false},
    {"msg", "Server Message File", 2, false},
    {"txt", "Text File", 2, false},
    {"asp", "Active Server Page", 2, false},
    {"cgi", "Component Gateway Interface", 2, false},
    {"h", "Header File", 2, false},
    {"c", "C Source File", 2, false},
    {"cpp", "C++ Source File", 2, true},
    {"m", "Objective-C Source File", 2, true},
}};

// An entry's "RB_TYPE" as an integer value reads: numbers truncated, a string
// by its leading integer ("2 pics" is 2), anything else 0.
int32_t integerValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Int:
    case QMetaType::UInt: return static_cast<int32_t>(value.toLongLong());
    case QMetaType::Double: {
        const double number = value.toDouble();
        if (!(number > -2147483648.0 && number < 2147483648.0)) return 0; // NaN or out of range
        return static_cast<int32_t>(number);
    }
    case QMetaType::Bool: return value.toBool() ? 1 : 0;
    case QMetaType::QString: {
        const QString text = value.toString().trimmed();
        qsizetype end = 0;
        if (end < text.size() && (text[end] == QLatin1Char('-') || text[end] == QLatin1Char('+'))) ++end;
        while (end < text.size() && text[end] >= QLatin1Char('0') && text[end] <= QLatin1Char('9') && end < 12)
            ++end;
        bool ok = false;
        const qlonglong number = text.left(end).toLongLong(&ok);
        return ok ? static_cast<int32_t>(number) : 0;
    }
    default: return 0;
    }
}

// The text after the last "." of the last component (trailing "/"s ignored).
QString pathExtension(const QString &name)
{
    QStringView view(name);
    while (view.size() > 1 && view.endsWith(QLatin1Char('/')))
        view.chop(1);
    view = view.mid(view.lastIndexOf(QLatin1Char('/')) + 1);
    const qsizetype dot = view.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : view.mid(dot + 1).toString();
}

} // namespace

RKFileTypeIdentifier &RKFileTypeIdentifier::sharedItemTypeIdentifier()
{
    static const std::shared_ptr<RKFileTypeIdentifier> shared = create();
    return *shared;
}

std::shared_ptr<RKFileTypeIdentifier> RKFileTypeIdentifier::create()
{
    return createWithDataFilePath(expandedDataFilePath());
}

std::shared_ptr<RKFileTypeIdentifier> RKFileTypeIdentifier::createWithDataFilePath(const QString &path)
{
    return std::make_shared<RKFileTypeIdentifier>(Tag{}, path);
}

RKFileTypeIdentifier::RKFileTypeIdentifier(Tag, QString path) : dataFilePath_(std::move(path))
{
    // Anything at the path, even a dangling link, is the user's: never replaced.
    struct stat status {};
    const QByteArray bytes = QFile::encodeName(dataFilePath_);
    if (!bytes.isEmpty() && lstat(bytes.constData(), &status) != 0 && errno == ENOENT) createDefaultDataFile();
    const auto document = PropertyList::readFile(dataFilePath_);
    if (!document || document->typeId() != QMetaType::QVariantList) return;
    typeMappings_ = document->toList();
    for (qsizetype i = 0; i < typeMappings_->size(); ++i) {
        const QVariant &entry = typeMappings_->at(i);
        if (entry.typeId() != QMetaType::QVariantMap) continue;
        const QVariant extension = entry.toMap().value(kExtensionKey);
        // The first entry of an extension wins; later repeats are never reached.
        if (extension.typeId() == QMetaType::QString && !firstEntry_.contains(extension.toString()))
            firstEntry_.insert(extension.toString(), i);
    }
}

QString RKFileTypeIdentifier::expandedDataFilePath()
{
    static const QString supportFolder = QStringLiteral("~/Library/Application Support/");
    const QString path = QString::fromUtf8(kDATA_FILE_PATH);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (path.startsWith(supportFolder) && !data.isEmpty())
        return data + QLatin1Char('/') + path.mid(supportFolder.size());
    return QDir::homePath() + path.mid(1);
}

QVariantList RKFileTypeIdentifier::defaultTable()
{
    QVariantList table;
    for (const DefaultEntry &entry : kDefaultEntries) {
        QVariantMap row;
        row.insert(entry.otherKeys ? QStringLiteral("EXTENSION") : kExtensionKey, QString::fromUtf8(entry.extension));
        row.insert(entry.otherKeys ? QStringLiteral("VERBOSE_TYPE") : QStringLiteral("IC_VERBOSE_TYPE"),
                   QString::fromUtf8(entry.description));
        row.insert(kTypeKey, qint64{entry.type});
        table.append(row);
    }
    return table;
}

bool RKFileTypeIdentifier::createDefaultDataFile() const
{
    return PropertyList::writeFile(defaultTable(), dataFilePath_);
}

std::optional<QVariantMap> RKFileTypeIdentifier::findEntryForExtension(const QString &extension) const
{
    const auto found = firstEntry_.constFind(extension);
    if (found == firstEntry_.cend()) return std::nullopt;
    return typeMappings_->at(*found).toMap();
}

int32_t RKFileTypeIdentifier::typeForFileName(const QString &name) const
{
    const QString extension = pathExtension(name);
    if (extension.isEmpty()) return kRKFileTypeUnknown;
    const auto found = firstEntry_.constFind(extension);
    if (found == firstEntry_.cend()) return kRKFileTypeUnknown;
    return integerValue(typeMappings_->at(*found).toMap().value(kTypeKey));
}

} // namespace rk

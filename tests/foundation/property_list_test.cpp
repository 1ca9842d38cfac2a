#include <rkcore/PropertyList.h>

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>
#include <QSize>
#include <QTemporaryDir>
#include <QTimeZone>

using rk::PropertyList::Format;

namespace {

QVariant sampleValue()
{
    return QVariantMap{
        {QStringLiteral("name"), QStringLiteral("Données – ☃")},
        {QStringLiteral("count"), qint64(42)},
        {QStringLiteral("negative"), qint64(-7)},
        {QStringLiteral("large"), qint64(1) << 40},
        {QStringLiteral("ratio"), 0.25},
        {QStringLiteral("flag"), true},
        {QStringLiteral("off"), false},
        {QStringLiteral("bytes"), QByteArray("\x00\x01\xff", 3)},
        {QStringLiteral("when"), QDateTime(QDate(2004, 3, 5), QTime(12, 30, 15, 250), QTimeZone::utc())},
        {QStringLiteral("list"), QVariantList{qint64(1), QStringLiteral("two"), QVariantMap{}}},
        {QStringLiteral("empty"), QString()},
    };
}

TEST(PropertyList, RoundTripsEveryTypeInBothFormats)
{
    for (const Format format : {Format::Xml, Format::Binary}) {
        const std::optional<QByteArray> data = rk::PropertyList::toData(sampleValue(), format);
        ASSERT_TRUE(data.has_value());
        EXPECT_TRUE(format == Format::Binary ? data->startsWith("bplist00") : data->contains("<plist"));
        const std::optional<QVariant> back = rk::PropertyList::fromData(*data);
        ASSERT_TRUE(back.has_value()) << "format " << static_cast<int>(format);
        const QVariantMap map = back->toMap();
        const QVariantMap expected = sampleValue().toMap();
        ASSERT_EQ(map.keys(), expected.keys());
        for (auto it = expected.constBegin(); it != expected.constEnd(); ++it) {
            const QVariant &got = map.value(it.key());
            if (it.key() == QLatin1String("when") && format == Format::Xml) {
                // XML dates hold whole seconds.
                EXPECT_EQ(got.toDateTime(), it.value().toDateTime().addMSecs(-250));
                continue;
            }
            if (it.key() == QLatin1String("empty")) {
                EXPECT_EQ(got.toString(), QString());
                continue;
            }
            EXPECT_EQ(got, it.value()) << "key " << it.key().toStdString() << " format " << static_cast<int>(format)
                                       << " got " << got.toString().toStdString();
        }
    }
}

TEST(PropertyList, ReadsAKnownXmlDocument)
{
    const QByteArray xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
  <key>Epoch</key><date>2001-01-01T00:00:00Z</date>
  <key>Types</key><array><string>public.jpeg</string><string>com.apple.pict</string></array>
  <key>Size</key><integer>-3</integer>
  <key>Data</key><data>AAEC</data>
  <key>Real</key><real>1.5</real>
  <key>Yes</key><true/>
</dict></plist>)";
    const std::optional<QVariant> value = rk::PropertyList::fromData(xml);
    ASSERT_TRUE(value.has_value());
    const QVariantMap map = value->toMap();
    EXPECT_EQ(map.value("Epoch").toDateTime().toSecsSinceEpoch(), 978307200);
    EXPECT_EQ(map.value("Types").toStringList(), QStringList({"public.jpeg", "com.apple.pict"}));
    EXPECT_EQ(map.value("Size").toLongLong(), -3);
    EXPECT_EQ(map.value("Data").toByteArray(), QByteArray("\x00\x01\x02", 3));
    EXPECT_DOUBLE_EQ(map.value("Real").toDouble(), 1.5);
    EXPECT_TRUE(map.value("Yes").toBool());
}

TEST(PropertyList, RefusesWhatIsNotAPropertyList)
{
    const struct {
        const char *label;
        QByteArray data;
    } rows[] = {
        {"empty", QByteArray()},
        {"text", QByteArray("hello")},
        {"truncated xml", QByteArray("<?xml version=\"1.0\"?><plist><dict><key>a</key>")},
        {"binary header only", QByteArray("bplist00")},
        {"binary garbage", QByteArray("bplist00\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff", 20)},
    };
    for (const auto &row : rows) {
        EXPECT_FALSE(rk::PropertyList::fromData(row.data).has_value()) << row.label;
    }
}

TEST(PropertyList, WritingSomethingWithoutAPlistFormLeavesTheFileAlone)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = directory.filePath(QStringLiteral("Data Types.plist"));
    ASSERT_TRUE(rk::PropertyList::writeFile(QVariantMap{{QStringLiteral("a"), 1}}, path, Format::Binary));
    const std::optional<QVariant> first = rk::PropertyList::readFile(path);
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->toMap().value("a").toLongLong(), 1);

    const QVariant unsupported = QVariantMap{{QStringLiteral("a"), QVariantList{QVariant::fromValue(QSize(1, 2))}}};
    EXPECT_FALSE(rk::PropertyList::toData(unsupported).has_value());
    EXPECT_FALSE(rk::PropertyList::writeFile(unsupported, path));
    EXPECT_FALSE(rk::PropertyList::toData(QVariant(std::numeric_limits<qulonglong>::max())).has_value());
    EXPECT_FALSE(rk::PropertyList::toData(QVariant(QDateTime())).has_value());
    EXPECT_EQ(rk::PropertyList::readFile(path), first) << "the earlier file is untouched";

    EXPECT_FALSE(rk::PropertyList::writeFile(QVariantMap{}, directory.filePath(QStringLiteral("no/such/dir.plist"))));
    EXPECT_FALSE(rk::PropertyList::readFile(directory.filePath(QStringLiteral("missing.plist"))).has_value());
}

TEST(PropertyList, DeepNestingIsRefusedNotOverflowed)
{
    QVariant value = QVariantList{};
    for (int depth = 0; depth < 300; ++depth)
        value = QVariantList{value};
    EXPECT_FALSE(rk::PropertyList::toData(value).has_value());
    QByteArray xml = "<plist version=\"1.0\">";
    for (int depth = 0; depth < 300; ++depth)
        xml += "<array>";
    for (int depth = 0; depth < 300; ++depth)
        xml += "</array>";
    xml += "</plist>";
    EXPECT_FALSE(rk::PropertyList::fromData(xml).has_value());
}

} // namespace

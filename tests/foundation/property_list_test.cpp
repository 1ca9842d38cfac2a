#include <rkcore/PropertyList.h>

#include <gtest/gtest.h>

#include <QDateTime>
#include <QSize>
#include <QTemporaryDir>
#include <QTimeZone>

using rk::PropertyList::Format;
namespace plist = rk::PropertyList;

namespace {

TEST(PropertyList, RoundTripsEveryTypeInBothFormats)
{
    const QDateTime when(QDate(2004, 3, 5), QTime(12, 30, 15, 250), QTimeZone::utc());
    QVariantMap sample{{"name", QString::fromUtf8("Données – ☃")},
                       {"count", qint64(42)},
                       {"negative", qint64(-7)},
                       {"large", qint64(1) << 40},
                       {"ratio", 0.25},
                       {"flag", true},
                       {"off", false},
                       {"bytes", QByteArray("\x00\x01\xff", 3)},
                       {"when", when},
                       {"list", QVariantList{qint64(1), "two", QVariantMap{}}},
                       {"empty", QString()}};
    for (const Format format : {Format::Xml, Format::Binary}) {
        const std::optional<QByteArray> data = plist::toData(sample, format);
        ASSERT_TRUE(data.has_value());
        EXPECT_TRUE(format == Format::Binary ? data->startsWith("bplist00") : data->contains("<plist"));
        const QVariantMap map = plist::fromData(*data).value_or(QVariant()).toMap();
        QVariantMap expected = sample;
        expected["empty"] = QString("");                                   // read back as the empty text
        if (format == Format::Xml) expected["when"] = when.addMSecs(-250); // XML dates hold whole seconds
        ASSERT_EQ(map.keys(), expected.keys());
        for (auto it = expected.constBegin(); it != expected.constEnd(); ++it)
            EXPECT_EQ(map.value(it.key()), it.value())
                << "key " << it.key().toStdString() << " format " << static_cast<int>(format) << " got "
                << map.value(it.key()).toString().toStdString();
    }
}

TEST(PropertyList, ReadsAKnownXmlDocument)
{
    const QByteArray xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict><key>Epoch</key><date>2001-01-01T00:00:00Z</date>
  <key>Types</key><array><string>public.jpeg</string><string>com.apple.pict</string></array><key>Size</key>
  <integer>-3</integer><key>Data</key><data>AAEC</data><key>Real</key><real>1.5</real><key>Yes</key><true/>
</dict></plist>)";
    const QVariantMap map = plist::fromData(xml).value_or(QVariant()).toMap();
    EXPECT_EQ(map.value("Epoch").toDateTime().toSecsSinceEpoch(), 978307200);
    EXPECT_EQ(map.value("Types").toStringList(), QStringList({"public.jpeg", "com.apple.pict"}));
    EXPECT_EQ(map.value("Size").toLongLong(), -3);
    EXPECT_EQ(map.value("Data").toByteArray(), QByteArray("\x00\x01\x02", 3));
    EXPECT_DOUBLE_EQ(map.value("Real").toDouble(), 1.5);
    EXPECT_TRUE(map.value("Yes").toBool());
}

// Corrupt input is refused, not overflowed; values without a plist form are never written, leaving the file alone.
TEST(PropertyList, RefusesCorruptInputAndValuesWithoutAPlistForm)
{
    const QByteArray deep = "<plist version=\"1.0\">" + QByteArray("<array>").repeated(300) +
                            QByteArray("</array>").repeated(300) + "</plist>";
    for (const QByteArray &data :
         {QByteArray(), QByteArray("hello"), QByteArray("<?xml version=\"1.0\"?><plist><dict><key>a</key>"),
          QByteArray("bplist00"), QByteArray("bplist00\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff", 20), deep})
        EXPECT_FALSE(plist::fromData(data).has_value()) << data.left(40).toStdString();
    QVariant tooDeep = QVariantList{};
    for (int depth = 0; depth < 300; ++depth)
        tooDeep = QVariantList{tooDeep};
    QTemporaryDir directory;
    const QString path = directory.filePath("Data Types.plist");
    ASSERT_TRUE(plist::writeFile(QVariantMap{{"a", 1}}, path, Format::Binary));
    const std::optional<QVariant> first = plist::readFile(path);
    ASSERT_EQ(first.value_or(QVariant()).toMap().value("a").toLongLong(), 1);
    // Nested too deeply, a size in a list, an unsigned beyond qint64, an invalid date.
    for (const QVariant &value : {tooDeep, QVariant(QVariantMap{{"a", QVariantList{QVariant::fromValue(QSize(1, 2))}}}),
                                  QVariant(std::numeric_limits<qulonglong>::max()), QVariant(QDateTime())}) {
        EXPECT_FALSE(plist::toData(value).has_value()) << value.typeName();
        EXPECT_FALSE(plist::writeFile(value, path)) << value.typeName();
    }
    EXPECT_EQ(plist::readFile(path), first) << "the earlier file is untouched";
    EXPECT_FALSE(plist::writeFile(QVariantMap{}, directory.filePath("no/such/dir.plist")));
    EXPECT_FALSE(plist::readFile(directory.filePath("missing.plist")).has_value());
}

} // namespace

TEST(PropertyList, KeepsTheWholeOfAStringHoldingANulByte)
{
    // A damaged document: libplist's copying string getter asserts on these.
    const QByteArray xml("<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><array><string>a\0b</string>"
                         "<string></string></array></plist>",
                         119);
    const auto value = plist::fromData(xml);
    ASSERT_TRUE(value.has_value());
    const QVariantList list = value->toList();
    ASSERT_EQ(list.size(), 2);
    // libplist's XML reader keeps the length but not what follows the NUL.
    EXPECT_TRUE(list.at(0).toString().startsWith(QLatin1Char('a')));
    EXPECT_LE(list.at(0).toString().size(), 3);
    EXPECT_EQ(list.at(1).toString(), QStringLiteral(""));
    EXPECT_FALSE(list.at(1).toString().isNull());
}

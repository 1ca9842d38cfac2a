#include <rkcore/ArrayInsert.h>

#include <gtest/gtest.h>

#include <QString>

namespace {

QList<QString> list(const char *letters)
{
    QList<QString> out;
    for (const char *c = letters; *c != '\0'; ++c)
        out << QString(QLatin1Char(*c));
    return out;
}

QString joined(const QList<QString> &items)
{
    return items.join(QString());
}

} // namespace

TEST(ArrayInsert, MoveItemRows)
{
    struct Row {
        const char *name;
        const char *start;
        char object;
        int index;
        bool noRemoval;
        const char *expected;
    };
    const Row rows[] = {
        {"minus one goes to the end", "abcde", 'b', -1, false, "acdeb"},
        {"any negative goes to the end", "abcde", 'a', -7, false, "bcdea"},
        {"the count goes to the end", "abcde", 'a', 5, false, "bcdea"},
        {"own index leaves it unchanged", "abcde", 'c', 2, false, "abcde"},
        {"down the list lands one before", "abcde", 'b', 3, false, "acbde"},
        {"up the list lands at the index", "abcde", 'd', 1, false, "adbce"},
        {"to the front", "abcde", 'e', 0, false, "eabcd"},
        {"down to the last index", "abcde", 'a', 4, false, "bcdae"},
        {"twice: both removed, inserted once", "abcbd", 'b', 0, false, "bacd"},
        {"twice, moving down", "babcd", 'b', 3, false, "acbd"},
        {"not in the list: inserted as is", "abcd", 'x', 1, false, "axbcd"},
        {"not in the list, minus one", "abcd", 'x', -1, false, "abcdx"},
        {"duplicates leave too few: at the end", "bbba", 'b', 3, false, "ab"},
        {"no removal, past the end: appended again", "abcde", 'b', -1, true, "abcdeb"},
        {"no removal, down the list: one before", "abcde", 'b', 3, true, "abbcde"},
        {"no removal, up the list: at the index", "abcde", 'd', 1, true, "adbcde"},
        {"no removal, own index", "abcde", 'c', 2, true, "abccde"},
    };
    for (const Row &row : rows) {
        QList<QString> items = list(row.start);
        const QString object(QLatin1Char(row.object));
        rk::moveItem(items, object, row.index, row.noRemoval);
        EXPECT_EQ(joined(items), QLatin1String(row.expected)) << row.name;
        if (!row.noRemoval) {
            QList<QString> again = list(row.start);
            rk::moveItem(again, object, row.index);
            EXPECT_EQ(again, items) << row.name << " (two-argument form)";
        }
    }
}

TEST(ArrayInsert, ElementOfTheListItselfAndAddObject)
{
    QList<QString> items = list("abcde");
    rk::moveItem(items, items[1], 3); // a reference into the list
    EXPECT_EQ(joined(items), QStringLiteral("acbde"));

    struct Row {
        const char *name;
        int index;
        const char *expected;
    };
    const Row rows[] = {
        {"negative: appended only", -1, "abcx"},
        {"front", 0, "xabc"},
        {"middle", 2, "abxc"},
        {"the new count: one before the end", 4, "abcx"},
    };
    for (const Row &row : rows) {
        QList<QString> added = list("abc");
        rk::addObject(added, QStringLiteral("x"), row.index);
        EXPECT_EQ(joined(added), QLatin1String(row.expected)) << row.name;
    }
}

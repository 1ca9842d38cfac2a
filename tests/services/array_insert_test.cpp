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
        const char *expected;
        int index;
        char object;
        bool noRemoval;
    };
    const Row rows[] = {
        {"minus one goes to the end", "abcde", "acdeb", -1, 'b', false},
        {"any negative goes to the end", "abcde", "bcdea", -7, 'a', false},
        {"the count goes to the end", "abcde", "bcdea", 5, 'a', false},
        {"own index leaves it unchanged", "abcde", "abcde", 2, 'c', false},
        {"down the list lands one before", "abcde", "acbde", 3, 'b', false},
        {"up the list lands at the index", "abcde", "adbce", 1, 'd', false},
        {"to the front", "abcde", "eabcd", 0, 'e', false},
        {"down to the last index", "abcde", "bcdae", 4, 'a', false},
        {"twice: both removed, inserted once", "abcbd", "bacd", 0, 'b', false},
        {"twice, moving down", "babcd", "acbd", 3, 'b', false},
        {"not in the list: inserted as is", "abcd", "axbcd", 1, 'x', false},
        {"not in the list, minus one", "abcd", "abcdx", -1, 'x', false},
        {"duplicates leave too few: at the end", "bbba", "ab", 3, 'b', false},
        {"no removal, past the end: appended again", "abcde", "abcdeb", -1, 'b', true},
        {"no removal, down the list: one before", "abcde", "abbcde", 3, 'b', true},
        {"no removal, up the list: at the index", "abcde", "adbcde", 1, 'd', true},
        {"no removal, own index", "abcde", "abccde", 2, 'c', true},
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

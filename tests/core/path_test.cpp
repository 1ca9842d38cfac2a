#include <rkcore/rpf_array.h>
#include <rkcore/rpf_path.h>

#include <gtest/gtest.h>

#include <cstring>

#include "core_test_support.h"

using rktest::take;

namespace {

struct Row {
    const char *input;
    const char *expected; // "<null>" for a null result
};

// Runs `function` over the rows; `root` is the constant "/" the function may
// hand out without allocating, which must not be freed.
template <typename Function> void checkRows(const char *name, Function function, std::initializer_list<Row> rows)
{
    for (const Row &row : rows) {
        char *result = function(row.input);
        const std::string text = result ? result : "<null>";
        EXPECT_EQ(text, row.expected) << name << "(\"" << row.input << "\")";
        rpf_path_free(result);
    }
}

TEST(PathUtilities, ParentOfPath)
{
    checkRows("rpf_parent_of_path", rpf_parent_of_path,
              {{"/a/b", "/a"},
               {"/a/b/", "/a"},
               {"/a", "/"},
               {"a/b", "a"},
               {"/", "/"},
               {"//", "/"},
               {"/a//", "/a"},
               {"a", ""},
               {"a/", ""},
               {"", ""}});
    // The root's parent is a shared constant; /a's parent is a fresh "/".
    char *root = rpf_parent_of_path("/");
    EXPECT_EQ(root, rpf_parent_of_path("/"));
    char *fresh = rpf_parent_of_path("/a");
    EXPECT_NE(fresh, root);
    std::free(fresh);
    EXPECT_EQ(rpf_parent_of_path(nullptr), nullptr);
}

TEST(PathUtilities, WithoutLastComponentBothVariants)
{
    checkRows("rpf_path_without_last_component", rpf_path_without_last_component,
              {{"/a/b", "/a"}, {"/a/b/", "/a/b"}, {"/a", ""}, {"/", "/"}, {"abc", ""}, {"", ""}});
    checkRows("experimental_rpf_path_without_last_component", experimental_rpf_path_without_last_component,
              {{"/a/b", "/a"}, {"/a/b/", "/a/b"}, {"/a", "/"}, {"/", "/"}, {"abc", ""}});
    EXPECT_EQ(rpf_path_without_last_component("/"), rpf_parent_of_path("/"));
    char *allocated = experimental_rpf_path_without_last_component("/");
    EXPECT_NE(allocated, rpf_parent_of_path("/"));
    std::free(allocated);
}

TEST(PathUtilities, LastComponentAndJoin)
{
    checkRows("rpf_path_last_component", rpf_path_last_component,
              {{"/a/b", "b"}, {"/a/b/", ""}, {"/", ""}, {"/x y.txt", "x y.txt"}, {"plain", "plain"}});
    const struct {
        const char *dir, *item, *joined;
    } joins[] = {{"/", "x", "/x"},      {"/a/", "x", "/a/x"}, {"/a", "x", "/a/x"},
                 {"/a", "/x", "/a//x"}, {"", "x", "/x"},      {"a", "", "a/"}};
    for (const auto &row : joins) {
        EXPECT_EQ(take(rpf_path_by_appending_item(row.dir, row.item)), row.joined) << row.dir << " + " << row.item;
    }
    EXPECT_EQ(rpf_path_by_appending_item(nullptr, "x"), nullptr);
    EXPECT_EQ(rpf_path_is_absolute("/x"), 1);
    EXPECT_EQ(rpf_path_is_absolute("x/"), 0);
    EXPECT_EQ(rpf_path_is_absolute(""), 0);
    EXPECT_EQ(rpf_path_is_absolute(nullptr), 0);
}

TEST(StringUtilities, Blanks)
{
    EXPECT_EQ(rpf_utility_front_spaces("  x "), 2U);
    EXPECT_EQ(rpf_utility_front_spaces("\tx"), 0U);
    EXPECT_EQ(rpf_string_back_spaces(nullptr), 0U);
    EXPECT_EQ(rpf_string_back_spaces("x\r\n"), 2U);
    EXPECT_EQ(rpf_string_back_spaces("x \t"), 0U);
    EXPECT_EQ(rpf_string_back_spaces(""), 0U);
    EXPECT_EQ(rpf_string_back_spaces(" \r\n "), 4U);
    checkRows("rpf_utility_despace_string", rpf_utility_despace_string,
              {{"  a b \r\n", "a b"}, {"\ta\t", "\ta\t"}, {"", ""}, {"   ", ""}, {" \n", ""}, {"x", "x"}});
}

TEST(StringUtilities, Extension)
{
    checkRows("rpf_string_get_extension", rpf_string_get_extension,
              {{"a.txt", "txt"},
               {"archive.tar.gz", "gz"},
               {"a.", ""},
               {"abc", "<null>"},
               {".profile", "<null>"},
               {"a.txt  \r\n", "txt"},
               {"x.d/file", "d/file"},
               {"..", ""},
               {"", "<null>"},
               {"   ", "<null>"},
               {"a.tx t", "tx t"}});
}

TEST(StringUtilities, ExtensionWithKnownLength)
{
    // The destination keeps "keep" unless the call answers 1.
    const struct {
        const char *name;
        size_t size;
        int answer;
        const char *buffer;
    } rows[] = {{"a.txt", 4, 1, "txt"}, {"a.txt", 3, 0, "keep"}, {"a.txt \n", 4, 1, "txt"}, {"txt", 4, 0, "keep"},
                {"txt", 0, 0, "keep"},  {"", 1, 0, "keep"},      {"a.", 1, 1, ""}};
    for (const auto &row : rows) {
        char buffer[8] = "keep";
        char *destination = buffer;
        EXPECT_EQ(rpf_string_get_extension_with_known_length(row.name, &destination, row.size), row.answer)
            << '"' << row.name << "\", " << row.size;
        EXPECT_STREQ(buffer, row.buffer) << '"' << row.name << "\", " << row.size;
    }
}

TEST(PointerArray, AppendFindAndBounds)
{
    rpf_array *array = rpf_array_new();
    ASSERT_NE(array, nullptr);
    int values[100];
    EXPECT_EQ(_findIndexInCFArray(array, &values[0]), -1);
    for (int &value : values)
        EXPECT_EQ(rpf_array_append(array, &value), 0);
    EXPECT_EQ(rpf_array_append(array, &values[3]), 0); // a second copy: the first one is found
    EXPECT_EQ(rpf_array_count(array), 101);
    EXPECT_EQ(_findIndexInCFArray(array, &values[3]), 3);
    EXPECT_EQ(_findIndexInCFArray(array, &values[99]), 99);
    int other = 0;
    EXPECT_EQ(_findIndexInCFArray(array, &other), -1);
    EXPECT_EQ(rpf_array_get(array, 42), &values[42]);
    EXPECT_EQ(rpf_array_get(array, 101), nullptr);
    EXPECT_EQ(rpf_array_get(array, -1), nullptr);
    rpf_array_free(array);
    EXPECT_EQ(rpf_array_count(nullptr), 0);
    EXPECT_EQ(rpf_array_append(nullptr, &other), -1);
    EXPECT_EQ(_findIndexInCFArray(nullptr, &other), -1);
}

} // namespace

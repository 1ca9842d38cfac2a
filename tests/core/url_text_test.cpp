#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <gtest/gtest.h>

#include <string>

#include "core_test_support.h"
#include "url_test_support.h"

using rktest::show;
using rktest::take;
using rktest::TraceCapture;
using rktest::Url;

namespace {

class UrlText : public ::testing::Test {
protected:
    TraceCapture trace;
};

struct FormRow {
    const char *name;
    int32_t type;
    int32_t port;
    const char *user;
    const char *password;
    const char *host;
    const char *path;
    const char *full;
    const char *clean;
    const char *pathless;
};

TEST_F(UrlText, FullCleanAndPathlessForms)
{
    const FormRow rows[] = {
        {"ftp registered", 0, 21, "me", "pw", "h", "pub/x", "ftp://me:pw@h/pub/x", "ftp://me:@h/pub/x", "ftp://me:@h/"},
        {"ftp anonymous, own port", 0, 2121, "anonymous", "pw", "h", "pub/x", "ftp://h:2121/pub/x",
         "ftp://h:2121/pub/x", "ftp://h:2121/"},
        {"ftp five-digit port loses one character", 0, 21210, "me", "pw", "h", "pub/x", "ftp://me:pw@h:21210/pub/",
         "ftp://me:@h:21210/pub/x", "ftp://me:@h:21210/"},
        {"ftp negative port fits", 0, -1, "me", "pw", "h", "p", "ftp://me:pw@h:-1/p", "ftp://me:@h:-1/p",
         "ftp://me:@h:-1/"},
        {"ftp null password and path", 0, 21, "me", nullptr, "h", nullptr, "ftp://me:@h/", "ftp://me:@h/",
         "ftp://me:@h/"},
        {"sftp default port", 2, 22, "guest", nullptr, "h", "d", "sftp://h/d", "sftp://h/d", "sftp://h/"},
        {"sftp on the ftp port", 2, 21, "guest", nullptr, "h", "d", "sftp://h:21/d", "sftp://h:21/d", "sftp://h:21/"},
        {"sftp six-digit port", 2, 222222, "u", "p", "h", "abc", "sftp://u:p@h:222222/a", "sftp://u:@h:222222/abc",
         "sftp://u:@h:222222/"},
        {"afp default port", 4, 548, "anonymous", nullptr, "h", "path", "afp://h/path", "afp://h/path", "<null>"},
        {"afp own port cut whole", 4, 5480, "anonymous", nullptr, "h", "vol", "afp://h:548", "afp://h:5480/vol",
         "<null>"},
        {"afp registered", 4, 548, "me", "pw", "h", "v", "afp://me:pw@h/v", "afp://me:@h/v", "<null>"},
        {"smb default port", 5, 139, "me", "pw", "h", "share", "smb://me:pw@h/share", "smb://me:@h/share", "<null>"},
        {"smb one spare character", 5, 445, "anonymous", nullptr, "h", "share", "smb://h:445/sh", "smb://h:445/share",
         "<null>"},
        {"smb port cuts the path", 5, 1390, "anonymous", nullptr, "h", "share", "smb://h:1390/s", "smb://h:1390/share",
         "<null>"},
        {"local", 3, 99, "me", "pw", "h", "/Users/x", "file:///Users/x", "file:///Users/x", "file://"},
        {"local without path", 3, 0, nullptr, nullptr, nullptr, nullptr, "file://", "file://", "file://"},
        {"registered without user", 0, 21, nullptr, "pw", "h", "x", "<null>", "ftp://:@h/x", "ftp://:@h/"},
        {"without host", 0, 21, "me", "pw", nullptr, "x", "<null>", "ftp://me:@/x", "ftp://me:@/"},
        {"anonymous without host", 5, 139, "guest", nullptr, nullptr, "x", "<null>", "smb:///x", "<null>"},
    };
    for (const FormRow &row : rows) {
        Url url(rpf_url_new(row.type, row.user, row.password, row.host, row.port, row.path));
        ASSERT_NE(url, nullptr) << row.name;
        EXPECT_EQ(take(rpf_url_string(url.get())), row.full) << row.name;
        EXPECT_EQ(take(rpf_url_string_clean(url.get())), row.clean) << row.name;
        EXPECT_EQ(take(rpf_url_string_pathless(url.get())), row.pathless) << row.name;
    }
}

TEST_F(UrlText, FailuresPrintTheirLine)
{
    Url odd(rpf_url_new(1, "me", "pw", "h", 21, "x"));
    const struct {
        const char *name;
        char *(*form)(const rpf_url *);
        const rpf_url *url;
        const char *line;
    } rows[] = {
        {"full of null", rpf_url_string, nullptr, "Null URL passed in\n"},
        {"clean of null", rpf_url_string_clean, nullptr, "Null URL passed in\n"},
        {"pathless of null", rpf_url_string_pathless, nullptr, "Null URL passed in\n"},
        {"full of type 1", rpf_url_string, odd.get(), "Unsupported URL Type\n"},
        {"clean of type 1", rpf_url_string_clean, odd.get(), "Unsupported URL Type\n"},
        {"pathless of type 1", rpf_url_string_pathless, odd.get(), "Unsupported URL Type\n"},
    };
    for (const auto &row : rows) {
        trace.clear();
        EXPECT_EQ(row.form(row.url), nullptr) << row.name;
        EXPECT_EQ(trace.text(), row.line) << row.name;
    }
    Url afp(rpf_url_new(RPF_URL_TYPE_AFP, "me", "pw", "h", 548, "x"));
    trace.clear();
    EXPECT_EQ(rpf_url_string_pathless(afp.get()), nullptr);
    EXPECT_EQ(trace.text(), "Unsupported URL Type\n");
    EXPECT_EQ(rpf_ravix_url(nullptr, 1, 2), nullptr);
    EXPECT_EQ(rpf_url_hasUniquePort(nullptr), 0);
}

TEST_F(UrlText, EncapsulatedFormNeverCarriesThePassword)
{
    Url url(rpf_url_new(RPF_URL_TYPE_FTP, "me", "pw", "h", 21, "pub/x"));
    EXPECT_EQ(take(rpf_ravix_url(url.get(), 1, 4096)), "ravix://<ftp://me:@h/pub/x><1><4096>");
    rpf_url_set_passWord(url.get(), "s3cret");
    url->port = 65535;
    const std::string text = take(rpf_ravix_url(url.get(), 2, -1));
    EXPECT_EQ(text, "ravix://<ftp://me:@h:65535/pub/x><2><-1>");
    EXPECT_EQ(text.find("s3cret"), std::string::npos);

    // Sized for the clean text plus 27 characters: two ten-digit negatives do not fit.
    Url local(rpf_url_new_local("/a"));
    EXPECT_EQ(take(rpf_ravix_url(local.get(), INT32_MIN, INT32_MIN)), "ravix://<file:///a><-2147483648><-2");
    EXPECT_EQ(take(rpf_ravix_url(local.get(), 12, 2147483647)), "ravix://<file:///a><12><2147483647>");
}

TEST_F(UrlText, EncapsulatedInfo)
{
    const struct {
        const char *text;
        const char *inner;
        int32_t type;
        int32_t size;
    } rows[] = {
        {"ravix://<afp://h/vol/f><2><17>", "afp://h/vol/f", 2, 17},
        {"ravix://<afp://h/vol/f><12><17>", "afp://h/vol/f", 12, 0},
        {"ravix://<ftp://me:@h/pub/x><1><4096>", "ftp://me:@h/pub/x", 1, 4096},
        {"RAVIX:/!<ftp://h/><3><5>", "ftp://h/", 3, 5},
        {"ravix://<a><1><-5>", "a", 1, -5},
        {"ravix://<a><1><9", "a", 1, 9},
        {"ravix://<a><1", "a", 1, 0},
        {"ravix://<a>", "a", 0, 0},
        {"ravix://<>", "", 0, 0},
        {"ravix://<a><x><y>", "a", 0, 0},
        {"ravix://<a>>>>>>", "a", 0, 0},
        {"ravix://<ftp://h/", "<null>", -7, -7},
        {"ravix://", "<null>", -7, -7},
        {"", "<null>", -7, -7},
    };
    for (const auto &row : rows) {
        int32_t type = -7;
        int32_t size = -7;
        EXPECT_EQ(take(ravix_get_encapsulated_info(row.text, &type, &size)), row.inner) << "text: " << row.text;
        EXPECT_EQ(type, row.type) << "text: " << row.text;
        EXPECT_EQ(size, row.size) << "text: " << row.text;
    }
    EXPECT_EQ(ravix_get_encapsulated_info(nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(take(ravix_get_encapsulated_info("ravix://<a><1><2>", nullptr, nullptr)), "a");
}

TEST_F(UrlText, EncapsulatedToRecord)
{
    int32_t type = 0;
    Url url(rpf_url_ravix_url_to_url("ravix://<ftp://me:@h/pub/x><1><4096>", &type));
    ASSERT_NE(url, nullptr);
    EXPECT_EQ(type, 1);
    EXPECT_EQ(url->size, 4096);
    EXPECT_EQ(url->item_type, 0);
    EXPECT_STREQ(url->user_name, "me");
    EXPECT_EQ(url->password, nullptr);
    EXPECT_STREQ(url->host, "h");
    EXPECT_STREQ(url->path, "pub/x");

    for (const char *text : {"ravix://<http://h/><1><5>", "ravix://<ftp://h", "", "ravix"}) {
        type = 5;
        EXPECT_EQ(rpf_url_ravix_url_to_url(text, &type), nullptr) << "text: " << text;
        EXPECT_EQ(type, -1) << "text: " << text;
    }
    EXPECT_EQ(rpf_url_ravix_url_to_url(nullptr, nullptr), nullptr);

    // Both ways: the record's clean text, kind and size come back.
    Url original(rpf_url_new(RPF_URL_TYPE_SFTP, "me", "pw", "host", 2222, "data/f"));
    const std::string text = take(rpf_ravix_url(original.get(), 2, 12345));
    Url back(rpf_url_ravix_url_to_url(text.c_str(), &type));
    ASSERT_NE(back, nullptr) << text;
    EXPECT_EQ(type, 2);
    EXPECT_EQ(back->size, 12345);
    EXPECT_EQ(take(rpf_url_string_clean(back.get())), take(rpf_url_string_clean(original.get())));
}

TEST_F(UrlText, AppendingAnItem)
{
    const struct {
        const char *url;
        const char *item;
        int32_t type;
        const char *path;
    } rows[] = {
        {"ftp://h/pub", "x", 0, "pub/x"},      {"ftp://h/", "x", 0, "/x"},          {"ftp://h", "x", 0, "x"},
        {"file:///tmp", "a b", 3, "/tmp/a b"}, {"sftp://u:p@h:2/d", "f", 2, "d/f"}, {"smb://h/share", "", 5, "share/"},
        {"afp://h", "v/f", 4, "v/f"},
    };
    for (const auto &row : rows) {
        Url url(rpf_url_by_appending_item(row.url, row.item));
        ASSERT_NE(url, nullptr) << row.url << " + " << row.item;
        EXPECT_EQ(url->type, row.type) << row.url << " + " << row.item;
        EXPECT_EQ(show(url->path), row.path) << row.url << " + " << row.item;
    }
    EXPECT_EQ(rpf_url_by_appending_item("http://h", "x"), nullptr);
    EXPECT_EQ(rpf_url_by_appending_item(nullptr, "x"), nullptr);
    EXPECT_EQ(rpf_url_by_appending_item("ftp://h", nullptr), nullptr);
}

} // namespace

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core_test_support.h"
#include "url_test_support.h"

using rktest::show;
using rktest::take;
using rktest::TraceCapture;
using rktest::Url;

namespace {

// Every line of `lines` with its line end.
std::string joined(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    return text;
}

class Silenced : public ::testing::Test {
protected:
    void SetUp() override { rpf_diagnostics_set_stream(nullptr); }
    void TearDown() override { rpf_diagnostics_reset(); }
};

// ---- parsing ----

struct ParseRow {
    const char *text;
    int32_t type;
    int32_t port;
    const char *user; // the field as stored
    const char *password;
    const char *host;
    const char *path;
    int32_t anonymous;
};

constexpr int32_t kNoPort = -99; // the row expects the port left unset (0 in a cleared record)

using UrlParse = Silenced;

TEST_F(UrlParse, AcceptedTexts)
{
    const ParseRow rows[] = {
        {"ftp://host", 0, 21, nullptr, nullptr, "host", nullptr, 1},
        {"ftp://host/pub/x", 0, 21, nullptr, nullptr, "host", "pub/x", 1},
        {"ftp://host/", 0, 21, nullptr, nullptr, "host", nullptr, 1},
        {"sftp://me:pw@host:2222/data", 2, 2222, "me", "pw", "host", "data", 0},
        {"sftp://host", 2, 22, nullptr, nullptr, "host", nullptr, 1},
        {"ftp://guest1:x@h/", 0, 21, "guest1", "x", "h", nullptr, 1},
        {"ftp://anonymous:a@b@h/", 0, 21, "anonymous", "a", "b@h", nullptr, 1},
        {"ftp://anonymousX:pw@h/p", 0, 21, "anonymousX", "pw", "h", "p", 1},
        {"ftp://guesT:pw@h/p", 0, 21, "guesT", "pw", "h", "p", 0},
        {"ftp://me:@h/", 0, 21, "me", nullptr, "h", nullptr, 0},
        {"ftp://u:p@host/a@b", 0, 21, "u", "p@host", "a@b", nullptr, 0},
        {"ftp://u:p@@h/x", 0, 21, "u", nullptr, "@@h", "x", 0},
        {"ftp://h:2121/pub", 0, 2121, nullptr, nullptr, "h", "pub", 1},
        {"ftp://h:/pub", 0, 0, nullptr, nullptr, "h", "pub", 1},
        {"ftp://h:21x/pub", 0, 21, nullptr, nullptr, "h", "pub", 1},
        {"ftp://h:99999999999/", 0, 2147483647, nullptr, nullptr, "h", nullptr, 1},
        {"ftp://h:2121", 0, 2121, nullptr, nullptr, "h", nullptr, 1},
        {"ftp://h:21:22/a", 0, 21, nullptr, nullptr, "h", "a", 1},
        {"ftp:///pub", 0, 21, nullptr, nullptr, "", "pub", 1},
        {"ftp://", 0, 21, nullptr, nullptr, "", nullptr, 1},
        {"ftp://h//a/", 0, 21, nullptr, nullptr, "h", "/a/", 1},
        {"ftp://u@h:pw@x/y", 0, 21, "u@h", "pw", "x", "y", 0},
        {"ftp://h:21/a@b:c", 0, 0, "h", "21/a", "b", nullptr, 0},
        {"file:///Users/x", 3, kNoPort, nullptr, nullptr, nullptr, "/Users/x", 0},
        {"file://", 3, kNoPort, nullptr, nullptr, nullptr, "", 0},
        {"file://u:p@h:1/x", 3, kNoPort, nullptr, nullptr, nullptr, "u:p@h:1/x", 0},
        {"afp://me:pw@mac/vol/f", 4, 548, "me", "pw", "mac", "vol/f", 0},
        {"afp://mac:5480/vol", 4, 5480, nullptr, nullptr, "mac", "vol", 1},
        {"smb://h/share", 5, 139, nullptr, nullptr, "h", "share", 1},
        {"smb://guest:x@h:445/share/dir", 5, 445, "guest", "x", "h", "share/dir", 1},
    };
    for (const ParseRow &row : rows) {
        Url url(rpf_url_new_from_string(row.text));
        ASSERT_NE(url, nullptr) << "text: " << row.text;
        EXPECT_EQ(url->type, row.type) << "text: " << row.text;
        EXPECT_EQ(show(url->user_name), show(row.user)) << "text: " << row.text;
        EXPECT_EQ(show(url->password), show(row.password)) << "text: " << row.text;
        EXPECT_EQ(show(url->host), show(row.host)) << "text: " << row.text;
        EXPECT_EQ(url->port, row.port == kNoPort ? 0 : row.port) << "text: " << row.text;
        EXPECT_EQ(show(url->path), show(row.path)) << "text: " << row.text;
        EXPECT_EQ(url->anonymous != 0, row.anonymous != 0) << "text: " << row.text;
        EXPECT_EQ(url->size, 0) << "text: " << row.text;
        EXPECT_EQ(url->item_type, 0) << "text: " << row.text;
    }
}

TEST_F(UrlParse, RefusedTexts)
{
    const char *rows[] = {
        "http://h/",   "",          "ftp:/h",    "FTP://h/",    "ftp:h",   "ftp://u@host:21/", "ftp://u@h/",
        "ftp://h/a@b", "sftp://a@", "afp://x@y", "smb://user@", "file:/x", " ftp://h",         "ftpx://h",
    };
    for (const char *text : rows) {
        EXPECT_EQ(rpf_url_new_from_string(text), nullptr) << "text: \"" << text << '"';
    }
    EXPECT_EQ(rpf_url_new_from_string(nullptr), nullptr);
}

// ---- traces ----

struct TraceRow {
    const char *name;
    const char *text;
    std::vector<std::string> lines;
};

TEST(UrlTrace, ParsersTraceEachStep)
{
    const std::string afpRefusal = "afp_url_parser : Prefix for url is wrong";
    const TraceRow rows[] = {
        {"file and ftp are silent", "file:///x", {}},
        {"ftp is silent", "sftp://u:p@h:1/x", {}},
        {"afp anonymous with path",
         "afp://h/vol",
         {"afp_url_parser : Processing url", "\t>afp://h/vol<", "afp_url_parser : Detected AFP URL Prefix",
          "afp_url_parser : Scanning url to see if it contains a username and password",
          "afp_url_parser : Scanned character: afp_url_parser : Url does not have authentication info",
          "afp_url_parser : No Authentication Info Found Assuming anonymous",
          "afp_url_parser : Host is h and is 1 characters long", "afp_url_parser : Path string length is 3",
          "afp_url_parser : Path To Item is vol and is 3 characters long", "afp_url_parser : URL Parsing Completed."}},
        {"afp login, port, no second @",
         "afp://me:pw@h:600/v",
         {"afp_url_parser : Processing url",
          "\t>afp://me:pw@h:600/v<",
          "afp_url_parser : Detected AFP URL Prefix",
          "afp_url_parser : Scanning url to see if it contains a username and password",
          "afp_url_parser : Scanned character: afp_url_parser : Url has authentication info",
          "afp_url_parser : Username is me and is 2 characters long",
          "afp_url_parser : Username is registered",
          "Base Pointer Location : h",
          "URL Length : 19",
          "Total Process Chars : 12",
          "Amount To Process : 7",
          "Did not find password with @ in it",
          "Last Char is : w",
          "afp_url_parser : Password is pw and is 2 characters long",
          "afp_url_parser : Host is h and is 1 characters long",
          "afp_url_parser : Found port",
          "afp_url_parser : Port is 600 and is 3 characters long ",
          "afp_url_parser : Path string length is 1",
          "afp_url_parser : Path To Item is v and is 1 characters long",
          "afp_url_parser : URL Parsing Completed."}},
        {"afp anonymous alias, second @, no path",
         "afp://guest:@@h",
         {"afp_url_parser : Processing url", "\t>afp://guest:@@h<", "afp_url_parser : Detected AFP URL Prefix",
          "afp_url_parser : Scanning url to see if it contains a username and password",
          "afp_url_parser : Scanned character: afp_url_parser : Url has authentication info",
          "afp_url_parser : Username is guest and is 5 characters long",
          "afp_url_parser : Username is an anonymous alias", "afp_url_parser : Setting anonymous flag",
          "Base Pointer Location : @", "URL Length : 15", "Total Process Chars : 13", "Amount To Process : 2",
          "afp_url_parser : Found second @ in password", "\tEmpty password",
          "afp_url_parser : Host is @h and is 2 characters long", "afp_url_parser : No Path information",
          "afp_url_parser : URL Parsing Completed."}},
        {"smb after the afp refusal, second @",
         "smb://u:a@b@h/",
         {"afp_url_parser : Processing url", "\t>smb://u:a@b@h/<", afpRefusal, "smb_url_parser : Processing url",
          "\t>smb://u:a@b@h/<", "smb_url_parser : Scanning url to see if it contains a username and password",
          "smb_url_parser : Scanned character: smb_url_parser : Url has authentication info",
          "smb_url_parser : Username is u and is 1 characters long", "smb_url_parser : Username is registered",
          "Base Pointer Location : b", "URL Length : 14", "Total Process Chars : 10", "Amount To Process : 4",
          "\tftp_url_parser : Found second @ in password", "smb_url_parser : Password is a and is 1 characters long",
          "smb_url_parser : Host is b@h and is 3 characters long", "smb_url_parser : Path string length is 0",
          "smb_url_parser : URL Parsing Completed."}},
        {"smb empty password",
         "smb://u:@h",
         {"afp_url_parser : Processing url", "\t>smb://u:@h<", afpRefusal, "smb_url_parser : Processing url",
          "\t>smb://u:@h<", "smb_url_parser : Scanning url to see if it contains a username and password",
          "smb_url_parser : Scanned character: smb_url_parser : Url has authentication info",
          "smb_url_parser : Username is u and is 1 characters long", "smb_url_parser : Username is registered",
          "Base Pointer Location : h", "URL Length : 10", "Total Process Chars : 9", "Amount To Process : 1",
          "Did not find password with @ in it", "Last Char is : :", "smb_url_parser : Empty password",
          "smb_url_parser : Host is h and is 1 characters long", "smb_url_parser : No Path information",
          "smb_url_parser : URL Parsing Completed."}},
        {"both refuse",
         "http://h/",
         {"afp_url_parser : Processing url", "\t>http://h/<", afpRefusal, "smb_url_parser : Processing url",
          "\t>http://h/<", "smb_url_parser : Prefix for url is wrong"}},
    };
    for (const TraceRow &row : rows) {
        TraceCapture capture;
        Url url(rpf_url_new_from_string(row.text));
        EXPECT_EQ(capture.text(), joined(row.lines)) << row.name << ": " << row.text;
    }
}

// ---- construction and accessors ----

using UrlRecord = Silenced;

TEST_F(UrlRecord, NewFromPartsAndAnonymousNames)
{
    struct {
        const char *user;
        bool anonymous;
    } const rows[] = {
        {"me", false},     {"anonymous", true}, {"anonymous1", true}, {"anonymou", false}, {"guest", true},
        {"guest1", false}, {"gues", false},     {nullptr, false},     {"Guest", false},
    };
    for (const auto &row : rows) {
        Url url(rpf_url_new(RPF_URL_TYPE_SFTP, row.user, "pw", "h", 22, "a/b"));
        ASSERT_NE(url, nullptr);
        EXPECT_EQ(rpf_url_isAnonymous(url.get()) != 0, row.anonymous) << "user: " << show(row.user);
        EXPECT_EQ(show(url->user_name), row.anonymous ? "<null>" : show(row.user)) << "user: " << show(row.user);
        EXPECT_EQ(show(url->password), row.anonymous ? "<null>" : "pw") << "user: " << show(row.user);
        EXPECT_EQ(show(rpf_url_userName(url.get())), row.anonymous ? "anonymous" : show(row.user));
        EXPECT_EQ(show(rpf_url_passWord(url.get())), row.anonymous ? RPF_URL_ANONYMOUS_PASSWORD : "pw");
        EXPECT_STREQ(rpf_url_host(url.get()), "h");
        EXPECT_STREQ(rpf_url_itemPath(url.get()), "a/b");
        EXPECT_EQ(rpf_url_port(url.get()), 22);
        EXPECT_EQ(rpf_url_type(url.get()), RPF_URL_TYPE_SFTP);
    }
}

TEST_F(UrlRecord, AnonymousAnswersWhateverTheFieldsHold)
{
    Url url(rpf_url_new_from_string("ftp://bob:secret@h/x"));
    ASSERT_NE(url, nullptr);
    EXPECT_STREQ(rpf_url_userName(url.get()), "bob");
    EXPECT_STREQ(rpf_url_passWord(url.get()), "secret");
    rpf_url_setAnonymous(url.get(), 1);
    EXPECT_STREQ(rpf_url_userName(url.get()), "anonymous");
    EXPECT_STREQ(rpf_url_passWord(url.get()), RPF_URL_ANONYMOUS_PASSWORD);
    EXPECT_STREQ(url->user_name, "bob"); // the fields stay; the record is still freed whole
}

TEST_F(UrlRecord, LocalRecordAndSetters)
{
    Url url(rpf_url_new_local("/tmp/a b"));
    ASSERT_NE(url, nullptr);
    EXPECT_EQ(url->type, RPF_URL_TYPE_FILE);
    EXPECT_STREQ(url->path, "/tmp/a b");
    EXPECT_EQ(url->user_name, nullptr);
    EXPECT_EQ(url->host, nullptr);
    EXPECT_EQ(url->port, 0);
    EXPECT_EQ(url->anonymous, 0);
    rpf_url_setPath(url.get(), "/other");
    EXPECT_STREQ(rpf_url_itemPath(url.get()), "/other");
    rpf_url_setPath(url.get(), nullptr);
    EXPECT_EQ(rpf_url_itemPath(url.get()), nullptr);
    rpf_url_set_passWord(url.get(), "x");
    EXPECT_STREQ(url->password, "x");
    rpf_url_set_passWord(url.get(), nullptr);
    EXPECT_EQ(url->password, nullptr);
    rpf_ravix_url_set_type(url.get(), RPF_URL_ITEM_ALIAS);
    EXPECT_EQ(rpf_ravix_url_item_type(url.get()), 3);
    url->size = 77;
    EXPECT_EQ(rpf_ravix_url_item_size(url.get()), 77);
    EXPECT_EQ(rpf_url_size(url.get()), 77);

    EXPECT_EQ(Url(rpf_url_new_local(nullptr))->path, nullptr);
}

} // namespace

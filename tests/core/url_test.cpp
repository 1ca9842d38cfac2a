#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core_test_support.h"

using rktest::take;

namespace {

using Url = std::unique_ptr<rpf_url, decltype([](rpf_url *url) { rpf_url_dealloc(url); })>;

class UrlTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        rpf_diagnostics_set_callback([](const char *t, void *me) { static_cast<UrlTest *>(me)->trace += t; }, this);
    }
    void TearDown() override { rpf_diagnostics_reset(); }
    std::string trace;

    static std::string show(const char *text) { return text != nullptr ? text : "-"; }
    // "type|port|user|password|host|path|anonymous", then "|size|item size|item type" when either is set; "null"
    // for null. Read through the accessors where there are any.
    static std::string describe(const rpf_url *u)
    {
        if (u == nullptr) return "null";
        std::string text = std::to_string(rpf_url_type(u)) + '|' + std::to_string(rpf_url_port(u));
        for (const char *field :
             std::initializer_list<const char *>{u->user_name, u->password, rpf_url_host(u), rpf_url_itemPath(u)})
            text += '|' + show(field);
        text += u->anonymous != 0 ? "|1" : "|0";
        if (u->size != 0 || u->item_type != 0)
            text += '|' + std::to_string(rpf_url_size(u)) + '|' + std::to_string(rpf_ravix_url_item_size(u)) + '|' +
                    std::to_string(rpf_ravix_url_item_type(u));
        return text;
    }
};

TEST_F(UrlTest, AcceptedRefusedAndTracedTexts)
{
    // text, record as type|port|user|password|host|path|anonymous
    const char *const rows[][2] = {
        {"ftp://host/", "0|21|-|-|host|-|1"},         {"sftp://me:pw@host:2222/data", "2|2222|me|pw|host|data|0"},
        {"sftp://host", "2|22|-|-|host|-|1"},         {"ftp://anonymous:a@b@h/", "0|21|anonymous|a|b@h|-|1"},
        {"ftp://guest1:x@h/", "0|21|guest1|x|h|-|1"}, {"ftp://anonymousX:pw@h/p", "0|21|anonymousX|pw|h|p|1"},
        {"ftp://me:@h/", "0|21|me|-|h|-|0"},          {"ftp://guesT:pw@h/p", "0|21|guesT|pw|h|p|0"},
        {"ftp://u:p@@h/x", "0|21|u|-|@@h|x|0"},       {"ftp://u:p@host/a@b", "0|21|u|p@host|a@b|-|0"},
        {"ftp://h:/pub", "0|0|-|-|h|pub|1"},          {"ftp://h:99999999999/", "0|2147483647|-|-|h|-|1"},
        {"ftp://h:21x/pub", "0|21|-|-|h|pub|1"},      {"ftp://", "0|21|-|-||-|1"},
        {"ftp://h:2121", "0|2121|-|-|h|-|1"},         {"file://", "3|0|-|-|-||0"},
        {"ftp://h//a/", "0|21|-|-|h|/a/|1"},          {"file://u:p@h:1/x", "3|0|-|-|-|u:p@h:1/x|0"},
        {"ftp://u@h:pw@x/y", "0|21|u@h|pw|x|y|0"},    {"afp://me:pw@mac/vol/f", "4|548|me|pw|mac|vol/f|0"},
        {"ftp://h:21/a@b:c", "0|0|h|21/a|b|-|0"},     {"afp://mac:5480/vol", "4|5480|-|-|mac|vol|1"},
        {"smb://h/share", "5|139|-|-|h|share|1"},     {"smb://guest:x@h:445/s/dir", "5|445|guest|x|h|s/dir|1"},
    };
    for (const auto &[text, record] : rows) {
        Url url(rpf_url_new_from_string(text));
        EXPECT_EQ(describe(url.get()), record) << "text: " << text;
    }
    for (const char *text :
         {"http://h/", "", "ftp:/h", "FTP://h/", "ftp:h", "ftp://u@host:21/", "ftp://u@h/", "ftp://h/a@b", "sftp://a@",
          "afp://x@y", "smb://user@", "file:/x", " ftp://h", "ftpx://h", static_cast<const char *>(nullptr)})
        EXPECT_EQ(rpf_url_new_from_string(text), nullptr) << "text: \"" << show(text) << '"';
    const char *const traces[][2] = {
        {"sftp://u:p@h:1/x", ""},
        {"afp://h/vol",
         "afp_url_parser : Processing url\n\t>afp://h/vol<\nafp_url_parser : Detected AFP URL Prefix\nafp_url_parser : "
         "Scanning url to see if it contains a username and password\nafp_url_parser : Scanned character: "
         "afp_url_parser : Url does not have authentication info\nafp_url_parser : No Authentication Info Found "
         "Assuming anonymous\nafp_url_parser : Host is h and is 1 characters long\nafp_url_parser : Path string length "
         "is 3\nafp_url_parser : Path To Item is vol and is 3 characters long\nafp_url_parser : URL Parsing "
         "Completed.\n"},
        {"afp://me:pw@h:600/v",
         "afp_url_parser : Processing url\n\t>afp://me:pw@h:600/v<\nafp_url_parser : Detected AFP URL "
         "Prefix\nafp_url_parser : Scanning url to see if it contains a username and password\nafp_url_parser : "
         "Scanned character: afp_url_parser : Url has authentication info\nafp_url_parser : Username is me and is 2 "
         "characters long\nafp_url_parser : Username is registered\nBase Pointer Location : h\nURL Length : 19\nTotal "
         "Process Chars : 12\nAmount To Process : 7\nDid not find password with @ in it\nLast Char is : "
         "w\nafp_url_parser : Password is pw and is 2 characters long\nafp_url_parser : Host is h and is 1 characters "
         "long\nafp_url_parser : Found port\nafp_url_parser : Port is 600 and is 3 characters long \nafp_url_parser : "
         "Path string length is 1\nafp_url_parser : Path To Item is v and is 1 characters long\nafp_url_parser : URL "
         "Parsing Completed.\n"},
        {"afp://guest:@@h",
         "afp_url_parser : Processing url\n\t>afp://guest:@@h<\nafp_url_parser : Detected AFP URL "
         "Prefix\nafp_url_parser : Scanning url to see if it contains a username and password\nafp_url_parser : "
         "Scanned character: afp_url_parser : Url has authentication info\nafp_url_parser : Username is guest and is 5 "
         "characters long\nafp_url_parser : Username is an anonymous alias\nafp_url_parser : Setting anonymous "
         "flag\nBase Pointer Location : @\nURL Length : 15\nTotal Process Chars : 13\nAmount To Process : "
         "2\nafp_url_parser : Found second @ in password\n\tEmpty password\nafp_url_parser : Host is @h and is 2 "
         "characters long\nafp_url_parser : No Path information\nafp_url_parser : URL Parsing Completed.\n"},
        {"smb://u:a@b@h/",
         "afp_url_parser : Processing url\n\t>smb://u:a@b@h/<\nafp_url_parser : Prefix for url is "
         "wrong\nsmb_url_parser : Processing url\n\t>smb://u:a@b@h/<\nsmb_url_parser : Scanning url to see if it "
         "contains a username and password\nsmb_url_parser : Scanned character: smb_url_parser : Url has "
         "authentication info\nsmb_url_parser : Username is u and is 1 characters long\nsmb_url_parser : Username is "
         "registered\nBase Pointer Location : b\nURL Length : 14\nTotal Process Chars : 10\nAmount To Process : "
         "4\n\tftp_url_parser : Found second @ in password\nsmb_url_parser : Password is a and is 1 characters "
         "long\nsmb_url_parser : Host is b@h and is 3 characters long\nsmb_url_parser : Path string length is "
         "0\nsmb_url_parser : URL Parsing Completed.\n"},
        {"smb://u:@h",
         "afp_url_parser : Processing url\n\t>smb://u:@h<\nafp_url_parser : Prefix for url is wrong\nsmb_url_parser : "
         "Processing url\n\t>smb://u:@h<\nsmb_url_parser : Scanning url to see if it contains a username and "
         "password\nsmb_url_parser : Scanned character: smb_url_parser : Url has authentication info\nsmb_url_parser : "
         "Username is u and is 1 characters long\nsmb_url_parser : Username is registered\nBase Pointer Location : "
         "h\nURL Length : 10\nTotal Process Chars : 9\nAmount To Process : 1\nDid not find password with @ in it\nLast "
         "Char is : :\nsmb_url_parser : Empty password\nsmb_url_parser : Host is h and is 1 characters "
         "long\nsmb_url_parser : No Path information\nsmb_url_parser : URL Parsing Completed.\n"},
        {"http://h/",
         "afp_url_parser : Processing url\n\t>http://h/<\nafp_url_parser : Prefix for url is wrong\nsmb_url_parser : "
         "Processing url\n\t>http://h/<\nsmb_url_parser : Prefix for url is wrong\n"},
    };
    for (const auto &[text, expected] : traces) {
        trace.clear();
        Url url(rpf_url_new_from_string(text));
        EXPECT_EQ(trace, expected) << "text: " << text;
    }
}

TEST_F(UrlTest, RecordsTheirFieldsAndTextForms)
{
    const char *const rows[][2] = {{"me", "2|22|me|pw|h|a/b|0"},       {"anonymous", "2|22|-|-|h|a/b|1"},
                                   {"anonymous1", "2|22|-|-|h|a/b|1"}, {"anonymou", "2|22|anonymou|pw|h|a/b|0"},
                                   {"guest", "2|22|-|-|h|a/b|1"},      {"guest1", "2|22|guest1|pw|h|a/b|0"},
                                   {"gues", "2|22|gues|pw|h|a/b|0"},   {nullptr, "2|22|-|pw|h|a/b|0"}};
    for (const auto &[user, record] : rows) {
        Url url(rpf_url_new(RPF_URL_TYPE_SFTP, user, "pw", "h", 22, "a/b"));
        EXPECT_EQ(describe(url.get()), record) << "user: " << show(user);
        EXPECT_EQ(rpf_url_isAnonymous(url.get()) != 0, std::string(record).ends_with('1')) << "user: " << show(user);
    }
    EXPECT_EQ(describe(Url(rpf_url_new_local("/tmp/a b")).get()), "3|0|-|-|-|/tmp/a b|0");
    EXPECT_EQ(Url(rpf_url_new_local(nullptr))->path, nullptr);

    Url url(rpf_url_new_from_string("ftp://bob:secret@h/x"));
    const auto login = [&] { return show(rpf_url_userName(url.get())) + ' ' + show(rpf_url_passWord(url.get())); };
    EXPECT_EQ(login(), "bob secret");
    rpf_url_setAnonymous(url.get(), 1); // the fields stay; the record answers an anonymous login
    EXPECT_EQ(login(), "anonymous " RPF_URL_ANONYMOUS_PASSWORD);
    rpf_url_setPath(url.get(), nullptr);
    rpf_url_set_passWord(url.get(), "x");
    rpf_ravix_url_set_type(url.get(), RPF_URL_ITEM_ALIAS);
    url->size = 77;
    EXPECT_EQ(describe(url.get()), "0|21|bob|x|h|-|1|77|77|3");
    // Some full forms come out cut short; those rows pin the cut exactly.
    const struct {
        int32_t type, port;
        const char *user, *password, *host, *path, *forms; // full, clean and pathless
    } records[] = {
        {0, 21, "me", "pw", "h", "pub/x", "ftp://me:pw@h/pub/x ftp://me:@h/pub/x ftp://me:@h/"},
        {0, 2121, "anonymous", "pw", "h", "pub/x", "ftp://h:2121/pub/x ftp://h:2121/pub/x ftp://h:2121/"},
        {0, 21210, "me", "pw", "h", "pub/x", "ftp://me:pw@h:21210/pub/ ftp://me:@h:21210/pub/x ftp://me:@h:21210/"},
        {0, -1, "me", "pw", "h", "p", "ftp://me:pw@h:-1/p ftp://me:@h:-1/p ftp://me:@h:-1/"},
        {0, 21, "me", nullptr, "h", nullptr, "ftp://me:@h/ ftp://me:@h/ ftp://me:@h/"},
        {2, 21, "guest", nullptr, "h", "d", "sftp://h:21/d sftp://h:21/d sftp://h:21/"},
        {2, 222222, "u", "p", "h", "abc", "sftp://u:p@h:222222/a sftp://u:@h:222222/abc sftp://u:@h:222222/"},
        {4, 5480, "anonymous", nullptr, "h", "vol", "afp://h:548 afp://h:5480/vol <null>"},
        {5, 445, "anonymous", nullptr, "h", "share", "smb://h:445/sh smb://h:445/share <null>"},
        {5, 1390, "anonymous", nullptr, "h", "share", "smb://h:1390/s smb://h:1390/share <null>"},
        {3, 99, "me", "pw", "h", "/Users/x", "file:///Users/x file:///Users/x file://"},
        {3, 0, nullptr, nullptr, nullptr, nullptr, "file:// file:// file://"},
        {0, 21, nullptr, "pw", "h", "x", "<null> ftp://:@h/x ftp://:@h/"},
        {0, 21, "me", "pw", nullptr, "x", "<null> ftp://me:@/x ftp://me:@/"},
        {5, 139, "guest", nullptr, nullptr, "x", "<null> smb:///x <null>"},
    };
    for (const auto &row : records) {
        Url made(rpf_url_new(row.type, row.user, row.password, row.host, row.port, row.path));
        EXPECT_EQ(take(rpf_url_string(made.get())) + ' ' + take(rpf_url_string_clean(made.get())) + ' ' +
                      take(rpf_url_string_pathless(made.get())),
                  row.forms)
            << "record: " << describe(made.get());
    }
    Url odd(rpf_url_new(1, "me", "pw", "h", 21, "x")), afp(rpf_url_new(RPF_URL_TYPE_AFP, "me", "pw", "h", 548, "x"));
    char *(*const forms[])(const rpf_url *) = {rpf_url_string, rpf_url_string_clean, rpf_url_string_pathless};
    for (int form = 0; form < 7; ++form) { // each form of a null and an odd record, the afp one has no pathless form
        const rpf_url *bad = form < 3 ? nullptr : form < 6 ? odd.get() : afp.get();
        trace.clear();
        EXPECT_EQ(take(forms[form < 6 ? form % 3 : 2](bad)) + ' ' + trace,
                  bad ? "<null> Unsupported URL Type\n" : "<null> Null URL passed in\n")
            << "form " << form % 3 << " of " << describe(bad);
    }
    EXPECT_EQ(rpf_ravix_url(nullptr, 1, 2), nullptr);
    EXPECT_EQ(rpf_url_hasUniquePort(nullptr), 0);
}

TEST_F(UrlTest, EncapsulatedFormsAndAppendingAnItem)
{
    // text, inner|type|size (-7: left as it was)
    const char *const rows[][2] = {
        {"ravix://<a><1><9", "a|1|9"}, {"ravix://<afp://h/vol/f><12><17>", "afp://h/vol/f|12|0"},
        {"ravix://<a><1", "a|1|0"},    {"RAVIX:/!<ftp://h/><3><5>", "ftp://h/|3|5"},
        {"ravix://<>", "|0|0"},        {"ravix://<a><1><-5>", "a|1|-5"},
        {"ravix://<a>>>>>>", "a|0|0"}, {"ravix://<a><x><y>", "a|0|0"},
        {"ravix://", "<null>|-7|-7"},  {"ravix://<ftp://h/", "<null>|-7|-7"},
        {"", "<null>|-7|-7"},
    };
    for (const auto &[text, expected] : rows) {
        int32_t type = -7, size = -7;
        const std::string inner = take(ravix_get_encapsulated_info(text, &type, &size));
        EXPECT_EQ(inner + '|' + std::to_string(type) + '|' + std::to_string(size), expected) << "text: " << text;
    }
    EXPECT_EQ(ravix_get_encapsulated_info(nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(take(ravix_get_encapsulated_info("ravix://<a><1><2>", nullptr, nullptr)), "a");
    // Written from the clean text (no password) into a buffer two ten-digit negatives overflow.
    Url url(rpf_url_new(RPF_URL_TYPE_FTP, "me", "s3cret", "h", 65535, "pub/x"));
    EXPECT_EQ(take(rpf_ravix_url(url.get(), 2, -1)), "ravix://<ftp://me:@h:65535/pub/x><2><-1>");
    Url local(rpf_url_new_local("/a"));
    EXPECT_EQ(take(rpf_ravix_url(local.get(), INT32_MIN, INT32_MIN)), "ravix://<file:///a><-2147483648><-2");
    EXPECT_EQ(take(rpf_ravix_url(local.get(), 12, 2147483647)), "ravix://<file:///a><12><2147483647>");
    int32_t type = 0;
    Url back(rpf_url_ravix_url_to_url("ravix://<ftp://me:@h/pub/x><1><4096>", &type));
    EXPECT_EQ(std::to_string(type) + ' ' + describe(back.get()), "1 0|21|me|-|h|pub/x|0|4096|4096|0");
    for (const char *text : {"ravix://<http://h/><1><5>", "ravix://<ftp://h", "", "ravix"}) {
        type = 5;
        EXPECT_EQ(rpf_url_ravix_url_to_url(text, &type), nullptr) << "text: " << text;
        EXPECT_EQ(type, -1) << "text: " << text;
    }
    EXPECT_EQ(rpf_url_ravix_url_to_url(nullptr, nullptr), nullptr);
    // url, item, type|path ("-": no record)
    const char *const appends[][3] = {
        {"ftp://h/pub", "x", "0|pub/x"}, {"file:///tmp", "a b", "3|/tmp/a b"},
        {"ftp://h", "x", "0|x"},         {"smb://h/share", "", "5|share/"},
        {"afp://h", "v/f", "4|v/f"},     {"http://h", "x", "-"},
        {"ftp://h", nullptr, "-"},       {nullptr, "x", "-"},
    };
    for (const auto &[text, item, expected] : appends) {
        Url made(rpf_url_by_appending_item(text, item));
        EXPECT_EQ(made ? std::to_string(made->type) + '|' + show(made->path) : "-", expected)
            << show(text) << " + " << show(item);
    }
}

} // namespace

namespace {

// The default-port table agrees with what the parsers fill in and with the text forms, which leave a
// default port out; codes that name no remote scheme have none.
TEST(UrlDefaultPort, AgreesWithTheParsersAndTheTextForms)
{
    const std::pair<const char *, int32_t> remote[] = {
        {"ftp://h/p", 21}, {"sftp://h/p", 22}, {"afp://h/p", 548}, {"smb://h/p", 139}};
    rpf_diagnostics_set_stream(nullptr);
    for (const auto &[text, port] : remote) {
        const Url url(rpf_url_new_from_string(text));
        ASSERT_TRUE(url) << text;
        EXPECT_EQ(rpf_url_default_port(url->type), port) << text;
        EXPECT_EQ(url->port, port) << text;
        EXPECT_EQ(rpf_url_hasUniquePort(url.get()), 0) << text;
        url->port = port + 1;
        EXPECT_EQ(rpf_url_hasUniquePort(url.get()), 1) << text;
    }
    rpf_diagnostics_reset();
    for (const int32_t none : {int32_t{RPF_URL_TYPE_FILE}, 1, -1, 6, INT32_MAX})
        EXPECT_EQ(rpf_url_default_port(none), 0) << none;
}

} // namespace

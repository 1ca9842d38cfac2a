#include <rkcore/AssertionFailure.h>
#include <rkcore/RBKeychain.h>
#include <rkcore/RBURL.h>
#include <rkcore/rpf_diagnostics.h>

#include <gtest/gtest.h>

#include "../keychain_test_support.h"
#include "../log_capture.h"

#include <QRegularExpression>

using rk::RBURL;
using rktest::LogCapture;

namespace {

// The core's parser traces stay out of the test output.
class QuietDiagnostics : public testing::Environment {
public:
    void SetUp() override { rpf_diagnostics_set_stream(nullptr); }
    void TearDown() override { rpf_diagnostics_reset(); }
};
testing::Environment *const quietDiagnostics = testing::AddGlobalTestEnvironment(new QuietDiagnostics);

// "user|password|host|port|path|filename|itemName|flags": a(nonymous) f(tp) s(ftp) l(ocal); no port for local URLs.
// The password is the record's (what password() answers before it asks the keychain): these tests run outside
// the private session too, where no keychain may be asked.
QString describe(const RBURL &url)
{
    const auto nullable = [](const QString &text) { return text.isNull() ? QStringLiteral("<null>") : text; };
    const char *password = rpf_url_passWord(url.cstruct());
    const QString flags = QString(url.isAnonymous() ? "a" : "") + (url.isFTPURL() ? "f" : "") +
                          (url.isSecureFTPURL() ? "s" : "") + (url.isLocalFileURL() ? "l" : "");
    const QString port = url.isLocalFileURL() ? "-" : QString::number(url.port());
    return QStringList{url.username(),           nullable(password ? QString::fromUtf8(password) : QString()),
                       nullable(url.hostname()), port,
                       nullable(url.path()),     nullable(url.filename()),
                       nullable(url.itemName()), flags}
        .join('|');
}

#define ANONYMOUS "anonymous|" RPF_URL_ANONYMOUS_PASSWORD

// Rows "text => parts".
TEST(RBURL, PartsOfParsedTexts)
{
    for (const char *row : {"ftp://h/pub => " ANONYMOUS "|h|21|pub|pub|pub|af",
                            "ftp://host/ => " ANONYMOUS "|host|21|<null>|<null>|<null>|af",
                            "sftp://me:pw@host:2222/data/sub/ => me|pw|host|2222|data/sub/|sub||s",
                            "file:///Users/x => No Username|<null>|<null>|-|/Users/x|x|x|l",
                            "file:/// => No Username|<null>|<null>|-|/|/||l",
                            "afp://guest:x@mac/Vol/f => " ANONYMOUS "|mac|548|Vol/f|f|f|a",
                            "smb://u:p@pc:445/share => u|p|pc|445|share|share|share|"}) {
        const QStringList textAndParts = QString(row).split(" => ");
        const auto url = RBURL::initWithString(textAndParts[0]);
        ASSERT_TRUE(url) << row;
        EXPECT_EQ(describe(*url), textAndParts[1]) << row;
        EXPECT_FALSE(url->uriType() || url->itemPointedToIsADirectory() || url->itemPointedToIsAFile() ||
                     url->itemPointedToIsAlias())
            << row;
    }
}

// Refused: NULL answers, and a null string is an assertion failure.
TEST(RBURL, RefusedTexts)
{
    for (const char *text : {"http://h/", "", "ftp:/h", "ravix://<ftp://h/d><1><0>"})
        EXPECT_EQ(RBURL::initWithString(text), nullptr) << text;
    for (const char *text : {"", "ravix://<http://h/><1><0>", "ravix://<ftp://h/d", "ftp://h/d"})
        EXPECT_EQ(RBURL::initWithRavixURLString(text), nullptr) << text;
    EXPECT_EQ(RBURL::initWithRavixURLString(QString()), nullptr);
    EXPECT_EQ(RBURL::newURLByAppending("x", "gopher://h/"), nullptr);
    const LogCapture capture;
    try {
        (void)RBURL::initWithString(QString());
        FAIL() << "no assertion failure";
    } catch (const rk::AssertionFailure &failure) {
        EXPECT_EQ(
            QString("%1|%2|%3|%4").arg(failure.description()).arg(failure.line()).arg(failure.file(), failure.method()),
            "URL String Was NULL|97|RBURL.m|-[RBURL initWithString:]");
    }
}

// Rows "url + item => path".
TEST(RBURL, AppendingAnItemName)
{
    for (const char *row :
         {"ftp://h/pub + x => pub/x", "ftp://h/pub/ + x => pub//x", "ftp://h/ + x => x", "ftp://h + x => x",
          "file:/// + x => /x", "file:///tmp + d\u00e9j\u00e0 => /tmp/d\u00e9j\u00e0",
          "sftp://me:pw@h:2222/a + b c => a/b c"}) {
        const QStringList parts = QString::fromUtf8(row).split(QRegularExpression(" [+=]>? "));
        const auto url = RBURL::newURLByAppending(parts[1], parts[0]);
        ASSERT_TRUE(url) << row;
        EXPECT_EQ(url->path(), parts[2]) << row;
    }
    EXPECT_EQ(RBURL::newURLByAppending("x", "sftp://me:pw@h:2222/a")->urlAsString(), "sftp://me:pw@h:2222/a/x");
}

// The encapsulated form carries the item kind (1 directory, 2 file, 3 alias) and size, and is written back alike.
TEST(RBURL, EncapsulatedTexts)
{
    const std::tuple<const char *, int32_t, int32_t, const char *> rows[] = {
        {"ravix://<ftp://h/d><1><0>", 1, 0, "ftp://h/d"},
        {"ravix://<afp://h/vol/f><2><17>", 2, 17, "afp://h/vol/f"},
        {"ravix://<file:///tmp/a><3><5>", 3, 5, "file:///tmp/a"},
        {"ravix://<ftp://me:@h/pub/x><2><4096>", 2, 4096, "ftp://me:@h/pub/x"}};
    for (const auto &[text, uriType, size, clean] : rows) {
        const auto url = RBURL::initWithRavixURLString(text);
        ASSERT_TRUE(url) << text;
        const int kinds =
            url->itemPointedToIsADirectory() | url->itemPointedToIsAFile() << 1 | url->itemPointedToIsAlias() << 2;
        EXPECT_EQ(kinds, 1 << (uriType - 1)) << text;
        EXPECT_EQ(QString("%1 %2 ").arg(url->uriType()).arg(url->itemSize()) + url->urlAsCleanString(),
                  QString("%1 %2 %3").arg(uriType).arg(size).arg(clean))
            << text;
        EXPECT_EQ(url->urlAsRavixStringWithType(uriType), text) << text;
    }
}

// The full text, the clean one, and the one without a path.
QString texts(const RBURL &url)
{
    return url.urlAsString() + " " + url.urlAsCleanString() + " " + url.urlWithoutPath();
}

TEST(RBURL, TextFormsNeverLeakThePasswordButTheFullOne)
{
    const auto url = RBURL::initWithString("ftp://me:s3cret@h:2121/pub/x");
    EXPECT_EQ(texts(*url), "ftp://me:s3cret@h:2121/pub/x ftp://me:@h:2121/pub/x ftp://me:@h:2121/");
    EXPECT_EQ(url->urlAsRavixStringWithType(1), "ravix://<ftp://me:@h:2121/pub/x><1><0>");
    url->setIsAnonymous(true);
    EXPECT_EQ(describe(*url), ANONYMOUS "|h|2121|pub/x|x|x|af");
    EXPECT_EQ(url->urlAsString(), "ftp://h:2121/pub/x");
    url->setIsAnonymous(false);
    EXPECT_EQ(url->urlAsString(), "ftp://me:s3cret@h:2121/pub/x");
    const auto local = RBURL::newLocalURLForPath(QString::fromUtf8("/tmp/\u00fcber"));
    EXPECT_TRUE(local->isLocalFileURL());
    EXPECT_EQ(texts(*local), QString::fromUtf8("file:///tmp/\u00fcber file:///tmp/\u00fcber file://"));
    EXPECT_EQ(local->uriType(), 0);
}

// A copy carries the password but not the item kind, and changes apart from the original.
TEST(RBURL, CopyAndChanging)
{
    const auto original = RBURL::initWithRavixURLString("ravix://<ftp://me:@h/d><1><512>");
    rpf_url_set_passWord(original->cstruct(), "pw");
    const auto copy = original->copy();
    ASSERT_TRUE(copy);
    EXPECT_EQ(describe(*copy), "me|pw|h|21|d|d|d|f");
    EXPECT_EQ(copy->uriType() + copy->itemSize(), 0);
    copy->setNewPath(QString());
    EXPECT_TRUE(copy->path().isNull() && copy->itemName().isNull());
    copy->setNewPath("a/b");
    EXPECT_EQ(copy->itemName(), "b");
    copy->setURIType(3);
    EXPECT_TRUE(copy->itemPointedToIsAlias() && copy->cstruct()->item_type == 3);
    EXPECT_TRUE(original->path() == "d" && original->uriType() == 1) << "the copy is independent";
    // No full text (a registered login without a host): no copy.
    const auto hostless = RBURL::initWithString("ftp://h/");
    rpf_url_dealloc(hostless->setCStruct(rpf_url_new(RPF_URL_TYPE_FTP, "me", "pw", nullptr, 21, "p")));
    EXPECT_EQ(hostless->copy(), nullptr);
}

// Tests that reach the session's Secret Service; hosts of their own, removed afterwards.
class RBURLKeychain : public testing::Test {
protected:
    void SetUp() override
    {
        if (!rktest::inPrivateSession()) GTEST_SKIP() << rktest::kNeedsPrivateSession;
        host = rktest::uniqueTestHost();
    }
    void TearDown() override
    {
        for (const uint16_t port : {21, 22, 0})
            keychain.deleteInternetPassword("", host, "me", port);
    }
    std::shared_ptr<RBURL> url(const char *pattern) const { return RBURL::initWithString(QString(pattern).arg(host)); }
    QString host;
    rk::RBKeychain &keychain = rk::RBKeychain::sharedKeychain();
    const LogCapture capture;
};

// Not found is not remembered; once found, the URL keeps what it was told. Anonymous logins never ask.
TEST_F(RBURLKeychain, PasswordAsksTheKeychainUntilFound)
{
    const auto sftp = url("sftp://me:@%1/data");
    EXPECT_TRUE(sftp->password().isNull());
    EXPECT_EQ(capture.lines(), QStringList({"RBKeychain : No Item Found"}));
    ASSERT_TRUE(keychain.setInternetPassword("first-kc", host, "me", 22));
    EXPECT_EQ(sftp->password(), "first-kc");
    ASSERT_TRUE(keychain.setInternetPassword("second-kc", host, "me", 22));
    EXPECT_EQ(sftp->password(), "first-kc");
    EXPECT_EQ(texts(*sftp), QString("sftp://me:first-kc@%1/data sftp://me:@%1/data sftp://me:@%1/").arg(host));
    capture.lines().clear();
    EXPECT_EQ(url("ftp://%1/")->password(), RPF_URL_ANONYMOUS_PASSWORD);
    EXPECT_TRUE(capture.lines().isEmpty());
}

TEST_F(RBURLKeychain, SavingThePassword)
{
    EXPECT_TRUE(url("ftp://me:saved-pw@%1/pub")->_savePasswordInKeychain());
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, "me", 21), "saved-pw");
    // A local file URL with user and host: YES, and nothing stored.
    const auto local = RBURL::newLocalURLForPath("/tmp");
    rpf_url_dealloc(
        local->setCStruct(rpf_url_new(RPF_URL_TYPE_FILE, "me", "local-pw", host.toUtf8().constData(), 0, "/tmp")));
    EXPECT_TRUE(local->_savePasswordInKeychain());
    EXPECT_TRUE(keychain.findInternetPasswordForHost(host, "me", 0).isNull());
    // No password anywhere, or no host: NO.
    EXPECT_FALSE(url("ftp://me:@%1x/")->_savePasswordInKeychain());
    EXPECT_FALSE(RBURL::newLocalURLForPath("/tmp")->_savePasswordInKeychain());
}

TEST_F(RBURLKeychain, DumpShowsThePasswordOnItsOwnLineOnly)
{
    ASSERT_TRUE(keychain.setInternetPassword("dump-pw", host, "me", 21));
    const auto ftp = url("ftp://me:@%1:21/pub/x");
    capture.lines().clear();
    ftp->dump();
    const QString expected = QString("RBURL Dump\n\tGeneral Info\n\t\tUsername : me\n\t\tPassword : dump-pw\n"
                                     "\t\tPort : 21\n\t\tPath/Share : pub/x\n\t\tHostname : %1\n\tOutput Formats\n"
                                     "\t\tRavix URL : ravix://<ftp://me:@%1/pub/x><2><0>\n"
                                     "\t\tClean String : ftp://me:@%1/pub/x\n"
                                     "\t\tURL : ftp://me:********@%1/pub/x\nEnd RBURL Dump")
                                 .arg(host);
    EXPECT_EQ(capture.lines(), expected.split('\n')) << capture.lines().join('\n').toStdString();
}

} // namespace

#include <rkcore/AssertionFailure.h>
#include <rkcore/RBKeychain.h>
#include <rkcore/RBURL.h>
#include <rkcore/rpf_diagnostics.h>

#include <gtest/gtest.h>

#include "../keychain_test_support.h"
#include "../log_capture.h"

#include <QCoreApplication>
#include <QStringList>

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

QString nullable(const QString &text)
{
    return text.isNull() ? QStringLiteral("<null>") : text;
}

TEST(RBURL, PartsOfParsedTexts)
{
    const LogCapture capture; // the keychain is asked for the missing passwords
    const struct {
        const char *text;
        const char *username, *password, *hostname;
        long port; // pointer-sized: no padding between the texts
        const char *path, *filename, *itemName;
        bool anonymous, ftp, sftp, local;
    } rows[] = {
        {"ftp://h/pub", "anonymous", RPF_URL_ANONYMOUS_PASSWORD, "h", 21, "pub", "pub", "pub", true, true, false,
         false},
        {"ftp://host", "anonymous", RPF_URL_ANONYMOUS_PASSWORD, "host", 21, "<null>", "<null>", "<null>", true, true,
         false, false},
        {"ftp://host/", "anonymous", RPF_URL_ANONYMOUS_PASSWORD, "host", 21, "<null>", "<null>", "<null>", true, true,
         false, false},
        {"sftp://me:pw@host:2222/data/sub/", "me", "pw", "host", 2222, "data/sub/", "sub", "", false, false, true,
         false},
        {"ftp://me:pw@h/pub/x", "me", "pw", "h", 21, "pub/x", "x", "x", false, true, false, false},
        {"file:///Users/x", "No Username", "<null>", "<null>", 0, "/Users/x", "x", "x", false, false, false, true},
        {"file:///", "No Username", "<null>", "<null>", 0, "/", "/", "", false, false, false, true},
        {"afp://guest:x@mac/Vol/f", "anonymous", RPF_URL_ANONYMOUS_PASSWORD, "mac", 548, "Vol/f", "f", "f", true, false,
         false, false},
        {"smb://u:p@pc:445/share", "u", "p", "pc", 445, "share", "share", "share", false, false, false, false},
    };
    for (const auto &row : rows) {
        const auto url = RBURL::initWithString(QString::fromUtf8(row.text));
        ASSERT_TRUE(url) << row.text;
        EXPECT_EQ(url->username(), QString::fromUtf8(row.username)) << row.text;
        EXPECT_EQ(nullable(url->password()), QString::fromUtf8(row.password)) << row.text;
        EXPECT_EQ(nullable(url->hostname()), QString::fromUtf8(row.hostname)) << row.text;
        EXPECT_TRUE(row.local || url->port() == row.port) << row.text << " port " << url->port();
        EXPECT_EQ(nullable(url->path()), QString::fromUtf8(row.path)) << row.text;
        EXPECT_EQ(nullable(url->filename()), QString::fromUtf8(row.filename)) << row.text;
        EXPECT_EQ(nullable(url->itemName()), QString::fromUtf8(row.itemName)) << row.text;
        EXPECT_EQ(url->isAnonymous(), row.anonymous) << row.text;
        EXPECT_EQ(url->isFTPURL(), row.ftp) << row.text;
        EXPECT_EQ(url->isSecureFTPURL(), row.sftp) << row.text;
        EXPECT_EQ(url->isLocalFileURL(), row.local) << row.text;
        EXPECT_EQ(url->uriType(), 0) << row.text;
        EXPECT_FALSE(url->itemPointedToIsADirectory() || url->itemPointedToIsAFile() || url->itemPointedToIsAlias());
    }
}

TEST(RBURL, RefusedTexts)
{
    for (const char *text : {"http://h/", "", "ftp:/h", "ravix://<ftp://h/d><1><0>"}) {
        EXPECT_EQ(RBURL::initWithString(QString::fromUtf8(text)), nullptr) << text;
    }
    for (const char *text : {"", "ravix://<http://h/><1><0>", "ravix://<ftp://h/d", "ftp://h/d"}) {
        EXPECT_EQ(RBURL::initWithRavixURLString(QString::fromUtf8(text)), nullptr) << text;
    }
    EXPECT_EQ(RBURL::initWithRavixURLString(QString()), nullptr);
    EXPECT_EQ(RBURL::newURLByAppending(QStringLiteral("x"), QStringLiteral("gopher://h/")), nullptr);
}

TEST(RBURL, NullStringIsAnAssertionFailure)
{
    const LogCapture capture;
    try {
        (void)RBURL::initWithString(QString());
        FAIL() << "no assertion failure";
    } catch (const rk::AssertionFailure &failure) {
        EXPECT_EQ(failure.description(), QStringLiteral("URL String Was NULL"));
        EXPECT_EQ(failure.line(), 97);
        EXPECT_EQ(failure.file(), QStringLiteral("RBURL.m"));
        EXPECT_EQ(failure.method(), QStringLiteral("-[RBURL initWithString:]"));
    }
    // The empty text is a text: simply not a URL.
    EXPECT_EQ(RBURL::initWithString(QStringLiteral("")), nullptr);
}

TEST(RBURL, AppendingAnItemName)
{
    const struct {
        const char *url;
        const char *item;
        const char *path;
    } rows[] = {
        {"ftp://h/pub", "x", "pub/x"},
        {"ftp://h/pub/", "x", "pub//x"},
        {"ftp://h/", "x", "x"}, // no path: the item at the top
        {"ftp://h", "x", "x"},
        {"file:///", "x", "/x"},
        {"file:///tmp", "d\u00e9j\u00e0", "/tmp/d\u00e9j\u00e0"},
        {"sftp://me:pw@h:2222/a", "b c", "a/b c"},
    };
    for (const auto &row : rows) {
        const auto url = RBURL::newURLByAppending(QString::fromUtf8(row.item), QString::fromUtf8(row.url));
        ASSERT_TRUE(url) << row.url;
        EXPECT_EQ(url->path(), QString::fromUtf8(row.path)) << row.url << " + " << row.item;
    }
    const auto appended = RBURL::newURLByAppending(QStringLiteral("x"), QStringLiteral("sftp://me:pw@h:2222/a"));
    EXPECT_EQ(appended->urlAsString(), QStringLiteral("sftp://me:pw@h:2222/a/x"));
}

TEST(RBURL, EncapsulatedTexts)
{
    const struct {
        const char *text;
        int32_t uriType;
        int32_t size;
        const char *url;
    } rows[] = {
        {"ravix://<ftp://h/d><1><0>", 1, 0, "ftp://h/d"},
        {"ravix://<afp://h/vol/f><2><17>", 2, 17, "afp://h/vol/f"},
        {"ravix://<file:///tmp/a><3><5>", 3, 5, "file:///tmp/a"},
        {"ravix://<ftp://me:@h/pub/x><2><4096>", 2, 4096, "ftp://me:@h/pub/x"},
    };
    for (const auto &row : rows) {
        const auto url = RBURL::initWithRavixURLString(QString::fromUtf8(row.text));
        ASSERT_TRUE(url) << row.text;
        EXPECT_EQ(url->uriType(), row.uriType) << row.text;
        EXPECT_EQ(url->itemPointedToIsADirectory(), row.uriType == 1) << row.text;
        EXPECT_EQ(url->itemPointedToIsAFile(), row.uriType == 2) << row.text;
        EXPECT_EQ(url->itemPointedToIsAlias(), row.uriType == 3) << row.text;
        EXPECT_EQ(url->itemSize(), row.size) << row.text;
        EXPECT_EQ(url->urlAsCleanString(), QString::fromUtf8(row.url)) << row.text;
        // The encapsulated form written back carries the record's size.
        EXPECT_EQ(url->urlAsRavixStringWithType(row.uriType), QString::fromUtf8(row.text)) << row.text;
    }
}

TEST(RBURL, TextFormsNeverLeakThePasswordButTheFullOne)
{
    const auto url = RBURL::initWithString(QStringLiteral("ftp://me:s3cret@h:2121/pub/x"));
    ASSERT_TRUE(url);
    EXPECT_EQ(url->urlAsString(), QStringLiteral("ftp://me:s3cret@h:2121/pub/x"));
    EXPECT_EQ(url->urlAsCleanString(), QStringLiteral("ftp://me:@h:2121/pub/x"));
    EXPECT_EQ(url->urlWithoutPath(), QStringLiteral("ftp://me:@h:2121/"));
    EXPECT_EQ(url->urlAsRavixStringWithType(1), QStringLiteral("ravix://<ftp://me:@h:2121/pub/x><1><0>"));

    const auto local = RBURL::newLocalURLForPath(QStringLiteral("/tmp/\u00fcber"));
    ASSERT_TRUE(local);
    EXPECT_TRUE(local->isLocalFileURL());
    EXPECT_EQ(local->urlAsString(), QStringLiteral("file:///tmp/\u00fcber"));
    EXPECT_EQ(local->urlWithoutPath(), QStringLiteral("file://"));
    EXPECT_EQ(local->uriType(), 0);
}

TEST(RBURL, CopyCarriesThePasswordButNotTheItemKind)
{
    const auto original = RBURL::initWithRavixURLString(QStringLiteral("ravix://<ftp://me:@h/d><1><512>"));
    ASSERT_TRUE(original);
    rpf_url_set_passWord(original->cstruct(), "pw");
    const auto copy = original->copy();
    ASSERT_TRUE(copy);
    EXPECT_NE(copy->cstruct(), original->cstruct());
    EXPECT_EQ(copy->password(), QStringLiteral("pw"));
    EXPECT_EQ(copy->path(), QStringLiteral("d"));
    EXPECT_EQ(copy->uriType(), 0);
    EXPECT_EQ(copy->itemSize(), 0);
    copy->setNewPath(QStringLiteral("other"));
    EXPECT_EQ(original->path(), QStringLiteral("d")) << "the copy is independent";

    // No full text (a registered login without a host): no copy.
    const auto hostless = RBURL::initWithString(QStringLiteral("ftp://h/"));
    rpf_url *previous = hostless->setCStruct(rpf_url_new(RPF_URL_TYPE_FTP, "me", "pw", nullptr, 21, "p"));
    rpf_url_dealloc(previous);
    EXPECT_EQ(hostless->copy(), nullptr);
}

TEST(RBURL, Changing)
{
    const auto url = RBURL::initWithString(QStringLiteral("ftp://me:pw@h/pub"));
    ASSERT_TRUE(url);
    url->setIsAnonymous(true);
    EXPECT_TRUE(url->isAnonymous());
    EXPECT_EQ(url->username(), QStringLiteral("anonymous"));
    EXPECT_EQ(url->urlAsString(), QStringLiteral("ftp://h/pub"));
    url->setIsAnonymous(false);
    EXPECT_EQ(url->urlAsString(), QStringLiteral("ftp://me:pw@h/pub"));
    url->setNewPath(QString());
    EXPECT_TRUE(url->path().isNull());
    EXPECT_TRUE(url->itemName().isNull());
    url->setNewPath(QStringLiteral("a/b"));
    EXPECT_EQ(url->itemName(), QStringLiteral("b"));
    url->setURIType(3);
    EXPECT_TRUE(url->itemPointedToIsAlias());
    EXPECT_EQ(url->cstruct()->item_type, 3);
}

// Tests that reach the session's Secret Service; hosts of their own, removed afterwards.
class RBURLKeychain : public testing::Test {
protected:
    void SetUp() override
    {
        if (!rktest::hasSessionBus()) GTEST_SKIP() << rktest::kNeedsSessionBus;
        host = rktest::uniqueTestHost();
    }
    void TearDown() override
    {
        for (const uint16_t port : {21, 22, 0}) {
            keychain.deleteInternetPassword(QStringLiteral(""), host, QStringLiteral("me"), port);
        }
    }
    QString host;
    rk::RBKeychain &keychain = rk::RBKeychain::sharedKeychain();
};

TEST_F(RBURLKeychain, PasswordAsksTheKeychainOnce)
{
    ASSERT_TRUE(keychain.setInternetPassword(QStringLiteral("first-kc"), host, QStringLiteral("me"), 22));
    const auto url = RBURL::initWithString(QStringLiteral("sftp://me:@%1/data").arg(host));
    ASSERT_TRUE(url);
    EXPECT_EQ(url->password(), QStringLiteral("first-kc"));
    // The keychain changes; the URL keeps what it was told.
    ASSERT_TRUE(keychain.setInternetPassword(QStringLiteral("second-kc"), host, QStringLiteral("me"), 22));
    EXPECT_EQ(url->password(), QStringLiteral("first-kc"));
    EXPECT_EQ(url->urlAsString(), QStringLiteral("sftp://me:first-kc@%1/data").arg(host));
    EXPECT_EQ(url->urlAsCleanString(), QStringLiteral("sftp://me:@%1/data").arg(host));
}

TEST_F(RBURLKeychain, PasswordNotFoundAnywhere)
{
    const LogCapture capture;
    const auto url = RBURL::initWithString(QStringLiteral("ftp://me:@%1/").arg(host));
    EXPECT_TRUE(url->password().isNull());
    EXPECT_EQ(capture.lines(), QStringList({"RBKeychain : No Item Found"}));
    // Nothing found is not remembered: the next call asks again and finds it.
    ASSERT_TRUE(keychain.setInternetPassword(QStringLiteral("later"), host, QStringLiteral("me"), 21));
    EXPECT_EQ(url->password(), QStringLiteral("later"));
    // Anonymous logins have their own password and never ask.
    capture.lines().clear();
    const auto anonymous = RBURL::initWithString(QStringLiteral("ftp://%1/").arg(host));
    EXPECT_EQ(anonymous->password(), QStringLiteral(RPF_URL_ANONYMOUS_PASSWORD));
    EXPECT_TRUE(capture.lines().isEmpty());
}

TEST_F(RBURLKeychain, SavingThePassword)
{
    const auto remote = RBURL::initWithString(QStringLiteral("ftp://me:saved-pw@%1/pub").arg(host));
    EXPECT_TRUE(remote->_savePasswordInKeychain());
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("me"), 21), QStringLiteral("saved-pw"));

    // A local file URL with user and host: YES, and nothing stored.
    const auto local = RBURL::newLocalURLForPath(QStringLiteral("/tmp"));
    rpf_url_dealloc(
        local->setCStruct(rpf_url_new(RPF_URL_TYPE_FILE, "me", "local-pw", host.toUtf8().constData(), 0, "/tmp")));
    EXPECT_TRUE(local->_savePasswordInKeychain());
    const LogCapture capture;
    EXPECT_TRUE(keychain.findInternetPasswordForHost(host, QStringLiteral("me"), 0).isNull());

    // No password anywhere, or no host: NO.
    const auto without = RBURL::initWithString(QStringLiteral("ftp://me:@%1/").arg(host + QStringLiteral("x")));
    EXPECT_FALSE(without->_savePasswordInKeychain());
    EXPECT_FALSE(RBURL::newLocalURLForPath(QStringLiteral("/tmp"))->_savePasswordInKeychain());
}

TEST_F(RBURLKeychain, DumpShowsThePasswordOnItsOwnLineOnly)
{
    ASSERT_TRUE(keychain.setInternetPassword(QStringLiteral("dump-pw"), host, QStringLiteral("me"), 21));
    const auto url = RBURL::initWithString(QStringLiteral("ftp://me:@%1:21/pub/x").arg(host));
    const LogCapture capture;
    url->dump();
    const QStringList expected = {
        QStringLiteral("RBURL Dump"),
        QStringLiteral("\tGeneral Info"),
        QStringLiteral("\t\tUsername : me"),
        QStringLiteral("\t\tPassword : dump-pw"),
        QStringLiteral("\t\tPort : 21"),
        QStringLiteral("\t\tPath/Share : pub/x"),
        QStringLiteral("\t\tHostname : %1").arg(host),
        QStringLiteral("\tOutput Formats"),
        QStringLiteral("\t\tRavix URL : ravix://<ftp://me:@%1/pub/x><2><0>").arg(host),
        QStringLiteral("\t\tClean String : ftp://me:@%1/pub/x").arg(host),
        QStringLiteral("\t\tURL : ftp://me:********@%1/pub/x").arg(host),
        QStringLiteral("End RBURL Dump"),
    };
    EXPECT_EQ(capture.lines(), expected) << capture.lines().join('\n').toStdString();
    for (const QString &line : capture.lines()) {
        EXPECT_EQ(line.contains(QStringLiteral("dump-pw")), line.startsWith(QStringLiteral("\t\tPassword : ")))
            << line.toStdString();
    }
}

} // namespace

// RBKeychain on the session's Secret Service, cross-checked with secret-tool
// (a client nobody here wrote). The rkcore keychain command is tested with the
// tool (tests/tools/usability_test.cpp).
#include <rkcore/RBKeychain.h>

#include <gtest/gtest.h>

#include "../keychain_test_support.h"
#include "../log_capture.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <functional>
#include <thread>

using rk::RBKeychain;
using rktest::LogCapture;

namespace {

struct ProcessResult {
    int exitCode = -1;
    QByteArray rawOut;
    QString out, err;
};

// Runs program and arguments (killed by QProcess's destructor if it hangs).
ProcessResult run(const QStringList &call, const QByteArray &input = {},
                  const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(call.first(), call.mid(1));
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit) return {};
    const QByteArray out = process.readAllStandardOutput();
    return {process.exitCode(), out, QString::fromUtf8(out), QString::fromUtf8(process.readAllStandardError())};
}

// Runs a command against a password store of its own (unlocked, locked or without a collection).
const QString kWithKeyring = RKCORE_WITH_KEYRING;

// Every test works on hosts of its own and removes its items afterwards; no
// message may ever contain one of the test passwords.
class Keychain : public testing::Test {
protected:
    void SetUp() override
    {
        if (!rktest::inPrivateSession()) GTEST_SKIP() << rktest::kNeedsPrivateSession;
        host = rktest::uniqueTestHost();
    }
    void TearDown() override
    {
        for (const char *secret : kSecrets)
            EXPECT_FALSE(capture.lines().join('\n').contains(QString::fromUtf8(secret))) << "logged: " << secret;
        for (const char *key : {"server", "service"})
            (void)run({"secret-tool", "clear", key, host});
    }
    static QString secret(int i) { return QString::fromUtf8(kSecrets[i]); }
    QStringList attributes(const QString &user, int port) const
    {
        return {"server", host, "account", user, "port", QString::number(port), "protocol", "ftp ", "authtype", "0"};
    }
    // Items secret-tool finds for these attributes.
    static qsizetype countItems(const QStringList &attributes)
    {
        const QString out = run(QStringList{"secret-tool", "search", "--all"} + attributes).out;
        return out.count(QRegularExpression("^\\[/", QRegularExpression::MultilineOption));
    }
    QString find(const QString &user, uint16_t port) { return keychain.findInternetPasswordForHost(host, user, port); }
    // Clears the log, runs the call, and expects exactly this one message.
    template <typename Call> void expectLogged(Call call, const char *message, const char *label = "")
    {
        capture.lines().clear();
        call();
        EXPECT_EQ(capture.lines(), QStringList{message}) << label;
    }

    static constexpr const char *kSecrets[] = {"first-Secret-1", "second-Secret-2", "p\u00e4ssw\u00f6rd",
                                               "tool-Secret-3"};
    QString host;
    RBKeychain &keychain = RBKeychain::sharedKeychain();
    LogCapture capture;
};

// Items are told apart by user and port, and secret-tool finds each with every attribute as stated (printed on
// standard error): SFTP and AFP logins are stored under "ftp " too.
TEST_F(Keychain, ItemsAreToldApartAndSecretToolFindsThem)
{
    const std::tuple<const char *, uint16_t, const char *> rows[] = {
        {"me", 21, "a"}, {"me", 22, "b"}, {"you", 21, "c"}, {"me", 0, "d"}, {"", 21, "e"}, {"me", 548, "f"}};
    for (const auto &[user, port, password] : rows)
        ASSERT_TRUE(keychain.setInternetPassword(password, host, user, port));
    for (const auto &[user, port, password] : rows) {
        EXPECT_EQ(find(user, port), password) << "user \"" << user << "\" port " << port;
        const QStringList item = attributes(user, port);
        EXPECT_EQ(run(QStringList{"secret-tool", "lookup"} + item).out, password) << "port " << port;
        const QString err = run(QStringList{"secret-tool", "search"} + item).err;
        for (qsizetype i = 0; i < item.size(); i += 2)
            EXPECT_TRUE(err.contains(QString("attribute.%1 = %2\n").arg(item[i], item[i + 1]))) << err.toStdString();
    }
}

// Storing over another client's item, and over our own, replaces it rather than adding a second one.
TEST_F(Keychain, FindsItemsSecretToolStoredAndStoringReplaces)
{
    const QStringList item = attributes("them", 22);
    ASSERT_EQ(run(QStringList{"secret-tool", "store", "--label=elsewhere"} + item, kSecrets[3]).exitCode, 0);
    EXPECT_EQ(find("them", 22), secret(3));
    for (const int i : {0, 1}) {
        EXPECT_TRUE(keychain.setInternetPassword(secret(i), host, "them", 22));
        EXPECT_EQ(countItems(item), 1);
        EXPECT_EQ(find("them", 22), secret(i));
    }
    EXPECT_TRUE(capture.lines().isEmpty()) << capture.lines().join('\n').toStdString();
    ASSERT_EQ(
        run({"secret-tool", "store", "--label=generic", "service", host, "account", "them"}, kSecrets[3]).exitCode, 0);
    EXPECT_EQ(keychain.findGenericPasswordForHost(host, "them"), secret(3));
}

// Separate stores, what each logs for a missing item, and deleting (which ignores the password but needs
// its C string).
TEST_F(Keychain, GenericAndInternetStoresAndDeleting)
{
    ASSERT_TRUE(keychain.setGenericPassword(secret(0), host, "me"));
    expectLogged([&] { EXPECT_TRUE(find("me", 21).isNull()); }, "RBKeychain : No Item Found");
    ASSERT_TRUE(keychain.setInternetPassword(secret(1), host, "me", 21));
    EXPECT_EQ(run({"secret-tool", "lookup", "service", host, "account", "me"}).out, secret(0));
    ASSERT_TRUE(keychain.setGenericPassword(secret(1), host, "me")); // replaces as well
    EXPECT_EQ(countItems({"service", host, "account", "me"}), 1);
    EXPECT_TRUE(keychain.deleteGenericPasswordForHost(host, "me"));
    EXPECT_FALSE(keychain.deleteGenericPasswordForHost(host, "me"));
    expectLogged([&] { EXPECT_TRUE(keychain.findGenericPasswordForHost(host, "me").isNull()); },
                 "Keychain Error : -25300");
    EXPECT_EQ(find("me", 21), secret(1));
    expectLogged([&] { keychain.deleteInternetPassword(QString(QChar(0xD800)), host, "me", 21); },
                 "Password C String All Fucked Up");
    EXPECT_EQ(countItems(attributes("me", 21)), 1) << "nothing deleted";
    keychain.deleteInternetPassword("not the stored one", host, "me", 21);
    EXPECT_EQ(countItems(attributes("me", 21)), 0);
    keychain.deleteInternetPassword("", host, "me", 21); // nothing left: no effect
}

// Passwords are stored as their UTF-8 bytes (what secret-tool reads back byte for byte) and read back
// as UTF-8, within 256 bytes counted in UTF-8.
TEST_F(Keychain, PasswordsAreUtf8CStringsOfAtMost256Bytes)
{
    const QString key = QString::fromUtf8("\U0001F511"); // 4 bytes in UTF-8
    const QString exact = key.repeated(64);              // 256 bytes, 128 UTF-16 units
    const QString tooLong = exact + QLatin1Char('x');    // 257 bytes
    ASSERT_EQ(exact.toUtf8().size(), RBKeychain::kPasswordBufferSize);
    const QString unpaired = QString("ab") + QChar(0xD800); // a lone surrogate: no UTF-8 form
    // label, stored, read back (null: refused, with the messages below)
    const std::tuple<const char *, QString, QString> rows[] = {
        {"Latin-1 letters", secret(2), secret(2)},
        {"Cyrillic", QString::fromUtf8("\u043f\u0430\u0440\u043e\u043b\u044c"),
         QString::fromUtf8("\u043f\u0430\u0440\u043e\u043b\u044c")},
        {"euro sign", QString::fromUtf8("12\u20ac"), QString::fromUtf8("12\u20ac")},
        {"emoji", QString::fromUtf8("k\U0001F511y"), QString::fromUtf8("k\U0001F511y")},
        {"snowman", QString::fromUtf8("snow\u2603"), QString::fromUtf8("snow\u2603")},
        {"empty", "", ""},
        {"cut at a NUL", QString("ab") + QChar(0) + "cd", "ab"},
        {"256 UTF-8 bytes", exact, exact},
        {"255 bytes and a euro sign", QString(253, 'e') + QString::fromUtf8("\u20ac"),
         QString(253, 'e') + QString::fromUtf8("\u20ac")},
        {"unpaired surrogate", unpaired, QString()},
        {"null", QString(), QString()}};
    for (const auto &[label, stored, readBack] : rows) {
        if (!readBack.isNull()) {
            EXPECT_TRUE(keychain.setInternetPassword(stored, host, "u", 21)) << label;
            EXPECT_EQ(RBKeychain::lastResultCode(), RBKeychain::kNoErr) << label;
            const QString found = find("u", 21);
            EXPECT_TRUE(found == readBack && !found.isNull()) << label;
            EXPECT_EQ(run(QStringList{"secret-tool", "lookup"} + attributes("u", 21)).rawOut, readBack.toUtf8())
                << label;
            EXPECT_TRUE(keychain.setGenericPassword(stored, host, "u")) << label;
            EXPECT_EQ(keychain.findGenericPasswordForHost(host, "u"), readBack) << label;
            continue;
        }
        const QString &refused = stored; // a lambda may not capture a structured binding (before clang 16)
        expectLogged([&] { EXPECT_FALSE(keychain.setInternetPassword(refused, host, "u", 21)); },
                     "Password C String All Fucked Up", label);
        EXPECT_EQ(RBKeychain::lastResultCode(), RBKeychain::kNotAvailable) << label;
        expectLogged([&] { EXPECT_FALSE(keychain.setGenericPassword(refused, host, "u")); },
                     "Password C String was NULL", label);
    }
    // Longer ones are stored, but not read back.
    ASSERT_TRUE(keychain.setInternetPassword(tooLong, host, "u", 21));
    expectLogged([&] { EXPECT_TRUE(find("u", 21).isNull()); }, "RBKeychain : Buffer be to small");
    EXPECT_EQ(RBKeychain::lastResultCode(), RBKeychain::kBufferTooSmall);
    ASSERT_TRUE(keychain.setGenericPassword(tooLong, host, "u"));
    expectLogged([&] { EXPECT_TRUE(keychain.findGenericPasswordForHost(host, "u").isNull()); },
                 "Keychain Error : -25301");
}

// UTF-8 both ways with secret-tool: what it stores reads back as the same text (also at exactly 256 bytes,
// and as "buffer too small" at 257), and what we store it prints byte for byte.
TEST_F(Keychain, Utf8InteroperatesWithSecretTool)
{
    const QString exact = QString::fromUtf8("\u20ac").repeated(85) + QLatin1Char('z'); // 256 bytes
    const QStringList texts = {QString::fromUtf8("\u043f\u0430\u0440\u043e\u043b\u044c \u20ac \U0001F600"), exact,
                               exact + QLatin1Char('!')};
    for (const QString &text : texts) {
        const QByteArray bytes = text.toUtf8();
        ASSERT_EQ(run(QStringList{"secret-tool", "store", "--label=x", "xdg:schema", "org.ravix.InternetPassword"} +
                          attributes("them", 21),
                      bytes)
                      .exitCode,
                  0);
        const QString found = find("them", 21);
        if (bytes.size() <= RBKeychain::kPasswordBufferSize) {
            EXPECT_EQ(found, text) << bytes.size() << " bytes";
            EXPECT_EQ(RBKeychain::lastResultCode(), RBKeychain::kNoErr);
        } else {
            EXPECT_TRUE(found.isNull()) << bytes.size() << " bytes";
            EXPECT_EQ(RBKeychain::lastResultCode(), RBKeychain::kBufferTooSmall);
        }
        ASSERT_TRUE(keychain.setInternetPassword(text, host, "us", 548));
        EXPECT_EQ(run(QStringList{"secret-tool", "lookup"} + attributes("us", 548)).rawOut, bytes);
    }
}

// The thread's last result code after each kind of call, and deletes that say whether they found anything.
TEST_F(Keychain, LastResultCodeFollowsEveryCall)
{
    // label, call, code afterwards
    const std::tuple<const char *, std::function<void()>, int32_t> rows[] = {
        {"find missing", [&] { (void)find("me", 21); }, RBKeychain::kItemNotFound},
        {"set", [&] { (void)keychain.setInternetPassword(secret(0), host, "me", 21); }, RBKeychain::kNoErr},
        {"find", [&] { (void)find("me", 21); }, RBKeychain::kNoErr},
        {"set without a C string", [&] { (void)keychain.setInternetPassword(QString(QChar(0xDC00)), host, "me", 21); },
         RBKeychain::kNotAvailable},
        {"delete", [&] { keychain.deleteInternetPassword("", host, "me", 21); }, RBKeychain::kNoErr},
        {"delete again", [&] { keychain.deleteInternetPassword("", host, "me", 21); }, RBKeychain::kItemNotFound},
        {"generic find missing", [&] { (void)keychain.findGenericPasswordForHost(host, "me"); },
         RBKeychain::kItemNotFound},
        {"generic set", [&] { (void)keychain.setGenericPassword(secret(1), host, "me"); }, RBKeychain::kNoErr},
        {"generic delete", [&] { EXPECT_TRUE(keychain.deleteGenericPasswordForHost(host, "me")); }, RBKeychain::kNoErr},
        {"generic delete again", [&] { EXPECT_FALSE(keychain.deleteGenericPasswordForHost(host, "me")); },
         RBKeychain::kItemNotFound},
    };
    for (const auto &[label, call, code] : rows) {
        capture.lines().clear();
        call();
        EXPECT_EQ(RBKeychain::lastResultCode(), code) << label;
    }
    // The code is the calling thread's own.
    int32_t other = 1;
    std::thread([&] { other = RBKeychain::lastResultCode(); }).join();
    EXPECT_EQ(other, RBKeychain::kNoErr);
    EXPECT_EQ(RBKeychain::lastResultCode(), RBKeychain::kItemNotFound);
    capture.lines().clear();
    keychain.deleteInternetPassword("", host, "nobody", 21);
    EXPECT_TRUE(capture.lines().isEmpty()) << "nothing to delete is no failure";
}

} // namespace

namespace {

// ---- a store that cannot be used: run in a process of its own ----
// libsecret keeps its connection for the process's life, so each situation gets a fresh test process (this
// program, filtered to KeychainChild) on a bus of its own; the child learns the expected code from
// RKCORE_KEYCHAIN_CHILD_EXPECT and is skipped anywhere else.

constexpr const char *kChildExpect = "RKCORE_KEYCHAIN_CHILD_EXPECT";

// Every call answers `expected` as its last result code; the messages and answers are those of a store
// that reports that code (no default keychain: the table's messages; a locked collection: an unknown code,
// which a store counts as stored and a find answers as "").
TEST(KeychainChild, EveryCallAnswersTheStoresCode)
{
    if (qEnvironmentVariableIsEmpty(kChildExpect)) GTEST_SKIP() << "run by KeychainUnusable only";
    const int32_t expected = qEnvironmentVariableIntValue(kChildExpect);
    const bool locked = expected == RBKeychain::kInteractionNotAllowed;
    const QString noDefault = "RBKeychain : No Default Keychain";
    const QString code = QString("Keychain Error : %1").arg(expected);
    RBKeychain &keychain = RBKeychain::sharedKeychain();
    const QString host = "child.rkcore-test.invalid";
    const LogCapture capture;
    // label, call (answers whether its answer was right), message
    const std::tuple<const char *, std::function<bool()>, QString> rows[] = {
        {"set", [&] { return keychain.setInternetPassword("pw", host, "u", 21) == locked; }, locked ? code : noDefault},
        {"find", [&] { return keychain.findInternetPasswordForHost(host, "u", 21) == (locked ? "" : QString()); },
         locked ? code : noDefault},
        {"delete", [&] { return keychain.deleteInternetPassword("", host, "u", 21), true; }, locked ? code : noDefault},
        {"generic set", [&] { return keychain.setGenericPassword("pw", host, "u") == locked; },
         locked ? code : noDefault},
        {"generic find", [&] { return keychain.findGenericPasswordForHost(host, "u").isNull(); }, code},
        {"generic delete", [&] { return !keychain.deleteGenericPasswordForHost(host, "u"); },
         locked ? code : noDefault},
    };
    for (const auto &[label, call, message] : rows) {
        capture.lines().clear();
        EXPECT_TRUE(call()) << label;
        EXPECT_EQ(RBKeychain::lastResultCode(), expected) << label;
        EXPECT_EQ(capture.lines(), QStringList{message}) << label;
    }
}

// Runs KeychainChild in `environment` through `wrapper`; it must pass, not skip.
void expectChildPasses(int32_t expected, QProcessEnvironment environment, const QStringList &wrapper = {})
{
    environment.remove("DISPLAY"); // no prompt can open anywhere
    environment.insert(kChildExpect, QString::number(expected));
    const QString self = QCoreApplication::applicationFilePath();
    const ProcessResult result =
        run(wrapper + QStringList{self, "--gtest_filter=KeychainChild.*", "--gtest_brief=0"}, {}, environment);
    EXPECT_EQ(result.exitCode, 0) << result.out.toStdString() << result.err.toStdString();
    EXPECT_TRUE(result.out.contains("[  PASSED  ] 1 test") && !result.out.contains("SKIPPED"))
        << result.out.toStdString();
}

// A session bus that names no service directory, so that nothing (no prompter) is ever activated.
class KeychainUnusable : public testing::Test {
protected:
    void SetUp() override
    {
        if (!rktest::inPrivateSession()) GTEST_SKIP() << rktest::kNeedsPrivateSession;
    }
};

TEST_F(KeychainUnusable, NoSecretServiceAnswersNoDefaultKeychain)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/rkcore-test-bus");
    expectChildPasses(RBKeychain::kNoDefaultKeychain, environment);
}

// A Secret Service without any collection (a keyring daemon that was never unlocked).
TEST_F(KeychainUnusable, NoCollectionAnswersNoDefaultKeychain)
{
    expectChildPasses(RBKeychain::kNoDefaultKeychain, QProcessEnvironment::systemEnvironment(),
                      {kWithKeyring, "--no-collection", "--"});
}

// A keyring of its own, unlocked, given an item by secret-tool, then locked over D-Bus
// (org.freedesktop.Secret.Service.Lock needs no prompt): the item is neither read nor deleted, and
// nothing is stored.
TEST_F(KeychainUnusable, LockedCollectionAnswersInteractionNotAllowed)
{
    const QString setup = "printf pw | secret-tool store --label=x server child.rkcore-test.invalid account u port 21 "
                          "protocol 'ftp ' authtype 0 && printf pw | secret-tool store --label=x "
                          "service child.rkcore-test.invalid account u";
    expectChildPasses(RBKeychain::kInteractionNotAllowed, QProcessEnvironment::systemEnvironment(),
                      {kWithKeyring, "--locked", "--setup", setup, "--"});
}

} // namespace

// RBKeychain on the session's Secret Service, cross-checked with secret-tool
// (a client nobody here wrote), and the rkcore keychain command.
#include <rkcore/RBKeychain.h>

#include <gtest/gtest.h>

#include "../keychain_test_support.h"
#include "../log_capture.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

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

const QStringList kCommand = {RKCORE_TOOL_PATH, "keychain"};

// Every test works on hosts of its own and removes its items afterwards; no
// message may ever contain one of the test passwords.
class Keychain : public testing::Test {
protected:
    void SetUp() override
    {
        if (!rktest::hasSessionBus()) GTEST_SKIP() << rktest::kNeedsSessionBus;
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
    expectLogged([&] { keychain.deleteInternetPassword("snow\u2603", host, "me", 21); },
                 "Password C String All Fucked Up");
    EXPECT_EQ(countItems(attributes("me", 21)), 1) << "nothing deleted";
    keychain.deleteInternetPassword("not the stored one", host, "me", 21);
    EXPECT_EQ(countItems(attributes("me", 21)), 0);
    keychain.deleteInternetPassword("", host, "me", 21); // nothing left: no effect
}

TEST_F(Keychain, PasswordsAreLatin1CStringsOfAtMost256Bytes)
{
    const QString exact(RBKeychain::kPasswordBufferSize, 'x'), tooLong(RBKeychain::kPasswordBufferSize + 1, 'y');
    // label, stored, read back (null: refused, with the messages below)
    const std::tuple<const char *, QString, QString> rows[] = {{"Latin-1 letters", secret(2), secret(2)},
                                                               {"empty", "", ""},
                                                               {"cut at a NUL", QString("ab") + QChar(0) + "cd", "ab"},
                                                               {"256 bytes", exact, exact},
                                                               {"beyond Latin-1", "snow\u2603", QString()},
                                                               {"null", QString(), QString()}};
    for (const auto &[label, stored, readBack] : rows) {
        if (!readBack.isNull()) { // another client reads the same Latin-1 bytes
            EXPECT_TRUE(keychain.setInternetPassword(stored, host, "u", 21)) << label;
            const QString found = find("u", 21);
            EXPECT_TRUE(found == readBack && !found.isNull()) << label;
            EXPECT_EQ(run(QStringList{"secret-tool", "lookup"} + attributes("u", 21)).rawOut, readBack.toLatin1())
                << label;
            continue;
        }
        expectLogged([&] { EXPECT_FALSE(keychain.setInternetPassword(stored, host, "u", 21)); },
                     "Password C String All Fucked Up", label);
        expectLogged([&] { EXPECT_FALSE(keychain.setGenericPassword(stored, host, "u")); },
                     "Password C String was NULL", label);
    }
    // Longer ones are stored, but not read back.
    ASSERT_TRUE(keychain.setInternetPassword(tooLong, host, "u", 21));
    expectLogged([&] { EXPECT_TRUE(find("u", 21).isNull()); }, "RBKeychain : Buffer be to small");
    ASSERT_TRUE(keychain.setGenericPassword(tooLong, host, "u"));
    expectLogged([&] { EXPECT_TRUE(keychain.findGenericPasswordForHost(host, "u").isNull()); },
                 "Keychain Error : -25301");
}

// The command reads the password from standard input and prints it only with --show.
TEST_F(Keychain, CommandNeverShowsThePasswordUnasked)
{
    const QByteArray password = secret(3).toUtf8();
    // arguments, standard input, exit code, message
    const std::tuple<QStringList, QByteArray, int, const char *> rows[] = {
        {{"set", host, "me", "22"}, password + '\n', 0, ""},
        {{"find", host, "me", "22"}, {}, 0, ""},
        {{"find", host, "nobody"}, {}, 1, "rkcore keychain: not found"},
        {{"set", "--generic", host, "me"}, password, 0, ""}};
    for (const auto &[arguments, input, exitCode, message] : rows) {
        const ProcessResult result = run(kCommand + arguments, input);
        const std::string label = arguments.join(' ').toStdString() + ": " + result.err.toStdString();
        EXPECT_EQ(result.exitCode, exitCode) << label;
        EXPECT_TRUE(result.err.contains(message)) << label;
        EXPECT_FALSE(result.out.contains(password) || result.err.contains(password)) << label;
    }
    EXPECT_EQ(find("me", 22), secret(3));
    EXPECT_EQ(keychain.findGenericPasswordForHost(host, "me"), secret(3));
    EXPECT_EQ(run(kCommand + QStringList{"find", "--show", host, "me", "22"}).out, secret(3) + '\n');
    EXPECT_EQ(run(kCommand + QStringList{"delete", host, "me", "22"}).exitCode, 0);
    EXPECT_EQ(countItems(attributes("me", 22)), 0);
    // Usage errors, and no password on standard input.
    for (const char *row : {"", "get H me", "find H", "find H me 70000", "find --generic H me 21", "set --show H me",
                            "set --password=x H me"})
        EXPECT_EQ(run(kCommand + QString(row).replace("H", host).split(' ', Qt::SkipEmptyParts)).exitCode, 2) << row;
    EXPECT_EQ(run(kCommand + QStringList{"set", host, "me"}).exitCode, 1) << "no password on standard input";
}

// Every call of the command, run through `wrapper` in `environment`, answers "no default keychain"
// (status 3, the tool's one line), within five seconds when there is no wrapper.
void expectNoDefaultKeychain(QProcessEnvironment environment, const QStringList &wrapper = {})
{
    environment.remove("DISPLAY");
    for (const char *row : {"find h u", "set h u", "find --generic h u", "set --generic h u"}) {
        const char *message = "no Secret Service with a default collection";

        QElapsedTimer timer;
        timer.start();
        const ProcessResult result = run(wrapper + kCommand + QString(row).split(' '), "pw\n", environment);
        EXPECT_TRUE(!wrapper.isEmpty() || timer.elapsed() < 5000) << row;
        EXPECT_EQ(result.exitCode, 3) << row << ": " << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(message)) << row << ": " << result.err.toStdString();
    }
}

// No Secret Service reachable: the command runs against a bus address where nothing listens.
TEST(KeychainWithoutService, AnswersNoDefaultKeychainQuickly)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/rkcore-test-bus");
    expectNoDefaultKeychain(environment);
}

// A Secret Service without any collection (a keyring daemon that was never unlocked): each call gets a
// bus of its own with a fresh keyring daemon on it, and is made only once the daemon owns its name.
TEST(KeychainWithoutDefaultCollection, AnswersNoDefaultKeychain)
{
    const QTemporaryDir directory; // owner-only, so it serves as the runtime directory too
    ASSERT_TRUE(directory.isValid());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("XDG_DATA_HOME");
    environment.insert("HOME", directory.path());
    environment.insert("XDG_RUNTIME_DIR", directory.path());
    const QString script = "gnome-keyring-daemon --foreground --components=secrets </dev/null >/dev/null 2>&1 & "
                           "k=$!; r=3; for i in $(seq 100); do dbus-send --session --print-reply "
                           "--dest=org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus.NameHasOwner "
                           "string:org.freedesktop.secrets | grep -q 'boolean true' && { \"$@\"; r=$?; break; }; "
                           "sleep 0.1; done; [ $r = 3 ] && echo 'the keyring daemon did not come up' >&2; "
                           "kill $k; wait $k; exit $r";
    expectNoDefaultKeychain(environment, {"dbus-run-session", "--", "sh", "-c", script, "sh"});
}

} // namespace

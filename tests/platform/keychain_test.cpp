// RBKeychain on the session's Secret Service, cross-checked with secret-tool
// (a client nobody here wrote), and the rkcore keychain command.
#include <rkcore/RBKeychain.h>

#include <gtest/gtest.h>

#include "../keychain_test_support.h"
#include "../log_capture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
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

ProcessResult run(const QString &program, const QStringList &arguments, const QByteArray &input = {},
                  const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process; // killed by its destructor if it hangs
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit) return {};
    const QByteArray out = process.readAllStandardOutput();
    return {process.exitCode(), out, QString::fromUtf8(out), QString::fromUtf8(process.readAllStandardError())};
}

ProcessResult secretTool(const QStringList &arguments, const QByteArray &input = {})
{
    return run("secret-tool", arguments, input);
}

// The rkcore keychain command.
ProcessResult command(const QStringList &arguments, const QByteArray &input = {},
                      const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    return run(RKCORE_TOOL_PATH, QStringList{"keychain"} + arguments, input, environment);
}

QStringList internetAttributes(const QString &host, const QString &user, int port)
{
    return {"server", host, "account", user, "port", QString::number(port), "protocol", "ftp ", "authtype", "0"};
}

// Items secret-tool finds for these attributes.
int countItems(const QStringList &attributes)
{
    static const QRegularExpression itemLine("^\\[/", QRegularExpression::MultilineOption);
    return static_cast<int>(secretTool(QStringList{"search", "--all"} + attributes).out.count(itemLine));
}

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
        (void)secretTool({"clear", "server", host});
        (void)secretTool({"clear", "service", host});
    }
    static QString secret(int i) { return QString::fromUtf8(kSecrets[i]); }
    QString find(const QString &user, uint16_t port) { return keychain.findInternetPasswordForHost(host, user, port); }

    static constexpr const char *kSecrets[] = {"first-Secret-1", "second-Secret-2", "p\u00e4ssw\u00f6rd",
                                               "tool-Secret-3"};
    QString host;
    RBKeychain &keychain = RBKeychain::sharedKeychain();
    LogCapture capture;
};

TEST_F(Keychain, ItemsAreToldApartByUserAndPort)
{
    const struct {
        const char *user;
        uint16_t port;
        const char *password;
    } rows[] = {{"me", 21, "a"}, {"me", 22, "b"}, {"you", 21, "c"}, {"me", 0, "d"}, {"", 21, "e"}};
    for (const auto &row : rows)
        ASSERT_TRUE(keychain.setInternetPassword(row.password, host, row.user, row.port));
    for (const auto &row : rows)
        EXPECT_EQ(find(row.user, row.port), row.password) << "user \"" << row.user << "\" port " << row.port;
}

TEST_F(Keychain, MissingItemLogsAndAnswersNull)
{
    EXPECT_TRUE(find("nobody", 21).isNull());
    EXPECT_EQ(capture.lines(), QStringList({"RBKeychain : No Item Found"}));
    capture.lines().clear();
    EXPECT_TRUE(keychain.findGenericPasswordForHost(host, "nobody").isNull());
    EXPECT_EQ(capture.lines(), QStringList({"Keychain Error : -25300"}));
}

// secret-tool finds what RBKeychain stored, with every attribute as stated,
// for every scheme's port: SFTP and AFP logins are stored under "ftp " too.
TEST_F(Keychain, SecretToolFindsStoredItemsUnderProtocolFtp)
{
    for (const uint16_t port : {21, 22, 548, 139}) {
        ASSERT_TRUE(keychain.setInternetPassword(secret(0), host, "me", port));
        const ProcessResult lookup = secretTool(QStringList{"lookup"} + internetAttributes(host, "me", port));
        EXPECT_EQ(lookup.exitCode, 0) << "port " << port << ": " << lookup.err.toStdString();
        EXPECT_EQ(lookup.out, secret(0)) << "port " << port;
    }
    // secret-tool prints the attributes on standard error.
    const QString err = secretTool(QStringList{"search"} + internetAttributes(host, "me", 548)).err;
    for (const QString &attribute :
         QStringList{"server = " + host, "account = me", "port = 548", "protocol = ftp ", "authtype = 0"})
        EXPECT_TRUE(err.contains("attribute." + attribute + '\n')) << attribute.toStdString() << "\n"
                                                                   << err.toStdString();
}

// Storing over another client's item, and over our own, replaces it rather than adding a second one.
TEST_F(Keychain, FindsItemsSecretToolStoredAndStoringReplaces)
{
    const auto attributes = internetAttributes(host, "them", 22);
    const ProcessResult store = secretTool(QStringList{"store", "--label=elsewhere"} + attributes, kSecrets[3]);
    ASSERT_EQ(store.exitCode, 0) << store.err.toStdString();
    EXPECT_EQ(find("them", 22), secret(3));
    for (const int i : {0, 1}) {
        EXPECT_TRUE(keychain.setInternetPassword(secret(i), host, "them", 22));
        EXPECT_EQ(countItems(attributes), 1);
        EXPECT_EQ(find("them", 22), secret(i));
    }
    EXPECT_TRUE(capture.lines().isEmpty()) << capture.lines().join('\n').toStdString();
    ASSERT_EQ(secretTool({"store", "--label=generic", "service", host, "account", "them"}, kSecrets[3]).exitCode, 0);
    EXPECT_EQ(keychain.findGenericPasswordForHost(host, "them"), secret(3));
}

TEST_F(Keychain, GenericAndInternetStoresAreSeparate)
{
    ASSERT_TRUE(keychain.setGenericPassword(secret(0), host, "me"));
    EXPECT_TRUE(find("me", 21).isNull());
    EXPECT_TRUE(find("me", 0).isNull());
    ASSERT_TRUE(keychain.setInternetPassword(secret(1), host, "me", 21));
    EXPECT_EQ(keychain.findGenericPasswordForHost(host, "me"), secret(0));
    EXPECT_EQ(find("me", 21), secret(1));
    EXPECT_EQ(secretTool({"lookup", "service", host, "account", "me"}).out, secret(0));
    // Storing a generic password twice replaces it as well.
    ASSERT_TRUE(keychain.setGenericPassword(secret(1), host, "me"));
    EXPECT_EQ(countItems({"service", host, "account", "me"}), 1);
    EXPECT_TRUE(keychain.deleteGenericPasswordForHost(host, "me"));
    EXPECT_FALSE(keychain.deleteGenericPasswordForHost(host, "me"));
}

TEST_F(Keychain, PasswordsAreLatin1CStrings)
{
    const struct {
        const char *label;
        QString stored;
        QString readBack; // null: refused, with the internet store logging the message below
    } rows[] = {
        {"Latin-1 letters", secret(2), secret(2)},
        {"empty", "", ""},
        {"cut at a NUL", QString("ab") + QChar(0) + "cd", "ab"},
        {"beyond Latin-1", "snow\u2603", QString()},
        {"null", QString(), QString()},
    };
    for (const auto &row : rows) {
        capture.lines().clear();
        EXPECT_EQ(keychain.setInternetPassword(row.stored, host, "u", 21), !row.readBack.isNull()) << row.label;
        if (!row.readBack.isNull()) { // another client reads the same Latin-1 bytes
            const QString found = find("u", 21);
            EXPECT_TRUE(found == row.readBack && !found.isNull()) << row.label;
            EXPECT_EQ(secretTool(QStringList{"lookup"} + internetAttributes(host, "u", 21)).rawOut,
                      row.readBack.toLatin1())
                << row.label;
            continue;
        }
        EXPECT_EQ(capture.lines(), QStringList{"Password C String All Fucked Up"}) << row.label;
        capture.lines().clear();
        EXPECT_FALSE(keychain.setGenericPassword(row.stored, host, "u")) << row.label;
        EXPECT_EQ(capture.lines(), QStringList{"Password C String was NULL"}) << row.label;
    }
}

TEST_F(Keychain, PasswordsLongerThan256BytesAreStoredButNotReadBack)
{
    const QString exact(RBKeychain::kPasswordBufferSize, 'x');
    const QString tooLong(RBKeychain::kPasswordBufferSize + 1, 'y');
    ASSERT_TRUE(keychain.setInternetPassword(exact, host, "long", 21));
    EXPECT_EQ(find("long", 21), exact);
    ASSERT_TRUE(keychain.setInternetPassword(tooLong, host, "long", 21));
    capture.lines().clear();
    EXPECT_TRUE(find("long", 21).isNull());
    EXPECT_EQ(capture.lines(), QStringList({"RBKeychain : Buffer be to small"}));
    // Replacing a too-long item works all the same.
    ASSERT_TRUE(keychain.setInternetPassword(exact, host, "long", 21));
    EXPECT_EQ(find("long", 21), exact);
    ASSERT_TRUE(keychain.setGenericPassword(tooLong, host, "long"));
    capture.lines().clear();
    EXPECT_TRUE(keychain.findGenericPasswordForHost(host, "long").isNull());
    EXPECT_EQ(capture.lines(), QStringList({"Keychain Error : -25301"}));
}

TEST_F(Keychain, DeleteIgnoresThePasswordButNeedsItsCString)
{
    ASSERT_TRUE(keychain.setInternetPassword(secret(0), host, "me", 21));
    keychain.deleteInternetPassword("snow\u2603", host, "me", 21);
    EXPECT_EQ(capture.lines(), QStringList({"Password C String All Fucked Up"}));
    EXPECT_EQ(countItems(internetAttributes(host, "me", 21)), 1) << "nothing deleted";
    keychain.deleteInternetPassword("not the stored one", host, "me", 21);
    EXPECT_EQ(countItems(internetAttributes(host, "me", 21)), 0);
    keychain.deleteInternetPassword("", host, "me", 21); // nothing left: no effect
}

// The command reads the password from standard input and prints it only with --show.
TEST_F(Keychain, CommandNeverShowsThePasswordUnasked)
{
    const ProcessResult set = command({"set", host, "me", "22"}, secret(3).toUtf8() + '\n');
    EXPECT_EQ(set.exitCode, 0) << set.err.toStdString();
    EXPECT_EQ(find("me", 22), secret(3));
    const ProcessResult found = command({"find", host, "me", "22"});
    EXPECT_EQ(found.exitCode, 0);
    EXPECT_EQ(command({"find", "--show", host, "me", "22"}).out, secret(3) + '\n');
    const ProcessResult missing = command({"find", host, "nobody"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains("RBKeychain : No Item Found")) << missing.err.toStdString();
    const ProcessResult generic = command({"set", "--generic", host, "me"}, secret(3).toUtf8());
    EXPECT_EQ(generic.exitCode, 0);
    EXPECT_EQ(keychain.findGenericPasswordForHost(host, "me"), secret(3));
    const ProcessResult removed = command({"delete", host, "me", "22"});
    EXPECT_EQ(removed.exitCode, 0);
    EXPECT_EQ(countItems(internetAttributes(host, "me", 22)), 0);
    for (const ProcessResult &result : {set, found, missing, generic, removed})
        EXPECT_FALSE(result.out.contains(secret(3)) || result.err.contains(secret(3)))
            << result.out.toStdString() << result.err.toStdString();
}

TEST_F(Keychain, CommandUsageErrors)
{
    const QStringList rows[] = {{},
                                {"get", host, "me"},
                                {"find", host},
                                {"find", host, "me", "70000"},
                                {"find", "--generic", host, "me", "21"},
                                {"set", "--show", host, "me"},
                                {"set", "--password=x", host, "me"}};
    for (const QStringList &arguments : rows)
        EXPECT_EQ(command(arguments).exitCode, 2) << arguments.join(' ').toStdString();
    EXPECT_EQ(command({"set", host, "me"}).exitCode, 1) << "no password on standard input";
}

// Every call of the command answers "no default keychain" (the generic find
// with its error code), within five seconds when `quickly`.
void expectNoDefaultKeychain(const QProcessEnvironment &environment, bool quickly)
{
    const struct {
        QStringList arguments;
        const char *message;
    } rows[] = {{{"find", "h", "u"}, "RBKeychain : No Default Keychain"},
                {{"set", "h", "u"}, "RBKeychain : No Default Keychain"},
                {{"find", "--generic", "h", "u"}, "Keychain Error : -25307"},
                {{"set", "--generic", "h", "u"}, "RBKeychain : No Default Keychain"}};
    for (const auto &row : rows) {
        QElapsedTimer timer;
        timer.start();
        const ProcessResult result = command(row.arguments, "pw\n", environment);
        EXPECT_TRUE(!quickly || timer.elapsed() < 5000) << row.arguments.join(' ').toStdString();
        EXPECT_EQ(result.exitCode, 1) << row.arguments.join(' ').toStdString();
        EXPECT_TRUE(result.err.contains(row.message))
            << row.arguments.join(' ').toStdString() << ": " << result.err.toStdString();
    }
}

// No Secret Service reachable: the command runs against a bus address where nothing listens.
TEST(KeychainWithoutService, AnswersNoDefaultKeychainQuickly)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/rkcore-test-bus");
    environment.remove("DISPLAY");
    expectNoDefaultKeychain(environment, true);
}

// A Secret Service without any collection (a keyring daemon that was never unlocked).
TEST(KeychainWithoutDefaultCollection, AnswersNoDefaultKeychain)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DISPLAY");
    const std::pair<const char *, const char *> directories[] = {
        {"HOME", "home"}, {"XDG_DATA_HOME", "data"}, {"XDG_RUNTIME_DIR", "runtime"}};
    for (const auto &[variable, sub] : directories) {
        ASSERT_TRUE(QDir(directory.path()).mkpath(sub));
        environment.insert(variable, directory.filePath(sub));
    }
    QFile::setPermissions(directory.filePath("runtime"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QFile config(directory.filePath("bus.conf"));
    ASSERT_TRUE(config.open(QIODevice::WriteOnly));
    config.write(R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
</policy></busconfig>)");
    config.close();

    QProcess bus;
    bus.start("dbus-daemon", {"--config-file=" + config.fileName(), "--nofork", "--nosyslog", "--print-address=1"});
    ASSERT_TRUE(bus.waitForReadyRead(10000));
    const QString address = QString::fromUtf8(bus.readLine()).trimmed();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", address);
    QProcess keyring;
    keyring.setProcessEnvironment(environment);
    keyring.setStandardInputFile(QProcess::nullDevice());
    keyring.setStandardOutputFile(QProcess::nullDevice());
    keyring.start("gnome-keyring-daemon", {"--foreground", "--components=secrets"});
    ASSERT_TRUE(keyring.waitForStarted(10000));
    QElapsedTimer timer;
    timer.start();
    bool up = false;
    while (!up && timer.elapsed() < 10000) {
        up = run("dbus-send",
                 {"--session", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                  "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.secrets"},
                 {}, environment)
                 .out.contains("boolean true");
    }
    EXPECT_TRUE(up) << "the keyring daemon did not come up: " << keyring.readAllStandardError().toStdString()
                    << " state " << keyring.state() << " address " << address.toStdString();
    if (up) expectNoDefaultKeychain(environment, false);
    keyring.terminate();
    keyring.waitForFinished(10000);
    bus.terminate();
    bus.waitForFinished(10000);
}

} // namespace

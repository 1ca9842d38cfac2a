// RBKeychain on the session's Secret Service, cross-checked with secret-tool
// (a client nobody here wrote), and the rkcore keychain command.
#include <rkcore/RBKeychain.h>

#include <gtest/gtest.h>

#include "../keychain_test_support.h"
#include "../log_capture.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>

using rk::RBKeychain;

using rktest::LogCapture;

namespace {

struct ProcessResult {
    int exitCode = -1;
    QString out;
    QString err;
};

ProcessResult run(const QString &program, const QStringList &arguments, const QByteArray &input = {},
                  const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForStarted(10000)) return {};
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(30000)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

QStringList internetAttributes(const QString &host, const QString &user, int port)
{
    return {QStringLiteral("server"),   host,
            QStringLiteral("account"),  user,
            QStringLiteral("port"),     QString::number(port),
            QStringLiteral("protocol"), QStringLiteral("ftp "),
            QStringLiteral("authtype"), QStringLiteral("0")};
}

// Items secret-tool finds for these attributes.
int countItems(const QStringList &attributes)
{
    const ProcessResult result =
        run(QStringLiteral("secret-tool"), QStringList{QStringLiteral("search"), QStringLiteral("--all")} + attributes);
    static const QRegularExpression itemLine(QStringLiteral("^\\[/"), QRegularExpression::MultilineOption);
    return static_cast<int>(result.out.count(itemLine));
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
        for (const QString &line : capture.lines()) {
            for (const char *secret : kSecrets) {
                EXPECT_FALSE(line.contains(QString::fromUtf8(secret)))
                    << "a password was logged: " << line.toStdString();
            }
        }
        (void)run(QStringLiteral("secret-tool"), {QStringLiteral("clear"), QStringLiteral("server"), host});
        (void)run(QStringLiteral("secret-tool"), {QStringLiteral("clear"), QStringLiteral("service"), host});
    }

    static constexpr const char *kSecrets[] = {"first-Secret-1", "second-Secret-2", "p\u00e4ssw\u00f6rd",
                                               "tool-Secret-3"};
    QString host;
    RBKeychain &keychain = RBKeychain::sharedKeychain();
    LogCapture capture;
};

TEST_F(Keychain, StoringTwiceLeavesOneItemWithTheSecondPassword)
{
    EXPECT_TRUE(keychain.setInternetPassword(QString::fromUtf8(kSecrets[0]), host, QStringLiteral("me"), 21));
    EXPECT_TRUE(keychain.setInternetPassword(QString::fromUtf8(kSecrets[1]), host, QStringLiteral("me"), 21));
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("me"), 21), QString::fromUtf8(kSecrets[1]));
    EXPECT_EQ(countItems(internetAttributes(host, QStringLiteral("me"), 21)), 1);
    EXPECT_TRUE(capture.lines().isEmpty()) << capture.lines().join('\n').toStdString();
}

TEST_F(Keychain, ItemsAreToldApartByUserAndPort)
{
    const struct {
        const char *user;
        uint16_t port;
        const char *password;
    } rows[] = {{"me", 21, "a"}, {"me", 22, "b"}, {"you", 21, "c"}, {"me", 0, "d"}, {"", 21, "e"}};
    for (const auto &row : rows) {
        ASSERT_TRUE(keychain.setInternetPassword(QString::fromLatin1(row.password), host, QString::fromUtf8(row.user),
                                                 row.port));
    }
    for (const auto &row : rows) {
        EXPECT_EQ(keychain.findInternetPasswordForHost(host, QString::fromUtf8(row.user), row.port),
                  QString::fromLatin1(row.password))
            << "user \"" << row.user << "\" port " << row.port;
    }
}

TEST_F(Keychain, MissingItemLogsAndAnswersNull)
{
    EXPECT_TRUE(keychain.findInternetPasswordForHost(host, QStringLiteral("nobody"), 21).isNull());
    EXPECT_EQ(capture.lines(), QStringList({"RBKeychain : No Item Found"}));
    capture.lines().clear();
    EXPECT_TRUE(keychain.findGenericPasswordForHost(host, QStringLiteral("nobody")).isNull());
    EXPECT_EQ(capture.lines(), QStringList({"Keychain Error : -25300"}));
}

// secret-tool finds what RBKeychain stored, with every attribute as stated,
// for every scheme's port: SFTP and AFP logins are stored under "ftp " too.
TEST_F(Keychain, SecretToolFindsStoredItemsUnderProtocolFtp)
{
    for (const int port : {21, 22, 548, 139}) {
        ASSERT_TRUE(keychain.setInternetPassword(QString::fromUtf8(kSecrets[0]), host, QStringLiteral("me"),
                                                 static_cast<uint16_t>(port)));
        const ProcessResult lookup =
            run(QStringLiteral("secret-tool"),
                QStringList{QStringLiteral("lookup")} + internetAttributes(host, QStringLiteral("me"), port));
        EXPECT_EQ(lookup.exitCode, 0) << "port " << port << ": " << lookup.err.toStdString();
        EXPECT_EQ(lookup.out, QString::fromUtf8(kSecrets[0])) << "port " << port;
    }
    const ProcessResult search =
        run(QStringLiteral("secret-tool"),
            QStringList{QStringLiteral("search")} + internetAttributes(host, QStringLiteral("me"), 548));
    // secret-tool prints the attributes on standard error.
    for (const QString &expected :
         {QStringLiteral("attribute.server = ") + host, QStringLiteral("attribute.account = me"),
          QStringLiteral("attribute.port = 548"), QStringLiteral("attribute.protocol = ftp "),
          QStringLiteral("attribute.authtype = 0")}) {
        EXPECT_TRUE(search.err.contains(expected + QLatin1Char('\n'))) << expected.toStdString() << "\n"
                                                                       << search.err.toStdString();
    }
}

TEST_F(Keychain, FindsItemsSecretToolStored)
{
    const ProcessResult store = run(QStringLiteral("secret-tool"),
                                    QStringList{QStringLiteral("store"), QStringLiteral("--label=stored elsewhere")} +
                                        internetAttributes(host, QStringLiteral("them"), 22),
                                    QByteArray(kSecrets[3]));
    ASSERT_EQ(store.exitCode, 0) << store.err.toStdString();
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("them"), 22), QString::fromUtf8(kSecrets[3]));
    // Storing over it replaces the other client's item rather than adding a second one.
    EXPECT_TRUE(keychain.setInternetPassword(QString::fromUtf8(kSecrets[1]), host, QStringLiteral("them"), 22));
    EXPECT_EQ(countItems(internetAttributes(host, QStringLiteral("them"), 22)), 1);
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("them"), 22), QString::fromUtf8(kSecrets[1]));

    const ProcessResult generic =
        run(QStringLiteral("secret-tool"),
            {QStringLiteral("store"), QStringLiteral("--label=generic"), QStringLiteral("service"), host,
             QStringLiteral("account"), QStringLiteral("them")},
            QByteArray(kSecrets[3]));
    ASSERT_EQ(generic.exitCode, 0) << generic.err.toStdString();
    EXPECT_EQ(keychain.findGenericPasswordForHost(host, QStringLiteral("them")), QString::fromUtf8(kSecrets[3]));
}

TEST_F(Keychain, GenericAndInternetStoresAreSeparate)
{
    ASSERT_TRUE(keychain.setGenericPassword(QString::fromUtf8(kSecrets[0]), host, QStringLiteral("me")));
    EXPECT_TRUE(keychain.findInternetPasswordForHost(host, QStringLiteral("me"), 21).isNull());
    EXPECT_TRUE(keychain.findInternetPasswordForHost(host, QStringLiteral("me"), 0).isNull());
    ASSERT_TRUE(keychain.setInternetPassword(QString::fromUtf8(kSecrets[1]), host, QStringLiteral("me"), 21));
    EXPECT_EQ(keychain.findGenericPasswordForHost(host, QStringLiteral("me")), QString::fromUtf8(kSecrets[0]));
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("me"), 21), QString::fromUtf8(kSecrets[1]));
    const ProcessResult lookup =
        run(QStringLiteral("secret-tool"), {QStringLiteral("lookup"), QStringLiteral("service"), host,
                                            QStringLiteral("account"), QStringLiteral("me")});
    EXPECT_EQ(lookup.out, QString::fromUtf8(kSecrets[0]));
    // Storing a generic password twice replaces it as well.
    ASSERT_TRUE(keychain.setGenericPassword(QString::fromUtf8(kSecrets[1]), host, QStringLiteral("me")));
    EXPECT_EQ(countItems({QStringLiteral("service"), host, QStringLiteral("account"), QStringLiteral("me")}), 1);
    EXPECT_TRUE(keychain.deleteGenericPasswordForHost(host, QStringLiteral("me")));
    EXPECT_FALSE(keychain.deleteGenericPasswordForHost(host, QStringLiteral("me")));
}

TEST_F(Keychain, PasswordsAreLatin1CStrings)
{
    const struct {
        const char *label;
        QString stored;
        bool accepted;
        QString readBack;
        const char *message; // logged by the internet store when refused
    } rows[] = {
        {"Latin-1 letters", QString::fromUtf8(kSecrets[2]), true, QString::fromUtf8(kSecrets[2]), nullptr},
        {"empty", QStringLiteral(""), true, QStringLiteral(""), nullptr},
        {"cut at a NUL", QStringLiteral("ab") + QChar(0) + QStringLiteral("cd"), true, QStringLiteral("ab"), nullptr},
        {"beyond Latin-1", QStringLiteral("snow\u2603"), false, QString(), "Password C String All Fucked Up"},
        {"null", QString(), false, QString(), "Password C String All Fucked Up"},
    };
    for (const auto &row : rows) {
        capture.lines().clear();
        EXPECT_EQ(keychain.setInternetPassword(row.stored, host, QStringLiteral("u"), 21), row.accepted) << row.label;
        if (row.accepted) {
            EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("u"), 21), row.readBack) << row.label;
            EXPECT_FALSE(keychain.findInternetPasswordForHost(host, QStringLiteral("u"), 21).isNull()) << row.label;
        } else {
            EXPECT_EQ(capture.lines(), QStringList{QString::fromUtf8(row.message)}) << row.label;
            capture.lines().clear();
            EXPECT_FALSE(keychain.setGenericPassword(row.stored, host, QStringLiteral("u"))) << row.label;
            EXPECT_EQ(capture.lines(), QStringList{QStringLiteral("Password C String was NULL")}) << row.label;
        }
    }
    // The Latin-1 bytes are what is stored: another client reads them as such.
    ASSERT_TRUE(keychain.setInternetPassword(QString::fromUtf8(kSecrets[2]), host, QStringLiteral("bytes"), 21));
    QProcess lookup;
    lookup.start(QStringLiteral("secret-tool"),
                 QStringList{QStringLiteral("lookup")} + internetAttributes(host, QStringLiteral("bytes"), 21));
    ASSERT_TRUE(lookup.waitForFinished(30000));
    EXPECT_EQ(lookup.readAllStandardOutput(), QString::fromUtf8(kSecrets[2]).toLatin1());
}

TEST_F(Keychain, PasswordsLongerThan256BytesAreStoredButNotReadBack)
{
    const QString exact(RBKeychain::kPasswordBufferSize, QLatin1Char('x'));
    ASSERT_TRUE(keychain.setInternetPassword(exact, host, QStringLiteral("long"), 21));
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("long"), 21), exact);
    const QString tooLong(RBKeychain::kPasswordBufferSize + 1, QLatin1Char('y'));
    ASSERT_TRUE(keychain.setInternetPassword(tooLong, host, QStringLiteral("long"), 21));
    capture.lines().clear();
    EXPECT_TRUE(keychain.findInternetPasswordForHost(host, QStringLiteral("long"), 21).isNull());
    EXPECT_EQ(capture.lines(), QStringList({"RBKeychain : Buffer be to small"}));
    // Replacing a too-long item works all the same.
    ASSERT_TRUE(keychain.setInternetPassword(exact, host, QStringLiteral("long"), 21));
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("long"), 21), exact);
    ASSERT_TRUE(keychain.setGenericPassword(tooLong, host, QStringLiteral("long")));
    capture.lines().clear();
    EXPECT_TRUE(keychain.findGenericPasswordForHost(host, QStringLiteral("long")).isNull());
    EXPECT_EQ(capture.lines(), QStringList({"Keychain Error : -25301"}));
}

TEST_F(Keychain, DeleteIgnoresThePasswordButNeedsItsCString)
{
    ASSERT_TRUE(keychain.setInternetPassword(QString::fromUtf8(kSecrets[0]), host, QStringLiteral("me"), 21));
    keychain.deleteInternetPassword(QStringLiteral("snow\u2603"), host, QStringLiteral("me"), 21);
    EXPECT_EQ(capture.lines(), QStringList({"Password C String All Fucked Up"}));
    EXPECT_EQ(countItems(internetAttributes(host, QStringLiteral("me"), 21)), 1) << "nothing deleted";
    keychain.deleteInternetPassword(QStringLiteral("not the stored one"), host, QStringLiteral("me"), 21);
    EXPECT_EQ(countItems(internetAttributes(host, QStringLiteral("me"), 21)), 0);
    keychain.deleteInternetPassword(QStringLiteral(""), host, QStringLiteral("me"), 21); // nothing left: no effect
}

QString toolPath()
{
    return QStringLiteral(RKCORE_TOOL_PATH);
}

// The command reads the password from standard input and prints it only with --show.
TEST_F(Keychain, CommandNeverShowsThePasswordUnasked)
{
    const QString secret = QString::fromUtf8(kSecrets[3]);
    const ProcessResult set =
        run(toolPath(),
            {QStringLiteral("keychain"), QStringLiteral("set"), host, QStringLiteral("me"), QStringLiteral("22")},
            secret.toUtf8() + '\n');
    EXPECT_EQ(set.exitCode, 0) << set.err.toStdString();
    EXPECT_EQ(keychain.findInternetPasswordForHost(host, QStringLiteral("me"), 22), secret);

    const ProcessResult find = run(toolPath(), {QStringLiteral("keychain"), QStringLiteral("find"), host,
                                                QStringLiteral("me"), QStringLiteral("22")});
    EXPECT_EQ(find.exitCode, 0);
    const ProcessResult show =
        run(toolPath(), {QStringLiteral("keychain"), QStringLiteral("find"), QStringLiteral("--show"), host,
                         QStringLiteral("me"), QStringLiteral("22")});
    EXPECT_EQ(show.out, secret + QLatin1Char('\n'));
    const ProcessResult missing =
        run(toolPath(), {QStringLiteral("keychain"), QStringLiteral("find"), host, QStringLiteral("nobody")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains(QStringLiteral("RBKeychain : No Item Found"))) << missing.err.toStdString();
    const ProcessResult generic = run(
        toolPath(),
        {QStringLiteral("keychain"), QStringLiteral("set"), QStringLiteral("--generic"), host, QStringLiteral("me")},
        secret.toUtf8());
    EXPECT_EQ(generic.exitCode, 0);
    EXPECT_EQ(keychain.findGenericPasswordForHost(host, QStringLiteral("me")), secret);
    const ProcessResult removed = run(toolPath(), {QStringLiteral("keychain"), QStringLiteral("delete"), host,
                                                   QStringLiteral("me"), QStringLiteral("22")});
    EXPECT_EQ(removed.exitCode, 0);
    EXPECT_EQ(countItems(internetAttributes(host, QStringLiteral("me"), 22)), 0);

    for (const ProcessResult &result : {set, find, missing, generic, removed}) {
        EXPECT_FALSE(result.out.contains(secret) || result.err.contains(secret))
            << result.out.toStdString() << result.err.toStdString();
    }
}

TEST_F(Keychain, CommandUsageErrors)
{
    const QStringList rows[] = {
        {QStringLiteral("keychain")},
        {QStringLiteral("keychain"), QStringLiteral("get"), host, QStringLiteral("me")},
        {QStringLiteral("keychain"), QStringLiteral("find"), host},
        {QStringLiteral("keychain"), QStringLiteral("find"), host, QStringLiteral("me"), QStringLiteral("70000")},
        {QStringLiteral("keychain"), QStringLiteral("find"), QStringLiteral("--generic"), host, QStringLiteral("me"),
         QStringLiteral("21")},
        {QStringLiteral("keychain"), QStringLiteral("set"), QStringLiteral("--show"), host, QStringLiteral("me")},
        {QStringLiteral("keychain"), QStringLiteral("set"), QStringLiteral("--password=x"), host, QStringLiteral("me")},
    };
    for (const QStringList &arguments : rows) {
        EXPECT_EQ(run(toolPath(), arguments).exitCode, 2) << arguments.join(' ').toStdString();
    }
    const ProcessResult empty =
        run(toolPath(), {QStringLiteral("keychain"), QStringLiteral("set"), host, QStringLiteral("me")});
    EXPECT_EQ(empty.exitCode, 1) << "no password on standard input";
}

// With no Secret Service reachable every call answers "no default keychain"
// at once: the command runs against a bus address where nothing listens.
TEST(KeychainWithoutService, AnswersNoDefaultKeychainQuickly)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       QStringLiteral("unix:path=/nonexistent/rkcore-test-bus"));
    environment.remove(QStringLiteral("DISPLAY"));
    const struct {
        QStringList arguments;
        const char *message = nullptr;
    } rows[] = {
        {{QStringLiteral("find"), QStringLiteral("h"), QStringLiteral("u")}, "RBKeychain : No Default Keychain"},
        {{QStringLiteral("set"), QStringLiteral("h"), QStringLiteral("u")}, "RBKeychain : No Default Keychain"},
        {{QStringLiteral("find"), QStringLiteral("--generic"), QStringLiteral("h"), QStringLiteral("u")},
         "Keychain Error : -25307"},
        {{QStringLiteral("set"), QStringLiteral("--generic"), QStringLiteral("h"), QStringLiteral("u")},
         "RBKeychain : No Default Keychain"},
    };
    for (const auto &row : rows) {
        QElapsedTimer timer;
        timer.start();
        const ProcessResult result =
            run(toolPath(), QStringList{QStringLiteral("keychain")} + row.arguments, "pw\n", environment);
        EXPECT_LT(timer.elapsed(), 5000) << row.arguments.join(' ').toStdString();
        EXPECT_EQ(result.exitCode, 1) << row.arguments.join(' ').toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(row.message))) << result.err.toStdString();
    }
}

// A Secret Service without any collection (a keyring daemon that was never
// unlocked): storing and finding answer "no default keychain" as well.
TEST(KeychainWithoutDefaultCollection, AnswersNoDefaultKeychain)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    for (const char *sub : {"home", "data", "runtime"})
        ASSERT_TRUE(QDir(directory.path()).mkpath(QLatin1String(sub)));
    QFile::setPermissions(directory.filePath(QStringLiteral("runtime")),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QFile config(directory.filePath(QStringLiteral("bus.conf")));
    ASSERT_TRUE(config.open(QIODevice::WriteOnly));
    config.write(R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
</policy></busconfig>)");
    config.close();

    QProcess bus;
    bus.start(QStringLiteral("dbus-daemon"),
              {QStringLiteral("--config-file=") + config.fileName(), QStringLiteral("--nofork"),
               QStringLiteral("--nosyslog"), QStringLiteral("--print-address=1")});
    ASSERT_TRUE(bus.waitForReadyRead(10000));
    const QString address = QString::fromUtf8(bus.readLine()).trimmed();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
    environment.insert(QStringLiteral("HOME"), directory.filePath(QStringLiteral("home")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), directory.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), directory.filePath(QStringLiteral("runtime")));
    environment.remove(QStringLiteral("DISPLAY"));
    QProcess keyring;
    keyring.setProcessEnvironment(environment);
    keyring.setStandardInputFile(QProcess::nullDevice());
    keyring.setStandardOutputFile(QProcess::nullDevice());
    keyring.start(QStringLiteral("gnome-keyring-daemon"),
                  {QStringLiteral("--foreground"), QStringLiteral("--components=secrets")});
    ASSERT_TRUE(keyring.waitForStarted(10000));
    QElapsedTimer timer;
    timer.start();
    bool up = false;
    while (!up && timer.elapsed() < 10000) {
        up =
            run(QStringLiteral("dbus-send"),
                {QStringLiteral("--session"), QStringLiteral("--print-reply"),
                 QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                 QStringLiteral("org.freedesktop.DBus.NameHasOwner"), QStringLiteral("string:org.freedesktop.secrets")},
                {}, environment)
                .out.contains(QStringLiteral("boolean true"));
    }
    EXPECT_TRUE(up) << "the keyring daemon did not come up: " << keyring.readAllStandardError().toStdString()
                    << " state " << keyring.state() << " address " << address.toStdString();
    const struct {
        QStringList arguments;
        const char *message = nullptr;
    } rows[] = {
        {{QStringLiteral("set"), QStringLiteral("h"), QStringLiteral("u")}, "RBKeychain : No Default Keychain"},
        {{QStringLiteral("find"), QStringLiteral("h"), QStringLiteral("u")}, "RBKeychain : No Default Keychain"},
        {{QStringLiteral("set"), QStringLiteral("--generic"), QStringLiteral("h"), QStringLiteral("u")},
         "RBKeychain : No Default Keychain"},
        {{QStringLiteral("find"), QStringLiteral("--generic"), QStringLiteral("h"), QStringLiteral("u")},
         "Keychain Error : -25307"},
    };
    for (const auto &row : rows) {
        if (!up) break;
        const ProcessResult result =
            run(toolPath(), QStringList{QStringLiteral("keychain")} + row.arguments, "pw\n", environment);
        EXPECT_EQ(result.exitCode, 1) << row.arguments.join(' ').toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(row.message)))
            << row.arguments.join(' ').toStdString() << ": " << result.err.toStdString();
    }
    keyring.terminate();
    keyring.waitForFinished(10000);
    bus.terminate();
    bus.waitForFinished(10000);
}

} // namespace

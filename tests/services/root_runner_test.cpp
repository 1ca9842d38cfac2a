// RBRootRunner: its own classification (and where it differs from the file
// system object's), the arguments that reach adminopen and the program it
// starts (spaces, quotes, leading dashes, bytes that are not UTF-8), the
// failure table through the replaceable alert, beep and terminate functions.
//
// Most tests stand in for pkcheck and pkexec with small scripts that record
// their arguments (the stand-in pkexec runs the real adminopen). The
// RootRunnerPolkit tests use the real polkit: they run when
// RKCORE_TEST_POLKIT=1 (set by with_polkit.sh, which starts a private system
// bus and polkitd in a private mount namespace), and are skipped otherwise.
#include <rkcore/Alert.h>
#include <rkcore/HelperPrograms.h>
#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBRootRunner.h>
#include <rkcore/rpf_diagnostics.h>

#include "../../src/platform/Polkit_p.h"
#include "process_test_support.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <grp.h>
#include <sys/stat.h>

namespace {

using rk::RBRootRunner;
using Outcome = RBRootRunner::Outcome;

const QByteArray kOddDocument = QByteArray("-doc \"quoted\" 'single' \xff\xfe.txt");

void writeFile(const QString &path, const QByteArray &bytes, bool executable = false)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    if (executable) chmod(QFile::encodeName(path).constData(), 0755);
}

QList<QByteArray> readNulSeparated(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    QList<QByteArray> parts = file.readAll().split('\0');
    if (!parts.isEmpty() && parts.back().isEmpty()) parts.removeLast();
    return parts;
}

class RootRunner : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        chmod(QFile::encodeName(folder.path()).constData(), 0755); // the polkit tests' other user reads it
        root = folder.path();
        // The program started as root: writes its uid and arguments.
        writeFile(root + "/Recorder.app/Contents/MacOS/Recorder",
                  "#!/bin/sh\nprintf '%s' \"$DISPLAY\" > '" + QFile::encodeName(root) +
                      "/display'\n{ id -u; printf '\\0'; for a in \"$@\"; do printf '%s\\0' \"$a\"; done; } > '" +
                      QFile::encodeName(root) + "/ran.tmp' && mv '" + QFile::encodeName(root) + "/ran.tmp' '" +
                      QFile::encodeName(root) + "/ran'\n",
                  true);
        writeFile(root + "/fake-pkexec",
                  "#!/bin/sh\nd=$(dirname \"$0\")\nfor a in \"$@\"; do printf '%s\\0' \"$a\"; done > \"$d/launcher\"\n"
                  "[ -f \"$d/launcher.fail\" ] && exit 127\nexec \"$@\"\n",
                  true);
        writeFile(root + "/fake-pkcheck",
                  "#!/bin/sh\nd=$(dirname \"$0\")\nprintf '%s\\n' \"$*\" >> \"$d/checker.log\"\n"
                  "[ -f \"$d/checker.allow\" ] && exit 0\nexit 2\n",
                  true);
        RBRootRunner::setAuthorizationPrograms(QFile::encodeName(root + "/fake-pkcheck"),
                                               QFile::encodeName(root + "/fake-pkexec"));
        rk::setAlertHandler([this](const rk::Alert &alert) {
            events.append(QStringLiteral("alert %1 / %2 / %3").arg(alert.title, alert.message, alert.defaultButton));
            return 0;
        });
        rk::setBeepHandler([this] { events.append(QStringLiteral("beep")); });
        rk::setTerminateHandler([this] { events.append(QStringLiteral("terminate")); });
    }

    void TearDown() override
    {
        RBRootRunner::setAuthorizationPrograms({}, {});
        rk::setHelperProgramDirectory({});
        rk::setAlertHandler({});
        rk::setBeepHandler({});
        rk::setTerminateHandler({});
    }

    void allow() { writeFile(root + "/checker.allow", "yes"); }
    QByteArray path(const char *name) const { return QFile::encodeName(root) + '/' + name; }
    bool ran() const { return QFile::exists(root + "/ran"); }

    QTemporaryDir folder;
    QString root;
    QStringList events;
};

TEST_F(RootRunner, ClassifiesItemsAndDiffersFromTheObjectsWhereItShould)
{
    writeFile(root + "/plain.txt", "text");
    writeFile(root + "/Tool.bundle/Contents/Info.plist", "<plist/>");
    QDir().mkpath(root + "/folder");
    ASSERT_TRUE(QFile::copy(QStringLiteral("/bin/true"), root + "/program"));
    writeFile(root + "/folder-alias.desktop",
              "[Desktop Entry]\nType=Link\nName=f\nURL=file://" + QFile::encodeName(root) + "/folder\n");
    writeFile(root + "/doc-alias.desktop",
              "[Desktop Entry]\nType=Link\nName=d\nURL=file://" + QFile::encodeName(root) + "/plain.txt\n");
    writeFile(root + "/app-alias.desktop",
              "[Desktop Entry]\nType=Link\nName=a\nURL=file://" + QFile::encodeName(root) + "/program\n");
    QFile::link(root + "/folder", root + "/folder-link");
    QFile::link(root + "/nowhere", root + "/dangling");
    mkfifo(path("fifo").constData(), 0600);

    struct Row {
        const char *name;
        QByteArray path;
        int32_t kind;
        int32_t pointsTo; // -7: left untouched
        bool packaged;
    } rows[] = {
        {"application folder", path("Recorder.app"), 6, -7, true},
        {"package", path("Tool.bundle"), 7, -7, false},
        {"folder", path("folder"), 1, -7, false},
        {"volume", "/proc", 8, -7, false},
        {"plain file", path("plain.txt"), 2, -7, false},
        {"program", path("program"), 6, -7, false},
        {"alias to a folder", path("folder-alias.desktop"), 5, 1, false},
        {"alias to a document", path("doc-alias.desktop"), 5, 2, false},
        {"alias to an application", path("app-alias.desktop"), 6, -7, false},
        {"link to a folder", path("folder-link"), 3, 1, false},
        {"fifo", path("fifo"), 0, -7, false},
    };
    const auto runner = RBRootRunner::create();
    for (const Row &row : rows) {
        int32_t pointsTo = -7;
        bool packaged = true;
        EXPECT_EQ(runner->typeForItemAtPath(row.path, &pointsTo, &packaged), row.kind) << row.name;
        EXPECT_EQ(pointsTo, row.pointsTo) << row.name;
        EXPECT_EQ(packaged, row.packaged) << row.name;
        // The file system objects' classification agrees on items that exist.
        EXPECT_EQ(rk::RBFileSystemObject::typeForItemAtPath(QFile::decodeName(row.path), nullptr, nullptr), row.kind)
            << row.name;
    }

    // The differences: no existence test first (the packaged flag is written
    // for a missing item), and a dangling link is examined and reported.
    QStringList lines;
    rpf_diagnostics_set_callback(
        [](const char *text, void *context) {
            static_cast<QStringList *>(context)->append(QString::fromUtf8(text).chopped(1)); // its line end
        },
        &lines);
    bool packaged = true;
    EXPECT_EQ(runner->typeForItemAtPath(path("missing"), nullptr, &packaged), 0);
    EXPECT_FALSE(packaged);
    packaged = true;
    EXPECT_EQ(rk::RBFileSystemObject::typeForItemAtPath(root + "/missing", nullptr, &packaged), 0);
    EXPECT_TRUE(packaged) << "the objects' classification leaves it untouched";
    EXPECT_TRUE(lines.isEmpty());
    EXPECT_EQ(runner->typeForItemAtPath(path("dangling"), nullptr, nullptr), 0);
    EXPECT_EQ(lines, QStringList{QStringLiteral("\t\tError getting item statistics")});
    lines.clear();
    EXPECT_EQ(rk::RBFileSystemObject::typeForItemAtPath(root + "/dangling", nullptr, nullptr), 0);
    EXPECT_TRUE(lines.isEmpty());
    rpf_diagnostics_reset();
    EXPECT_EQ(runner->typeForItemAtPath(QByteArray(), nullptr, nullptr), 0);
    EXPECT_EQ(runner->typeForItemAtPath(QStringLiteral("a\0b"), nullptr, nullptr), 0);
}

TEST_F(RootRunner, OpensTheApplicationThenTheDocumentThroughAdminopen)
{
    allow();
    writeFile(QFile::decodeName(path(kOddDocument.constData())), "document");
    const auto runner = RBRootRunner::create();
    runner->openItemAsRoot(path(kOddDocument.constData()), path("Recorder.app"));
    EXPECT_EQ(runner->lastOutcome(), Outcome::Opened);
    EXPECT_FALSE(runner->hasAuthorizationSession()) << "deauthenticated after the request";
    const QByteArray executable = path("Recorder.app/Contents/MacOS/Recorder");
    EXPECT_EQ(readNulSeparated(root + "/launcher"),
              (QList<QByteArray>{QFile::encodeName(rk::helperProgramPath(QStringLiteral("adminopen"))), executable,
                                 path(kOddDocument.constData())}));
    ASSERT_TRUE(rktest::waitFor([&] { return ran(); }));
    const QList<QByteArray> recorded = readNulSeparated(root + "/ran");
    ASSERT_EQ(recorded.size(), 2);
    EXPECT_EQ(recorded.at(1), path(kOddDocument.constData())) << "one argument, bytes unchanged";
    EXPECT_TRUE(events.isEmpty()) << events.join(u'|').toStdString();

    QFile checker(root + "/checker.log");
    ASSERT_TRUE(checker.open(QIODevice::ReadOnly));
    const QByteArray log = checker.readAll();
    EXPECT_TRUE(log.contains("--action-id org.ravix.rkcore.adminopen --process")) << log.constData();
    EXPECT_FALSE(log.contains("--allow-user-interaction")) << "already authorised: no interaction";
}

TEST_F(RootRunner, TheClassEntryPointsMakeARunnerPerRequest)
{
    allow();
    EXPECT_TRUE(RBRootRunner::openFile(root + "/a document", root + "/Recorder.app"));
    const QList<QByteArray> launched = readNulSeparated(root + "/launcher");
    ASSERT_EQ(launched.size(), 3);
    EXPECT_EQ(launched.at(1), path("Recorder.app/Contents/MacOS/Recorder"));
    EXPECT_EQ(launched.at(2), path("a document"));
    QFile::remove(root + "/launcher");
    EXPECT_TRUE(RBRootRunner::openApplicationPathAsRoot(root + "/Recorder.app"));
    EXPECT_EQ(readNulSeparated(root + "/launcher").size(), 2);
    EXPECT_TRUE(events.isEmpty());
}

TEST_F(RootRunner, ClassicExecutablesGoThroughTheLauncher)
{
    allow();
    writeFile(root + "/Classic.app/Contents/MacOS/Classic", "Joy!peffpwpc", true);
    const auto runner = RBRootRunner::create();
    EXPECT_TRUE(runner->isCarbonAppAtPath(path("Classic.app/Contents/MacOS/Classic")));
    EXPECT_FALSE(runner->isCarbonAppAtPath(path("Recorder.app/Contents/MacOS/Recorder")));
    EXPECT_FALSE(runner->isCarbonAppAtPath("/dev/null"));
    runner->openItemAtPathAsRoot(path("Classic.app"));
    EXPECT_EQ(readNulSeparated(root + "/launcher"),
              (QList<QByteArray>{QFile::encodeName(rk::helperProgramPath(QStringLiteral("adminopen"))),
                                 RBRootRunner::kLaunchCFMAppPath, path("Classic.app/Contents/MacOS/Classic")}));
    // There is no such launcher here, so adminopen cannot start it.
    EXPECT_EQ(runner->lastOutcome(), Outcome::Failed);
    EXPECT_EQ(events, (QStringList{QStringLiteral("beep"),
                                   QStringLiteral("alert Sorry / Could not launch application as Administrator / OK"),
                                   QStringLiteral("terminate")}));
}

TEST_F(RootRunner, FailureTable)
{
    writeFile(root + "/plain.txt", "text");
    const auto runner = RBRootRunner::create();

    runner->openItemAtPathAsRoot(path("plain.txt"));
    EXPECT_EQ(runner->lastOutcome(), Outcome::NotAnApplication);
    EXPECT_TRUE(events.isEmpty());
    EXPECT_FALSE(QFile::exists(root + "/checker.log")) << "no authentication for a non-application";

    runner->openItemAtPathAsRoot(path("Recorder.app")); // pkcheck says no
    EXPECT_EQ(runner->lastOutcome(), Outcome::Refused);
    EXPECT_TRUE(events.isEmpty());
    EXPECT_FALSE(QFile::exists(root + "/launcher"));
    QFile checker(root + "/checker.log");
    ASSERT_TRUE(checker.open(QIODevice::ReadOnly));
    EXPECT_TRUE(checker.readAll().contains("--allow-user-interaction")) << "the password was asked for";

    RBRootRunner::setAuthorizationPrograms("/no/such/pkcheck", QFile::encodeName(root + "/fake-pkexec"));
    runner->openItemAtPathAsRoot(path("Recorder.app"));
    EXPECT_EQ(runner->lastOutcome(), Outcome::NoAuthority) << "polkit cannot be asked";
    EXPECT_TRUE(events.isEmpty());
    EXPECT_FALSE(QFile::exists(root + "/launcher"));
    RBRootRunner::setAuthorizationPrograms(QFile::encodeName(root + "/fake-pkcheck"),
                                           QFile::encodeName(root + "/fake-pkexec"));

    allow();
    writeFile(root + "/launcher.fail", "yes");
    runner->openItemAtPathAsRoot(path("Recorder.app"));
    EXPECT_EQ(runner->lastOutcome(), Outcome::Failed);
    EXPECT_EQ(events, (QStringList{QStringLiteral("beep"),
                                   QStringLiteral("alert Sorry / Could not launch application as Administrator / OK"),
                                   QStringLiteral("terminate")}));
    EXPECT_FALSE(ran());

    events.clear();
    QTemporaryDir empty;
    rk::setHelperProgramDirectory(empty.path());
    runner->openItemAtPathAsRoot(path("Recorder.app"));
    EXPECT_EQ(runner->lastOutcome(), Outcome::NoHelper);
    EXPECT_EQ(events, (QStringList{QStringLiteral("alert Sorry / Could not find adminopen application / OK"),
                                   QStringLiteral("terminate")}));
    EXPECT_TRUE(RBRootRunner::create()->adminOpenApplicationPath().isNull());
}

TEST_F(RootRunner, Authorization)
{
    const auto runner = RBRootRunner::create();
    EXPECT_FALSE(runner->fetchPassword()) << "no session yet";
    EXPECT_FALSE(runner->isAuthenticated());
    EXPECT_TRUE(runner->hasAuthorizationSession());
    EXPECT_FALSE(runner->authenticate());
    allow();
    EXPECT_TRUE(runner->authenticate());
    runner->deauthenticate();
    EXPECT_FALSE(runner->hasAuthorizationSession());
    runner->deauthenticate();
}

TEST(Adminopen, StartsTheNamedProgramWithItsArguments)
{
    const QByteArray adminopen = QFile::encodeName(rk::helperProgramPath(QStringLiteral("adminopen")));
    ASSERT_FALSE(adminopen.isEmpty());
    QTemporaryDir folder;
    const QByteArray out = QFile::encodeName(folder.path()) + "/args";
    struct Row {
        const char *name = nullptr;
        QList<QByteArray> arguments;
        int status = 0;
    } rows[] = {
        {"no program", {}, 2},
        {"empty program", {""}, 2},
        {"missing program", {"/no/such/program"}, 1},
        {"not searched on PATH", {"sh", "-c", "true"}, 1},
        {"started", {"/bin/sh", "-c", "printf '%s\\0' \"$@\" > " + out, "sh", "-x", kOddDocument, "a b"}, 0},
    };
    for (const Row &row : rows) {
        QList<QByteArray> argv{adminopen};
        argv.append(row.arguments);
        EXPECT_EQ(rk::platform::runAndWait(argv, true), row.status) << row.name;
    }
    ASSERT_TRUE(rktest::waitFor([&] { return QFile::exists(QFile::decodeName(out)); }));
    rktest::waitFor([&] { return readNulSeparated(QFile::decodeName(out)).size() == 3; }, 2000);
    EXPECT_EQ(readNulSeparated(QFile::decodeName(out)), (QList<QByteArray>{"-x", kOddDocument, "a b"}));
}

TEST(RootRunnerApplication, IsLaunchedAndShowsItsWindow)
{
    if (!rktest::haveDisplay()) GTEST_SKIP() << "needs an X display with a window manager";
    ASSERT_TRUE(RBRootRunner::askForAndRunUserSelectionAsRoot());
    // wmctrl lists the window with its owner's pid: end that program.
    std::string line;
    EXPECT_TRUE(rktest::waitFor(
        [&] {
            std::FILE *list = popen("wmctrl -lp | grep ' Root Runner$'", "r");
            char buffer[256] = {};
            line = list != nullptr && std::fgets(buffer, sizeof buffer, list) != nullptr ? buffer : "";
            if (list != nullptr) pclose(list);
            return !line.empty();
        },
        20000));
    unsigned window = 0;
    int desktop = 0;
    int pid = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%x %d %d", &window, &desktop, &pid), 3) << line;
    EXPECT_GT(pid, 0);
    kill(pid, SIGTERM);

    QTemporaryDir empty;
    rk::setHelperProgramDirectory(empty.path());
    EXPECT_FALSE(RBRootRunner::askForAndRunUserSelectionAsRoot());
    rk::setHelperProgramDirectory({});
}

class RootRunnerPolkit : public RootRunner {
protected:
    void SetUp() override
    {
        if (qgetenv("RKCORE_TEST_POLKIT") != "1")
            GTEST_SKIP() << "needs polkitd on a private system bus (run through tests/services/with_polkit.sh)";
        RootRunner::SetUp();
        RBRootRunner::setAuthorizationPrograms({}, {});
    }
};

TEST_F(RootRunnerPolkit, AnAuthorisedRunStartsTheProgramAsRoot)
{
    ASSERT_EQ(geteuid(), 0U);
    writeFile(QFile::decodeName(path(kOddDocument.constData())), "document");
    const auto runner = RBRootRunner::create();
    EXPECT_TRUE(runner->isAuthenticated());
    runner->openItemAsRoot(path(kOddDocument.constData()), path("Recorder.app"));
    EXPECT_EQ(runner->lastOutcome(), Outcome::Opened);
    ASSERT_TRUE(rktest::waitFor([&] { return ran(); }));
    const QList<QByteArray> recorded = readNulSeparated(root + "/ran");
    EXPECT_EQ(recorded, (QList<QByteArray>{"0\n", path(kOddDocument.constData())}));
    // The action keeps the display, so graphical programs can start.
    QFile display(root + "/display");
    ASSERT_TRUE(display.open(QIODevice::ReadOnly));
    EXPECT_EQ(display.readAll(), qgetenv("DISPLAY"));
    EXPECT_TRUE(events.isEmpty()) << events.join(u'|').toStdString();
}

TEST_F(RootRunnerPolkit, ARefusedRunStartsNothing)
{
    const QByteArray adminopen = QFile::encodeName(rk::helperProgramPath(QStringLiteral("adminopen")));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // As an unprivileged user: polkit says no, and pkexec starts nothing.
        const gid_t nogroup = 65534;
        if (setgroups(0, nullptr) != 0 || setgid(nogroup) != 0 || setuid(65534) != 0) _exit(10);
        const auto runner = RBRootRunner::create();
        if (runner->isAuthenticated()) _exit(11);
        runner->openItemAtPathAsRoot(path("Recorder.app"));
        if (runner->lastOutcome() != Outcome::Refused) _exit(12);
        if (rk::platform::polkitExecute(adminopen, {path("Recorder.app/Contents/MacOS/Recorder")})) _exit(13);
        _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    rktest::waitFor([] { return false; }, 500);
    EXPECT_FALSE(ran());
}

} // namespace

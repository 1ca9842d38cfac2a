// RKProcess against real child processes: the walk and its cursor, the cache,
// garbage collection, names from argv[0], and (with an X display and a window
// manager) background-only, front, foreground, show, hide and focus as the
// window manager sees them (cross-checked with wmctrl and the EWMH
// properties).
#include <rkcore/RKProcess.h>

#include "../../src/platform/ProcessTable_p.h"
#include "../../src/platform/X11Windows_p.h"
#include "process_test_support.h"

#include <QSet>

#include <optional>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using rk::ProcessSerialNumber;
using rk::RKProcess;

ProcessSerialNumber psnOf(pid_t pid)
{
    return {0, static_cast<uint32_t>(pid)};
}

// One whole walk: every object getNextProcess answers until nil.
QList<std::shared_ptr<RKProcess>> walk()
{
    QList<std::shared_ptr<RKProcess>> seen;
    while (auto process = RKProcess::getNextProcess())
        seen.append(process);
    return seen;
}

std::shared_ptr<RKProcess> find(const QList<std::shared_ptr<RKProcess>> &processes, pid_t pid)
{
    for (const auto &process : processes)
        if (process->psn() == psnOf(pid)) return process;
    return nullptr;
}

TEST(ProcessTable, CommandNames)
{
    struct Row {
        const char *name;
        QByteArray cmdline;
        QByteArray expected;
    } rows[] = {
        {"path",
         QByteArray("/usr/bin/sleep\0"
                    "30\0",
                    18),
         "sleep"},
        {"bare", QByteArray("sleep\0", 6), "sleep"},
        {"trailing slash", QByteArray("/opt/tool/\0", 11), "tool"},
        {"root", QByteArray("/\0", 2), "/"},
        {"empty argv0", QByteArray("\0x\0", 3), ""},
        {"no terminator", QByteArray("/a/b"), "b"},
        {"spaces", QByteArray("/a/my prog\0", 11), "my prog"},
        {"empty", QByteArray(), ""},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(
            rk::platform::commandNameFromCmdline(row.cmdline.constData(), static_cast<size_t>(row.cmdline.size())),
            row.expected)
            << row.name;
    }
}

TEST(ProcessTable, StatusLines)
{
    struct Row {
        const char *name;
        QByteArray stat;
        char expected; // 0: none
    } rows[] = {
        {"running", "12 (sleep) S 1 12", 'S'},
        {"zombie", "12 (sleep) Z 1 12", 'Z'},
        {"parenthesis in the name", "12 (a) b) (c)) R 1", 'R'},
        {"no state", "12 (sleep)", 0},
        {"no blank", "12 (sleep)S", 0},
        {"no name", "12 S", 0},
        {"empty", "", 0},
    };
    for (const Row &row : rows) {
        const auto state = rk::platform::processStateFromStat(row.stat);
        EXPECT_EQ(state.value_or(0), row.expected) << row.name;
    }
    struct TimeRow {
        const char *name = nullptr;
        QByteArray stat;
        std::optional<uint64_t> expected;
    } times[] = {
        {"real layout", "7 (a) b) S 1 7 7 0 -1 4194560 10 0 0 0 1 2 0 0 20 0 1 0 98765 1000 200 18446744073709551615",
         98765},
        {"too few fields", "7 (a) S 1 7 7 0 -1 4194560 10 0", std::nullopt},
        {"not a number", "7 (a) S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 x", std::nullopt},
        {"no name", "7 S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19", std::nullopt},
    };
    for (const TimeRow &row : times)
        EXPECT_EQ(rk::platform::processStartTimeFromStat(row.stat), row.expected) << row.name;

    // The running test program itself.
    EXPECT_TRUE(rk::platform::processIsRunning(getpid()));
    EXPECT_FALSE(rk::platform::processIsRunning(0));
    EXPECT_FALSE(rk::platform::processIsRunning(-1));
    const auto started = rk::platform::processStartTime(getpid());
    ASSERT_TRUE(started.has_value());
    EXPECT_EQ(rk::platform::processStartTime(getpid()), started) << "stable for one process";
}

TEST(RKProcess, WalkEndsWithTheCursorBackAtTheStartAndFindsTheSameObjects)
{
    rktest::Child child("/bin/sleep", {"sleep", "30"});
    ASSERT_GT(child.pid(), 0);
    const auto first = walk();
    EXPECT_EQ(RKProcess::seekProcess(), (ProcessSerialNumber{0, 0}));
    const auto second = walk();
    EXPECT_EQ(RKProcess::seekProcess(), (ProcessSerialNumber{0, 0}));

    const auto sleeper = find(first, child.pid());
    ASSERT_NE(sleeper, nullptr);
    EXPECT_EQ(find(second, child.pid()), sleeper) << "a known process comes back as the same object";
    EXPECT_EQ(sleeper->getName(), QStringLiteral("sleep"));
    EXPECT_EQ(RKProcess::cachedProcessForKey(QStringLiteral("0-%1").arg(child.pid())), sleeper);
    EXPECT_FALSE(sleeper->isSticky());
    EXPECT_EQ(sleeper->space(), 0);

    // One object per serial number, each under its own key, in pid order.
    QSet<QString> keys;
    uint32_t previous = 0;
    for (const auto &process : first) {
        const QString key = RKProcess::keyForPSN(process->psn());
        EXPECT_FALSE(keys.contains(key)) << key.toStdString();
        keys.insert(key);
        EXPECT_GT(process->psn().lowLongOfPSN, previous);
        previous = process->psn().lowLongOfPSN;
    }
    EXPECT_EQ(keys.size(), first.size());
    // This program lists itself as background-only: the cursor stood on it.
    const auto self = find(first, getpid());
    ASSERT_NE(self, nullptr);
    EXPECT_TRUE(self->isBGOnly());
}

// The pids of running processes as `ps -e` lists them (an oracle that reads
// /proc on its own); zombies have ended and are left out, as the walk does.
QSet<uint32_t> psPids()
{
    QSet<uint32_t> pids;
    std::FILE *ps = popen("ps -e -o pid=,stat=", "r");
    if (ps == nullptr) return pids;
    unsigned pid = 0;
    char state[16] = {};
    while (std::fscanf(ps, "%u %15s", &pid, state) == 2) {
        if (state[0] != 'Z' && state[0] != 'X') pids.insert(pid);
    }
    pclose(ps);
    return pids;
}

TEST(RKProcess, TheWalkAgreesWithPs)
{
    const QSet<uint32_t> before = psPids();
    QSet<uint32_t> walked;
    for (const auto &process : walk())
        walked.insert(process->psn().lowLongOfPSN);
    const QSet<uint32_t> after = psPids();
    ASSERT_FALSE(before.isEmpty());
    // Every process that lived throughout was walked; nothing walked was unknown to ps
    // (except ps itself and processes that came and went).
    QSet<uint32_t> throughout = before;
    throughout.intersect(after);
    for (const uint32_t pid : throughout)
        EXPECT_TRUE(walked.contains(pid)) << pid;
    int unknown = 0;
    for (const uint32_t pid : walked)
        unknown += (before.contains(pid) || after.contains(pid)) ? 0 : 1;
    EXPECT_LE(unknown, 3);
}

TEST(RKProcess, KeysAreSignedDecimals)
{
    EXPECT_EQ(RKProcess::keyForPSN({0, 1234}), QStringLiteral("0-1234"));
    EXPECT_EQ(RKProcess::keyForPSN({0xFFFFFFFFU, 0x80000000U}), QStringLiteral("-1--2147483648"));
}

TEST(RKProcess, FrontMarksSurviveWalks)
{
    rktest::Child child("/bin/sleep", {"sleep", "30"});
    auto process = find(walk(), child.pid());
    ASSERT_NE(process, nullptr);
    process->setFront(true);
    process.reset();
    const auto again = find(walk(), child.pid());
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(again->isFront());
    again->setFront(false);
}

TEST(RKProcess, ProcessForPSNAnswersTheCachedObjectOrAFreshOne)
{
    rktest::Child child("/bin/sleep", {"sleep", "30"});
    const auto uncachedA = RKProcess::processForPSN(psnOf(child.pid()));
    const auto uncachedB = RKProcess::processForPSN(psnOf(child.pid()));
    ASSERT_NE(uncachedA, nullptr);
    ASSERT_NE(uncachedB, nullptr);
    EXPECT_NE(uncachedA, uncachedB);
    EXPECT_EQ(RKProcess::cachedProcessForKey(RKProcess::keyForPSN(psnOf(child.pid()))), nullptr);
    // Retiring an uncached object leaves the cache alone.
    const auto cached = find(walk(), child.pid());
    uncachedA->retire();
    EXPECT_EQ(RKProcess::processForPSN(psnOf(child.pid())), cached);
}

TEST(RKProcess, InitWithPSNRefusesWhatDoesNotRun)
{
    struct Row {
        const char *name = nullptr;
        ProcessSerialNumber psn;
    } rows[] = {
        {"no process", {0, 0}},
        {"high word set", {1, static_cast<uint32_t>(getpid())}},
        {"beyond pid range", {0, 0xFFFFFFFFU}},
        {"unused pid", {0, 0x3FFFFFFFU}},
    };
    for (const Row &row : rows)
        EXPECT_EQ(RKProcess::initWithPSN(row.psn), nullptr) << row.name;

    rktest::Child child("/bin/sleep", {"sleep", "30"});
    child.killOnly();
    ASSERT_TRUE(rktest::waitFor([&] { return !rk::platform::processIsRunning(child.pid()); }));
    EXPECT_EQ(RKProcess::initWithPSN(psnOf(child.pid())), nullptr) << "a zombie has ended";
}

TEST(RKProcess, GarbageCollectionRetiresEndedProcesses)
{
    auto child = std::make_unique<rktest::Child>("/bin/sleep", QList<QByteArray>{"sleep", "30"});
    rktest::Child survivor("/bin/sleep", {"sleep", "30"});
    const pid_t pid = child->pid();
    walk();
    const auto process = RKProcess::cachedProcessForKey(RKProcess::keyForPSN(psnOf(pid)));
    ASSERT_NE(process, nullptr);
    EXPECT_TRUE(process->validate());

    child.reset(); // killed and reaped
    RKProcess::doGarbageCollection();
    EXPECT_EQ(RKProcess::cachedProcessForKey(RKProcess::keyForPSN(psnOf(pid))), nullptr);
    for (const auto &cached : RKProcess::processEnumerator())
        EXPECT_NE(cached->psn(), psnOf(pid));
    EXPECT_NE(RKProcess::cachedProcessForKey(RKProcess::keyForPSN(psnOf(survivor.pid()))), nullptr);
    EXPECT_FALSE(process->validate()) << "the object outlives the cache and still answers";
}

TEST(RKProcess, NamesComeFromArgvZeroElseFromTheKernel)
{
    struct Row {
        const char *name;
        QByteArray argv0;
        QString expected;
    } rows[] = {
        {"last component", "/no/such/dir/renamed tool", QStringLiteral("renamed tool")},
        {"not UTF-8", "/x/bad\xff\xfe-name", QString()},
        {"empty argv0 gives the kernel's name", "", QStringLiteral("sleep")},
    };
    for (const Row &row : rows) {
        rktest::Child child("/bin/sleep", {row.argv0, "30"});
        ASSERT_TRUE(child.waitForArguments()) << row.name;
        const auto process = RKProcess::processForPSN(psnOf(child.pid()));
        ASSERT_NE(process, nullptr) << row.name;
        if (row.expected.isNull()) {
            EXPECT_TRUE(process->getName().startsWith(QStringLiteral("bad"))) << row.name;
            EXPECT_TRUE(process->getName().endsWith(QStringLiteral("-name"))) << row.name;
        } else {
            EXPECT_EQ(process->getName(), row.expected) << row.name;
        }
    }
}

class RKProcessWindows : public testing::Test {
protected:
    void SetUp() override
    {
        if (!rktest::haveDisplay()) GTEST_SKIP() << "needs an X display with a window manager";
        windows = rk::platform::X11Windows::open();
        ASSERT_NE(windows, nullptr);
    }

    // Starts a window fixture and waits until the window manager manages it.
    std::unique_ptr<rktest::Child> startWindow(const char *title)
    {
        auto child = std::make_unique<rktest::Child>(rktest::windowFixturePath().constData(),
                                                     QList<QByteArray>{"window_fixture", "--title", title});
        window = static_cast<uint32_t>(std::stoul("0" + child->readLine()));
        EXPECT_TRUE(rktest::waitFor([&] { return !windows->windowsOfProcess(child->pid()).empty(); }))
            << "the window manager lists the window";
        return child;
    }

    std::unique_ptr<rk::platform::X11Windows> windows;
    uint32_t window = 0;
};

TEST_F(RKProcessWindows, WindowedAndWindowlessChildren)
{
    const auto windowed = startWindow("windowed");
    rktest::Child windowless("/bin/sleep", {"sleep", "30"});
    const auto all = walk();
    const auto withWindow = find(all, windowed->pid());
    const auto withoutWindow = find(all, windowless.pid());
    ASSERT_NE(withWindow, nullptr);
    ASSERT_NE(withoutWindow, nullptr);
    EXPECT_FALSE(withWindow->isBGOnly());
    EXPECT_TRUE(withWindow->isForeground());
    EXPECT_TRUE(withoutWindow->isBGOnly());
    EXPECT_FALSE(withoutWindow->isForeground());
    EXPECT_FALSE(withoutWindow->isFrontProcess());
    // wmctrl (an independent EWMH client) sees the same owner.
    EXPECT_EQ(rktest::shell("wmctrl -lp | grep -q ' " + std::to_string(windowed->pid()) + " '"), 0);
}

TEST_F(RKProcessWindows, FocusHideAndShowReachTheWindowManager)
{
    const auto first = startWindow("first");
    const uint32_t firstWindow = window;
    const auto second = startWindow("second");
    const auto process = RKProcess::processForPSN(psnOf(first->pid()));
    const auto other = RKProcess::processForPSN(psnOf(second->pid()));
    ASSERT_NE(process, nullptr);
    ASSERT_NE(other, nullptr);

    process->focus();
    EXPECT_TRUE(rktest::waitFor([&] { return windows->activeWindow() == firstWindow; }));
    EXPECT_TRUE(process->isFrontProcess());
    EXPECT_FALSE(other->isFrontProcess());
    other->focus();
    EXPECT_TRUE(rktest::waitFor([&] { return other->isFrontProcess(); }));
    EXPECT_FALSE(process->isFrontProcess());

    process->hide();
    EXPECT_TRUE(rktest::waitFor([&] { return windows->isHidden(firstWindow); })) << "iconified";
    EXPECT_FALSE(process->isForeground());
    process->show();
    EXPECT_TRUE(rktest::waitFor([&] { return !windows->isHidden(firstWindow); })) << "restored";
    EXPECT_TRUE(process->isForeground());
}

TEST_F(RKProcessWindows, AWindowThatVanishesGivesPlainAnswers)
{
    auto child = startWindow("vanishing");
    const auto process = RKProcess::processForPSN(psnOf(child->pid()));
    ASSERT_NE(process, nullptr);
    process->focus();
    ASSERT_TRUE(rktest::waitFor([&] { return process->isFrontProcess(); }));
    child->end();
    EXPECT_TRUE(rktest::waitFor([&] { return windows->windowsOfProcess(process->psn().lowLongOfPSN).empty(); }));
    EXPECT_FALSE(process->isFrontProcess());
    EXPECT_FALSE(process->isForeground());
    process->show();
    process->hide();
    process->focus();
    EXPECT_FALSE(windows->isFullScreen(window));
    EXPECT_TRUE(windows->applicationIdentifier(window).isNull());
    EXPECT_FALSE(process->validate());
}

} // namespace

// The rkcore tool as a person at a terminal and a script meet it: every
// command's --help, one wording for bad arguments, --json documents read back
// with a JSON parser, ls against ls -l (sizes beyond 32 bits, names quoted on
// a pseudo-terminal, names that are not UTF-8, a folder changing during the
// read), output errors, the URL traces and the keychain's statuses.
//
// The tool runs as a separate process (posix_spawn, or forkpty for the
// terminal), with the command line passed as bytes.

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QRegularExpression>

#include <fcntl.h>
#include <ftw.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

const QByteArray kTool = RKCORE_TOOL;
// Runs a command against a password store of its own (here: a locked one).
const QByteArray kWithKeyring = RKCORE_WITH_KEYRING;

struct Result {
    int status = -1;
    QByteArray out;
    QByteArray err;
};

// Runs `program` with `arguments` (bytes) and `input` on standard input;
// standard output goes to `outputFile` when one is named. `environment`
// entries ("NAME=value") are added to the test's own.
Result runProgram(const QByteArray &program, const QList<QByteArray> &arguments, const QByteArray &input = {},
                  const char *outputFile = nullptr, const QList<QByteArray> &environment = {})
{
    int inPipe[2], outPipe[2], errPipe[2];
    if (pipe2(inPipe, O_CLOEXEC) != 0 || pipe2(outPipe, O_CLOEXEC) != 0 || pipe2(errPipe, O_CLOEXEC) != 0) return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inPipe[0], STDIN_FILENO);
    if (outputFile != nullptr)
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputFile, O_WRONLY, 0);
    else
        posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
    std::vector<char *> argv{const_cast<char *>(program.constData())};
    for (const QByteArray &argument : arguments)
        argv.push_back(const_cast<char *>(argument.constData()));
    argv.push_back(nullptr);
    std::vector<QByteArray> envStore;
    for (char **e = environ; *e != nullptr; ++e)
        envStore.emplace_back(*e);
    for (const QByteArray &entry : environment) {
        const QByteArray name = entry.left(entry.indexOf('=') + 1);
        std::erase_if(envStore, [&](const QByteArray &existing) { return existing.startsWith(name); });
        if (!entry.endsWith('=')) envStore.push_back(entry);
    }
    std::vector<char *> envp;
    envp.reserve(envStore.size() + 1);
    for (QByteArray &entry : envStore)
        envp.push_back(entry.data());
    envp.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program.constData(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(inPipe[0]);
    close(outPipe[1]);
    close(errPipe[1]);
    Result result;
    if (spawned != 0) {
        close(inPipe[1]);
        close(outPipe[0]);
        close(errPipe[0]);
        return result;
    }
    (void)signal(SIGPIPE, SIG_IGN);
    if (!input.isEmpty()) (void)write(inPipe[1], input.constData(), static_cast<size_t>(input.size()));
    close(inPipe[1]);
    pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    QByteArray *sinks[2] = {&result.out, &result.err};
    int open = 2;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (open > 0 && std::chrono::steady_clock::now() < deadline) {
        if (poll(fds, 2, 1000) <= 0) continue;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            char buffer[65536];
            const ssize_t got = read(fds[i].fd, buffer, sizeof buffer);
            if (got > 0) {
                sinks[i]->append(buffer, got);
            } else {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    if (open > 0) kill(pid, SIGKILL);
    for (const pollfd &fd : fds)
        if (fd.fd >= 0) close(fd.fd);
    int status = 0;
    waitpid(pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

Result rkcore(const QList<QByteArray> &arguments, const QByteArray &input = {}, const char *outputFile = nullptr,
              const QList<QByteArray> &environment = {})
{
    return runProgram(kTool, arguments, input, outputFile, environment);
}

// Runs a program on a pseudo-terminal and answers what it wrote there (the
// terminal turns "\n" into "\r\n"; the "\r"s are taken out).
QByteArray onTerminal(const QList<QByteArray> &command)
{
    std::vector<char *> argv;
    for (const QByteArray &word : command)
        argv.push_back(const_cast<char *>(word.constData()));
    argv.push_back(nullptr);
    int master = -1;
    winsize size{};
    size.ws_col = 200;
    size.ws_row = 50;
    const pid_t pid = forkpty(&master, nullptr, nullptr, &size);
    if (pid == 0) {
        execv(argv[0], argv.data());
        _exit(127);
    }
    QByteArray text;
    if (pid < 0) return text;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = read(master, buffer, sizeof buffer)) > 0)
        text.append(buffer, got);
    close(master);
    waitpid(pid, nullptr, 0);
    return text.replace("\r\n", "\n");
}

QList<QByteArray> lines(const QByteArray &text)
{
    QList<QByteArray> list = text.split('\n');
    if (!list.isEmpty() && list.last().isEmpty()) list.removeLast();
    return list;
}

// The command names the tool's own help lists ("  NAME USAGE" lines).
QList<QByteArray> commandNames()
{
    QList<QByteArray> names;
    for (const QByteArray &line : lines(rkcore({"--help"}).out)) {
        if (line.startsWith("  ") && !line.startsWith("   ")) names << line.mid(2).split(' ').first();
    }
    return names;
}

// A fresh folder under /tmp, removed with everything in it (names that are
// not UTF-8 included, which QTemporaryDir cannot remove).
class ScratchFolder {
public:
    ScratchFolder()
    {
        QByteArray templ = "/tmp/rkcore-usability-XXXXXX";
        if (mkdtemp(templ.data()) != nullptr) path_ = templ;
    }
    ~ScratchFolder()
    {
        if (!path_.isEmpty()) (void)nftw(path_.constData(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
    }
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;
    bool isValid() const { return !path_.isEmpty(); }
    QString path() const { return QFile::decodeName(path_); }

private:
    static int removeEntry(const char *path, const struct stat * /*data*/, int /*type*/, FTW * /*walk*/)
    {
        (void)::remove(path);
        return 0; // go on with the rest whatever happened
    }
    QByteArray path_;
};

QByteArray touch(const QString &folder, const QByteArray &name)
{
    QByteArray path = QFile::encodeName(folder) + '/' + name;
    const int fd = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    if (fd >= 0) close(fd);
    return path;
}

// ---- help ----

TEST(Help, EveryCommandAnswersItsOwnHelpOnStandardOutput)
{
    const QList<QByteArray> names = commandNames();
    ASSERT_GE(names.size(), 17) << "the tool's help lists too few commands";
    for (const QByteArray &name : names) {
        for (const QByteArray &word : {QByteArray("--help"), QByteArray("-h")}) {
            const Result result = rkcore({name, word});
            EXPECT_EQ(result.status, 0) << name.constData() << " " << word.constData();
            EXPECT_TRUE(result.out.startsWith("Usage: rkcore " + name)) << result.out.constData();
            EXPECT_TRUE(result.out.contains("\nExit status: ")) << name.constData();
            EXPECT_TRUE(result.out.contains("--help")) << name.constData();
            EXPECT_TRUE(result.err.isEmpty()) << name.constData() << ": " << result.err.constData();
        }
    }
    // Help after other arguments, and before "--" only.
    EXPECT_EQ(rkcore({"url", "ftp://h", "--help"}).status, 0);
    EXPECT_EQ(rkcore({"url", "--", "--help"}).status, 2);
}

// ---- bad arguments: one wording, one line, status 2, nothing on standard output ----

struct BadArguments {
    const char *name = nullptr;
    QList<QByteArray> arguments;
    const char *message = nullptr; // what the line says after "rkcore COMMAND: "
};

TEST(BadArguments, OneLineInOneWordingWithStatusTwo)
{
    const BadArguments table[] = {
        {"unknown option", {"ls", "--x"}, "unknown option '--x'"},
        {"unknown option with a value", {"du", "--bytes=3", "/"}, "unknown option '--bytes'"},
        {"unknown option of a text command", {"url", "--frob", "ftp://h"}, "unknown option '--frob'"},
        {"missing value", {"ls", "--sort"}, "option '--sort' needs a value"},
        {"value for a flag", {"ls", "--all=yes"}, "option '--all' takes no value"},
        {"missing argument", {"perms"}, "missing argument"},
        {"missing argument after", {"keychain", "find", "host"}, "missing argument after 'host'"},
        {"extra argument", {"perms", "644", "755"}, "extra argument '755'"},
        {"extra argument of a bare command", {"labels", "x"}, "extra argument 'x'"},
        {"url --help as a text", {"url", "--", "--help"}, "not a supported URL: '--help'"},
        {"trailing line end", {"size", "5\n"}, "argument '5\\n' ends in a line end"},
        {"trailing blank", {"perms", "644 "}, "argument '644 ' ends in a blank"},
        {"leading blank", {"keychain", "find", " host", "user"}, "argument ' host' begins with a blank"},
        {"option value with a line end",
         {"du", "--threads", "2\n", "/"},
         "the value of '--threads' '2\\n' ends in a line end"},
        {"port zero", {"keychain", "find", "h", "u", "0"}, "PORT must lie between 1 and 65535, not 0"},
        {"port too large", {"keychain", "find", "h", "u", "65536"}, "PORT must lie between 1 and 65535, not 65536"},
        {"port not a number", {"keychain", "find", "h", "u", "21x"}, "PORT is not a whole number: '21x'"},
        {"URL port too large", {"url", "ftp://h:65536/x"}, "the URL's port 65536 is outside 1-65535"},
        {"URL port zero", {"url", "sftp://u:p@h:0"}, "the URL's port 0 is outside 1-65535"},
        {"February 30", {"lsdate", "Feb 30 10:30"}, "impossible date 'Feb 30 10:30': Feb has no day 30"},
        {"hour 24", {"lsdate", "Jan 15 24:00"}, "impossible date 'Jan 15 24:00': no time of day is 24:00"},
        {"minute 60", {"lsdate", "Jan 15 10:60"}, "impossible date 'Jan 15 10:60': no time of day is 10:60"},
        {"day 0", {"lsdate", "Jan  0 10:30"}, "impossible date 'Jan  0 10:30': Jan has no day 0"},
        {"29 February of a common year",
         {"lsdate", "Feb 29  2001"},
         "impossible date 'Feb 29  2001': Feb 2001 has no day 29"},
        {"no such month", {"lsdate", "Foo 10 10:30"}, "impossible date 'Foo 10 10:30': no month is called 'Foo'"},
        {"size overflow",
         {"size", "18446744073709551616"},
         "byte count 18446744073709551616 is above 18446744073709551615"},
        {"threads overflow",
         {"du", "--threads", "99999999999999999999", "/"},
         "--threads must lie between 1 and 64, not 99999999999999999999"},
        {"count overflow",
         {"fullscreen", "--count", "4294967297"},
         "--count must lie between 1 and 2147483647, not 4294967297"},
        {"key code overflow", {"hotkey", "show", "32768", "0"}, "not a 16-bit key code: '32768'"},
        {"unknown sort", {"ls", "--sort", "colour"}, "--sort takes name, date, size or access, not 'colour'"},
        {"keychain action", {"keychain", "list", "h", "u"}, "unknown action 'list' (set, find or delete)"},
    };
    for (const BadArguments &row : table) {
        const Result result = rkcore(row.arguments);
        const QByteArray command = row.arguments.first();
        const QByteArray expected =
            "rkcore " + command + ": " + row.message + " (see 'rkcore " + command + " --help')\n";
        EXPECT_EQ(result.status, 2) << row.name;
        EXPECT_EQ(result.err, expected) << row.name;
        EXPECT_TRUE(result.out.isEmpty()) << row.name << ": " << result.out.constData();
    }
}

TEST(BadArguments, UnknownCommandAndNoCommand)
{
    EXPECT_EQ(rkcore({"frobnicate"}).err, "rkcore: unknown command 'frobnicate' (see 'rkcore --help')\n");
    EXPECT_EQ(rkcore({"frobnicate"}).status, 2);
    EXPECT_EQ(rkcore({}).status, 2);
}

// Values that only look odd stay accepted: a listing text beginning with '-',
// the largest counts, the widest ports.
TEST(BadArguments, EdgeValuesThatAreFine)
{
    const QList<QList<QByteArray>> table = {{"perms", "-rwxr-xr-x"},      {"size", "18446744073709551615"},
                                            {"lsdate", "Feb 29 10:30"},   {"lsdate", "Feb 29  2000"},
                                            {"url", "ftp://h:65535/x"},   {"url", "ftp://h:1/x"},
                                            {"hotkey", "show", "-1", "0"}};
    for (const auto &arguments : table) {
        const Result result = rkcore(arguments);
        EXPECT_EQ(result.status, 0) << arguments.join(' ').constData() << ": " << result.err.constData();
    }
}

// ---- JSON ----

QJsonObject parsedJson(const QList<QByteArray> &arguments)
{
    const Result result = rkcore(arguments);
    EXPECT_EQ(result.status, 0) << arguments.join(' ').constData() << ": " << result.err.constData();
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(result.out, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError)
        << arguments.join(' ').constData() << ": " << result.out.constData();
    EXPECT_TRUE(document.isObject());
    return document.object();
}

// Every label of the text form is a member of the JSON document, with the
// same value.
TEST(Json, FieldCommandsCarryEveryFieldOfTheText)
{
    const QList<QList<QByteArray>> table = {{"perms", "0o4755"},        {"size", "5368709120"},
                                            {"lsdate", "Jan 15 10:30"}, {"url", "sftp://me:pw@host:2222/data"},
                                            {"info", "/usr/bin/sh"},    {"info", "/etc"}};
    static const QRegularExpression field(QStringLiteral("^([^:]+): +(.*)$"));
    for (const auto &arguments : table) {
        const QJsonObject json = parsedJson(QList<QByteArray>{arguments.first(), "--json"} + arguments.mid(1));
        const Result text = rkcore(arguments);
        for (const QByteArray &line : lines(text.out)) {
            const auto match = field.match(QString::fromUtf8(line));
            if (!match.hasMatch()) continue;
            EXPECT_EQ(json.value(match.captured(1)).toString(), match.captured(2))
                << arguments.join(' ').constData() << ": " << line.constData();
        }
    }
    EXPECT_FALSE(parsedJson({"url", "--json", "sftp://me:secret@h/x"}).contains(QStringLiteral("secret")));
}

TEST(Json, ListingsAndUsage)
{
    ScratchFolder folder;
    ASSERT_TRUE(folder.isValid());
    touch(folder.path(), "plain");
    touch(folder.path(), "big");
    ASSERT_EQ(truncate(QFile::encodeName(folder.path() + QStringLiteral("/big")).constData(), 5LL << 30), 0);
    ASSERT_EQ(symlink("plain", QFile::encodeName(folder.path() + QStringLiteral("/to-plain")).constData()), 0);
    const QByteArray path = QFile::encodeName(folder.path());
    const QJsonObject listing = parsedJson({"ls", "--json", path, "/etc/hostname"});
    const QJsonArray sections = listing.value(QStringLiteral("paths")).toArray();
    ASSERT_EQ(sections.size(), 2);
    QHash<QString, QJsonObject> entries;
    for (const auto &entry : sections.at(0).toObject().value(QStringLiteral("entries")).toArray())
        entries.insert(entry.toObject().value(QStringLiteral("name")).toString(), entry.toObject());
    EXPECT_EQ(entries.value(QStringLiteral("big")).value(QStringLiteral("size")).toInteger(), 5LL << 30);
    EXPECT_EQ(entries.value(QStringLiteral("big")).value(QStringLiteral("sizeText")).toString(), QStringLiteral("5GB"));
    EXPECT_EQ(entries.value(QStringLiteral("to-plain")).value(QStringLiteral("target")).toString(),
              QStringLiteral("plain"));
    EXPECT_EQ(entries.value(QStringLiteral("plain")).value(QStringLiteral("kind")).toString(), QStringLiteral("file"));
    for (const char *key : {"permissions", "links", "owner", "group", "date"})
        EXPECT_TRUE(entries.value(QStringLiteral("plain")).contains(QLatin1String(key))) << key;

    const QJsonObject du = parsedJson({"du", "--json", "--apparent", path});
    EXPECT_TRUE(du.value(QStringLiteral("apparent")).toBool());
    EXPECT_EQ(du.value(QStringLiteral("paths")).toArray().at(0).toObject().value(QStringLiteral("path")).toString(),
              folder.path());

    // Failures write no half document; usage errors none at all.
    EXPECT_TRUE(rkcore({"ls", "--json", "--sort", "colour"}).out.isEmpty());
    EXPECT_EQ(rkcore({"url", "--json", "http://h/"}).status, 2);
}

// ---- output errors ----

TEST(OutputErrors, AFullDeviceGivesOneLineAndAFailure)
{
    const QList<QList<QByteArray>> table = {{"ls", "/"},
                                            {"ls", "--json", "/usr/bin"},
                                            {"--help"},
                                            {"ls", "--help"},
                                            {"perms", "755"},
                                            {"size", "--json", "1"},
                                            {"url", "ftp://h/x"},
                                            {"labels"},
                                            {"info", "/etc/hostname"},
                                            {"du", "/etc/hostname"}};
    for (const auto &arguments : table) {
        const Result result = rkcore(arguments, {}, "/dev/full");
        EXPECT_NE(result.status, 0) << arguments.join(' ').constData();
        EXPECT_EQ(lines(result.err).size(), 1) << arguments.join(' ').constData() << ": " << result.err.constData();
        EXPECT_TRUE(result.err.contains("cannot write to standard output: No space left on device"))
            << result.err.constData();
    }
}

// ---- ls against ls -l ----

// The size column of `ls -l` for the item at `path`.
QByteArray lsSize(const QByteArray &path)
{
    const Result result = runProgram("/bin/ls", {"-ld", path});
    return result.out.simplified().split(' ').value(4);
}

TEST(Listing, SizesBeyondThirtyTwoBitsAgreeWithLsL)
{
    ScratchFolder folder;
    ASSERT_TRUE(folder.isValid());
    struct Size {
        const char *name = nullptr;
        long long bytes = 0;
        const char *text = nullptr;
    };
    const Size table[] = {{"three", 3LL << 30, "3GB"},
                          {"five", 5LL << 30, "5GB"},
                          {"four-plus-one", (4LL << 30) + 1, "4GB"},
                          {"small", 1500, nullptr}};
    for (const Size &row : table) {
        const QByteArray path = QFile::encodeName(folder.path()) + '/' + row.name;
        touch(folder.path(), row.name);
        ASSERT_EQ(truncate(path.constData(), row.bytes), 0);
        const Result bytes = rkcore({"ls", "--bytes", path});
        ASSERT_EQ(bytes.status, 0) << bytes.err.constData();
        EXPECT_EQ(bytes.out.simplified().split(' ').value(4), lsSize(path)) << row.name;
        if (row.text != nullptr) {
            EXPECT_EQ(rkcore({"ls", path}).out.simplified().split(' ').value(4), row.text) << row.name;
        }
    }
    // The same in the folder's table.
    const Result table2 = rkcore({"ls", "--bytes", QFile::encodeName(folder.path())});
    EXPECT_TRUE(table2.out.contains(" 3221225472 ")) << table2.out.constData();
    EXPECT_TRUE(table2.out.contains(" 5368709120 ")) << table2.out.constData();
}

TEST(Listing, LinkTargetsAsWrittenAndResolvedOnRequest)
{
    ScratchFolder folder;
    ASSERT_TRUE(folder.isValid());
    const QByteArray base = QFile::encodeName(folder.path());
    ASSERT_EQ(mkdir((base + "/sub").constData(), 0755), 0);
    touch(folder.path(), "sub/item");
    ASSERT_EQ(symlink("sub/../sub/item", (base + "/relative").constData()), 0);
    ASSERT_EQ(symlink("nowhere", (base + "/dangling").constData()), 0);
    const Result written = rkcore({"ls", base});
    EXPECT_TRUE(written.out.contains(" relative -> sub/../sub/item\n")) << written.out.constData();
    EXPECT_TRUE(written.out.contains(" dangling -> nowhere\n")) << written.out.constData();
    const QByteArray lsLine = runProgram("/bin/ls", {"-l", base}).out;
    EXPECT_TRUE(lsLine.contains(" relative -> sub/../sub/item\n"));
    const Result resolved = rkcore({"ls", "--resolve-links", base});
    const QByteArray canonical = QFile::encodeName(QDir(folder.path()).canonicalPath()) + "/sub/item";
    EXPECT_TRUE(resolved.out.contains(" relative -> " + canonical + "\n")) << resolved.out.constData();
}

// On a terminal names are quoted as `ls` quotes them there; piped they are raw.
TEST(Listing, NamesQuotedOnATerminalAsLsQuotesThem)
{
    ScratchFolder folder;
    ASSERT_TRUE(folder.isValid());
    const QList<QByteArray> names = {"plain",   "a b",         "a\nb",      "\nlead", "trail\n", "it's", "it's $x",
                                     "tab\tx",  "x=y",         "~home",     "a~",     "#c",      "c#",   "a*",
                                     "bad\xff", "caf\xc3\xa9", "esc\x1b",   "a]",     "{a}",     "a\"b", "a\n'",
                                     "\n'",     "'a\n",        "ab'cd\nef", "x y'\tz"};
    for (const QByteArray &name : names)
        touch(folder.path(), name);
    const QByteArray path = QFile::encodeName(folder.path());
    const QList<QByteArray> ours = lines(onTerminal({kTool, "ls", "--all", path}));
    const QList<QByteArray> oracle = lines(onTerminal({"/bin/ls", "-1", path}));
    ASSERT_EQ(oracle.size(), names.size()) << "ls -1 on the terminal: " << oracle.join('|').constData();
    for (const QByteArray &expected : oracle) {
        const bool found = std::any_of(ours.begin(), ours.end(),
                                       [&](const QByteArray &line) { return line.endsWith(" " + expected); });
        EXPECT_TRUE(found) << "no row ends in " << expected.constData();
    }
    // As ls -l on a terminal: with quoted names about, plain names get a blank
    // in front so that the names line up.
    const QByteArray lsLong = onTerminal({"/bin/ls", "-l", path});
    ASSERT_TRUE(lsLong.contains("  plain\n")) << lsLong.constData();
    EXPECT_TRUE(std::any_of(ours.begin(), ours.end(), [](const QByteArray &line) {
        return line.endsWith("file  plain");
    })) << ours.join('\n').constData();
    // Piped: the raw bytes.
    const Result piped = rkcore({"ls", path});
    EXPECT_TRUE(piped.out.contains(" a\nb\n"));
    EXPECT_TRUE(piped.out.contains(" bad\xff\n"));
}

TEST(Listing, PathsAsBytesUrlsSeveralPathsAndDev)
{
    ScratchFolder folder;
    ASSERT_TRUE(folder.isValid());
    const QByteArray odd = touch(folder.path(), "na\xefve\xff");
    ASSERT_EQ(mkdir((QFile::encodeName(folder.path()) + "/dir \xfe").constData(), 0755), 0);
    touch(folder.path(), "dir \xfe/inside");
    struct Case {
        const char *name = nullptr;
        QList<QByteArray> arguments;
        int status = 0;
        QByteArray contains;
    };
    const QByteArray base = QFile::encodeName(folder.path());
    const Case table[] = {
        {"a non-UTF-8 file", {"ls", odd}, 0, " file " + odd + "\n"},
        {"a non-UTF-8 folder", {"ls", base + "/dir \xfe"}, 0, " inside\n"},
        {"info of a non-UTF-8 path", {"info", odd}, 0, "name:"},
        {"du of a non-UTF-8 path", {"du", base + "/dir \xfe"}, 0, "\t" + base + "/dir \xfe\n"},
        {"a file URL", {"ls", "file://" + base.toPercentEncoding("/") + "/dir%20%FE"}, 0, " inside\n"},
        {"a localhost file URL", {"ls", "file://localhost" + base + "/dir%20%FE"}, 0, " inside\n"},
        {"several paths", {"ls", base + "/dir \xfe", odd}, 0, base + "/dir \xfe:\n"},
    };
    for (const Case &row : table) {
        const Result result = rkcore(row.arguments);
        EXPECT_EQ(result.status, row.status) << row.name << ": " << result.err.constData();
        EXPECT_TRUE(result.out.contains(row.contains)) << row.name << ": " << result.out.constData();
    }
    const Result several = rkcore({"ls", base + "/dir \xfe", odd});
    EXPECT_TRUE(several.out.contains("\n\n" + odd + ":\n")) << several.out.constData();
    const Result empty = rkcore({"ls", ""});
    EXPECT_EQ(empty.status, 1);
    EXPECT_EQ(empty.err, "rkcore ls: cannot read '': No such file or directory\n");
    const Result remote = rkcore({"ls", "file://elsewhere/x"});
    EXPECT_EQ(remote.status, 2);
    const Result missing = rkcore({"ls", base + "/missing", base});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.err.contains("rkcore ls: cannot read " + base + "/missing: No such file or directory\n"));
    EXPECT_TRUE(missing.out.contains(" inside") == false && missing.out.contains("dir")) << missing.out.constData();
    const Result dev = rkcore({"ls", "/dev"});
    EXPECT_EQ(dev.status, 0);
    EXPECT_TRUE(dev.err.contains("rkcore ls: note: /dev lies under /dev")) << dev.err.constData();
    EXPECT_FALSE(rkcore({"ls", "/etc"}).err.contains("note:"));
}

// A folder whose entries come and go while it is read: listed (after a retry),
// or reported as changing with the entry that went, never as unreadable.
TEST(Listing, AFolderChangingDuringTheReadIsRetriedThenReportedAsChanging)
{
    ScratchFolder folder;
    ASSERT_TRUE(folder.isValid());
    const QByteArray base = QFile::encodeName(folder.path());
    constexpr int kFiles = 400;
    for (int i = 0; i < kFiles; ++i)
        touch(folder.path(), "f" + QByteArray::number(i));
    std::atomic<bool> stop{false};
    std::thread churn([&] {
        while (!stop.load()) {
            for (int i = 0; i < kFiles && !stop.load(); ++i) {
                const QByteArray path = base + "/f" + QByteArray::number(i);
                (void)unlink(path.constData());
                const int fd = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
                if (fd >= 0) close(fd);
            }
        }
    });
    static const QRegularExpression changing(
        QStringLiteral("^rkcore ls: .* changed while being read \\((f[0-9]+|an entry) vanished\\)$"));
    int listed = 0;
    int reported = 0;
    for (int run = 0; run < 8; ++run) {
        const Result result = rkcore({"ls", base});
        EXPECT_FALSE(result.err.contains("No such file or directory\n") && result.err.contains("cannot read"))
            << result.err.constData();
        if (result.status == 0) {
            ++listed;
            continue;
        }
        EXPECT_EQ(result.status, 1);
        const QByteArray last = lines(result.err).value(lines(result.err).size() - 1);
        EXPECT_TRUE(changing.match(QString::fromUtf8(last)).hasMatch()) << last.constData();
        ++reported;
    }
    stop.store(true);
    churn.join();
    EXPECT_EQ(listed + reported, 8);
}

// The same, made certain: an entry that cannot be examined when the core
// reads the folder (a preloaded fstatat answers ENOENT for it). Once: the
// retry lists the folder. Always: the folder is reported as changing, naming
// the entry.
TEST(Listing, AVanishingEntryIsRetriedAndNamed)
{
    ScratchFolder folder;
    ASSERT_TRUE(folder.isValid());
    touch(folder.path(), "kept");
    touch(folder.path(), "vanish-1");
    const QByteArray base = QFile::encodeName(folder.path());
    const QList<QByteArray> preload = {"LD_PRELOAD=" VANISHING_ENTRIES,
                                       "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=1"};
    const Result once = rkcore({"ls", base}, {}, nullptr, preload + QList<QByteArray>{"RKTEST_VANISH_TIMES=2"});
    EXPECT_EQ(once.status, 0) << once.err.constData();
    EXPECT_TRUE(once.out.contains(" vanish-1\n")) << once.out.constData();
    const Result always = rkcore({"ls", base}, {}, nullptr, preload);
    EXPECT_EQ(always.status, 1);
    EXPECT_TRUE(always.out.isEmpty());
    EXPECT_TRUE(always.err.endsWith("rkcore ls: " + base + " changed while being read (vanish-1 vanished)\n"))
        << always.err.constData();
}

// ---- url --trace ----

// The traces of two URLs that differ only in the password are the same: no
// character, last character or length of the password shows.
TEST(UrlTrace, NothingOfThePasswordShows)
{
    const QList<QByteArray> schemes = {"afp", "smb", "ftp", "sftp"};
    for (const QByteArray &scheme : schemes) {
        const Result shortOne = rkcore({"url", "--trace", scheme + "://me:a@host/vol/x"});
        const Result longOne = rkcore({"url", "--trace", scheme + "://me:Zq9-long-Secret%7C@host/vol/x"});
        EXPECT_EQ(shortOne.err, longOne.err) << scheme.constData();
        EXPECT_FALSE(longOne.err.contains("Secret")) << scheme.constData();
        EXPECT_FALSE(longOne.out.contains("Secret")) << scheme.constData();
    }
    EXPECT_TRUE(rkcore({"url", "--trace", "afp://me:pw@host/vol"})
                    .err.contains("Password is ******** and is * characters long"));
}

// ---- keychain ----

// The keychain tests store, read and delete items: only in the private session
// scripts/test starts (its own bus and keyring), never in a person's own.
bool inPrivateSession()
{
    return qEnvironmentVariable("RKCORE_PRIVATE_SESSION") == QLatin1String("1");
}

#define NEEDS_PRIVATE_SESSION()                                                                                        \
    do {                                                                                                               \
        if (!inPrivateSession())                                                                                       \
            GTEST_SKIP() << "runs only in scripts/test's private session (RKCORE_PRIVATE_SESSION=1)";                  \
    } while (false)

QByteArray uniqueHost(const char *what)
{
    return QByteArray(what) + '-' + QByteArray::number(getpid()) + ".rkcore-test.invalid";
}

TEST(Keychain, StatusesForStoredMissingAndDeletedItems)
{
    NEEDS_PRIVATE_SESSION();
    const QByteArray host = uniqueHost("statuses");
    struct Step {
        const char *name = nullptr;
        QList<QByteArray> arguments;
        QByteArray input;
        int status = 0;
        QByteArray out;
    };
    const QByteArray latin = "caf\xc3\xa9-\xc3\xbc";
    const Step steps[] = {
        {"find before", {"keychain", "find", host, "me"}, {}, 1, {}},
        {"delete before", {"keychain", "delete", host, "me"}, {}, 1, {}},
        {"set", {"keychain", "set", host, "me", "2121"}, latin + "\n", 0, "stored\n"},
        {"find another port", {"keychain", "find", host, "me"}, {}, 1, {}},
        {"find", {"keychain", "find", "--show", host, "me", "2121"}, {}, 0, latin + "\n"},
        {"delete", {"keychain", "delete", host, "me", "2121"}, {}, 0, "deleted\n"},
        {"delete again", {"keychain", "delete", host, "me", "2121"}, {}, 1, {}},
        {"generic set", {"keychain", "set", "--generic", host, "me"}, "pw\n", 0, "stored\n"},
        {"generic find", {"keychain", "find", "--generic", "--show", host, "me"}, {}, 0, "pw\n"},
        {"generic delete", {"keychain", "delete", "--generic", host, "me"}, {}, 0, "deleted\n"},
        {"generic delete again", {"keychain", "delete", "--generic", host, "me"}, {}, 1, {}},
        {"too long", {"keychain", "set", host, "me"}, QByteArray(257, 'x') + "\n", 2, {}},
        {"too long was not stored", {"keychain", "find", host, "me"}, {}, 1, {}},
        {"not UTF-8", {"keychain", "set", host, "me"}, "caf\xe9\n", 2, {}},
        {"not UTF-8 was not stored", {"keychain", "find", host, "me"}, {}, 1, {}},
        {"256 bytes fit", {"keychain", "set", host, "me"}, QByteArray(256, 'y') + "\n", 0, "stored\n"},
        {"cleanup", {"keychain", "delete", host, "me"}, {}, 0, "deleted\n"},
    };
    for (const Step &step : steps) {
        const Result result = rkcore(step.arguments, step.input);
        EXPECT_EQ(result.status, step.status) << step.name << ": " << result.err.constData();
        EXPECT_EQ(result.out, step.out) << step.name;
        if (step.status == 1) {
            EXPECT_EQ(result.err, "rkcore keychain: not found\n") << step.name;
        }
    }
}

TEST(Keychain, NoSecretServiceIsStatusThree)
{
    NEEDS_PRIVATE_SESSION();
    // A bus address where nothing listens, and no display to start one from.
    const QList<QByteArray> environment = {"DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent/rkcore-test-bus",
                                           "DISPLAY="};
    const QByteArray host = uniqueHost("noservice");
    for (const QList<QByteArray> &arguments :
         {QList<QByteArray>{"keychain", "find", host, "me"}, QList<QByteArray>{"keychain", "delete", host, "me"},
          QList<QByteArray>{"keychain", "set", host, "me"}}) {
        const Result result = rkcore(arguments, "pw\n", nullptr, environment);
        EXPECT_EQ(result.status, 3) << arguments.join(' ').constData() << ": " << result.err.constData();
        EXPECT_EQ(lines(result.err).size(), 1) << result.err.constData();
        EXPECT_TRUE(result.out.isEmpty()) << result.out.constData();
    }
}

// A keyring of the test's own on a bus of its own, locked: storing, finding and
// deleting are refused with status 3 and the reason, and nothing claims success.
TEST(Keychain, ALockedCollectionIsStatusThree)
{
    NEEDS_PRIVATE_SESSION();
    const QByteArray script = R"(
cd "$1" || exit 125
tool=$2
echo pw | timeout 30 "$tool" keychain set locked-host me 2>err >/dev/null
echo "status=$?"
timeout 30 "$tool" keychain find locked-host me 2>>other >/dev/null
echo "find=$?"
timeout 30 "$tool" keychain delete locked-host me 2>>other >/dev/null
echo "delete=$?"
cat other err
)";
    ScratchFolder folder;
    ASSERT_TRUE(folder.isValid());
    const Result result = runProgram(
        kWithKeyring, {"--locked", "--", "/bin/bash", "-c", script, "bash", QFile::encodeName(folder.path()), kTool});
    EXPECT_TRUE(result.out.startsWith("status=3\nfind=3\ndelete=3\n")) << result.out.constData();
    EXPECT_TRUE(result.out.contains("rkcore keychain: no password read: the password collection is locked\n"))
        << result.out.constData();
    EXPECT_TRUE(result.out.contains("rkcore keychain: nothing deleted: the password collection is locked\n"))
        << result.out.constData();
    EXPECT_TRUE(
        result.out.endsWith("rkcore keychain: the password was not stored: the password collection is locked\n"))
        << result.out.constData();
}

} // namespace

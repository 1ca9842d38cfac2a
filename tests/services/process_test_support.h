// Child processes for the process-list, full-screen and run-as-administrator
// tests: started with posix_spawn, ended and waited for by the fixture.
#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QList>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ; // NOLINT(readability-redundant-declaration): POSIX leaves it undeclared

namespace rktest {

// A running child; killed and waited for when the object goes.
class Child {
public:
    // Starts `program` with argv `arguments` (argv[0] included); standard
    // output goes to a pipe that readLine() reads.
    Child(const char *program, const QList<QByteArray> &arguments)
    {
        std::vector<char *> argv;
        for (const QByteArray &argument : arguments)
            argv.push_back(const_cast<char *>(argument.constData()));
        argv.push_back(nullptr);
        int fds[2];
        if (pipe(fds) != 0) return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, fds[0]);
        if (posix_spawn(&m_pid, program, &actions, nullptr, argv.data(), environ) != 0) m_pid = 0;
        posix_spawn_file_actions_destroy(&actions);
        close(fds[1]);
        m_output = fdopen(fds[0], "r");
    }
    ~Child()
    {
        end();
        if (m_output != nullptr) std::fclose(m_output);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    pid_t pid() const { return m_pid; }
    // Waits until the kernel has set up the new program's arguments: a
    // spawning parent may run on while exec is still under way, when
    // /proc/PID/cmdline is still empty (and comm already the new name).
    bool waitForArguments() const
    {
        const std::string path = "/proc/" + std::to_string(m_pid) + "/cmdline";
        for (int attempt = 0; attempt < 250; ++attempt) {
            std::FILE *file = std::fopen(path.c_str(), "r");
            const bool ready = file != nullptr && std::fgetc(file) != EOF;
            if (file != nullptr) std::fclose(file);
            if (ready) return true;
            usleep(20000);
        }
        return false;
    }
    // One line of the child's standard output, without its line end.
    std::string readLine()
    {
        char line[256] = {};
        if (m_output == nullptr || std::fgets(line, sizeof line, m_output) == nullptr) return {};
        std::string text(line);
        while (!text.empty() && text.back() == '\n')
            text.pop_back();
        return text;
    }
    // Kills it and reaps it (no zombie is left behind).
    void end()
    {
        if (m_pid <= 0) return;
        kill(m_pid, SIGKILL);
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = 0;
    }
    // Kills it but leaves it unreaped: a zombie.
    void killOnly() const { kill(m_pid, SIGKILL); }

private:
    pid_t m_pid = 0;
    std::FILE *m_output = nullptr;
};

// Runs the event loop until `condition` holds or `milliseconds` pass.
inline bool waitFor(const std::function<bool()> &condition, int milliseconds = 5000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > milliseconds) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(20);
    }
    return true;
}

// The fixture program with a window (built beside the tests).
inline QByteArray windowFixturePath()
{
    return QCoreApplication::applicationDirPath().toUtf8() + "/window_fixture";
}

inline bool haveDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY");
}

// Runs a shell command line (fixed text from the test) and answers its status.
inline int shell(const std::string &command)
{
    return std::system(command.c_str()); // NOLINT(cert-env33-c): test helper with fixed commands
}

} // namespace rktest

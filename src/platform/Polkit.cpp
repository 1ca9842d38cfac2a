#include "Polkit_p.h"

#include <QMutex>

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ; // NOLINT(readability-redundant-declaration): POSIX leaves it undeclared

namespace rk::platform {

namespace {

struct Programs {
    QMutex lock;
    QByteArray checker;
    QByteArray launcher;
};

Programs &programs()
{
    static Programs instance;
    return instance;
}

QByteArray checkerProgram()
{
    const QMutexLocker guard(&programs().lock);
    return programs().checker.isEmpty() ? QByteArrayLiteral("pkcheck") : programs().checker;
}

QByteArray launcherProgram()
{
    const QMutexLocker guard(&programs().lock);
    return programs().launcher.isEmpty() ? QByteArrayLiteral("pkexec") : programs().launcher;
}

struct SpawnActions {
    posix_spawn_file_actions_t actions{};
    bool ready = false;
    SpawnActions() { ready = posix_spawn_file_actions_init(&actions) == 0; }
    ~SpawnActions()
    {
        if (ready) posix_spawn_file_actions_destroy(&actions);
    }
    SpawnActions(const SpawnActions &) = delete;
    SpawnActions &operator=(const SpawnActions &) = delete;
};

} // namespace

int runAndWait(const QList<QByteArray> &argv, bool quiet)
{
    if (argv.isEmpty() || argv.front().isEmpty()) return -1;
    std::vector<char *> vector;
    vector.reserve(static_cast<size_t>(argv.size()) + 1);
    // posix_spawn takes char *const[] but does not write through it.
    for (const QByteArray &argument : argv)
        vector.push_back(const_cast<char *>(argument.constData()));
    vector.push_back(nullptr);

    SpawnActions actions;
    if (!actions.ready) return -1;
    if (quiet) {
        if (posix_spawn_file_actions_addopen(&actions.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0) != 0 ||
            posix_spawn_file_actions_adddup2(&actions.actions, STDOUT_FILENO, STDERR_FILENO) != 0)
            return -1;
    }
    pid_t child = 0;
    if (posix_spawnp(&child, vector.front(), &actions.actions, nullptr, vector.data(), environ) != 0) return -1;
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

PolkitAnswer polkitCheckAuthorization(bool allowInteraction, const QByteArray &program)
{
    // The helper's path is not sent as a detail: polkit takes details only
    // from privileged callers, and the action is the helper's own anyway.
    Q_UNUSED(program);
    QList<QByteArray> argv{checkerProgram(), QByteArrayLiteral("--action-id"), QByteArray(kAdminOpenAction),
                           QByteArrayLiteral("--process"), QByteArray::number(getpid())};
    if (allowInteraction) argv.append(QByteArrayLiteral("--allow-user-interaction"));
    switch (runAndWait(argv, true)) {
    case 0: return PolkitAnswer::Authorized;
    case 1:
    case 2:
    case 3: return PolkitAnswer::NotAuthorized;
    default: return PolkitAnswer::Unavailable;
    }
}

bool polkitExecute(const QByteArray &helper, const QList<QByteArray> &arguments)
{
    QList<QByteArray> argv{launcherProgram(), helper};
    argv.append(arguments);
    return runAndWait(argv, false) == 0;
}

void setPolkitPrograms(const QByteArray &checker, const QByteArray &launcher)
{
    const QMutexLocker guard(&programs().lock);
    programs().checker = checker;
    programs().launcher = launcher;
}

} // namespace rk::platform

/* adminopen: the privileged helper of the run-as-administrator service.
 * Run as root (through pkexec), it starts the program named by its first
 * argument, handing it the remaining arguments unchanged, and exits once the
 * program has started:
 *
 *   adminopen PROGRAM [ARGUMENT...]
 *
 * PROGRAM is used as given (no search on PATH, no shell, no option parsing:
 * "-x" is a program named "-x"). The program runs in a session of its own, so
 * it outlives the helper and the caller's terminal.
 *
 * Exit status: 0 started; 1 the program could not be started (a line on
 * standard error says why); 2 no program named. */
#include <errno.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>

extern char **environ;

int main(int argc, char **argv)
{
    posix_spawnattr_t attributes;
    pid_t child = 0;
    int error = 0;

    if (argc < 2 || argv[1][0] == '\0') {
        fputs("usage: adminopen PROGRAM [ARGUMENT...]\n", stderr);
        return 2;
    }
    if (posix_spawnattr_init(&attributes) != 0) return 1;
    if (posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID) != 0) {
        posix_spawnattr_destroy(&attributes);
        return 1;
    }
    /* glibc reports a failed exec (a missing or non-executable program) here. */
    error = posix_spawn(&child, argv[1], NULL, &attributes, argv + 1, environ);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        fprintf(stderr, "adminopen: cannot start %s: %s\n", argv[1], strerror(error));
        return 1;
    }
    return 0;
}

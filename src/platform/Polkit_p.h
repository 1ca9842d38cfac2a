// Administrator rights through polkit: the framework's own action
// "org.ravix.rkcore.adminopen" (its .policy file is installed with the
// library), asked about with pkcheck for this process, and the privileged
// helper run as root with pkexec.
//
// Programs are started with posix_spawnp from an argument vector, never
// through a shell, so every argument arrives as one argument with its bytes
// unchanged. Both calls block until the program ends: pkcheck with
// interaction allowed, or pkexec, waits while an authentication agent asks
// the user; without an agent they fail at once.
//
// Thread: any; the program overrides are meant for tests, set before use.
#pragma once

#include <QByteArray>
#include <QList>

namespace rk::platform {

inline constexpr char kAdminOpenAction[] = "org.ravix.rkcore.adminopen";

// What pkcheck answered.
enum class PolkitAnswer {
    Authorized,    // exit 0
    NotAuthorized, // 1 not authorised, 2 authentication needed, 3 dismissed
    Unavailable,   // anything else: pkcheck missing, no polkit daemon or system bus
};

// Whether this process holds the action: pkcheck --action-id ... --process
// <pid>, with --allow-user-interaction when `allowInteraction`, for the
// helper `program` (the action is its own).
PolkitAnswer polkitCheckAuthorization(bool allowInteraction, const QByteArray &program);

// pkexec <helper> <arguments...>: true when pkexec exits 0 (authorised, and
// the helper did its work).
bool polkitExecute(const QByteArray &helper, const QList<QByteArray> &arguments);

// The programs used in place of "pkcheck" and "pkexec" (names are looked up
// on PATH); empty restores them.
void setPolkitPrograms(const QByteArray &checker, const QByteArray &launcher);

// Runs `argv` (argv[0] looked up on PATH) and waits for it; its exit status,
// or -1 when it could not be started or was killed by a signal. Standard
// output and error go to /dev/null when `quiet`.
int runAndWait(const QList<QByteArray> &argv, bool quiet);

} // namespace rk::platform

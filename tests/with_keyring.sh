#!/usr/bin/env bash
# Runs a command against a password store of its own: a private session D-Bus
# with a fresh gnome-keyring on it, both stopped (and their files removed)
# when the command ends. Lets a test see the store unlocked, locked or without
# a default collection without touching the session the tests run in.
#
#   with_keyring.sh [--no-collection | --locked] [--setup SHELL] [--] COMMAND [ARGS...]
#
# --no-collection  the keyring is never unlocked, so it has no default collection
# --locked         the default collection is made unlocked, SHELL runs, then it is locked
# --setup SHELL    run with sh before COMMAND (before locking, with --locked): e.g. store items
# Exits with COMMAND's status, or 125 when the store could not be set up.
set -u

how=unlocked lock=0 setup=
while [ $# -gt 0 ]; do
  case $1 in
    --no-collection) how=no-collection; shift ;;
    --locked) lock=1; shift ;;
    --setup) setup=$2; shift 2 ;;
    --) shift; break ;;
    *) break ;;
  esac
done
[ $# -gt 0 ] || { echo "usage: with_keyring.sh [--no-collection | --locked] [--setup SHELL] [--] COMMAND..." >&2; exit 2; }

# shellcheck source=scripts/lib/session.sh
source "$(dirname "$0")/../scripts/lib/session.sh"

dir=$(mktemp -d /tmp/rkcore-keyring.XXXXXX) || exit 125
mkdir -p "$dir/home" "$dir/data"
export HOME="$dir/home" XDG_DATA_HOME="$dir/data" XDG_RUNTIME_DIR="$dir"
unset DISPLAY

finish() {
  session_stop_pids
  rm -rf "$dir"
}
trap finish EXIT

if ! session_start_bus "$dir" || ! session_start_keyring "$dir" "$how"; then
  echo "with_keyring.sh: the keyring did not come up" >&2
  exit 125
fi
if [ -n "$setup" ]; then
  sh -c "$setup" || { echo "with_keyring.sh: the setup failed" >&2; exit 125; }
fi
if [ $lock = 1 ]; then
  session_lock_keyring || { echo "with_keyring.sh: the collection could not be locked" >&2; exit 125; }
fi
"$@"

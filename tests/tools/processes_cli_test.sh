#!/usr/bin/env bash
# The ps, fullscreen and admin-open commands as a user runs them: real child
# processes, a window under the test display's window manager (driven with
# wmctrl), and, when run through tests/services/with_polkit.sh
# (RKCORE_TEST_POLKIT=1), real polkit: as root the program starts as uid 0, as
# an unprivileged user nothing starts.
#   processes_cli_test.sh PATH-TO-rkcore PATH-TO-window_fixture
set -u
rkcore=$1
fixture=$2
failures=0
work=$(mktemp -d /tmp/rkcore-processes-cli.XXXXXX)
chmod 755 "$work"
children=()
cleanup() {
  local pid
  for pid in "${children[@]}"; do kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null; done
  rm -rf "$work"
}
trap cleanup EXIT

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

expect_status() { # STATUS ARGS...
  local want=$1; shift
  "$rkcore" "$@" >"$work/out" 2>"$work/err"
  local got=$?
  [ $got -eq "$want" ] || fail "rkcore $* exited $got, not $want: $(cat "$work/err")"
}

# ps: a windowless child is listed by name as background-only.
sleep 60 & children+=($!)
sleeper=$!
expect_status 0 ps
head -n1 "$work/out" | grep -Eq '^ +PID +BG-ONLY +FRONT +FOREGROUND +NAME$' || fail "ps header: $(head -n1 "$work/out")"
grep -Eq "^ *$sleeper +yes +no +no +sleep$" "$work/out" || fail "ps: no row for sleep $sleeper"
expect_status 2 ps extra

# fullscreen: bad usage, no display.
expect_status 2 fullscreen --count 0
expect_status 2 fullscreen --count x
expect_status 2 fullscreen extra
env -u DISPLAY "$rkcore" fullscreen >/dev/null 2>&1
[ $? -eq 1 ] || fail "fullscreen without a display should fail with status 1"

if [ -n "${DISPLAY:-}" ]; then
  "$fixture" --class vlc --title "cli player" >"$work/window" & children+=($!)
  player=$!
  for _ in $(seq 100); do wmctrl -lp | grep -q " $player " && break; sleep 0.05; done
  window=$(head -n1 "$work/window")
  wmctrl -i -a "$window" || fail "wmctrl could not activate the player"
  for _ in $(seq 100); do xprop -root _NET_ACTIVE_WINDOW | grep -q "$(printf '0x%x' "$window")" && break; sleep 0.05; done
  expect_status 0 ps
  grep -Eq "^ *$player +no +yes +yes +window_fixture$" "$work/out" || fail "ps: player row: $(grep window_fixture "$work/out")"
  timeout 20 "$rkcore" fullscreen --count 1 >"$work/fs" 2>&1 || fail "fullscreen --count 1: status $?"
  grep -qx 'RFullScreenCaptured' "$work/fs" || fail "fullscreen: $(cat "$work/fs")"
  # Ctrl-C ends it cleanly (the monitor thread is stopped).
  "$rkcore" fullscreen >"$work/fs2" 2>&1 &
  watcher=$!
  sleep 1; kill -INT $watcher; wait $watcher
  status=$?
  [ $status -eq 0 ] || fail "fullscreen after Ctrl-C exited $status"
  grep -q '^watching' "$work/fs2" || fail "fullscreen printed: $(cat "$work/fs2")"
fi

# admin-open: what happened, said clearly.
printf 'text' >"$work/plain.txt"
expect_status 1 admin-open "$work/plain.txt"
grep -q "admin-open: $work/plain.txt: not an application" "$work/err" || fail "not an application: $(cat "$work/err")"
expect_status 2 admin-open
expect_status 2 admin-open a b c

app="$work/Recorder.app"
mkdir -p "$app/Contents/MacOS"
cat >"$app/Contents/MacOS/Recorder" <<SCRIPT
#!/bin/sh
{ id -u; printf '%s\n' "\$@"; } > "$work/ran.tmp" && mv "$work/ran.tmp" "$work/ran"
SCRIPT
chmod 755 "$app/Contents/MacOS/Recorder"
document="$work/-my \"document\".txt"
printf 'doc' >"$document"

if [ "${RKCORE_TEST_POLKIT:-}" = 1 ]; then
  if command -v setpriv >/dev/null; then
    setpriv --reuid=65534 --regid=65534 --clear-groups "$rkcore" admin-open "$app" >"$work/out" 2>"$work/err"
    status=$?
    [ $status -eq 1 ] || fail "admin-open as nobody exited $status"
    grep -q 'refused' "$work/err" || fail "admin-open as nobody: $(cat "$work/err")"
    sleep 0.3
    [ ! -e "$work/ran" ] || fail "a refused run started the program"
  fi
  expect_status 0 admin-open "$app" "$document"
  grep -q "^opened as administrator: $app with " "$work/out" || fail "admin-open said: $(cat "$work/out")"
  for _ in $(seq 100); do [ -e "$work/ran" ] && break; sleep 0.05; done
  [ "$(cat "$work/ran" 2>/dev/null)" = "0
$document" ] || fail "the program ran with: $(cat "$work/ran" 2>/dev/null)"
else
  echo "processes_cli_test: no private polkit; the authorised and refused runs are not checked here"
fi

[ $failures -eq 0 ] && echo "processes_cli_test: all passed"
[ $failures -eq 0 ]

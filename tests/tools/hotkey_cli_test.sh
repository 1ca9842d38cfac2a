#!/usr/bin/env bash
# The hotkey command as a user runs it: display texts, bad combinations, and
# (with an X display) a real press sent with xdotool reaching `hotkey listen`.
#   hotkey_cli_test.sh PATH-TO-rkcore
set -u
rkcore=$1
failures=0

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

expect_output() { # PATTERN ARGS...: status 0 and a line matching PATTERN
  local pattern=$1; shift
  local out
  out=$("$rkcore" "$@" 2>&1) || { fail "rkcore $* exited $?"; return; }
  printf '%s\n' "$out" | grep -Eq -- "$pattern" || fail "rkcore $*: no /$pattern/ in: $out"
}

expect_usage_error() { # ARGS...: status 2 and exactly one 'rkcore hotkey: ' line on standard error
  local err status
  err=$("$rkcore" "$@" 2>&1 >/dev/null); status=$?
  [ $status -eq 2 ] || { fail "rkcore $* exited $status, not 2"; return; }
  [ "$(printf '%s\n' "$err" | wc -l)" -eq 1 ] && [[ "$err" == "rkcore hotkey: "* ]] || fail "rkcore $*: stderr: $err"
}

expect_output '^display: +F1$' hotkey show 122 0
expect_output '^valid: +yes$' hotkey show 122 0
expect_output '^escaped: +\\0⌘\\0⇧A$' hotkey show 0 0x300
expect_output '^display: +\(None\)$' hotkey show 101 0
expect_output '^display: +⌥7F$' hotkey show 127 2048
expect_output '^valid: +no$' hotkey show -1 -1

expect_usage_error hotkey
expect_usage_error hotkey frob
expect_usage_error hotkey show 1
expect_usage_error hotkey show 40000 0
expect_usage_error hotkey show x 0
expect_usage_error hotkey listen
expect_usage_error hotkey listen ctrl+shift+Nope
expect_usage_error hotkey listen ctrl++
expect_usage_error hotkey listen +a
expect_usage_error hotkey listen hyper+a
expect_usage_error hotkey listen --count 0 F1

# Without a display: a clear line and status 1.
err=$(env -u DISPLAY "$rkcore" hotkey listen ctrl+shift+F1 2>&1); status=$?
[ $status -eq 1 ] && [[ "$err" == *"no X11 display"* ]] || fail "no display: status $status: $err"

if [ -n "${DISPLAY:-}" ]; then
  out=$(mktemp)
  "$rkcore" hotkey listen --count 1 ctrl+shift+F1 alt+F4 >"$out" 2>&1 &
  pid=$!
  for _ in $(seq 100); do grep -q '^listening: ctrl+shift+F1' "$out" && break; sleep 0.05; done
  xdotool key ctrl+shift+F1
  for _ in $(seq 100); do kill -0 $pid 2>/dev/null || break; sleep 0.05; done
  if kill -0 $pid 2>/dev/null; then kill $pid; fail "listen did not see the press: $(cat "$out")"; fi
  wait $pid 2>/dev/null
  grep -q '^pressed: ctrl+shift+F1 (⌘⇧F1)$' "$out" || fail "no press line: $(cat "$out")"
  # openbox binds alt+F4 itself.
  if xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; then
    grep -q 'alt+F4 is not registered: held by another program' "$out" || fail "alt+F4: $(cat "$out")"
  fi
  rm -f "$out"
fi

[ $failures -eq 0 ] && echo "hotkey command: all checks passed"
exit $((failures > 0))

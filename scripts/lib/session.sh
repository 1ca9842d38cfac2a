# shellcheck shell=bash
# Starts and stops the desktop services the tests need, each a direct child of
# the calling script so that it can be stopped by PID:
#   an X server (Xvfb), a private session D-Bus with no service directories
#   (so nothing is auto-activated and no prompt can hang a test), an unlocked
#   gnome-keyring, and the openbox window manager. RKCORE_PRIVATE_SESSION=1 marks
#   the session as this private one (the keychain tests need it).
# HOME and the XDG directories point into a fresh temporary directory.
# Source this file, call session_start, and session_stop on exit.

session_pids=()

session_wait_for() { # SECONDS COMMAND...: polls until COMMAND succeeds
  local deadline=$((SECONDS + $1)); shift
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || { echo "session: timed out waiting for: $*" >&2; return 1; }
    sleep 0.05
  done
}

# session_start_bus DIR: a session D-Bus of our own with no service directories
# (nothing is auto-activated, so no prompt can hang a test); its configuration
# and address files go in DIR. Exports DBUS_SESSION_BUS_ADDRESS.
session_start_bus() {
  local dir=$1
  cat >"$dir/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONF
  dbus-daemon --config-file="$dir/bus.conf" --nofork --nosyslog --print-address=3 \
    3>"$dir/bus.addr" 2>"$dir/dbus.log" </dev/null &
  session_pids+=($!)
  session_wait_for 20 test -s "$dir/bus.addr" || return 1
  DBUS_SESSION_BUS_ADDRESS=$(head -n1 "$dir/bus.addr")
  export DBUS_SESSION_BUS_ADDRESS
}

# session_start_keyring DIR unlocked|no-collection: gnome-keyring's Secret
# Service on the current session bus, its logs in DIR. "unlocked" creates the
# default (login) collection unlocked; "no-collection" never unlocks it, so
# there is none. Its data goes where XDG_DATA_HOME says.
session_start_keyring() {
  local dir=$1 how=$2
  if [ "$how" = unlocked ]; then
    # The keyring reads its unlock password from standard input, which must not be empty.
    echo | gnome-keyring-daemon --foreground --unlock --components=secrets \
      >"$dir/keyring.out" 2>"$dir/keyring.log" 3>&- &
  else
    gnome-keyring-daemon --foreground --components=secrets </dev/null \
      >"$dir/keyring.out" 2>"$dir/keyring.log" 3>&- &
  fi
  session_pids+=($!)
  session_wait_for 20 sh -c "dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets | grep -q 'boolean true'"
}

# Locks the default collection over D-Bus (Service.Lock needs no prompt).
session_lock_keyring() {
  dbus-send --session --dest=org.freedesktop.secrets --print-reply /org/freedesktop/secrets \
    org.freedesktop.Secret.Service.Lock array:objpath:/org/freedesktop/secrets/collection/login >/dev/null
}

session_start() {
  SESSION_DIR=$(mktemp -d /tmp/rkcore-session.XXXXXX)
  mkdir -p "$SESSION_DIR"/{home,data,config,cache,runtime,config-dirs}
  chmod 700 "$SESSION_DIR/runtime"
  export HOME="$SESSION_DIR/home" XDG_DATA_HOME="$SESSION_DIR/data" XDG_CONFIG_HOME="$SESSION_DIR/config"
  export XDG_CACHE_HOME="$SESSION_DIR/cache" XDG_RUNTIME_DIR="$SESSION_DIR/runtime"
  export XDG_CONFIG_DIRS="$SESSION_DIR/config-dirs"
  unset XDG_CURRENT_DESKTOP DESKTOP_SESSION KDE_FULL_SESSION

  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset 3>"$SESSION_DIR/x.display" \
    2>"$SESSION_DIR/xvfb.log" &
  session_pids+=($!)
  session_wait_for 20 test -s "$SESSION_DIR/x.display"
  DISPLAY=":$(cat "$SESSION_DIR/x.display")"
  export DISPLAY

  session_start_bus "$SESSION_DIR"
  # The marker the keychain tests look for: they store, read and delete items,
  # so they run only on this private bus and keyring, never on the user's own.
  export RKCORE_PRIVATE_SESSION=1
  session_start_keyring "$SESSION_DIR" unlocked

  openbox --sm-disable >"$SESSION_DIR/openbox.log" 2>&1 &
  session_pids+=($!)
  session_wait_for 20 sh -c "xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'"
}

# Stops what was started, last first.
session_stop_pids() {
  local index
  for ((index = ${#session_pids[@]} - 1; index >= 0; index--)); do
    kill "${session_pids[index]}" 2>/dev/null || true
    wait "${session_pids[index]}" 2>/dev/null || true
  done
  session_pids=()
}

session_stop() {
  session_stop_pids
  unset RKCORE_PRIVATE_SESSION
  [ -n "${SESSION_DIR:-}" ] && rm -rf "$SESSION_DIR"
  SESSION_DIR=""
}

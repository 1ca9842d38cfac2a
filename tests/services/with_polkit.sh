#!/usr/bin/env bash
# Runs a command with a real polkit: a private system bus and polkitd, in a
# private mount namespace where a temporary folder is bind-mounted on
# /run/dbus (pkexec only uses the standard socket path) and the action folder
# holds the system's actions plus POLICY. The real /run/dbus and action folder
# are untouched. Everything is stopped by PID when the command ends.
#   with_polkit.sh POLICY COMMAND [ARGUMENTS...]
# Where this cannot be done (not root, no unshare, no polkitd), the command
# runs without RKCORE_TEST_POLKIT, so its polkit tests skip themselves.
set -u
policy=$1; shift
polkitd=/usr/lib/polkit-1/polkitd

if [ "$(id -u)" -ne 0 ] || [ ! -x "$polkitd" ] || ! command -v pkexec >/dev/null ||
   ! unshare --mount --propagation private true 2>/dev/null; then
  echo "with_polkit: no private polkit possible here; polkit tests will skip" >&2
  exec "$@"
fi

if [ -z "${RKCORE_IN_POLKIT_NAMESPACE:-}" ]; then
  export RKCORE_IN_POLKIT_NAMESPACE=1
  exec unshare --mount --propagation private "$0" "$policy" "$@"
fi

work=$(mktemp -d /tmp/rkcore-polkit.XXXXXX)
pids=()
cleanup() {
  local index
  for ((index = ${#pids[@]} - 1; index >= 0; index--)); do
    kill "${pids[index]}" 2>/dev/null; wait "${pids[index]}" 2>/dev/null
  done
  umount /usr/share/polkit-1/actions 2>/dev/null
  umount /run/dbus 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT

mkdir -p "$work/run" "$work/actions" /run/dbus
chmod 755 "$work" "$work/run" "$work/actions"   # polkitd runs as user polkitd
mount --bind "$work/run" /run/dbus
cp /usr/share/polkit-1/actions/*.policy "$work/actions/" 2>/dev/null
cp "$policy" "$work/actions/"
chmod 644 "$work/actions/"*
mount --bind "$work/actions" /usr/share/polkit-1/actions

cat >"$work/system.conf" <<'CONF'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
CONF
dbus-daemon --config-file="$work/system.conf" --nofork --nosyslog 2>"$work/dbus.log" &
pids+=($!)
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/run/dbus/system_bus_socket
for _ in $(seq 200); do [ -S /run/dbus/system_bus_socket ] && break; sleep 0.05; done
"$polkitd" --no-debug >"$work/polkitd.log" 2>&1 &
pids+=($!)
ready=0
for _ in $(seq 200); do
  if dbus-send --system --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner \
       string:org.freedesktop.PolicyKit1 2>/dev/null | grep -q 'boolean true'; then ready=1; break; fi
  sleep 0.05
done
if [ $ready -ne 1 ]; then
  echo "with_polkit: polkitd did not start:" >&2; cat "$work/polkitd.log" >&2
  exit 1
fi
RKCORE_TEST_POLKIT=1 "$@"

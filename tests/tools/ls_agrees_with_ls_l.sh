#!/usr/bin/env bash
# Checks that `rkcore ls --bytes DIR` agrees with `ls -l DIR` for every entry:
# permission text, link count, owner, group, size in bytes and name.
#   tests/tools/ls_agrees_with_ls_l.sh RKCORE_BINARY [DIR...]   (default: /usr/share)
# A generated folder of awkward modes, kinds and names is always checked too.
# Sizes agree for entries below 4 GiB (the record keeps 32 bits).
set -euo pipefail
rkcore=$1
shift
[ $# -gt 0 ] || set -- /usr/share

fixture=$(mktemp -d)
trap 'rm -rf "$fixture"' EXIT
(
    cd "$fixture"
    touch world-only setuid setgid plain 'name with  spaces' 'été.tar.gz' .hidden
    chmod 007 world-only
    chmod 4755 setuid
    chmod 2710 setgid
    chmod 000 plain
    mkdir sticky sticky-no-x folder
    chmod 1777 sticky
    chmod 1770 sticky-no-x
    mkfifo pipe
    head -c 12345 /dev/zero >sized
    ln setuid hardlink
    ln -s sized to-file
    ln -s folder to-folder
    ln -s nowhere dangling
    ln -s ../"$(basename "$fixture")"/./sized relative-link
    # sizes beyond 32 bits, sparse
    truncate -s 3G three-gib
    truncate -s 5G five-gib
)
set -- "$fixture" "$@"

status=0
for dir in "$@"; do
    ours=$(mktemp) theirs=$(mktemp)
    # rkcore: mode links owner group bytes <date text> kind name[ -> target as the link holds it]
    "$rkcore" ls --all --bytes -- "$dir" 2>/dev/null |
        sed -E 's/^([^ ]+) +([0-9]+) ([^ ]+) +([^ ]+) +([0-9]+) (Today|Yesterday|[A-Z][a-z]{2}, [A-Z][a-z]{2} [0-9]{2}, -?[0-9]+), [0-9]{2}:[0-9]{2}:[0-9]{2} +[a-z]+ +(.*)$/\1|\2|\3|\4|\5|\7/' |
        LC_ALL=C sort >"$ours"
    # ls -lA (every entry but . and ..) with a one-token date, names as they are
    LC_ALL=C ls -lA --time-style=+@ --quoting-style=literal -- "$dir" | tail -n +2 |
        sed -E 's/^([^ ]+) +([0-9]+) ([^ ]+) +([^ ]+) +([0-9]+) @ (.*)$/\1|\2|\3|\4|\5|\6/' |
        LC_ALL=C sort >"$theirs"
    count=$(wc -l <"$theirs")
    if diff -u "$theirs" "$ours" >/dev/null && [ "$count" -gt 0 ]; then
        echo "$dir: $count entries agree with ls -l"
    else
        echo "$dir: rkcore ls differs from ls -l (- ls -l, + rkcore ls):"
        diff -u "$theirs" "$ours" | head -40 || true
        status=1
    fi
    rm -f "$ours" "$theirs"
done
exit $status

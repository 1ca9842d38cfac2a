#!/usr/bin/env bash
# Times reading one big folder into records beside ls and gio, on the same
# warm folder, the programs taking turns round after round:
#   bench/compare-listing.sh [--rounds N] [FOLDER]
# FOLDER defaults to /tmp/rkcore-bench-listing-100000 (made on first use by
# rkcore-make-listing-folder). Prints the median wall time of each program,
# its time per entry and its ratio to `ls -lU`, then the peak memory of each
# (maximum resident set size minus that of the same program on an empty
# folder) per entry. Needs the release build (cmake --build --preset release).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bin=${RKCORE_BIN:-$root/build/bin}
rounds=7
if [ "${1:-}" = "--rounds" ]; then
    rounds=$2
    shift 2
fi
folder=${1:-/tmp/rkcore-bench-listing-100000}
for program in rkcore-list-folder rkcore-make-listing-folder; do
    [ -x "$bin/$program" ] || { echo "missing $bin/$program: cmake --build --preset release" >&2; exit 2; }
done
[ -d "$folder" ] || "$bin/rkcore-make-listing-folder" "$folder" >/dev/null
empty=$(mktemp -d)
trap 'rmdir "$empty"' EXIT
entries=$(ls -AU "$folder" | wc -l)
attributes='standard::*,unix::*,time::*,owner::*'

names=("rpf_fso_get_local_fso" "ls -l" "ls -lU" "gio list")
run() { # run INDEX FOLDER
    case $1 in
    0) "$bin/rkcore-list-folder" "$2" ;;
    1) ls -l --color=never "$2" ;;
    2) ls -lU --color=never "$2" ;;
    3) gio list -a "$attributes" "$2" ;;
    esac
}

echo "folder: $folder ($entries entries), $rounds rounds, programs in turn"
for i in 0 1 2 3; do run $i "$folder" >/dev/null; done # warm the caches
declare -a samples=("" "" "" "")
for ((round = 0; round < rounds; ++round)); do
    for i in 0 1 2 3; do
        start=$EPOCHREALTIME
        run $i "$folder" >/dev/null
        end=$EPOCHREALTIME
        samples[i]+="$(( (${end/./} - ${start/./}) )) "
    done
done

median() { tr ' ' '\n' | grep . | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
declare -a medians
for i in 0 1 2 3; do medians[i]=$(echo "${samples[i]}" | median); done
printf '\n%-24s %12s %14s %12s\n' "program" "median ms" "us per entry" "vs ls -lU"
for i in 0 1 2 3; do
    awk -v name="${names[i]}" -v us="${medians[i]}" -v base="${medians[2]}" -v n="$entries" \
        'BEGIN { printf "%-24s %12.1f %14.3f %12.2f\n", name, us / 1000, us / n, us / base }'
done
awk -v us="${medians[0]}" -v base="${medians[2]}" \
    'BEGIN { r = us / base; printf "\nrecords / ls -lU: %.2f (target at most 0.60): %s\n", r, r <= 0.6 ? "met" : "NOT met" }'

# Peak resident set size in kilobytes of one program on one folder.
rss() { # rss INDEX FOLDER
    local command
    case $1 in
    0) command=("$bin/rkcore-list-folder" "$2") ;;
    1) command=(ls -l --color=never "$2") ;;
    2) command=(ls -lU --color=never "$2") ;;
    3) command=(gio list -a "$attributes" "$2") ;;
    esac
    /usr/bin/time -f %M "${command[@]}" 2>&1 >/dev/null | tail -n 1
}
printf '\n%-24s %14s %14s %16s\n' "program" "peak RSS KB" "empty KB" "bytes per entry"
for i in 0 1 2 3; do
    full=$(rss $i "$folder")
    base=$(rss $i "$empty")
    awk -v name="${names[i]}" -v full="$full" -v base="$base" -v n="$entries" \
        'BEGIN { printf "%-24s %14d %14d %16.0f\n", name, full, base, (full - base) * 1024 / n }'
done
echo "(gio list prints each entry as it goes and keeps no records)"
echo
echo "heap kept by the records (malloc statistics):"
"$bin/rkcore-list-folder" "$folder"

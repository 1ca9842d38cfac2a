#!/usr/bin/env bash
# Times reading one big folder into identified file-system objects beside
# `ls -lU`, on the same warm folder, the two taking turns round after round;
# then the objects' peak memory per child and their sorts against plain sorts:
#   bench/compare-objects.sh [--rounds N] [FOLDER]
# FOLDER defaults to /tmp/rkcore-bench-listing-100000 (made on first use).
# Needs the release build (cmake --build --preset release).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bin=${RKCORE_BIN:-$root/build/bin}
rounds=7
if [ "${1:-}" = "--rounds" ]; then
    rounds=$2
    shift 2
fi
folder=${1:-/tmp/rkcore-bench-listing-100000}
for program in rkcore-object-folder rkcore-make-listing-folder; do
    [ -x "$bin/$program" ] || { echo "missing $bin/$program: cmake --build --preset release" >&2; exit 2; }
done
[ -d "$folder" ] || "$bin/rkcore-make-listing-folder" "$folder" >/dev/null
empty=$(mktemp -d)
trap 'rmdir "$empty"' EXIT
entries=$(ls -AU "$folder" | wc -l)

run() { # run INDEX FOLDER
    case $1 in
    0) "$bin/rkcore-object-folder" "$2" ;;
    1) ls -lU --color=never "$2" ;;
    esac
}
names=("newFSOForLocalPath(folder, YES)" "ls -lU")

echo "folder: $folder ($entries entries), $rounds rounds, programs in turn"
for i in 0 1; do run $i "$folder" >/dev/null; done # warm the caches
declare -a samples=("" "")
for ((round = 0; round < rounds; ++round)); do
    for i in 0 1; do
        start=$EPOCHREALTIME
        run $i "$folder" >/dev/null
        end=$EPOCHREALTIME
        samples[i]+="$(( (${end/./} - ${start/./}) )) "
    done
done
stats() { tr ' ' '\n' | grep . | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)], v[1], v[NR] }'; }
read -r objects_median objects_min objects_max < <(echo "${samples[0]}" | stats)
read -r ls_median ls_min ls_max < <(echo "${samples[1]}" | stats)
printf '\n%-34s %12s %14s\n' "program" "median ms" "us per entry"
awk -v name="${names[0]}" -v us="$objects_median" -v n="$entries" 'BEGIN { printf "%-34s %12.1f %14.3f\n", name, us / 1000, us / n }'
awk -v name="${names[1]}" -v us="$ls_median" -v n="$entries" 'BEGIN { printf "%-34s %12.1f %14.3f\n", name, us / 1000, us / n }'
awk -v a="$objects_median" -v b="$ls_median" -v lo="$objects_min" -v hi="$objects_max" -v llo="$ls_min" -v lhi="$ls_max" \
    'BEGIN { r = a / b; printf "\nobjects / ls -lU: %.2f (target at most 1.20): %s   [objects %.0f-%.0f ms, ls %.0f-%.0f ms]\n",
             r, r <= 1.2 ? "met" : "NOT met", lo / 1000, hi / 1000, llo / 1000, lhi / 1000 }'

rss() { /usr/bin/time -f %M "$bin/rkcore-object-folder" "$1" 2>&1 >/dev/null | tail -n 1; }
full=$(rss "$folder")
base=$(rss "$empty")
awk -v full="$full" -v base="$base" -v n="$entries" \
    'BEGIN { b = (full - base) * 1024 / n; printf "peak RSS %d KB, empty folder %d KB: %.0f bytes per child (target at most 1024): %s\n",
             full, base, b, b <= 1024 ? "met" : "NOT met" }'

echo
"$bin/rkcore-object-folder" --sort "$folder" | awk '/^sort/ {
    target = $2 == "name" ? 3 : 2
    printf "sort by %-4s %8.1f ms, plain sort of the bare keys %8.1f ms: %.2f (target at most %d): %s; pairwise comparator sort %8.1f ms\n",
           $2, $4 / 1000, $6 / 1000, $8, target, $8 <= target ? "met" : "NOT met", $10 / 1000 }'

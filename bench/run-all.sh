#!/usr/bin/env bash
# Builds every benchmark program and prints one table of the framework's hot
# paths against their peers and their floor (bench/README.md says what each
# row measures):
#   bench/run-all.sh [--quick] [--rounds N] [--sizes "10000 100000 1000000"]
# --quick: folders of 10,000 and 100,000 entries, 3 rounds (about a minute);
# the default is 10,000, 100,000 and 1,000,000 entries, 5 rounds (a few
# minutes, plus about a minute to make the million-entry folder the first
# time). Folders are made under /tmp (rkcore-bench-tree-N) and kept.
# Installs what only the benchmarks need (libcurl's development files) and
# runs scripts/setup-deps for the rest; builds the release configuration.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

"$root/scripts/setup-deps"
bench_packages=(libcurl4-openssl-dev time)
missing=()
for package in "${bench_packages[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = "installed" ] || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "run-all: installing ${missing[*]}" >&2
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    export DEBIAN_FRONTEND=noninteractive
    $sudo apt-get -o DPkg::Lock::Timeout=600 update -qq
    $sudo apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

echo "run-all: building (release)" >&2
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target rkcore-list-folder rkcore-make-listing-folder \
    rkcore-floor-listing rkcore-gio-listing rkcore-qt-listing rkcore-url-rpf rkcore-url-glib rkcore-url-qt \
    rkcore-url-curl rkcore-object-folder rkcore-make-size-tree rkcore-size-walk rkcore-floor-walk \
    rkcore-tool >/dev/null

exec python3 "$root/bench/run_all.py" --bin "$root/build/bin" "$@"

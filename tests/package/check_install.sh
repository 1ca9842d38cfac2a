#!/usr/bin/env bash
# Installs a build of the framework into a fresh prefix and uses it as its
# users do, none of them with LD_LIBRARY_PATH: the installed rkcore tool (also
# after the prefix moved), a C-only CMake project with the C core, C++ CMake
# projects with RKCore::rkcore and RKCore::widgets, a C program built with
# pkg-config; then the package's refusals (a C++ component asked for by a C
# project, an unknown component) and a static install of the C core alone
# (its Threads dependency, the component it lacks).
#   tests/package/check_install.sh BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
build_dir=$(cd "${1:?usage: check_install.sh BUILD_DIR}" && pwd)
unset LD_LIBRARY_PATH
work=$(mktemp -d /tmp/rkcore-package.XXXXXX)
trap 'rm -rf "$work"' EXIT
failures=0

fail() { echo "package: FAILED: $*" >&2; failures=$((failures + 1)); }
ok() { echo "package: ok: $*"; }

# expect_output NAME EXPECTED COMMAND...: COMMAND succeeds and prints EXPECTED.
expect_output() {
  local name=$1 expected=$2 out status=0; shift 2
  out=$("$@" 2>"$work/stderr") || status=$?
  if [ $status -ne 0 ]; then
    fail "$name: exit status $status ($(head -c 600 "$work/stderr"))"
  elif [ "$out" != "$expected" ]; then
    fail "$name: printed '$out', expected '$expected'"
  else
    ok "$name"
  fi
}

# expect_runs NAME COMMAND...: COMMAND succeeds and prints something (the
# dynamic loader found every library it needs before main ran).
expect_runs() {
  local name=$1 out status=0; shift
  out=$("$@" 2>"$work/stderr") || status=$?
  if [ $status -ne 0 ]; then
    fail "$name: exit status $status ($(head -c 600 "$work/stderr"))"
  elif [ -z "$out" ]; then
    fail "$name: printed nothing"
  else
    ok "$name"
  fi
}

# configure NAME SOURCE PREFIX [ARGS...]: configures a consumer project into $work/NAME.
configure() {
  local name=$1 source=$2 prefix=$3; shift 3
  cmake -S "$source" -B "$work/$name" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" "$@" >"$work/$name.log" 2>&1
}

# consumer NAME SOURCE PREFIX EXPECTED [ARGS...]: builds a consumer project and runs its program.
consumer() {
  local name=$1 source=$2 prefix=$3 expected=$4; shift 4
  if ! configure "$name" "$source" "$prefix" "$@" || ! cmake --build "$work/$name" >>"$work/$name.log" 2>&1; then
    fail "$name: does not build:"; tail -n 25 "$work/$name.log" >&2; return
  fi
  expect_output "$name runs" "$expected" "$work/$name/$(basename "$source")"
}

# refused NAME SOURCE PREFIX MESSAGE [ARGS...]: configuring the consumer fails, saying MESSAGE.
refused() {
  local name=$1 source=$2 prefix=$3 message=$4; shift 4
  if configure "$name" "$source" "$prefix" "$@"; then
    fail "$name: configured, expected a refusal"
  elif ! tr -s ' \n' ' ' <"$work/$name.log" | grep -qF "$message"; then
    fail "$name: the refusal does not say \"$message\":"; tail -n 25 "$work/$name.log" >&2
  else
    ok "$name: \"$message\""
  fi
}

# The run paths of the installed files are relative to themselves, never the build tree's.
runpaths_relative() {
  local file runpath
  for file in "$@"; do
    runpath=$(readelf -d "$file" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p')
    # shellcheck disable=SC2016 # the literal text $ORIGIN
    case "$runpath" in
      '$ORIGIN'*) ;;
      *) fail "$file: run path '$runpath', expected one relative to \$ORIGIN"; continue ;;
    esac
    [[ "$runpath" != *"$build_dir"* ]] || fail "$file: run path names the build tree: $runpath"
  done
}

# --- The shared install of the whole framework.
prefix=$work/prefix
cmake --install "$build_dir" --prefix "$prefix" >"$work/install.log" 2>&1 || {
  fail "cmake --install"; tail -n 25 "$work/install.log" >&2; exit 1
}
libdir=$(dirname "$(find "$prefix" -name 'librpf.so.0' -print -quit)")
runpaths_relative "$prefix/bin/rkcore" "$libdir"/librpf.so.0 "$libdir"/librkcore.so.0 \
  "$libdir"/librkcore-widgets.so.0 "$prefix"/libexec/rkcore/root-runner
expect_runs "installed bin/rkcore --help" "$prefix/bin/rkcore" --help
cp -a "$prefix" "$work/moved"
rm -rf "$prefix.unused" && mv "$prefix" "$prefix.unused"
expect_runs "bin/rkcore of a moved prefix" "$work/moved/bin/rkcore" --help
mv "$prefix.unused" "$prefix"

consumer c_core "$here/c_core" "$prefix" "rwxr-xr-x"
consumer cxx_object_layer "$here/cxx_object_layer" "$prefix" "rw-r--r--"
consumer cxx_widgets "$here/cxx_widgets" "$prefix" "0x0100"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
for pc in rpf rkcore rkcore-widgets; do
  if ! pkg-config --validate "$pc" || ! pkg-config --exists "$pc"; then
    fail "pkg-config: $pc.pc is not valid or its requirements are missing"
  fi
done
[ "$(pkg-config --variable=prefix rpf)" -ef "$prefix" ] || fail "pkg-config: rpf.pc's prefix is not the install prefix"
# shellcheck disable=SC2046
if cc -std=c11 -o "$work/pkgconfig_c" "$here/pkgconfig_c/main.c" $(pkg-config --cflags --libs rpf) \
    -Wl,-rpath,"$(pkg-config --variable=libdir rpf)" 2>"$work/pkgconfig_c.log"; then
  expect_output "pkg-config C program runs" "rwxr-xr-x" "$work/pkgconfig_c"
else
  fail "pkg-config C program does not build:"; cat "$work/pkgconfig_c.log" >&2
fi
unset PKG_CONFIG_PATH

refused c_asks_for_cxx "$here/c_core" "$prefix" \
  "RKCore component 'rkcore' is a C++ library" -DRKCORE_COMPONENTS=rkcore
refused c_asks_for_unknown "$here/c_core" "$prefix" \
  "RKCore has no component 'nonesuch'" -DRKCORE_COMPONENTS=nonesuch

# --- A static install of the C core alone.
static_prefix=$work/static-prefix
if cmake -S "$source_dir" -B "$work/static-build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
    -DRKCORE_CORE_ONLY=ON -DBUILD_TESTING=OFF -DRKCORE_BENCH=OFF >"$work/static.log" 2>&1 &&
  cmake --build "$work/static-build" >>"$work/static.log" 2>&1 &&
  cmake --install "$work/static-build" --prefix "$static_prefix" >>"$work/static.log" 2>&1; then
  # The static library's targets name Threads::Threads: the consumer's
  # configure fails unless the package's config found Threads for it.
  grep -rqs 'Threads::Threads' "$static_prefix"/lib*/cmake/RKCore/ ||
    fail "static install: its exported targets do not hand on Threads"
  consumer c_core_static "$here/c_core" "$static_prefix" "rwxr-xr-x"
  [ ! -e "$static_prefix/include/rkcore/RBURL.h" ] || fail "core-only install: it installed the object layer's headers"
  refused cxx_asks_core_only "$here/cxx_object_layer" "$static_prefix" \
    "RKCore component 'rkcore' was not installed (built with RKCORE_CORE_ONLY=ON"
  refused widgets_asks_core_only "$here/cxx_widgets" "$static_prefix" \
    "RKCore component 'widgets' was not installed (built with RKCORE_CORE_ONLY=ON"
else
  fail "static core-only install:"; tail -n 25 "$work/static.log" >&2
fi

if [ $failures -ne 0 ]; then
  echo "package: $failures check(s) failed" >&2
  exit 1
fi
echo "package: every check passed"

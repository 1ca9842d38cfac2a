#!/usr/bin/env bash
# The build refuses a layer that includes upwards. Copies the source tree to a
# temporary folder, configures it once, proves the untouched layers build, then
# per row injects one include into one file and expects the named target to
# fail with the named message; the file is restored after each row.
#   tests/package/layering_test.sh [SOURCE_DIR]
set -euo pipefail
source_dir=$(cd "${1:-$(dirname "$0")/../..}" && pwd)
work=$(mktemp -d /tmp/rkcore-layering.XXXXXX)
trap 'rm -rf "$work"' EXIT
tree=$work/tree
mkdir -p "$tree"
tar -C "$source_dir" --exclude=./build --exclude=./.git --exclude=./.cache -cf - . | tar -C "$tree" -xf -
build=$work/build
if ! cmake -S "$tree" -B "$build" -G Ninja -DBUILD_TESTING=OFF -DRKCORE_BENCH=OFF >"$work/configure.log" 2>&1; then
  echo "layering: the copied tree does not configure:" >&2; tail -n 30 "$work/configure.log" >&2; exit 1
fi

failures=0
# The control: every layer's check passes and the core compiles as it is.
checks=(rkcore_layer_core_check rkcore_layer_foundation_check rkcore_layer_platform_check
  rkcore_layer_model_check rkcore_layer_services_check rkcore_layer_ui_check rkcore_layer_core)
if cmake --build "$build" --target "${checks[@]}" >"$work/control.log" 2>&1; then
  echo "layering: ok: the untouched layers build"
else
  echo "layering: FAILED: the untouched layers do not build:" >&2; tail -n 30 "$work/control.log" >&2; exit 1
fi

tool_header=$(cd "$tree" && find tools -name '*.h' | sort | head -n 1)
# name | file (in the tree) | line to add | target to build | words the failure must contain
rows=(
  "model includes a tool header|src/model/RBPermission.cpp|#include \"../../$tool_header\"|rkcore_layer_model|outside the framework's layers"
  "model includes a service's header|src/model/RBPermission.cpp|#include <rkcore/RKLog.h>|rkcore_layer_model|a header of the higher layer services"
  "foundation includes a platform adapter|src/foundation/Logging.cpp|#include \"../platform/MountTable_p.h\"|rkcore_layer_foundation|a header of the higher layer platform"
  "platform includes a model header|src/platform/MountTable.cpp|#include \"rkcore/RBURL.h\"|rkcore_layer_platform|a header of the higher layer model"
  "services include a widget|src/services/RKLog.cpp|#include <rkcore/KeyComboPanel.h>|rkcore_layer_services|a header of the higher layer ui"
  "a core header includes the object layer|include/rkcore/rpf_perms.h|#include <rkcore/RBPermission.h>|rkcore_layer_core|a header of the higher layer model"
  "core includes a Qt header|src/core/rpf_perms.c|#include <QtCore/QString>|rkcore_layer_core|QtCore/QString: No such file or directory"
  "a new public header without a layer|src/model/RBPermission.cpp|#include <rkcore/Unplaced.h>|rkcore_layer_model|belongs to no layer"
)
touch "$tree/include/rkcore/Unplaced.h"
for row in "${rows[@]}"; do
  IFS='|' read -r name file line target expected <<<"$row"
  cp "$tree/$file" "$work/original"
  { echo "$line"; cat "$work/original"; } >"$tree/$file"
  if cmake --build "$build" --target "$target" >"$work/row.log" 2>&1; then
    echo "layering: FAILED: $name: $target built" >&2; failures=$((failures + 1))
  elif ! grep -qF "$expected" "$work/row.log"; then
    echo "layering: FAILED: $name: the failure does not say \"$expected\":" >&2
    tail -n 20 "$work/row.log" >&2; failures=$((failures + 1))
  else
    echo "layering: ok: $name"
  fi
  cp "$work/original" "$tree/$file"
done
[ $failures -eq 0 ] || { echo "layering: $failures row(s) failed" >&2; exit 1; }

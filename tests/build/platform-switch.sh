#!/usr/bin/env bash
# platform-switch.sh SOURCE BUILD TOOL: installs the bundled libraries of BUILD like a platform's, builds the
# library and the tool against them, and compares the tool's output for every sample.
set -euo pipefail

source=$1
build=$2
tool=$3
cmake=${CMAKE:-cmake}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

configure() {
  "$cmake" -S "$source" -B "$work/build" -G Ninja -DSYSCONFREADER_PLATFORM=system \
    -DSYSCONFREADER_BUILD_TOOLS=ON -DCMAKE_UNITY_BUILD=ON \
    -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_COMPILER_LAUNCHER="${LAUNCHER:-}" "$@"
}

# Without the platform's libraries, configuring fails and names the missing library.
if configure >"$work/log" 2>&1; then
  echo "configured without the platform's libraries" >&2
  exit 1
fi
grep -F "libquarnjsonutil.so" "$work/log"

mkdir -p "$work"/prefix/{lib,include}
cp "$build"/tests/platform/libquarn{json,base}util.so "$work/prefix/lib"
cp "$source"/platform/quarn*/{JsonReader,QuarnCommonUtils,QuarnCommonUtils_i}.h "$work/prefix/include" \
  2>/dev/null || true # each is in one of the two folders
rm -rf "$work/build"
if ! { configure -DCMAKE_PREFIX_PATH="$work/prefix" &&
  "$cmake" --build "$work/build" --parallel 2 --target sysconfreader sysconfreader-c sysconfctl_located; } \
  >"$work/log" 2>&1; then
  cat "$work/log" >&2
  exit 1
fi

# No bundled library was built.
if find "$work/build" -name 'libquarn*' -o -name 'libeventcbutil*' | grep .; then
  echo "a bundled platform library was built" >&2
  exit 1
fi

with_other() {
  LD_LIBRARY_PATH=$work/build/src:$work/prefix/lib "$@"
}
with_other ldd "$tool" | grep -F "$work/build/src/libsysconfreader.so"
with_other ldd "$tool" | grep -F "$work/prefix/lib/libquarnjsonutil.so"

shopt -s nullglob
compared=0
for env_file in "$source"/samples/*/*.env; do
  diff <("$tool" --env-file "$env_file" show -o json) \
    <(with_other "$tool" --env-file "$env_file" show -o json)
  compared=$((compared + 1))
done
echo "compared $compared samples"
[[ $compared -gt 0 ]]

# Programs need not be linked with the platform's libraries.
for component in library development; do
  "$cmake" --install "$work/build" --component "$component" --prefix "$work/installed" >/dev/null
done
consumer=$source/tests/packaging/consumer
pc=$(find "$work/installed" -name sysconfreader.pc)
read -ra flags < <(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --cflags --libs sysconfreader)
"$CXX" -std=c++17 "$consumer/main.cpp" -o "$work/by-pkg-config" "${flags[@]}"
"$cmake" -S "$consumer" -B "$work/consumer" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" \
  -DCMAKE_PREFIX_PATH="$work/installed" >/dev/null
"$cmake" --build "$work/consumer" >/dev/null
cd "$source/samples/ha-pair"
set -a
# shellcheck source=/dev/null
source ./master.env
set +a
for program in "$work/by-pkg-config" "$work/consumer/consumer"; do
  [[ $(with_other "$program" | head -n 1) == core ]]
done

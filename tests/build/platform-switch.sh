#!/usr/bin/env bash
# platform-switch.sh SOURCE BUILD TOOL: installs the bundled platform libraries to a prefix, builds the
# library and the parts of the tool that depend on it against that prefix with
# SYSCONFREADER_PLATFORM=system, and compares the tool's output for every sample with both libraries.
set -euo pipefail

source=$1
build=$2
tool=$3
cmake=${CMAKE:-cmake}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

configure() {
  "$cmake" -S "$source" -B "$work/build" -G Ninja -DSYSCONFREADER_PLATFORM=system \
    -DSYSCONFREADER_BUILD_TESTS=OFF -DSYSCONFREADER_BUILD_BENCHMARKS=OFF \
    -DSYSCONFREADER_BUILD_EXAMPLES=OFF \
    -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_COMPILER_LAUNCHER="${LAUNCHER:-}" "$@"
}

# Without the platform's libraries, configuring fails and names the missing library.
if configure >"$work/log" 2>&1; then
  echo "configured without the platform's libraries" >&2
  exit 1
fi
grep -F "libquarnjsonutil.so" "$work/log"

"$cmake" --install "$build" --component platform --prefix "$work/prefix" >/dev/null
rm -rf "$work/build"
if ! { configure -DCMAKE_PREFIX_PATH="$work/prefix" &&
  "$cmake" --build "$work/build" --parallel 2 --target sysconfreader sysconfctl_located; } \
  >"$work/log" 2>&1; then
  cat "$work/log" >&2
  exit 1
fi

# No bundled library was built.
if find "$work/build" -name 'libquarn*' -o -name 'libeventcbutil*' | grep .; then
  echo "a bundled platform library was built" >&2
  exit 1
fi

# with_other COMMAND...: runs it with the library that was built here.
with_other() {
  LD_LIBRARY_PATH=$work/build/src:$work/prefix/lib:$work/prefix/lib/$(gcc -print-multiarch) "$@"
}
with_other ldd "$tool" | grep -F "$work/build/src/libsysconfreader.so"

shopt -s nullglob
compared=0
for env_file in "$source"/samples/*/*.env; do
  diff <("$tool" --env-file "$env_file" show -o json) \
    <(with_other "$tool" --env-file "$env_file" show -o json)
  compared=$((compared + 1))
done
echo "compared $compared samples"
[[ $compared -gt 0 ]]

#!/usr/bin/env bash
# reproducible.sh SOURCE BUILD OPTION...: builds the libraries from a copy of the sources in another folder,
# with the OPTIONs of BUILD, which is below SOURCE, and compares the installed files.
set -euo pipefail

source=$1
build=$2
shift 2
cmake=${CMAKE:-cmake}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
copy=$work/a/place/of/another/name
copy_build=$copy${build#"$source"}

# Without ccache, which would return the files of the first build.
if ! {
  mkdir -p "$copy" &&
    tar -C "$source" --exclude='./build*' --exclude=./.git --exclude=./.ccache -cf - . |
    tar -C "$copy" -xf - &&
    "$cmake" -S "$copy" -B "$copy_build" -G Ninja "$@" -DSYSCONFREADER_BUILD_TOOLS=OFF &&
    CCACHE_DISABLE=1 "$cmake" --build "$copy_build" --parallel 2
} >"$work/log" 2>&1; then
  cat "$work/log" >&2
  exit 1
fi

for component in library development eventcbutil; do
  "$cmake" --install "$build" --component "$component" --prefix "$work/here" >/dev/null
  "$cmake" --install "$copy_build" --component "$component" --prefix "$work/there" >/dev/null
done
diff -r "$work/here" "$work/there"
compared=$(find "$work/here" -name '*.so' | wc -l)
echo "compared $compared libraries"
[[ $compared -gt 0 ]]

#!/usr/bin/env bash
# readme-example.sh SOURCE: builds the example of README.md as a separate project, verbatim from its code
# blocks, and runs it against a sample deployment.
set -euo pipefail

source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

block() {
  awk -v fence="\`\`\`$1" '$0 == fence {inside = 1; next} inside && /^```$/ {exit} inside' \
    "$source/README.md"
}

block cpp >"$work/main.cpp"
block cmake >"$work/CMakeLists.txt"
ln -s "$source" "$work/libsysconfreader"
"${CMAKE:-cmake}" -S "$work" -B "$work/build" -G Ninja -DCMAKE_UNITY_BUILD=ON \
  -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_COMPILER_LAUNCHER="${LAUNCHER:-}" >/dev/null
"${CMAKE:-cmake}" --build "$work/build" --parallel 2 >/dev/null

sample=$source/samples/ha-pair
output=$(
  # Paths in the env files are relative to their folder.
  cd "$sample"
  set -a
  # shellcheck source=/dev/null
  source ./master.env
  set +a
  "$work/build/where-am-i"
)
echo "$output"
[[ $output == *"tenancy "* && $output == *"service address "* ]]

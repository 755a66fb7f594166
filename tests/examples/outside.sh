#!/usr/bin/env bash
# outside.sh SOURCE BUILD: builds each example as a separate project. Its find_package finds a replacement
# for the installed package, whose target is the library in BUILD.
set -euo pipefail

source=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/package"
cat >"$work/package/sysconfreader-config.cmake" <<EOF
find_package(PkgConfig REQUIRED)
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)
pkg_check_modules(ACE REQUIRED IMPORTED_TARGET ACE)
add_library(sysconfreader::sysconfreader SHARED IMPORTED)
set_target_properties(sysconfreader::sysconfreader PROPERTIES
  IMPORTED_LOCATION "$build/src/libsysconfreader.so"
  INTERFACE_INCLUDE_DIRECTORIES "$source/include"
  INTERFACE_LINK_LIBRARIES "PkgConfig::JSONCPP;PkgConfig::ACE")
EOF
cat >"$work/package/sysconfreader-config-version.cmake" <<'EOF'
set(PACKAGE_VERSION 0.1.0)
set(PACKAGE_VERSION_COMPATIBLE TRUE)
EOF

examples=0
for project in "$source"/examples/*/CMakeLists.txt; do
  example=$(dirname "$project")
  name=$(basename "$example")
  if ! { "${CMAKE:-cmake}" -S "$example" -B "$work/$name" -G Ninja \
    -Dsysconfreader_DIR="$work/package" -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_CXX_COMPILER_LAUNCHER="${LAUNCHER:-}" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" &&
    "${CMAKE:-cmake}" --build "$work/$name"; } >"$work/log" 2>&1; then
    cat "$work/log" >&2
    exit 1
  fi
  examples=$((examples + 1))
done
[[ $examples -ge 3 ]]

output=$(cd "$source/samples/ha-pair" && APP_CONF_FILE=node-1/etc/app.json APP_ROOT=node-1 \
  "$work/database-entry/database-entry" alarms)
[[ $output == "0: postgresql at "* ]]
[[ -f $work/event-library/libeventcbutil.so ]]

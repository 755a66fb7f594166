#!/usr/bin/env bash
# consumers.sh CASE SOURCE BUILD LIBDIR [TOOL]: uses the library as projects of others do, from a folder
# that it was moved to after it was installed. CASE is one of the functions below.
set -euo pipefail
export LC_ALL=C

case=$1
source=$2
build=$3
libdir=$4
tool=${5:-}
cmake=${CMAKE:-cmake}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/moved/here

# install_to_moved COMPONENT...
install_to_moved() {
  local component
  for component in "$@"; do
    "$cmake" --install "$build" --component "$component" --prefix "$work/installed" >/dev/null
  done
  mkdir "$work/moved"
  mv "$work/installed" "$prefix"
}

# As the master of the sample pair; the paths in its file are relative to the file's own folder.
as_master() (
  cd "$source/samples/ha-pair"
  set -a
  # shellcheck source=/dev/null
  source ./master.env
  LD_LIBRARY_PATH=${library_path-}
  "$@"
)

# answers_like_the_tool PROGRAM
answers_like_the_tool() {
  diff <(for query in product-name local-service-ip local-south-ip; do
    "$tool" --env-file "$source/samples/ha-pair/master.env" get "$query"
  done) <(as_master "$1")
}

# configure_consumer OPTION...: the project outside, before it is built.
configure_consumer() {
  "$cmake" -S "$source/tests/packaging/consumer" -B "$work/build" -G Ninja \
    -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_PREFIX_PATH="$prefix" "$@" >"$work/log" 2>&1
}

build_consumer() {
  if ! { configure_consumer "$@" && "$cmake" --build "$work/build" >>"$work/log" 2>&1; }; then
    cat "$work/log" >&2
    exit 1
  fi
}

# refused TEXT OPTION...: configuring fails, and says TEXT, of which lines may be broken anywhere.
refused() {
  local text=$1
  shift
  if configure_consumer "$@"; then
    echo "configured with $*" >&2
    exit 1
  fi
  if ! tr -s '[:space:]' ' ' <"$work/log" | grep -F "$text"; then
    cat "$work/log" >&2
    exit 1
  fi
}

cmake_package() {
  install_to_moved library platform development
  refused 'compatible with requested version "0.2"' -DVERSION=0.2
  refused 'compatible with requested version "1.0"' -DVERSION=1.0
  refused "its component eventcbutil is not installed" -DVERSION=0.1 -DCOMPONENTS=eventcbutil
  build_consumer -DVERSION=0.1 -DCOMPONENTS=platform
  answers_like_the_tool "$work/build/consumer"
}

event_component() {
  install_to_moved library platform development eventcbutil
  build_consumer -DVERSION=0.1 -DCOMPONENTS=eventcbutil
  "$work/build/event-consumer"
}

without_platform() {
  install_to_moved library development
  refused "libquarnjsonutil.so and libquarnbaseutil.so"
}

# Whatever the compiler, and with the oldest language that the headers are for.
pkg_config() {
  local compiler flags
  install_to_moved library platform development
  export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
  [[ $(pkg-config --modversion sysconfreader) == $("$tool" --version | sed 's/.* //') ]]
  read -ra flags < <(pkg-config --cflags --libs sysconfreader)
  for compiler in g++ clang++; do
    "$compiler" -std=c++14 -Wall -Wextra -Werror "$source/tests/packaging/consumer/main.cpp" \
      -o "$work/$compiler" "${flags[@]}"
    library_path=$prefix/$libdir answers_like_the_tool "$work/$compiler"
  done
}

dynamic_loading() {
  install_to_moved library platform
  "$CXX" "$source/tests/packaging/consumer/loaded.cpp" -o "$work/loaded" -ldl
  diff <("$tool" --env-file "$source/samples/ha-pair/master.env" get wss-port) \
    <(library_path=$prefix/$libdir as_master "$work/loaded")
}

"$case"

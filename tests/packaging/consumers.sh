#!/usr/bin/env bash
# consumers.sh CASE SOURCE BUILD LIBDIR TOOL OLDEST: uses the installed library in other projects, after its
# folder was moved. OLDEST is the oldest C++ version of the headers, CASE a function below.
set -euo pipefail
export LC_ALL=C

case=$1
source=$2
build=$3
libdir=$4
tool=${5:-}
oldest=${6:-}
cmake=${CMAKE:-cmake}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/moved/here

install_to_moved() {
  local component
  for component in "$@"; do
    "$cmake" --install "$build" --component "$component" --prefix "$work/installed" >/dev/null
  done
  mkdir "$work/moved"
  mv "$work/installed" "$prefix"
}

# Runs a command as the master of the sample pair. The paths in its file are relative to its folder.
as_master() (
  cd "$source/samples/ha-pair"
  set -a
  # shellcheck source=/dev/null
  source ./master.env
  LD_LIBRARY_PATH=${library_path-}
  "$@"
)

answers_like_the_tool() {
  diff <(for query in product-name local-service-ip local-south-ip; do
    "$tool" --env-file "$source/samples/ha-pair/master.env" get "$query"
  done) <(as_master "$1")
}

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

# Apart from line breaks.
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
  install_to_moved library development
  refused 'compatible with requested version "0.2"' -DVERSION=0.2
  refused 'compatible with requested version "1.0"' -DVERSION=1.0
  refused "its component eventcbutil is not installed" -DVERSION=0.1 -DCOMPONENTS=eventcbutil
  build_consumer -DVERSION=0.1 -DCOMPONENTS=
  answers_like_the_tool "$work/build/consumer"
}

event_component() {
  install_to_moved library development eventcbutil
  build_consumer -DVERSION=0.1 -DCOMPONENTS=eventcbutil
  "$work/build/event-consumer"
}

find_by_pkg_config() {
  install_to_moved library development
  export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
  read -ra flags < <(pkg-config --cflags --libs sysconfreader)
}

# In the oldest C++ version that ACE's headers support.
compile() {
  "$CXX" -std="c++$oldest" -Wall -Wextra -Werror "$source/tests/packaging/consumer/$1" \
    -o "$work/program" "${@:2}" "${flags[@]}"
}

pkg_config() {
  find_by_pkg_config
  [[ $(pkg-config --modversion sysconfreader) == $("$tool" --version | sed 's/.* //') ]]
  for CXX in g++ clang++; do
    compile main.cpp
    library_path=$prefix/$libdir answers_like_the_tool "$work/program"
  done
}

linkers() {
  local option
  find_by_pkg_config
  for option in -fuse-ld=bfd -fuse-ld=gold -fuse-ld=lld -Wl,--no-as-needed; do
    if [[ $option == *gold ]] && ! command -v ld.gold >/dev/null; then
      echo "this release has no gold"
      continue
    fi
    compile main.cpp "$option"
    library_path=$prefix/$libdir answers_like_the_tool "$work/program"
  done
}

c_program() {
  local compiler
  install_to_moved library development
  read -ra flags < <(PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig pkg-config --cflags --libs sysconfreader-c)
  for compiler in gcc clang; do
    "$compiler" -std=c11 -pedantic -Wall -Wextra -Werror \
      "$source/tests/packaging/consumer/program.c" -o "$work/program" "${flags[@]}"
    library_path=$prefix/$libdir answers_like_the_tool "$work/program"
  done
  build_consumer -DVERSION=0.1 -DCOMPONENTS=c
  answers_like_the_tool "$work/build/c-consumer"
}

same_names() {
  find_by_pkg_config
  compile same-names.cpp
  library_path=$prefix/$libdir answers_like_the_tool "$work/program"
}

meson_project() {
  install_to_moved library development
  PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig meson setup "$work/build" \
    "$source/tests/packaging/consumer" >"$work/log" || {
    cat "$work/log" >&2
    exit 1
  }
  meson compile -C "$work/build" >/dev/null
  library_path=$prefix/$libdir answers_like_the_tool "$work/build/consumer"
}

build_all() {
  if ! { "$cmake" -S "$1" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_CXX_COMPILER_LAUNCHER="${LAUNCHER:-}" "${@:2}" &&
    "$cmake" --build "$work/build" --parallel 2; } >"$work/log" 2>&1; then
    cat "$work/log" >&2
    exit 1
  fi
}

# Another project fetches the sources and builds them with warnings as errors, as a unity build and with
# link-time optimisation.
fetched() {
  build_all "$source/tests/packaging/embedding" -DFETCHCONTENT_SOURCE_DIR_SYSCONFREADER="$source"
  answers_like_the_tool "$work/build/consumer"
  # That project does not install or test it.
  [[ ! -e $work/build/tests && ! -e $work/build/sysconfctl ]]
}

# The installed static library, whose names do not collide either.
static_library() {
  build_all "$source" -DBUILD_SHARED_LIBS=OFF -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON \
    -DSYSCONFREADER_BUILD_TOOLS=OFF -DSYSCONFREADER_BUILD_EVENTCBUTIL=OFF
  "$cmake" --install "$work/build" --prefix "$work/installed" >/dev/null
  rm -r "$work/build"
  mkdir "$work/moved"
  mv "$work/installed" "$prefix"
  build_consumer -DVERSION=0.1 -DCOMPONENTS=
  answers_like_the_tool "$work/build/consumer"
  read -ra flags < <(PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name sysconfreader.pc)") \
    pkg-config --static --cflags --libs sysconfreader)
  compile same-names.cpp
  answers_like_the_tool "$work/program"
}

dynamic_loading() {
  install_to_moved library
  "$CXX" "$source/tests/packaging/consumer/loaded.cpp" -o "$work/loaded" -ldl
  diff <("$tool" --env-file "$source/samples/ha-pair/master.env" get wss-port) \
    <(library_path=$prefix/$libdir as_master "$work/loaded")
}

"$case"

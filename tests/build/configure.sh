#!/usr/bin/env bash
# configure.sh CASE SOURCE: configures as users do, without building. CASE is a function below.
set -euo pipefail

case=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

configure() {
  "${CMAKE:-cmake}" -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" "$@" \
    >"$work/log" 2>&1
}

fail() {
  cat "$work/log" >&2
  echo "$*" >&2
  exit 1
}

linked() {
  ninja -C "$work/build" -n -v | sed -nE 's/.* -o ([^ ]*\/)?([^ /]*) .*/\2/p' | grep -v '\.o$' | sort
}

plain() {
  configure || fail "not configured"
  expected=(libeventcbutil.so libsysconfreader-c.so.1.0.0 libsysconfreader.so sysconfctl)
  if pkg-config --exists libcurl libcrypto libsystemd; then
    expected+=(sysconfsync)
  fi
  diff <(linked) <(printf '%s\n' "${expected[@]}")
}

reports() {
  tr -s '[:space:]' ' ' <"$work/log" | grep -F "$1" || fail "does not report: $1"
}

missing() {
  if PKG_CONFIG_LIBDIR=$work configure -DBUILD_TESTING=ON -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON; then
    fail "configured without any package"
  fi
  reports "apt install libjsoncpp-dev libace-dev rapidjson-dev libsimdjson-dev libgtest-dev libgmock-dev"
}

without_tool() {
  configure -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON || fail "not configured"
  reports "sysconfctl is not built, because packages are missing: libcli11-dev"
  diff <(linked) <(printf '%s\n' libeventcbutil.so libsysconfreader-c.so.1.0.0 libsysconfreader.so)
  if configure -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON -DSYSCONFREADER_BUILD_TOOLS=ON; then
    fail "configured without the packages of what was asked for"
  fi
  reports "apt install libcli11-dev"
}

# Hides libcurl from pkg-config.
without_sync() {
  local folder file
  mkdir "$work/pkgconfig"
  IFS=: read -ra folders < <(pkg-config --variable pc_path pkg-config)
  for folder in "${folders[@]}"; do
    for file in "$folder"/*.pc; do
      if [[ -e $file && $(basename "$file") != libcurl.pc ]]; then
        ln -sf "$file" "$work/pkgconfig"
      fi
    done
  done
  PKG_CONFIG_LIBDIR=$work/pkgconfig configure || fail "not configured"
  reports "sysconfsync is not built, because packages are missing: libcurl4-openssl-dev"
  diff <(linked) <(printf '%s\n' libeventcbutil.so libsysconfreader-c.so.1.0.0 libsysconfreader.so sysconfctl)
  if PKG_CONFIG_LIBDIR=$work/pkgconfig configure -DSYSCONFREADER_BUILD_SYNC=ON; then
    fail "configured without the packages of what was asked for"
  fi
  reports "apt install libcurl4-openssl-dev"
}

"$case"

#!/usr/bin/env bash
# event-library-install.sh CMAKE BUILD: checks which files the components of the event library and of
# the platform libraries install.
set -euo pipefail
export LC_ALL=C

cmake=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

installed() {
  "$cmake" --install "$build" --component "$1" --prefix "$work/$1" >/dev/null
  find "$work/$1" -type f -printf '%f\n' | sed 's/-targets-.*\.cmake$/-targets-CONFIG.cmake/' | sort
}

diff <(installed eventcbutil) <(printf '%s\n' EventConsumerCB.h libeventcbutil.so \
  sysconfreader-eventcbutil-targets{-CONFIG,}.cmake)
if { installed library && installed development; } | grep eventcbutil; then
  echo "another component installs the event library" >&2
  exit 1
fi

#!/usr/bin/env bash
# scripts-stop.sh SOURCE: runs the scripts that need packages as if none were installed, and checks that
# they print why they stop and what to install.
set -euo pipefail

source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
bin=$work/bin
mkdir "$bin"
for command in basename bash dirname env sed tail timeout; do
  ln -s "$(command -v "$command")" "$bin/$command"
done

stub() {
  printf '#!/bin/sh\n%s\n' "${*:2}" >"$bin/$1"
  chmod +x "$bin/$1"
}

# stops SCRIPT TEXT OPTION...: the script fails and prints TEXT and how to install the packages.
stops() {
  local script=$1 text=$2 output
  shift 2
  if output=$(PATH=$bin bash "$source/scripts/$script" "$@" 2>&1); then
    echo "scripts/$script $* did not stop" >&2
    exit 1
  fi
  if [[ $output != *"$text"* || $output != *"apt-get install"*"g++ cmake"* ]]; then
    printf 'scripts/%s %s says\n%s\nand not "%s"\n' "$script" "$*" "$output" "$text" >&2
    exit 1
  fi
}

stub dpkg-query exit 1
stub apt-get "echo \"\$*\" >>$work/apt-get; exit 1"
stub id echo 0
for script in demo test package lint; do
  stops "$script" "--no-install is given" --no-install
done
stub id echo 1000
stops demo "there is no sudo"
if [[ -e $work/apt-get ]]; then
  echo "apt-get was called: $(cat "$work/apt-get")" >&2
  exit 1
fi

stub id echo 0
stops demo "is there a network, and may you use sudo"
grep -F "install --yes" "$work/apt-get"

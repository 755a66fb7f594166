#!/usr/bin/env bash
# tools-install.sh CMAKE BUILD: checks that manual page and completions are installed with the tool.
set -euo pipefail

cmake=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cmake" --install "$build" --component tools --prefix "$work" >/dev/null
for file in bin/sysconfctl share/man/man1/sysconfctl.1 \
  share/bash-completion/completions/sysconfctl share/zsh/vendor-completions/_sysconfctl \
  share/fish/vendor_completions.d/sysconfctl.fish; do
  if [[ ! -s $work/$file ]]; then
    echo "$file is not installed" >&2
    exit 1
  fi
done

#!/usr/bin/env bash
# man-page.sh PAGE: checks that the programs that show manual pages accept the page.
set -euo pipefail

page=$1
for program in mandoc groff; do
  if ! command -v "$program" >/dev/null; then
    echo "$program is not installed; scripts/test installs it" >&2
    exit 1
  fi
done

messages=$(
  # Messages about other pages depend on the machine.
  mandoc -T lint -W style "$page" | grep -v 'referenced manual not found' || true
  groff -mandoc -ww -K utf8 -T utf8 -z "$page" 2>&1
)
if [[ -n $messages ]]; then
  printf '%s\n' "$messages" >&2
  exit 1
fi
# An empty page would also pass without errors. grep runs without -q: it would close the pipe early,
# and SIGPIPE could end mandoc.
mandoc "$page" | grep 'EXIT STATUS\|E.EX.XI.IT' >/dev/null

#!/usr/bin/env bash
# man-page.sh PAGE: that the programs that show manual pages find nothing wrong with it.
set -euo pipefail

page=$1
for program in mandoc groff; do
  if ! command -v "$program" >/dev/null; then
    echo "$program is not installed; scripts/test installs it" >&2
    exit 1
  fi
done

complaints=$(
  # What it says of other pages depends on the machine.
  mandoc -T lint -W style "$page" || true
  groff -mandoc -ww -K utf8 -T utf8 -z "$page" 2>&1
)
if [[ -n $complaints ]]; then
  printf '%s\n' "$complaints" >&2
  exit 1
fi
# A page that is none would have nothing wrong either.
mandoc "$page" | grep -q 'EXIT STATUS\|E.EX.XI.IT'

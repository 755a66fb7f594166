#!/usr/bin/env bash
# readme-program.sh SOURCE LIBRARY COMPILER: builds the C program of README.md verbatim with the C library
# and runs it as the master of the sample pair.
set -euo pipefail

source=$1 library=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

awk '$0 == "```c" {inside = 1; next} inside && /^```$/ {exit} inside' "$source/README.md" >"$work/program.c"
lines=$(wc -l <"$work/program.c")
if ((lines == 0 || lines > 15)); then
  echo "the program has $lines lines" >&2
  exit 1
fi
"$compiler" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$source/include" "$work/program.c" "$library" \
  -o "$work/program"
# Paths in the env files are relative to their folder.
cd "$source/samples/ha-pair"
set -a
# shellcheck source=/dev/null
source ./master.env
set +a
LD_LIBRARY_PATH=$(dirname "$library") "$work/program" | diff - <(
  cat <<'END'
tenancy core
service address 127.0.0.1
southbound 203.0.113.20;;203.0.113.23;;;;;;;
END
)

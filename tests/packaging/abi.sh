#!/usr/bin/env bash
# abi.sh LIBRARY HEADERS BASELINE [write]: compares the binary interface of the library (its
# functions, and the layout of its classes) with the one in BASELINE, or writes it there. Omits types
# that no exported function uses, and positions in the sources.
set -euo pipefail

library=$1
headers=$2
baseline=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

abidw --headers-dir "$headers" --drop-private-types --exported-interfaces-only --no-architecture \
  --no-comp-dir-path --no-corpus-path --no-elf-needed --no-show-locs \
  --out-file "$work/now.abi" "$library"
classes="SysConfReader SysConfReaderImpl SysConfReaderStatus SysConfReader_i"
if [[ $(basename "$baseline") == libsysconfreader-c.* ]]; then
  classes="sysconfreader_status sysconfreader_load sysconfreader_file"
fi
for class in $classes; do
  if ! grep -qE "class-decl name='$class'[^>]* size-in-bits='[0-9]+'" "$work/now.abi"; then
    echo "the layout of $class is not seen" >&2
    exit 1
  fi
done

difference=0
if [[ -e $baseline ]]; then
  xz --decompress --stdout "$baseline" >"$work/baseline.abi"
  abidiff "$work/baseline.abi" "$work/now.abi" || difference=1
fi
if [[ ${4:-} == write ]]; then
  xz -9 --stdout "$work/now.abi" >"$baseline"
elif [[ ! -e $baseline || $difference -ne 0 ]]; then
  echo "The binary interface has changed. If it should, run scripts/abi-baseline, and say so in" \
    "CHANGELOG.md." >&2
  exit 1
fi

#!/usr/bin/env bash
# hardening.sh CMAKE BUILD LIBDIR: installs the build and checks the protections of every program and
# library.
set -euo pipefail
export LC_ALL=C

cmake=$1
build=$2
libdir=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
  echo "$(basename "$file"): $1" >&2
  failures=$((failures + 1))
}

# All relocations are done at start-up and then made read-only.
check_relocations() {
  grep -q GNU_RELRO <<<"$headers" || fail "no read-only relocations"
  grep -q 'FLAGS.*BIND_NOW' <<<"$dynamic" || fail "relocations are not all done at start-up"
  ! grep -q TEXTREL <<<"$dynamic" || fail "relocations in the code"
}

check_memory() {
  grep -E 'GNU_STACK .* RW +0x' <<<"$headers" >/dev/null || fail "the stack is executable"
  ! grep -E 'LOAD .* RWE ' <<<"$headers" || fail "code that can be written to"
  imports=$(nm --dynamic --undefined-only "$file")
  grep -qw __stack_chk_fail <<<"$imports" || fail "no stack protector"
}

# Libraries are searched relative to the file only: not in build folders, and not in the current folder,
# which an empty entry means.
check_search_path() {
  local found expected=
  case $(basename "$file") in
  libsysconfreader.so) expected="\$ORIGIN" ;;
  sysconfctl) expected="\$ORIGIN/../$libdir" ;;
  esac
  found=$(sed -nE 's/.*\((RPATH|RUNPATH)\).*\[(.*)\]/\2/p' <<<"$dynamic")
  [[ $found == "$expected" ]] || fail "looks for libraries in \"$found\", not \"$expected\""
}

# x86-64: supports shadow stacks, and every function that can be called through a pointer starts with
# endbr64.
check_branches() {
  local notes marked exported
  notes=$(readelf --notes --wide "$file")
  grep -q 'x86 feature:.*SHSTK' <<<"$notes" || fail "no support for shadow stacks"
  marked=$(objdump --disassemble --no-show-raw-insn "$file" |
    sed -nE 's/^ *([0-9a-f]+):\s+endbr64.*/\1/p' | sort -u)
  exported=$(readelf --dyn-syms --wide "$file" |
    awk '$4 == "FUNC" && $7 ~ /^[0-9]+$/ { sub(/^0+/, "", $2); print $2 }' | sort -u)
  exported=$(comm -13 <(echo "$marked") <(echo "$exported"))
  [[ -z $exported ]] || fail "no endbr64 at $exported"
}

for component in library platform eventcbutil tools; do
  "$cmake" --install "$build" --component "$component" --prefix "$work" >/dev/null
done
checked=
while read -r file; do
  headers=$(readelf --program-headers --wide "$file" 2>/dev/null) || continue
  dynamic=$(readelf --dynamic --wide "$file")
  check_relocations
  check_memory
  check_search_path
  if [[ $(uname -m) == x86_64 ]]; then
    check_branches
  fi
  checked+=" $(basename "$file")"
done < <(find "$work" -type f)

echo "checked$checked"
[[ $checked == *" libsysconfreader.so"* && $failures -eq 0 ]]

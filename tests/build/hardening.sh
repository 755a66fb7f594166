#!/usr/bin/env bash
# hardening.sh CMAKE BUILD LIBDIR: installs what is built and looks at every program and library.
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

# Relocations are made read-only after all of them were done at the start.
check_relocations() {
  grep -q GNU_RELRO <<<"$headers" || fail "no read-only relocations"
  grep -q 'FLAGS.*BIND_NOW' <<<"$dynamic" || fail "relocations are not all done at the start"
  ! grep -q TEXTREL <<<"$dynamic" || fail "relocations in the code"
}

check_memory() {
  grep -E 'GNU_STACK .* RW +0x' <<<"$headers" >/dev/null || fail "the stack is executable"
  ! grep -E 'LOAD .* RWE ' <<<"$headers" || fail "code that can be written to"
  imports=$(nm --dynamic --undefined-only "$file")
  grep -qw __stack_chk_fail <<<"$imports" || fail "no stack protector"
}

# Nothing is searched for in folders of the build, nor in the current one, which an empty entry
# means: only beside the file itself.
check_search_path() {
  local found expected=
  case $(basename "$file") in
  libsysconfreader.so) expected="\$ORIGIN" ;;
  sysconfctl) expected="\$ORIGIN/../$libdir" ;;
  esac
  found=$(sed -nE 's/.*\((RPATH|RUNPATH)\).*\[(.*)\]/\2/p' <<<"$dynamic")
  [[ $found == "$expected" ]] || fail "looks for libraries in \"$found\", not \"$expected\""
}

# x86-64: fit for shadow stacks, and whatever may be called through a pointer begins with the
# instruction that says so.
check_branches() {
  local notes marked exported
  notes=$(readelf --notes --wide "$file")
  grep -q 'x86 feature:.*SHSTK' <<<"$notes" || fail "not fit for shadow stacks"
  marked=$(objdump --disassemble --no-show-raw-insn "$file" |
    sed -nE 's/^ *([0-9a-f]+):\s+endbr64.*/\1/p' | sort -u)
  exported=$(readelf --dyn-syms --wide "$file" |
    awk '$4 == "FUNC" && $7 ~ /^[0-9]+$/ { sub(/^0+/, "", $2); print $2 }' | sort -u)
  exported=$(comm -13 <(echo "$marked") <(echo "$exported"))
  [[ -z $exported ]] || fail "can be jumped to past the start of $exported"
}

for component in library eventcbutil tools; do
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

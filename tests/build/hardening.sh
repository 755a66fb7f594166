#!/usr/bin/env bash
# hardening.sh CMAKE BUILD LIBDIR CRTI NAME...: installs what is built and checks every program and library,
# at least those with these names. CRTI is the C library's start file that all of them are linked with.
set -euo pipefail
export LC_ALL=C

cmake=$1
build=$2
libdir=$3
crti=$4
shift 4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
  echo "$(basename "$file"): $1" >&2
  failures=$((failures + 1))
}

# All relocations are applied at the start, and are read-only afterwards.
check_relocations() {
  grep -q GNU_RELRO <<<"$headers" || fail "no read-only relocations"
  grep -q 'FLAGS.*BIND_NOW' <<<"$dynamic" || fail "relocations are not all applied at the start"
  ! grep -q TEXTREL <<<"$dynamic" || fail "relocations in the code"
}

check_memory() {
  grep -E 'GNU_STACK .* RW +0x' <<<"$headers" >/dev/null || fail "the stack is executable"
  ! grep -E 'LOAD .* RWE ' <<<"$headers" || fail "writable code"
  grep -qw __stack_chk_fail <<<"$imports" || fail "no stack protector"
}

# Out-of-range accesses to standard containers end the process.
check_assertions() {
  case $(basename "$file") in
  libsysconfreader.so | libeventcbutil.so)
    grep -qE 'glibcxx_assert_fail|replacement_assert' <<<"$imports" ||
      fail "no assertions of the standard library"
    ;;
  esac
}

# x86-64: a frame of more than one page is allocated page by page, and each page is touched.
# shellcheck disable=SC2016 # $ is the assembler's
check_frames() {
  local steps probes
  steps=$(grep -oE 'sub +\$0x[0-9a-f]{4,7},%rsp' <<<"$code" | grep -v '\$0x1000,' || true)
  [[ -z $steps ]] || fail "frames of more than a page: $steps"
  probes=$(grep -A1 -E 'sub +\$0x1000,%rsp' <<<"$code" | grep -cE '(or|mov)q +\$0x0,\(%rsp\)' || true)
  # Reading inotify events needs a buffer of several pages.
  [[ $(basename "$file") != libeventcbutil.so || $probes -gt 0 ]] || fail "no stack probes"
}

# Neither in folders of the build, nor in the current folder, which an empty entry means.
check_search_path() {
  local found expected=
  case $(basename "$file") in
  libsysconfreader.so | libsysconfreader-c.so*) expected="\$ORIGIN" ;;
  sysconfctl | sysconfsync) expected="\$ORIGIN/../$libdir" ;;
  esac
  found=$(sed -nE 's/.*\((RPATH|RUNPATH)\).*\[(.*)\]/\2/p' <<<"$dynamic")
  [[ $found == "$expected" ]] || fail "looks for libraries in \"$found\", not \"$expected\""
}

features() {
  readelf --notes --wide "$1" | sed -nE 's/.*x86 feature: ([A-Z, ]+).*/\1/p'
}

# x86-64: marked for shadow stacks, and for indirect branch tracking if the start files allow it. Functions
# that can be called through a pointer begin with the instruction that marks a branch target.
check_branches() {
  local marks marked targets text
  marks=$(features "$file")
  [[ $marks == *SHSTK* ]] || fail "not marked for shadow stacks"
  [[ $marks == *IBT* || $(features "$crti") != *IBT* ]] ||
    fail "not marked for indirect branch tracking"
  marked=$(sed -nE 's/^ *([0-9a-f]+):\s+endbr64.*/\1/p' <<<"$code" | sort -u)
  # The addresses of functions in tables are relative relocations into the code.
  text=$(readelf --sections --wide "$file" | sed 's/^ *\[ *[0-9]*\]//' |
    awk '$1 == ".text" { print "0x" $3, "0x" $5 }')
  targets=$({
    readelf --dyn-syms --wide "$file" |
      awk '$4 == "FUNC" && $7 ~ /^[0-9]+$/ { print $2 }'
    readelf --relocs --wide "$file" | awk '$3 == "R_X86_64_RELATIVE" { print $4 }'
  } | while read -r address; do
    read -r start size <<<"$text"
    ((0x$address < start || 0x$address >= start + size)) || printf '%x\n' "0x$address"
  done | sort -u)
  [[ -n $targets ]] || fail "no function that can be called through a pointer"
  targets=$(comm -13 <(echo "$marked") <(echo "$targets"))
  [[ -z $targets ]] || fail "branch targets without a mark: $targets"
}

for component in library eventcbutil tools sync; do
  "$cmake" --install "$build" --component "$component" --prefix "$work" >/dev/null
done
checked=
while read -r file; do
  headers=$(readelf --program-headers --wide "$file" 2>/dev/null) || continue
  dynamic=$(readelf --dynamic --wide "$file")
  imports=$(nm --dynamic --undefined-only "$file")
  check_relocations
  check_memory
  check_assertions
  check_search_path
  if [[ $(uname -m) == x86_64 ]]; then
    code=$(objdump --disassemble --no-show-raw-insn "$file")
    check_frames
    check_branches
  fi
  checked+=" $(basename "$file")"
done < <(find "$work" -type f)

echo "checked$checked"
for name; do
  file=$name
  [[ " $checked " == *" $name "* ]] || fail "not installed"
done
[[ -n $checked && $failures -eq 0 ]]

#!/usr/bin/env bash
# reference.sh SOURCE OUTPUT COMMAND...: generates the reference in OUTPUT with COMMAND and checks that every
# public operation of the headers is described, and that mandoc and groff accept the pages.
set -euo pipefail

source=$1
output=$2
shift 2
rm -rf "$output"
"$@" "-DOUTPUT=$output" -P "$source/docs/reference/reference.cmake"

diff <(printf '%s\n' SysConfReader.3 SysConfReaderEvent.3 SysConfReaderImpl.3 SysConfReaderStatus.3 \
  SysConfReader_i.3 sysconfreader_c.3) \
  <(find "$output/man3" -mindepth 1 -printf '%f\n' | LC_ALL=C sort)

status=0
complain() {
  echo "$*" >&2
  status=1
}

operations() {
  sed -n '/^public:/,/^private:/p' "$1" | sed 's,///.*,,' |
    grep -oE '^    [A-Za-z].* \*?[A-Za-z_]+\(' | grep -vE 'operator|delete' |
    grep -oE '[A-Za-z_]+\($' | tr -d '(' | sort -u
}

# Without overprinting, one line per paragraph.
plain_text() {
  mandoc -Tutf8 -Owidth=1000 "$1" | sed 's/.\x08//g'
}

# Succeeds if a line of the input declares the operation and the next, indented line describes it.
is_described() {
  awk -v name="$1" '
    function indent(line) { match(line, /^ */); return RLENGTH }
    declared && indent($0) > declared && $0 ~ /[a-z"].*\./ { described = 1 }
    { declared = $0 ~ "[ :*]" name " ?\\(" ? indent($0) : 0 }
    END { exit !described }'
}

for class in SysConfReader SysConfReaderImpl SysConfReaderStatus SysConfReader_i; do
  page=$output/man3/$class.3
  mandoc -Tlint -Werror "$page" || complain "mandoc: $page"
  [[ -z $(groff -man -Tutf8 -wmac -z "$page" 2>&1) ]] || complain "groff: $page"
  text=$(plain_text "$page")
  grep -qE "^ +$class - [A-Z]" <<<"$text" || complain "$page: no summary"
  found=0
  while read -r operation; do
    found=$((found + 1))
    is_described "$operation" <<<"$text" || complain "$page: $operation is not described"
  done < <(operations "$source/include/$class.h")
  ((found >= 6)) || complain "$class: only $found operations were found in its header"
done
page=$output/man3/SysConfReaderEvent.3
mandoc -Tlint -Werror "$page" || complain "mandoc: $page"
text=$(plain_text "$page")
for name in EventProcessCallback EventConsumerCallback EventConsumerCBInitFunction \
  EventConsumerCBFiniFunction SysConfReaderEventProcessCB; do
  grep -qw "$name" <<<"$text" || complain "$page: $name is not described"
done
page=$output/man3/sysconfreader_c.3
mandoc -Tlint -Werror "$page" || complain "mandoc: $page"
text=$(plain_text "$page")
while read -r name; do
  is_described "$name" <<<"$text" || complain "$page: $name is not described"
done < <(grep -A1 '^SYSCONFREADER_C_API' "$source/include/sysconfreader_c.h" |
  grep -oE 'sysconfreader_[a-z0-9_]+\(' | tr -d '(')

# The main page of the HTML links to the classes.
for class in SysConfReader SysConfReaderImpl SysConfReaderStatus SysConfReader__i; do
  grep -q "classQuarncommon_1_1$class.html" "$output/html/index.html" ||
    complain "index.html does not link to $class"
  [[ -s $output/html/classQuarncommon_1_1$class.html ]] || complain "no page of $class"
done
exit "$status"

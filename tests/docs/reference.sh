#!/usr/bin/env bash
# reference.sh SOURCE OUTPUT COMMAND...: makes the reference in OUTPUT by COMMAND, which is to succeed,
# and looks at the manual pages: those of the classes and the callback's header, no other; readable
# by both readers of manual pages, and with every public operation of the header told.
set -euo pipefail

source=$1
output=$2
shift 2
rm -rf "$output"
"$@" "-DOUTPUT=$output" -P "$source/docs/reference/reference.cmake"

diff <(printf '%s\n' SysConfReader.3 SysConfReaderEvent.3 SysConfReaderImpl.3 SysConfReader_i.3) \
  <(find "$output/man3" -mindepth 1 -printf '%f\n' | LC_ALL=C sort)

status=0
complain() {
  echo "$*" >&2
  status=1
}

# The public operations of a header: what stands before "(" on a line that declares one.
operations() {
  sed -n '/^public:/,/^private:/p' "$1" | sed 's,///.*,,' |
    grep -oE '^    [A-Za-z].* \*?[A-Za-z_]+\(' | grep -vE 'operator|delete' |
    grep -oE '[A-Za-z_]+\($' | tr -d '(' | sort -u
}

# A page without its overprinted bold and underlined letters, paragraphs on one line.
plain_text() {
  mandoc -Tutf8 -Owidth=1000 "$1" | sed 's/.\x08//g'
}

# Succeeds if a line of the input declares the operation and the next one, further to the right, tells
# something of it.
declared_and_told() {
  awk -v name="$1" '
    function indent(line) { match(line, /^ */); return RLENGTH }
    declared && indent($0) > declared && $0 ~ /[a-z"].*\./ { told = 1 }
    { declared = $0 ~ "[ :*]" name " ?\\(" ? indent($0) : 0 }
    END { exit !told }'
}

for class in SysConfReader SysConfReaderImpl SysConfReader_i; do
  page=$output/man3/$class.3
  mandoc -Tlint -Werror "$page" || complain "mandoc: $page"
  [[ -z $(groff -man -Tutf8 -wmac -z "$page" 2>&1) ]] || complain "groff: $page"
  text=$(plain_text "$page")
  grep -qE "^ +$class - [A-Z]" <<<"$text" || complain "$page: no summary"
  told=0
  while read -r operation; do
    told=$((told + 1))
    declared_and_told "$operation" <<<"$text" || complain "$page: $operation is not told"
  done < <(operations "$source/include/$class.h")
  ((told >= 6)) || complain "$class: only $told operations were found in its header"
done
page=$output/man3/SysConfReaderEvent.3
mandoc -Tlint -Werror "$page" || complain "mandoc: $page"
text=$(plain_text "$page")
for name in EventProcessCallback EventConsumerCallback EventConsumerCBInitFunction \
  EventConsumerCBFiniFunction SysConfReaderEventProcessCB; do
  grep -qw "$name" <<<"$text" || complain "$page: $name is not told"
done

# The HTML begins with the main page, which leads to the classes.
for class in SysConfReader SysConfReaderImpl SysConfReader__i; do
  grep -q "classQuarncommon_1_1$class.html" "$output/html/index.html" ||
    complain "index.html does not lead to $class"
  [[ -s $output/html/classQuarncommon_1_1$class.html ]] || complain "no page of $class"
done
exit "$status"

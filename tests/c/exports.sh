#!/usr/bin/env bash
# exports.sh LIBRARY LIST HEADER: checks the SONAME of the C library, that it exports exactly the listed
# names with their versions, and that the header declares exactly these functions.
set -euo pipefail
export LC_ALL=C

library=$1
list=$2
header=$3

readelf --dynamic "$library" | grep -F "Library soname: [libsysconfreader-c.so.1]"
diff --label expected --label exported -u "$list" \
  <(nm --dynamic --defined-only --with-symbol-versions "$library" | sed 's/^.* //' | sort)
diff --label exported --label declared -u <(sed -n 's/@@.*//p' "$list") \
  <(grep -A1 '^SYSCONFREADER_C_API' "$header" | grep -oE 'sysconfreader_[a-z0-9_]+\(' | tr -d '(' | sort -u)

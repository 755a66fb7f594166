#!/usr/bin/env bash
# rooms.sh SOURCE-DIRECTORY: checks that the folders of src/ include each other only as the table below
# allows, and that base names are unique except for a header and its source.
set -euo pipefail
cd "$1"

readers="base rules config locks status public sysconfreader sysconfreaderimpl"
declare -A may_include=(
  [base]=base
  [rules]=rules
  [config]="base rules config"
  [locks]="base locks ace"
  [status]="base rules config locks status public"
  [queries]="queries public"
  [sysconfreader]=$readers
  [sysconfreaderimpl]=$readers
  [fork]="$readers fork"
)
status=0

# Lines such as "config/FileText.cpp base/Exceptions.h".
includes() {
  grep -rE --include='*.h' --include='*.cpp' '^ *# *include' src |
    sed -nE 's,^src/([^:]+): *# *include *["<]([^">]+)[">].*,\1 \2,p'
}

checked=0
while read -r file included; do
  room=${file%%/*}
  target=${included%%/*}
  if [[ $included == SysConf*.h ]]; then
    target=public
  fi
  if [[ -z ${may_include[$room]:-} ]]; then
    echo "src/$file: its folder has no row in $0" >&2
    status=1
  elif [[ $target == public || $target == ace || -d src/$target ]]; then
    checked=$((checked + 1))
    if [[ " ${may_include[$room]} " != *" $target "* ]]; then
      echo "src/$file includes $included, which $room/ may not" >&2
      status=1
    fi
  fi
done < <(includes)
if ((checked < 50)); then
  echo "only $checked includes found in src/" >&2
  status=1
fi

# "FOLDER/NAME" without ending, once per pair of header and source; then the repeated names.
repeated=$(find src platform tools bindings -type f ! -name CMakeLists.txt ! -path '*/.*' |
  sed -E 's,\.[^./]*$,,' | sort -u | sed 's,.*/,,' | sort | uniq -d)
for name in $repeated; do
  echo "more than one file of the product is named $name:" >&2
  find src platform tools bindings -name "$name.*" >&2
  status=1
done
exit "$status"

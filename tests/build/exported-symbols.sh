#!/usr/bin/env bash
# exported-symbols.sh LIBRARY LIST: checks that the library exports exactly the listed names, once per
# overload. Constructors and destructors are ignored, because the compiler decides whether to emit them.
set -euo pipefail
export LC_ALL=C

library=$1
list=$2

exported() {
  nm --dynamic --defined-only --demangle "$library" |
    sed -E 's/^[0-9a-f]* [A-Za-z] //; s/\[abi:cxx11\]//g; s/\(.*//' |
    grep -vE '::(SysConf\w+)::~?\1$' |
    sort
}

diff --label expected --label exported -u "$list" <(exported)

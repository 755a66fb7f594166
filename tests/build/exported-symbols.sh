#!/usr/bin/env bash
# exported-symbols.sh LIBRARY LIST: the library exports exactly the listed names, an overloaded
# one as often as it is overloaded. Constructors, destructors are left out: whether they are emitted
# is the compiler's choice.
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

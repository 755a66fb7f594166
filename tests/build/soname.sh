#!/usr/bin/env bash
# soname.sh LIBRARY NAME: checks that the library is a file of that name, not a link, with that SONAME.
set -euo pipefail

library=$1
name=$2

[[ $(basename "$library") == "$name" && ! -L $library ]]
readelf --dynamic "$library" | grep -F "Library soname: [$name]"

#!/usr/bin/env bash
# hardening-probe.sh LIBRARY 2|3|unoptimised: code that is built with the project's options checks the
# stack before a return, indices into containers and, if it is optimised, the size of buffers; at level
# 3 also of buffers whose size is known only at run time.
set -euo pipefail

library=$1
build=$2

imports=$(nm --dynamic --undefined-only "$library")
grep -w __stack_chk_fail <<<"$imports"
grep -E 'glibcxx_assert_fail|replacement_assert' < <(nm --dynamic "$library")
if [[ $build != unoptimised ]]; then
  grep -w __strcpy_chk <<<"$imports"
fi
if [[ $build == 3 ]]; then
  grep -w __memcpy_chk <<<"$imports"
fi

#!/usr/bin/env bash
# hardening-probe.sh LIBRARY optimised|unoptimised: code built as the project's own checks the stack
# before it returns and, where it is optimised, the buffers that it copies into.
set -euo pipefail

library=$1
build=$2

imports=$(nm --dynamic --undefined-only "$library")
grep -w __stack_chk_fail <<<"$imports"
if [[ $build == optimised ]]; then
  grep -w __strcpy_chk <<<"$imports"
fi

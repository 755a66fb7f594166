#!/usr/bin/env bash
# hardening-probe.sh LIBRARY optimised|unoptimised: checks that code built with the project's options has
# a stack protector and, if optimised, checked copies.
set -euo pipefail

library=$1
build=$2

imports=$(nm --dynamic --undefined-only "$library")
grep -w __stack_chk_fail <<<"$imports"
if [[ $build == optimised ]]; then
  grep -w __strcpy_chk <<<"$imports"
fi

#!/usr/bin/env bash
# documented-tests.sh BUILD-DIRECTORY DOCUMENT MINIMUM: checks that ctest has every test that the
# document names in backticks, with "*" for any ending, and that it names at least MINIMUM.
set -euo pipefail

names=$(ctest --test-dir "$1" -N | sed -n 's/^ *Test *#[0-9]*: \(FullTree\.\)\{0,1\}//p')
if [[ -z $names ]]; then
  echo "ctest knows no tests in $1" >&2
  exit 1
fi
status=0
named=0
# shellcheck disable=SC2016 # literal backticks
documented=$(grep -oE '`[A-Z][A-Za-z0-9]*\.[A-Z*][A-Za-z0-9_]*\*?`' "$2" | tr -d '`' | sort -u)
while read -r pattern; do
  named=$((named + 1))
  expression=${pattern//./\\.}
  if ! grep -qE "^${expression//\*/.*}$" <<<"$names"; then
    echo "$2 names $pattern, which is no test" >&2
    status=1
  fi
done <<<"$documented"
if ((named < $3)); then
  echo "$2 names only $named tests: are they still in backticks?" >&2
  status=1
fi
exit "$status"

#!/usr/bin/env bash
# any-program.sh CASE SOURCE SYSCONFCTL: runs an example of examples/any-program as the standby of the sample
# pair, or checks its units. Exits with 77 if the language, or systemd, is not installed.
set -euo pipefail

case=$1 source=$2 tool=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$source"/examples/any-program/* "$work"
ln -s "$tool" "$work/sysconfctl"
export PATH=$work:$PATH NO_EM_CLIENT=1 COLUMNS=200
cd "$work"

needs() {
  command -v "$1" >/dev/null || {
    echo "$1 is not installed"
    exit 77
  }
}

expected="tenancy core, service address 127.0.0.1"

# runs COMMAND...: the program prints the answers that exec gives it, and "none" without an answer.
runs() {
  diff <(echo "$expected") \
    <(sysconfctl exec --env-file "$source/samples/ha-pair/standby.env" -- "$@")
  diff <(echo "tenancy none, service address none") \
    <(sysconfctl exec --set APP_CONF_FILE= --set APP_ROOT= --set TOLM_ROOT= -- "$@")
}

case $case in
shell)
  runs ./where.sh
  cd "$source/samples/ha-pair"
  set -a
  # shellcheck source=/dev/null
  source ./standby.env
  set +a
  diff <(echo "$expected") <("$work/where.sh")
  ;;
java)
  needs java
  # A runtime without a compiler cannot run a source.
  needs javac
  runs java Where.java
  ;;
go)
  needs go
  export GOCACHE=$work/cache HOME=$work
  runs go run where.go
  ;;
units)
  needs systemd-analyze
  # systemd checks that the programs exist.
  sed -i "s,/usr/bin/sysconfctl,$tool,; s,/usr/local/bin,$work," ./*.service
  # It also reports other units of the machine.
  messages_of() { systemd-analyze verify "$@" 2>&1 | grep where || true; }
  # Proof that it checks units on this machine.
  sed 's/^ExecStart=/&relative-path/' where.service >where-wrong.service
  if [[ -z $(messages_of ./where-wrong.service) ]]; then
    echo "systemd-analyze reports no error in where-wrong.service"
    exit 1
  fi
  diff /dev/null <(messages_of ./where.service ./where-once.service)
  ;;
esac

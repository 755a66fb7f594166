#!/usr/bin/env bash
# lifecycle.sh FOLDER: installs the Debian packages in FOLDER with apt, runs debian/tests with them,
# upgrades, downgrades, removes and purges them, and checks that nothing is left. Newer versions are the
# same packages with other numbers. Changes the machine: run it as root in a disposable container with a
# network. scripts/test --release and CI run it.
set -euo pipefail
export LC_ALL=C DEBIAN_FRONTEND=noninteractive
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

folder=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
all=(libeventcbutil libeventcbutil-dev libsysconfreader libsysconfreader-c1 libsysconfreader-dev sysconfctl sysconfsync)
# The name of a program that is packaged like a user's.
program=where-am-i

fail() {
  echo "lifecycle.sh: $*" >&2
  exit 1
}

step() {
  printf '%4d s  %s\n' "$SECONDS" "$*"
}

apt() {
  apt-get --yes --quiet --no-install-recommends "$@" >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    fail "apt-get $* failed"
  }
}

# packages FOLDER: the files of all packages there.
packages() {
  local package
  for package in "${all[@]}"; do
    ls "$1/${package}"_*.deb
  done
}

# installed PACKAGE...: the installed ones, with their versions.
installed() {
  dpkg-query --show --showformat '${binary:Package} ${Version} ${db:Status-Status}\n' 2>/dev/null |
    sed 's/:[^ ]* / /' | grep -E "^($(IFS='|' && echo "$*")) " || true
}

# are_installed VERSION: all packages are installed in that version, and unmodified.
are_installed() {
  diff <(printf "%s $1 installed\n" "${all[@]}") <(installed "${all[@]}") ||
    fail "not all packages are installed in version $1"
  dpkg --verify "${all[@]}" | grep . && fail "files differ from those of the packages"
  local marked
  marked=$(cat /usr/share/doc/sysconfctl/simulated 2>/dev/null || echo "$version")
  [[ $marked == "$1" ]] || fail "files are those of $marked, not of $1"
}

# answer COMMAND...: runs it as the master of the sample pair.
answer() (
  cd samples/ha-pair
  set -a
  # shellcheck source=/dev/null
  source ./master.env
  "$@" | grep -qw core || fail "$* does not answer"
)

programs_answer() {
  answer sysconfctl get product-name
  answer "$program"
}

# simulate VERSION: makes the same packages with that version, in $work/VERSION.
simulate() {
  local file tree
  mkdir "$work/$1"
  while read -r file; do
    tree=$work/tree
    dpkg-deb --raw-extract "$file" "$tree"
    sed -i "s/^Version: .*/Version: $1/; s/(= $version)/(= $1)/g
      s/libsysconfreader-abi-[0-9.]*/libsysconfreader-abi-${1%.*}/g" "$tree/DEBIAN/control"
    echo "$1" >"$tree/usr/share/doc/$(dpkg-deb --field "$file" Package)/simulated"
    (cd "$tree" && find usr -type f -exec md5sum {} + >DEBIAN/md5sums)
    dpkg-deb --root-owner-group -Zgzip -z1 --build "$tree" "$work/$1" >/dev/null
    rm -r "$tree"
  done < <(packages "$folder")
}

# package_program: packages the program of debian/tests, with the dependencies that Debian's tools find.
package_program() {
  local source=$work/program depends
  local tree=$source/debian/$program
  mkdir -p "$tree"/{DEBIAN,usr/bin}
  cp "$work/where-am-i" "$tree/usr/bin/$program"
  printf 'Source: %s\n\nPackage: %s\nArchitecture: any\n' $program $program >"$source/debian/control"
  depends=$(cd "$source" && dpkg-shlibdeps -O "debian/$program/usr/bin/$program")
  depends=${depends#shlibs:Depends=}
  grep -w "$abi" <<<"$depends" || fail "the program does not depend on $abi: $depends"
  cat >"$tree/DEBIAN/control" <<CONTROL
Package: $program
Version: 1
Architecture: $(dpkg --print-architecture)
Maintainer: tests <tests@localhost>
Depends: $depends
Description: program of README.md
CONTROL
  dpkg-deb --root-owner-group --build "$tree" "$work/$program.deb" >/dev/null
}

# files: lists all files of the machine except those of the package tools.
files() {
  find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /run -o -path /tmp -o -path "$PWD" \
    -o -path "$folder" -o -path /var/cache -o -path /var/log -o -path /var/lib/apt -o -path /var/lib/dpkg \
    \) -prune -o -print | sort
}

[[ $(id -u) -eq 0 ]] || fail "needs root"
[[ -z $(installed "${all[@]}" $program) ]] || fail "packages of the project are installed already"
version=$(dpkg-deb --field "$(ls "$folder"/libsysconfreader_*.deb)" Version)
abi=libsysconfreader-abi-${version%.*}
patch=${version%.*}.$((${version##*.} + 1))
incompatible=$((${version%%.*} + 1)).0.0

step "apt-get update"
apt update
step "install what debian/tests needs, dpkg-dev, and systemd"
read -ra needed < <(sed -n 's/^Depends: //p' debian/tests/control | sed 's/libsysconfreader-dev//; s/,/ /g')
# Removing systemd, which makes the user of sysconfsync, leaves files.
apt install "${needed[@]}" dpkg-dev systemd
files >"$work/before"

step "install $version"
mapfile -t current < <(packages "$folder")
apt install "${current[@]}"
are_installed "$version"
step "debian/tests/readme-program"
AUTOPKGTEST_TMP=$work debian/tests/readme-program >"$work/log" 2>&1 || {
  cat "$work/log" >&2
  fail "debian/tests/readme-program failed"
}
sed -n '/^tenancy/,/^southbound/p' "$work/log" | head -n 3
step "the program has answered"

step "install a package that depends on the library"
package_program
apt install "$work/$program.deb"
programs_answer

step "upgrade to $patch"
simulate "$patch"
mapfile -t newer < <(packages "$work/$patch")
apt install "${newer[@]}"
are_installed "$patch"
programs_answer

step "upgrade to $incompatible, which has another binary interface"
simulate "$incompatible"
mapfile -t other < <(packages "$work/$incompatible")
if apt-get --yes --no-remove install "${other[@]}" >"$work/log" 2>&1; then
  fail "apt-get installs a library that the program cannot use"
fi
grep -w "$program" "$work/log" || fail "apt-get does not name the program"
are_installed "$patch"
programs_answer

step "downgrade to $version"
apt install --allow-downgrades "${current[@]}"
are_installed "$version"
programs_answer

step "remove"
apt remove "${all[@]}" $program
# Only a purge deletes the files of followers.
left=$(installed "${all[@]}" $program)
[[ $left == "sysconfsync $version config-files" ]] || fail "left: $left"

step "install again, and purge"
apt install "${current[@]}"
are_installed "$version"
install -D -m 640 /dev/null /var/lib/sysconfsync/node-1/versions/1/app.json
apt purge "${all[@]}"
apt autoremove --purge
diff "$work/before" <(files) || fail "files are left after the purge, or gone with it"
step "done: nothing is left"

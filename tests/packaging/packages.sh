#!/usr/bin/env bash
# packages.sh CASE BUILD LIBDIR FOLDER SOURCE: makes Debian packages of BUILD in FOLDER and checks them.
# CASE is one of the functions below; "make" runs before the others.
set -euo pipefail
export LC_ALL=C

case=$1
build=$2
libdir=$3
folder=$4
source=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
all=(libeventcbutil libeventcbutil-dev libsysconfreader libsysconfreader-c1 libsysconfreader-dev python3-sysconfreader sysconfctl sysconfsync)
root=$work/root

fail() {
  echo "$*" >&2
  exit 1
}

# pack FOLDER UMASK: needs only the packaging, the pages, the examples and the Python package. -d: the build dependencies
# were checked when BUILD was configured.
pack() {
  mkdir -p "$1"
  if ! (
    umask "$2"
    cp -r "$source"/{debian,bindings,examples,CHANGELOG.md} "$(mktemp -d -p "$work" sourceXXX)"
    cd "$work"/source*
    SYSCONFREADER_BUILT=$build dpkg-buildpackage --build=binary -us -uc -d
  ) >"$work/log" 2>&1; then
    cat "$work/log" >&2
    exit 1
  fi
  rm -r "$work"/source*
  mv "$work"/*.deb "$work"/*.changes "$work"/*.buildinfo "$1"
}

package() {
  ls "$folder/$1"_*.deb
}

field() {
  dpkg-deb --field "$(package "$1")" "$2"
}

make() {
  rm -rf "$folder"
  pack "$folder" 022
  diff <(printf '%s\n' "${all[@]}") <(find "$folder" -name '*.deb' ! -name '*-dbgsym_*' -printf '%f\n' |
    sed 's/_.*//' | sort)
  [[ $(find "$folder" -name '*-dbgsym_*.deb' | wc -l) -eq 5 ]] || fail "not five packages of debug symbols"
  pack "$work/again" 077
  diff -r --exclude='*.buildinfo' --exclude='*.changes' "$folder" "$work/again"
}

lintian_errors() {
  local options=(--fail-on "error,warning")
  if [[ $(id -u) -eq 0 ]]; then
    options+=(--allow-root)
  fi
  lintian "${options[@]}" "$folder"/*.changes
}

# Exactly these files and those of every package.
has() {
  local package=$1
  shift
  diff <(printf './usr/%s\n' "$@" "share/doc/$package"/{copyright,changelog{,.Debian}.gz} | sort) \
    <(dpkg-deb --fsys-tarfile "$(package "$package")" | tar --list --file - |
      sed -E '/\/$/d; /\/man3\//d; /\/lintian\//d; /\/examples\//d
        s/-targets-[a-z]+\.cmake$/-targets-CONFIG.cmake/' | sort) ||
    fail "$package has other files"
}

contents() {
  local cmake=$libdir/cmake/sysconfreader
  has libsysconfreader "$libdir/libsysconfreader.so"
  has libeventcbutil "$libdir/libeventcbutil.so"
  has libeventcbutil-dev include/EventConsumerCB.h \
    "$cmake"/sysconfreader-eventcbutil-targets{,-CONFIG}.cmake
  has libsysconfreader-c1 "$libdir"/libsysconfreader-c.so.1{,.0.0}
  has libsysconfreader-dev include/SysConfReader{,Event,Impl,Status,_i}.h include/sysconfreader_c.h \
    "$cmake"/sysconfreader{-targets,-targets-CONFIG,Config,ConfigVersion}.cmake \
    "$cmake"/sysconfreader-c-targets{,-CONFIG}.cmake \
    "$libdir/libsysconfreader-c.so" "$libdir"/pkgconfig/sysconfreader{,-c}.pc
  has python3-sysconfreader lib/python3/dist-packages/sysconfreader/{py.typed,{__init__,_changes,_errors}.py} \
    lib/python3/dist-packages/sysconfreader/{_library,_queries,_status}.py
  has sysconfctl bin/sysconfctl share/man/man1/sysconfctl.1.gz \
    share/sysconfreader/schema/{app-config,manager-node-list,node-list}.schema.json \
    share/bash-completion/completions/sysconfctl share/zsh/vendor-completions/_sysconfctl \
    share/fish/vendor_completions.d/sysconfctl.fish
  has sysconfsync bin/sysconfsync share/man/man1/sysconfsync.1.gz \
    lib/systemd/system/sysconfsync@.service lib/sysusers.d/sysconfsync.conf
}

# file PACKAGE PATH: a file of the package.
file() {
  dpkg-deb --fsys-tarfile "$(package "$1")" | tar --extract --to-stdout --file - "./$2"
}

service() {
  local unit
  unit=$(file sysconfsync usr/lib/systemd/system/sysconfsync@.service)
  grep -F 'sysconfsync follow "%i" --folder /var/lib/sysconfsync/%i' <<<"$unit" ||
    fail "the node is not the name of the instance"
  # It turns "-" into "/".
  ! grep '%I' <<<"$unit" || fail "the service uses the unescaped name"
}

# needs PACKAGE PATTERN...: each pattern matches one of its dependencies.
needs() {
  local package=$1 other depends
  shift
  depends=$(field "$package" Depends)
  for other in "$@"; do
    # shellcheck disable=SC2053 # a pattern
    [[ ", $depends," == *", "${other}[,\ ]* ]] || fail "$package does not depend on $other: $depends"
  done
}

dependencies() {
  local version abi
  version=$(field libsysconfreader Version)
  abi=libsysconfreader-abi-${version%.*}
  needs libsysconfreader 'libjsoncpp[0-9]*' 'libace-[0-9]*' 'libsimdjson[0-9]*' libc6 libstdc++6
  needs libsysconfreader-c1 libsysconfreader "$abi" libc6 libstdc++6
  needs libeventcbutil libc6 libstdc++6
  needs libsysconfreader-dev "libsysconfreader (= $version)" \
    "libsysconfreader-c1 (= $version)" libjsoncpp-dev libace-dev pkgconf
  needs libeventcbutil-dev "libeventcbutil (= $version)" "libsysconfreader-dev (= $version)"
  needs python3-sysconfreader "libsysconfreader-c1 (>= $version)" 'python3 (>=*)'
  needs sysconfctl "libsysconfreader (= $version)" 'libfmt[0-9]*' "$abi"
  needs sysconfsync "libsysconfreader (= $version)" 'libcurl4*' 'libssl3*' 'libsystemd0' "$abi"
  # Programs depend on this name, which changes with the binary interface.
  [[ $(field libsysconfreader Provides) == "$abi" ]] || fail "libsysconfreader does not provide $abi"
  dpkg-deb --info "$(package libsysconfreader)" symbols |
    grep -x "libsysconfreader.so libsysconfreader #MINVER#, $abi"
  # Only one event library can be installed, including that of a platform.
  [[ $(field libsysconfreader Recommends) == "libeventcbutil | event-callback-library" ]] ||
    fail "libsysconfreader does not recommend an event library"
  for relation in Provides Conflicts; do
    [[ $(field libeventcbutil "$relation") == event-callback-library ]] || fail "no $relation"
  done
}

# Uses a separate package database, in which nothing else is installed: hence --force-depends, and packages'
# scripts run outside of it. The other options are for users other than root.
own_dpkg() {
  PATH=$work/bin:$PATH dpkg --root="$root" --log="$work/dpkg.log" --force-depends --force-not-root \
    --force-bad-path --force-unsafe-io --force-script-chrootless "$@" >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    fail "dpkg $*"
  }
}

in_root() {
  find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -printf '/%P\n' | sort
}

older() {
  local package tree version
  mkdir "$work/older"
  version=$(field libsysconfreader Version)
  for package in "${all[@]}"; do
    tree=$work/older/$package
    dpkg-deb --raw-extract "$(package "$package")" "$tree"
    sed -i "s/$version/0.0.1/" "$tree/DEBIAN/control"
    echo "of the older version" >"$tree/usr/share/doc/$package/old"
    dpkg-deb --root-owner-group -Zgzip -z1 --build "$tree" "$work/older/$package.deb" >/dev/null
  done
}

tool() {
  LD_LIBRARY_PATH=$root/usr/$libdir "$root/usr/bin/sysconfctl" "$@"
}

python_answer() (
  cd "$source/samples/ha-pair"
  set -a
  # shellcheck source=/dev/null
  source ./master.env
  LD_LIBRARY_PATH=$root/usr/$libdir PYTHONPATH=$root/usr/lib/python3/dist-packages \
    /usr/bin/python3 -B -c 'import sysconfreader; print(sysconfreader.product_name())'
)

installation() {
  local version dynamic packages services
  version=$(field libsysconfreader Version)
  mkdir -p "$root"/var/lib/dpkg/{info,updates} "$work/bin"
  touch "$root/var/lib/dpkg/status"
  # The real one would write to /etc of the root.
  printf '#!/bin/sh\necho "$*" >>%q\n' "$work/users" >"$work/bin/systemd-sysusers"
  printf '#!/bin/sh\necho "$*" >>%q\n' "$work/services" | tee "$work"/bin/{deb-systemd-invoke,systemctl} >/dev/null
  chmod +x "$work"/bin/*
  mkdir -p "$root/run/systemd/system"

  older
  own_dpkg --install "$work"/older/*.deb
  [[ ! -e $work/services ]] || fail "an installation changes services: $(<"$work/services")"
  [[ $(in_root | grep -c '/old$') -eq ${#all[@]} ]] || fail "the older version is not installed"

  mapfile -t packages < <(for package in "${all[@]}"; do package "$package"; done)
  own_dpkg --install "${packages[@]}"
  diff <(for package in "${packages[@]}"; do dpkg-deb --fsys-tarfile "$package" | tar --list --file -; done |
    sed '/\/$/d; s/^\.//' | sort) <(in_root) || fail "not just the new version is installed"
  [[ $(dpkg-query --admindir="$root/var/lib/dpkg" --show --showformat '${Version}\n' |
    sort | uniq -c) =~ ^\ *${#all[@]}\ $version$ ]] || fail "not all are upgraded to $version"
  grep -qx -- "--root=$root sysconfsync.conf" "$work/users" || fail "sysconfsync does not create its user"
  services="$(printf '%s\n' '--system daemon-reload' '--system --no-block try-restart sysconfsync@*.service')"
  [[ $(<"$work/services") == "$services" ]] || fail "the upgrade does not restart the followers that run"
  dpkg --root="$root" --force-not-root --verify | grep . && fail "files differ from the packages'"

  dynamic=$(readelf --dynamic "$root"/usr/bin/sysconf{ctl,sync} "$root/usr/$libdir"/lib*.so)
  grep -E 'R(UN)?PATH' <<<"$dynamic" && fail "libraries are searched for in folders of their own"
  [[ "sysconfctl $version" == "$(tool --version)" ]] || fail "the tool says $(tool --version)"
  [[ $(tool --env-file "$source/samples/ha-pair/master.env" get product-name) == core ]] ||
    fail "the tool does not answer"
  [[ $(python_answer) == core ]] || fail "the Python package does not answer"

  # What a follower writes, and `systemctl enable`.
  mkdir -p "$root"/var/lib/sysconfsync/node-1/versions/1 "$root"/etc/systemd/system/multi-user.target.wants
  touch "$root"/var/lib/sysconfsync/node-1/versions/1/{app.json,.version}
  ln -s /lib/systemd/system/sysconfsync@.service \
    "$root"/etc/systemd/system/multi-user.target.wants/sysconfsync@node-1.service
  own_dpkg --remove "${all[@]}"
  [[ $(tail -n 1 "$work/services") == "stop sysconfsync@*.service" ]] || fail "the removal does not stop the followers"
  [[ $(in_root | grep -c node-1) -eq 3 ]] || fail "the removal deletes files of a node"
  own_dpkg --purge "${all[@]}"
  in_root | grep . && fail "left after removal"
  rm -r "${root:?}"/{etc,run}
  [[ $(find "$root" -mindepth 1 -maxdepth 1 -printf '%f\n') == var ]] || fail "folders are left"
}

"$case"

#!/usr/bin/env bash
# packages.sh CASE BUILD LIBDIR FOLDER [SOURCE]: makes Debian packages of what is built, in FOLDER, and
# looks at them. CASE is one of the functions below; "make" comes before the others.
set -euo pipefail
export LC_ALL=C

case=$1
build=$2
libdir=$3
folder=$4
source=${5:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
all=(libeventcbutil libquarn-platform libsysconfreader libsysconfreader-dev sysconfctl)
root=$work/root

fail() {
  echo "$*" >&2
  exit 1
}

# pack FOLDER UMASK
pack() {
  if ! (umask "$2" && cpack --config "$build/CPackConfig.cmake" -B "$1") >"$work/log" 2>&1; then
    cat "$work/log" >&2
    exit 1
  fi
  rm -r "$1/_CPack_Packages"
}

package() {
  ls "$folder/$1"_*.deb
}

field() {
  dpkg-deb --field "$(package "$1")" "$2"
}

# Neither the time, nor the folder, nor whoever packages with which habits shows.
make() {
  rm -rf "$folder"
  pack "$folder" 022
  diff <(printf '%s\n' "${all[@]}") <(find "$folder" -name '*.deb' -printf '%f\n' | sed 's/_.*//' | sort)
  pack "$work/again" 077
  diff -r "$folder" "$work/again"
}

lintian_errors() {
  local options=(--fail-on "error,warning")
  if [[ $(id -u) -eq 0 ]]; then
    options+=(--allow-root)
  fi
  lintian "${options[@]}" "$folder"/*.deb
}

# has PACKAGE FILE...: these, and what every package has.
has() {
  local package=$1
  shift
  diff <(printf './usr/%s\n' "$@" "share/doc/$package"/{copyright,changelog{,.Debian}.gz} \
    "share/lintian/overrides/$package" | sort) \
    <(dpkg-deb --fsys-tarfile "$(package "$package")" | tar --list --file - |
      sed -E '/\/$/d; /\/man3\//d; s/-targets-[a-z]+\.cmake$/-targets-CONFIG.cmake/' | sort) ||
    fail "$package has other files"
}

contents() {
  local cmake=$libdir/cmake/sysconfreader
  has libsysconfreader "$libdir/libsysconfreader.so"
  has libquarn-platform "$libdir"/libquarn{base,json}util.so \
    include/{JsonDocument,JsonReader,QuarnCommonUtils,QuarnCommonUtils_i}.h \
    "$cmake"/sysconfreader-platform-targets{,-CONFIG}.cmake
  has libeventcbutil "$libdir/libeventcbutil.so" include/EventConsumerCB.h \
    "$cmake"/sysconfreader-eventcbutil-targets{,-CONFIG}.cmake
  has libsysconfreader-dev include/SysConfReader{,Event,Impl,_i}.h \
    "$cmake"/sysconfreader{-targets,-targets-CONFIG,Config,ConfigVersion}.cmake \
    "$libdir/pkgconfig/sysconfreader.pc"
  has sysconfctl bin/sysconfctl share/man/man1/sysconfctl.1.gz \
    share/sysconfreader/schema/{app-config,manager-node-list,node-list}.schema.json \
    share/bash-completion/completions/sysconfctl share/zsh/vendor-completions/_sysconfctl \
    share/fish/vendor_completions.d/sysconfctl.fish
}

# needs PACKAGE PATTERN...: among what it depends on is one that matches.
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
  local version
  version=$(field libsysconfreader Version)
  needs libsysconfreader "libquarn-platform (= $version)" 'libjsoncpp[0-9]*' 'libace-[0-9]*' libc6 \
    libstdc++6
  needs libquarn-platform 'libjsoncpp[0-9]*' 'libsimdjson[0-9]*' libc6
  needs libeventcbutil libc6 libstdc++6
  needs libsysconfreader-dev "libsysconfreader (= $version)" "libquarn-platform (= $version)" \
    libjsoncpp-dev libace-dev pkg-config
  needs sysconfctl "libsysconfreader (= $version)" "libquarn-platform (= $version)" 'libfmt[0-9]*'
  # What packages of others depend on.
  dpkg-deb --info "$(package libsysconfreader)" symbols |
    grep -x "libsysconfreader.so libsysconfreader #MINVER#"
}

# With a record of packages of its own, in which nothing else is installed: hence --force-depends. The
# other permissions are for who is not root; the packages have no scripts, which only root could run.
own_dpkg() {
  dpkg --root="$root" --log="$work/dpkg.log" --force-depends --force-not-root --force-bad-path \
    --force-unsafe-io "$@" >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    fail "dpkg $*"
  }
}

in_root() {
  find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -printf '/%P\n' | sort
}

# older: the packages as of an older version, with one file more.
older() {
  local package tree version
  mkdir "$work/older"
  version=$(field libsysconfreader Version)
  for package in "${all[@]}"; do
    tree=$work/older/$package
    dpkg-deb --raw-extract "$(package "$package")" "$tree"
    sed -i "s/$version/0.0.1-1/" "$tree/DEBIAN/control"
    echo "of the older version" >"$tree/usr/share/doc/$package/old"
    dpkg-deb --root-owner-group -Zgzip -z1 --build "$tree" "$work/older/$package.deb" >/dev/null
  done
}

# tool ARGUMENT...: the installed one, with the installed libraries.
tool() {
  LD_LIBRARY_PATH=$root/usr/$libdir "$root/usr/bin/sysconfctl" "$@"
}

installation() {
  local version dynamic
  version=$(field libsysconfreader Version)
  mkdir -p "$root"/var/lib/dpkg/{info,updates}
  touch "$root/var/lib/dpkg/status"

  older
  own_dpkg --install "$work"/older/*.deb
  [[ $(in_root | grep -c '/old$') -eq ${#all[@]} ]] || fail "the older version is not installed"

  own_dpkg --install "$folder"/*.deb
  diff <(for package in "$folder"/*.deb; do dpkg-deb --fsys-tarfile "$package" | tar --list --file -; done |
    sed '/\/$/d; s/^\.//' | sort) <(in_root) || fail "not just the new version is installed"
  [[ $(dpkg-query --admindir="$root/var/lib/dpkg" --show --showformat '${Version}\n' |
    sort | uniq -c) =~ ^\ *5\ $version$ ]] || fail "not all are upgraded to $version"
  dpkg --root="$root" --force-not-root --verify | grep . && fail "files differ from the packages'"

  dynamic=$(readelf --dynamic "$root/usr/bin/sysconfctl" "$root/usr/$libdir"/lib*.so)
  grep -E 'R(UN)?PATH' <<<"$dynamic" && fail "libraries are searched for in folders of their own"
  [[ "sysconfctl ${version%-*}" == "$(tool --version)" ]] || fail "the tool says $(tool --version)"
  [[ $(tool --env-file "$source/samples/ha-pair/master.env" get product-name) == core ]] ||
    fail "the tool does not answer"

  own_dpkg --purge "${all[@]}"
  in_root | grep . && fail "left after removal"
  [[ $(find "$root" -mindepth 1 -maxdepth 1 -printf '%f\n') == var ]] || fail "folders are left"
}

"$case"

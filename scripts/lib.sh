# shellcheck shell=bash
# Shared by the scripts of this folder. Sourced, never run.

# Debian packages for the library and the tools.
# shellcheck disable=SC2034 # used by the scripts that source this one
build_packages=(g++ cmake ninja-build pkgconf libjsoncpp-dev libace-dev rapidjson-dev
  libsimdjson-dev libcli11-dev libfmt-dev libcurl4-openssl-dev libssl-dev
  libsystemd-dev)
# To make and check packages.
# shellcheck disable=SC2034
package_packages=(binutils build-essential chrpath debhelper doxygen dpkg-dev file lintian)
# shellcheck disable=SC2034
test_packages=("${package_packages[@]}" abigail-tools xz-utils
  clang libclang-rt-dev lld llvm meson libgtest-dev libgmock-dev
  libbenchmark-dev nlohmann-json3-dev locales graphviz strace python3 python3-jsonschema
  python3-pip python3-setuptools python3-wheel etcd-client etcd-server openssl
  zsh fish mandoc groff-base chromium)
# shellcheck disable=SC2034
lint_packages=(clang clang-format clang-tidy cmake-format lintian shfmt shellcheck flake8 python3)

# Where scripts/in-release keeps the roots of releases.
# shellcheck disable=SC2034
roots=${ROOTS:-/var/cache/sysconfreader-roots}

# Lets checkouts share a compiler cache.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros

say() {
  printf '%s\n' "$*" >&2
}

die() {
  say "$(basename "$0"): $*"
  exit 1
}

missing_packages() {
  local package
  for package in "$@"; do
    if [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
      printf '%s\n' "$package"
    fi
  done
}

as_root() {
  if [[ $(id -u) -eq 0 ]]; then
    "$@"
  else
    sudo "$@"
  fi
}

# "no" for the option --no-install.
install=yes

apt_install() {
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install --yes --no-install-recommends -qq "$@" 2>&1
}

# Updates the lists of packages only if the installation fails without that, so that an unreachable mirror is
# no error if the packages are available.
install_packages() {
  local missing
  if ! command -v dpkg-query >/dev/null; then
    say "This is no Debian machine; going on with what there is. Needed are: $*"
    return
  fi
  mapfile -t missing < <(missing_packages "$@")
  if [[ ${#missing[@]} -eq 0 ]]; then
    return
  fi
  local by_hand="install them with: apt-get install ${missing[*]}"
  if [[ $install == no ]]; then
    die "packages are missing, and --no-install is given; $by_hand"
  elif [[ $(id -u) -ne 0 ]] && ! command -v sudo >/dev/null; then
    die "packages are missing, and only root can install them (there is no sudo); $by_hand"
  fi
  say "Installing ${missing[*]}"
  local output
  if ! output=$(apt_install "${missing[@]}"); then
    as_root timeout 300 apt-get update -qq >&2 || say "apt-get update failed; trying without it"
    if ! output=$(apt_install "${missing[@]}"); then
      tail -n 3 <<<"$output" >&2
      die "apt-get could not install packages: is there a network, and may you use sudo? If so, $by_hand"
    fi
  fi
}

# configure FOLDER OPTION...: with ccache if it is installed. Silent unless it fails.
configure() {
  local folder=$1 log
  shift
  local launcher=()
  if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  fi
  mkdir -p "$folder"
  log=$folder/configure.log
  if ! cmake -S . -B "$folder" -G Ninja "${launcher[@]}" "$@" >"$log" 2>&1; then
    cat "$log" >&2
    die "cmake could not configure $folder"
  fi
}

configure_all() {
  configure "$1" -DBUILD_TESTING=ON -DSYSCONFREADER_BUILD_TOOLS=ON \
    -DSYSCONFREADER_BUILD_SYNC=ON -DSYSCONFREADER_BUILD_EXAMPLES=ON -DSYSCONFREADER_BUILD_BENCHMARKS=ON "${@:2}"
}

# configure_for_tests FOLDER COMPILER SANITIZER: more optimisation takes longer than it saves. The folders are
# those of Debian's packages. With a sanitizer, whole folders are compiled at once: that is faster when all
# is built, and slower after a change of one file.
configure_for_tests() {
  configure_all "$1" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1" -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_CXX_COMPILER="$2" -DSYSCONFREADER_SANITIZE="$3" -DSYSCONFREADER_WERROR=ON \
    -DSYSCONFREADER_BUILD_BENCHMARKS="$([[ -n $3 ]] && echo OFF || echo ON)" \
    -DCMAKE_UNITY_BUILD="$([[ -n $3 ]] && echo ON || echo OFF)"
}

# The copies are new: a file that changed while an older copy of it was compiled is compiled again.
copy_sources() {
  tar --exclude='./build*' --exclude=./.git --exclude=./.ccache -cf - . | tar -C "$1" --touch -xf -
}

# build FOLDER [TARGET...]: with JOBS jobs. Prints only warnings and errors.
build() {
  local folder=$1
  shift
  local targets=()
  if [[ $# -gt 0 ]]; then
    targets=(--target "$@")
  fi
  cmake --build "$folder" --parallel "${JOBS:-$(nproc)}" "${targets[@]}" -- --quiet >&2
}

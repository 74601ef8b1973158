# Sourced by ./run and ./test: gets what the build needs, on Debian, and builds. All that is said goes to standard error.

packages_for_building=(g++ cmake ninja-build pkg-config libjansson-dev rapidjson-dev libre2-dev libgtest-dev libgmock-dev)
packages_for_tests=(python3 python3-pexpect python3-jsonschema)

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }

# For this machine's architecture, that is: others may be there for cross builds.
is_installed() {
  dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "$1" 2>/dev/null |
    grep -Eqx "($(dpkg --print-architecture)|all) installed"
}

# install_packages PACKAGE... : those that are missing, or nothing.
install_packages() {
  command -v dpkg-query >/dev/null || return 0 # another system: the build says what it lacks
  local package missing=() as_root=()
  for package in "$@"; do is_installed "$package" || missing+=("$package"); done
  [ ${#missing[@]} -gt 0 ] || return 0
  if [ "$(id -u)" != 0 ]; then
    as_root=(sudo)
    if ! command -v sudo >/dev/null; then
      say "packages are missing that only root can install: apt-get install ${missing[*]}"
      return 1
    fi
  fi
  say "installing ${missing[*]}"
  {
    "${as_root[@]}" apt-get update -q || say "the package lists could not be updated; trying with those at hand"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
  } </dev/null >&2
}

# Passes on what a build says; on a terminal its steps are counted, in one line that goes when they are done.
show_progress() {
  local line
  if ! [ -t 2 ]; then cat && return; fi
  while IFS= read -r line; do
    printf '%s\n' "$line"
    if [[ $line =~ ^\[[0-9]+/[0-9]+\] ]]; then printf '\r%s: %s\033[K' "${0##*/}" "${BASH_REMATCH[0]}" >&2; fi
  done
  printf '\r\033[K' >&2
}

# A build names its place: one of a checkout that was moved or copied serves no more.
drop_moved_build() {
  local cache=build/$1/CMakeCache.txt home
  [ -e "$cache" ] || return 0
  home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$cache")
  [ "$home" = "$PWD" ] && return 0
  say "the $1 build is that of $home: building anew"
  rm -rf "build/$1"
}

# A build that was configured before there was a python3 lacks what is made and tested by it.
is_configured() {
  [ -e "build/$1/build.ninja" ] &&
    ! { grep -q '^SYSTEM_PYTHON3:.*NOTFOUND$' "build/$1/CMakeCache.txt" && command -v python3 >/dev/null; }
}

# build PRESET [TARGET...] : configures when that was not done, and builds; what the tools say is shown when they fail.
build() {
  local preset=$1 log targets=()
  shift
  if [ $# -gt 0 ]; then targets=(--target "$@"); fi
  drop_moved_build "$preset"
  log=$(mktemp)
  if ! {
    { is_configured "$preset" || cmake --preset "$preset"; } && cmake --build --preset "$preset" "${targets[@]}"
  } </dev/null 2>&1 | show_progress >"$log"; then
    cat "$log" >&2
    rm -f "$log"
    say "the $preset build failed"
    return 1
  fi
  rm -f "$log"
}

# Sourced by ./run and ./test: gets what the build needs, on Debian, and builds. All that is said goes to standard error.

packages_for_building=(g++ cmake ninja-build pkg-config libjansson-dev libedit-dev libre2-dev libgtest-dev libgmock-dev)
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
  say "installing ${missing[*]}"
  if [ "$(id -u)" != 0 ]; then as_root=(sudo); fi
  {
    "${as_root[@]}" apt-get update -q || say "the package lists could not be updated; trying with those at hand"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
  } </dev/null >&2
}

# build PRESET [TARGET...] : configures when that was not done, and builds; what the tools say is shown when they fail.
build() {
  local preset=$1 log targets=()
  shift
  if [ $# -gt 0 ]; then targets=(--target "$@"); fi
  log=$(mktemp)
  if ! {
    { [ -e "build/$preset/build.ninja" ] || cmake --preset "$preset"; } && cmake --build --preset "$preset" "${targets[@]}"
  } </dev/null >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    say "the $preset build failed"
    return 1
  fi
  rm -f "$log"
}

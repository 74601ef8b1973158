#!/bin/bash
# Makes the Debian packages of a build, installs them into a scratch root, uses them there and removes them again.
#   packages_test.sh BUILD_DIR SOURCE_DIR
#   packages_test.sh BUILD_DIR SOURCE_DIR ARCHITECTURE EMULATOR...   another one: unpacked, the shell run by the emulator
# Exit status 77 when this machine cannot do that.
set -euo pipefail
build=$1 source=$2 architecture=${3-}
emulator=("${@:4}")

fail() { echo "$*" >&2 && exit 1; }
for tool in dpkg dpkg-deb dpkg-shlibdeps file cpack; do
  command -v $tool >/dev/null || { echo "skipped: there is no $tool" && exit 77; }
done
[ "$(id -u)" = 0 ] || [ -n "$architecture" ] || { echo "skipped: dpkg wants to be root" && exit 77; }

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
packages=$scratch/packages root=$scratch/root
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$packages" >"$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
[ "$(ls "$packages"/*.deb | wc -l)" = 4 ] || fail "there are not four packages: $(ls "$packages")"
for package in "$packages"/*.deb; do
  wanted=${architecture:-$(dpkg --print-architecture)}
  case $package in */python3-*) wanted=all ;; esac
  [ "$(dpkg-deb -f "$package" Architecture)" = "$wanted" ] || fail "$(dpkg-deb -f "$package")"
done

if [ -n "$architecture" ]; then
  for package in "$packages"/*_"$architecture".deb; do dpkg-deb -x "$package" "$root"; done
  libraries=$(dirname "$(find "$root/usr/lib" -name libcli_engine.so)")
  "${emulator[@]}" -E "LD_LIBRARY_PATH=$libraries" "$root/usr/bin/cli-shell" --version | grep -q "^cli-shell [0-9]" ||
    fail "cli-shell does not run"
  echo "packages for $architecture"
  exit
fi

for package in libcli-engine0 cli-shell; do
  dpkg-deb -c "$packages/$package-dbgsym"_*.ddeb | grep '\.debug$' >/dev/null || fail "$package has no debug symbols"
done
if command -v lintian >/dev/null; then
  lintian --fail-on error "$packages"/*.deb || fail "lintian found errors"
fi

# The root knows what this machine has of the packages that ours need, and no more: dpkg says what else they ask for.
mkdir -p "$root/var/lib/dpkg/updates" "$root/var/lib/dpkg/info" "$root/tmp"
for package in libc6 libcrypt1 libgcc-s1 libstdc++6 libjansson4 libjansson-dev libre2-9 python3; do
  dpkg-query -s "$package" && echo
done >"$root/var/lib/dpkg/status"
in_root() { dpkg --root="$root" --force-bad-path --log="$scratch/dpkg.log" "$@" >"$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"; }
in_root --install "$packages"/*.deb
for package in libcli-engine0 libcli-engine-dev python3-cli-engine cli-shell; do
  dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${db:Status-Status}\n' $package | grep -qx installed || fail "$package"
done

libraries=$(dirname "$(find "$root/usr/lib" -name libcli_engine.so)")
export LD_LIBRARY_PATH=$libraries PATH=$root/usr/bin:$PATH XDG_STATE_HOME=$scratch
"$root/usr/bin/cli-shell" --version | grep -q "^cli-shell [0-9]" || fail "cli-shell does not run"
echo '{"quit": {"#help": "Leave", "#handler": "cli_shell_exit"}}' >"$scratch/tiny.json"
[ "$("$root/usr/bin/cli-shell" --color=never -c quit "$scratch/tiny.json")" = "quit " ] || fail "a language does not run"

# The examples, as the README says; grep reads to the end, since a shell that cannot write fails.
export PKG_CONFIG_PATH=$libraries/pkgconfig
says() { sed -n "s/^    \($1.*\)/\1/p" "$source/README.md" | grep . || fail "the README does not say $1"; }
example=$(says "cli-shell --handlers .*--privileges ")
(cd "$root/usr/share/doc/cli-shell/examples/router" && $example -c "show version") | grep Kernel >/dev/null || fail "$example"
cp -r "$root/usr/share/doc/cli-shell/examples/switch" "$scratch"
(cd "$scratch/switch" && eval "$(says "cc -shared")" && $(says "cli-shell --handlers .*switch.json") -c "show ports" -c exit) |
  grep "^4     auto" >/dev/null || fail "the switch does not run"

cp "$source/tests/consumer/host.c" "$source/tests/consumer/plugin.c" "$scratch"
flags=$(pkg-config --cflags --libs cli_engine)
printf '#include <%s>\n' stddef.h stdint.h cli_engine/cli_engine_flat.h | cc -std=c11 -Werror -fsyntax-only -xc $flags - ||
  fail "the header for other languages does not compile"
cc -std=c11 -Wall -Werror -rdynamic "$scratch/host.c" $flags -o "$scratch/host"
cc -std=c11 -Wall -Werror -shared -fPIC "$scratch/plugin.c" $flags -o "$scratch/libplugin.so"
"$scratch/host" "$scratch/libplugin.so" | grep -qx "Hello world from C" || fail "a host does not run"

PYTHONPATH=$root/usr/lib/python3/dist-packages python3 -B -c 'import cli_engine; cli_engine.Engine({})' ||
  fail "the package for Python does not run"

in_root --purge cli-shell python3-cli-engine libcli-engine-dev libcli-engine0
left=$(find "$root" -path "$root/var" -prune -o ! -type d -print)
[ -z "$left" ] || fail "left behind: $left"
echo "packages installed, used and removed"

#!/bin/bash
# Compares the interface of a library that has debug information with the committed one: exported functions, their
# parameters, the records that they share with hosts.
#   abi_test.sh LIBRARY SOURCE_DIR [--update]
# --update writes the committed interface anew. Exit status 77 when this machine cannot compare.
set -euo pipefail
library=$1 source=$2 committed=$2/tests/data/interface-x86_64.abi

for tool in abidw abidiff; do
  command -v $tool >/dev/null || { echo "skipped: there is no $tool (Debian package abigail-tools)" && exit 77; }
done
[ "$(uname -m)" = x86_64 ] || { echo "skipped: the committed interface is that of x86-64" && exit 77; }

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
# What the public headers declare counts; what they leave opaque does not.
for folder in cli_engine libglobal; do
  mkdir "$scratch/$folder"
  cp "$source/$folder"/*.h "$scratch/$folder"
done

if [ "${3-}" = --update ]; then
  abidw --headers-dir "$scratch" --drop-private-types --exported-interfaces-only --no-show-locs \
    --no-corpus-path --no-comp-dir-path "$library" | sed -E "s,path='[^']*/(cli_engine|libglobal)/,path='\1/," >"$committed"
fi
abidiff --headers-dir1 "$scratch" --headers-dir2 "$scratch" "$committed" "$library" || {
  echo "The interface differs from $committed. Raise CLI_ENGINE_LAYOUT or the minor version as CONTRIBUTING.md says, and"
  echo "write the new one with: tests/abi_test.sh LIBRARY SOURCE_DIR --update"
  exit 1
}
echo "the interface is the committed one"

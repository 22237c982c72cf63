#!/usr/bin/env bash
# Updates the snapshots of the binary interface in abi/ and shows what has changed: for intended changes only (docs/abi.md
# says which are allowed). Builds the libraries for both targets.
#
# scripts/update-abi.sh --of LIBRARY prints the snapshot of a library that was built with debug information.
set -euo pipefail

# Leaves out what depends on compiler options, the location of the sources and function bodies.
snapshot_of() {
  abidw --drop-private-types --headers-dir include --suppressions abi/derkit.abignore --exported-interfaces-only \
    --drop-undefined-syms --no-elf-needed --no-show-locs --no-corpus-path --no-comp-dir-path --type-id-style hash "$1" |
    sed "s|path='$PWD/|path='|"
}

if (($# == 2)) && [[ $1 == --of ]]; then
  library=$(readlink -e "$2")
elif (($# > 0)); then
  echo "usage: scripts/update-abi.sh [--of LIBRARY]" >&2
  exit 2
fi
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
if [[ -n ${library:-} ]]; then
  snapshot_of "$library"
  exit
fi

new=$(mktemp)
trap 'rm -f "$new"' EXIT
renew() {
  local preset=$1 target=$2 library=$3
  local snapshot=abi/$library.$target.abi
  cmake --build --preset "$preset" --target "$library.so"
  snapshot_of "build/$preset/$library.so" >"$new"
  echo "== $snapshot"
  if [[ -f $snapshot ]]; then
    abidiff --harmless "$snapshot" "$new" || true # its status tells that there are changes
  fi
  cat "$new" >"$snapshot"
}
for preset in native i386; do
  cmake --preset "$preset" >/dev/null
done
renew native x86_64 libderkit
renew native x86_64 libderkit-gost
renew i386 i386 libderkit
renew i386 i386 libderkit-gost

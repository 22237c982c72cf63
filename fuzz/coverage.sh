#!/usr/bin/env bash
# Measures what the inputs of every target reach in the library: fuzz/coverage.sh [FOLDER...]. Inputs are the corpus, the
# seeds from the catalogue of calls and FOLDER/TARGET/*, for example build/native-asan/fuzz/found after a run. Prints lines
# and regions of every source file that a target reaches, then of all targets together. Needs the Debian package llvm.
set -euo pipefail
folders=()
for folder in "$@"; do
  folders+=("$(readlink -f "$folder")")
done
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

build=build/fuzz-coverage
CC=clang CXX=clang++ cmake -S . -B $build -G Ninja -D CMAKE_BUILD_TYPE=Debug -D DERKIT_BUILD_FUZZERS=ON \
  -D DERKIT_BUILD_TESTS=OFF -D DERKIT_BUILD_TOOLS=OFF \
  -D CMAKE_CXX_FLAGS_DEBUG="-O0 -g1 -fprofile-instr-generate -fcoverage-mapping" >/dev/null
cmake --build $build --target derkit_fuzzers >/dev/null
$build/fuzz/fuzz_make_seeds $build/fuzz/seeds >/dev/null

report() {
  local profile=$1
  shift
  local objects=("$1")
  for object in "${@:2}"; do
    objects+=(-object "$object")
  done
  # llvm-cov complains of functions of one name in several targets; none is the library's.
  llvm-cov export -summary-only -instr-profile "$profile" "${objects[@]}" \
    2> >(grep -v 'mismatched data' >&2) | python3 -c '
import json, pathlib, sys

totals = [0, 0, 0, 0]
for file in json.load(sys.stdin)["data"][0]["files"]:
    path = pathlib.Path(file["filename"]).relative_to(pathlib.Path.cwd())
    counts = [file["summary"][kind][count] for kind in ("lines", "regions") for count in ("covered", "count")]
    if path.parts[0] in ("asn", "pkcs", "util", "platform") and counts[0] != 0:
        totals = [a + b for a, b in zip(totals, counts)]
        print("  {:32} {:4} of {:4} lines {:4} of {:4} regions".format(str(path), *counts))
print("  {:32} {:4} of {:4} lines {:4} of {:4} regions".format("together", *totals))'
}

programs=()
profiles=()
for corpus in fuzz/corpus/*; do
  target=${corpus##*/}
  program=$build/fuzz/fuzz_$target
  inputs=("$corpus" "$build/fuzz/seeds/$target")
  for folder in "${folders[@]}"; do
    inputs+=("$folder/$target")
  done
  LLVM_PROFILE_FILE=$build/$target.profraw "$program" "${inputs[@]}" 2>/dev/null
  llvm-profdata merge -o "$build/$target.profdata" "$build/$target.profraw"
  echo "$target"
  report "$build/$target.profdata" "$program"
  programs+=("$program")
  profiles+=("$build/$target.profdata")
done
llvm-profdata merge -o $build/all.profdata "${profiles[@]}"
echo "all targets"
report $build/all.profdata "${programs[@]}"

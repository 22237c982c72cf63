#!/usr/bin/env bash
# Static checks by clang-tidy (.clang-tidy) and cppcheck: of the library, or with --all of the tool and the kit of the
# tests too. A false alarm is suppressed at its line, with the reason.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
jobs=$(nproc)
status=0

# tidy FLAGS SOURCE...: one process per file; sources are checked without a build.
tidy() {
  local flags=$1
  shift
  # shellcheck disable=SC2086
  printf '%s\0' "$@" | xargs -0 -P "$jobs" -I{} clang-tidy --quiet --config-file=.clang-tidy {} -- \
    -std=c++20 -Iinclude -I. $flags 2>/dev/null
}

# Most of the time goes into the headers that the sources share, so the library's are put together into three. Only where
# these have faults each source is checked alone, which tells the places.
tidy_library() {
  local folder group=0 sources
  folder=$(mktemp -d)
  for sources in "asn/asn_[a-o]*.cpp" "asn/asn_[p-z]*.cpp asn/t61.cpp" "pkcs/*.cpp util/*.cpp platform/*.cpp"; do
    group=$((group + 1))
    # shellcheck disable=SC2086
    cat $sources >"$folder/$group.cpp"
  done
  cp tests/headers/helpers_program.cpp "$folder" # the helpers are in no source
  tidy "" "$folder"/*.cpp >/dev/null || tidy "" asn/*.cpp pkcs/*.cpp util/*.cpp platform/*.cpp tests/headers/*.cpp ||
    status=1
  rm -r "$folder"
}

# Suppressed: two matters of taste, and unused members, which cppcheck also reports when structured bindings use them.
check_with_cppcheck() {
  cppcheck --quiet --language=c++ --std=c++20 --enable=warning,style,performance,portability --inline-suppr \
    --suppress=useStlAlgorithm --suppress=shadowFunction --suppress=unusedStructMember \
    --error-exitcode=1 -Iinclude -I. "$@" || status=1
}

check_with_cppcheck asn pkcs util platform tests/headers
tidy_library
if [[ ${1:-} == --all ]]; then
  check_with_cppcheck -Itests -Itools tools testing tests/support/*.h
  mapfile -t tool < <(find tools -name '*.cpp')
  tidy "-Itools -DDERKIT_WITH_GOST -DDERKIT_VERSION=\"\"" "${tool[@]}" || status=1
  tidy "-xc++ -Itests" testing/*.h tests/support/*.h || status=1
fi
exit "$status"

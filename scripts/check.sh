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
  printf '%s\0' "$@" | xargs -0 -P "$jobs" -I{} clang-tidy --quiet {} -- -std=c++20 -Iinclude -I. $flags 2>/dev/null || status=1
}

# Suppressed: two matters of taste, and unused members, which cppcheck also reports when structured bindings use them.
check_with_cppcheck() {
  cppcheck --quiet --language=c++ --std=c++20 --enable=warning,style,performance,portability --inline-suppr \
    --suppress=useStlAlgorithm --suppress=shadowFunction --suppress=unusedStructMember \
    --error-exitcode=1 -Iinclude -I. "$@" || status=1
}

check_with_cppcheck asn pkcs util platform
tidy "" asn/*.cpp pkcs/*.cpp util/*.cpp platform/*.cpp
if [[ ${1:-} == --all ]]; then
  check_with_cppcheck -Itests -Itools tools testing tests/support/*.h
  mapfile -t tool < <(find tools -name '*.cpp')
  tidy "-Itools -DDERKIT_WITH_GCRYPT -DDERKIT_VERSION=\"\"" "${tool[@]}"
  tidy "-xc++ -Itests" testing/*.h tests/support/*.h
fi
exit "$status"

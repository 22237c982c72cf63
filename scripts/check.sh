#!/usr/bin/env bash
# Static checks by clang-tidy (.clang-tidy) and cppcheck: of the library's sources and headers, or with --all of the tool
# and the tests' support too. Both find nothing; what they would find wrongly has its reason at the line.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
jobs=$(nproc)
status=0

# Sources behind these flags need no build to be checked. A check is one file a process.
tidy() {
  local flags=$1
  shift
  # shellcheck disable=SC2086
  printf '%s\0' "$@" | xargs -0 -P "$jobs" -I{} clang-tidy --quiet {} -- -std=c++20 -Iinclude -I. $flags 2>/dev/null || status=1
}

# Not looked at: where an algorithm could take a loop's place, and variables named like a member function, both of them
# matters of taste; members that are never used, for it does not see through structured bindings.
check_with_cppcheck() {
  cppcheck --quiet --language=c++ --std=c++20 --enable=warning,style,performance,portability --inline-suppr \
    --suppress=useStlAlgorithm --suppress=shadowFunction --suppress=unusedStructMember \
    --error-exitcode=1 -Iinclude -I. "$@" || status=1
}

check_with_cppcheck asn pkcs util platform
tidy "" asn/*.cpp pkcs/*.cpp util/*.cpp platform/*.cpp
if [[ ${1:-} == --all ]]; then
  check_with_cppcheck -Itests -Itools -I. tools testing/*.h tests/support/*.h
  tidy "-I./tools -DDERKIT_WITH_GCRYPT -DDERKIT_VERSION=\"\"" tools/*.cpp tools/*/*.cpp
  tidy "-xc++ -Itests -I. -isystem/usr/src/googletest/googletest/include" testing/*.h tests/support/*.h
fi
exit "$status"

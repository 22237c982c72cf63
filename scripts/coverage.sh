#!/usr/bin/env bash
# Builds the library with counters, runs the unit tests and fails unless they reach every line and 98 % of the branches.
# With a build folder as its argument, it only reports what the tests have counted there, and resets the counters.
#
# Branches that only exceptions take, and those that gcov calls unreachable, are not counted.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

if (($# == 0)); then
  scripts/setup.sh
  cmake --preset native
  cmake --build --preset native --target coverage_programs
  exec ctest --preset native --tests-regex '^coverage'
fi
# The table of files counts branches.
gcovr --root . --branches --filter '(include|asn|pkcs|util|platform)/' \
  --exclude-throw-branches --exclude-unreachable-branches --delete --print-summary \
  --fail-under-line 100 --fail-under-branch 98 "$1"

cat <<'EOT'
The remaining branches: files that open but cannot be measured or read to their end; texts beyond 4 GiB; a time that
libc cannot write and a converter that fails, which the built-in one does not; functions in headers that some object
does not call; and those that the compiler made for exceptions and for deleting a null pointer.
EOT

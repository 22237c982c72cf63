#!/usr/bin/env bash
# What the tests reach in the library's sources: builds them with counters, runs them and fails unless every line and 95 %
# of the branches were reached. With a build's folder: only the report of what its tests have counted, after which their
# counts are at zero again.
#
# Branches on which only exceptions go, and those that gcov finds no way to, are not counted.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

if (($# == 0)); then
  scripts/setup.sh
  cmake --preset native-coverage
  cmake --build --preset native-coverage
  exec ctest --preset native-coverage
fi
# The table of files is of branches; of lines there must be none left.
gcovr --root . --branches --filter '(include|asn|pkcs|util|platform)/' \
  --exclude-throw-branches --exclude-unreachable-branches --delete --print-summary \
  --fail-under-line 100 --fail-under-branch 95 "$1"

cat <<'EOF'
The branches that are left are those of files that open but cannot be measured or read to their end; of texts beyond
4 GiB; of a time that libc cannot write and a converter that fails, which the one built in does not; of functions in
headers that this or that object does not call; and those that the compiler made for exceptions and for deleting a null
pointer.
EOF

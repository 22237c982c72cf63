#!/usr/bin/env bash
# Shows the library at work: builds the command-line tool and prints the names of every root
# certificate that Debian ships, each taken back to DER and compared.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
certificates=/etc/ssl/certs/ca-certificates.crt

echo "== looking for the packages that the build needs"
scripts/setup.sh

echo "== configuring (preset native)"
cmake --preset native

echo "== building the command-line tool"
cmake --build --preset native --target derkit_tool

echo "== derkit cert --round-trip $certificates"
exec build/native/tools/derkit cert --round-trip "$certificates"

#!/usr/bin/env bash
# Shows the library at work: builds the command-line tool, reads a container of a GOST key that OpenSSL made, makes one of
# its own, and prints the names of every root certificate that Debian ships, each encoded again and compared.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
certificates=/etc/ssl/certs/ca-certificates.crt
data=tests/data
derkit=build/native/tools/derkit

echo "== looking for the packages that the build needs"
scripts/setup.sh

echo "== configuring (preset native)"
cmake --preset native

echo "== building the command-line tool"
cmake --build --preset native --target derkit_tool

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed -n 's/^2001[.]p12 //p' $data/passwords.txt >"$work/password"

echo "== derkit p12 show $data/2001.p12 (made by OpenSSL with gost-engine)"
$derkit p12 show --password-file "$work/password" $data/2001.p12

echo "== derkit p12 make, of the same key and certificate, and derkit p12 show"
$derkit p12 make --key $data/2001.key.pem --cert $data/2001.cert.pem --name "Made by derkit" \
  --password-file "$work/password" --out "$work/made.p12"
$derkit p12 show --password-file "$work/password" "$work/made.p12"

echo "== derkit cert --round-trip $certificates"
$derkit cert --round-trip "$certificates"

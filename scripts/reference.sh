#!/usr/bin/env bash
# Makes the reference of the public headers, with the guides, as pages with a search: build/reference/html/index.html, or
# html/index.html in the folder that is named.
set -euo pipefail
folder=$(realpath -m "${1:-build/reference}")
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
if ! command -v doxygen >/dev/null; then
  echo "reference: doxygen is missing; on Debian, install the package doxygen" >&2
  exit 1
fi
mkdir -p "$folder"
{
  cat docs/Doxyfile
  echo "OUTPUT_DIRECTORY = $folder"
  echo "GENERATE_TAGFILE = $folder/reference.tag"
} | doxygen -
# The guides' pictures, and the files that they link to.
cp docs/*.svg docs/qaroids.cfg "$folder/html"
echo "$folder/html/index.html"

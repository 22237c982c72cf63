#!/usr/bin/env bash
# Proves the reader of headers by going through all lengths (tests/proof).
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
program=$(mktemp)
trap 'rm -f "$program"' EXIT
"${CXX:-g++}" -std=c++20 -O3 -march=native -Wall -Wextra -Iinclude -I. tests/proof/prove_reader.cpp -pthread -o "$program"
time "$program"

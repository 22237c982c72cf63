#!/usr/bin/env bash
# Runs vcpkg's port and Conan's recipe with stand-ins for these programs; packaging/README.md says what that shows.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
version=$(sed -n 's/^project(derkit VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
DERKIT_SOURCE_DIR=$PWD DERKIT_BUILD_DIR='' DERKIT_VERSION=$version CMAKE=cmake CXX=${CXX:-g++} \
  exec python3 -B tests/packages/package_managers_test.py

#!/usr/bin/env bash
# Builds the Debian packages of the last commit as a distribution does, in roots of their own: for the machine's architecture
# with the tests, for others by cross building. Then it builds the former once more in another folder and compares, runs
# lintian and autopkgtest, and installs the library's packages of all architectures side by side.
#
#   scripts/debian.sh FOLDER [ARCHITECTURE...]      i386 and arm64 unless others are named
#
# Needs root, a network, debootstrap and git. FOLDER keeps the roots for the next run; its packages/ has what was built.
# DEB_BUILD_OPTIONS=nocheck leaves the tests out.
set -euo pipefail
folder=$(realpath -m "${1:?scripts/debian.sh FOLDER [ARCHITECTURE...]}")
shift
others=("$@")
if ((${#others[@]} == 0)); then
  others=(i386 arm64)
fi
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
native=$(dpkg --print-architecture)
suite=bookworm
mirror=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $suite" | sed -n 1p) # where this machine's packages come from
packages=$folder/packages

step() {
  echo "== $1 ($SECONDS s)"
}

in_root() {
  local root=$folder/$1
  shift
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    DEB_BUILD_OPTIONS="parallel=$(nproc) ${DEB_BUILD_OPTIONS:-}" chroot "$root" "$@"
}

install_packages() {
  in_root "$1" apt-get -qq -o Dpkg::Use-Pty=0 install --yes --no-install-recommends "${@:2}" >/dev/null
}

# A root with compilers for all architectures. What the build needs is not in it, because its packages for two
# architectures exclude each other.
make_base_root() {
  debootstrap --variant=minbase "$suite" "$folder/base" "$mirror" >/dev/null
  local architecture
  local compilers=()
  for architecture in "${others[@]}"; do
    in_root base dpkg --add-architecture "$architecture"
    compilers+=("crossbuild-essential-$architecture")
  done
  in_root base apt-get -qq update
  install_packages base build-essential debhelper fakeroot "${compilers[@]}"
  touch "$folder/base.done"
}

# make_root NAME: a copy of the base with the sources.
make_root() {
  rm -rf --one-file-system "${folder:?}/$1"
  cp -a --reflink=auto "$folder/base" "$folder/$1"
  mkdir "$folder/$1/build"
  cp "$packages/"*.dsc "$packages/"*.tar.* "$folder/$1/build"
}

# build NAME ARCHITECTURE PARENT: in the root, below PARENT.
build() {
  local root=$1 architecture=$2 parent=$3 profiles=""
  if [[ $architecture != "$native" ]]; then
    profiles=-Pcross,nocheck
    # Every build has the C++ library, so no package asks for it.
    install_packages "$root" "libc6-dev:$architecture" "$(in_root base \
      dpkg-query --show --showformat="\${Package}" 'libstdc++-*-dev'):$architecture"
  elif [[ ${DEB_BUILD_OPTIONS:-} == *nocheck* ]]; then
    profiles=-Pnocheck
  fi
  in_root "$root" sh -c "mkdir -p $parent && cd $parent && dpkg-source --extract /build/*.dsc derkit >/dev/null"
  in_root "$root" sh -c "cd $parent/derkit && apt-get -qq -o Dpkg::Use-Pty=0 build-dep --yes --no-install-recommends \
    --host-architecture=$architecture $profiles ./ >/dev/null"
  in_root "$root" sh -c "cd $parent/derkit && dpkg-buildpackage --build=binary --no-sign --host-arch=$architecture \
    $profiles" >"$folder/$root.log" 2>&1 || { tail -n 50 "$folder/$root.log"; return 1; }
}

mkdir -p "$packages"
rm -f "$packages"/*
version=$(dpkg-parsechangelog --show-field Version)
upstream=${version%-*}

step "making the source package of $version"
source=$(mktemp -d)
trap 'rm -rf "$source"' EXIT
git archive --prefix="derkit-$upstream/" HEAD -- ':!debian' | xz >"$source/derkit_$upstream.orig.tar.xz"
mkdir "$source/derkit"
git archive HEAD | tar -x -C "$source/derkit"
(cd "$source" && dpkg-source --build derkit >/dev/null)
cp "$source"/*.dsc "$source"/*.tar.* "$packages"

if [[ ! -f $folder/base.done ]]; then
  step "making a root of Debian $suite"
  make_base_root
fi

step "building for $native"
make_root "$native"
build "$native" "$native" /build/first
cp "$folder/$native/build/first/"*.deb "$packages"

step "building for $native once more, elsewhere"
DEB_BUILD_OPTIONS="nocheck ${DEB_BUILD_OPTIONS:-}" in_root "$native" sh -c "umask 077 && mkdir -p /tmp/another/place && cd /tmp/another/place &&
  dpkg-source --extract /build/*.dsc derkit >/dev/null && cd derkit &&
  TZ=Asia/Kathmandu dpkg-buildpackage --build=binary --no-sign --build-profiles=nocheck" >"$folder/again.log" 2>&1
for package in "$packages"/*"_$native.deb"; do
  cmp "$package" "$folder/$native/tmp/another/place/$(basename "$package")"
done

for architecture in "${others[@]}"; do
  step "building for $architecture"
  make_root "$architecture"
  build "$architecture" "$architecture" /build/first
  cp "$folder/$architecture/build/first/"*.deb "$packages"
done

step "running lintian"
# A first version closes the bug that asked Debian for the package; these are not uploaded there.
lintian --allow-root --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs "$packages"/*.dsc "$packages"/*.deb

step "installing the library's packages of all architectures, and running autopkgtest"
make_root installed
in_root installed mkdir /packages
cp "$packages"/libderkit*.deb "$packages"/derkit-tools_*"_$native.deb" "$folder/installed/packages"
rm -f "$folder/installed/packages/"*-dbgsym_*
install_packages installed autopkgtest
in_root installed sh -c 'apt-get -qq -o Dpkg::Use-Pty=0 install --yes --no-install-recommends /packages/*.deb >/dev/null'
in_root installed dpkg --list '*derkit*'
in_root installed sh -c 'cd /build && dpkg-source --extract *.dsc derkit >/dev/null &&
  autopkgtest --quiet --no-built-binaries ./derkit/ -- null'
step "done: $packages"

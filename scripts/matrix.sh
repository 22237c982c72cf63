#!/usr/bin/env bash
# Builds the last commit with every compiler, option and architecture of the table below, runs the unit tests and writes
# docs/platforms.md. A cell that is not named on the command line keeps its row.
#
#   scripts/matrix.sh FOLDER [CELL...]      all cells unless some are named
#
# Needs root, a network, debootstrap and git. Everything is installed and built in FOLDER/root, a Debian of its own that the
# next run uses again; FOLDER/CELL.log has a cell's output.
set -euo pipefail
folder=$(realpath -m "${1:?scripts/matrix.sh FOLDER [CELL...]}")
shift
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
suite=bookworm
mirror=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $suite" | sed -n 1p) # where this machine's packages come from
root=$folder/root
document=docs/platforms.md

# Name; compiler; what it is called with; options of CMake; how it is run. The root's shell expands all but the name.
# Names of the interface contain the names of libstdc++'s ordinary containers, so with others there is no shared library.
table='
gcc-O3           | g++-12     | -O3 | |
gcc-O0           | g++-12     | -O0 | -D DERKIT_UNITY=OFF |
gcc-Os           | g++-12     | -Os | |
gcc-O2           | g++-12     | -O2 | |
gcc-11           | g++-11     | -O2 | |
gcc-c++23        | g++-12     | -O2 | -D CMAKE_CXX_STANDARD=23 |
gcc-lto          | g++-12     | -O2 | -D CMAKE_INTERPROCEDURAL_OPTIMIZATION=ON |
gcc-debug-stl    | g++-12     | -O1 -D_GLIBCXX_DEBUG -D_GLIBCXX_DEBUG_PEDANTIC | -D BUILD_SHARED_LIBS=OFF |
gcc-fortify      | g++-12     | -O2 -D_FORTIFY_SOURCE=3 | |
gcc-unsigned     | g++-12     | -O2 -funsigned-char | |
gcc-no-plt       | g++-12     | -O2 -fno-plt | |
gcc-pattern      | g++-12     | -O2 -ftrivial-auto-var-init=pattern | |
gcc-dpkg         | g++-12     | $(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS) | -D CMAKE_SHARED_LINKER_FLAGS="$(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get LDFLAGS)" |
gcc-make         | g++-12     | -O2 | -G "Unix Makefiles" |
gcc-odd-path     | g++-12     | -O2 | | in "/tmp/an odd påth"
gcc-user         | g++-12     | -O2 | | as nobody
gcc-valgrind     | g++-12     | -O2 | | under valgrind;--quiet;--error-exitcode=99
clang-14         | clang++-14 | -O2 | |
clang-15         | clang++-15 | -O2 | |
clang-16         | clang++-16 | -O2 | |
clang-16-libc++  | clang++-16 | -O2 -stdlib=libc++ | -D BUILD_SHARED_LIBS=OFF |
clang-c++23      | clang++-16 | -O2 | -D CMAKE_CXX_STANDARD=23 |
clang-19-c++26   | clang++-19 | -O2 | -D CMAKE_CXX_STANDARD=26 |
clang-lto        | clang++-16 | -O2 -fuse-ld=lld | -D CMAKE_INTERPROCEDURAL_OPTIMIZATION=ON |
clang-unsigned   | clang++-14 | -O2 -funsigned-char | |
i386             | i686-linux-gnu-g++        | -O2 | | for i386
aarch64          | aarch64-linux-gnu-g++     | -O2 | | for aarch64
armhf            | arm-linux-gnueabihf-g++   | -O2 | | for arm
riscv64          | riscv64-linux-gnu-g++     | -O2 | | for riscv64
ppc64el          | powerpc64le-linux-gnu-g++ | -O2 | | for ppc64le
s390x            | s390x-linux-gnu-g++       | -O2 | | for s390x
'

packages=(
  cmake ninja-build make dpkg-dev python3 googletest libcli11-dev nlohmann-json3-dev libgcrypt20-dev libgnutls28-dev
  qemu-user valgrind
  g++-11 g++-12 clang-14 clang-15 clang-16 clang-19 libc++-16-dev libc++abi-16-dev lld-16 llvm-16
  g++-i686-linux-gnu g++-aarch64-linux-gnu g++-arm-linux-gnueabihf g++-riscv64-linux-gnu g++-powerpc64le-linux-gnu
  g++-s390x-linux-gnu)

# Programs of these architectures run with the libraries of Debian's own packages: those of the cross compilers lack the
# conversions between character sets. Debian 12 has no riscv64.
architectures=(i386 arm64 armhf ppc64el s390x)

# With a /proc that goes with the command.
in_root() {
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    unshare --mount sh -c 'mount -t proc proc "$1/proc" && exec chroot "$@"' sh "$root" "$@"
}

make_root() {
  mkdir -p "$folder"
  debootstrap --variant=minbase "$suite" "$root" "$mirror" >"$folder/root.log"
  in_root apt-get -qq update
  in_root apt-get -qq -o Dpkg::Use-Pty=0 install --yes --no-install-recommends "${packages[@]}" >>"$folder/root.log"
  local architecture
  for architecture in "${architectures[@]}"; do
    in_root dpkg --add-architecture "$architecture"
  done
  in_root apt-get -qq update
  for architecture in "${architectures[@]}"; do
    in_root sh -ec "mkdir -p /systems/$architecture/packages && cd /systems/$architecture/packages &&
      apt-get -qq download libc6:$architecture libc-bin:$architecture libgcc-s1:$architecture libstdc++6:$architecture &&
      for package in *.deb; do dpkg-deb --extract \"\$package\" ..; done"
  done
  touch "$folder/root.done"
}

# field NUMBER ROW
field() {
  cut -d '|' -f "$1" <<<"$2" | sed -E 's/^ +| +$//g'
}

# script ROW: the commands of a cell.
script() {
  local compiler flags options how sources=/sources emulator="" prefix="" as="" tool=ON gost=ON
  compiler=$(field 2 "$1") flags=$(field 3 "$1") options=$(field 4 "$1") how=$(field 5 "$1")
  local build triplet=${compiler%-g++} c_compiler=${compiler/clang++/clang} # which GoogleTest asks for
  build=/build/$(field 1 "$1")
  case $how in
    in*) sources=$(eval echo "${how#in }")/sources build=${sources%/*}/build ;;
    as*) as="setpriv --reuid=${how#as } --regid=nogroup --clear-groups env HOME=/tmp" ;;
    under*) emulator=${how#under } ;;
    "for riscv64") prefix=$triplet- tool=OFF emulator="qemu-riscv64;-L;/usr/$triplet" ;;
    for*) prefix=$triplet- tool=OFF emulator="qemu-${how#for };-L;/systems/$(field 1 "$1" | sed 's/^aarch64$/arm64/')" ;;
  esac
  if [[ $tool == OFF || $options == *BUILD_SHARED_LIBS=OFF* ]]; then gost=OFF; fi
  if [[ -n $emulator ]]; then options+=" -D 'CMAKE_CROSSCOMPILING_EMULATOR=$emulator'"; fi
  if [[ -n $prefix ]]; then options+=" -D CMAKE_SYSTEM_NAME=Linux -D CMAKE_SYSTEM_PROCESSOR=${how#for }"; fi
  cat <<CELL
set -eu
rm -rf "$sources" "$build"
mkdir -p "$sources" "$build"
tar -x -C "$sources" -f /sources.tar
${as:+chown ${how#as } $build}
export CMAKE_GENERATOR=Ninja
$as cmake -S "$sources" -B "$build" -D CMAKE_BUILD_TYPE=None -D CMAKE_CXX_COMPILER=$compiler \\
  -D CMAKE_C_COMPILER=${c_compiler/g++/gcc} -D CMAKE_CXX_FLAGS="$flags" -D DERKIT_BUILD_TOOLS=$tool \\
  -D DERKIT_BUILD_GOST=$gost -D DERKIT_WERROR=ON -D DERKIT_UNITY=ON $options
$as cmake --build "$build" --parallel $(nproc) --target derkit $([[ $tool == OFF ]] || echo derkit_tool) unit_programs
$as ctest --test-dir "$build" --tests-regex '^(unit|exports)[.]' --parallel $(nproc) --timeout 1200 --output-on-failure
if [ -f "$build/libderkit.so" ]; then
  ${prefix}strip -o /tmp/stripped "$build/libderkit.so"
  echo "size: \$(stat --format=%s /tmp/stripped)"
else
  echo "size: no shared library"
fi
CELL
}

# run ROW: prints the cell's row of the document.
run() {
  local name log version tests size
  name=$(field 1 "$1") log=$folder/$(field 1 "$1").log
  version=$(in_root "$(field 2 "$1")" --version | sed -n -E '1s/.* ([0-9][0-9.]*[0-9]).*/\1/p')
  script "$1" >"$root/cell.sh"
  if in_root sh /cell.sh >"$log" 2>&1; then
    tests=$(sed -n -E 's/^100% tests passed, 0 tests failed out of ([0-9]+)$/all \1/p' "$log")
    size=$(sed -n 's/^size: //p' "$log")
  else
    tests="**failed**" size=""
  fi
  describe "$1" "$version" "${tests:-**none**}" "$size" "$(date --utc +%Y-%m-%d)"
}

# describe ROW VERSION TESTS SIZE DATE
describe() {
  local flags
  flags=$(field 3 "$1" | sed -E 's/\$\(.*/those of dpkg-buildflags, hardening=+all/')
  flags+=" $(field 4 "$1" | sed -E 's/-D CMAKE_SHARED_LINKER_FLAGS=.*//') $(field 5 "$1" | tr ';' ' ')"
  echo "| $(field 1 "$1") | $(field 2 "$1")${2:+ $2} | $(xargs <<<"$flags" || echo "$flags") | $3 | $4 | $5 |"
}

# Prints the document: the rows of stdin, the rows that it has, or that a cell was not run yet.
write_document() {
  local fresh row name
  fresh=$(cat)
  sed '/^| cell |/,$d' "$document"
  echo "| cell | compiler | flags, options | tests passed | stripped library, bytes | run on |"
  echo "|---|---|---|---|---|---|"
  while read -r row; do
    name=$(field 1 "$row")
    grep -F "| $name |" <<<"$fresh" || grep -F "| $name |" "$document" || describe "$row" "" "not run yet" "" ""
  done < <(sed '/^$/d' <<<"$table")
}

[[ -f $folder/root.done ]] || make_root
git archive --output="$root/sources.tar" HEAD
wanted=" $* "
rows=""
while read -r row <&3; do
  name=$(field 1 "$row")
  if (($# > 0)) && [[ $wanted != *" $name "* ]]; then
    continue
  fi
  echo "== $name ($SECONDS s)"
  result=$(run "$row")
  echo "$result"
  rows+=$result$'\n'
  write_document <<<"$rows" >"$folder/platforms.md"
  cp "$folder/platforms.md" "$document"
done 3< <(sed '/^$/d' <<<"$table")
! grep -q -F '**' <<<"$rows"

#!/usr/bin/env bash
# The benchmark: builds it with every peer, measures, and writes docs/performance.md and its plots.
#   scripts/bench.sh                          everything; takes a quarter of an hour on an otherwise idle machine
#   scripts/bench.sh --quick [--filter=REGEX] a short run of the rows chosen, printed only
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

quick=false
options=()
for argument in "$@"; do
  case $argument in
  --quick) quick=true ;;
  --filter=*) options+=("$argument") ;;
  *)
    sed -n 's/^#   //p' "$0" >&2
    exit 2
    ;;
  esac
done
if ! $quick && ((${#options[@]} > 0)); then
  echo "bench: --filter goes with --quick" >&2
  exit 2
fi

step() {
  echo "== $1 ($SECONDS s)"
}

# Unpacks Debian's Google Benchmark for i386 beside the build, as installing it would require a second architecture.
fetch_i386_benchmark() {
  local folder=$PWD/build/i386-packages
  if [[ -d $folder/usr ]]; then
    return
  fi
  rm -rf "$folder.new"
  mkdir -p "$folder.new/lists/partial" "$folder.new/cache/archives/partial"
  local apt=(apt-get -qq -o APT::Architecture=i386 -o APT::Architectures=i386 -o APT::Sandbox::User=
    -o Dir::State::lists="$folder.new/lists" -o Dir::Cache="$folder.new/cache" -o Debug::NoLocking=1)
  # A missing index, of security updates for example, does no harm.
  "${apt[@]}" update || true
  (cd "$folder.new" && "${apt[@]}" download libbenchmark-dev libbenchmark1debian) || return 1
  local package
  for package in "$folder.new"/*.deb; do
    dpkg-deb --extract "$package" "$folder.new" || return 1
  done
  mv "$folder.new" "$folder"
}

build() {
  step "building $1"
  cmake --preset "$1"
  cmake --build --preset "$1"
}

# measure PRESET PASS...
measure() {
  local preset=$1 pass
  shift
  for pass in "$@"; do
    step "measuring $preset: $pass"
    "build/$preset/bench/derkit_bench" --pass="$pass" --json="$results/$preset.$pass.json"
  done
}

step "looking for the packages that the benchmark needs"
scripts/setup.sh
scripts/setup.sh bench-packages.txt
build bench
if $quick; then
  results=build/bench/quick-results
  mkdir -p "$results"
  build/bench/bench/derkit_bench --quick --json="$results/bench.time.json" "${options[@]}"
  python3 scripts/bench_report.py "$results"
  exit
fi

results=build/bench/results
rm -rf "$results"
mkdir -p "$results"
measure bench check time allocations instructions threads sizes
if fetch_i386_benchmark; then
  build bench-i386
  export LD_LIBRARY_PATH=$PWD/build/i386-packages/usr/lib/i386-linux-gnu
  measure bench-i386 check time allocations instructions
  unset LD_LIBRARY_PATH
else
  echo "bench: cannot fetch Google Benchmark for i386; its table is left out" >&2
fi

step "measuring the tool"
cmake --preset native
cmake --build --preset native --target derkit_tool
python3 scripts/bench_tool.py build/native/tools/derkit >"$results/tool.md"

step "writing docs/performance.md"
python3 scripts/bench_report.py "$results" build/bench docs

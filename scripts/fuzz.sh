#!/usr/bin/env bash
# Fuzzes: scripts/fuzz.sh [SECONDS], 600 by default, shared among all targets, two of which run at a time. Inputs that
# extend the corpus stay in build/native-asan/fuzz/found, where the next run continues. At the end it prints what every
# target did; the exit status says whether any has a finding.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

seconds=${1:-600}
if [[ ! $seconds =~ ^[1-9][0-9]*$ ]]; then
  echo "usage: scripts/fuzz.sh [SECONDS]" >&2
  exit 2
fi

scripts/setup.sh
cmake --preset native-asan
cmake --build --preset native-asan --target derkit_fuzzers

corpus=$PWD/fuzz/corpus
dictionary=$PWD/fuzz/derkit.dict
cd build/native-asan/fuzz
rm -rf findings logs
mkdir -p findings logs
mapfile -t targets < <(find "$corpus" -mindepth 1 -maxdepth 1 -type d -printf '%f\n' | LC_ALL=C sort)
share=$(((seconds + ${#targets[@]} - 1) / ${#targets[@]}))
./fuzz_make_seeds seeds >/dev/null
echo "== fuzzing ${#targets[@]} targets for $share s each"

fuzz() {
  local target=$1
  mkdir -p "found/$target"
  "./fuzz_$target" -max_total_time="$share" -timeout=10 -dict="$dictionary" -print_final_stats=1 \
    -artifact_prefix="findings/$target-" "found/$target" "$corpus/$target" "seeds/$target" >"logs/$target" 2>&1 || true
}
export -f fuzz
export corpus dictionary share
printf '%s\n' "${targets[@]}" | xargs -P 2 -I{} bash -c 'fuzz {}'

# A run without a finding ends with "#2621 DONE   cov: 52 ft: 191 corp: 4/20b lim: 4 exec/s: 0 rss: 30Mb".
field() {
  sed -n -E "s/^#[0-9]+.* $1: ([0-9]+).*/\1/p" "logs/$2" | tail -n 1
}

failed=0
printf '%-22s %12s %6s %6s %9s\n' target executions cov ft findings
for target in "${targets[@]}"; do
  executions=$(sed -n 's/^stat::number_of_executed_units: //p' "logs/$target")
  findings=$(find findings -name "$target-*" | wc -l)
  # A run that ended early without an artifact went wrong.
  if ((findings == 0)) && ! grep -q '^#.*DONE' "logs/$target"; then
    findings="no run"
  fi
  printf '%-22s %12s %6s %6s %9s\n' \
    "$target" "${executions:-?}" "$(field cov "$target")" "$(field ft "$target")" "$findings"
  if [[ $findings != 0 ]]; then
    failed=1
    grep -hE -m 6 'does not hold|^expected|^but got|ERROR: |SUMMARY: ' "logs/$target" |
      cut -c 1-300 | sed 's/^/  /' || true
  fi
done
if ((failed != 0)); then
  echo "== findings: build/native-asan/fuzz/findings, logs: build/native-asan/fuzz/logs"
fi
exit "$failed"

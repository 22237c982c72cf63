#!/usr/bin/env bash
# The test command: builds and tests every preset of CMakePresets.json that has tests, in the file's order, and stops at
# the first that fails. The last line counts the tests of all presets that were run, whatever the outcome.
# DERKIT_TEST_CORPUS=DIR makes the tests also read every file below DIR.
set -euo pipefail

if [[ -n ${DERKIT_TEST_CORPUS:-} ]]; then
  DERKIT_TEST_CORPUS=$(readlink -f "$DERKIT_TEST_CORPUS")
  export DERKIT_TEST_CORPUS
fi
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."

passed=0
failed=0
skipped=0
complete=false
doing="looking for the packages that building and testing need"

step() {
  doing=$1
  echo "== $doing ($SECONDS s)"
}

# Prints the counts however the run ends.
finish() {
  if $complete; then
    echo "== everything passed ($SECONDS s)"
  else
    echo "== FAILED: $doing ($SECONDS s)"
  fi
  local skips=""
  if ((skipped > 0)); then
    skips=", $skipped skipped"
  fi
  echo "$passed passed, $failed failed$skips"
}
trap finish EXIT

# Prints "PASSED FAILED SKIPPED" of CTest's report. There, a test that could not be started is "notrun" like one that
# skipped itself, but it counts as failed, as in CTest's exit status.
count_tests() {
  python3 - "$1" <<'EOF'
import collections, sys, xml.etree.ElementTree

def outcome(case):
    status, skip = case.get("status"), case.find("skipped")
    if status == "run":
        return "passed"
    if status == "disabled" or (status == "notrun" and skip is not None and skip.get("message").startswith("SKIP_")):
        return "skipped"
    return "failed"

outcomes = collections.Counter(map(outcome, xml.etree.ElementTree.parse(sys.argv[1]).iter("testcase")))
print(outcomes["passed"], outcomes["failed"], outcomes["skipped"])
EOF
}

# The whole log is in Testing/Temporary of the preset's folder.
hide_passed_tests() {
  sed -u -E -e '/^ *Start +[0-9]+: /d' -e '/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: .* Passed +[0-9.]+ sec$/d'
}

run_tests() {
  local report=$PWD/build/$1/tests.xml status=0
  rm -f "$report"
  ctest --preset "$1" --timeout 300 --output-junit "$report" | hide_passed_tests || status=$?
  [[ -f $report ]] # without tests there is none

  local counts preset_passed preset_failed preset_skipped
  counts=$(count_tests "$report")
  read -r preset_passed preset_failed preset_skipped <<<"$counts"
  passed=$((passed + preset_passed))
  failed=$((failed + preset_failed))
  skipped=$((skipped + preset_skipped))
  ((status == 0 && preset_failed == 0 && preset_passed > 0))
}

step "$doing"
scripts/setup.sh

step "reading the presets"
presets=$(cmake --list-presets=test | sed -n -E 's/^ *"([^"]+)".*/\1/p')
[[ -n $presets ]]

# All first, so that a missing compiler or package shows within seconds.
for preset in $presets; do
  step "configuring $preset"
  cmake --preset "$preset"
done
for preset in $presets; do
  step "building $preset"
  cmake --build --preset "$preset"
  step "testing $preset"
  run_tests "$preset"
done
complete=true

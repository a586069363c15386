#!/usr/bin/env bash
# Measures which lines and branches of the library the tests reach: builds the preset coverage, runs the
# tests with the memory pool and without it, counts both runs together and prints a line for each folder.
# Ends with 1 when a test fails, or when the folders from vakbase to vakmodel together stay below 97 % of their
# lines or 90 % of their branches.
#
# usage: coverage.sh [PATTERN]       only tests whose name matches PATTERN, a regular expression
#
# build/coverage/report/index.html shows the lines. Branches that only exceptions take out of a call are not
# counted: the compiler adds one to every call that may throw, and the fault tests, which make every
# allocation fail, are what looks after them.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/lib.sh
source scripts/lib.sh

pattern=${1:-.}

# Targets of all tests that run in this build; outside projects, GDB and the fuzz targets' own instrumented
# kind have nothing to add.
build_preset coverage all
find build/coverage -name '*.gcda' -delete

heading "Tests, with the pool and without"
status=0
for mode in pool no-pool; do
  log=build/logs/coverage-$mode.log
  environment=()
  [[ $mode == no-pool ]] && environment=(VAK_NO_MEMORY_MANAGER=1)
  env "${environment[@]}" ctest --preset coverage --parallel "$jobs" --tests-regex "$pattern" \
    --label-exclude '^(consumer|debugger)$' >"$log" 2>&1 || {
    echo "FAILED with $mode, see $log" >&2
    status=1
  }
  grep -E 'tests passed' "$log" || true
done

heading "Coverage"
report=build/coverage/report
mkdir -p "$report"
gcovr --root . --filter 'vak(base|env|support|model|solver)/' --exclude-throw-branches \
  --object-directory build/coverage --json-summary "$report/summary.json" \
  --html-details "$report/index.html" build/coverage
python3 scripts/coverage_report.py "$report/summary.json" || status=1
exit "$status"

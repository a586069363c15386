#!/usr/bin/env bash
# Measures which lines and branches of the library the tests reach: builds the tests that call it in the
# preset coverage, runs them with the memory pool and without it, counts both runs together and prints a line
# for each folder. Ends with 1 when a test fails, when the folders from vakbase to vakmodel together stay below
# 97 % of their lines or 90 % of their branches, or when a line that no test reaches is not named, with the
# reason, in docs/uncovered.md.
#
# usage: coverage.sh [PATTERN]       only tests whose name matches PATTERN, a regular expression
#        coverage.sh --gaps          lists what the last run did not reach
#
# build/coverage/report/index.html shows the lines. Branches that only exceptions take out of a call are not
# counted: the compiler adds one to every call that may throw, and the fault tests, which make every
# allocation fail, are what looks after them. The figures are gcov's own; see scripts/coverage_report.py.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/lib.sh
source scripts/lib.sh

report=build/coverage/report
judge() {
  python3 scripts/coverage_report.py build/coverage docs/uncovered.md "$@"
}
if [[ ${1:-} == --gaps ]]; then
  judge --gaps
  exit
fi
pattern=${1:-.}

# The kinds of tests that call the library to see what it does; programs, outside projects and the fuzz
# targets have nothing to add.
kinds='^(unit|fault|thread)$'
build_preset coverage tests_unit tests_fault tests_thread
find build/coverage -name '*.gcda' -delete

heading "Tests, with the pool and without"
status=0
for mode in pool no-pool; do
  log=build/logs/coverage-$mode.log
  environment=()
  [[ $mode == no-pool ]] && environment=(VAK_NO_MEMORY_MANAGER=1)
  env "${environment[@]}" ctest --preset coverage --parallel "$jobs" --tests-regex "$pattern" \
    --label-regex "$kinds" >"$log" 2>&1 || {
    echo "FAILED with $mode, see $log" >&2
    status=1
  }
  grep -E 'tests passed' "$log" || true
done

heading "Coverage"
mkdir -p "$report"
gcovr --root . --filter 'vak(base|env|support|model|solver)/' --exclude-throw-branches -j "$jobs" \
  --object-directory build/coverage --html-details "$report/index.html" build/coverage
judge || status=1
exit "$status"

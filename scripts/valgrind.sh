#!/usr/bin/env bash
# Runs the unit tests under Valgrind's memcheck with the memory pool off, so that every object is a heap
# block that memcheck sees: no invalid access, no use of what was never written, no wrong release and no
# leak. Each test program runs whole, in one process, two programs at a time; what counts on a process of its own
# gets one. Ends with 1 when a test fails
# or memcheck finds anything; the logs are in build/logs/valgrind.
#
# usage: valgrind.sh [PROGRAM...]    e.g. test_unit_vakenv_arrays_num_array; all unit tests without
#
# What other libraries leak is named, with the reason, in tests/valgrind.supp; nothing else is suppressed.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/lib.sh
source scripts/lib.sh

folder=build/release/tests/unit
export logs=build/logs/valgrind
mkdir -p "$logs"

# The build that users get: memcheck needs symbols, not lines, and -O0 takes three times as long under it.
build_preset release "${@:-tests_unit}"

# Sorted by size, the largest first, so that the last one to finish is a short one.
mapfile -t programs < <(find "$folder" -type f -name 'test_unit_*' -perm -u+x -printf '%s %p\n' |
  sort -rn | cut -d ' ' -f 2-)
if (($#)); then
  chosen=()
  for program in "${programs[@]}"; do
    for name in "$@"; do
      if [[ ${program##*/} == "$name" ]]; then chosen+=("$program"); fi
    done
  done
  programs=("${chosen[@]}")
fi
((${#programs[@]})) || { echo "valgrind.sh: there is no test program" >&2; exit 1; }

join() {
  local IFS=:
  echo "$*"
}

# Tests that memcheck's slowness, a factor of 30 to 50, makes meaningless or endless:
left_out=(
  # They give the solver a second or less, in which it has to have come to something.
  'RunningSolver.*'
  # Hundreds of solves of random problems, ten minutes of the solver's own code; the other tests of the solver
  # call all functions of ours that these call.
  'EditedLps.*'
  'EditedMips.*'
  MipLimits.LeaveBoundsThatEncloseTheOptimum
  MipEnds.AreLeftOpenIfNoSolutionTurnsUpAmongEndlesslyManyPoints
  # Five hundred sequences of changes, which run a second time, with the pool off, where memcheck sees more.
  'ModelAlgorithmRandom.*/Pooled'
)
# Tests that look at what the whole process shares, and count on being the first to touch it:
apart=('TypeIndex.*' 'ParticipatingObjects.*' 'DeleterTypes.*' 'SlabCache.*')
together_filter="*-$(join "${left_out[@]}" "${apart[@]}")"
apart_filter=$(join "${apart[@]}")
export together_filter apart_filter

# Runs the tests of a program that match a filter under memcheck; the log is called `name`.
run() {
  local program=$1 filter=$2 name=$3
  # Some tests replace operator new and count on being called: memcheck leaves theirs alone (nouserintercepts)
  # and sees the malloc behind it.
  VAK_NO_MEMORY_MANAGER=1 valgrind --quiet --error-exitcode=99 --leak-check=full \
    --soname-synonyms=somalloc=nouserintercepts \
    --show-leak-kinds=definite,indirect,possible --errors-for-leak-kinds=definite,indirect,possible \
    --child-silent-after-fork=yes --num-callers=30 --suppressions=tests/valgrind.supp \
    --log-file="$logs/$name.memcheck" \
    "$program" --gtest_brief=1 --gtest_filter="$filter" >"$logs/$name.log" 2>&1
}

count() {
  grep -oE '^\[==========\] [0-9]+ test' "$1" | grep -oE '[0-9]+' | tail -1
}

check() {
  local program=$1 name=${1##*/} started=$SECONDS failed=() tests
  run "$program" "$together_filter" "$name" || failed=("$name")
  tests=$(count "$logs/$name.log")
  while read -r test; do
    run "$program" "$test" "$name.$test" || failed+=("$name.$test")
    tests=$((tests + 1))
  done < <("$program" --gtest_list_tests --gtest_filter="$apart_filter" |
    awk '/^[^ ]+\.$/ {suite = $1} /^  / {print suite $1}')
  if ((${#failed[@]} == 0)); then
    printf 'ok      %5d s  %5d tests  %s\n' $((SECONDS - started)) "$tests" "$name"
    return
  fi
  printf 'FAILED  %5d s  %5d tests  %s, see in %s:\n' $((SECONDS - started)) "$tests" "$name" "$logs"
  printf '    %s.{log,memcheck}\n' "${failed[@]}"
  return 1
}
export -f run count check

status=0
printf '%s\0' "${programs[@]}" | xargs -0 -P 2 -I{} bash -c 'check "$0"' {} || status=1
exit "$status"

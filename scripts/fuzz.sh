#!/usr/bin/env bash
# Builds the fuzz targets with libFuzzer and lets each look for faults, two at a time, starting from the
# corpus in tests/fuzz/corpus. What it finds on the way is kept in build/fuzz/corpus. Ends with 1 when a target
# found a fault; the input is then in build/fuzz/artifacts, and the log names it.
#
# usage: fuzz.sh [SECONDS [TARGET...]]       600 seconds for each target, all targets
#        fuzz.sh --merge [TARGET...]         takes what is worth most of what was found into tests/fuzz/corpus
#
# An input is run again with: build/fuzz/tests/fuzz/fuzz_replay_TARGET FILE
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/lib.sh
source scripts/lib.sh

isMerge=
seconds=600
if [[ ${1:-} == --merge ]]; then
  isMerge=1
  shift
elif (($#)); then
  seconds=$1
  shift
fi

targets=("$@")
if ((${#targets[@]} == 0)); then
  mapfile -t targets < <(sed -nE 's/^ *vak_fuzz\(NAME ([a-z]+).*/\1/p' tests/fuzz/CMakeLists.txt)
fi

build_preset fuzz fuzzers

export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
export LSAN_OPTIONS=suppressions=$PWD/tests/leaks.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1

# Programs of many operations say no more than short ones and cost more; model files are longer. Any bytes are
# a program, so that there is no use in beginning with short ones (len_control).
options_of() {
  local options=(-max_len=256 -len_control=0 -timeout=20 -rss_limit_mb=2048)
  if [[ $1 == files ]]; then options=(-max_len=3000 -timeout=20 -rss_limit_mb=2048 -dict=tests/fuzz/files.dict); fi
  echo "${options[@]}"
}

fuzz() {
  local target=$1 seconds=$2
  local found=build/fuzz/corpus/$target artifacts=build/fuzz/artifacts/$target log=build/logs/fuzz-$target.log
  mkdir -p "$found" "$artifacts" build/logs
  local options
  read -ra options < <(options_of "$target")
  if build/fuzz/tests/fuzz/"fuzz_$target" "${options[@]}" -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix="$artifacts/" "$found" "tests/fuzz/corpus/$target" >"$log" 2>&1; then
    echo "ok      $target: $(grep -oE 'number_of_executed_units: +[0-9]+' "$log" | grep -oE '[0-9]+$') inputs"
  else
    echo "FAILED  $target, see $log"
    return 1
  fi
}

# Of each target at most this many inputs are kept: the tests replay them in every build.
most_inputs_of() {
  if [[ $1 == models ]]; then echo 60; else echo 28; fi
}

merge() {
  local target=$1 merged control=$PWD/build/logs/fuzz-merge-$1.txt
  merged=$(mktemp -d)
  rm -f "$control"
  mkdir -p "tests/fuzz/corpus/$target" "build/fuzz/corpus/$target" build/logs
  local options
  read -ra options < <(options_of "$target")
  build/fuzz/tests/fuzz/"fuzz_$target" "${options[@]}" -set_cover_merge=1 -use_counters=0 \
    -merge_control_file="$control" "$merged" "tests/fuzz/corpus/$target" "build/fuzz/corpus/$target" \
    >"build/logs/fuzz-merge-$target.log" 2>&1
  rm -rf "$merged"
  scripts/pick_corpus.py "$control" "tests/fuzz/corpus/$target" "$(most_inputs_of "$target")"
}

if [[ $isMerge ]]; then
  for target in "${targets[@]}"; do merge "$target"; done
  exit 0
fi
export -f fuzz options_of
status=0
printf '%s\0' "${targets[@]}" | xargs -0 -P 2 -I{} bash -c 'fuzz "$0" "$1"' {} "$seconds" || status=1
exit "$status"

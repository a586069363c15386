# shellcheck shell=bash
# What the scripts share; sourced by them from the root of the repository.

# The number of jobs for builds and tests.
jobs=$(nproc)

heading() {
  printf '\n== %s\n' "$*"
}

# Configures and builds a preset, or only the given targets of it. Configuring speaks only when it fails.
build_preset() {
  local preset=$1 log=build/logs/$1-configure.log
  shift
  mkdir -p build/logs
  if ! cmake --preset "$preset" >"$log" 2>&1; then
    cat "$log"
    return 1
  fi
  cmake --build --preset "$preset" --parallel "$jobs" ${1:+--target "$@"}
}

# Runs the tests of a test preset; tests that pass are not listed. The line in which CTest counts them is
# kept in build/logs/<preset>-count.txt. The whole output is in build/logs/<preset>-tests.log.
test_preset() {
  local preset=$1 status=0
  local log=build/logs/$preset-tests.log count=build/logs/$preset-count.txt
  mkdir -p build/logs
  rm -f "$count"
  ctest --preset "$preset" --parallel "$jobs" 2>&1 | tee "$log" |
    awk '!/^ *Start +[0-9]+: / && !/^ *[0-9]+\/[0-9]+ Test .* Passed +[0-9.]+ sec/' || status=$?
  grep -E '^[0-9]+% tests passed, [0-9]+ tests failed out of [0-9]+' "$log" >"$count" || status=1
  return "$status"
}

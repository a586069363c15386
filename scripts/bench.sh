#!/usr/bin/env bash
# Times the library beside its peers and prints one table of ratios. It installs the peers, builds the
# benchmarks, and runs each program pinned to one core with its repetitions interleaved. Run it on a machine
# that does nothing else. It takes fourteen to twenty minutes, with --quick much less.
#
#   scripts/bench.sh [--quick] [--write]
#
# What was measured is in build/bench. With --write, the table and the plots in docs/ are written anew.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib.sh

repetitions=9 min_time=0.03 largest=10000000
write=()
for argument in "$@"; do
  case $argument in
    --quick) repetitions=3 min_time=0.01 largest=1000000 ;;
    --write) write=(--write) ;;
    *)
      echo "usage: scripts/bench.sh [--quick] [--write]" >&2
      exit 1
      ;;
  esac
done

scripts/setup.sh --peers
heading "Build (release)"
build_preset release benchmarks

out=build/bench
programs=build/release/benchmarks
rm -rf "$out"
mkdir -p "$out"
# The last core is the one that the system uses least for itself.
core=$(($(nproc) - 1))
# jemalloc keeps more thread-local memory than a library that is loaded later usually finds room for.
export GLIBC_TUNABLES=glibc.rtld.optional_static_tls=16384

# Runs one program, pinned if a core is given, and keeps what it measured.
measure() {
  local name=$1 program=$2 pin=$3
  shift 3
  local command=("$program" "--benchmark_repetitions=$repetitions" "--benchmark_min_time=$min_time"
    --benchmark_enable_random_interleaving=true "--benchmark_out=$out/$name.json"
    --benchmark_out_format=json "$@")
  [[ -z $pin ]] || command=(taskset -c "$pin" "${command[@]}")
  local started=$SECONDS
  if ! "${command[@]}" >"$out/$name.log" 2>&1; then
    tail -n 20 "$out/$name.log" >&2
    echo "bench.sh: $name failed" >&2
    return 1
  fi
  printf '%5d s  %s\n' $((SECONDS - started)) "$name"
}

heading "Measure ($repetitions repetitions, core $core)"
# Memory that the machine has never used is slower the first time, and not by the doing of a contender.
taskset -c "$core" "$programs/benchmark_pool" --benchmark_filter=first_million --benchmark_repetitions=2 \
  >/dev/null 2>&1
for program in "$programs"/benchmark_*; do
  name=${program##*/benchmark_}
  [[ -f $program && -x $program && $name != scale ]] || continue
  case $name in
    environment)
      measure "$name" "$program" "$core" --benchmark_filter=-^threads
      # Two threads need two cores.
      measure threads "$program" "" --benchmark_filter=^threads
      ;;
    *) measure "$name" "$program" "$core" ;;
  esac
done

heading "Instructions"
# What a thousand environments take more than one; the counts are exact, so once is enough.
count_instructions() {
  valgrind --tool=callgrind --callgrind-out-file=/dev/null "$programs/benchmark_environment" \
    --fresh-process "$1" small 3>/dev/null 2>&1 | awk '/Collected/ { print $4 }'
}
if command -v valgrind >/dev/null; then
  one=$(count_instructions environments_1)
  many=$(count_instructions environments_1001)
  echo "environment_empty $(((many - one) / 1000))" | tee "$out/instructions.txt"
fi

heading "Scale"
for ((columns = 1000; columns <= largest; columns *= 10)); do
  taskset -c "$core" "$programs/benchmark_scale" "$columns" | tee -a "$out/scale.tsv"
done

heading "Table"
scripts/bench_report.py "$out" "${write[@]}"

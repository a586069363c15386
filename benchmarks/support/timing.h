#pragma once

// How the benchmarks take time.
//
// Every row of the suite is named subject/contender[/size]; the contender of the library is called
// vak. scripts/bench_report.py divides the times of the other contenders of a subject by its time.

#include <benchmark/benchmark.h>

#include <ctime>

/// Processor time of this thread in seconds, the system's work for it included, so that what else
/// runs on the machine counts less.
inline double VakThreadTime() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Lets one iteration of a row with UseManualTime() count what `operation` takes, and nothing else.
template <class Operation>
void VakTimeIteration(benchmark::State& state, Operation operation) {
  const double start = VakThreadTime();
  operation();
  state.SetIterationTime(VakThreadTime() - start);
}

/// Says how many things one iteration handles: the report gives times for one thing.
inline void VakCountItems(benchmark::State& state, long perIteration) {
  state.SetItemsProcessed(state.iterations() * perIteration);
}

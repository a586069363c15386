// The main function of every benchmark program.
#include <benchmark/benchmark.h>

#include "benchmarks/support/fresh_process.h"
#include "benchmarks/support/heaps.h"
#include "benchmarks/support/registration.h"

// For programs whose rows register themselves.
[[gnu::weak]] void VakRegisterBenchmarks() {}

int main(int argc, char** argv) {
  VakLoadHeaps();
  int status = 0;
  if (VakIsFreshProcess(argc, argv, status)) return status;
  VakRegisterBenchmarks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

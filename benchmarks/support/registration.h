#pragma once

// Naming and registering rows.

#include <benchmark/benchmark.h>

#include <string>

/// Defined once in a benchmark program to register its rows, unless they register themselves.
void VakRegisterBenchmarks();

/// Registers a row "subject/contender" that counts the processor time of whole iterations.
inline benchmark::internal::Benchmark* VakRow(const std::string& subject,
                                              const std::string& contender,
                                              void (*function)(benchmark::State&)) {
  return benchmark::RegisterBenchmark((subject + '/' + contender).c_str(), function);
}

/// Registers a row that counts what VakTimeIteration is given.
inline benchmark::internal::Benchmark* VakTimedRow(const std::string& subject,
                                                   const std::string& contender,
                                                   void (*function)(benchmark::State&)) {
  return VakRow(subject, contender, function)->UseManualTime();
}

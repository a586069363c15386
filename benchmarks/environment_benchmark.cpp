// An environment that is made and ended empty, beside what others offer to hold the memory of a
// model; and objects made by one and by two threads in one environment in thread-safe mode.
#include <cstdlib>
#include <memory_resource>
#include <thread>
#include <vector>

#include "benchmarks/support/fresh_process.h"
#include "benchmarks/support/heaps.h"
#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/environment.h"

namespace {

void makeAndEnd() {
  VakEnv env;
  env.end();
}

void environmentEmpty(benchmark::State& state) {
  for (auto _ : state) makeAndEnd();
  VakCountItems(state, 1);
}

void mimallocArenaEmpty(benchmark::State& state) {
  for (auto _ : state) VakMimallocArena.destroy(VakMimallocArena.make());
  VakCountItems(state, 1);
}

// So that instructions can be counted: those of the second less those of the first, over a
// thousand.
double makeAndEndOne() {
  makeAndEnd();
  return 0;
}
double makeAndEnd1001() {
  for (int i = 0; i < 1001; ++i) makeAndEnd();
  return 0;
}
const bool announced = VakAnnounceMeasurement("environments_1", makeAndEndOne) &&
                       VakAnnounceMeasurement("environments_1001", makeAndEnd1001);

// ---- Threads ------------------------------------------------------------------------------------

constexpr std::size_t Blocks = 100'000;  // of each thread

template <class Work>
void runInThreads(benchmark::State& state, Work work) {
  for (auto _ : state) {
    std::vector<std::thread> threads;
    for (long i = 0; i < state.range(0); ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
  }
  VakCountItems(state, state.range(0) * static_cast<long>(Blocks));
}

void threadsInEnvironment(benchmark::State& state) {
  VakRecursiveEnvMutex mutex;
  VakInitMT(&mutex);
  VakEnv env;
  env.useMTSafeAllocation(1);
  VakEnvI* impl = env.getImpl();
  runInThreads(state, [impl] {
    std::vector<void*> blocks(Blocks);
    for (void*& block : blocks) block = impl->allocate(48);
    for (void* block : blocks) impl->giveBack(block, 48);
  });
  env.useMTSafeAllocation(0);
  env.end();
  VakEndMT();
}

void threadsOnHeap(benchmark::State& state) {
  runInThreads(state, [] {
    std::vector<void*> blocks(Blocks);
    for (void*& block : blocks) {
      block = std::malloc(48);
      benchmark::DoNotOptimize(block);
    }
    for (void* block : blocks) std::free(block);
  });
}

}  // namespace

void VakRegisterBenchmarks() {
  VakRow("environment_empty", "vak", environmentEmpty);
  if (VakMimallocArena.destroy != nullptr) {
    VakRow("environment_empty", "mimalloc_arena", mimallocArenaEmpty);
  }
  VakRow("threads", "vak", threadsInEnvironment)->Arg(1)->Arg(2)->UseRealTime();
  VakRow("threads", "glibc", threadsOnHeap)->Arg(1)->Arg(2)->UseRealTime();
}

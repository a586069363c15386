// The block memory pool beside the heap of the C library: taking and giving back at once, in
// batches, in random order over many live blocks, and a first million of objects with the end of
// their owner. Rows named Known have a size known at compile time, which is how objects are
// created.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "vakbase/memory.h"

namespace {

/// The pool as a contender.
struct Pool {
  void* allocate(unsigned long size) { return _memory->allocate(size); }
  void deallocate(void* block, unsigned long size) { _memory->deallocate(block, size); }
  void end() { _memory.reset(); }
  static constexpr bool ReleasesAtOnce = true;

  std::unique_ptr<VakMemory> _memory = std::make_unique<VakMemory>(1);
};

/// The heap as its peer.
struct Heap {
  void* allocate(unsigned long size) { return std::malloc(size); }
  void deallocate(void* block, unsigned long) { std::free(block); }
  void end() {}
  static constexpr bool ReleasesAtOnce = false;
};

template <typename Contender, unsigned long Size>
void TakeAndGiveBackKnown(benchmark::State& state) {
  Contender contender;
  for (auto _ : state) {
    void* block = contender.allocate(Size);
    benchmark::DoNotOptimize(block);
    contender.deallocate(block, Size);
    benchmark::ClobberMemory();
  }
}

template <typename Contender, unsigned long Size>
void BatchKnown(benchmark::State& state) {
  Contender contender;
  std::vector<void*> blocks(1000);
  for (auto _ : state) {
    for (void*& block : blocks) {
      block = contender.allocate(Size);
      benchmark::DoNotOptimize(block);
    }
    for (void* block : blocks) contender.deallocate(block, Size);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * 1000);
}

/// The order of a churn: which of the live blocks is exchanged next, and what size it has.
struct Churn {
  static constexpr std::size_t Live = 100'000;
  static constexpr std::size_t Turns = 1 << 20;

  explicit Churn(unsigned long largest) : _turns(Turns), _sizes(Live) {
    std::mt19937_64 random(1);
    for (auto& turn : _turns) turn = static_cast<unsigned>(random() % Live);
    for (auto& size : _sizes) size = 1 + random() % largest;
  }

  std::vector<unsigned> _turns;
  std::vector<unsigned long> _sizes;
};

template <typename Contender, unsigned long Size>
void ChurnKnown(benchmark::State& state) {
  const Churn churn(1);
  Contender contender;
  std::vector<void*> blocks(Churn::Live);
  for (void*& block : blocks) block = contender.allocate(Size);
  std::size_t turn = 0;
  for (auto _ : state) {
    void*& block = blocks[churn._turns[turn++ % Churn::Turns]];
    contender.deallocate(block, Size);
    block = contender.allocate(Size);
    benchmark::DoNotOptimize(block);
  }
  for (void* block : blocks) contender.deallocate(block, Size);
}

template <typename Contender>
void ChurnOfSizesUpTo(benchmark::State& state) {
  const Churn churn(static_cast<unsigned long>(state.range(0)));
  Contender contender;
  std::vector<void*> blocks(Churn::Live);
  for (std::size_t i = 0; i < Churn::Live; ++i) blocks[i] = contender.allocate(churn._sizes[i]);
  std::size_t turn = 0;
  for (auto _ : state) {
    const std::size_t i = churn._turns[turn++ % Churn::Turns];
    contender.deallocate(blocks[i], churn._sizes[i]);
    blocks[i] = contender.allocate(churn._sizes[i]);
    benchmark::DoNotOptimize(blocks[i]);
  }
  for (std::size_t i = 0; i < Churn::Live; ++i) contender.deallocate(blocks[i], churn._sizes[i]);
}

/// A million objects of 48 bytes, written, and then the end of all of them.
template <typename Contender>
void Million(benchmark::State& state) {
  std::vector<long*> blocks(Contender::ReleasesAtOnce ? 0 : 1'000'000);
  for (auto _ : state) {
    Contender contender;
    for (std::size_t i = 0; i < 1'000'000; ++i) {
      auto* block = static_cast<long*>(contender.allocate(48));
      for (int word = 0; word < 6; ++word) block[word] = word;
      benchmark::DoNotOptimize(block);
      if constexpr (!Contender::ReleasesAtOnce) blocks[i] = block;
    }
    for (long* block : blocks) contender.deallocate(block, 48);
    contender.end();
  }
}

void MakeAndEndEmpty(benchmark::State& state) {
  for (auto _ : state) {
    VakMemory memory(1);
    benchmark::DoNotOptimize(&memory);
  }
}

BENCHMARK(TakeAndGiveBackKnown<Pool, 16>);
BENCHMARK(TakeAndGiveBackKnown<Heap, 16>);
BENCHMARK(TakeAndGiveBackKnown<Pool, 48>);
BENCHMARK(TakeAndGiveBackKnown<Heap, 48>);
BENCHMARK(TakeAndGiveBackKnown<Pool, 4096>);
BENCHMARK(TakeAndGiveBackKnown<Heap, 4096>);
BENCHMARK(BatchKnown<Pool, 48>);
BENCHMARK(BatchKnown<Heap, 48>);
BENCHMARK(ChurnKnown<Pool, 48>);
BENCHMARK(ChurnKnown<Heap, 48>);
BENCHMARK(ChurnOfSizesUpTo<Pool>)->Arg(128)->Arg(512)->Arg(4096);
BENCHMARK(ChurnOfSizesUpTo<Heap>)->Arg(128)->Arg(512)->Arg(4096);
BENCHMARK(Million<Pool>)->Unit(benchmark::kMillisecond);
BENCHMARK(Million<Heap>)->Unit(benchmark::kMillisecond);
BENCHMARK(MakeAndEndEmpty);

}  // namespace

// The memory of an environment beside the heap of the C library and those of mimalloc, jemalloc and
// tcmalloc: taking and giving back at once, in batches, in random order over many live blocks, and
// a million objects with the end of their owner, in a fresh process and in one that has seen such a
// model before. Rows are with sizes known at compile time, which is how objects are created, unless
// they say virtual: those go through the environment's allocator with a size known at run time.
#include <algorithm>
#include <memory_resource>
#include <numeric>
#include <random>
#include <vector>

#include "benchmarks/support/fresh_process.h"
#include "benchmarks/support/heaps.h"
#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/environment.h"

namespace {

// ---- Contenders ---------------------------------------------------------------------------------

/// The environment's inline path, which creates and deletes objects.
class Environment {
 public:
  static bool isThere() { return true; }
  ~Environment() { _handle.end(); }
  void* allocate(unsigned long size) { return _env->allocate(size); }
  void giveBack(void* block, unsigned long size) { _env->giveBack(block, size); }

 private:
  VakEnv _handle;
  VakEnvI* _env = _handle.getImpl();
};

/// The environment's allocator, a virtual call with the size at run time.
class Allocator {
 public:
  static bool isThere() { return true; }
  ~Allocator() { _handle.end(); }
  void* allocate(unsigned long size) { return _allocator->alloc(size); }
  void giveBack(void* block, unsigned long size) { _allocator->free(block, size); }

 private:
  VakEnv _handle;
  VakGenAlloc* _allocator = _handle.getMemoryManager().getImpl();
};

// ---- Blocks -------------------------------------------------------------------------------------

template <class Contender, unsigned long Size>
void takeAndGiveBack(benchmark::State& state) {
  Contender contender;
  for (auto _ : state) {
    void* block = contender.allocate(Size);
    benchmark::DoNotOptimize(block);
    contender.giveBack(block, Size);
    benchmark::ClobberMemory();
  }
  VakCountItems(state, 1);
}

template <class Contender, unsigned long Size>
void batch(benchmark::State& state) {
  Contender contender;
  std::vector<void*> blocks(1000);
  for (auto _ : state) {
    for (void*& block : blocks) {
      block = contender.allocate(Size);
      benchmark::DoNotOptimize(block);
    }
    for (void* block : blocks) contender.giveBack(block, Size);
    benchmark::ClobberMemory();
  }
  VakCountItems(state, 1000);
}

/// The order of a churn: which of the live blocks is exchanged next, and what size it has.
struct Churn {
  static constexpr std::size_t Live = 100'000;
  static constexpr std::size_t Turns = 1 << 18;

  explicit Churn(unsigned long largest) : turns(Turns), sizes(Live) {
    std::mt19937_64 random(1);
    for (auto& turn : turns) turn = static_cast<unsigned>(random() % Live);
    for (auto& size : sizes) size = 1 + random() % largest;
  }

  std::vector<unsigned> turns;
  std::vector<unsigned long> sizes;
};

// Begins a block as an object would be: nobody takes memory and leaves it alone.
void write(void* block) {
  ::new (block) unsigned char{1};
  benchmark::DoNotOptimize(block);
  benchmark::ClobberMemory();
}

template <class Contender, unsigned long Size>
void churn(benchmark::State& state) {
  const Churn churn(1);
  Contender contender;
  std::vector<void*> blocks(Churn::Live);
  for (void*& block : blocks) block = contender.allocate(Size);
  for (auto _ : state) {
    for (const unsigned turn : churn.turns) {
      void*& block = blocks[turn];
      contender.giveBack(block, Size);
      block = contender.allocate(Size);
      write(block);
    }
  }
  for (void* block : blocks) contender.giveBack(block, Size);
  VakCountItems(state, Churn::Turns);
}

template <class Contender>
void churnOfSizes(benchmark::State& state) {
  const Churn churn(static_cast<unsigned long>(state.range(0)));
  Contender contender;
  std::vector<void*> blocks(Churn::Live);
  for (std::size_t i = 0; i < Churn::Live; ++i) blocks[i] = contender.allocate(churn.sizes[i]);
  for (auto _ : state) {
    for (const unsigned turn : churn.turns) {
      contender.giveBack(blocks[turn], churn.sizes[turn]);
      blocks[turn] = contender.allocate(churn.sizes[turn]);
      write(blocks[turn]);
    }
  }
  for (std::size_t i = 0; i < Churn::Live; ++i) contender.giveBack(blocks[i], churn.sizes[i]);
  VakCountItems(state, Churn::Turns);
}

// ---- A million objects --------------------------------------------------------------------------

constexpr std::size_t Million = 1'000'000;

struct Object {
  long words[6];
};

template <class Memory>
Object* makeObject(Memory&& memory, std::size_t i) {
  const long number = static_cast<long>(i);
  return ::new (memory(sizeof(Object))) Object{{number, number, number, number, number, number}};
}

// Makes a million objects and ends what holds them; returns seconds. Where each object has to be
// given back by itself, the place for the addresses is there before, and warm.

double millionInEnvironment() {
  const double start = VakThreadTime();
  VakEnv env;
  VakEnvI* impl = env.getImpl();
  for (std::size_t i = 0; i < Million; ++i) {
    benchmark::DoNotOptimize(
        makeObject([impl](unsigned long size) { return impl->allocate(size); }, i));
  }
  env.end();
  return VakThreadTime() - start;
}

template <class Heap>
double millionOnHeap() {
  std::vector<Object*> objects(Million);
  const double start = VakThreadTime();
  for (std::size_t i = 0; i < Million; ++i) objects[i] = makeObject(Heap::allocate, i);
  benchmark::DoNotOptimize(objects.data());
  for (Object* object : objects) Heap::giveBack(object, sizeof(Object));
  return VakThreadTime() - start;
}

double millionInMonotonicBuffer() {
  const double start = VakThreadTime();
  {
    std::pmr::monotonic_buffer_resource buffer;
    for (std::size_t i = 0; i < Million; ++i) {
      benchmark::DoNotOptimize(
          makeObject([&buffer](std::size_t size) { return buffer.allocate(size, 8); }, i));
    }
  }
  return VakThreadTime() - start;
}

double millionInMimallocArena() {
  if (VakMimallocArena.destroy == nullptr) return 0;
  const double start = VakThreadTime();
  void* arena = VakMimallocArena.make();
  for (std::size_t i = 0; i < Million; ++i) {
    benchmark::DoNotOptimize(
        makeObject([arena](std::size_t size) { return VakMimallocArena.take(arena, size); }, i));
  }
  VakMimallocArena.destroy(arena);
  return VakThreadTime() - start;
}

template <VakMeasurement measure>
void nextMillion(benchmark::State& state) {
  static_cast<void>(measure());  // The model before this one.
  for (auto _ : state) state.SetIterationTime(measure());
  VakCountItems(state, static_cast<long>(Million));
}

void addMillions(const char* contender, void (*next)(benchmark::State&)) {
  const std::string name = contender;
  for (const bool huge : {true, false}) {
    const auto run = [name, huge](benchmark::State& state) {
      for (auto _ : state) {
        const VakFreshResult result = VakRunFresh(name, huge);
        if (!result.isThere) return state.SkipWithError("no fresh process");
        state.SetIterationTime(result.seconds);
      }
      VakCountItems(state, static_cast<long>(Million));
    };
    const std::string subject = huge ? "first_million" : "first_million_small_pages";
    benchmark::RegisterBenchmark((subject + '/' + name).c_str(), run)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
  }
  VakTimedRow("next_million", name, next)->Unit(benchmark::kMillisecond);
}

// The order of the deletions is made in between and not timed.
template <class Contender>
void millionInRandomOrder(benchmark::State& state) {
  std::vector<unsigned> order(Million);
  std::iota(order.begin(), order.end(), 0U);
  std::shuffle(order.begin(), order.end(), std::mt19937_64(3));
  std::vector<Object*> objects(Million);
  std::vector<Object*> shuffled(Million);
  for (auto _ : state) {
    Contender contender;
    const auto memory = [&contender](unsigned long size) { return contender.allocate(size); };
    const double start = VakThreadTime();
    for (std::size_t i = 0; i < Million; ++i) objects[i] = makeObject(memory, i);
    double seconds = VakThreadTime() - start;
    for (std::size_t i = 0; i < Million; ++i) shuffled[i] = objects[order[i]];
    const double startOfEnd = VakThreadTime();
    for (Object* object : shuffled) contender.giveBack(object, sizeof(Object));
    seconds += VakThreadTime() - startOfEnd;
    state.SetIterationTime(seconds);
  }
  VakCountItems(state, static_cast<long>(Million));
}

// ---- Rows ---------------------------------------------------------------------------------------

template <class Contender>
void addRows(const std::string& name) {
  if (!Contender::isThere()) return;
  VakRow("take_and_give_back", name + "/16", takeAndGiveBack<Contender, 16>);
  VakRow("take_and_give_back", name + "/48", takeAndGiveBack<Contender, 48>);
  VakRow("take_and_give_back", name + "/512", takeAndGiveBack<Contender, 512>);
  VakRow("take_and_give_back", name + "/4096", takeAndGiveBack<Contender, 4096>);
  VakRow("batch", name + "/16", batch<Contender, 16>);
  VakRow("batch", name + "/48", batch<Contender, 48>);
  VakRow("batch", name + "/512", batch<Contender, 512>);
  VakRow("churn", name + "/48", churn<Contender, 48>);
  VakTimedRow("million_in_random_order", name, millionInRandomOrder<Contender>)
      ->Unit(benchmark::kMillisecond);
}

// The churn of one size, which the compiler does not know.
template <class Contender>
void churnOfOneSize(benchmark::State& state) {
  const Churn churn(1);
  auto size = static_cast<unsigned long>(state.range(0));
  Contender contender;
  std::vector<void*> blocks(Churn::Live);
  for (void*& block : blocks) block = contender.allocate(size);
  for (auto _ : state) {
    for (const unsigned turn : churn.turns) {
      void*& block = blocks[turn];
      benchmark::DoNotOptimize(size);
      contender.giveBack(block, size);
      block = contender.allocate(size);
      write(block);
    }
  }
  for (void* block : blocks) contender.giveBack(block, size);
  VakCountItems(state, Churn::Turns);
}

template <class Contender>
void addVirtualRows(const std::string& name) {
  if (!Contender::isThere()) return;
  VakRow("churn_virtual", name, churnOfOneSize<Contender>)->Arg(48);
  VakRow("churn_of_sizes_up_to", name, churnOfSizes<Contender>)->Arg(128)->Arg(512)->Arg(4096);
}

template <class Heap>
void addHeap(const char* name) {
  addRows<Heap>(name);
  addVirtualRows<Heap>(name);
  if (Heap::isThere()) addMillions(name, nextMillion<millionOnHeap<Heap>>);
}

// In a fresh process nothing is registered, but its measurements are announced.
const bool announced = VakAnnounceMeasurement("vak", millionInEnvironment) &&
                       VakAnnounceMeasurement("glibc", millionOnHeap<VakGlibcHeap>) &&
                       VakAnnounceMeasurement("mimalloc", millionOnHeap<VakMimallocHeap>) &&
                       VakAnnounceMeasurement("jemalloc", millionOnHeap<VakJemallocHeap>) &&
                       VakAnnounceMeasurement("tcmalloc", millionOnHeap<VakTcmallocHeap>) &&
                       VakAnnounceMeasurement("pmr_monotonic", millionInMonotonicBuffer) &&
                       VakAnnounceMeasurement("mimalloc_arena", millionInMimallocArena);

}  // namespace

void VakRegisterBenchmarks() {
  addRows<Environment>("vak");
  addVirtualRows<Allocator>("vak");
  addMillions("vak", nextMillion<millionInEnvironment>);
  addHeap<VakGlibcHeap>("glibc");
  addHeap<VakMimallocHeap>("mimalloc");
  addHeap<VakJemallocHeap>("jemalloc");
  addHeap<VakTcmallocHeap>("tcmalloc");
  addMillions("pmr_monotonic", nextMillion<millionInMonotonicBuffer>);
  if (VakMimallocArena.destroy != nullptr) {
    addMillions("mimalloc_arena", nextMillion<millionInMimallocArena>);
  }
}

// Arrays beside std::vector and std::deque. Ratios of two lines with the same argument, the number
// of elements, are what counts.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <numeric>
#include <random>
#include <span>
#include <vector>

#include "vakenv/arrays.h"
#include "vakenv/environment.h"

namespace {

using Vector = std::vector<double>;
using Deque = std::deque<double>;

// An environment and an array in it that end together.
class Array {
 public:
  Array() : _array(_env, 0) {}
  explicit Array(long n) : _array(_env, n) {}
  ~Array() { _env.end(); }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  VakNumArray& operator*() { return _array; }

 private:
  VakEnv _env;
  VakNumArray _array;
};

// Indices below `n` in random order, as many for every size, so that only the array differs.
std::vector<std::uint32_t> randomIndices(long n) {
  std::mt19937_64 random(7);
  std::vector<std::uint32_t> indices(1 << 16);
  for (std::uint32_t& i : indices)
    i = static_cast<std::uint32_t>(random() % static_cast<unsigned long>(n));
  return indices;
}

void countElements(benchmark::State& state, long n) {
  state.SetItemsProcessed(state.iterations() * n);
}

template <class Container>
void readAtRandom(benchmark::State& state, Container& container) {
  const std::vector<std::uint32_t> indices = randomIndices(state.range(0));
  for (auto _ : state) {
    double sum = 0;
    for (const std::uint32_t i : indices) sum += container[i];
    benchmark::DoNotOptimize(sum);
  }
  countElements(state, static_cast<long>(indices.size()));
}

void RandomReadArray(benchmark::State& state) {
  Array array(state.range(0));
  readAtRandom(state, *array);
}
void RandomReadVector(benchmark::State& state) {
  Vector vector(static_cast<std::size_t>(state.range(0)));
  readAtRandom(state, vector);
}
void RandomReadDeque(benchmark::State& state) {
  Deque deque(static_cast<std::size_t>(state.range(0)));
  readAtRandom(state, deque);
}

template <class Container>
void readByIndex(benchmark::State& state, Container& container) {
  for (auto _ : state) {
    double sum = 0;
    for (long i = 0, n = state.range(0); i < n; ++i) {
      if constexpr (std::is_same_v<Container, VakNumArray>) {
        sum += container[i];
      } else {
        sum += container[static_cast<std::size_t>(i)];
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  countElements(state, state.range(0));
}

void IndexReadArray(benchmark::State& state) {
  Array array(state.range(0));
  readByIndex(state, *array);
}
void IndexReadVector(benchmark::State& state) {
  Vector vector(static_cast<std::size_t>(state.range(0)));
  readByIndex(state, vector);
}
void IndexReadDeque(benchmark::State& state) {
  Deque deque(static_cast<std::size_t>(state.range(0)));
  readByIndex(state, deque);
}

template <class Container>
void readByIterator(benchmark::State& state, const Container& container) {
  for (auto _ : state) {
    double sum = 0;
    for (const double x : container) sum += x;
    benchmark::DoNotOptimize(sum);
  }
  countElements(state, state.range(0));
}

void IteratorReadArray(benchmark::State& state) {
  Array array(state.range(0));
  readByIterator(state, *array);
}
void IteratorReadVector(benchmark::State& state) {
  readByIterator(state, Vector(static_cast<std::size_t>(state.range(0))));
}
void IteratorReadDeque(benchmark::State& state) {
  readByIterator(state, Deque(static_cast<std::size_t>(state.range(0))));
}

void ChunkReadArray(benchmark::State& state) {
  Array array(state.range(0));
  for (auto _ : state) {
    double sum = 0;
    for (const std::span<double> chunk : (*array).chunks()) {
      for (const double x : chunk) sum += x;
    }
    benchmark::DoNotOptimize(sum);
  }
  countElements(state, state.range(0));
}

// Searching has no additions that wait for one another, so it shows the cost of walking itself.
void ChunkFindArray(benchmark::State& state) {
  Array array(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize((*array).contains(1.0));
  countElements(state, state.range(0));
}
void IteratorFindArray(benchmark::State& state) {
  Array array(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(std::find(begin(*array), end(*array), 1.0));
  countElements(state, state.range(0));
}
template <class Container>
void IteratorFind(benchmark::State& state) {
  const Container container(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::find(container.begin(), container.end(), 1.0));
  }
  countElements(state, state.range(0));
}

template <class Container>
void shuffle(Container& container) {
  std::mt19937_64 random(11);
  using std::begin;
  using std::end;
  std::iota(begin(container), end(container), 0.0);
  std::shuffle(begin(container), end(container), random);
}

template <class Container>
void sortRepeatedly(benchmark::State& state, Container& container) {
  using std::begin;
  using std::end;
  for (auto _ : state) {
    state.PauseTiming();
    shuffle(container);
    state.ResumeTiming();
    std::sort(begin(container), end(container));
  }
  countElements(state, state.range(0));
}

void SortArray(benchmark::State& state) {
  Array array(state.range(0));
  sortRepeatedly(state, *array);
}
template <class Container>
void Sort(benchmark::State& state) {
  Container container(static_cast<std::size_t>(state.range(0)));
  sortRepeatedly(state, container);
}

// Appends into a fresh container each time; giving its memory back is part of the work.
void AppendArray(benchmark::State& state) {
  Array other;
  const VakEnv env = (*other).getEnv();
  for (auto _ : state) {
    VakNumArray array(env, 0);
    for (long i = 0, n = state.range(0); i < n; ++i) array.add(1.0);
    benchmark::DoNotOptimize(array[0]);
    array.end();
  }
  countElements(state, state.range(0));
}
template <class Container>
void Append(benchmark::State& state) {
  for (auto _ : state) {
    Container container;
    for (long i = 0, n = state.range(0); i < n; ++i) container.push_back(1.0);
    benchmark::DoNotOptimize(container[0]);
  }
  countElements(state, state.range(0));
}

// Joins two containers of the given size.
void BulkAppendArray(benchmark::State& state) {
  Array other(state.range(0));
  const VakEnv env = (*other).getEnv();
  for (auto _ : state) {
    VakNumArray array(env, 0);
    array.append(*other);
    array.append(*other);
    benchmark::DoNotOptimize(array[0]);
    array.end();
  }
  countElements(state, 2 * state.range(0));
}
template <class Container>
void BulkAppend(benchmark::State& state) {
  const Container other(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    Container container;
    container.insert(container.end(), other.begin(), other.end());
    container.insert(container.end(), other.begin(), other.end());
    benchmark::DoNotOptimize(container[0]);
  }
  countElements(state, 2 * state.range(0));
}

void BuildFromListArray(benchmark::State& state) {
  Array other;
  const VakMemoryManager memory = (*other).getEnv().getMemoryManager();
  const Vector source(static_cast<std::size_t>(state.range(0)), 1.0);
  for (auto _ : state) {
    VakNumArray array = VakNumArray::From(memory, source);
    benchmark::DoNotOptimize(array[0]);
    array.end();
  }
  countElements(state, state.range(0));
}
template <class Container>
void BuildFromList(benchmark::State& state) {
  const Vector source(static_cast<std::size_t>(state.range(0)), 1.0);
  for (auto _ : state) {
    Container container(source.begin(), source.end());
    benchmark::DoNotOptimize(container[0]);
  }
  countElements(state, state.range(0));
}

void RemoveFrontArray(benchmark::State& state) {
  Array array(state.range(0));
  for (auto _ : state) {
    (*array).remove(0, 1);
    (*array).add(1.0);
  }
  countElements(state, state.range(0));
}
template <class Container>
void RemoveFront(benchmark::State& state) {
  Container container(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    container.erase(container.begin());
    container.push_back(1.0);
  }
  countElements(state, state.range(0));
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(100)->Arg(10000)->Arg(1000000);
}

BENCHMARK(RandomReadArray)->Apply(Sizes);
BENCHMARK(RandomReadVector)->Apply(Sizes);
BENCHMARK(RandomReadDeque)->Apply(Sizes);
BENCHMARK(IndexReadArray)->Apply(Sizes);
BENCHMARK(IndexReadVector)->Apply(Sizes);
BENCHMARK(IndexReadDeque)->Apply(Sizes);
BENCHMARK(IteratorReadArray)->Apply(Sizes);
BENCHMARK(IteratorReadVector)->Apply(Sizes);
BENCHMARK(IteratorReadDeque)->Apply(Sizes);
BENCHMARK(ChunkReadArray)->Apply(Sizes);
BENCHMARK(IteratorFindArray)->Apply(Sizes);
BENCHMARK(ChunkFindArray)->Apply(Sizes);
BENCHMARK(IteratorFind<Vector>)->Apply(Sizes);
BENCHMARK(IteratorFind<Deque>)->Apply(Sizes);
BENCHMARK(SortArray)->Apply(Sizes);
BENCHMARK(Sort<Vector>)->Apply(Sizes);
BENCHMARK(Sort<Deque>)->Apply(Sizes);
BENCHMARK(AppendArray)->Apply(Sizes);
BENCHMARK(Append<Vector>)->Apply(Sizes);
BENCHMARK(Append<Deque>)->Apply(Sizes);
BENCHMARK(BulkAppendArray)->Apply(Sizes);
BENCHMARK(BulkAppend<Vector>)->Apply(Sizes);
BENCHMARK(BulkAppend<Deque>)->Apply(Sizes);
BENCHMARK(BuildFromListArray)->Apply(Sizes);
BENCHMARK(BuildFromList<Vector>)->Apply(Sizes);
BENCHMARK(BuildFromList<Deque>)->Apply(Sizes);
BENCHMARK(RemoveFrontArray)->Apply(Sizes);
BENCHMARK(RemoveFront<Vector>)->Apply(Sizes);

}  // namespace

// Arrays beside std::vector and std::deque, by the number of elements.
#include <algorithm>
#include <cstdint>
#include <deque>
#include <numeric>
#include <random>
#include <span>
#include <vector>

#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
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

template <class Container>
void readAtRandom(benchmark::State& state, Container& container) {
  const std::vector<std::uint32_t> indices = randomIndices(state.range(0));
  for (auto _ : state) {
    double sum = 0;
    for (const std::uint32_t i : indices) sum += container[i];
    benchmark::DoNotOptimize(sum);
  }
  VakCountItems(state, static_cast<long>(indices.size()));
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
  VakCountItems(state, state.range(0));
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
  VakCountItems(state, state.range(0));
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

// Eight sums at a time, so that the additions do not wait for one another and memory is the limit.
double sumByLanes(std::span<const double> values) {
  constexpr std::size_t lanes = 8;
  double sums[lanes] = {};
  std::size_t i = 0;
  for (; i + lanes <= values.size(); i += lanes) {
    for (std::size_t lane = 0; lane < lanes; ++lane) sums[lane] += values[i + lane];
  }
  double sum = 0;
  for (; i < values.size(); ++i) sum += values[i];
  for (const double part : sums) sum += part;
  return sum;
}

void ChunkReadArray(benchmark::State& state) {
  Array array(state.range(0));
  for (auto _ : state) {
    double sum = 0;
    for (const std::span<double> chunk : (*array).chunks()) sum += sumByLanes(chunk);
    benchmark::DoNotOptimize(sum);
  }
  VakCountItems(state, state.range(0));
}

void ChunkReadVector(benchmark::State& state) {
  const Vector vector(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(sumByLanes(vector));
  VakCountItems(state, state.range(0));
}

// Searching has no additions that wait for one another, so it shows the cost of walking itself.
void ChunkFindArray(benchmark::State& state) {
  Array array(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize((*array).contains(1.0));
  VakCountItems(state, state.range(0));
}
void IteratorFindArray(benchmark::State& state) {
  Array array(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(std::find(begin(*array), end(*array), 1.0));
  VakCountItems(state, state.range(0));
}
template <class Container>
void IteratorFind(benchmark::State& state) {
  const Container container(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::find(container.begin(), container.end(), 1.0));
  }
  VakCountItems(state, state.range(0));
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
  VakCountItems(state, state.range(0));
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
  VakCountItems(state, state.range(0));
}
template <class Container>
void Append(benchmark::State& state) {
  for (auto _ : state) {
    Container container;
    for (long i = 0, n = state.range(0); i < n; ++i) container.push_back(1.0);
    benchmark::DoNotOptimize(container[0]);
  }
  VakCountItems(state, state.range(0));
}

// Joins two pieces of plain memory of the given size.
void BulkAppendSpanArray(benchmark::State& state) {
  Array other;
  const VakEnv env = (*other).getEnv();
  const Vector source(static_cast<std::size_t>(state.range(0)), 1.0);
  for (auto _ : state) {
    VakNumArray array(env, 0);
    array.append(std::span<const double>(source));
    array.append(std::span<const double>(source));
    benchmark::DoNotOptimize(array[0]);
    array.end();
  }
  VakCountItems(state, 2 * state.range(0));
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
  VakCountItems(state, 2 * state.range(0));
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
  VakCountItems(state, 2 * state.range(0));
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
  VakCountItems(state, state.range(0));
}
template <class Container>
void BuildFromList(benchmark::State& state) {
  const Vector source(static_cast<std::size_t>(state.range(0)), 1.0);
  for (auto _ : state) {
    Container container(source.begin(), source.end());
    benchmark::DoNotOptimize(container[0]);
  }
  VakCountItems(state, state.range(0));
}

void RemoveFrontArray(benchmark::State& state) {
  Array array(state.range(0));
  for (auto _ : state) {
    (*array).remove(0, 1);
    (*array).add(1.0);
  }
  VakCountItems(state, state.range(0));
}
template <class Container>
void RemoveFront(benchmark::State& state) {
  Container container(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    container.erase(container.begin());
    container.push_back(1.0);
  }
  VakCountItems(state, state.range(0));
}

using Row = benchmark::internal::Benchmark;

void sizes(Row* row) { row->Arg(100)->Arg(10'000)->Arg(1'000'000); }

// From what lies in the second-level cache to what only main memory holds: 8 MB and 800 MB.
void memorySizes(Row* row) { row->Arg(100'000)->Arg(1'000'000)->Arg(100'000'000); }

}  // namespace

void VakRegisterBenchmarks() {
  VakRow("array_append", "vak", AppendArray)->Arg(10)->Apply(sizes);
  VakRow("array_append", "vector", Append<Vector>)->Arg(10)->Apply(sizes);
  VakRow("array_append", "deque", Append<Deque>)->Arg(10)->Apply(sizes);
  VakRow("array_bulk_append_array", "vak", BulkAppendArray)->Apply(sizes);
  VakRow("array_bulk_append_array", "vector", BulkAppend<Vector>)->Apply(sizes);
  VakRow("array_bulk_append_span", "vak", BulkAppendSpanArray)->Apply(sizes);
  VakRow("array_bulk_append_span", "vector", BulkAppend<Vector>)->Apply(sizes);
  VakRow("array_from_values", "vak", BuildFromListArray)->Apply(sizes);
  VakRow("array_from_values", "vector", BuildFromList<Vector>)->Apply(sizes);
  VakRow("array_sum_by_chunk", "vak", ChunkReadArray)->Apply(memorySizes);
  VakRow("array_sum_by_chunk", "vector", ChunkReadVector)->Apply(memorySizes);
  VakRow("array_sum_by_iterator", "vak", IteratorReadArray)->Apply(sizes);
  VakRow("array_sum_by_iterator", "vector", IteratorReadVector)->Apply(sizes);
  VakRow("array_sum_by_iterator", "deque", IteratorReadDeque)->Apply(sizes);
  VakRow("array_sum_by_index", "vak", IndexReadArray)->Apply(sizes);
  VakRow("array_sum_by_index", "deque", IndexReadDeque)->Apply(sizes);
  VakRow("array_sum_by_index", "vector", IndexReadVector)->Apply(sizes);
  VakRow("array_random_read", "vak", RandomReadArray)->Apply(sizes);
  VakRow("array_random_read", "deque", RandomReadDeque)->Apply(sizes);
  VakRow("array_random_read", "vector", RandomReadVector)->Apply(sizes);
  VakRow("array_find_by_chunk", "vak", ChunkFindArray)->Apply(sizes);
  VakRow("array_find_by_chunk", "vector", IteratorFind<Vector>)->Apply(sizes);
  VakRow("array_find_by_iterator", "vak", IteratorFindArray)->Apply(sizes);
  VakRow("array_find_by_iterator", "vector", IteratorFind<Vector>)->Apply(sizes);
  VakRow("array_find_by_iterator", "deque", IteratorFind<Deque>)->Apply(sizes);
  VakRow("array_sort", "vak", SortArray)->Arg(10'000);
  VakRow("array_sort", "vector", Sort<Vector>)->Arg(10'000);
  VakRow("array_sort", "deque", Sort<Deque>)->Arg(10'000);
  VakRow("array_remove_front", "vak", RemoveFrontArray)->Arg(1000)->Arg(100'000);
  VakRow("array_remove_front", "vector", RemoveFront<Vector>)->Arg(1000)->Arg(100'000);
}

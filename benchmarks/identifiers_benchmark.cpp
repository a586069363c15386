// Identifiers beside what one would write instead: a vector with a stack of free indices, and a set
// of free indices that gives the smallest. Identifiers are booked into a growing table, and
// exchanged in random order while many are booked. Rows are named Operation<Contender>/identifiers.
#include <benchmark/benchmark.h>

#include <ctime>
#include <optional>
#include <random>
#include <set>
#include <vector>

#include "vakbase/memory.h"
#include "vakenv/memory/id_manager.h"

namespace {

// The pool outlives the managers, as the heap outlives the vectors.
VakMemory& Pool() {
  static VakMemory pool(1);
  return pool;
}

class Manager {
 public:
  Manager() = default;
  ~Manager() { _ids.end(); }
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;
  VakInt book(void* e) { return _ids.newId(static_cast<VakExtractableI*>(e)); }
  void release(VakInt id) { _ids.freeId(id); }

 private:
  VakIdManager _ids{&Pool()};
};

class VectorWithStack {
 public:
  VakInt book(void* e) {
    if (_free.empty()) {
      _slots.push_back(e);
      return static_cast<VakInt>(_slots.size()) - 1;
    }
    const VakInt id = _free.back();
    _free.pop_back();
    _slots[static_cast<std::size_t>(id)] = e;
    return id;
  }
  void release(VakInt id) {
    _slots[static_cast<std::size_t>(id)] = nullptr;
    _free.push_back(id);
  }

 private:
  std::vector<void*> _slots;
  std::vector<VakInt> _free;
};

class VectorWithSet {
 public:
  VakInt book(void* e) {
    if (_free.empty()) {
      _slots.push_back(e);
      return static_cast<VakInt>(_slots.size()) - 1;
    }
    const VakInt id = *_free.begin();
    _free.erase(_free.begin());
    _slots[static_cast<std::size_t>(id)] = e;
    return id;
  }
  void release(VakInt id) {
    _slots[static_cast<std::size_t>(id)] = nullptr;
    _free.insert(id);
  }

 private:
  std::vector<void*> _slots;
  std::set<VakInt> _free;
};

// What is booked; nobody looks into it.
char object;

// Processor time, so that what else runs on the machine counts less.
double Now() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <class Ids>
void Book(benchmark::State& state) {
  for (auto _ : state) {
    std::optional<Ids> ids(std::in_place);
    const double start = Now();
    for (VakInt i = 0; i < state.range(0); ++i) benchmark::DoNotOptimize(ids->book(&object));
    state.SetIterationTime(Now() - start);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// A tenth of the identifiers is free at any time; each turn books one and releases another.
template <class Ids>
void Churn(benchmark::State& state) {
  Ids ids;
  std::vector<VakInt> booked;
  for (VakInt i = 0; i < state.range(0); ++i) booked.push_back(ids.book(&object));
  std::mt19937_64 random(1);
  for (VakInt i = 0; i < state.range(0) / 10; ++i) {
    std::swap(booked[random() % booked.size()], booked.back());
    ids.release(booked.back());
    booked.pop_back();
  }
  constexpr std::size_t turns = 1 << 16;
  std::vector<std::size_t> exchanged(turns);
  for (auto& which : exchanged) which = random() % booked.size();
  for (auto _ : state) {
    for (const std::size_t which : exchanged) {
      const VakInt id = ids.book(&object);
      ids.release(booked[which]);
      booked[which] = id;
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<long>(turns));
}

#define VAK_IDENTIFIER_ROWS(Ids)                                                           \
  BENCHMARK_TEMPLATE(Book, Ids)->Arg(1000)->Arg(100'000)->Arg(1'000'000)->UseManualTime(); \
  BENCHMARK_TEMPLATE(Churn, Ids)->Arg(1000)->Arg(100'000)->Arg(1'000'000)

VAK_IDENTIFIER_ROWS(Manager);
VAK_IDENTIFIER_ROWS(VectorWithStack);
VAK_IDENTIFIER_ROWS(VectorWithSet);

}  // namespace

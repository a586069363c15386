// Identifiers beside what one would write instead: a vector with a stack of free indices, and a set
// of free indices that gives the smallest. Identifiers are booked into a growing table, and
// exchanged in random order while many are booked.
#include <optional>
#include <random>
#include <set>
#include <vector>

#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
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

template <class Ids>
void Book(benchmark::State& state) {
  for (auto _ : state) {
    std::optional<Ids> ids(std::in_place);
    VakTimeIteration(state, [&] {
      for (VakInt i = 0; i < state.range(0); ++i) benchmark::DoNotOptimize(ids->book(&object));
    });
  }
  VakCountItems(state, state.range(0));
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
  VakCountItems(state, static_cast<long>(turns));
}

template <class Ids>
void addRows(const std::string& contender) {
  VakTimedRow("identifier_book", contender, Book<Ids>)->Arg(1000)->Arg(100'000)->Arg(1'000'000);
  VakRow("identifier_churn", contender, Churn<Ids>)->Arg(1000)->Arg(100'000)->Arg(1'000'000);
}

}  // namespace

void VakRegisterBenchmarks() {
  addRows<Manager>("vak");
  addRows<VectorWithStack>("vector_with_stack");
  addRows<VectorWithSet>("vector_with_set");
}

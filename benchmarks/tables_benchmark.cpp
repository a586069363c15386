// The hash tables beside std::unordered_map: a map from objects to objects is filled, searched for
// keys that are there and for keys that are not, and emptied key by key. Keys are addresses of
// objects of one environment, taken in the order in which the objects were made or in random order.
// Rows are named Operation<Contender, Order>/entries; times are for the whole map.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <optional>
#include <random>
#include <unordered_map>
#include <vector>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/env.h"
#include "vakenv/tables/env_hash_table.h"
#include "vakenv/tables/hash_table.h"

namespace {

using Key = void*;

/// A table in an environment of its own, so that its memory is fresh. The other contenders get from
/// the heap what the last map gave back, in the order in which it had taken it.
class EnvTable {
 public:
  EnvTable()
      : _table(std::in_place, _env.getImpl(), 1, VakHashAddress<Key>, VakCompareAddresses<Key>) {}
  ~EnvTable() {
    _table.reset();
    _env.end();
  }
  EnvTable(const EnvTable&) = delete;
  EnvTable& operator=(const EnvTable&) = delete;
  void insert(Key key) { _table->add(key, key); }
  [[nodiscard]] bool find(Key key) const {
    Key value = nullptr;
    return _table->find(key, value) == VakHashDone && value == key;
  }
  void erase(Key key) { _table->remove(key); }

 private:
  VakEnv _env;
  std::optional<VakEnvHashTable<Key, Key>> _table;
};

class HeapTable {
 public:
  HeapTable() : _table(VakHashAddress<Key>, VakCompareAddresses<Key>, 1) {}
  ~HeapTable() { _table.end(); }
  HeapTable(const HeapTable&) = delete;
  HeapTable& operator=(const HeapTable&) = delete;
  void insert(Key key) { _table.add(key, key); }
  [[nodiscard]] bool find(Key key) const {
    Key value = nullptr;
    return _table.find(key, value) == VakHashDone && value == key;
  }
  void erase(Key key) { _table.remove(key); }

 private:
  VakHashTable<Key, Key> _table;
};

class StandardMap {
 public:
  void insert(Key key) { _map.emplace(key, key); }
  [[nodiscard]] bool find(Key key) const {
    const auto found = _map.find(key);
    return found != _map.end() && found->second == key;
  }
  void erase(Key key) { _map.erase(key); }

 private:
  std::unordered_map<Key, Key> _map;
};

enum Order { InOrder, AtRandom };

/// Objects of an environment: those that get into the map, the same in the order in which they are
/// looked for, and as many that never get in.
struct Objects {
  Objects(VakInt count, Order order) {
    constexpr unsigned long size = 48;
    for (VakInt i = 0; i < count; ++i) keys.push_back(env.getImpl()->allocate(size));
    for (VakInt i = 0; i < count; ++i) others.push_back(env.getImpl()->allocate(size));
    sought = keys;
    if (order == InOrder) return;
    std::mt19937_64 random(1);
    std::shuffle(keys.begin(), keys.end(), random);
    std::shuffle(sought.begin(), sought.end(), random);
    std::shuffle(others.begin(), others.end(), random);
  }
  ~Objects() { env.end(); }
  Objects(const Objects&) = delete;
  Objects& operator=(const Objects&) = delete;

  VakEnv env;
  std::vector<Key> keys;
  std::vector<Key> sought;
  std::vector<Key> others;
};

// Processor time, so that what else runs on the machine counts less.
double Now() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <class Operation>
void Time(benchmark::State& state, Operation operation) {
  const double start = Now();
  operation();
  state.SetIterationTime(Now() - start);
}

template <class Map>
void Fill(Map& map, const std::vector<Key>& keys) {
  for (Key key : keys) map.insert(key);
}

template <class Map, Order order>
void Insert(benchmark::State& state) {
  Objects objects(state.range(0), order);
  for (auto _ : state) {
    Map map;
    Time(state, [&] { Fill(map, objects.keys); });
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Map, Order order>
void Hit(benchmark::State& state) {
  Objects objects(state.range(0), order);
  Map map;
  Fill(map, objects.keys);
  for (auto _ : state) {
    VakInt found = 0;
    Time(state, [&] {
      for (Key key : objects.sought) found += map.find(key) ? 1 : 0;
    });
    if (found != state.range(0)) state.SkipWithError("a key was not found");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Map, Order order>
void Miss(benchmark::State& state) {
  Objects objects(state.range(0), order);
  Map map;
  Fill(map, objects.keys);
  for (auto _ : state) {
    VakInt found = 0;
    Time(state, [&] {
      for (Key key : objects.others) found += map.find(key) ? 1 : 0;
    });
    if (found != 0) state.SkipWithError("a key was found that is not there");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Map, Order order>
void Erase(benchmark::State& state) {
  Objects objects(state.range(0), order);
  for (auto _ : state) {
    Map map;
    Fill(map, objects.keys);
    Time(state, [&] {
      for (Key key : objects.sought) map.erase(key);
    });
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

#define VAK_MAP_ROW(Operation, Map, order)  \
  BENCHMARK_TEMPLATE(Operation, Map, order) \
      ->Arg(1000)                           \
      ->Arg(100'000)                        \
      ->Arg(1'000'000)                      \
      ->UseManualTime()                     \
      ->Unit(benchmark::kMicrosecond)
#define VAK_MAP_ROWS(Operation)                 \
  VAK_MAP_ROW(Operation, EnvTable, InOrder);    \
  VAK_MAP_ROW(Operation, HeapTable, InOrder);   \
  VAK_MAP_ROW(Operation, StandardMap, InOrder); \
  VAK_MAP_ROW(Operation, EnvTable, AtRandom);   \
  VAK_MAP_ROW(Operation, HeapTable, AtRandom);  \
  VAK_MAP_ROW(Operation, StandardMap, AtRandom)

VAK_MAP_ROWS(Insert);
VAK_MAP_ROWS(Hit);
VAK_MAP_ROWS(Miss);
VAK_MAP_ROWS(Erase);

}  // namespace

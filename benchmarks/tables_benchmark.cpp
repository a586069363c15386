// The hash tables beside std::unordered_map: a map from objects to objects is filled, searched for
// keys that are there and for keys that are not, and emptied key by key. Keys are addresses of
// objects of one environment, taken in the order in which the objects were made or in random order.
// Rows are named Operation<Contender, Order>/entries; times are for the whole map.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
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

// The hash function of the library's own tables of objects.
VakInt HashObject(Key key, VakInt size) {
  return static_cast<VakInt>((reinterpret_cast<unsigned long>(key) >> 5) &
                             (static_cast<unsigned long>(size) - 1));
}
VakInt CompareObjects(Key a, Key b) { return a == b ? 1 : 0; }

class EnvTable {
 public:
  explicit EnvTable(VakEnvI* env) : _table(env, 1, HashObject, CompareObjects) {}
  void insert(Key key) { _table.add(key, key); }
  [[nodiscard]] bool find(Key key) const {
    Key value = nullptr;
    return _table.find(key, value) == VakHashDone && value == key;
  }
  void erase(Key key) { _table.remove(key); }

 private:
  VakEnvHashTable<Key, Key> _table;
};

class HeapTable {
 public:
  explicit HeapTable(VakEnvI* /*env*/) : _table(HashObject, CompareObjects, 1) {}
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
  explicit StandardMap(VakEnvI* /*env*/) {}
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

template <class Operation>
void Time(benchmark::State& state, Operation operation) {
  const auto start = std::chrono::steady_clock::now();
  operation();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  state.SetIterationTime(elapsed.count());
}

template <class Map>
void Fill(Map& map, const std::vector<Key>& keys) {
  for (Key key : keys) map.insert(key);
}

template <class Map, Order order>
void Insert(benchmark::State& state) {
  Objects objects(state.range(0), order);
  for (auto _ : state) {
    Map map(objects.env.getImpl());
    Time(state, [&] { Fill(map, objects.keys); });
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Map, Order order>
void Hit(benchmark::State& state) {
  Objects objects(state.range(0), order);
  Map map(objects.env.getImpl());
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
  Map map(objects.env.getImpl());
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
    Map map(objects.env.getImpl());
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

// The hash tables beside std::unordered_map and the flat map of Abseil: a map from objects to
// objects is filled, searched for keys that are there and for keys that are not, and emptied key by
// key. Keys are addresses of objects of one environment, taken in the order in which the objects
// were made or in random order. The flat map stores its entries in place, and so is not what a
// program can take whose entries must stay where they are; it is here to show what that costs.
// Times are for one operation.
#include <algorithm>
#include <optional>
#include <random>
#include <unordered_map>
#include <vector>

#ifdef VAK_HAS_ABSEIL
#include <absl/container/flat_hash_map.h>
#endif

#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
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

template <class Map>
void Fill(Map& map, const std::vector<Key>& keys) {
  for (Key key : keys) map.insert(key);
}

template <class Map, Order order>
void Insert(benchmark::State& state) {
  Objects objects(state.range(0), order);
  for (auto _ : state) {
    Map map;
    VakTimeIteration(state, [&] { Fill(map, objects.keys); });
  }
  VakCountItems(state, state.range(0));
}

template <class Map, Order order>
void Hit(benchmark::State& state) {
  Objects objects(state.range(0), order);
  Map map;
  Fill(map, objects.keys);
  for (auto _ : state) {
    VakInt found = 0;
    VakTimeIteration(state, [&] {
      for (Key key : objects.sought) found += map.find(key) ? 1 : 0;
    });
    if (found != state.range(0)) state.SkipWithError("a key was not found");
  }
  VakCountItems(state, state.range(0));
}

template <class Map, Order order>
void Miss(benchmark::State& state) {
  Objects objects(state.range(0), order);
  Map map;
  Fill(map, objects.keys);
  for (auto _ : state) {
    VakInt found = 0;
    VakTimeIteration(state, [&] {
      for (Key key : objects.others) found += map.find(key) ? 1 : 0;
    });
    if (found != 0) state.SkipWithError("a key was found that is not there");
  }
  VakCountItems(state, state.range(0));
}

template <class Map, Order order>
void Erase(benchmark::State& state) {
  Objects objects(state.range(0), order);
  for (auto _ : state) {
    Map map;
    Fill(map, objects.keys);
    VakTimeIteration(state, [&] {
      for (Key key : objects.sought) map.erase(key);
    });
  }
  VakCountItems(state, state.range(0));
}

#ifdef VAK_HAS_ABSEIL
class FlatMap {
 public:
  void insert(Key key) { _map.emplace(key, key); }
  [[nodiscard]] bool find(Key key) const {
    const auto found = _map.find(key);
    return found != _map.end() && found->second == key;
  }
  void erase(Key key) { _map.erase(key); }

 private:
  absl::flat_hash_map<Key, Key> _map;
};
#endif

void sizes(benchmark::internal::Benchmark* row) {
  row->Arg(1000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);
}

template <class Map, Order order>
void addRows(const std::string& subject, const std::string& contender) {
  const std::string suffix = order == InOrder ? "_in_order" : "_at_random";
  VakTimedRow(subject + "_insert" + suffix, contender, Insert<Map, order>)->Apply(sizes);
  VakTimedRow(subject + "_hit" + suffix, contender, Hit<Map, order>)->Apply(sizes);
  VakTimedRow(subject + "_miss" + suffix, contender, Miss<Map, order>)->Apply(sizes);
  VakTimedRow(subject + "_erase" + suffix, contender, Erase<Map, order>)->Apply(sizes);
}

template <class Map>
void addRows(const std::string& subject, const std::string& contender) {
  addRows<Map, InOrder>(subject, contender);
  addRows<Map, AtRandom>(subject, contender);
}

}  // namespace

void VakRegisterBenchmarks() {
  addRows<EnvTable>("hash", "vak");
  addRows<StandardMap>("hash", "unordered_map");
#ifdef VAK_HAS_ABSEIL
  addRows<FlatMap>("hash", "absl_flat");
#endif
  addRows<HeapTable>("heap_hash", "vak");
  addRows<StandardMap>("heap_hash", "unordered_map");
}

// Hash tables of both kinds beside a std::map, with hash functions that are good, poor, wrong and
// throw.

#include <map>
#include <vector>

#include "tests/fuzz/program.h"
#include "vakbase/exception.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/tables/env_hash_table.h"
#include "vakenv/tables/hash_table.h"

namespace {

/// What the functions of a table throw when they are told to.
struct Thrown {};

/// How the functions of the tables behave at present.
struct Behaviour {
  VakInt factor = 1;        ///< 0 puts all keys into one bucket.
  VakInt callsLeft = -1;    ///< The call that throws; below 0: none.
  bool isIndexBad = false;  ///< The hash is no index of a bucket.
  bool isBelow = false;     ///< ... but below the first one.
} behaviour;

void countCall() {
  if (behaviour.callsLeft >= 0 && behaviour.callsLeft-- == 0) throw Thrown();
}
VakInt hashNumber(VakInt key, VakInt size) {
  countCall();
  if (behaviour.isIndexBad) return behaviour.isBelow ? -1 : size;
  return key * behaviour.factor % size;
}
VakInt compareNumbers(VakInt a, VakInt b) {
  countCall();
  return a == b ? 1 : 0;
}

/// Places that keys by address can have.
alignas(32) char places[256][32];

/// One table and what it has to hold.
template <class Table, class Key>
class Machine {
 public:
  Machine(VakFuzzProgram& program, Table& table) : _program(program), _table(table) {}

  void step() {
    const bool isTroubled = _program.below(8) == 0;
    if (isTroubled) trouble();
    const auto before = _values;
    try {
      change();
      if (isTroubled) calm();
    } catch (const Thrown&) {
      calm();
      _values = before;
    } catch (const VakWrongUsage& failure) {
      VAK_FUZZ_REQUIRE(behaviour.isIndexBad);
      VAK_FUZZ_REQUIRE(std::string(failure.getMessage()) == "Hash function returned bad index");
      calm();
      _values = before;
    }
    compare();
  }

 private:
  void trouble() {
    if (_program.flag()) {
      behaviour.callsLeft = _program.byte();
    } else {
      behaviour.isIndexBad = true;
      behaviour.isBelow = _program.flag();
    }
  }
  static void calm() {
    behaviour.callsLeft = -1;
    behaviour.isIndexBad = false;
  }
  Key key() {
    const int n = _program.byte();
    if constexpr (std::is_pointer_v<Key>) {
      return places[n];
    } else {
      return n;
    }
  }

  // What the operation throws, the caller catches and takes the changes of the model back.
  void change() {
    switch (_program.below(8)) {
      case 0:
      case 1:
      case 2: {
        const Key k = key();
        const VakInt v = _program.byte();
        const VakInt expected = _values.emplace(k, v).second ? VakHashDone : VakHashPresent;
        VAK_FUZZ_REQUIRE(_table.add(k, v) == expected);
        break;
      }
      case 3: {
        const Key k = key();
        const VakInt expected = _values.erase(k) > 0 ? VakHashDone : VakHashNotFound;
        VAK_FUZZ_REQUIRE(_table.remove(k) == expected);
        break;
      }
      case 4:
        take();
        break;
      case 5:
        find();
        break;
      case 6:
        // Tables by address need a power of two.
        _table.reMod(VakInt{1} << _program.below(7));
        break;
      default:
        if (_program.below(8) == 0) {
          _table.end();
          _values.clear();
        } else {
          setValue();
        }
    }
  }
  void take() {
    const Key k = key();
    const auto found = _values.find(k);
    VakInt value = -1;
    const VakInt result = _table.take(k, value);
    VAK_FUZZ_REQUIRE(result == (found == _values.end() ? VakHashNotFound : VakHashDone));
    VAK_FUZZ_REQUIRE(value == (found == _values.end() ? -1 : found->second));
    if (found != _values.end()) _values.erase(found);
  }
  void find() {
    const Key k = key();
    const auto found = _values.find(k);
    VakInt value = -1;
    const VakInt result = _table.find(k, value);
    VAK_FUZZ_REQUIRE(result == (found == _values.end() ? VakHashNotFound : VakHashDone));
    VAK_FUZZ_REQUIRE(value == (found == _values.end() ? -1 : found->second));
  }
  void setValue() {
    typename Table::Iterator i(_table);
    for (int n = _program.byte(); n > 0 && i.ok(); --n) ++i;
    if (!i.ok()) return;
    const VakInt v = _program.byte();
    _values[(*i).getKey()] = v;
    (*i).setValue(v);
  }

  void compare() {
    VAK_FUZZ_SOUND(_table.check());
    VAK_FUZZ_REQUIRE(_table._nbItems == static_cast<VakInt>(_values.size()));
    std::map<Key, VakInt> held;
    for (typename Table::Iterator i(_table); i.ok(); ++i) {
      VAK_FUZZ_REQUIRE(held.emplace((*i).getKey(), (*i).getValue()).second);
    }
    VAK_FUZZ_REQUIRE(held == _values);
  }

  VakFuzzProgram& _program;
  Table& _table;
  std::map<Key, VakInt> _values;
};

template <class Key>
void runBoth(VakFuzzProgram& program, VakInt (*hash)(Key, VakInt), VakInt (*compare)(Key, Key)) {
  VakFuzzEnv scope(program);
  const VakInt base = scope.env.getMemoryUsage();
  behaviour = {};
  behaviour.factor = program.below(4);
  const VakInt size = VakInt{1} << program.below(4);
  {
    VakHashTable<Key, VakInt> heap(hash, compare, size);
    VakEnvHashTable<Key, VakInt> pooled(scope.env.getImpl(), size, hash, compare);
    Machine<VakHashTable<Key, VakInt>, Key> first(program, heap);
    Machine<VakEnvHashTable<Key, VakInt>, Key> second(program, pooled);
    while (!program.isOver()) {
      if (program.flag()) {
        first.step();
      } else {
        second.step();
      }
      scope.check();
    }
    heap.end();
  }
  VAK_FUZZ_REQUIRE(scope.env.getMemoryUsage() == base);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  VakFuzzProgram program(data, size);
  if (program.flag()) {
    runBoth<VakInt>(program, hashNumber, compareNumbers);
  } else {
    runBoth<char*>(program, VakHashAddress<char*>, VakCompareAddresses<char*>);
  }
  return 0;
}

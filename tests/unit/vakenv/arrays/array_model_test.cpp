// Long random sequences of operations beside std::vector.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "tests/unit/vakenv/arrays/array_test_tools.h"

namespace {

constexpr int Operations = 40000;
constexpr std::size_t LargestSize = 5000;

// An array and the vector that it should equal.
class Pair {
 public:
  explicit Pair(VakArrayMemory& manager)
      : _manager(manager), _owner(VakMakeIntegers(manager, 0)), _array(_owner.get()) {}

  void perform(std::mt19937_64& random) {
    const unsigned long choice = random() % 100;
    if (_model.size() > LargestSize) {
      remove(random);
    } else if (choice < 60) {
      add(random);
    } else if (choice < 70) {
      append(random);
    } else if (choice < 84) {
      remove(random);
    } else if (choice < 90) {
      write(random);
    } else if (choice < 94) {
      discard(random);
    } else if (choice < 97) {
      _owner->grow(static_cast<long>(random() % 2000));
    } else if (choice == 97) {
      copy();
    } else if (choice == 98) {
      sort();
    } else if (random() % 10 == 0) {
      clear();
    }
  }

  void expectEqual() const {
    ASSERT_EQ(_owner->check(), "");
    ASSERT_EQ(VakElements(_array), _model);
  }

 private:
  static long Value(std::mt19937_64& random) { return static_cast<long>(random() % 500); }

  void add(std::mt19937_64& random) {
    for (unsigned long n = random() % 10; n > 0; --n) {
      _model.push_back(Value(random));
      _array.add(_model.back());
    }
  }

  void append(std::mt19937_64& random) {
    const std::vector<long> before = _model;
    if (random() % 4 == 0) {
      _array.append(_array);
      _model.insert(_model.end(), before.begin(), before.end());
      return;
    }
    std::vector<long> values(random() % 100);
    for (long& value : values) value = Value(random);
    if (random() % 2 == 0) {
      _array.append(values);
    } else {
      VakIntArray other = VakIntArray::From(&_manager, values);
      _array.append(other);
      other.end();
    }
    _model.insert(_model.end(), values.begin(), values.end());
  }

  void remove(std::mt19937_64& random) {
    const std::size_t first = random() % (_model.size() + 1);
    const std::size_t rest = _model.size() - first;
    const std::size_t n = random() % (std::min<std::size_t>(rest, 1000) + 1);
    _array.remove(static_cast<long>(first), static_cast<long>(n));
    const auto at = _model.begin() + static_cast<long>(first);
    _model.erase(at, at + static_cast<long>(n));
  }

  void write(std::mt19937_64& random) {
    if (_model.empty()) return;
    const std::size_t i = random() % _model.size();
    _model[i] = Value(random);
    _array[static_cast<long>(i)] = _model[i];
  }

  void discard(std::mt19937_64& random) {
    const long value = Value(random);
    const auto last = std::find(_model.rbegin(), _model.rend(), value);
    ASSERT_EQ(_array.contains(value), last != _model.rend());
    _array.discard(value);
    if (last != _model.rend()) _model.erase(std::next(last).base());
  }

  void copy() {
    _owner.reset(VakCreate<VakArrayI>(&_manager, _owner.get()));
    _array = VakIntArray(_owner.get());
  }

  void sort() {
    std::sort(begin(_array), end(_array));
    std::sort(_model.begin(), _model.end());
  }

  void clear() {
    _array.clear();
    _model.clear();
  }

  VakArrayMemory& _manager;
  VakArrayOwner _owner;
  VakIntArray _array;
  std::vector<long> _model;
};

class ArrayModel : public testing::TestWithParam<unsigned long> {};

TEST_P(ArrayModel, RandomOperationsGiveWhatAVectorGives) {
  std::mt19937_64 random(GetParam());
  VakArrayMemory manager;
  Pair pair(manager);
  for (int i = 0; i < Operations; ++i) {
    ASSERT_NO_FATAL_FAILURE(pair.perform(random)) << "operation " << i;
    if (i % 16 == 0) {
      ASSERT_NO_FATAL_FAILURE(pair.expectEqual()) << "operation " << i;
    }
  }
  pair.expectEqual();
}

TEST_P(ArrayModel, IntersectionGivesTheCommonValuesOfSets) {
  std::mt19937_64 random(GetParam());
  VakArrayMemory manager;
  for (int round = 0; round < 2000; ++round) {
    std::set<long> sets[2];
    for (std::set<long>& set : sets) {
      const unsigned long range = 1 + random() % 3000;
      const unsigned long shift = random() % 500;
      unsigned long n = random() % (random() % 2 == 0 ? 8 : 1000);
      for (; n > 0; --n) set.insert(static_cast<long>(random() % range + shift));
    }
    std::vector<long> expected;
    std::set_intersection(sets[0].begin(), sets[0].end(), sets[1].begin(), sets[1].end(),
                          std::back_inserter(expected));
    VakIntArray a = VakIntArray::From(&manager, sets[0]);
    VakIntArray b = VakIntArray::From(&manager, sets[1]);
    VakIntArray common = intersectOrderedIndex(VakMemoryManager(&manager), a, b);
    ASSERT_EQ(VakElements(common), expected);
    ASSERT_EQ(common.getImpl() == nullptr, expected.empty());
    a.end();
    b.end();
    common.end();
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ArrayModel, testing::Values(1UL, 2UL, 3UL));

}  // namespace

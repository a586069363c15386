// Memory runs out at every single request of every operation that asks for memory.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <new>

#include "tests/unit/vakenv/arrays/array_test_tools.h"

namespace {

constexpr long Sizes[] = {0, 1, 2, 4, 5, 15, 16, 17, 40, 64, 70};
constexpr long Targets[] = {1, 2, 4, 5, 8, 16, 17, 33, 64, 65, 200, 257};

// Whether an array holds what it held before, or nothing as after clear().
void ExpectWholeOrCleared(const VakArrayOwner& array, const std::vector<long>& before) {
  EXPECT_EQ(array->check(), "");
  if (array->_data == nullptr && !before.empty()) {
    EXPECT_EQ(array->_size, 0);
    EXPECT_EQ(array->_max, 0);
  } else {
    EXPECT_EQ(Integers(array), before);
  }
}

// Whether an array can still be used after a failure.
void ExpectUsable(const VakArrayOwner& array) {
  std::vector<long> expected = Integers(array);
  for (long i = 0; i < 70; ++i) {
    VakIntArray(array.get()).add(i);
    expected.push_back(i);
  }
  EXPECT_EQ(Integers(array), expected);
  EXPECT_EQ(array->check(), "");
}

// Lets each request of `operation`, on a fresh array that `make` makes, fail in turn.
void FailEachRequest(ArrayMemory& manager, const std::function<VakArrayOwner()>& make,
                     const std::function<void(VakArrayI&)>& operation) {
  for (long k = 1;; ++k) {
    const VakArrayOwner array = make();
    const std::vector<long> before = Integers(array);
    manager.failAt(k);
    try {
      operation(*array);
    } catch (const std::bad_alloc&) {
      ASSERT_TRUE(manager.hasFailed());
    }
    const bool failed = manager.hasFailed();
    manager.failAt(0);
    if (!failed) return;
    ExpectWholeOrCleared(array, before);
    ExpectUsable(array);
  }
}

TEST(ArrayFault, ConstructionLeavesNothingBehind) {
  ArrayMemory manager;
  for (const long size : Sizes) {
    for (long k = 1;; ++k) {
      manager.failAt(k);
      VakArrayOwner array;
      try {
        array = MakeIntegers(manager, size);
      } catch (const std::bad_alloc&) {
      }
      manager.failAt(0);
      if (array != nullptr) break;
      EXPECT_EQ(manager.getBlockCount(), 0);
    }
  }
}

TEST(ArrayFault, CopyingLeavesNothingBehind) {
  ArrayMemory manager;
  for (const long size : Sizes) {
    const VakArrayOwner original = MakeCounting(manager, size);
    const long blocks = manager.getBlockCount();
    for (long k = 1;; ++k) {
      manager.failAt(k);
      VakArrayOwner copy;
      try {
        copy.reset(VakCreate<VakArrayI>(&manager, original.get()));
      } catch (const std::bad_alloc&) {
      }
      manager.failAt(0);
      if (copy != nullptr) break;
      EXPECT_EQ(manager.getBlockCount(), blocks);
    }
  }
}

TEST(ArrayFault, GrowKeepsTheArrayWholeOrClearsIt) {
  ArrayMemory manager;
  for (const long size : Sizes) {
    for (const long target : Targets) {
      FailEachRequest(
          manager, [&] { return MakeCounting(manager, size); },
          [&](VakArrayI& array) { array.grow(target); });
    }
  }
}

TEST(ArrayFault, GrowAfterRemoveKeepsTheArrayWholeOrClearsIt) {
  ArrayMemory manager;
  const auto make = [&] {
    VakArrayOwner array = MakeCounting(manager, 40);
    array->remove(5, 35);
    return array;
  };
  for (const long target : Targets) {
    FailEachRequest(manager, make, [&](VakArrayI& array) { array.grow(target); });
  }
}

TEST(ArrayFault, GrowAfterClearLeavesAnArrayThatGrowsAgain) {
  ArrayMemory manager;
  const auto make = [&] {
    VakArrayOwner array = MakeCounting(manager, 40);
    array->clear();
    return array;
  };
  for (const long target : Targets) {
    FailEachRequest(manager, make, [&](VakArrayI& array) { array.grow(target); });
  }
}

TEST(ArrayFault, GrowOfTheCopyOfAClearedArrayLeavesAnArrayThatGrowsAgain) {
  ArrayMemory manager;
  const auto make = [&] {
    const VakArrayOwner array = MakeCounting(manager, 40);
    array->clear();
    return VakArrayOwner(VakCreate<VakArrayI>(&manager, array.get()));
  };
  for (const long target : Targets) {
    FailEachRequest(manager, make, [&](VakArrayI& array) { array.grow(target); });
  }
}

TEST(ArrayFault, GrowWithinTheCapacityGivesItsChunksBack) {
  ArrayMemory manager;
  for (long k = 1; k <= 5; ++k) {
    const VakArrayOwner array = MakeCounting(manager, 17);
    const long blocks = manager.getBlockCount();
    manager.failAt(k);
    EXPECT_THROW(array->grow(64), std::bad_alloc);
    EXPECT_EQ(manager.getBlockCount(), blocks);
    EXPECT_EQ(CountChunks(*array), 3);
    EXPECT_EQ(array->check(), "");
  }
}

TEST(ArrayFault, AFailureBeforeAnyOldChunkIsGoneLeavesTheOldGeometry) {
  ArrayMemory manager;
  for (long k = 1; k <= 2; ++k) {
    const VakArrayOwner array = MakeCounting(manager, 64);
    const long blocks = manager.getBlockCount();
    manager.failAt(k);
    EXPECT_THROW(array->grow(65), std::bad_alloc);
    EXPECT_EQ(array->_max, 64);
    EXPECT_EQ(array->_shift, 3);
    EXPECT_EQ(array->_mod, 7);
    EXPECT_EQ(manager.getBlockCount(), blocks);
  }
}

TEST(ArrayFault, AFailureAfterOldChunksAreGoneClearsTheArray) {
  ArrayMemory manager;
  const VakArrayOwner array = MakeCounting(manager, 64);
  manager.failAt(3);
  EXPECT_THROW(array->grow(65), std::bad_alloc);
  EXPECT_EQ(array->_data, nullptr);
  EXPECT_EQ(array->_size, 0);
  EXPECT_EQ(array->_max, 0);
  EXPECT_EQ(manager.getBlockCount(), 1) << "the object alone";
}

TEST(ArrayFault, AFailureAfterEverythingWasMovedKeepsElementsAndNewGeometry) {
  ArrayMemory manager;
  const VakArrayOwner array = MakeCounting(manager, 64);
  manager.failAt(6);  // the table, four chunks that hold the elements, one further
  EXPECT_THROW(array->grow(100), std::bad_alloc);
  EXPECT_EQ(array->_max, 256);
  EXPECT_EQ(CountChunks(*array), 4);
  EXPECT_EQ(array->_size, 64);
  EXPECT_EQ(Integers(array), Integers(MakeCounting(manager, 64)));
}

TEST(ArrayFault, AddKeepsTheArrayWholeOrClearsIt) {
  ArrayMemory manager;
  for (long size = 0; size <= 70; ++size) {
    FailEachRequest(
        manager, [&] { return MakeCounting(manager, size); },
        [&](VakArrayI& array) { VakIntArray(&array).add(-1); });
  }
}

TEST(ArrayFault, AddArrayKeepsTheArrayWholeOrClearsIt) {
  ArrayMemory manager;
  for (const long size : Sizes) {
    for (const long target : Targets) {
      const VakArrayOwner other = MakeCounting(manager, target);
      FailEachRequest(
          manager, [&] { return MakeCounting(manager, size); },
          [&](VakArrayI& array) { array.addArray(other.get()); });
    }
    FailEachRequest(
        manager, [&] { return MakeCounting(manager, size); },
        [&](VakArrayI& array) { array.addArray(&array); });
  }
}

TEST(ArrayFault, AppendingPlainMemoryKeepsTheArrayWholeOrClearsIt) {
  ArrayMemory manager;
  const std::vector<long> values(100, 3L);
  for (const long size : Sizes) {
    FailEachRequest(
        manager, [&] { return MakeCounting(manager, size); },
        [&](VakArrayI& array) { VakIntArray(&array).append(values); });
  }
}

TEST(ArrayFault, BuildingFromARangeLeavesNothingBehind) {
  ArrayMemory manager;
  const std::vector<long> values(100, 3L);
  const std::vector<int> others(100, 3);
  for (long k = 1;; ++k) {
    manager.failAt(k);
    VakIntArray array;
    try {
      array =
          k % 2 == 0 ? VakIntArray::From(&manager, values) : VakIntArray::From(&manager, others);
    } catch (const std::bad_alloc&) {
    }
    const bool failed = manager.hasFailed();
    manager.failAt(0);
    array.end();
    EXPECT_EQ(manager.getBlockCount(), 0);
    if (!failed && k > 200) break;
  }
}

TEST(ArrayFault, IntersectionLeavesNothingBehind) {
  ArrayMemory manager;
  const VakArrayOwner a = MakeCounting(manager, 40);
  const long blocks = manager.getBlockCount();
  for (long k = 1;; ++k) {
    manager.failAt(k);
    VakIntArray common;
    try {
      common = intersectOrderedIndex(&manager, VakIntArray(a.get()), VakIntArray(a.get()));
    } catch (const std::bad_alloc&) {
    }
    const bool failed = manager.hasFailed();
    manager.failAt(0);
    EXPECT_EQ(common.getImpl() == nullptr, failed);
    common.end();
    EXPECT_EQ(manager.getBlockCount(), blocks);
    if (!failed) break;
  }
}

}  // namespace

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
void expectWholeOrCleared(const VakArrayOwner& array, const std::vector<long>& before) {
  EXPECT_EQ(array->check(), "");
  if (array->_data == nullptr && !before.empty()) {
    EXPECT_EQ(array->_size, 0);
    EXPECT_EQ(array->_max, 0);
  } else {
    EXPECT_EQ(VakIntegers(array), before);
  }
}

// Whether an array can still be used after a failure.
void expectUsable(const VakArrayOwner& array) {
  std::vector<long> expected = VakIntegers(array);
  for (long i = 0; i < 70; ++i) {
    VakIntArray(array.get()).add(i);
    expected.push_back(i);
  }
  EXPECT_EQ(VakIntegers(array), expected);
  EXPECT_EQ(array->check(), "");
}

// Lets each request of `operation`, on a fresh array that `make` makes, fail in turn.
void failEachRequest(VakArrayMemory& manager, const std::function<VakArrayOwner()>& make,
                     const std::function<void(VakArrayI&)>& operation) {
  for (long k = 1;; ++k) {
    const VakArrayOwner array = make();
    const std::vector<long> before = VakIntegers(array);
    manager.failAt(k);
    try {
      operation(*array);
    } catch (const std::bad_alloc&) {
      ASSERT_TRUE(manager.hasFailed());
    }
    const bool failed = manager.hasFailed();
    manager.failAt(0);
    if (!failed) return;
    expectWholeOrCleared(array, before);
    expectUsable(array);
  }
}

TEST(ArrayFault, ConstructionLeavesNothingBehind) {
  VakArrayMemory manager;
  for (const long size : Sizes) {
    for (long k = 1;; ++k) {
      manager.failAt(k);
      VakArrayOwner array;
      try {
        array = VakMakeIntegers(manager, size);
      } catch (const std::bad_alloc&) {
      }
      manager.failAt(0);
      if (array != nullptr) break;
      EXPECT_EQ(manager.getBlockCount(), 0);
    }
  }
}

TEST(ArrayFault, CopyingLeavesNothingBehind) {
  VakArrayMemory manager;
  for (const long size : Sizes) {
    const VakArrayOwner original = VakMakeCounting(manager, size);
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
  VakArrayMemory manager;
  for (const long size : Sizes) {
    for (const long target : Targets) {
      failEachRequest(
          manager, [&] { return VakMakeCounting(manager, size); },
          [&](VakArrayI& array) { array.grow(target); });
    }
  }
}

TEST(ArrayFault, GrowAfterRemoveKeepsTheArrayWholeOrClearsIt) {
  VakArrayMemory manager;
  const auto make = [&] {
    VakArrayOwner array = VakMakeCounting(manager, 40);
    array->remove(5, 35);
    return array;
  };
  for (const long target : Targets) {
    failEachRequest(manager, make, [&](VakArrayI& array) { array.grow(target); });
  }
}

TEST(ArrayFault, GrowAfterClearLeavesAnArrayThatGrowsAgain) {
  VakArrayMemory manager;
  const auto make = [&] {
    VakArrayOwner array = VakMakeCounting(manager, 40);
    array->clear();
    return array;
  };
  for (const long target : Targets) {
    failEachRequest(manager, make, [&](VakArrayI& array) { array.grow(target); });
  }
}

TEST(ArrayFault, GrowOfTheCopyOfAClearedArrayLeavesAnArrayThatGrowsAgain) {
  VakArrayMemory manager;
  const auto make = [&] {
    const VakArrayOwner array = VakMakeCounting(manager, 40);
    array->clear();
    return VakArrayOwner(VakCreate<VakArrayI>(&manager, array.get()));
  };
  for (const long target : Targets) {
    failEachRequest(manager, make, [&](VakArrayI& array) { array.grow(target); });
  }
}

TEST(ArrayFault, GrowWithinTheCapacityGivesItsChunksBack) {
  VakArrayMemory manager;
  for (long k = 1; k <= 5; ++k) {
    const VakArrayOwner array = VakMakeCounting(manager, 17);
    const long blocks = manager.getBlockCount();
    manager.failAt(k);
    EXPECT_THROW(array->grow(64), std::bad_alloc);
    EXPECT_EQ(manager.getBlockCount(), blocks);
    EXPECT_EQ(VakCountChunks(*array), 3);
    EXPECT_EQ(array->check(), "");
  }
}

TEST(ArrayFault, AFailureBeforeAnyOldChunkIsGoneLeavesTheOldGeometry) {
  VakArrayMemory manager;
  for (long k = 1; k <= 2; ++k) {
    const VakArrayOwner array = VakMakeCounting(manager, 64);
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
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 64);
  manager.failAt(3);
  EXPECT_THROW(array->grow(65), std::bad_alloc);
  EXPECT_EQ(array->_data, nullptr);
  EXPECT_EQ(array->_size, 0);
  EXPECT_EQ(array->_max, 0);
  EXPECT_EQ(manager.getBlockCount(), 1) << "the object alone";
}

TEST(ArrayFault, AFailureAfterEverythingWasMovedKeepsElementsAndNewGeometry) {
  VakArrayMemory manager;
  const VakArrayOwner array = VakMakeCounting(manager, 64);
  manager.failAt(6);  // the table, four chunks that hold the elements, one further
  EXPECT_THROW(array->grow(100), std::bad_alloc);
  EXPECT_EQ(array->_max, 256);
  EXPECT_EQ(VakCountChunks(*array), 4);
  EXPECT_EQ(array->_size, 64);
  EXPECT_EQ(VakIntegers(array), VakIntegers(VakMakeCounting(manager, 64)));
}

TEST(ArrayFault, AddKeepsTheArrayWholeOrClearsIt) {
  VakArrayMemory manager;
  for (long size = 0; size <= 70; ++size) {
    failEachRequest(
        manager, [&] { return VakMakeCounting(manager, size); },
        [&](VakArrayI& array) { VakIntArray(&array).add(-1); });
  }
}

TEST(ArrayFault, AddArrayKeepsTheArrayWholeOrClearsIt) {
  VakArrayMemory manager;
  for (const long size : Sizes) {
    for (const long target : Targets) {
      const VakArrayOwner other = VakMakeCounting(manager, target);
      failEachRequest(
          manager, [&] { return VakMakeCounting(manager, size); },
          [&](VakArrayI& array) { array.addArray(other.get()); });
    }
    failEachRequest(
        manager, [&] { return VakMakeCounting(manager, size); },
        [&](VakArrayI& array) { array.addArray(&array); });
  }
}

TEST(ArrayFault, AppendingPlainMemoryKeepsTheArrayWholeOrClearsIt) {
  VakArrayMemory manager;
  const std::vector<long> values(100, 3L);
  for (const long size : Sizes) {
    failEachRequest(
        manager, [&] { return VakMakeCounting(manager, size); },
        [&](VakArrayI& array) { VakIntArray(&array).append(values); });
  }
}

TEST(ArrayFault, BuildingFromARangeLeavesNothingBehind) {
  VakArrayMemory manager;
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
  VakArrayMemory manager;
  const VakArrayOwner a = VakMakeCounting(manager, 40);
  const long blocks = manager.getBlockCount();
  for (long k = 1;; ++k) {
    manager.failAt(k);
    // In a function of its own: GCC 12 drops the initialisation of a handle that is assigned the
    // result of a call, also when the call throws and the handle is looked at afterwards.
    VakIntArray common = [&] {
      try {
        return intersectOrderedIndex(&manager, VakIntArray(a.get()), VakIntArray(a.get()));
      } catch (const std::bad_alloc&) {
        return VakIntArray();
      }
    }();
    const bool failed = manager.hasFailed();
    manager.failAt(0);
    EXPECT_EQ(common.getImpl() == nullptr, failed);
    common.end();
    EXPECT_EQ(manager.getBlockCount(), blocks);
    if (!failed) break;
  }
}

}  // namespace

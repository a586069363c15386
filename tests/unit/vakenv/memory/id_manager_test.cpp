#include "vakenv/memory/id_manager.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/failing_new.h"
#include "tests/support/memory_modes.h"
#include "vakbase/fault_text.h"
#include "vakbase/memory.h"

namespace {

// Addresses that stand for extractables; nobody looks into them.
VakExtractableI* Stand(VakInt i) {
  static std::vector<char> objects(2'000'000);
  return reinterpret_cast<VakExtractableI*>(objects.data() + i);
}

/// One identifier manager over a pool of either mode.
class VakIdManagerTest : public testing::TestWithParam<long> {
 public:
  VakMemory memory{GetParam()};
  VakIdManager ids{&memory};

  void book(VakInt count) {
    for (VakInt i = 0; i < count; ++i) static_cast<void>(ids.newId(Stand(i)));
  }
};
VAK_IN_BOTH_MEMORY_MODES(VakIdManagerTest);

TEST_P(VakIdManagerTest, AFreshManagerHas256SlotsAndHandsOut012) {
  EXPECT_EQ(ids._memory, &memory);
  EXPECT_EQ(ids._size, 0);
  EXPECT_EQ(ids._capacity, 256);
  EXPECT_EQ(ids.getMemoryUsage(), 256 * 8);
  for (VakInt i = 0; i < 3; ++i) {
    EXPECT_EQ(ids.newId(Stand(i)), i);
    EXPECT_EQ(ids._size, i + 1);
    EXPECT_EQ(ids._data[i], static_cast<void*>(Stand(i)));
  }
  EXPECT_EQ(ids.check(), "");
}

TEST_P(VakIdManagerTest, TheFreeListOfAFreshTableRunsUpAndEndsInItsLastSlot) {
  EXPECT_EQ(ids._free, ids._data);
  for (VakInt i = 0; i < 255; ++i) EXPECT_EQ(ids._data[i], static_cast<void*>(ids._data + i + 1));
  EXPECT_EQ(ids._data[255], static_cast<void*>(ids._data + 255));
  EXPECT_EQ(ids.check(), "");
}

TEST_P(VakIdManagerTest, FreeingFiveAndAskingAgainYieldsFive) {
  book(10);
  ids.freeId(5);
  EXPECT_EQ(ids.newId(Stand(99)), 5);
  EXPECT_EQ(ids._data[5], static_cast<void*>(Stand(99)));
}

TEST_P(VakIdManagerTest, TheLastFreedIsTheFirstHandedOut) {
  book(10);
  for (const VakInt id : {3, 7, 1}) ids.freeId(id);
  for (const VakInt id : {1, 7, 3, 10}) EXPECT_EQ(ids.newId(Stand(0)), id);
}

TEST_P(VakIdManagerTest, The256thIdentifierIs255AndMakesTheTableGrowTo512) {
  book(255);
  EXPECT_EQ(ids._capacity, 256);
  EXPECT_EQ(ids.newId(Stand(255)), 255);
  EXPECT_EQ(ids._capacity, 512);
  EXPECT_EQ(ids._size, 256);
  EXPECT_EQ(ids._free, ids._data + 256);
  EXPECT_EQ(ids.getMemoryUsage(), 512 * 8);
  for (VakInt i = 0; i < 256; ++i) EXPECT_EQ(ids._data[i], static_cast<void*>(Stand(i)));
  EXPECT_EQ(ids.newId(Stand(256)), 256);
  EXPECT_EQ(ids.check(), "");
}

TEST_P(VakIdManagerTest, GrowingGivesTheOldTableBackWithItsSize) {
  const long before = memory.getMemoryUsage();
  book(1000);
  const long oldTable = VakMemory::getElementSize(VakMemory::getIndex(256 * 8));
  const long newTable = VakMemory::getElementSize(VakMemory::getIndex(1024 * 8));
  EXPECT_EQ(memory.getMemoryUsage() - before, newTable - oldTable);
}

TEST_P(VakIdManagerTest, FreeingTheHighestLowersTheSizeByOneAndALowerOneDoesNot) {
  book(10);
  ids.freeId(4);
  EXPECT_EQ(ids._size, 10);
  ids.freeId(9);
  EXPECT_EQ(ids._size, 9);
}

TEST_P(VakIdManagerTest, FreeSlotsBelowTheHighestDoNotLowerTheSizeFurther) {
  book(10);
  ids.freeId(8);
  ids.freeId(9);
  EXPECT_EQ(ids._size, 9);
}

TEST_P(VakIdManagerTest, IdentifiersOutsideTheTableAreNotFreed) {
  book(3);
  void** free = ids._free;
  for (const VakInt id : {VakInt{-1}, VakInt{256}, VakInt{1} << 62, -(VakInt{1} << 62)}) {
    ids.freeId(id);
  }
  EXPECT_EQ(ids._free, free);
  EXPECT_EQ(ids._size, 3);
}

TEST_P(VakIdManagerTest, NullAndMinusOneAreOccupiedButNotLive) {
  EXPECT_EQ(ids.newId(nullptr), 0);
  book(1);
  ids._data[1] = VakIdManager::HiddenMark();
  EXPECT_FALSE(ids.isLink(ids._data[0]));
  EXPECT_FALSE(ids.isLive(0));
  EXPECT_FALSE(ids.isHidden(0));
  EXPECT_FALSE(ids.isLink(ids._data[1]));
  EXPECT_FALSE(ids.isLive(1));
  EXPECT_TRUE(ids.isHidden(1));
  EXPECT_TRUE(ids.isLink(ids._data[2]));
  EXPECT_FALSE(ids.isLive(2));
}

TEST_P(VakIdManagerTest, LinksAreTheAddressesFromTheFirstSlotToBeforeTheOneBehindTheLast) {
  const char* first = reinterpret_cast<const char*>(ids._data);
  const char* end = reinterpret_cast<const char*>(ids._data + ids._capacity);
  EXPECT_FALSE(ids.isLink(first - 1));
  EXPECT_TRUE(ids.isLink(first));
  EXPECT_TRUE(ids.isLink(end - 1));
  EXPECT_FALSE(ids.isLink(end));
}

TEST_P(VakIdManagerTest, IdentifiersOfTheTableAreThoseBelowTheCapacity) {
  EXPECT_TRUE(ids.isInTable(0));
  EXPECT_TRUE(ids.isInTable(255));
  EXPECT_FALSE(ids.isInTable(256));
  EXPECT_FALSE(ids.isInTable(-1));
  ids.end();
  EXPECT_FALSE(ids.isInTable(0));
}

TEST_P(VakIdManagerTest, TheIteratorStopsAtEveryOccupiedSlotAlsoAtNullAndMinusOne) {
  book(8);
  ids._data[2] = nullptr;
  ids._data[4] = VakIdManager::HiddenMark();
  ids.freeId(0);
  ids.freeId(3);
  ids.freeId(6);
  std::vector<VakInt> visited;
  VakIdManager::Iterator i(&ids);
  for (i.nextValid(); i.index < ids._size; i.nextValid()) visited.push_back(i.index);
  EXPECT_EQ(visited, (std::vector<VakInt>{1, 2, 4, 5, 7}));
  EXPECT_EQ(i.index, ids._size);
}

TEST_P(VakIdManagerTest, TheIteratorOfAnEmptyOrEndedManagerIsOverAtOnce) {
  VakIdManager::Iterator i(&ids);
  i.nextValid();
  EXPECT_EQ(i.index, 0);
  book(3);
  ids.end();
  VakIdManager::Iterator ended(&ids);
  ended.nextValid();
  EXPECT_EQ(ended.index, ids._size);
}

TEST_P(VakIdManagerTest, AfterEndNoMemoryIsUsedAndTheCountersStay) {
  const long before = memory.getMemoryUsage();
  book(300);
  ids.end();
  EXPECT_EQ(ids.getMemoryUsage(), 0);
  EXPECT_EQ(ids._size, 300);
  EXPECT_EQ(ids._capacity, 512);
  EXPECT_EQ(ids._data, nullptr);
  EXPECT_LT(memory.getMemoryUsage(), before);
  ids.end();
  EXPECT_EQ(ids.check(), "");
}

TEST_P(VakIdManagerTest, AfterEndNothingIsFreed) {
  book(3);
  ids.end();
  ids.freeId(1);
  ids.freeId(2);
  EXPECT_EQ(ids._size, 3);
  EXPECT_EQ(ids._data, nullptr);
}

TEST_P(VakIdManagerTest, AfterEndIdentifiersStartAnew) {
  book(300);
  ids.end();
  EXPECT_EQ(ids.newId(Stand(7)), 0);
  EXPECT_EQ(ids._size, 1);
  EXPECT_EQ(ids._capacity, 256);
  EXPECT_EQ(ids.getMemoryUsage(), 256 * 8);
  EXPECT_EQ(ids.check(), "");
}

// The last slot is never handed out without growing, so this takes an identifier freed unbooked.
TEST_P(VakIdManagerTest, SlotsChainedBehindTheLastSlotAreNotCarriedIntoTheGrownTable) {
  book(10);
  ids.freeId(4);
  ids.freeId(255);
  void* oldLink = ids._data[4];
  EXPECT_EQ(ids.newId(Stand(20)), 255);
  EXPECT_EQ(ids._capacity, 512);
  EXPECT_EQ(ids._size, 256);
  EXPECT_EQ(ids._data[4], oldLink);
  EXPECT_FALSE(ids.isLink(ids._data[4]));
  EXPECT_EQ(ids.newId(Stand(21)), 256);
  EXPECT_EQ(ids.check(), "");
}

TEST_P(VakIdManagerTest, CheckFindsACircleAndALinkOutOfTheTable) {
  book(4);
  ids.freeId(1);
  ids.freeId(1);
  EXPECT_EQ(ids.check(), "the free list runs in a circle through slot 1");
  ids._free = ids._data - 1;
  EXPECT_EQ(ids.check(),
            VakFaultText("the free list leaves the table at ", static_cast<void*>(ids._data - 1)));
  ids._free = reinterpret_cast<void**>(reinterpret_cast<char*>(ids._data) + 4);
  EXPECT_EQ(ids.check(), "the free list runs between two slots after slot 0");
  ids._size = 257;
  EXPECT_EQ(ids.check(), "the size 257 is outside the table of 256 slots");
}

TEST_P(VakIdManagerTest, CheckFindsSlotsThatTheFreeListMisses) {
  book(4);
  ids.freeId(1);
  ids._free = ids._data + 4;
  EXPECT_EQ(ids.check(), "free slot 1 is not in the free list");
  ids._data[1] = Stand(1);
  EXPECT_EQ(ids.check(), "");
  ids._size = 3;
  EXPECT_EQ(ids.check(), "slot 3 is in use beyond the size 3");
}

TEST_P(VakIdManagerTest, CheckFindsAFreeListThatGoesOnBehindTheLastSlot) {
  book(4);
  ids._data[255] = ids._data + 4;
  EXPECT_EQ(ids.check(), "the free list goes on behind the last slot 255");
}

TEST_P(VakIdManagerTest, AMillionAndTwoHundredThousandAreBookedCheckedAndFreed) {
  constexpr VakInt count = 1'200'000;
  for (VakInt i = 0; i < count; ++i) ASSERT_EQ(ids.newId(Stand(i)), i);
  EXPECT_EQ(ids._size, count);
  EXPECT_EQ(ids._capacity, VakInt{1} << 21);
  for (VakInt i = 0; i < count; ++i) {
    ASSERT_EQ(ids._data[i], static_cast<void*>(Stand(i)));
    ASSERT_TRUE(ids.isLive(i));
  }
  for (VakInt i = count; i-- > 0;) ids.freeId(i);
  EXPECT_EQ(ids._size, 0);
  EXPECT_EQ(ids.check(), "");
  for (VakInt i = 0; i < count; ++i) ASSERT_EQ(ids.newId(Stand(i)), i);
}

TEST_P(VakIdManagerTest, RandomBookingBehavesLikeAVectorWithAStackOfFreeOnes) {
  for (const unsigned seed : {1U, 2U, 3U, 4U}) {
    VakIdManager manager(&memory);
    std::mt19937 random(seed);
    std::vector<VakExtractableI*> slots;  // what each identifier ever booked holds; null: free
    std::vector<VakInt> freed;            // the last one goes first
    std::vector<VakInt> booked;
    VakInt size = 0;
    for (VakInt step = 0; step < 40'000; ++step) {
      const bool growing = step / 5000 % 2 == 0;
      if (booked.empty() || random() % 8 < (growing ? 6U : 3U)) {
        const VakInt expected = freed.empty() ? static_cast<VakInt>(slots.size()) : freed.back();
        if (freed.empty()) {
          slots.push_back(nullptr);
        } else {
          freed.pop_back();
        }
        ASSERT_EQ(manager.newId(Stand(step)), expected);
        slots[static_cast<std::size_t>(expected)] = Stand(step);
        booked.push_back(expected);
        size = std::max(size, expected + 1);
      } else {
        std::swap(booked[random() % booked.size()], booked.back());
        const VakInt id = booked.back();
        booked.pop_back();
        manager.freeId(id);
        slots[static_cast<std::size_t>(id)] = nullptr;
        freed.push_back(id);
        if (id == size - 1) --size;
      }
      ASSERT_EQ(manager._size, size);
    }
    for (std::size_t i = 0; i < slots.size(); ++i) {
      const auto id = static_cast<VakInt>(i);
      ASSERT_EQ(manager.isLive(id), slots[i] != nullptr);
      if (slots[i] != nullptr) {
        ASSERT_EQ(manager._data[id], static_cast<void*>(slots[i]));
      }
    }
    ASSERT_EQ(manager.check(), "");
    manager.end();
  }
}

TEST_P(VakIdManagerTest, AFailingGrowthLeavesTheManagerWhole) {
  book(255);
  void** data = ids._data;
  const long before = memory.getMemoryUsage();
  const long failures = VakFailEachNew([&] { EXPECT_EQ(ids.newId(Stand(255)), 255); },
                                       [&](const std::exception_ptr& thrown) {
                                         EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                                         EXPECT_EQ(ids._data, data);
                                         EXPECT_EQ(ids._capacity, 256);
                                         EXPECT_EQ(ids._size, 255);
                                         EXPECT_EQ(ids._free, data + 255);
                                         EXPECT_EQ(memory.getMemoryUsage(), before);
                                         EXPECT_EQ(ids.check(), "");
                                         for (VakInt i = 0; i < 255; ++i)
                                           EXPECT_EQ(data[i], static_cast<void*>(Stand(i)));
                                       });
  EXPECT_GT(failures, 0);
  EXPECT_EQ(ids._capacity, 512);
  EXPECT_EQ(ids.newId(Stand(256)), 256);
}

TEST_P(VakIdManagerTest, AFailingRestartAfterEndLeavesTheManagerEnded) {
  book(300);
  ids.end();
  VakFailEachNew([&] { EXPECT_EQ(ids.newId(Stand(0)), 0); },
                 [&](const std::exception_ptr& thrown) {
                   EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                   EXPECT_EQ(ids._data, nullptr);
                   EXPECT_EQ(ids._size, 300);
                   EXPECT_EQ(ids.getMemoryUsage(), 0);
                 });
  EXPECT_EQ(ids._size, 1);
}

TEST_P(VakIdManagerTest, AManagerThatGetsNoTableIsNotMade) {
  VakFailEachNew(
      [&] {
        VakMemory other(GetParam());
        VakIdManager manager(&other);
        EXPECT_EQ(manager._capacity, 256);
      },
      [](const std::exception_ptr& thrown) {
        EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
      });
}

}  // namespace

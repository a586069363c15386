#include "vakbase/memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "tests/support/checked_build.h"
#include "tests/support/failing_new.h"
#include "tests/support/memory_modes.h"
#include "vakbase/slab_cache.h"

namespace {

constexpr unsigned long LargestUnsigned = std::numeric_limits<unsigned long>::max();

/// The tests that hold with pooling (1) and without (0).
class VakMemoryModes : public testing::TestWithParam<long> {
 protected:
  VakMemoryModes() : _memory(GetParam()) {}

  VakMemory _memory;
};

VAK_IN_BOTH_MEMORY_MODES(VakMemoryModes);

TEST(VakMemory, ServesSmallSizesInStepsOfAWord) {
  for (long size = 1; size <= 128; ++size) {
    EXPECT_EQ(VakMemory::getElementSize(VakMemory::getIndex(size)), (size + 7) / 8 * 8) << size;
  }
}

TEST(VakMemory, ServesASizeOf0WithTheSmallestClass) { EXPECT_EQ(VakMemory::getIndex(0), 0); }

TEST(VakMemory, Serves24BytesWithElementsOfExactly24) {
  EXPECT_EQ(VakMemory::getElementSize(VakMemory::getIndex(24)), 24);
}

TEST(VakMemory, ServesTheSizesAroundEveryClassBoundaryWithTheSmallestClassThatHoldsThem) {
  for (long index = 0; index < VakMemory::ClassCount; ++index) {
    const long size = VakMemory::getElementSize(index);
    EXPECT_EQ(VakMemory::getIndex(size - 1), index);
    EXPECT_EQ(VakMemory::getIndex(size), index);
    if (index + 1 < VakMemory::ClassCount) {
      EXPECT_EQ(VakMemory::getIndex(size + 1), index + 1);
    }
  }
}

TEST(VakMemory, HasFourClassesToADoublingAboveTheSmallOnes) {
  EXPECT_EQ(VakMemory::getElementSize(VakMemory::getIndex(129)), 160);
  EXPECT_EQ(VakMemory::getElementSize(VakMemory::getIndex(161)), 192);
  EXPECT_EQ(VakMemory::getElementSize(VakMemory::getIndex(193)), 224);
  EXPECT_EQ(VakMemory::getElementSize(VakMemory::getIndex(225)), 256);
  for (long size = 128; size < VakMemory::LargestSize; size *= 2) {
    EXPECT_EQ(VakMemory::getIndex(2 * size), VakMemory::getIndex(size) + 4) << size;
    EXPECT_EQ(VakMemory::getElementSize(VakMemory::getIndex(size)), size);
  }
}

TEST(VakMemory, AlignsTheSizesOfClassesAboveTheSmallOnesTo16) {
  for (long index = VakSizeClasses::SmallCount; index < VakMemory::ClassCount; ++index) {
    EXPECT_EQ(VakMemory::getElementSize(index) % 16, 0) << index;
  }
}

TEST(VakMemory, ServesUpToTwoToThe47InItsLastClass) {
  EXPECT_EQ(VakMemory::getIndex(1L << 47), VakMemory::ClassCount - 1);
  EXPECT_EQ(VakMemory::getElementSize(VakMemory::ClassCount - 1), 1L << 47);
}

TEST(VakMemory, ThrowsForTheIndexOfANegativeOrTooLargeSize) {
  EXPECT_THROW(VakMemory::getIndex((1L << 47) + 1), std::bad_alloc);
  EXPECT_THROW(VakMemory::getIndex(std::numeric_limits<long>::max()), std::bad_alloc);
  EXPECT_THROW(VakMemory::getIndex(-1), std::bad_alloc);
  EXPECT_THROW(VakMemory::getIndex(std::numeric_limits<long>::min()), std::bad_alloc);
}

TEST(VakMemory, FindsTheIndexOfAConstantAtCompileTime) {
  static_assert(VakMemory::getIndex(48) == 5);
  static_assert(VakMemory::getIndex(4096) == VakMemory::getIndex(4095));
}

TEST(VakMemory, AsksTheHeapForNothingUntilSomethingIsTaken) {
  const VakFailingNew counting(0);
  for (long mode : {0L, 1L}) {
    VakMemory memory(mode);
    EXPECT_EQ(memory.allocate(0), nullptr);
    EXPECT_EQ(memory.getTotalMemoryUsage(), 0);
  }
  EXPECT_EQ(counting.count(), 0);
}

TEST_P(VakMemoryModes, LeadsFromEveryIndexToAnAllocatorOfThatElementSizeAndMode) {
  for (long index = 0; index < VakMemory::ClassCount; ++index) {
    EXPECT_EQ(_memory._allocators[index]->_elementSize, VakMemory::getElementSize(index));
    EXPECT_EQ(_memory._allocators[index]->_pooled, GetParam());
  }
}

TEST_P(VakMemoryModes, GivesNullForASizeOf0WithoutTouchingAnything) {
  EXPECT_EQ(_memory.allocate(0), nullptr);
  EXPECT_EQ(_memory.getMemoryUsage(), 0);
  EXPECT_EQ(_memory.getTotalMemoryUsage(), 0);
}

TEST_P(VakMemoryModes, CountsTheElementSizeOfTheClassAsInUse) {
  for (long index = 0; index < VakMemory::getIndex(100'000); ++index) {
    const long size = VakMemory::getElementSize(index);
    const auto asked = static_cast<unsigned long>(size - 1);
    void* element = _memory.allocate(asked);
    EXPECT_EQ(_memory.getMemoryUsage(), size);
    EXPECT_EQ(_memory._allocators[index]->_bytesInUse, size);
    EXPECT_EQ(_memory._allocators[index]->_bytesObtained, GetParam() != 0 ? 0 : size);
    EXPECT_GE(_memory.getTotalMemoryUsage(), _memory.getMemoryUsage());
    _memory.deallocate(element, asked);
    EXPECT_EQ(_memory.getMemoryUsage(), 0);
    EXPECT_EQ(_memory._allocators[index]->_bytesObtained, 0);
  }
  EXPECT_EQ(_memory.check(), "");
}

TEST_P(VakMemoryModes, AlignsElementsTo16WhereTheirSizeIsAMultipleAndTo8Elsewhere) {
  for (long index = 0; index < VakMemory::getIndex(70'000); ++index) {
    const long size = VakMemory::getElementSize(index);
    for (int i = 0; i < 40; ++i) {
      const void* element = _memory.allocate(static_cast<unsigned long>(size));
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(element) % (size % 16 == 0 ? 16 : 8), 0u) << size;
    }
  }
}

TEST_P(VakMemoryModes, ThrowsForSizesThatNoClassServesAndChangesNothing) {
  void* element = _memory.allocate(24);
  const long usage = _memory.getMemoryUsage();
  const long total = _memory.getTotalMemoryUsage();
  for (unsigned long size : {1UL << 60, LargestUnsigned, (1UL << 47) + 1, 1UL << 63}) {
    EXPECT_THROW(static_cast<void>(_memory.allocate(size)), std::bad_alloc) << size;
    EXPECT_EQ(_memory.getMemoryUsage(), usage);
    EXPECT_EQ(_memory.getTotalMemoryUsage(), total);
    EXPECT_EQ(_memory.check(), "");
  }
  _memory.deallocate(element, 24);
}

TEST_P(VakMemoryModes, ReleasesEverythingThatIsOutstandingWhenItEnds) {
  VakSetSlabCacheLimit(0);
  const long blocks = VakFailingNew::CountBlocks();
  {
    VakMemory memory(GetParam());
    for (unsigned long size = 1; size < 200'000; size += 777) {
      static_cast<void>(memory.allocate(size));
      memory.deallocate(memory.allocate(size), size);
    }
    EXPECT_GT(VakFailingNew::CountBlocks(), blocks);
  }
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

TEST_P(VakMemoryModes, KeepsATotalThatNeverLiesBelowTheUsage) {
  std::vector<std::pair<void*, unsigned long>> taken;
  unsigned long random = 1;
  for (int turn = 0; turn < 20'000; ++turn) {
    random = random * 6364136223846793005UL + 1442695040888963407UL;
    if (random >> 63 != 0 && !taken.empty()) {
      std::swap(taken[(random >> 32) % taken.size()], taken.back());
      _memory.deallocate(taken.back().first, taken.back().second);
      taken.pop_back();
    } else {
      const unsigned long size = 1 + (random >> 33) % (1UL << (1 + (random >> 40) % 16));
      taken.emplace_back(_memory.allocate(size), size);
    }
    ASSERT_GE(_memory.getTotalMemoryUsage(), _memory.getMemoryUsage());
  }
  EXPECT_EQ(_memory.check(), "");
  for (const auto& [element, size] : taken) _memory.deallocate(element, size);
  EXPECT_EQ(_memory.getMemoryUsage(), 0);
  EXPECT_EQ(_memory.check(), "");
}

TEST(VakMemory, ServesTheElementThatWasGivenBackLast) {
  VAK_SKIP_IN_CHECKED_BUILD("it refuses another size of the same class");
  VakMemory memory(1);
  void* first = memory.allocate(48);
  void* second = memory.allocate(48);
  memory.deallocate(first, 48);
  memory.deallocate(second, 41);
  EXPECT_EQ(memory.allocate(44), second);
  EXPECT_EQ(memory.allocate(48), first);
}

// Up to 4 KiB for small elements, up to 16 KiB for large ones, and for those between to 32
// elements.
TEST(VakMemory, DoublesTheBlocksOfAClassUpToABound) {
  VAK_SKIP_IN_CHECKED_BUILD("blocks hold fewer elements there, each with a guard");
  const struct {
    long size;
    long largest;
  } classes[] = {{64, 4 * 1024}, {128, 4 * 1024}, {256, 8 * 1024}, {512, 16 * 1024}};
  for (const auto& [size, largest] : classes) {
    VakMemory memory(1);
    std::vector<long> counts;
    for (int block = 0; block < 13; ++block) counts.push_back(memory.obtainBlock(size).count);
    // A block that meets the end of its slab is cut short there, so only the bound holds for each.
    EXPECT_EQ(counts.front(), std::max(256 / size, 1L));
    EXPECT_EQ(*std::max_element(counts.begin(), counts.end()), largest / size);
    for (int block = 0; block < 13; ++block) {
      EXPECT_GE(counts[static_cast<unsigned>(block)], 1);
      EXPECT_LE(counts[static_cast<unsigned>(block)],
                std::max(std::min(256L << block, largest) / size, 1L));
    }
  }
}

TEST(VakMemory, GrowsTheBlocksOfEachClassByItself) {
  VAK_SKIP_IN_CHECKED_BUILD("blocks hold fewer elements there, each with a guard");
  for (long size = 16; size <= 128; size += 8) {
    VakMemory memory(1);
    static_cast<void>(memory.obtainBlock(size - 8));
    static_cast<void>(memory.obtainBlock(size - 8));
    EXPECT_EQ(memory.obtainBlock(size).count, 256 / size) << size;
  }
}

TEST(VakMemory, LetsAnAllocatorOfItsOwnAndTheClassOfThatSizeShareTheGrowthOfBlocks) {
  VAK_SKIP_IN_CHECKED_BUILD("blocks hold fewer elements there, each with a guard");
  VakMemory memory(1);
  VakFixedSizeAllocatorI allocator(24);
  static_cast<void>(memory.allocate(24));
  static_cast<void>(allocator.allocateBlock(&memory));
  EXPECT_EQ(memory.obtainBlock(24).count, 1024 / 24);
}

TEST(VakMemory, StaysSmallWithAHandfulOfElementsOfEverySmallClass) {
  VAK_SKIP_IN_CHECKED_BUILD("guards take memory, too");
  VakMemory memory(1);
  for (unsigned long size = 8; size <= 128; size += 8) {
    for (int i = 0; i < 5; ++i) static_cast<void>(memory.allocate(size));
  }
  EXPECT_LE(memory.getTotalMemoryUsage(), 16 * 1024);
}

TEST(VakMemory, ObtainsNeitherFarMoreThanTwiceWhatIsInUseNorASlabMore) {
  VAK_SKIP_IN_CHECKED_BUILD("guards take memory, too");
  for (unsigned long size : {8UL, 24UL, 48UL, 136UL, 1000UL, 5000UL, 20'000UL}) {
    VakMemory memory(1);
    for (int i = 0; i < 100'000 && memory.getMemoryUsage() < 50'000'000; ++i) {
      static_cast<void>(memory.allocate(size));
      const long usage = memory.getMemoryUsage();
      if (usage < 10'000) continue;
      ASSERT_LE(memory.getTotalMemoryUsage(), 5 * usage / 2) << size;
      ASSERT_LE(memory.getTotalMemoryUsage(), 108 * usage / 100 + (4L << 20)) << size;
    }
  }
}

TEST(VakMemory, TakesLargeElementsFromTheHeapOneByOne) {
  VakMemory memory(1);
  // A slab that would hold several of them.
  for (int i = 0; i < 100'000; ++i) static_cast<void>(memory.allocate(8));
  const VakFailingNew counting(0);
  for (unsigned long size : {32UL * 1024, 100'000UL, 1UL << 20}) {
    const long before = counting.count();
    const long total = memory.getTotalMemoryUsage();
    static_cast<void>(memory.allocate(size));
    EXPECT_EQ(counting.count(), before + 1);
    EXPECT_LE(
        memory.getTotalMemoryUsage(),
        total + VakMemory::getElementSize(VakMemory::getIndex(static_cast<long>(size))) + 128);
  }
}

TEST(VakMemory, KeepsLargeElementsForItsClassWhenTheyAreGivenBack) {
  VakMemory memory(1);
  void* element = memory.allocate(1'000'000);
  memory.deallocate(element, 1'000'000);
  const long total = memory.getTotalMemoryUsage();
  EXPECT_EQ(memory.allocate(1'000'000), element);
  EXPECT_EQ(memory.getTotalMemoryUsage(), total);
}

TEST(VakMemory, SeldomAsksTheHeapForSmallElements) {
  VakMemory memory(1);
  const VakFailingNew counting(0);
  for (int i = 0; i < 1'000'000; ++i) static_cast<void>(memory.allocate(48));
  EXPECT_LE(counting.count(), 25);
}

TEST(VakMemory, UsesMemoryAgainInsteadOfObtainingMore) {
  VakMemory memory(1);
  std::vector<void*> elements;
  long total = 0;
  for (int turn = 0; turn < 5; ++turn) {
    for (int i = 0; i < 10'000; ++i) elements.push_back(memory.allocate(56));
    if (turn == 0) total = memory.getTotalMemoryUsage();
    for (void* element : elements) memory.deallocate(element, 56);
    elements.clear();
  }
  EXPECT_EQ(memory.getTotalMemoryUsage(), total);
  EXPECT_EQ(memory.check(), "");
}

TEST(VakMemory, GivesEveryElementAHeapBlockOfItsOwnWithoutPooling) {
  VakMemory memory(0);
  memory.deallocate(memory.allocate(48), 48);  // The list of the class is made once.
  const long blocks = VakFailingNew::CountBlocks();
  void* first = memory.allocate(48);
  void* second = memory.allocate(48);
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks + 2);
  memory.deallocate(first, 48);
  memory.deallocate(second, 48);
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

}  // namespace

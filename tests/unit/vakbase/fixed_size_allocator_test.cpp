#include "vakbase/fixed_size_allocator.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <vector>

#include "tests/support/failing_new.h"
#include "tests/support/memory_modes.h"
#include "vakbase/memory.h"

namespace {

long countFree(const VakFixedSizeAllocatorI& allocator) {
  long count = 0;
  for (const void* element = allocator._free; element != nullptr; ++count) {
    VakUnpoison(element, sizeof(void*));
    const void* next = VakFixedSizeAllocatorI::LoadLink(element);
    VakPoison(element, sizeof(void*));
    element = next;
  }
  return count;
}

/// The tests that hold with pooling (1) and without (0).
class VakFixedSizeAllocatorModes : public testing::TestWithParam<long> {
 protected:
  VakFixedSizeAllocatorModes() : _memory(GetParam()) { _terms._pooled = GetParam(); }

  VakFixedSizeAllocatorI& wordsOf24() { return *_memory._allocators[VakMemory::getIndex(24)]; }
  void expectConsistent() { EXPECT_EQ(_memory.check({&_terms}), ""); }
  [[nodiscard]] long usage() const { return _memory.getMemoryUsage() + _terms._bytesInUse; }
  [[nodiscard]] long total() const { return _memory.getTotalMemoryUsage() + _terms._bytesObtained; }

  VakMemory _memory;
  VakFixedSizeAllocatorI _terms{24};
};

VAK_IN_BOTH_MEMORY_MODES(VakFixedSizeAllocatorModes);

TEST(VakFixedSizeAllocator, HasItsSixWordsInTheirOrder) {
  EXPECT_EQ(offsetof(VakFixedSizeAllocatorI, _pooled), 0u);
  EXPECT_EQ(offsetof(VakFixedSizeAllocatorI, _elementSize), 8u);
  EXPECT_EQ(offsetof(VakFixedSizeAllocatorI, _free), 16u);
  EXPECT_EQ(offsetof(VakFixedSizeAllocatorI, _bytesInUse), 24u);
  EXPECT_EQ(offsetof(VakFixedSizeAllocatorI, _bytesObtained), 32u);
  EXPECT_EQ(offsetof(VakFixedSizeAllocatorI, _list), 40u);
  EXPECT_EQ(sizeof(VakFixedSizeAllocatorI), 48u);
}

TEST(VakFixedSizeAllocator, IsPooledAndEmptyWhenMade) {
  const VakFixedSizeAllocatorI allocator(24);
  EXPECT_EQ(allocator._pooled, 1);
  EXPECT_EQ(allocator._elementSize, 24);
  EXPECT_EQ(allocator._free, nullptr);
  EXPECT_EQ(allocator._bytesInUse, 0);
  EXPECT_EQ(allocator._bytesObtained, 0);
  EXPECT_EQ(allocator._list, nullptr);
}

TEST(VakFixedSizeAllocator, RoundsItsElementSizeUpToWholeWords) {
  EXPECT_EQ(VakFixedSizeAllocatorI(0)._elementSize, 8);
  EXPECT_EQ(VakFixedSizeAllocatorI(1)._elementSize, 8);
  EXPECT_EQ(VakFixedSizeAllocatorI(8)._elementSize, 8);
  EXPECT_EQ(VakFixedSizeAllocatorI(9)._elementSize, 16);
  EXPECT_EQ(VakFixedSizeAllocatorI(20)._elementSize, 24);
}

TEST(VakFixedSizeAllocator, LinksAllElementsOfABlockButTheFirstInTheOrderOfAddresses) {
  VakMemory memory(1);
  VakFixedSizeAllocatorI allocator(24);
  auto* element = static_cast<char*>(allocator.allocateBlock(&memory));
  const long linked = countFree(allocator);
  EXPECT_GT(linked, 0);
  constexpr long stride = 24 + VakGuardBytes;
  for (long i = 1; i <= linked; ++i) EXPECT_EQ(allocator.allocate(&memory), element + i * stride);
  EXPECT_EQ(allocator._free, nullptr);
}

TEST(VakFixedSizeAllocator, CountsNothingForABlock) {
  VakMemory memory(1);
  VakFixedSizeAllocatorI allocator(24);
  static_cast<void>(allocator.allocateBlock(&memory));
  EXPECT_EQ(allocator._bytesInUse, 0);
  EXPECT_EQ(allocator._bytesObtained, 0);
  EXPECT_EQ(memory.getMemoryUsage(), 0);
}

TEST(VakFixedSizeAllocator, KeepsFreeElementsBehindThoseOfANewBlock) {
  VakMemory memory(1);
  VakFixedSizeAllocatorI allocator(24);
  static_cast<void>(allocator.allocate(&memory));
  const void* oldHead = allocator._free;
  const long oldCount = countFree(allocator);
  static_cast<void>(allocator.allocateBlock(&memory));
  EXPECT_EQ(memory.check({&allocator}), "");
  const long newCount = countFree(allocator) - oldCount;
  EXPECT_GT(newCount, 0);
  for (long i = 0; i < newCount; ++i) static_cast<void>(allocator.allocate(&memory));
  EXPECT_EQ(allocator._free, oldHead);
}

TEST(VakFixedSizeAllocator, TakesElementsOfNoClassFromTheBlocksOfThePool) {
  VakMemory memory(1);
  VakFixedSizeAllocatorI allocator(136);
  for (int i = 0; i < 1000; ++i) std::memset(allocator.allocate(&memory), 1, 136);
  EXPECT_EQ(memory.check({&allocator}), "");
}

TEST(VakFixedSizeAllocator, ThrowsForElementsThatNoClassServes) {
  VakMemory memory(1);
  VakFixedSizeAllocatorI allocator(VakMemory::LargestSize + 8);
  EXPECT_THROW(static_cast<void>(allocator.allocate(&memory)), std::bad_alloc);
  EXPECT_EQ(allocator._bytesInUse, 0);
}

TEST(VakFixedSizeAllocator, MakesItsListForTheFirstElementThatIsNotPooled) {
  VakMemory memory(0);
  VakFixedSizeAllocatorI allocator(24);
  allocator._pooled = 0;
  void* element = allocator.allocate(&memory);
  ASSERT_NE(allocator._list, nullptr);
  EXPECT_EQ(allocator._list->countElements(), 1);
  allocator.deallocate(element);
  EXPECT_EQ(allocator._list->countElements(), 0);
}

TEST(VakFixedSizeAllocator, UsesAListThatItWasGiven) {
  VakMemory memory(0);
  VakFixedSizeAllocatorI allocator(24);
  allocator._pooled = 0;
  auto* list = new VakAllocationList();
  allocator._list = list;
  static_cast<void>(allocator.allocate(&memory));
  EXPECT_EQ(allocator._list, list);
  EXPECT_EQ(list->countElements(), 1);
}

TEST(VakFixedSizeAllocator, ReleasesItsListWithOutstandingElements) {
  VakMemory memory(0);
  const long blocks = VakFailingNew::CountBlocks();
  {
    VakFixedSizeAllocatorI allocator(24);
    allocator._pooled = 0;
    static_cast<void>(allocator.allocate(&memory));
    static_cast<void>(allocator.allocate(&memory));
    EXPECT_EQ(VakFailingNew::CountBlocks(), blocks + 3);
  }
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

TEST(VakFixedSizeAllocator, LeavesItsPooledElementsToThePoolWhenItEnds) {
  VakMemory memory(1);
  void* element;
  {
    VakFixedSizeAllocatorI allocator(24);
    element = allocator.allocate(&memory);
  }
  std::memset(element, 1, 24);
  memory.deallocate(element, 24);
  EXPECT_EQ(memory.allocate(24), element);
}

TEST_P(VakFixedSizeAllocatorModes, CountsAnElementUntilItIsGivenBack) {
  void* first = _terms.allocate(&_memory);
  EXPECT_EQ(_terms._bytesInUse, 24);
  EXPECT_EQ(_terms._bytesObtained, GetParam() != 0 ? 0 : 24);
  void* second = _terms.allocate(&_memory);
  EXPECT_EQ(_terms._bytesInUse, 48);
  EXPECT_GE(total(), usage());
  _terms.deallocate(first);
  _terms.deallocate(second);
  EXPECT_EQ(_terms._bytesInUse, 0);
  EXPECT_EQ(_terms._bytesObtained, 0);
  expectConsistent();
}

TEST_P(VakFixedSizeAllocatorModes, GivesBackToThePoolWhatWasTakenHere) {
  void* kept = _terms.allocate(&_memory);
  void* element = _terms.allocate(&_memory);
  _memory.deallocate(element, 24);
  EXPECT_EQ(usage(), 24);
  EXPECT_GE(total(), usage());
  expectConsistent();
  std::memset(kept, 1, 24);
  std::memset(_memory.allocate(24), 2, 24);
  EXPECT_EQ(usage(), 48);
  expectConsistent();
}

TEST_P(VakFixedSizeAllocatorModes, TakesBackWhatCameFromThePool) {
  void* kept = _memory.allocate(24);
  void* element = _memory.allocate(24);
  _terms.deallocate(element);
  EXPECT_EQ(usage(), 24);
  EXPECT_GE(total(), usage());
  expectConsistent();
  std::memset(kept, 1, 24);
  std::memset(_terms.allocate(&_memory), 2, 24);
  EXPECT_EQ(usage(), 48);
  expectConsistent();
}

TEST_P(VakFixedSizeAllocatorModes, MixesWithThePoolInLongRunsBothWays) {
  std::vector<void*> fromTerms;
  std::vector<void*> fromPool;
  for (int turn = 0; turn < 3; ++turn) {
    for (int i = 0; i < 2000; ++i) {
      fromTerms.push_back(std::memset(_terms.allocate(&_memory), 1, 24));
      fromPool.push_back(std::memset(_memory.allocate(24), 2, 24));
    }
    EXPECT_EQ(usage(), 4000 * 24);
    EXPECT_GE(total(), usage());
    for (void* element : fromTerms) _memory.deallocate(element, 24);
    for (void* element : fromPool) _terms.deallocate(element);
    fromTerms.clear();
    fromPool.clear();
    EXPECT_EQ(usage(), 0);
    EXPECT_GE(total(), usage());
    expectConsistent();
  }
  EXPECT_EQ(wordsOf24()._bytesInUse + _terms._bytesInUse, 0);
}

TEST_P(VakFixedSizeAllocatorModes, MayEndWhileElementsOfThePoolsClassLive) {
  void* element = _memory.allocate(24);
  {
    VakFixedSizeAllocatorI other(24);
    other._pooled = GetParam();
    static_cast<void>(other.allocate(&_memory));
  }
  std::memset(element, 1, 24);
  _memory.deallocate(element, 24);
  EXPECT_EQ(usage(), 0);
  expectConsistent();
}

TEST(VakFixedSizeAllocator, HandsOutTheElementThatWasGivenBackLast) {
  VakMemory memory(1);
  VakFixedSizeAllocatorI allocator(24);
  void* first = allocator.allocate(&memory);
  static_cast<void>(allocator.allocate(&memory));
  allocator.deallocate(first);
  EXPECT_EQ(allocator.allocate(&memory), first);
}

}  // namespace

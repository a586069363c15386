// The proof of the pool's invariants has to find what is broken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "vakbase/fault_text.h"
#include "vakbase/memory.h"
#include "vakbase/memory_inspection.h"

namespace {

/// Overwrites the link of a free element.
void setLink(void* element, void* next) {
  VakUnpoison(element, sizeof(void*));
  VakFixedSizeAllocatorI::StoreLink(element, next);
  VakPoison(element, sizeof(void*));
}

const void* at(const void* p) { return p; }

class VakMemoryCheckTest : public testing::Test {
 protected:
  VakMemoryCheckTest() {
    _kept = _memory.allocate(24);
    _free = static_cast<char*>(_words._free);
  }

  VakMemory _memory{1};
  VakFixedSizeAllocatorI& _words = *_memory._allocators[VakMemory::getIndex(24)];
  void* _kept;
  char* _free;  ///< The first free element of 24 bytes.

  static constexpr long Stride = 24 + VakGuardBytes;  ///< From one of them to the next.
};

TEST_F(VakMemoryCheckTest, FindsNothingInAnIntactPool) { EXPECT_EQ(_memory.check(), ""); }

TEST_F(VakMemoryCheckTest, FindsACircle) {
  setLink(_free + Stride, _free);
  EXPECT_THAT(_memory.check(),
              testing::StartsWith("24-byte elements: the free list runs in a circle through 0x"));
}

TEST_F(VakMemoryCheckTest, FindsAFreeListThatLeavesThePool) {
  long outside[3];
  setLink(_free, outside);
  EXPECT_EQ(_memory.check(),
            VakFaultText("24-byte elements: the free list leaves the pool at ", at(outside)));
}

TEST_F(VakMemoryCheckTest, FindsAnElementThatIsNotAligned) {
  _words._free = _free + 4;
  EXPECT_EQ(_memory.check(),
            VakFaultText("24-byte elements: free element ", at(_free + 4), " is not aligned"));
}

TEST_F(VakMemoryCheckTest, FindsAnElementInTwoFreeLists) {
  VakFixedSizeAllocatorI other(24);
  other._free = _free;
  EXPECT_EQ(_memory.check({&other}), VakFaultText("free elements overlap at ", at(_free)));
  other._free = nullptr;
}

TEST_F(VakMemoryCheckTest, FindsAFreeElementInWhatIsLeftOfTheSlab) {
  const VakMemory::Block last = _memory.obtainBlock(512);
  VakFixedSizeAllocatorI other(24);
  // Elements behind the end of the last block were never handed out.
  constexpr long blockBytes = (512 + VakGuardBytes + 63) / 64 * 64;
  other._free = static_cast<char*>(last.start) + blockBytes;
  setLink(other._free, nullptr);
  EXPECT_EQ(_memory.check({&other}), VakFaultText("free elements overlap at ", at(other._free)));
  other._free = nullptr;
}

TEST_F(VakMemoryCheckTest, FindsAFreeListWithoutPooling) {
  _words._pooled = 0;
  EXPECT_EQ(_memory.check(), "24-byte elements: there is a free list without pooling");
}

TEST_F(VakMemoryCheckTest, FindsACountThatIsNotOneOfWholeElements) {
  _words._bytesInUse = 25;
  EXPECT_EQ(_memory.check(),
            "24-byte elements: a count of bytes, 25 in use or 0 obtained, is not one of whole "
            "elements");
  _words._bytesInUse = 24;
  _words._bytesObtained = 1;
  EXPECT_EQ(_memory.check(),
            "24-byte elements: a count of bytes, 24 in use or 1 obtained, is not one of whole "
            "elements");
}

TEST_F(VakMemoryCheckTest, FindsAnElementSizeThatIsNotOfWholeWords) {
  VakFixedSizeAllocatorI other(24);
  other._elementSize = 20;
  EXPECT_EQ(_memory.check({&other}), "20-byte elements: the size is not one of whole words");
}

TEST_F(VakMemoryCheckTest, FindsAWrongElementSize) {
  _words._elementSize = 32;
  EXPECT_EQ(_memory.check(), "class 2 has elements of 32 bytes instead of 24");
}

TEST_F(VakMemoryCheckTest, FindsAnIndexThatLeadsToAnotherClass) {
  _memory._allocators[3] = _memory._allocators[4];
  EXPECT_EQ(_memory.check(), "index 3 leads to another class");
}

TEST_F(VakMemoryCheckTest, FindsAFreeListThatWasCutOff) {
  setLink(_free + Stride, nullptr);
  const std::string all = std::to_string(_memory.getGrowth(2)._elements);
  EXPECT_EQ(_memory.check(),
            "24-byte elements: 1 in use and 2 free are not the " + all + " of its blocks");
}

TEST_F(VakMemoryCheckTest, FindsAnElementThatWasNotCounted) {
  _words._bytesInUse = 0;
  const long all = _memory.getGrowth(2)._elements;
  EXPECT_EQ(_memory.check(), VakFaultText("24-byte elements: 0 in use and ", all - 1,
                                          " free are not the ", all, " of its blocks"));
}

TEST_F(VakMemoryCheckTest, ProvesTheFreeListOfTheCompanionToo) {
  VakFixedSizeAllocatorI companion(24);
  _memory.countFor(&companion);
  for (int i = 0; i < 100; ++i) static_cast<void>(companion.allocate(&_memory));
  EXPECT_EQ(_memory.check({&companion}), "");
  const long all = _memory.getCompanionGrowth()._elements;
  companion._free = nullptr;
  EXPECT_EQ(
      _memory.check({&companion}),
      VakFaultText("24-byte elements: 100 in use and 0 free are not the ", all, " of its blocks"));
}

TEST_F(VakMemoryCheckTest, AcceptsElementsThatCameFromOneAllocatorAndWentToAnother) {
  VakFixedSizeAllocatorI companion(24);
  _memory.countFor(&companion);
  VakFixedSizeAllocatorI stranger(24);
  companion.deallocate(_kept);
  _words.deallocate(stranger.allocate(&_memory));
  stranger.deallocate(companion.allocate(&_memory));
  EXPECT_EQ(_memory.check({&companion}), "");
}

TEST_F(VakMemoryCheckTest, KnowsFreeMemory) {
  const long outside = 0;
  const VakMemoryInspection pool(_memory);
  EXPECT_TRUE(pool.isFree(_free));
  EXPECT_TRUE(pool.isFree(_free + 23));
  EXPECT_TRUE(pool.isFree(_memory.obtainBlock(512).start)) << "what is left of the slab";
  EXPECT_FALSE(pool.isFree(_kept));
  EXPECT_FALSE(pool.isFree(static_cast<char*>(_kept) + 23));
  EXPECT_FALSE(pool.isFree(&outside));
  EXPECT_FALSE(pool.isFree(nullptr));
}

/// The number of bytes in the header of the region whose first element is given, as it would be hit
/// by a program that writes in front of the element. The pool keeps its newest region privately,
/// and each region begins with the address of the one before it and its bytes. Elements start at
/// the next multiple of 64 bytes behind that; what lies between is not written and not read here.
long* findRegionBytes(const VakMemory& memory, void* newest, void* element) {
  const auto beginsWith = [](char* region, void* first) {
    const auto distance = static_cast<char*>(first) - region;
    return distance >= 16 && distance < 16 + 64;
  };
  auto* word = reinterpret_cast<char* const*>(&memory);
  const auto* const end = word + sizeof(memory) / sizeof(char*);
  while (word != end && !beginsWith(*word, newest)) ++word;
  if (word == end) return nullptr;
  char* region = *word;
  while (!beginsWith(region, element)) region = *reinterpret_cast<char**>(region);
  return reinterpret_cast<long*>(region) + 1;
}

TEST(VakMemoryCheckOfRegions, FindsRegionsThatAreNotTheBytesObtained) {
  VakMemory memory(1);
  void* element = memory.allocate(1 << 20);
  const long bytes = memory.getTotalMemoryUsage();
  long* header = findRegionBytes(memory, element, element);
  ASSERT_NE(header, nullptr);
  ASSERT_EQ(*header, bytes);
  *header = bytes - 64;
  EXPECT_EQ(memory.check(),
            VakFaultText("the regions have ", bytes - 64, " bytes of the ", bytes, " obtained"));
  *header = bytes + 64;
  EXPECT_EQ(memory.check(), VakFaultText("the regions exceed the ", bytes,
                                         " bytes obtained at region ", at(header - 1)));
  *header = bytes;
  EXPECT_EQ(memory.check(), "");
}

TEST(VakMemoryCheckOfRegions, FindsASlabThatReachesBehindItsRegion) {
  VakMemory memory(1);
  void* large = memory.allocate(1 << 20);
  const long largeBytes = memory.getTotalMemoryUsage();
  const VakMemory::Block small = memory.obtainBlock(24);
  const long slabBytes = memory.getTotalMemoryUsage() - largeBytes;
  long* largeHeader = findRegionBytes(memory, small.start, large);
  long* slabHeader = findRegionBytes(memory, small.start, small.start);
  ASSERT_NE(slabHeader, nullptr);
  ASSERT_EQ(*largeHeader, largeBytes);
  ASSERT_EQ(*slabHeader, slabBytes);
  *largeHeader += slabBytes / 2;
  *slabHeader -= slabBytes / 2;
  EXPECT_THAT(memory.check(), testing::MatchesRegex("what is left of the slab, from 0x[0-9a-f]+ "
                                                    "on, is no part of a region"));
  *largeHeader = largeBytes;
  *slabHeader = slabBytes;
  EXPECT_EQ(memory.check(), "");
}

TEST(VakMemoryCheckOfRegions, FindsASlabThatIsCarvedBeyondItsEnd) {
  VakMemory memory(1);
  const VakMemory::Block block = memory.obtainBlock(256);
  constexpr long blockBytes = (256 + VakGuardBytes + 63) / 64 * 64;
  // The pool keeps privately where it carves next: behind the block it handed out last.
  char* const carved = static_cast<char*>(block.start) + blockBytes;
  auto** const words = reinterpret_cast<char**>(&memory);
  char** const cursor = std::find(words, words + sizeof(memory) / sizeof(char*), carved);
  ASSERT_NE(cursor, words + sizeof(memory) / sizeof(char*));
  *cursor += 1L << 40;
  EXPECT_EQ(memory.check(), "the slab is carved beyond its end");
  *cursor = carved;
  EXPECT_EQ(memory.check(), "");
}

TEST(VakMemoryCheckOfLists, FindsMoreBytesInUseThanObtained) {
  VakMemory memory(0);
  memory._allocators[2]->_bytesInUse = 48;
  EXPECT_EQ(memory.check(), "48 bytes are in use of 0 obtained");
}

TEST(VakMemoryCheckOfLists, FindsAnElementThatIsNotInItsList) {
  VakMemory memory(0);
  static_cast<void>(memory.allocate(24));
  memory._allocators[2]->_bytesObtained = 48;
  EXPECT_EQ(memory.check(), "the allocation lists hold 24 bytes of the 48 counted");
}

TEST(VakMemoryCheckOfLists, FindsABrokenAllocationList) {
  VakMemory memory(0);
  auto** element = static_cast<void**>(memory.allocate(24));
  static_cast<void>(memory.allocate(24));
  void** link = element - 2;
  void* intact = *link;
  *link = element - 2;
  EXPECT_EQ(memory.check(), "24-byte elements: allocation list: a link is not answered");
  *link = intact;
  EXPECT_EQ(memory.check(), "");
}

}  // namespace

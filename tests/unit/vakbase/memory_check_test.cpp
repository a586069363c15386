// The proof of the pool's invariants has to find what is broken.
#include <gtest/gtest.h>

#include "vakbase/memory.h"

namespace {

/// Overwrites the link of a free element.
void setLink(void* element, void* next) {
  VakUnpoison(element, sizeof(void*));
  VakFixedSizeAllocatorI::StoreLink(element, next);
  VakPoison(element, sizeof(void*));
}

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
};

TEST_F(VakMemoryCheckTest, FindsNothingInAnIntactPool) { EXPECT_EQ(_memory.check(), ""); }

TEST_F(VakMemoryCheckTest, FindsACircle) {
  setLink(_free + 24, _free);
  EXPECT_EQ(_memory.check(), "24-byte elements: the free list is longer than the pool");
}

TEST_F(VakMemoryCheckTest, FindsAFreeListThatLeavesThePool) {
  long outside[3];
  setLink(_free, outside);
  EXPECT_EQ(_memory.check(), "24-byte elements: the free list leaves the pool");
}

TEST_F(VakMemoryCheckTest, FindsAnElementThatIsNotAligned) {
  _words._free = _free + 4;
  EXPECT_EQ(_memory.check(), "24-byte elements: a free element is not aligned");
}

TEST_F(VakMemoryCheckTest, FindsAnElementInTwoFreeLists) {
  VakFixedSizeAllocatorI other(24);
  other._free = _free;
  EXPECT_EQ(_memory.check({&other}), "free elements overlap");
  other._free = nullptr;
}

TEST_F(VakMemoryCheckTest, FindsAFreeElementInWhatIsLeftOfTheSlab) {
  const VakMemory::Block last = _memory.obtainBlock(512);
  VakFixedSizeAllocatorI other(24);
  // Elements behind the end of the last block were never handed out.
  other._free = static_cast<char*>(last.start) + 512;
  setLink(other._free, nullptr);
  EXPECT_EQ(_memory.check({&other}), "free elements overlap");
  other._free = nullptr;
}

TEST_F(VakMemoryCheckTest, FindsAFreeListWithoutPooling) {
  _words._pooled = 0;
  EXPECT_EQ(_memory.check(), "24-byte elements: there is a free list without pooling");
}

TEST_F(VakMemoryCheckTest, FindsACountThatIsNotOneOfWholeElements) {
  _words._bytesInUse = 25;
  EXPECT_EQ(_memory.check(), "24-byte elements: a count of bytes is not one of whole elements");
  _words._bytesInUse = 24;
  _words._bytesObtained = 1;
  EXPECT_EQ(_memory.check(), "24-byte elements: a count of bytes is not one of whole elements");
}

TEST_F(VakMemoryCheckTest, FindsAnElementSizeThatIsNotOfWholeWords) {
  VakFixedSizeAllocatorI other(24);
  other._elementSize = 20;
  EXPECT_EQ(_memory.check({&other}), "20-byte elements: the size is not one of whole words");
}

TEST_F(VakMemoryCheckTest, FindsAWrongElementSize) {
  _words._elementSize = 32;
  EXPECT_EQ(_memory.check(), "a class has another element size than its index");
}

TEST_F(VakMemoryCheckTest, FindsAnIndexThatLeadsToAnotherClass) {
  _memory._allocators[3] = _memory._allocators[4];
  EXPECT_EQ(_memory.check(), "an index leads to another class");
}

TEST_F(VakMemoryCheckTest, FindsMoreBytesInUseThanObtained) {
  _words._bytesInUse = 24L << 20;
  EXPECT_EQ(_memory.check(), "more bytes are in use than were obtained");
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

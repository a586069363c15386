// What the address sanitizer is told of pooled memory. Without it there is nothing to prove.
#include "vakbase/poison.h"

#include <gtest/gtest.h>

#include <cstring>

#include "vakbase/allocation_list.h"
#include "vakbase/allocation_stack.h"
#include "vakbase/memory.h"

namespace {

/// Tells whether all of `size` bytes at `start` are poisoned, or none of them.
bool allPoisoned(const char* start, long size) {
  for (long i = 0; i < size; ++i) {
    if (!VakIsPoisoned(start + i)) return false;
  }
  return true;
}
bool nonePoisoned(const char* start, long size) {
  for (long i = 0; i < size; ++i) {
    if (VakIsPoisoned(start + i)) return false;
  }
  return true;
}

class VakPoisonTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!VakPoisonsMemory) GTEST_SKIP() << "The address sanitizer is off.";
  }
};
using VakPoisonDeathTest = VakPoisonTest;

TEST_F(VakPoisonTest, CoversAFreeElementWhole) {
  VakMemory memory(1);
  auto* element = static_cast<char*>(memory.allocate(48));
  EXPECT_TRUE(nonePoisoned(element, 48));
  memory.deallocate(element, 48);
  EXPECT_TRUE(allPoisoned(element, 48));
  EXPECT_EQ(memory.allocate(48), element);
  EXPECT_TRUE(nonePoisoned(element, 48));
}

TEST_F(VakPoisonTest, CoversElementsOfABlockThatWereNeverHandedOut) {
  VakMemory memory(1);
  auto* element = static_cast<char*>(memory.allocate(48));
  EXPECT_TRUE(allPoisoned(element + 48, 4 * 48));
}

TEST_F(VakPoisonTest, CoversWhatIsLeftOfASlab) {
  VakMemory memory(1);
  const VakMemory::Block block = memory.obtainBlock(64);
  EXPECT_TRUE(allPoisoned(static_cast<char*>(block.start), 1024));
}

TEST_F(VakPoisonTest, CoversWhatAnElementHasBeyondTheSizeThatWasAskedFor) {
  VakMemory memory(1);
  for (long size : {1L, 4L, 7L, 9L, 20L, 130L, 1000L, 40'000L}) {
    const long elementSize = VakMemory::getElementSize(VakMemory::getIndex(size));
    auto* element = static_cast<char*>(memory.allocate(static_cast<unsigned long>(size)));
    EXPECT_TRUE(nonePoisoned(element, size)) << size;
    EXPECT_TRUE(allPoisoned(element + size, elementSize - size)) << size;
    memory.deallocate(element, static_cast<unsigned long>(size));
    EXPECT_TRUE(allPoisoned(element, elementSize)) << size;
  }
}

TEST_F(VakPoisonTest, CoversFreeElementsOfAnAllocatorOfItsOwn) {
  VakMemory memory(1);
  VakFixedSizeAllocatorI terms(24);
  auto* term = static_cast<char*>(terms.allocate(&memory));
  EXPECT_TRUE(nonePoisoned(term, 24));
  terms.deallocate(term);
  EXPECT_TRUE(allPoisoned(term, 24));
}

TEST_F(VakPoisonTest, CoversTheWordBelowAnElementOfAnAllocationList) {
  VakAllocationList list;
  auto* element = static_cast<char*>(list.alloc(24));
  static_cast<void>(list.alloc(24));
  EXPECT_TRUE(allPoisoned(element - 8, 8));
  EXPECT_TRUE(nonePoisoned(element, 24));
  EXPECT_TRUE(allPoisoned(element + 24, 8));
}

TEST_F(VakPoisonTest, CoversWhatIsFreeInAStack) {
  VakAllocationStack stack;
  auto* block = static_cast<char*>(stack.allocate(20));
  EXPECT_TRUE(nonePoisoned(block, 20));
  EXPECT_TRUE(allPoisoned(block + 20, 1000));
  stack.free(block, 20);
  EXPECT_TRUE(allPoisoned(block, 20));
}

TEST_F(VakPoisonDeathTest, ReportsTheUseOfAPooledElementThatWasGivenBack) {
  VakMemory memory(1);
  auto* element = static_cast<volatile char*>(memory.allocate(48));
  memory.deallocate(const_cast<char*>(element), 48);
  EXPECT_DEATH(element[40] = 1, "use-after-poison");
}

TEST_F(VakPoisonDeathTest, ReportsAPooledElementThatIsGivenBackTwice) {
  VakMemory memory(1);
  void* element = memory.allocate(48);
  memory.deallocate(element, 48);
  EXPECT_DEATH(memory.deallocate(element, 48), "use-after-poison");
}

TEST_F(VakPoisonDeathTest, ReportsTheUseOfAnElementThatWasGivenBackWithoutPooling) {
  VakMemory memory(0);
  auto* element = static_cast<volatile char*>(memory.allocate(48));
  memory.deallocate(const_cast<char*>(element), 48);
  EXPECT_DEATH(element[40] = 1, "heap-use-after-free");
}

TEST_F(VakPoisonDeathTest, ReportsWritingBeyondAnElementWithoutPooling) {
  VakMemory memory(0);
  auto* element = static_cast<volatile char*>(memory.allocate(48));
  EXPECT_DEATH(element[48] = 1, "heap-buffer-overflow");
}

TEST_F(VakPoisonDeathTest, ReportsAStackBlockThatIsGivenBackTwice) {
  VakAllocationStack stack;
  void* first = stack.allocate(32);
  static_cast<void>(stack.allocate(32));
  stack.free(first, 32);
  EXPECT_DEATH(stack.free(first, 32), "use-after-poison");
}

}  // namespace

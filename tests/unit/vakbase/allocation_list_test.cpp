#include "vakbase/allocation_list.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "tests/support/failing_new.h"

namespace {

TEST(VakAllocationList, IsEmptyAndHoldsNoHeapBlockWhenMade) {
  const long blocks = VakFailingNew::CountBlocks();
  VakAllocationList list;
  EXPECT_EQ(list.countElements(), 0);
  EXPECT_EQ(list.check(), "");
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

TEST(VakAllocationList, GivesEveryElementAHeapBlockOfItsOwn) {
  VakAllocationList list;
  const long blocks = VakFailingNew::CountBlocks();
  void* first = list.alloc(24);
  void* second = list.alloc(24);
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks + 2);
  list.free(first);
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks + 1);
  list.free(second);
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

TEST(VakAllocationList, AlignsElementsOfEverySizeTo16) {
  VakAllocationList list;
  for (long size = 0; size <= 200; ++size) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(list.alloc(size)) % 16, 0u) << size;
  }
}

TEST(VakAllocationList, GivesBackElementsInAnyOrder) {
  for (int first = 0; first < 3; ++first) {
    VakAllocationList list;
    std::vector<void*> elements{list.alloc(8), list.alloc(8), list.alloc(8)};
    list.free(elements[static_cast<unsigned>(first)]);
    EXPECT_EQ(list.countElements(), 2);
    EXPECT_EQ(list.check(), "");
    for (int other = 0; other < 3; ++other) {
      if (other != first) list.free(elements[static_cast<unsigned>(other)]);
    }
    EXPECT_EQ(list.countElements(), 0);
    EXPECT_EQ(list.check(), "");
  }
}

TEST(VakAllocationList, KeepsTheContentsOfElementsWhileNeighboursComeAndGo) {
  VakAllocationList list;
  void* before = list.alloc(40);
  void* element = list.alloc(40);
  void* after = list.alloc(40);
  std::memset(element, 'x', 40);
  list.free(before);
  list.free(after);
  static_cast<void>(list.alloc(40));
  EXPECT_EQ(std::string(static_cast<char*>(element), 40), std::string(40, 'x'));
}

TEST(VakAllocationList, ReleasesOutstandingElementsWhenItEnds) {
  const long blocks = VakFailingNew::CountBlocks();
  {
    VakAllocationList list;
    for (long size = 1; size < 100; ++size) static_cast<void>(list.alloc(size));
    EXPECT_EQ(VakFailingNew::CountBlocks(), blocks + 99);
  }
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

TEST(VakAllocationList, TakesBackElementsOfAnotherList) {
  VakAllocationList owner;
  VakAllocationList other;
  void* element = owner.alloc(24);
  static_cast<void>(owner.alloc(24));
  static_cast<void>(other.alloc(24));
  other.free(element);
  EXPECT_EQ(owner.countElements(), 1);
  EXPECT_EQ(other.countElements(), 1);
  EXPECT_EQ(owner.check(), "");
  EXPECT_EQ(other.check(), "");
}

TEST(VakAllocationList, LeavesElementsOfAnotherListAloneWhenItEnds) {
  VakAllocationList owner;
  void* element = owner.alloc(24);
  {
    VakAllocationList other;
    static_cast<void>(other.alloc(24));
  }
  std::memset(element, 1, 24);
  EXPECT_EQ(owner.countElements(), 1);
}

TEST(VakAllocationList, IgnoresNull) {
  VakAllocationList list;
  list.free(nullptr);
  EXPECT_EQ(list.check(), "");
}

TEST(VakAllocationList, RefusesSizesThatNoHeapHas) {
  VakAllocationList list;
  EXPECT_THROW(static_cast<void>(list.alloc(-1)), std::bad_alloc);
  EXPECT_THROW(static_cast<void>(list.alloc(std::numeric_limits<long>::max())), std::bad_alloc);
  EXPECT_THROW(static_cast<void>(list.alloc(std::numeric_limits<long>::max() - 16)),
               std::bad_alloc);
  EXPECT_EQ(list.countElements(), 0);
}

TEST(VakAllocationList, CheckFindsALinkThatIsNotAnswered) {
  VakAllocationList list;
  auto** element = static_cast<void**>(list.alloc(8));
  static_cast<void>(list.alloc(8));
  // Two words below an element its header leads to the element taken before it.
  void** link = element - 2;
  void* intact = *link;
  *link = element - 2;
  EXPECT_EQ(list.check(), "allocation list: a link is not answered");
  *link = intact;
  EXPECT_EQ(list.check(), "");
}

}  // namespace

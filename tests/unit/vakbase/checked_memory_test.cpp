// The checked build finds each way in which memory is misused. Built with VAK_CHECKED_MEMORY only.

#include "vakbase/checked_memory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/support/memory_modes.h"
#include "vakbase/fault_text.h"
#include "vakbase/memory.h"
#include "vakbase/memory_ledger.h"

namespace {

std::vector<VakMemoryDefect> defects;

/// Tests that hold with pooling (1) and without (0). What is found is gathered in `defects`.
class CheckedMemory : public testing::TestWithParam<long> {
 protected:
  CheckedMemory() {
    defects.clear();
    VakSetMemoryDefectHandler([](const VakMemoryDefect& d) { defects.push_back(d); });
  }
  ~CheckedMemory() override { VakSetMemoryDefectHandler(nullptr); }

  /// How texts begin that are about an element of `memory`.
  std::string element(const void* p, long size, long elementSize) {
    return VakFaultText(p, ", ", size, " bytes in the class of ", elementSize, " bytes of pool ",
                        static_cast<const void*>(&memory), ",");
  }
  static void expectOne(VakMemoryFault fault, const void* element, const std::string& text) {
    ASSERT_EQ(defects.size(), 1U);
    EXPECT_EQ(defects[0].fault, fault);
    EXPECT_EQ(defects[0].element, element);
    EXPECT_EQ(defects[0].text, text);
  }

  VakMemory memory{GetParam()};
  VakMemory other{GetParam()};
};
VAK_IN_BOTH_MEMORY_MODES(CheckedMemory);

class CheckedPool : public CheckedMemory {};
INSTANTIATE_TEST_SUITE_P(, CheckedPool, testing::Values(1L), VakMemoryModeName);

TEST_P(CheckedMemory, FindsNothingInUseAsItShouldBe) {
  std::vector<std::pair<char*, unsigned long>> blocks;
  for (int round = 0; round < 3; ++round) {
    for (unsigned long size : {1, 7, 8, 24, 100, 128, 129, 1000, 40000}) {
      blocks.emplace_back(static_cast<char*>(memory.allocate(size)), size);
      std::memset(blocks.back().first, 0xAB, size);
    }
    EXPECT_EQ(memory.check(), "");
    for (const auto& [block, size] : blocks) memory.deallocate(block, size);
    blocks.clear();
  }
  EXPECT_EQ(memory.check(), "");
  EXPECT_TRUE(defects.empty()) << defects[0].text;
}

TEST_P(CheckedMemory, CountsAndAlignsElementsLikeEveryOtherBuild) {
  void* p = memory.allocate(700);
  EXPECT_EQ(memory.getMemoryUsage(), 768);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(reinterpret_cast<unsigned long>(memory.allocate(48)) % 16, 0U);
    EXPECT_EQ(reinterpret_cast<unsigned long>(memory.allocate(24)) % 8, 0U);
  }
  memory.deallocate(p, 700);
  EXPECT_EQ(memory.getMemoryUsage(), 720);
}

TEST_P(CheckedMemory, FindsAWrongSizeAndLeavesTheElementInUse) {
  void* p = memory.allocate(20);
  memory.deallocate(p, 100);
  expectOne(VakMemoryFault::WrongSize, p, element(p, 20, 24) + " is given back as 100 bytes");
  EXPECT_EQ(memory.getMemoryUsage(), 24);
  defects.clear();
  memory.deallocate(p, 21);
  expectOne(VakMemoryFault::WrongSize, p, element(p, 20, 24) + " is given back as 21 bytes");
  defects.clear();
  memory.deallocate(p, 20);
  EXPECT_TRUE(defects.empty());
}

TEST_P(CheckedMemory, FindsAWrongClassWhereThePoolIsNotAsked) {
  void* p = memory.allocate(24);
  memory._allocators[3]->deallocate(p);
  expectOne(VakMemoryFault::WrongSize, p,
            element(p, 24, 24) + " is given back to the class of 32 bytes");
}

TEST_P(CheckedMemory, FindsADoubleFree) {
  void* p = memory.allocate(20);
  memory.deallocate(p, 20);
  memory.deallocate(p, 20);
  expectOne(VakMemoryFault::DoubleFree, p, element(p, 20, 24) + " is given back again");
  EXPECT_EQ(memory.getMemoryUsage(), 0);
  EXPECT_EQ(memory.check(), "");
}

TEST_P(CheckedMemory, FindsADoubleFreeOfATermToo) {
  VakFixedSizeAllocatorI terms(24);
  terms._pooled = GetParam();
  void* p = terms.allocate(&memory);
  terms.deallocate(p);
  terms.deallocate(p);
  expectOne(VakMemoryFault::DoubleFree, p, element(p, 24, 24) + " is given back again");
}

TEST_P(CheckedMemory, FindsAFreeIntoAnotherPool) {
  void* p = memory.allocate(20);
  other.deallocate(p, 20);
  expectOne(
      VakMemoryFault::Foreign, p,
      VakFaultText(element(p, 20, 24), " is given back to pool ", static_cast<void*>(&other)));
  EXPECT_EQ(memory.getMemoryUsage(), 24);
  EXPECT_EQ(other.getMemoryUsage(), 0);
}

TEST_P(CheckedMemory, FindsAFreeOfWhatWasNeverHandedOut) {
  long outside = 0;
  memory.deallocate(&outside, 8);
  expectOne(VakMemoryFault::Unknown, &outside,
            VakFaultText(static_cast<void*>(&outside),
                         " is given back as 8 bytes and was never handed out"));
  defects.clear();
  memory._allocators[0]->deallocate(&outside);
  expectOne(VakMemoryFault::Unknown, &outside,
            VakFaultText(static_cast<void*>(&outside),
                         " is given back to the class of 8 bytes and was never handed out"));
}

TEST_P(CheckedMemory, FindsEveryByteThatIsOverrun) {
  for (long byte = 20; byte < 24 + VakGuardBytes; ++byte) {
    defects.clear();
    auto* p = static_cast<char*>(memory.allocate(20));
    p[byte] = 'x';
    const std::string text = VakFaultText(element(p, 20, 24), " was written at byte ", byte);
    EXPECT_EQ(memory.check(), text);
    memory.deallocate(p, 20);
    expectOne(VakMemoryFault::Overrun, p, text);
    EXPECT_EQ(memory.getMemoryUsage(), 0);
  }
}

TEST_P(CheckedMemory, NamesWhatWasMadeInTheElement) {
  auto* p = static_cast<char*>(memory.allocate(24));
  VakNameElement(p, typeid(VakMemoryDefect));
  p[24] = 'x';
  memory.deallocate(p, 24);
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_EQ(defects[0].text, VakFaultText(static_cast<void*>(p),
                                          " (VakMemoryDefect), 24 bytes in the class of 24 "
                                          "bytes of pool ",
                                          static_cast<void*>(&memory), ", was written at byte 24"));
}

TEST_P(CheckedPool, FindsWhatWasWrittenAfterItWasGivenBack) {
  auto* p = static_cast<char*>(memory.allocate(24));
  memory.deallocate(p, 24);
  p[17] = 'x';
  EXPECT_EQ(memory.allocate(24), p);
  expectOne(VakMemoryFault::UseAfterFree, p,
            element(p, 24, 24) + " was written at byte 17 after it was given back");
}

TEST_P(CheckedPool, FindsEveryByteThatWasWrittenAfterItWasGivenBackAndKeepsItsFreeList) {
  for (long byte = 0; byte < 24; ++byte) {
    defects.clear();
    void* before = memory.allocate(24);
    auto* p = static_cast<char*>(memory.allocate(24));
    memory.deallocate(before, 24);
    memory.deallocate(p, 24);
    p[byte] = static_cast<char>(p[byte] ^ 1);
    const std::string text =
        VakFaultText(element(p, 24, 24), " was written at byte ", byte, " after it was given back");
    EXPECT_EQ(memory.allocate(24), p);
    expectOne(VakMemoryFault::UseAfterFree, p, text);
    EXPECT_EQ(memory.allocate(24), before) << "the link was written over, and is known still";
    EXPECT_EQ(memory.check(), "");
    memory.deallocate(before, 24);
    memory.deallocate(p, 24);
  }
}

TEST_P(CheckedPool, FindsInACheckWhatWasWrittenAfterItWasGivenBack) {
  auto* p = static_cast<char*>(memory.allocate(24));
  memory.deallocate(p, 24);
  p[23] = 'x';
  EXPECT_EQ(memory.check(), element(p, 24, 24) + " was written at byte 23 after it was given back");
  p[23] = static_cast<char>(0xDD);
  EXPECT_EQ(memory.check(), "");
}

TEST_P(CheckedPool, FindsAtItsEndWhatWasWrittenAfterItWasGivenBack) {
  char* p = nullptr;
  {
    VakMemory gone(GetParam());
    p = static_cast<char*>(gone.allocate(24));
    gone.deallocate(p, 24);
    p[8] = 'x';
    EXPECT_TRUE(defects.empty());
  }
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::UseAfterFree);
  EXPECT_EQ(defects[0].element, p);
  EXPECT_THAT(defects[0].text, testing::EndsWith(" was written at byte 8 after it was given back"));
}

TEST_P(CheckedMemory, FindsAtItsEndEveryOverrunOfWhatWasNeverGivenBack) {
  {
    VakMemory gone(GetParam());
    static_cast<char*>(gone.allocate(20))[20] = 'x';
    static_cast<void>(gone.allocate(20));
    static_cast<char*>(gone.allocate(1000))[1000] = 'x';
    EXPECT_TRUE(defects.empty());
  }
  ASSERT_EQ(defects.size(), 2U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::Overrun);
  EXPECT_EQ(defects[1].fault, VakMemoryFault::Overrun);
  EXPECT_THAT(defects[0].text + defects[1].text, testing::HasSubstr(" was written at byte 20"));
  EXPECT_THAT(defects[0].text + defects[1].text, testing::HasSubstr(" was written at byte 1000"));
}

TEST_P(CheckedMemory, ForgetsTheMemoryOfAnAllocatorThatEndedBeforeThePool) {
  char* p = nullptr;
  {
    VakFixedSizeAllocatorI terms(24);
    terms._pooled = GetParam();
    p = static_cast<char*>(terms.allocate(&memory));
    p[24] = 'x';
  }
  EXPECT_EQ(defects.size(), GetParam() != 0 ? 0U : 1U) << "without pooling its memory is gone now";
  EXPECT_EQ(VakMemoryLedger::GetElements(&memory).size(), 1U);
  if (GetParam() != 0) p[24] = static_cast<char>(0xFD);
  EXPECT_EQ(memory.check(), "");
}

TEST_P(CheckedPool, NamesWhatIsInUseWhereItIsHandedOutAgain) {
  void* p = memory.allocate(20);
  VakNameElement(p, typeid(VakMemoryDefect));
  VakFixedSizeAllocatorI& words = *memory._allocators[2];
  VakFixedSizeAllocatorI::StoreLink(p, nullptr);
  words._free = p;
  EXPECT_EQ(memory.allocate(24), p);
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_THAT(defects[0].text, testing::HasSubstr(" (VakMemoryDefect), 20 bytes in the class of"));
}

TEST_P(CheckedPool, FindsAnElementThatIsHandedOutWhileItIsInUse) {
  void* p = memory.allocate(24);
  VakFixedSizeAllocatorI& words = *memory._allocators[2];
  VakFixedSizeAllocatorI::StoreLink(p, nullptr);
  words._free = p;
  EXPECT_EQ(memory.allocate(24), p);
  expectOne(VakMemoryFault::TakenTwice, p,
            element(p, 24, 24) + " is handed out while it is in use");
}

TEST_P(CheckedMemory, ListsWhatIsInUse) {
  void* p = memory.allocate(20);
  VakNameElement(p, typeid(VakMemoryDefect));
  memory.deallocate(memory.allocate(48), 48);
  const std::vector<VakMemoryLedger::Element> elements = VakMemoryLedger::GetElements(&memory);
  ASSERT_EQ(elements.size(), 1U);
  EXPECT_EQ(elements[0].start, p);
  EXPECT_EQ(elements[0].size, 20);
  EXPECT_EQ(elements[0].elementSize, 24);
  EXPECT_EQ(VakMemoryLedger::GetTypeName(elements[0].type), "VakMemoryDefect");
}

TEST_P(CheckedMemory, ForgetsAPoolThatEnded) {
  void* p = nullptr;
  {
    VakMemory gone(GetParam());
    p = gone.allocate(24);
    EXPECT_EQ(VakMemoryLedger::GetElements(&gone).size(), 1U);
  }
  memory.deallocate(p, 24);
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::Unknown);
}

TEST(CheckedMemoryHandler, IsWrittenToTheErrorStreamAndAbortsUnlessOneIsInstalled) {
  EXPECT_DEATH(
      {
        VakMemory memory(1);
        void* p = memory.allocate(20);
        memory.deallocate(p, 20);
        memory.deallocate(p, 20);
      },
      "Vak: memory misused: 0x[0-9a-f]+, 20 bytes in the class of 24 bytes of pool 0x[0-9a-f]+, "
      "is given back again");
}

TEST(CheckedMemoryHandler, ReturnsTheOneBefore) {
  const VakMemoryDefectHandler mine = [](const VakMemoryDefect&) {};
  EXPECT_EQ(VakSetMemoryDefectHandler(mine), nullptr);
  EXPECT_EQ(VakSetMemoryDefectHandler(nullptr), mine);
}

}  // namespace

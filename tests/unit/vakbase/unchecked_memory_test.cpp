// What the checked build declares is there in every build and does nothing outside it.

#include <gtest/gtest.h>

#include <iostream>

#include "vakbase/checked_memory.h"
#include "vakbase/memory_ledger.h"

namespace {

TEST(UncheckedMemory, KeepsNoHandlerAndNoStream) {
  if (VakChecksMemory) GTEST_SKIP() << "this is the checked build";
  EXPECT_EQ(VakSetMemoryDefectHandler([](const VakMemoryDefect&) {}), nullptr);
  EXPECT_EQ(VakSetMemoryDefectHandler(nullptr), nullptr);
  EXPECT_EQ(VakSetLeftoverStream(&std::cout), nullptr);
  EXPECT_EQ(VakSetLeftoverStream(nullptr), nullptr);
  EXPECT_EQ(VakGuardBytes, 0);
}

TEST(UncheckedMemory, CanNameWhatNoPoolHandedOut) {
  const int outside = 0;
  VakNameElement(&outside, typeid(int));
}

}  // namespace

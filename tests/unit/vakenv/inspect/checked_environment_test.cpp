// What the checked build says of environments. Built with VAK_CHECKED_MEMORY only.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/environment_mode.h"
#include "tests/support/test_algorithm.h"
#include "vakbase/checked_memory.h"
#include "vakenv/arrays.h"
#include "vakenv/environment.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/contract/linear_term.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::vector<VakMemoryDefect> defects;

class CheckedEnvironment : public testing::TestWithParam<bool> {
 protected:
  CheckedEnvironment() {
    GetParam() ? VakUsePooledMemory() : VakUseUnpooledMemory();
    defects.clear();
    VakSetMemoryDefectHandler([](const VakMemoryDefect& d) { defects.push_back(d); });
    VakSetLeftoverStream(&leftovers);
    env = VakEnv();
  }
  ~CheckedEnvironment() override {
    if (env.getImpl() != nullptr) env.end();
    VakSetLeftoverStream(nullptr);
    VakSetMemoryDefectHandler(nullptr);
  }

  std::ostringstream leftovers;
  VakTestScript script;
  VakEnv env{static_cast<VakEnvI*>(nullptr)};
};
INSTANTIATE_TEST_SUITE_P(, CheckedEnvironment, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Pooled" : "NotPooled"; });

TEST_P(CheckedEnvironment, ListsNothingWhenNothingWasLeft) {
  VakNumArray array(env, 100);
  array.end();
  env.setIntProperty("size", 3);
  env.end();
  EXPECT_EQ(leftovers.str(), "");
  EXPECT_TRUE(defects.empty()) << defects[0].text;
}

TEST_P(CheckedEnvironment, ListsWhatWasLeftByType) {
  const VakNumArray one(env, 4);
  const VakNumArray two(env, 4);
  static_cast<void>(env.getImpl()->newTerm(nullptr, 1));
  static_cast<void>(env.getImpl()->allocate(100));
  env.end();
  EXPECT_THAT(leftovers.str(), StartsWith("Vak: left when the environment ended:\n"));
  EXPECT_THAT(leftovers.str(), HasSubstr("\n  2 of VakArrayI, 128 bytes\n"));
  EXPECT_THAT(leftovers.str(), HasSubstr("\n  1 of VakNumLinExprTermI, 24 bytes\n"));
  EXPECT_THAT(leftovers.str(), HasSubstr("of no known type, "));
}

TEST_P(CheckedEnvironment, ListsNothingOnNoStream) {
  VakSetLeftoverStream(nullptr);
  static_cast<void>(env.getImpl()->allocate(100));
  env.end();
  EXPECT_EQ(leftovers.str(), "");
}

TEST_P(CheckedEnvironment, FindsMemoryThatGoesBackToAnotherEnvironment) {
  VakEnv other;
  void* block = env.getImpl()->allocate(100);
  other.getMemoryManager().getImpl()->free(block, 100);
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::Foreign);
  other.end();
}

TEST_P(CheckedEnvironment, FindsATermThatIsRecycledTwiceOrElsewhere) {
  VakEnv other;
  VakNumLinExprTermI* term = env.getImpl()->newTerm(nullptr, 1);
  other.getImpl()->recycleTerm(term);
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::Foreign);
  env.getImpl()->recycleTerm(term);
  ASSERT_EQ(defects.size(), 1U);
  env.getImpl()->recycleTerm(term);
  ASSERT_EQ(defects.size(), 2U);
  EXPECT_EQ(defects[1].fault, VakMemoryFault::DoubleFree);
  EXPECT_THAT(defects[1].text, HasSubstr("24 bytes in the class of 24 bytes"));
  other.end();
}

TEST_P(CheckedEnvironment, FindsAnObjectThatIsDeletedTwice) {
  auto* node = VakMakeNode(env.getImpl(), script, "A");
  delete node;
  env.getImpl()->giveBack(node, sizeof(VakTestNode));
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::DoubleFree);
}

TEST_P(CheckedEnvironment, NamesTheObjectThatWasOverrunInTheDeepCheck) {
  auto* node = VakMakeNode(env.getImpl(), script, "A");
  char* behind = reinterpret_cast<char*>(node) + sizeof(VakTestNode);
  const char intact = *behind;
  *behind = 'x';
  EXPECT_THAT(env.check(), HasSubstr(" (VakTestNode), "));
  EXPECT_THAT(env.check(), HasSubstr(", was written at byte "));
  *behind = intact;
  EXPECT_EQ(env.check(), "");
}

TEST_P(CheckedEnvironment, FindsAThreadSafeGiveBackThatIsWrong) {
  env.useMTSafeAllocation(1);
  void* block = env.getImpl()->allocate(100);
  env.getImpl()->giveBack(block, 99);
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::WrongSize);
  env.getImpl()->giveBack(block, 100);
  EXPECT_EQ(defects.size(), 1U);
  env.useMTSafeAllocation(0);
}

}  // namespace

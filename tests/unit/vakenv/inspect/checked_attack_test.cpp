// Memory misused in the ways of a program that knows the installed headers only, each of which the
// checked build has to find. Built with VAK_CHECKED_MEMORY only.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory_resource>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/environment_mode.h"
#include "vakbase/checked_memory.h"
#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/environment.h"
#include "vakenv/inspect/memory_report.h"
#include "vakenv/memory/memory_resource.h"
#include "vakenv/memory/std_allocator.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/linear_term.h"
#include "vakmodel/modelling.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

std::vector<VakMemoryDefect> defects;
VakEnv handlersEnv{static_cast<VakEnvI*>(nullptr)};

/// Tests that hold with pooling and without. What is found is gathered in `defects`.
class CheckedAttack : public testing::TestWithParam<bool> {
 protected:
  CheckedAttack() {
    GetParam() ? VakUsePooledMemory() : VakUseUnpooledMemory();
    defects.clear();
    VakSetMemoryDefectHandler([](const VakMemoryDefect& d) { defects.push_back(d); });
    VakSetLeftoverStream(&leftovers);
    env = VakEnv();
  }
  ~CheckedAttack() override {
    if (env.getImpl() != nullptr) env.end();
    VakSetLeftoverStream(nullptr);
    VakSetMemoryDefectHandler(nullptr);
  }
  [[nodiscard]] char* take(unsigned long size) const {
    return static_cast<char*>(env.getMemoryManager().getImpl()->alloc(size));
  }
  void giveBack(void* p, unsigned long size) const {
    env.getMemoryManager().getImpl()->free(p, size);
  }
  static void expectOne(VakMemoryFault fault, const std::string& end) {
    ASSERT_EQ(defects.size(), 1U);
    EXPECT_EQ(defects[0].fault, fault);
    EXPECT_THAT(defects[0].text, EndsWith(end));
  }

  std::ostringstream leftovers;
  VakEnv env{static_cast<VakEnvI*>(nullptr)};
};
INSTANTIATE_TEST_SUITE_P(, CheckedAttack, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Pooled" : "NotPooled"; });

TEST_P(CheckedAttack, FindsAnOverrunOfMemoryThatIsLeftToTheEnd) {
  take(20)[20] = 'x';
  EXPECT_TRUE(defects.empty());
  env.end();
  expectOne(VakMemoryFault::Overrun, ", was written at byte 20");
}

TEST_P(CheckedAttack, FindsAnOverrunOfATermThatIsLeftToTheEnd) {
  auto* term = reinterpret_cast<char*>(env.getImpl()->newTerm(nullptr, 1));
  term[24] = 'x';
  env.end();
  expectOne(VakMemoryFault::Overrun, ", was written at byte 24");
  EXPECT_THAT(defects[0].text, HasSubstr("(VakNumLinExprTermI)"));
  EXPECT_THAT(leftovers.str(), HasSubstr("1 of VakNumLinExprTermI, 24 bytes"));
}

TEST_P(CheckedAttack, FindsATextThatWasShortenedBeforeItIsGivenBack) {
  char* text = env.getImpl()->strDup("a long text");
  text[5] = '\0';
  env.getImpl()->strFree(text);
  expectOne(VakMemoryFault::WrongSize, " is given back as 6 bytes");
}

TEST_P(CheckedAttack, FindsAWrongSizeOfTheStandardLibrary) {
  VakMemoryResource resource(env);
  std::pmr::memory_resource& memory = resource;
  void* p = memory.allocate(64, 8);
  memory.deallocate(p, 32, 8);
  expectOne(VakMemoryFault::WrongSize, " is given back as 32 bytes");
  memory.deallocate(p, 64, 8);
  VakStdAllocator<long> allocator(env);
  long* words = allocator.allocate(4);
  allocator.deallocate(words, 3);
  ASSERT_EQ(defects.size(), 2U);
  EXPECT_THAT(defects[1].text, EndsWith(" is given back as 24 bytes"));
  allocator.deallocate(words, 4);
  EXPECT_EQ(defects.size(), 2U);
}

TEST_P(CheckedAttack, FindsTheIndexBehindTheEndOfAVector) {
  {
    std::vector<double, VakStdAllocator<double>> numbers(10, 0.0, VakStdAllocator<double>(env));
    numbers.data()[10] = 1;
    EXPECT_THAT(env.check(), HasSubstr(", was written at byte 8"));
  }
  ASSERT_EQ(defects.size(), 1U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::Overrun);
}

TEST_P(CheckedAttack, FindsMemoryThatGoesBackIntoItsMiddle) {
  char* p = take(100);
  giveBack(p + 8, 92);
  expectOne(VakMemoryFault::Unknown, " is given back as 92 bytes and was never handed out");
  giveBack(p, 100);
  EXPECT_EQ(defects.size(), 1U);
}

TEST_P(CheckedAttack, FindsMemoryThatGoesBackToAnEnvironmentAfterItsOwnHasEnded) {
  VakEnv other;
  void* p = other.getMemoryManager().getImpl()->alloc(100);
  other.end();
  giveBack(p, 100);
  expectOne(VakMemoryFault::Unknown, " is given back as 100 bytes and was never handed out");
}

TEST_P(CheckedAttack, TellsAHandlerThatUsesTheEnvironmentItself) {
  handlersEnv = env;
  VakSetMemoryDefectHandler([](const VakMemoryDefect& d) {
    defects.push_back(d);
    EXPECT_EQ(handlersEnv.check(), "");
    EXPECT_GT(VakMemoryReport(handlersEnv).inUse, 0);
    void* p = handlersEnv.getMemoryManager().getImpl()->alloc(40);
    handlersEnv.getMemoryManager().getImpl()->free(p, 40);
  });
  char* p = take(100);
  giveBack(p, 99);
  giveBack(p, 100);
  giveBack(p, 100);
  ASSERT_EQ(defects.size(), 2U);
  EXPECT_EQ(defects[0].fault, VakMemoryFault::WrongSize);
  EXPECT_EQ(defects[1].fault, VakMemoryFault::DoubleFree);
}

TEST_P(CheckedAttack, KeepsCountsWhenEveryMisuseIsSurvived) {
  const VakInt before = env.getMemoryUsage();
  VakEnv other;
  char* p = take(100);
  const VakInt with = env.getMemoryUsage();
  giveBack(p, 1);
  other.getMemoryManager().getImpl()->free(p, 100);
  EXPECT_EQ(env.getMemoryUsage(), with);
  giveBack(p, 100);
  giveBack(p, 100);
  EXPECT_EQ(env.getMemoryUsage(), before);
  EXPECT_EQ(defects.size(), 3U);
  EXPECT_EQ(env.check() + other.check(), "");
  other.end();
}

class Unstamped : public VakDestroyableI {
 public:
  using VakDestroyableI::VakDestroyableI;
};

TEST_P(CheckedAttack, ReportsRegisteredObjectsUnderTheNamesThatTheyWereMadeWith) {
  VakModel model(env, "m");
  VakNumVar x(env, 0, 40, "x");
  model.add(x <= 14, "c");
  VakCreate<Unstamped>(env);
  const VakMemoryReport report(env);
  EXPECT_EQ(report.types.size(), 4U);
  for (const VakMemoryReport::Type& type : report.types) {
    EXPECT_THAT(report.made, testing::Contains(type));
  }
}

TEST_P(CheckedAttack, FindsNothingInAModelThatIsBuiltChangedAndLeft) {
  VakModel model(env, "m");
  VakNumVar x(env, 0, 40, "x");
  VakNumVar y(env, 0, 40, "y");
  VakConstraint c = model.add(x + 2 * y <= 14, "c");
  model.maximize(3 * x + 4 * y);
  c.setName("another name, which is longer");
  x.end();
  EXPECT_EQ(env.check(), "");
  env.end();
  EXPECT_TRUE(defects.empty()) << defects[0].text;
}

}  // namespace

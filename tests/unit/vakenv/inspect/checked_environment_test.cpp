// What the checked build says of environments. Built with VAK_CHECKED_MEMORY only.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <sstream>
#include <streambuf>
#include <string_view>
#include <thread>

#include "tests/support/broken_place.h"
#include "tests/support/environment_mode.h"
#include "tests/support/failing_new.h"
#include "tests/support/test_algorithm.h"
#include "vakbase/checked_memory.h"
#include "vakbase/fault_text.h"
#include "vakbase/memory_ledger.h"
#include "vakenv/arrays.h"
#include "vakenv/arrays/array_impl.h"
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

TEST_P(CheckedEnvironment, FindsABrokenArrayOfAUser) {
  const VakNumArray array(env, 5);
  VakArrayI* impl = array.getImpl();
  EXPECT_EQ(env.check(), "");
  EXPECT_EQ(VakCheckBroken(impl->_size, 17, [this] { return env.check(); }),
            VakFaultText("arrays: array ", static_cast<const void*>(impl),
                         ": the size exceeds the capacity"));
}

TEST_P(CheckedEnvironment, FindsAnArrayThatIsNotCounted) {
  VakNumArray array(env, 5);
  VakArrayTally& tally = env.getImpl()->_arrayTally;
  const VakInt tables = tally.getTables();
  EXPECT_EQ(env.check(), "");
  tally.count(-1, 0, false);
  EXPECT_EQ(env.check(),
            VakFaultText("arrays: ", tables, " have storage, but ", tables - 1, " are counted"));
  tally.count(1, 0, false);
  array.end();
}

// ---- The list of what was left ------------------------------------------------------------------

/// Keeps what is written, without memory of the heap, and finds out when two threads write at once.
class SlowStream : public std::streambuf {
 public:
  [[nodiscard]] bool isWriting() const { return _writers != 0; }
  [[nodiscard]] bool hadTwoWriters() const { return _hadTwoWriters; }
  [[nodiscard]] std::string_view text() const { return {_text, _length}; }

 private:
  std::streamsize xsputn(const char* text, std::streamsize n) override {
    if (++_writers > 1) _hadTwoWriters = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto length = std::min(static_cast<std::size_t>(n), sizeof(_text) - _length);
    std::memcpy(_text + _length, text, length);
    _length += length;
    --_writers;
    return n;
  }

  std::atomic<int> _writers = 0;
  std::atomic<bool> _hadTwoWriters = false;
  char _text[1000];
  std::size_t _length = 0;
};

TEST_P(CheckedEnvironment, ListsWhatWasLeftWithoutTheProgramsOperatorNew) {
  SlowStream buffer;
  std::ostream stream(&buffer);
  VakSetLeftoverStream(&stream);
  const VakMemory& pool = env.getImpl()->_memory;
  static_cast<void>(env.getImpl()->newTerm(nullptr, 1));
  long calls = 0;
  {
    const VakFailingNew scarcity(1, VakFailureSpan::FromThenOn);
    VakMemoryLedger::WriteLeftovers(&pool);
    calls = scarcity.count();
  }
  EXPECT_EQ(calls, 0);
  EXPECT_NE(buffer.text().find("\n  1 of VakNumLinExprTermI, 24 bytes\n"), std::string::npos);
  VakSetLeftoverStream(nullptr);
}

TEST_P(CheckedEnvironment, ListsWhatTwoEnvironmentsLeftOneAfterTheOther) {
  SlowStream buffer;
  std::ostream stream(&buffer);
  VakSetLeftoverStream(&stream);
  const auto leave = [] {
    VakEnv mine;
    static_cast<void>(mine.getImpl()->allocate(100));
    mine.end();
  };
  std::thread other(leave);
  leave();
  other.join();
  VakSetLeftoverStream(nullptr);
  EXPECT_FALSE(buffer.hadTwoWriters());
}

TEST_P(CheckedEnvironment, ExchangesTheStreamWhenNobodyWritesToIt) {
  SlowStream buffer;
  std::ostream stream(&buffer);
  VakSetLeftoverStream(&stream);
  std::thread other([] {
    VakEnv mine;
    static_cast<void>(mine.getImpl()->allocate(100));
    mine.end();
  });
  while (!buffer.isWriting()) std::this_thread::yield();
  EXPECT_EQ(VakSetLeftoverStream(nullptr), &stream);
  EXPECT_FALSE(buffer.isWriting());
  other.join();
}

TEST_P(CheckedEnvironment, EndsAlthoughTheStreamThrows) {
  struct Throwing : std::streambuf {
    std::streamsize xsputn(const char*, std::streamsize) override { throw 1; }
  } buffer;
  std::ostream stream(&buffer);
  stream.exceptions(std::ios::badbit);
  VakSetLeftoverStream(&stream);
  static_cast<void>(env.getImpl()->allocate(100));
  EXPECT_NO_THROW(env.end());
  VakSetLeftoverStream(nullptr);
}

}  // namespace

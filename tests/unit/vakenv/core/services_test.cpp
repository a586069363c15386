// Symbols, texts, the random generator and the elapsed-time line.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>

#include "tests/support/counting_mutex.h"
#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakbase/exception.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"

namespace {

using testing::ElementsAre;

TEST(Symbols, AreMadeOnceAndFound) {
  const VakScopedEnv env;
  EXPECT_EQ(env->getSymbol("x1"), nullptr);
  VakSymbolI* symbol = env->makeSymbol("x1");
  ASSERT_NE(symbol, nullptr);
  EXPECT_STREQ(symbol->getName(), "x1");
  EXPECT_EQ(env->makeSymbol("x1"), symbol);
  EXPECT_EQ(env->getSymbol("x1"), symbol);
  EXPECT_NE(env->makeSymbol("x2"), symbol);
}

TEST(Symbols, AreNotMadeByLookingForThem) {
  const VakScopedEnv env;
  EXPECT_EQ(env->getSymbol("x1"), nullptr);
  EXPECT_FALSE(env->hasSymbol("x1"));
  EXPECT_EQ(env->_symbolTable->getSize(), 0);
}

TEST(Symbols, AreKnownOnceMade) {
  const VakScopedEnv env;
  env->makeSymbol("x1");
  EXPECT_TRUE(env->hasSymbol("x1"));
  EXPECT_FALSE(env->hasSymbol("x"));
  EXPECT_FALSE(env->hasSymbol("x11"));
}

TEST(Symbols, DoNotExistForANullName) {
  const VakScopedEnv env;
  EXPECT_EQ(env->getSymbol(nullptr), nullptr);
  EXPECT_EQ(env->makeSymbol(nullptr), nullptr);
  EXPECT_FALSE(env->hasSymbol(nullptr));
}

TEST(Symbols, HaveNoneInATableWithoutBuckets) {
  const VakScopedEnv env;
  ASSERT_EQ(env->_symbolTable->_table._buckets, nullptr);
  EXPECT_FALSE(env->hasSymbol("x1"));
}

VakInt negativeHash(const char*, VakInt) { return -1; }
VakInt hashBehindTheEnd(const char*, VakInt size) { return size; }

TEST(Symbols, ReportABrokenHashFunction) {
  const VakScopedEnv env;
  env->makeSymbol("x1");
  const auto hash = env->_symbolTable->_table._hash;
  for (const auto broken : {negativeHash, hashBehindTheEnd}) {
    env->_symbolTable->_table._hash = broken;
    try {
      static_cast<void>(env->hasSymbol("x1"));
      ADD_FAILURE() << "nothing was thrown";
    } catch (const VakWrongUsage& exception) {
      EXPECT_STREQ(exception.getMessage(), "Hash function returned bad index");
    }
  }
  env->_symbolTable->_table._hash = hash;
  EXPECT_TRUE(env->hasSymbol("x1"));
}

TEST(Symbols, AreNumberedByTheEncoder) {
  const VakScopedEnv env;
  VakSymbolI* a = env->makeSymbol("a");
  VakSymbolI* b = env->makeSymbol("b");
  EXPECT_EQ(env->getSymbolEncoder(), env->_symbolTable->getEncoder());
  EXPECT_EQ(env->getSymbolEncoder()->encode(a), 0);
  EXPECT_EQ(env->getSymbolEncoder()->encode(b), 1);
  EXPECT_EQ(env->getSymbolEncoder()->decode(1), b);
}

TEST(Intern, GivesOnePointerForEqualTexts) {
  const VakScopedEnv env;
  const std::string text = "a";
  const char* stored = env->intern(text.c_str());
  EXPECT_STREQ(stored, "a");
  EXPECT_EQ(env->intern("a"), stored);
  EXPECT_EQ(env->getSymbol("a")->getName(), stored);
  EXPECT_NE(env->intern("b"), stored);
}

TEST(Intern, GivesNullForNull) {
  const VakScopedEnv env;
  EXPECT_EQ(env->intern(nullptr), nullptr);
  EXPECT_EQ(env->_symbolTable->getSize(), 0);
}

TEST(StrDup, CopiesTheTextIntoTheEnvironmentsMemory) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  const char text[] = "a text of 23 characters";
  char* copy = env->strDup(text);
  EXPECT_STREQ(copy, text);
  EXPECT_NE(copy, text);
  EXPECT_EQ(env->getMemoryUsage(), usage + 24);
  env->strFree(copy);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(StrDup, CopiesTheEmptyTextAsItsTerminator) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  char* copy = env->strDup("");
  EXPECT_EQ(copy[0], '\0');
  env->strFree(copy);
  EXPECT_THAT(path.local.calls, ElementsAre("alloc 1", "free 1"));
}

TEST(StrDup, GivesNullForNullAndFreeingNullDoesNothing) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  EXPECT_EQ(env->strDup(nullptr), nullptr);
  env->strFree(nullptr);
  EXPECT_TRUE(path.local.calls.empty());
}

TEST(StrDup, GoesThroughTheLocalEnvironment) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  env->strFree(env->strDup("four"));
  EXPECT_THAT(path.local.calls, ElementsAre("alloc 5", "free 5"));
}

TEST(StrFree, TakesTheLengthFromTheTextAgain) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  char* copy = env->strDup("four");
  copy[0] = 'F';
  copy[3] = 'R';
  env->strFree(copy);
  EXPECT_THAT(path.local.calls, ElementsAre("alloc 5", "free 5"));
}

TEST(RandomGenerator, IsMadeOnFirstUseFromTheAllocatorWithTheSeedZero) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  VakUniqueRandomI* random = env->createRandom();
  EXPECT_EQ(env->_random, random);
  EXPECT_EQ(env->createRandom(), random);
  EXPECT_EQ(random->_memoryManager, env.allocator());
  EXPECT_GE(env->getMemoryUsage(), usage + static_cast<long>(sizeof(VakUniqueRandomI)));
  VakUniqueRandomI other(env.allocator(), 0);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(random->getNum(), other.getNum());
}

TEST(RandomGenerator, IsMadeUnderTheMutexAndReadWithoutIt) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  const VakScopedEnv env;
  const VakLockCount first(mutex);
  env->createRandom();
  EXPECT_EQ(first.get(), 1);
  const VakLockCount second(mutex);
  env->createRandom();
  EXPECT_EQ(second.get(), 0);
  VakEndMT();
}

// Somebody else makes the generator while the mutex is waited for.
class OvertakingMutex : public VakCountingMutex {
 public:
  void lock() override {
    VakCountingMutex::lock();
    if (locks == 1) overtaken = env->createRandom();
  }
  VakEnvI* env = nullptr;
  VakUniqueRandomI* overtaken = nullptr;
};

TEST(RandomGenerator, IsMadeOnceWhenAnotherThreadWasFaster) {
  OvertakingMutex mutex;
  VakInitMT(&mutex);
  const VakScopedEnv env;
  mutex.env = env.impl();
  VakUniqueRandomI* random = env->createRandom();
  EXPECT_NE(random, nullptr);
  EXPECT_EQ(random, mutex.overtaken);
  EXPECT_EQ(mutex.locks, mutex.unlocks);
  VakEndMT();
}

TEST(RandomGenerator, AllocatesUnderTheMutexInThreadSafeMode) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  const VakScopedEnv env;
  env->useMTSafeAllocation(1);
  const VakLockCount count(mutex);
  env->createRandom();
  EXPECT_EQ(count.get(), 2);
  VakEndMT();
}

TEST(PrintTime, WritesTheTimeSinceCreation) {
  const VakScopedEnv env;
  std::ostringstream out;
  env->_out = &out;
  env->printTime();
  const std::string text = out.str();
  const std::string beginning = "Elapsed time since creation : ";
  ASSERT_EQ(text.substr(0, beginning.size()), beginning);
  EXPECT_EQ(text.back(), '\n');
  std::size_t used = 0;
  const std::string number = text.substr(beginning.size());
  const double seconds = std::stod(number, &used);
  EXPECT_EQ(used, number.size() - 1);
  EXPECT_GE(seconds, 0.0);
  EXPECT_LT(seconds, 60.0);
}

TEST(PrintTime, WritesWhatAStoppedTimerHasAccumulated) {
  const VakScopedEnv env;
  std::ostringstream out;
  env->_out = &out;
  env->_timer.stop();
  env->_timer._accumulated = 12.5;
  env->printTime();
  EXPECT_EQ(out.str(), "Elapsed time since creation : 12.5\n");
}

TEST(PrintTime, ChangesNothingOfTheTimer) {
  const VakScopedEnv env;
  std::ostringstream out;
  env->_out = &out;
  const double begun = env->_timer._startTime;
  env->printTime();
  EXPECT_EQ(env->_timer._startTime, begun);
  EXPECT_EQ(env->_timer._accumulated, 0.0);
  EXPECT_EQ(env->_timer._running, 1);
}

class CountingBuffer : public std::stringbuf {
 public:
  int sync() override {
    ++flushes;
    return 0;
  }
  int flushes = 0;
};

TEST(PrintTime, FlushesItsStream) {
  const VakScopedEnv env;
  CountingBuffer buffer;
  std::ostream out(&buffer);
  env->_out = &out;
  env->printTime();
  EXPECT_EQ(buffer.flushes, 1);
}

}  // namespace

// Mark arrays and saved values.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/counting_mutex.h"
#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/types/exceptions.h"

namespace {

using testing::ElementsAre;

// The header slots of a block of marks.
void** blockOf(void** marks) { return marks - 3; }
void* linkOf(void** marks) { return blockOf(marks)[0]; }
long flagOf(void** marks) { return reinterpret_cast<long>(blockOf(marks)[1]); }
long capacityOf(void** marks) { return reinterpret_cast<long>(blockOf(marks)[2]); }

void bookIdentifiers(VakEnvI* env, int count) {
  for (int i = 0; i < count; ++i) env->_idManager->newId(nullptr);
}

bool areClear(void** marks, long count) {
  return std::all_of(marks, marks + count, [](void* mark) { return mark == nullptr; });
}

TEST(MarkArrays, AreNotLentWhileThreadSafeNormalizationIsOff) {
  const VakScopedEnv env;
  try {
    static_cast<void>(env->getMarkArray());
    FAIL() << "nothing was thrown";
  } catch (const VakNotSupportedOperation& exception) {
    EXPECT_STREQ(exception.getMessage(), "Operation Not Supported.");
  }
  EXPECT_EQ(env->_markArray, nullptr);
}

TEST(MarkArrays, CoverTheIdentifiersAndAThousandMore) {
  const VakScopedEnv env;
  bookIdentifiers(env.impl(), 10);
  env->useMTSafeNormalization(1);
  ASSERT_NE(env->_markArray, nullptr);
  void** marks = env->getMarkArray();
  EXPECT_EQ(blockOf(marks), env->_markArray);
  EXPECT_EQ(capacityOf(marks), 1010);
  EXPECT_EQ(flagOf(marks), 1);
  EXPECT_EQ(linkOf(marks), nullptr);
  EXPECT_TRUE(areClear(marks, 1010));
  env->releaseMarkArray(marks);
  EXPECT_EQ(flagOf(marks), 0);
}

TEST(MarkArrays, AreLentToOneCallerAtATime) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  void** first = env->getMarkArray();
  void** second = env->getMarkArray();
  EXPECT_NE(first, second);
  EXPECT_EQ(linkOf(first), blockOf(second));
  env->releaseMarkArray(first);
  EXPECT_EQ(env->getMarkArray(), first);
  env->releaseMarkArray(first);
  env->releaseMarkArray(second);
}

TEST(MarkArrays, AreLinkedAtTheEndOfTheChain) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  void** first = env->getMarkArray();
  void** second = env->getMarkArray();
  void** third = env->getMarkArray();
  EXPECT_EQ(env->_markArray, blockOf(first));
  EXPECT_EQ(linkOf(first), blockOf(second));
  EXPECT_EQ(linkOf(second), blockOf(third));
  EXPECT_EQ(linkOf(third), nullptr);
}

TEST(MarkArrays, AreMadeAtTheHeadOfAnEmptyChain) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  env->freeMarks();
  void** marks = env->getMarkArray();
  EXPECT_EQ(env->_markArray, blockOf(marks));
  EXPECT_EQ(linkOf(marks), nullptr);
}

TEST(MarkArrays, AreNotClearedWhenTheyAreLentAgain) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  void** marks = env->getMarkArray();
  marks[5] = &marks;
  env->releaseMarkArray(marks);
  EXPECT_EQ(env->getMarkArray()[5], &marks);
}

TEST(MarkArrays, ThatHaveBecomeTooSmallAreReplacedInTheirPlace) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  void** first = env->getMarkArray();
  void** second = env->getMarkArray();
  void** third = env->getMarkArray();
  second[7] = &second;
  env->releaseMarkArray(second);
  bookIdentifiers(env.impl(), 1001);
  void** fresh = env->getMarkArray();
  EXPECT_EQ(linkOf(first), blockOf(fresh));
  EXPECT_EQ(linkOf(fresh), blockOf(third));
  EXPECT_EQ(capacityOf(fresh), 2001);
  EXPECT_EQ(flagOf(fresh), 1);
  EXPECT_TRUE(areClear(fresh, 2001));
}

TEST(MarkArrays, ThatHaveBecomeTooSmallAreReplacedAtTheHead) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  void** first = env->getMarkArray();
  void** second = env->getMarkArray();
  env->releaseMarkArray(first);
  bookIdentifiers(env.impl(), 1001);
  void** fresh = env->getMarkArray();
  EXPECT_EQ(env->_markArray, blockOf(fresh));
  EXPECT_EQ(linkOf(fresh), blockOf(second));
}

TEST(MarkArrays, AreKeptUntilTheIdentifiersPassTheirCapacity) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  void** marks = env->getMarkArray();
  env->releaseMarkArray(marks);
  bookIdentifiers(env.impl(), 1000);
  EXPECT_EQ(env->getMarkArray(), marks);
  env->releaseMarkArray(marks);
  EXPECT_EQ(capacityOf(marks), 1000);
}

TEST(MarkArrays, AreAllDeletedWhenThreadSafeNormalizationIsSwitchedOff) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  static_cast<void>(env->getMarkArray());
  static_cast<void>(env->getMarkArray());
  env->useMTSafeNormalization(0);
  EXPECT_EQ(env->_markArray, nullptr);
  EXPECT_THROW(static_cast<void>(env->getMarkArray()), VakNotSupportedOperation);
  env->useMTSafeNormalization(0);
  EXPECT_EQ(env->_mtSafeNormalization, 0);
}

TEST(MarkArrays, StayWhenThreadSafeNormalizationIsSwitchedOnAgain) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  void** marks = env->getMarkArray();
  env->useMTSafeNormalization(1);
  EXPECT_EQ(env->_markArray, blockOf(marks));
  EXPECT_EQ(flagOf(marks), 1);
}

TEST(MarkArrays, AreDeletedWithTheEnvironmentWhetherLentOrNot) {
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  static_cast<void>(env->getMarkArray());
  env->releaseMarkArray(env->getMarkArray());
}

TEST(MarkArrays, CanBeClearedAsAWholeBlock) {
  const VakScopedEnv env;
  bookIdentifiers(env.impl(), 5);
  auto** block = new void*[5 + 1003];
  std::fill_n(block, 5 + 1003, block);
  env->initMarkArray(block);
  EXPECT_EQ(block[0], nullptr);
  EXPECT_EQ(block[1], nullptr);
  EXPECT_EQ(capacityOf(block + 3), 1005);
  EXPECT_TRUE(areClear(block + 3, 1005));
  delete[] block;
}

TEST(MarkArrays, AreLentAndTakenBackUnderTheMutex) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  const VakScopedEnv env;
  env->useMTSafeNormalization(1);
  const VakLockCount lending(mutex);
  void** marks = env->getMarkArray();
  EXPECT_EQ(lending.get(), 1);
  const VakLockCount takingBack(mutex);
  env->releaseMarkArray(marks);
  EXPECT_EQ(takingBack.get(), 1);
  VakEndMT();
}

TEST(SavedValues, AreIgnoredWithoutALocalEnvironment) {
  const VakScopedEnv env;
  void* pointer = &pointer;
  long integer = 1;
  double number = 2.0;
  env->saveValue(&pointer);
  env->saveValue(&integer);
  env->saveValue(&number);
  EXPECT_EQ(pointer, &pointer);
  EXPECT_EQ(integer, 1);
  EXPECT_EQ(number, 2.0);
}

TEST(SavedValues, AreForwardedToTheLocalEnvironmentByType) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  void* pointer = nullptr;
  long integer = 1;
  double number = 2.0;
  env->saveValue(&pointer);
  env->saveValue(&number);
  env->saveValue(&integer);
  EXPECT_THAT(path.local.saved, ElementsAre(static_cast<void*>(&pointer), &number, &integer));
}

}  // namespace

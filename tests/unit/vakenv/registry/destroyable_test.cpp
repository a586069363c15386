#include "vakenv/registry/destroyable.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/counting_mutex.h"
#include "tests/support/environment_mode.h"
#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"

namespace {

using Log = std::vector<int>;

class Numbered : public VakDestroyableI {
  VAK_RTTI(Numbered, VakDestroyableI);

  Numbered(VakEnvI* env, Log& log, int number) : VakDestroyableI(env), _log(log), _number(number) {}
  ~Numbered() noexcept(false) override {
    _log.push_back(_number);
    for (Numbered* other : {_first, _second}) delete other;
    if (_makesOther) static_cast<void>(VakCreate<Numbered>(_env, _log, _number + 100));
    if (_throws) throw std::runtime_error("destructor");
  }

  Log& _log;
  int _number;
  Numbered* _first = nullptr;
  Numbered* _second = nullptr;
  bool _makesOther = false;
  bool _throws = false;
};

Numbered* make(VakScopedEnv& env, Log& log, int number) {
  return VakCreate<Numbered>(env.impl(), log, number);
}

TEST(Destroyable, AddsNoMemberToItsBase) {
  EXPECT_EQ(sizeof(VakDestroyableI), sizeof(VakRttiEnvObjectI));
  EXPECT_EQ(sizeof(VakDestroyableList), 7 * sizeof(void*));
  EXPECT_EQ(sizeof(VakDestroyableList::Element), 3 * sizeof(void*));
}

TEST(Destroyable, IsAnEnvironmentObjectInTheTypeSystem) {
  Log log;
  VakScopedEnv env;
  EXPECT_EQ(make(env, log, 1)->isType(VakRttiEnvObjectI::GetTypeInfo()), 1);
  EXPECT_STREQ(VakDestroyableI::GetRttiTypeName(), "VakDestroyableI");
  EXPECT_EQ(VakGetBaseTypeInfo(VakDestroyableI::GetTypeInfo()), VakRttiEnvObjectI::GetTypeInfo());
}

TEST(Destroyable, IsListedInFrontFromItsConstruction) {
  Log log;
  VakScopedEnv env;
  auto* one = make(env, log, 1);
  auto* two = make(env, log, 2);
  const VakDestroyableList& list = *env->_destroyables;
  ASSERT_NE(list.first, nullptr);
  EXPECT_EQ(list.first->destroyable, two);
  EXPECT_EQ(list.first->prev, nullptr);
  EXPECT_EQ(list.first->next->destroyable, one);
  EXPECT_EQ(list.first->next->prev, list.first);
  EXPECT_EQ(list.first->next->next, nullptr);
  EXPECT_EQ(list.check(), "");
}

TEST(Destroyable, RegisteredTwiceLeavesOneElement) {
  Log log;
  VakScopedEnv env;
  auto* one = make(env, log, 1);
  const VakInt before = env->getMemoryUsage();
  env->addDestroyable(one);
  EXPECT_EQ(env->_destroyables->getSize(), 1);
  EXPECT_EQ(env->_destroyables->first->next, nullptr);
  EXPECT_EQ(env->getMemoryUsage(), before);
}

TEST(Destroyable, DeletedEarlyIsUnlinkedAndNotTouchedAtTheEnd) {
  Log log;
  VakScopedEnv env;
  make(env, log, 1);
  auto* two = make(env, log, 2);
  make(env, log, 3);
  const VakInt before = env->getMemoryUsage();
  delete two;
  EXPECT_LT(env->getMemoryUsage(), before);
  EXPECT_EQ(env->_destroyables->check(), "");
  env.env.end();
  EXPECT_EQ(log, (Log{2, 3, 1}));
}

TEST(Destroyable, UnlinksFirstMiddleAndLast) {
  Log log;
  VakScopedEnv env;
  std::vector<Numbered*> all;
  for (int i = 0; i < 5; ++i) all.push_back(make(env, log, i));
  for (int i : {4, 2, 0, 1, 3}) {
    delete all[static_cast<std::size_t>(i)];
    EXPECT_EQ(env->_destroyables->check(), "");
  }
  EXPECT_EQ(env->_destroyables->first, nullptr);
  EXPECT_EQ(env->_destroyables->table._nbItems, 0);
}

TEST(Destroyable, IsDeletedAtTheEndNewestFirst) {
  for (int count = 1; count <= 3; ++count) {
    Log log;
    VakScopedEnv env;
    for (int i = 1; i <= count; ++i) make(env, log, i);
    env.env.end();
    EXPECT_EQ(log, count == 1 ? (Log{1}) : count == 2 ? (Log{2, 1}) : (Log{3, 2, 1}));
  }
}

TEST(Destroyable, MayDeleteOthersInItsDestructorAtTheEnd) {
  Log log;
  VakScopedEnv env;
  auto* one = make(env, log, 1);
  auto* two = make(env, log, 2);
  make(env, log, 3);
  auto* four = make(env, log, 4);
  four->_first = one;
  four->_second = two;
  env.env.end();
  EXPECT_EQ(log, (Log{4, 1, 2, 3}));
}

TEST(Destroyable, MadeByADestructorAtTheEndIsDeletedToo) {
  Log log;
  VakScopedEnv env;
  make(env, log, 1);
  make(env, log, 2)->_makesOther = true;
  env.env.end();
  EXPECT_EQ(log, (Log{2, 102, 1}));
}

TEST(Destroyable, ThatThrowsInItsDestructorHasLeftTheList) {
  Log log;
  VakScopedEnv env;
  make(env, log, 1);
  make(env, log, 2)->_throws = true;
  EXPECT_THROW(env.env.end(), std::runtime_error);
  EXPECT_EQ(log, (Log{2, 1}));
}

TEST(Destroyable, MadeInThreadSafeModeSurvivesTheEnd) {
  Log log;
  VakScopedEnv env;
  env->useMTSafeAllocation(1);
  auto* one = make(env, log, 1);
  EXPECT_FALSE(env->_destroyables->has(one));
  EXPECT_EQ(env->getUnlistedDestroyables(), 1);
  env->useMTSafeAllocation(0);
  make(env, log, 2);
  EXPECT_EQ(env->getUnlistedDestroyables(), 1);
  env.env.end();
  EXPECT_EQ(log, (Log{2}));
}

TEST(Destroyable, MadeInThreadSafeModeIsSimplyNotFoundWhenDeleted) {
  Log log;
  VakScopedEnv env;
  env->useMTSafeAllocation(1);
  auto* one = make(env, log, 1);
  auto* two = make(env, log, 2);
  delete one;
  env->useMTSafeAllocation(0);
  delete two;
  EXPECT_EQ(env->getUnlistedDestroyables(), 0);
  EXPECT_EQ(log, (Log{1, 2}));
}

TEST(Destroyable, MadeBeforeThreadSafeModeIsUnlinkedInIt) {
  Log log;
  VakScopedEnv env;
  auto* one = make(env, log, 1);
  env->useMTSafeAllocation(1);
  delete one;
  EXPECT_EQ(env->_destroyables->first, nullptr);
  EXPECT_EQ(env->getUnlistedDestroyables(), 0);
}

TEST(Destroyable, ListedBeforeThreadSafeModeEndsWithTheEnvironmentInIt) {
  Log log;
  VakScopedEnv env;
  make(env, log, 1);
  make(env, log, 2);
  env->useMTSafeAllocation(1);
  env.env.end();
  EXPECT_EQ(log, (Log{2, 1}));
}

TEST(Destroyable, TakenOffTheListByHandIsCountedAsUnlisted) {
  Log log;
  VakScopedEnv env;
  auto* one = make(env, log, 1);
  env->removeDestroyable(one);
  env->removeDestroyable(one);
  EXPECT_EQ(env->getUnlistedDestroyables(), 1);
  env->addDestroyable(one);
  EXPECT_EQ(env->getUnlistedDestroyables(), 0);
}

TEST(Destroyable, NeverTakesTheMutexForTheListItself) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  {
    Log log;
    VakScopedEnv env;
    auto* listed = make(env, log, 1);
    env->useMTSafeAllocation(1);
    const VakLockCount creation(mutex);
    auto* one = make(env, log, 2);
    EXPECT_EQ(creation.get(), 1);
    const VakLockCount deletion(mutex);
    delete one;
    EXPECT_EQ(deletion.get(), 1);
    const VakLockCount listing(mutex);
    env->addDestroyable(listed);
    EXPECT_EQ(listing.get(), 0);
    const VakLockCount unlinking(mutex);
    delete listed;
    EXPECT_EQ(unlinking.get(), 2);  // the element and the object
  }
  VakEndMT();
}

TEST(DestroyableList, IgnoresCallsLateInTheEnd) {
  Log log;
  VakScopedEnv env;
  VakDestroyableList* list = env->_destroyables;
  auto* one = make(env, log, 1);
  env->_destroyables = nullptr;
  env->addDestroyable(one);
  env->removeDestroyable(one);
  EXPECT_EQ(env->getUnlistedDestroyables(), 1);
  env->_destroyables = list;
  EXPECT_EQ(env->_destroyables->getSize(), 1);
}

TEST(DestroyableList, IndexesEveryObjectFromOneBucketOn) {
  Log log;
  VakScopedEnv env;
  const auto& table = env->_destroyables->table;
  EXPECT_EQ(table._size, 1);
  EXPECT_NE(table._buckets, nullptr);
  make(env, log, 1);
  make(env, log, 2);
  EXPECT_EQ(table._size, 1);
  make(env, log, 3);
  EXPECT_EQ(table._size, 2);
  make(env, log, 4);
  make(env, log, 5);
  EXPECT_EQ(table._size, 4);
  for (int i = 6; i <= 9; ++i) make(env, log, i);
  EXPECT_EQ(table._size, 8);
  EXPECT_EQ(table._nbItems, 9);
}

TEST(DestroyableList, HashesTheAddressShiftedByFiveBits) {
  const auto at = [](unsigned long address) { return reinterpret_cast<VakDestroyableI*>(address); };
  EXPECT_EQ(VakDestroyableList::HashPointer(at(0x12345), 16), (0x12345 >> 5) & 15);
  EXPECT_EQ(VakDestroyableList::HashPointer(at(0xFFFFFFFFFFFFFFE0UL), 1L << 59), (1L << 59) - 1);
  EXPECT_EQ(VakDestroyableList::HashPointer(at(0x1000), 1), 0);
  EXPECT_EQ(VakDestroyableList::ComparePointers(at(16), at(16)), 1);
  EXPECT_EQ(VakDestroyableList::ComparePointers(at(16), at(32)), 0);
}

VakInt badHash(VakDestroyableI*, VakInt size) { return size; }

TEST(DestroyableList, ReportsABadIndexOfItsHashFunctionAndStaysAsItWas) {
  Log log;
  VakScopedEnv env;
  auto* one = make(env, log, 1);
  auto& table = env->_destroyables->table;
  const VakInt before = env->getMemoryUsage();
  table._hash = &badHash;
  try {
    env->addDestroyable(one);
    FAIL();
  } catch (const VakWrongUsage& e) {
    EXPECT_STREQ(e.getMessage(), "Hash function returned bad index");
  }
  EXPECT_THROW(env->removeDestroyable(one), VakWrongUsage);
  table._hash = &VakDestroyableList::HashPointer;
  EXPECT_EQ(env->_destroyables->check(), "");
  EXPECT_EQ(env->getMemoryUsage(), before);
}

TEST(DestroyableList, GivesItsElementsBack) {
  Log log;
  VakScopedEnv env;
  const VakInt before = env->getMemoryUsage();
  std::vector<Numbered*> all;
  for (int i = 0; i < 1000; ++i) all.push_back(make(env, log, i));
  for (Numbered* each : all) delete each;
  EXPECT_EQ(env->getMemoryUsage(), before);
  EXPECT_EQ(env->_destroyables->check(), "");
}

}  // namespace

// What holds for the table in an environment's memory only.

#include "vakenv/tables/env_hash_table.h"

#include <gtest/gtest.h>

#include "tests/support/checking_local_env.h"
#include "tests/support/hash_probe.h"
#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"

namespace {

using Table = VakEnvHashTable<VakInt, VakInt>;
using Calls = std::vector<std::string>;

// Where a member lies in the object; the class has virtual functions, which offsetof rules out.
template <class Member>
long OffsetOf(const Table& table, const Member& member) {
  return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&table);
}

TEST(VakEnvHashTable, HoldsItsFiveFieldsInOrderBehindItsEnvironment) {
  const VakScopedEnv env;
  const Table table(env.impl(), 31, VakHashModulo, VakCompareIntegers);
  EXPECT_EQ(OffsetOf(table, table._env), 8);
  EXPECT_EQ(OffsetOf(table, table._nbItems), 16);
  EXPECT_EQ(OffsetOf(table, table._size), 24);
  EXPECT_EQ(OffsetOf(table, table._hash), 32);
  EXPECT_EQ(OffsetOf(table, table._compare), 40);
  EXPECT_EQ(OffsetOf(table, table._buckets), 48);
  EXPECT_EQ(sizeof(Table), 56U);
}

TEST(VakEnvHashTable, ItsConstructorTakesNoMemory) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  const Table table(env.impl(), 31, VakHashModulo, VakCompareIntegers);
  EXPECT_EQ(table._nbItems, 0);
  EXPECT_EQ(table._size, 31);
  EXPECT_EQ(table._hash, &VakHashModulo);
  EXPECT_EQ(table._compare, &VakCompareIntegers);
  EXPECT_EQ(table._buckets, nullptr);
  EXPECT_EQ(path.local.calls, Calls());
}

TEST(VakEnvHashTable, FindWithoutBucketsReturns1WithoutAllocating) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  const Table table(env.impl(), 31, VakHashToSize, VakCompareIntegers);
  VakInt value = 99;
  EXPECT_EQ(table.find(1, value), 1);
  EXPECT_EQ(value, 99);
  EXPECT_EQ(table._buckets, nullptr);
  EXPECT_EQ(path.local.calls, Calls());
}

TEST(VakEnvHashTable, CreateMakesTheBucketsOnce) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  Table table(env.impl(), 3, VakHashModulo, VakCompareIntegers);
  table.create();
  auto* buckets = table._buckets;
  for (VakInt b = 0; b < 3; ++b) EXPECT_EQ(buckets[b], nullptr);
  table.create();
  EXPECT_EQ(table._buckets, buckets);
  EXPECT_EQ(path.local.calls, Calls({"alloc 24"}));
}

TEST(VakEnvHashTable, AddAndRemoveMakeTheBucketsIfThereAreNone) {
  const VakScopedEnv env;
  Table added(env.impl(), 2, VakHashModulo, VakCompareIntegers);
  EXPECT_EQ(added.add(1, 10), 0);
  EXPECT_NE(added._buckets, nullptr);
  Table removed(env.impl(), 2, VakHashModulo, VakCompareIntegers);
  EXPECT_EQ(removed.remove(1), 1);
  EXPECT_NE(removed._buckets, nullptr);
}

TEST(VakEnvHashTable, GivesOldBucketsBackWithTheirOldSizeAndTheRestWhenItDies) {
  const VakScopedEnv env;
  VakRecordedPath path(env.impl());
  {
    Table table(env.impl(), 1, VakHashModulo, VakCompareIntegers);
    for (VakInt key = 0; key < 3; ++key) table.add(key, key);
    EXPECT_EQ(path.local.calls,
              Calls({"alloc 8", "alloc 24", "alloc 24", "alloc 24", "alloc 16", "free 8"}));
    path.local.calls.clear();
  }
  EXPECT_EQ(path.local.calls, Calls({"free 24", "free 24", "free 24", "free 16"}));
}

TEST(VakEnvHashTable, DeletingOneGivesItsOwnBlockBackLast) {
  const VakScopedEnv env;
  const VakRecordedPath path(env.impl());
  auto* table = VakCreate<Table>(env.impl(), 2, VakHashModulo, VakCompareIntegers);
  table->add(1, 10);
  VakEnvObjectI* base = table;
  delete base;
  EXPECT_EQ(path.local.calls,
            Calls({"alloc 56", "alloc 16", "alloc 24", "free 24", "free 16", "free 56"}));
}

TEST(VakEnvHashTable, LeavesWhatItsValuesPointToAlone) {
  const VakScopedEnv env;
  int value = 5;
  {
    VakEnvHashTable<VakInt, int*> table(env.impl(), 1, VakHashModulo, VakCompareIntegers);
    table.add(1, &value);
  }
  EXPECT_EQ(value, 5);
}

// A value of which a chosen move throws.
struct Refusing {
  Refusing() = default;
  Refusing(Refusing&& /*other*/) {
    if (--movesLeft == 0) throw 42;
  }
  static inline int movesLeft = 0;
};

TEST(VakEnvHashTable, GivesTheItemBackWhenItsValueCannotBeMovedIntoIt) {
  const VakScopedEnv env;
  VakCheckedPath path(env.impl());
  VakEnvHashTable<VakInt, Refusing> table(env.impl(), 1, VakHashModulo, VakCompareIntegers);
  table.create();
  int throws = 0;
  for (int failAt = 1; table._nbItems == 0; ++failAt) {
    Refusing::movesLeft = failAt;
    try {
      table.add(1, Refusing());
    } catch (int) {
      ++throws;
      EXPECT_EQ(path.ledger().countBlocks(), 1);
      EXPECT_EQ(table.check(), "");
    }
  }
  EXPECT_GT(throws, 1);
  EXPECT_EQ(path.ledger().countBlocks(), 2);
}

}  // namespace

// Memory that runs out and functions that fail, at every possible moment, in both hash tables: the
// table is then as before.

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>

#include "tests/support/hash_harness.h"
#include "tests/support/hash_probe.h"
#include "vakbase/exception.h"

namespace {

using Failure = VakHashProbe::Failure;
using Model = std::map<VakInt, VakInt>;

template <class Harness>
class HashTableFaults : public testing::Test {
 public:
  ~HashTableFaults() override { VakHashProbe::Reset(); }
};

struct HarnessNames {
  template <class Harness>
  static std::string GetName(int) {
    return std::is_same_v<Harness, VakHeapTableHarness<VakInt, VakInt>> ? "Heap" : "Environment";
  }
};

using Harnesses =
    testing::Types<VakHeapTableHarness<VakInt, VakInt>, VakEnvTableHarness<VakInt, VakInt>>;
TYPED_TEST_SUITE(HashTableFaults, Harnesses, HarnessNames);

// Keys apart from each other, so that chains hold keys of several later buckets.
VakInt KeyOf(VakInt i) { return i * 5 % 97; }

template <class Harness>
Model Fill(Harness& h, VakInt entries) {
  Model model;
  for (VakInt i = 0; i < entries; ++i) {
    h.table.add(KeyOf(i), i);
    model[KeyOf(i)] = i;
  }
  return model;
}

template <class Harness>
void ExpectHolds(const Harness& h, const Model& model, const std::string& where) {
  VakHashProbe::Reset();
  EXPECT_EQ(h.table.check(), "") << where;
  EXPECT_EQ(VakContents(h.table), model) << where;
  for (const auto& [key, expected] : model) {
    VakInt value = -1;
    EXPECT_EQ(h.table.find(key, value), 0) << where;
    EXPECT_EQ(value, expected) << where;
  }
}

TYPED_TEST(HashTableFaults, AddIsUndoneWhicheverAllocationFails) {
  for (VakInt entries = 0; entries < 40; ++entries) {
    for (long failAt = 1;; ++failAt) {
      TypeParam h(VakHashModulo, VakCompareIntegers, 1);
      Model model = Fill(h, entries);
      EXPECT_EQ(h.table.remove(KeyOf(entries)), 1);  // makes the buckets
      const std::string chains = VakChains(h.table);
      const VakInt size = h.table._size;
      bool threw = false;
      const bool failed = h.runFailing(failAt, [&] {
        try {
          h.table.add(KeyOf(entries), entries);
        } catch (const typename TypeParam::MemoryError&) {
          threw = true;
        }
      });
      EXPECT_EQ(threw, failed);
      if (!failed) model[KeyOf(entries)] = entries;
      if (failed) {
        EXPECT_EQ(h.table._size, size);
        EXPECT_EQ(VakChains(h.table), chains);
      }
      ExpectHolds(h, model, std::to_string(entries) + " entries");
      EXPECT_EQ(h.mismatches(), 0);
      if (!failed) break;
    }
  }
}

TYPED_TEST(HashTableFaults, RehashChangesNothingWhenItsAllocationFails) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 4);
  const Model model = Fill(h, 8);
  const std::string chains = VakChains(h.table);
  bool threw = false;
  EXPECT_TRUE(h.runFailing(1, [&] {
    try {
      h.table.reMod(16);
    } catch (const typename TypeParam::MemoryError&) {
      threw = true;
    }
  }));
  EXPECT_TRUE(threw);
  EXPECT_EQ(VakChains(h.table), chains);
  ExpectHolds(h, model, "rehash");
}

TYPED_TEST(HashTableFaults, AddAndRemoveStayWithoutBucketsWhenTheyCannotBeMade) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 4);
  h.table.end();
  for (const bool adds : {true, false}) {
    bool threw = false;
    EXPECT_TRUE(h.runFailing(1, [&] {
      try {
        static_cast<void>(adds ? h.table.add(1, 1) : h.table.remove(1));
      } catch (const typename TypeParam::MemoryError&) {
        threw = true;
      }
    }));
    EXPECT_TRUE(threw);
    EXPECT_EQ(h.table._buckets, nullptr);
    EXPECT_EQ(h.table._nbItems, 0);
  }
}

TEST(HashTableFaults, CreateLeavesNoBucketsWhenTheEnvironmentHasNoMemory) {
  VakEnvTableHarness<VakInt, VakInt> h(VakHashModulo, VakCompareIntegers, 4);
  EXPECT_TRUE(h.runFailing(1, [&] { EXPECT_THROW(h.table.create(), std::bad_alloc); }));
  EXPECT_EQ(h.table._buckets, nullptr);
  h.table.create();
  EXPECT_NE(h.table._buckets, nullptr);
}

// Runs `operation` with call `failAt` of the probe failing; true if it threw the right thing.
template <class Operation>
bool ThrowsAtCall(long failAt, Failure failure, bool staysBroken, Operation operation) {
  VakHashProbe::Reset(failAt, failure, staysBroken);
  bool threw = false;
  try {
    operation();
  } catch (const std::runtime_error&) {
    threw = failure == Failure::Throws;
  } catch (const VakWrongUsage& e) {
    threw = failure != Failure::Throws &&
            std::string(e.getMessage()) == "Hash function returned bad index";
  }
  return threw;
}

TYPED_TEST(HashTableFaults, AddIsUndoneWhicheverCallOfTheUsersFunctionsFails) {
  for (const Failure failure : {Failure::Throws, Failure::BelowRange, Failure::AboveRange}) {
    for (VakInt entries = 0; entries < 20; ++entries) {
      for (long failAt = 1;; ++failAt) {
        TypeParam h(VakHashProbe::Hash, VakHashProbe::Compare, 1);
        VakHashProbe::Reset();
        Model model = Fill(h, entries);
        const VakInt size = h.table._size;
        const bool threw =
            ThrowsAtCall(failAt, failure, false, [&] { h.table.add(KeyOf(entries), entries); });
        const bool isOver = VakHashProbe::calls < failAt;
        if (threw) {
          EXPECT_EQ(h.table._size, size);
        } else {
          model[KeyOf(entries)] = entries;
        }
        ExpectHolds(h, model, std::to_string(entries) + " entries");
        if (isOver) break;
      }
    }
  }
}

TYPED_TEST(HashTableFaults, FindAndRemoveChangeNothingWhicheverCallFails) {
  for (const Failure failure : {Failure::Throws, Failure::BelowRange, Failure::AboveRange}) {
    for (long failAt = 1; failAt <= 5; ++failAt) {
      TypeParam h(VakHashProbe::Hash, VakHashProbe::Compare, 4);
      VakHashProbe::Reset();
      const Model model = Fill(h, 8);
      VakInt value = 99;
      const bool found = !ThrowsAtCall(failAt, failure, false,
                                       [&] { static_cast<void>(h.table.find(KeyOf(7), value)); });
      EXPECT_EQ(value, found ? 7 : 99);
      const bool removed = !ThrowsAtCall(failAt, failure, false, [&] { h.table.remove(KeyOf(7)); });
      Model left = model;
      if (removed) left.erase(KeyOf(7));
      ExpectHolds(h, left, "call " + std::to_string(failAt));
    }
  }
}

TYPED_TEST(HashTableFaults, RehashLosesNothingWhenTheHashFunctionBreaksForGoodWhileItMoves) {
  constexpr VakInt entries = 9;
  for (long failAt = 1; failAt <= 2 * entries; ++failAt) {
    TypeParam h(VakHashProbe::Hash, VakHashProbe::Compare, 8);
    VakHashProbe::Reset();
    const Model model = Fill(h, entries);
    const std::string chains = VakChains(h.table);
    EXPECT_TRUE(ThrowsAtCall(failAt, Failure::Throws, true, [&] { h.table.reMod(16); }));
    EXPECT_EQ(h.table._size, 8);
    EXPECT_EQ(h.table._nbItems, entries);
    EXPECT_EQ(VakContents(h.table), model);
    if (failAt <= entries) {
      EXPECT_EQ(VakChains(h.table), chains) << failAt;
    }
    VakHashProbe::Reset();
    EXPECT_EQ(h.mismatches(), 0);
  }
}

TYPED_TEST(HashTableFaults, AddTakesItsItemOutAgainWhereverABrokenHashFunctionLeftIt) {
  constexpr VakInt entries = 4;
  for (long failAt = 1; failAt <= 11; ++failAt) {
    TypeParam h(VakHashProbe::Hash, VakHashProbe::Compare, 2);
    VakHashProbe::Reset();
    const Model model = Fill(h, entries);
    EXPECT_TRUE(ThrowsAtCall(failAt, Failure::AboveRange, true, [&] {
      h.table.add(KeyOf(entries), entries);
    })) << failAt;
    VakHashProbe::Reset();
    EXPECT_EQ(VakContents(h.table), model) << failAt;
    EXPECT_EQ(h.table._nbItems, entries);
  }
}

}  // namespace

// Long random sequences of operations on both hash tables beside the standard one.

#include <gtest/gtest.h>

#include <random>
#include <unordered_map>

#include "tests/support/hash_harness.h"
#include "tests/support/hash_probe.h"

namespace {

constexpr int Operations = 60000;
constexpr int CheckEvery = 5000;

template <class Harness>
void RunBesideModel(Harness& h, unsigned seed, VakInt keys) {
  std::mt19937 random(seed);
  std::unordered_map<VakInt, VakInt> model;
  VakInt buckets = h.table._size;
  for (int step = 0; step < Operations; ++step) {
    const auto key = static_cast<VakInt>(random() % static_cast<unsigned>(keys));
    const unsigned kind = random() % 8;
    if (kind < 4) {
      EXPECT_EQ(h.table.add(key, step), model.emplace(key, step).second ? 0 : 2);
      if (h.table._nbItems > 2 * buckets) buckets *= 2;
    } else if (kind < 6) {
      EXPECT_EQ(h.table.remove(key), model.erase(key) == 1 ? 0 : 1);
    } else {
      VakInt value = -1;
      const auto known = model.find(key);
      ASSERT_EQ(h.table.find(key, value), known != model.end() ? 0 : 1);
      EXPECT_EQ(value, known != model.end() ? known->second : -1);
    }
    ASSERT_EQ(h.table._nbItems, static_cast<VakInt>(model.size()));
    ASSERT_EQ(h.table._size, buckets);
    ASSERT_LE(h.table._nbItems, 2 * h.table._size);
    if (step % CheckEvery == 0) {
      ASSERT_EQ(h.table.check(), "");
    }
  }
  const auto contents = VakContents(h.table);
  EXPECT_EQ((std::unordered_map<VakInt, VakInt>(contents.begin(), contents.end())), model);
  EXPECT_EQ(h.mismatches(), 0);
}

TEST(HashTableModel, TheHeapTableBehavesLikeAStandardMap) {
  for (const unsigned seed : {1U, 2U, 3U}) {
    VakHeapTableHarness<VakInt, VakInt> h(VakHashModulo, VakCompareIntegers, 1);
    RunBesideModel(h, seed, 2000);
  }
}

TEST(HashTableModel, TheEnvironmentTableBehavesLikeAStandardMap) {
  for (const unsigned seed : {1U, 2U, 3U}) {
    VakEnvTableHarness<VakInt, VakInt> h(VakHashModulo, VakCompareIntegers, 31);
    RunBesideModel(h, seed, 2000);
  }
}

TEST(HashTableModel, OneLongChainBehavesLikeAStandardMapToo) {
  VakHeapTableHarness<VakInt, VakInt> h(VakHashToZero, VakCompareIntegers, 1);
  RunBesideModel(h, 4, 50);
}

TEST(HashTableModel, RandomRehashesKeepAllEntries) {
  VakEnvTableHarness<VakInt, VakInt> h(VakHashModulo, VakCompareIntegers, 7);
  for (VakInt key = 0; key < 1000; ++key) h.table.add(key * 13, key);
  const auto contents = VakContents(h.table);
  std::mt19937 random(5);
  for (int i = 0; i < 100; ++i) {
    const auto size = static_cast<VakInt>(random() % 3000) + 1;
    h.table.reMod(size);
    EXPECT_EQ(h.table._size, size);
    ASSERT_EQ(h.table.check(), "");
    ASSERT_EQ(VakContents(h.table), contents);
  }
  EXPECT_EQ(h.mismatches(), 0);
}

}  // namespace

// What holds for both hash tables.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/hash_harness.h"
#include "tests/support/hash_probe.h"
#include "vakbase/exception.h"

namespace {

constexpr auto BadIndex = "Hash function returned bad index";

template <class Harness>
class HashTables : public testing::Test {};

struct HarnessNames {
  template <class Harness>
  static std::string GetName(int) {
    return std::is_same_v<Harness, VakHeapTableHarness<VakInt, VakInt>> ? "Heap" : "Environment";
  }
};

using Harnesses =
    testing::Types<VakHeapTableHarness<VakInt, VakInt>, VakEnvTableHarness<VakInt, VakInt>>;
TYPED_TEST_SUITE(HashTables, Harnesses, HarnessNames);

template <class Operation>
std::string MessageOf(Operation operation) {
  try {
    operation();
  } catch (const VakWrongUsage& e) {
    return e.getMessage();
  }
  return "nothing thrown";
}

TYPED_TEST(HashTables, BucketsDoubleAtTheThirdFifthAndNinthEntry) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 1);
  const VakInt sizes[] = {1, 1, 2, 2, 4, 4, 4, 4, 8, 8, 8, 8, 8, 8, 8, 8, 16};
  for (VakInt key = 0; key < 17; ++key) {
    EXPECT_EQ(h.table.add(key, -key), 0);
    EXPECT_EQ(h.table._size, sizes[key]) << "after key " << key;
    EXPECT_EQ(h.table._nbItems, key + 1);
    EXPECT_EQ(h.table.check(), "");
  }
}

TYPED_TEST(HashTables, AddingAnEqualKeyAgainReturns2AndKeepsTheFirstValueAndTheCount) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 1);
  EXPECT_EQ(h.table.add(7, 70), 0);
  EXPECT_EQ(h.table.add(7, 71), 2);
  VakInt value = 0;
  EXPECT_EQ(h.table.find(7, value), 0);
  EXPECT_EQ(value, 70);
  EXPECT_EQ(h.table._nbItems, 1);
}

TYPED_TEST(HashTables, FindOfAnAbsentKeyReturns1AndLeavesTheValue) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 4);
  h.table.add(1, 10);
  VakInt value = 99;
  EXPECT_EQ(h.table.find(5, value), 1);
  EXPECT_EQ(value, 99);
}

TYPED_TEST(HashTables, RemoveOfAnAbsentKeyReturns1) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 4);
  h.table.add(1, 10);
  EXPECT_EQ(h.table.remove(5), 1);
  EXPECT_EQ(h.table._nbItems, 1);
}

TYPED_TEST(HashTables, RemovingTheLastEntryLeavesTheBucketsAsTheyWere) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 1);
  for (VakInt key = 0; key < 9; ++key) h.table.add(key, key);
  for (VakInt key = 0; key < 9; ++key) EXPECT_EQ(h.table.remove(key), 0);
  EXPECT_EQ(h.table._nbItems, 0);
  EXPECT_EQ(h.table._size, 8);
  EXPECT_NE(h.table._buckets, nullptr);
  EXPECT_EQ(h.table.check(), "");
}

TYPED_TEST(HashTables, RemoveUnlinksTheFirstTheMiddleAndTheLastOfAChain) {
  for (const VakInt removed : {3, 2, 1}) {
    TypeParam h(VakHashToZero, VakCompareIntegers, 4);
    for (VakInt key = 1; key <= 3; ++key) h.table.add(key, key);
    EXPECT_EQ(h.table.remove(removed), 0);
    const std::string left = removed == 3 ? "2 1" : removed == 2 ? "3 1" : "3 2";
    EXPECT_EQ(VakChains(h.table), "0: " + left + ";1:;2:;3:;");
    EXPECT_EQ(h.table.remove(removed), 1);
  }
}

TYPED_TEST(HashTables, AddPutsNewItemsInFrontOfTheirChain) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 2);
  for (VakInt key = 0; key < 4; ++key) h.table.add(key, key);
  EXPECT_EQ(VakChains(h.table), "0: 2 0;1: 3 1;");
}

TYPED_TEST(HashTables, RehashTakesItemsInChainOrderSoThatChainsComeOutReversed) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 2);
  for (VakInt key = 0; key < 4; ++key) h.table.add(key, key);
  h.table.reMod(1);
  EXPECT_EQ(VakChains(h.table), "0: 1 3 0 2;");
  h.table.reMod(2);
  EXPECT_EQ(VakChains(h.table), "0: 2 0;1: 3 1;");
}

TYPED_TEST(HashTables, RehashKeepsTheItemsThemselves) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 1);
  h.table.add(5, 50);
  const auto* item = h.table._buckets[0];
  h.table.reMod(4);
  EXPECT_EQ(h.table._buckets[1], item);
  EXPECT_EQ(h.table._size, 4);
}

TYPED_TEST(HashTables, RehashWithoutBucketsOnlyMakesThem) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 4);
  h.table.end();
  h.table.reMod(3);
  EXPECT_EQ(VakChains(h.table), "0:;1:;2:;");
}

TYPED_TEST(HashTables, AHashFunctionThatReturnsTheSizeMakesEveryOperationThrow) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 2);
  for (VakInt key = 0; key < 3; ++key) h.table.add(key, key);
  for (const auto hash : {VakHashToSize, VakHashToMinusOne}) {
    h.table._hash = hash;
    VakInt value = 99;
    EXPECT_EQ(MessageOf([&] { h.table.add(9, 9); }), BadIndex);
    EXPECT_EQ(MessageOf([&] { static_cast<void>(h.table.find(1, value)); }), BadIndex);
    EXPECT_EQ(MessageOf([&] { h.table.remove(1); }), BadIndex);
    EXPECT_EQ(MessageOf([&] { h.table.reMod(8); }), BadIndex);
    EXPECT_EQ(value, 99);
  }
  h.table._hash = VakHashModulo;
  EXPECT_EQ(VakChains(h.table), "0: 2 0;1: 1;");
  EXPECT_EQ(h.table._nbItems, 3);
  EXPECT_EQ(h.mismatches(), 0);
}

TYPED_TEST(HashTables, ATableOfNoBucketsHasNoPlaceForAnyKey) {
  TypeParam h([](VakInt, VakInt) { return VakInt{0}; }, VakCompareIntegers, 0);
  EXPECT_EQ(MessageOf([&] { h.table.add(1, 1); }), BadIndex);
  EXPECT_EQ(MessageOf([&] { h.table.remove(1); }), BadIndex);
  EXPECT_EQ(h.table._nbItems, 0);
  h.table.reMod(2);
  EXPECT_EQ(h.table.add(1, 1), 0);
  EXPECT_EQ(MessageOf([&] { h.table.reMod(0); }), BadIndex);
  EXPECT_EQ(VakChains(h.table), "0: 1;1:;");
}

TYPED_TEST(HashTables, ARehashIntoMoreBucketsThanMemoryHoldsChangesNothing) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 2);
  for (VakInt key = 0; key < 4; ++key) h.table.add(key, key);
  for (const VakInt size : {VakInt{-1}, VakInt{1} << 59, VakInt{1} << 61, VakInt{1} << 62}) {
    EXPECT_THROW(h.table.reMod(size), typename TypeParam::MemoryError) << size;
  }
  EXPECT_EQ(VakChains(h.table), "0: 2 0;1: 3 1;");
  EXPECT_EQ(h.table.check(), "");
}

TYPED_TEST(HashTables, EndGivesEverythingBackAndTheTableCanBeUsedAgain) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 1);
  for (VakInt key = 0; key < 5; ++key) h.table.add(key, key);
  h.table.end();
  EXPECT_EQ(h.table._buckets, nullptr);
  EXPECT_EQ(h.table._nbItems, 0);
  EXPECT_EQ(h.table._size, 4);
  VakInt value = 99;
  EXPECT_EQ(h.table.find(1, value), 1);
  EXPECT_EQ(h.table.remove(1), 1);
  EXPECT_EQ(h.table.add(1, 10), 0);
  EXPECT_EQ(VakChains(h.table), "0:;1: 1;2:;3:;");
  h.table.end();
  h.table.end();
  EXPECT_EQ(h.mismatches(), 0);
}

TYPED_TEST(HashTables, ItemsCanTakeAnotherKeyAndValue) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 4);
  h.table.add(1, 10);
  auto* item = h.table._buckets[1];
  item->setKey(5);
  item->setValue(50);
  VakInt value = 0;
  EXPECT_EQ(h.table.find(5, value), 0);
  EXPECT_EQ(value, 50);
}

TYPED_TEST(HashTables, TheIteratorVisitsEveryItemOnce) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 1);
  typename TypeParam::Table::Iterator none(h.table);
  EXPECT_FALSE(none.ok());
  for (VakInt key = 0; key < 100; ++key) h.table.add(key * 7, key);
  VakInt visited = 0;
  for (typename TypeParam::Table::Iterator i(h.table); i.ok(); ++i) {
    EXPECT_EQ((*i).getKey(), 7 * i->getValue());
    ++visited;
  }
  EXPECT_EQ(visited, 100);
  EXPECT_EQ(VakContents(h.table).size(), 100U);
  h.table.end();
  typename TypeParam::Table::Iterator ended(h.table);
  EXPECT_FALSE(ended.ok());
}

// With many buckets the items of later ones are asked for ahead. Bucket b has b % 4 items here.
TYPED_TEST(HashTables, ManyBucketsAreMovedAsFewOnesAre) {
  constexpr VakInt size = VakHashFewBuckets;
  TypeParam h(VakHashModulo, VakCompareIntegers, size);
  for (VakInt b = 0; b < size; ++b) {
    for (VakInt c = 0; c < b % 4; ++c) h.table.add(b + c * size, c);
  }
  ASSERT_EQ(h.table._size, size);
  const auto valuesOf = [&h](VakInt bucket) {
    std::string values;
    for (auto* item = h.table._buckets[bucket]; item != nullptr; item = item->getNext()) {
      values += std::to_string(item->getValue());
    }
    return values;
  };
  ASSERT_EQ(valuesOf(3), "210");
  h.table.reMod(2 * size);
  VakInt wrong = 0;
  for (VakInt b = 0; b < size; ++b) {
    const VakInt count = b % 4;
    if (valuesOf(b) != (count == 0 ? "" : count == 3 ? "02" : "0")) ++wrong;
    if (valuesOf(b + size) != (count < 2 ? "" : "1")) ++wrong;
  }
  EXPECT_EQ(wrong, 0);
  h.table.reMod(3 * size);
  EXPECT_EQ(h.table._size, 3 * size);
  EXPECT_EQ(h.table.check(), "");
}

TYPED_TEST(HashTables, CheckNamesWhatIsBroken) {
  TypeParam h(VakHashModulo, VakCompareIntegers, 2);
  h.table.add(0, 0);
  h.table.add(1, 1);
  EXPECT_EQ(h.table.check(), "");
  h.table._nbItems = 1;
  EXPECT_EQ(h.table.check(), "the chains hold more items than the 1 counted");
  h.table._nbItems = 3;
  EXPECT_EQ(h.table.check(), "the chains hold 2 items of the 3 counted");
  h.table._nbItems = 2;
  std::swap(h.table._buckets[0], h.table._buckets[1]);
  EXPECT_EQ(h.table.check(), "an item of bucket 1 is in bucket 0");
  std::swap(h.table._buckets[0], h.table._buckets[1]);
  h.table.add(2, 2);
  h.table._buckets[0]->setKey(0);
  EXPECT_EQ(h.table.check(), "bucket 0 has a key twice");
  h.table.end();
  h.table._nbItems = 1;
  EXPECT_EQ(h.table.check(), "a table without buckets counts 1 items");
  h.table._nbItems = 0;
}

}  // namespace

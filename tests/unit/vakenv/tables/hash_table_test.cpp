// What holds for the table on the general heap only.

#include "vakenv/tables/hash_table.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "tests/support/failing_new.h"
#include "tests/support/hash_probe.h"

namespace {

using Table = VakHashTable<VakInt, VakInt>;

TEST(VakHashTable, HoldsItsFiveFieldsInOrderAndNothingElse) {
  static_assert(std::is_standard_layout_v<Table>);
  EXPECT_EQ(offsetof(Table, _nbItems), 0U);
  EXPECT_EQ(offsetof(Table, _size), 8U);
  EXPECT_EQ(offsetof(Table, _hash), 16U);
  EXPECT_EQ(offsetof(Table, _compare), 24U);
  EXPECT_EQ(offsetof(Table, _buckets), 32U);
  EXPECT_EQ(sizeof(Table), 40U);
  EXPECT_EQ(offsetof(Table::Item, _next), 0U);
  EXPECT_EQ(offsetof(Table::Item, _key), 8U);
  EXPECT_EQ(offsetof(Table::Item, _value), 16U);
}

TEST(VakHashTable, TakesItsBucketsWhenItIsMade) {
  Table table(VakHashModulo, VakCompareIntegers, 3);
  EXPECT_EQ(table._nbItems, 0);
  EXPECT_EQ(table._size, 3);
  EXPECT_EQ(table._hash, &VakHashModulo);
  EXPECT_EQ(table._compare, &VakCompareIntegers);
  for (VakInt b = 0; b < 3; ++b) EXPECT_EQ(table._buckets[b], nullptr);
  table.end();
}

TEST(VakHashTable, GivesItsMemoryBackOnlyAtItsEnd) {
  const long before = VakFailingNew::CountBlocks();
  {
    Table table(VakHashModulo, VakCompareIntegers, 1);
    for (VakInt key = 0; key < 5; ++key) table.add(key, key);
    EXPECT_EQ(VakFailingNew::CountBlocks() - before, 6);
    table.remove(3);
    EXPECT_EQ(VakFailingNew::CountBlocks() - before, 5);
    table.end();
  }
  EXPECT_EQ(VakFailingNew::CountBlocks(), before);
}

TEST(VakHashTable, AFailingHeapIsReportedAsNotEnoughMemory) {
  for (const VakInt size : {VakInt{-1}, VakInt{1} << 59, VakInt{1} << 61}) {
    try {
      Table table(VakHashModulo, VakCompareIntegers, size);
      FAIL() << size;
    } catch (const VakMemoryException& e) {
      EXPECT_STREQ(e.getMessage(), "not enough memory");
    }
  }
}

TEST(VakHashTable, AnItemStartsWithoutANextOne) {
  Table::Item item(1, 2);
  EXPECT_EQ(item.getKey(), 1);
  EXPECT_EQ(item.getValue(), 2);
  EXPECT_EQ(item.getNext(), nullptr);
  Table::Item next(3, 4);
  item.setNext(&next);
  EXPECT_EQ(item.getNext(), &next);
}

}  // namespace

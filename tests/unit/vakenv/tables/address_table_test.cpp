// Tables of objects by address: the tables recognise the functions for that and leave the calls
// out.

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/failing_new.h"
#include "vakbase/exception.h"
#include "vakenv/tables/hash_table.h"

namespace {

using Key = const char*;
using Table = VakHashTable<Key, VakInt>;

// The same functions, but not recognised.
VakInt CalledHash(Key key, VakInt size) { return VakHashAddress<Key>(key, size); }
VakInt CalledCompare(Key a, Key b) { return VakCompareAddresses<Key>(a, b); }

/// Runs the same operations on both tables.
struct Pair {
  explicit Pair(VakInt size = 1)
      : recognised(VakHashAddress<Key>, VakCompareAddresses<Key>, size),
        called(CalledHash, CalledCompare, size) {}
  ~Pair() {
    recognised.end();
    called.end();
  }
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;

  template <class Operation>
  void run(Operation operation) {
    EXPECT_EQ(operation(recognised), operation(called));
  }

  Table recognised;
  Table called;
};

std::string Layout(const Table& table) {
  std::ostringstream text;
  for (VakInt b = 0; b < table._size; ++b) {
    text << "|";
    for (auto* item = table._buckets[b]; item != nullptr; item = item->getNext()) {
      text << " " << static_cast<const void*>(item->getKey()) << "=" << item->getValue();
    }
  }
  return text.str();
}

TEST(AddressTable, AnAddressIsShiftedByFiveAndMaskedWithTheSizeLessOne) {
  const auto key = [](unsigned long address) { return reinterpret_cast<Key>(address); };
  EXPECT_EQ(VakHashAddress<Key>(key(0x12345), 16), (0x12345 >> 5) & 15);
  EXPECT_EQ(VakHashAddress<Key>(key(0xFFFFFFFFFFFFFFE0UL), 1L << 59), (1L << 59) - 1);
  EXPECT_EQ(VakHashAddress<Key>(key(0x1000), 1), 0);
  EXPECT_EQ(VakCompareAddresses<Key>(key(16), key(16)), 1);
  EXPECT_EQ(VakCompareAddresses<Key>(key(16), key(32)), 0);
}

// Tables of so many buckets look ahead when they double.
TEST(AddressTable, RecognisedFunctionsGiveTheSameTableWithManyBuckets) {
  constexpr VakInt count = 2 * VakHashFewBuckets + 1;
  std::vector<char> objects(16 * count);
  Pair tables(VakHashFewBuckets);
  for (VakInt i = 0; i < count; ++i) {
    const Key key = &objects[static_cast<std::size_t>(16 * i)];
    tables.run([&](Table& table) { return table.add(key, i); });
  }
  EXPECT_EQ(tables.recognised._size, 2 * VakHashFewBuckets);
  EXPECT_TRUE(Layout(tables.recognised) == Layout(tables.called));
  tables.recognised.reMod(3 * VakHashFewBuckets);
  tables.called.reMod(3 * VakHashFewBuckets);
  EXPECT_TRUE(Layout(tables.recognised) == Layout(tables.called));
}

TEST(AddressTable, RecognisedFunctionsGiveTheSameTableAsCalledOnes) {
  std::vector<char> objects(16 * 3000);
  Pair tables;
  std::mt19937 random(1);
  for (VakInt step = 0; step < 30000; ++step) {
    const Key key = &objects[16 * (random() % 3000)];
    switch (random() % 4) {
      case 0:
      case 1:
        tables.run([&](Table& table) { return table.add(key, step); });
        break;
      case 2:
        tables.run([&](Table& table) { return table.remove(key); });
        break;
      default:
        tables.run([&](Table& table) {
          VakInt value = -1;
          return table.find(key, value) * 100000 + value;
        });
    }
    if (step % 1000 == 0) tables.run([](Table& table) { return Layout(table); });
  }
  tables.run([](Table& table) {
    table.reMod(64);
    return Layout(table);
  });
  EXPECT_EQ(tables.recognised.check(), "");
}

TEST(AddressTable, ARehashIntoNoBucketsIsRefused) {
  Pair tables;
  const char object = 0;
  tables.run([&](Table& table) { return table.add(&object, 1); });
  tables.run([&](Table& table) -> std::string {
    try {
      table.reMod(0);
    } catch (const VakWrongUsage& e) {
      return e.getMessage() + Layout(table);
    }
    return "nothing thrown";
  });
  EXPECT_EQ(tables.recognised._size, 1);
}

TEST(AddressTable, AddIsUndoneWhicheverAllocationFails) {
  std::vector<char> objects(32 * 9);
  for (std::size_t entries = 0; entries < 9; ++entries) {
    Table table(VakHashAddress<Key>, VakCompareAddresses<Key>, 1);
    for (std::size_t i = 0; i < entries; ++i) table.add(&objects[32 * i], 0);
    const std::string layout = Layout(table);
    VakFailEachNew([&] { EXPECT_EQ(table.add(&objects[32 * entries], 0), 0); },
                   [&](const std::exception_ptr& thrown) {
                     EXPECT_TRUE(VakIsException<VakMemoryException>(thrown));
                     EXPECT_EQ(Layout(table), layout);
                   });
    EXPECT_EQ(table._nbItems, static_cast<VakInt>(entries) + 1);
    EXPECT_EQ(table.check(), "");
    table.end();
  }
}

}  // namespace

#include "vakenv/registry/reference_table.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "tests/support/failing_new.h"

namespace {

TEST(ReferenceTable, HasNoStampsAndNoMemoryAtFirst) {
  const VakFailingNew counting(0);
  VakReferenceTable table;
  EXPECT_EQ(table.find(0), 0u);
  EXPECT_EQ(table.find(-1), 0u);
  EXPECT_EQ(table.find(1L << 60), 0u);
  table.drop(5);
  table.end();
  EXPECT_EQ(counting.count(), 0);
}

TEST(ReferenceTable, KeepsAStampUntilItIsDropped) {
  VakReferenceTable table;
  const auto stamp = table.make(7);
  EXPECT_NE(stamp, 0u);
  EXPECT_EQ(table.make(7), stamp);
  EXPECT_EQ(table.find(7), stamp);
  EXPECT_EQ(table.find(8), 0u);
  table.drop(8);
  EXPECT_EQ(table.find(7), stamp);
  table.drop(7);
  EXPECT_EQ(table.find(7), 0u);
}

TEST(ReferenceTable, GivesEveryStampOnceInTheProcess) {
  VakReferenceTable a;
  VakReferenceTable b;
  std::set<VakReferenceTable::Stamp> stamps;
  for (int round = 0; round < 100; ++round) {
    EXPECT_TRUE(stamps.insert(a.make(3)).second);
    EXPECT_TRUE(stamps.insert(b.make(3)).second);
    a.drop(3);
    b.drop(3);
  }
}

// The edges of pages and of lists of pages, up to what is far beyond any model.
TEST(ReferenceTable, ReachesIdentifiersOfAllSizes) {
  VakReferenceTable table;
  std::set<VakReferenceTable::Stamp> stamps;
  std::vector<VakInt> ids = {0, 1, 511, 512, 513};
  for (VakInt edge = 512 * 64; edge <= 512L * 64 * 256; edge *= 2) {
    ids.insert(ids.end(), {edge - 1, edge, edge + 1});
  }
  for (const VakInt id : ids) EXPECT_TRUE(stamps.insert(table.make(id)).second) << id;
  for (const VakInt id : ids) EXPECT_TRUE(stamps.contains(table.find(id))) << id;
  for (const VakInt id : ids) table.drop(id);
  for (const VakInt id : ids) EXPECT_EQ(table.find(id), 0u) << id;
}

TEST(ReferenceTable, GivesAllItsMemoryBack) {
  const long before = VakFailingNew::CountBlocks();
  {
    VakReferenceTable table;
    for (VakInt id = 0; id < 100000; id += 300) (void)table.make(id);
    table.end();
    EXPECT_EQ(VakFailingNew::CountBlocks(), before);
    EXPECT_EQ(table.find(300), 0u);
    (void)table.make(300);
  }
  EXPECT_EQ(VakFailingNew::CountBlocks(), before);
}

TEST(ReferenceTable, HasNoStampWhenMemoryRanOut) {
  const long before = VakFailingNew::CountBlocks();
  {
    VakReferenceTable table;
    VakReferenceTable::Stamp stamp = 0;
    const long failures = VakFailEachNew([&] { stamp = table.make(1000); },
                                         [&](const std::exception_ptr& thrown) {
                                           EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                                           EXPECT_EQ(table.find(1000), 0u);
                                         });
    EXPECT_EQ(failures, 2);  // what an attempt made is there for the next one
    EXPECT_EQ(table.find(1000), stamp);
  }
  EXPECT_EQ(VakFailingNew::CountBlocks(), before);
}

}  // namespace

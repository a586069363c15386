#include "vakenv/registry/extractable_roll.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"

namespace {

struct World {
  VakTestScript script;
  VakScopedEnv env;
  VakExtractableArray mirror{env->_allocator};
  VakExtractableRoll roll;
  std::vector<VakTestNode*> nodes;

  explicit World(int count) {
    for (int i = 0; i < count; ++i) nodes.push_back(VakMakeNode(env.impl(), script, "n"));
  }
  // What the roll holds, as positions in `nodes`; "-" where it was struck.
  std::string entries() const {
    std::string all;
    for (VakInt i = 0; i < roll.getSize(); ++i) {
      all += roll[i] == nullptr ? std::string("-") : std::to_string(roll[i]->id);
      EXPECT_EQ(mirror[i], roll[i]);
    }
    EXPECT_EQ(mirror.getSize(), roll.getSize());
    return all;
  }
  void add(int node) { roll.add(nodes[static_cast<std::size_t>(node)], mirror); }
  void strike(int node) { roll.strike(nodes[static_cast<std::size_t>(node)]); }
};

TEST(ExtractableRoll, StrikesAllEntriesOfOneExtractableAndKeepsTheirPlaces) {
  World w(3);
  for (int node : {0, 1, 0, 2}) w.add(node);
  EXPECT_EQ(w.entries(), "0102");
  EXPECT_FALSE(w.roll.hasStruck());
  w.strike(0);
  EXPECT_EQ(w.entries(), "-1-2");
  EXPECT_TRUE(w.roll.hasStruck());
}

TEST(ExtractableRoll, IgnoresWhatIsNotListed) {
  World w(2);
  w.strike(0);
  w.add(0);
  w.strike(1);
  EXPECT_EQ(w.entries(), "0");
}

TEST(ExtractableRoll, TrimsStruckEntriesAtTheEndOnly) {
  World w(4);
  for (int node : {0, 1, 2, 3}) w.add(node);
  w.strike(1);
  w.strike(3);
  w.roll.trim();
  EXPECT_EQ(w.entries(), "0-2");
  w.strike(2);
  w.roll.trim();
  EXPECT_EQ(w.entries(), "0");
}

TEST(ExtractableRoll, CompactsToWhatIsLeft) {
  World w(4);
  for (int node : {0, 1, 2, 3}) w.add(node);
  w.strike(0);
  w.strike(2);
  w.roll.compact();
  EXPECT_EQ(w.entries(), "13");
  EXPECT_FALSE(w.roll.hasStruck());
  EXPECT_EQ(w.roll.getAdded(), 4);
}

TEST(ExtractableRoll, ForgetsItsMirrorWhenItIsCleared) {
  World w(2);
  w.add(0);
  w.roll.clear();
  EXPECT_EQ(w.roll.getSize(), 0);
  EXPECT_EQ(w.roll.getAdded(), 0);
  EXPECT_EQ(w.mirror.getSize(), 1);
}

TEST(ExtractableRoll, TakesNullAndUnregisteredEntries) {
  World w(40);
  for (int i = 0; i < 20; ++i) w.roll.add(nullptr);
  w.env->finit(w.nodes[0]);
  w.roll.add(w.nodes[0]);
  w.roll.add(w.nodes[1]);
  w.strike(1);
  EXPECT_EQ(w.roll[20], w.nodes[0]);
  EXPECT_EQ(w.roll[21], nullptr);
  delete w.nodes[0];
}

TEST(ExtractableRoll, StrikesADistinctListFromItsEndAndAnywhereElse) {
  World w(60);
  w.roll.claimDistinct(true);
  for (int i = 0; i < 60; ++i) w.add(i);
  for (int i = 59; i >= 50; --i) {
    w.strike(i);
    w.roll.trim();
    EXPECT_EQ(w.roll.getSize(), i);
  }
  w.strike(10);
  w.strike(49);
  w.strike(48);
  w.roll.trim();
  w.add(55);
  w.strike(55);
  w.roll.trim();
  EXPECT_EQ(w.roll.getSize(), 48);
  EXPECT_EQ(w.roll[10], nullptr);
  EXPECT_EQ(w.roll[11], w.nodes[11]);
  w.roll.compact();
  EXPECT_EQ(w.roll.getSize(), 47);
  EXPECT_EQ(w.mirror.getSize(), 47);
}

// Long rolls keep an index, short ones do not; both behave as a plain list does.
TEST(ExtractableRoll, BehavesAsAPlainListUnderRandomUse) {
  for (const unsigned seed : {1U, 2U, 3U, 4U}) {
    std::mt19937 random(seed);
    World w(60);
    std::vector<VakExtractableI*> expected;
    for (int step = 0; step < 4000; ++step) {
      const auto node = random() % w.nodes.size();
      switch (random() % 8) {
        case 0:
          w.roll.strike(w.nodes[node]);
          for (auto*& e : expected) {
            if (e == w.nodes[node]) e = nullptr;
          }
          break;
        case 1:
          w.roll.trim();
          while (!expected.empty() && expected.back() == nullptr) expected.pop_back();
          break;
        case 2:
          if (random() % 8 != 0) break;
          w.roll.compact();
          std::erase(expected, nullptr);
          break;
        case 3:
          if (expected.empty() || random() % 8 != 0) break;
          w.roll.dropLast();
          expected.pop_back();
          break;
        default:
          w.roll.add(w.nodes[node], w.mirror);
          expected.push_back(w.nodes[node]);
      }
      ASSERT_EQ(w.roll.getSize(), static_cast<VakInt>(expected.size()));
      if (step % 50 != 0) continue;
      for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(w.roll[static_cast<VakInt>(i)], expected[i]);
        ASSERT_EQ(w.mirror[static_cast<VakInt>(i)], expected[i]);
      }
    }
  }
}

}  // namespace

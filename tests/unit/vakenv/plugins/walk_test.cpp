#include "vakenv/plugins/walk.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Link {
  char name;
  Link* next;
};

using Walk = VakWalk<Link>;
using Watch = VakWatch<Link>;

struct Chain {
  Link c{'c', nullptr};
  Link b{'b', &c};
  Link a{'a', &b};
  Walk* running = nullptr;
};

std::string rest(Walk& walk) {
  std::string names;
  while (const Link* link = walk.next()) names += link->name;
  return names;
}

TEST(Walk, VisitsElementsInOrder) {
  Chain chain;
  Walk walk(chain.running, &chain.a);
  EXPECT_EQ(rest(walk), "abc");
  EXPECT_EQ(walk.next(), nullptr);
}

TEST(Walk, PassesByTheElementThatItWasAboutToVisit) {
  Chain chain;
  Walk walk(chain.running, &chain.a);
  EXPECT_EQ(walk.next(), &chain.a);
  Walk::Skip(chain.running, &chain.b);
  EXPECT_EQ(rest(walk), "c");
}

TEST(Walk, GoesOnWhenThePresentElementIsRemoved) {
  Chain chain;
  Walk walk(chain.running, &chain.a);
  EXPECT_EQ(walk.next(), &chain.a);
  Walk::Skip(chain.running, &chain.a);
  chain.a.next = nullptr;
  EXPECT_EQ(rest(walk), "bc");
}

TEST(Walk, EndsWhenTheLastElementIsRemoved) {
  Chain chain;
  Walk walk(chain.running, &chain.c);
  Walk::Skip(chain.running, &chain.c);
  EXPECT_EQ(walk.next(), nullptr);
}

TEST(Walk, NestsAndMovesOuterWalksToo) {
  Chain chain;
  Walk outer(chain.running, &chain.a);
  EXPECT_EQ(outer.next(), &chain.a);
  {
    Walk inner(chain.running, &chain.b);
    Walk::Skip(chain.running, &chain.b);
    EXPECT_EQ(rest(inner), "c");
  }
  EXPECT_EQ(rest(outer), "c");
}

TEST(Walk, LeavesTheListOfRunningWalksAtItsEnd) {
  Chain chain;
  { const Walk walk(chain.running, &chain.a); }
  EXPECT_EQ(chain.running, nullptr);
}

TEST(Watch, TellsWhenItsObjectHasGone) {
  Chain chain;
  Watch* watches = nullptr;
  const Watch outer(watches, &chain.a);
  {
    const Watch inner(watches, &chain.b);
    Watch::Lose(watches, &chain.a);
    EXPECT_FALSE(inner.isGone());
  }
  EXPECT_TRUE(outer.isGone());
}

TEST(Watch, LeavesTheListOfWatchesAtItsEnd) {
  Chain chain;
  Watch* watches = nullptr;
  { const Watch watch(watches, &chain.a); }
  EXPECT_EQ(watches, nullptr);
}

}  // namespace

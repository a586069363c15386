// Propagation of changes to plug-ins and algorithms.

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/plugins/plugin_manager.h"

namespace {

using Refusal = VakAlgorithm::CannotChangeException;

struct World {
  VakTestScript script;
  VakScopedEnv env;
  VakTestNode* a = VakMakeNode(env.impl(), script, "A");
  VakTestNode* b = VakMakeNode(env.impl(), script, "B");
  VakTestNode* c = VakMakeNode(env.impl(), script, "C");

  VakTestAlgorithm* algorithm(const char* name, VakTestAlgorithm::Listener listener = {}) {
    return new VakTestAlgorithm(env.impl(), script, name, std::move(listener));
  }
  VakExtractableArray array(std::initializer_list<VakExtractableI*> elements) const {
    VakExtractableArray all(env->_allocator);
    for (VakExtractableI* e : elements) all.add(e);
    return all;
  }
  // An algorithm that refuses every change because of these.
  VakTestAlgorithm* refuser(const char* name, std::vector<VakExtractableI*> elements) {
    return algorithm(name, [this, elements](VakTestAlgorithm& self, const VakChange&) {
      VakExtractableArray all(env->_allocator);
      for (VakExtractableI* e : elements) all.add(e);
      throw Refusal(VakAlgorithm(&self), all);
    });
  }
};

std::string names(VakExtractableArray array) {
  std::string all;
  for (const VakExtractableI* e : array) all += VakNameOf(e);
  return all;
}

// The refusal that `call` ends in, ended, as "algorithm: names".
std::string refusalOf(const std::function<void()>& call) {
  try {
    call();
  } catch (Refusal& refusal) {
    const auto* first = static_cast<VakTestAlgorithm*>(refusal.getAlgorithm().getImpl());
    const std::string text = first->_name + ": " + names(refusal.getExtractables());
    EXPECT_STREQ(refusal.getMessage(), "Algorithm cannot take the change.");
    refusal.end();
    return text;
  }
  return "none";
}

TEST(Change, WithoutAlgorithmsOnlyTellsThePlugIns) {
  World w;
  auto* p = VakCreate<VakTestNotified>(w.env.impl(), w.script, "p");
  w.env->_plugInManager->addNotified(p);
  w.env->change(w.a, VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "p: change / A");
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "p: change / -");
  w.env->_plugInManager->removeNotified(p);
  delete p;
}

TEST(Change, TellsPlugInsFirstAndThenAlgorithmsNewestFirst) {
  World w;
  auto* p = VakCreate<VakTestNotified>(w.env.impl(), w.script, "p");
  w.env->_plugInManager->addNotified(p);
  w.algorithm("1");
  w.algorithm("2");
  w.env->change(w.a, VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "p: change / A, 2: change / A, 1: change / A");
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "p: change / -, 2: change, 1: change");
  w.env->_plugInManager->removeNotified(p);
  delete p;
}

TEST(Change, RefusedByFirstAndThirdIsToldToAllAndRaisedOnce) {
  World w;
  w.refuser("1", {w.c});
  w.algorithm("2");
  w.refuser("3", {w.a, w.b});
  EXPECT_EQ(refusalOf([&] { w.env->change(w.a, VakTestChange()); }), "3: ABC");
  EXPECT_EQ(w.script.takeLog(), "3: change / A, 2: change / A, 1: change / A");
  EXPECT_EQ(refusalOf([&] { w.env->change(VakTestChange()); }), "3: ABC");
}

TEST(Change, EndsTheLaterRefusals) {
  World w;
  for (const char* name : {"1", "2", "3"}) w.refuser(name, {w.a});
  refusalOf([&] { w.env->change(VakTestChange()); });
  const VakInt before = w.env->getMemoryUsage();
  EXPECT_EQ(refusalOf([&] { w.env->change(VakTestChange()); }), "3: AAA");
  EXPECT_EQ(w.env->getMemoryUsage(), before);
}

TEST(Change, NeitherAppendsNorEndsAnArrayThatTwoRefusalsShare) {
  World w;
  VakExtractableArray shared = w.array({w.a, w.b});
  for (const char* name : {"1", "2"}) {
    w.algorithm(name, [shared](VakTestAlgorithm& self, const VakChange&) {
      throw Refusal(VakAlgorithm(&self), shared);
    });
  }
  EXPECT_EQ(refusalOf([&] { w.env->change(VakTestChange()); }), "2: AB");
}

TEST(Change, LetsAnEmptyFirstRefusalTakeOverTheArrayOfTheNext) {
  World w;
  w.refuser("1", {w.c});
  w.refuser("2", {w.b});
  w.algorithm("3", [](VakTestAlgorithm& self, const VakChange&) {
    throw Refusal(VakAlgorithm(&self), VakExtractableArray());
  });
  EXPECT_EQ(refusalOf([&] { w.env->change(VakTestChange()); }), "3: BC");
}

TEST(Change, MergesARefusalThatNamesNothing) {
  World w;
  w.algorithm("1", [](VakTestAlgorithm& self, const VakChange&) {
    throw Refusal(VakAlgorithm(&self), VakExtractableArray());
  });
  w.refuser("2", {w.b});
  EXPECT_EQ(refusalOf([&] { w.env->change(VakTestChange()); }), "2: B");
}

TEST(Change, ThrowsANewRefusalWithTheMembersOfTheFirst) {
  struct Special : Refusal {
    using Refusal::Refusal;
  };
  World w;
  w.algorithm("1", [&w](VakTestAlgorithm& self, const VakChange&) {
    throw Special(VakAlgorithm(&self), w.array({w.a}));
  });
  try {
    w.env->change(VakTestChange());
    FAIL();
  } catch (Special&) {
    FAIL();
  } catch (Refusal& refusal) {
    EXPECT_EQ(names(refusal.getExtractables()), "A");
    refusal.end();
  }
}

TEST(Change, PassesAnyOtherExceptionOnAtOnce) {
  World w;
  w.algorithm("1");
  w.algorithm(
      "2", [](VakTestAlgorithm&, const VakChange&) { throw VakNoChangeDuringSearchException(); });
  w.refuser("3", {w.a});
  EXPECT_THROW(w.env->change(w.a, VakTestChange()), VakNoChangeDuringSearchException);
  EXPECT_EQ(w.script.takeLog(), "3: change / A, 2: change / A");
  EXPECT_EQ(w.env->_registry.algorithmWalks, nullptr);
}

TEST(Change, IsStoppedByAPlugInThatThrows) {
  World w;
  w.algorithm("1");
  auto* p = VakCreate<VakTestNotified>(
      w.env.impl(), w.script, "p",
      [](VakTestNotified&, const VakChange&) { throw std::runtime_error("plug-in"); });
  w.env->_plugInManager->addNotified(p);
  EXPECT_THROW(w.env->change(VakTestChange()), std::runtime_error);
  EXPECT_EQ(w.script.takeLog(), "p: change / -");
  w.env->_plugInManager->removeNotified(p);
  delete p;
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "1: change");
}

TEST(Change, SurvivesAlgorithmsThatEndThemselves) {
  World w;
  for (const char* name : {"1", "2", "3"}) {
    w.algorithm(name, [](VakTestAlgorithm& self, const VakChange&) { self.end(); });
  }
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "3: change, ~3, 2: change, ~2, 1: change, ~1");
  EXPECT_EQ(w.env->_algorithms, nullptr);
}

TEST(Change, SurvivesAnAlgorithmThatEndsItsNeighbours) {
  World w;
  auto* one = w.algorithm("1");
  auto* two = w.algorithm("2");
  auto* four = new VakTestAlgorithm(w.env.impl(), w.script, "4");
  four->detach();
  w.algorithm("3", [=](VakTestAlgorithm&, const VakChange&) {
    two->end();
    four->end();
  });
  four->attach();
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "4: change, 3: change, ~2, ~4, 1: change");
  EXPECT_TRUE(one->isAttached());
}

TEST(Change, SurvivesAnAlgorithmThatRefusesAndDetachesItself) {
  World w;
  w.refuser("1", {w.b});
  auto* two = w.algorithm("2", [&w](VakTestAlgorithm& self, const VakChange&) {
    self.detach();
    throw Refusal(VakAlgorithm(&self), w.array({w.a}));
  });
  EXPECT_EQ(refusalOf([&] { w.env->change(VakTestChange()); }), "2: AB");
  delete two;
}

TEST(Change, IsNotToldToAnAlgorithmThatAttachesMeanwhile) {
  World w;
  w.algorithm("1", [&w](VakTestAlgorithm& self, const VakChange&) {
    self._listener = {};
    w.algorithm("late");
  });
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "1: change");
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "late: change, 1: change");
}

TEST(Change, IsNotToldTwiceToAnAlgorithmThatMovesToTheFront) {
  World w;
  auto* one = w.algorithm("1");
  w.algorithm("2", [one](VakTestAlgorithm& self, const VakChange&) {
    self._listener = {};
    one->detach();
    one->attach();
  });
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "2: change");
  w.env->change(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "1: change, 2: change");
}

TEST(Change, NestsInAChange) {
  World w;
  w.algorithm("1");
  w.algorithm("2", [&w](VakTestAlgorithm& self, const VakChange&) {
    self._listener = {};
    w.env->change(w.b, VakTestChange());
    self.end();
  });
  w.env->change(w.a, VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "2: change / A, 2: change / B, 1: change / B, ~2, 1: change / A");
}

TEST(Change, OfAnExtractableIsReportedByItsNotification) {
  World w;
  w.algorithm("1");
  w.a->notify(VakTestChange());
  EXPECT_EQ(w.script.takeLog(), "notify A, 1: change / A");
}

}  // namespace

// Ending objects and taking them out of everything.

#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakmodel/modelling.h"

namespace {

struct Removal : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, "y"};
  VakNumVar z{env, "z"};
};

TEST_F(Removal, OfAVariableCleansEverythingThatUsesIt) {
  m.add(x + 2 * y <= 14, "c");
  VakConstraint loose(env, x + z >= 1, "loose");
  VakNumExpr stored(env, x + 3 * y, "stored");
  VakModel other(env, "other");
  VakConstraint d = other.add(x + y == 3, "d");
  m.maximize(3 * x + 4 * y);
  x.end();
  EXPECT_TRUE(x.isEmpty());
  EXPECT_EQ(VakTextOf(m), "maximize: 4 y\nc: 2 y <= 14\ny in [0, inf]\n");
  EXPECT_EQ(VakTextOf(loose), "loose: z >= 1");
  EXPECT_EQ(VakTextOf(stored.getExpr()), "3 y");
  EXPECT_EQ(VakTextOf(d), "d: y == 3");
  EXPECT_EQ(m.check() + other.check(), "");
  EXPECT_FALSE(scope->isRemoving());
}

TEST_F(Removal, IsTransitive) {
  m.add(x <= 3, "c");
  m.add(x + y <= 3, "d");
  m.add(2 * y >= 1, "e");
  m.minimize(x).setName("o");
  auto* listener = new VakModelListener(env);
  VakEndAll(std::vector<VakNumVar>{x, y});
  EXPECT_EQ(VakTextOf(m), "minimize o: 0\n");
  EXPECT_EQ(listener->takeLog(),
            "removed from all [x y c d e]\n"
            "destroy e / e\n"
            "destroy d / d\n"
            "destroy c / c\n"
            "destroy y / y\n"
            "destroy x / x");
  EXPECT_EQ(m.check(), "");
}

TEST_F(Removal, SparesAConstraintThatIsKeptWhenEmpty) {
  VakConstraint c = m.add(x <= 3, "c");
  VakConstraint empty(env, 0, 1, "empty");
  m.add(empty);
  EXPECT_FALSE(c.isKeptWhenEmpty());
  c.setKeptWhenEmpty(true);
  x.end();
  EXPECT_EQ(VakTextOf(m), "c: 0 <= 3\nempty: 0 <= 0 <= 1\n");
  c.setCoef(y, 2);
  EXPECT_EQ(VakTextOf(c), "c: 2 y <= 3");
}

TEST_F(Removal, WithoutDestructionLeavesEverythingAlive) {
  VakConstraint c = m.add(x <= 3, "c");
  VakConstraint d = m.add(x + y <= 3, "d");
  auto* listener = new VakModelListener(env);
  x.removeFromAll();
  EXPECT_EQ(VakTextOf(m), "c: 0 <= 3\nd: y <= 3\ny in [0, inf]\n");
  EXPECT_EQ(listener->takeLog(), "removed from all [x]");
  EXPECT_EQ(x.getUB(), 40);
  c.setCoef(x, 1);
  VakRemoveAllFromAll(std::vector<VakConstraint>{c, d});
  EXPECT_EQ(VakTextOf(m), "y in [0, inf]\nx in [0, 40]\n");
  EXPECT_TRUE(c.getModel().isEmpty());
  m.add(d);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Removal, WithoutDestructionLeavesWhatTheRemovedObjectsHoldOfOneAnother) {
  VakConstraint c = m.add(x + y <= 3, "c");
  VakConstraint d = m.add(x + y >= 1, "d");
  VakRemoveAllFromAll(std::vector<VakExtractable>{x, c});
  EXPECT_EQ(VakTextOf(c), "c: x + y <= 3");
  EXPECT_EQ(VakTextOf(m), "d: y >= 1\ny in [0, inf]\n");
  VakRemoveAllFromAll(std::vector<VakExtractable>{m, d});
  EXPECT_EQ(VakTextOf(m), "d: y >= 1\ny in [0, inf]\n");
  m.add(c);
  EXPECT_TRUE(m.contains(x));
  EXPECT_EQ(m.check(), "");
}

TEST_F(Removal, OfAConstraintOrAnObjectiveTakesItOutOfTheModel) {
  VakConstraint c = m.add(x <= 3, "c");
  VakObjective o = m.minimize(x);
  c.end();
  o.end();
  EXPECT_EQ(VakTextOf(m), "x in [0, 40]\n");
  EXPECT_TRUE(m.getObjective().isEmpty());
  EXPECT_EQ(m.check(), "");
}

TEST_F(Removal, OfAModelEndsItsConstraintsAndItsObjective) {
  m.add(x <= 3, "c");
  m.add(x + y <= 3, "d");
  m.minimize(x).setName("o");
  VakConstraint loose(env, x >= 1, "loose");
  auto* listener = new VakModelListener(env);
  m.end();
  EXPECT_EQ(listener->takeLog(),
            "removed from all [m c d o]\n"
            "destroy o / o\n"
            "destroy d / d\n"
            "destroy c / c\n"
            "destroy m / m");
  EXPECT_EQ(x.getUB(), 40);
  EXPECT_EQ(VakTextOf(loose), "loose: x >= 1");
}

TEST_F(Removal, OfAModelWithoutDestructionEmptiesItOfConstraintsOnly) {
  VakConstraint c = m.add(x <= 3, "c");
  VakObjective o = m.minimize(x);
  m.removeFromAll();
  EXPECT_EQ(VakTextOf(m), "x in [0, 40]\n");
  EXPECT_TRUE(c.getModel().isEmpty());
  EXPECT_TRUE(o.getModel().isEmpty());
  EXPECT_EQ(m.check(), "");
}

TEST_F(Removal, OfManyIsOne) {
  VakNumVarArray vars(env, 100, 0, 1);
  for (VakInt i = 0; i < 100; ++i) m.add(vars[i] + x <= 1);
  auto* listener = new VakModelListener(env);
  int reports = 0;
  listener->_reaction = [&](VakModelListener&, const VakChange& change) {
    reports += static_cast<int>(change.isType(VakRemoveFromAllChange::GetTypeInfo()));
  };
  VakEndAll(vars);
  EXPECT_EQ(reports, 1);
  EXPECT_EQ(m.getVariableCount(), 1);
  EXPECT_EQ(m.getConstraintCount(), 100);
  EXPECT_EQ(m.check(), "");
  VakEndAll(m.constraints());
  EXPECT_EQ(m.getConstraintCount(), 0);
  VakEndAll(std::vector<VakNumVar>{VakNumVar(), x});
  EXPECT_EQ(m.getVariableCount(), 0);
  VakEndAll(std::vector<VakNumVar>());
}

TEST_F(Removal, GivesTheMemoryBack) {
  VakInt usage = 0;
  for (int round = 0; round < 3; ++round) {
    // The first round leaves behind what the environment keeps, such as a shared domain.
    if (round == 1) usage = env.getMemoryUsage();
    VakModel temporary(env, "temporary");
    VakNumVarArray vars(env, 50, 0, 1);
    for (VakInt i = 0; i < 50; ++i) temporary.add(vars[i] + vars[(i + 1) % 50] <= 1, "row");
    temporary.minimize(VakSum(vars));
    temporary.setNumProperty("weight", 1);
    VakEndAll(vars);
    temporary.end();
    vars.end();
  }
  EXPECT_EQ(env.getMemoryUsage(), usage);
}

TEST_F(Removal, ThatIsRefusedAtItsReportLeavesObjectsAliveAndTakenOut) {
  VakConstraint c = m.add(x + y <= 3, "c");
  auto* listener = new VakModelListener(env);
  listener->refuseNext({x});
  EXPECT_EQ(VakRefusalOf([&] { x.end(); }), "[x]");
  EXPECT_FALSE(scope->isRemoving());
  EXPECT_FALSE(x.isEmpty());
  EXPECT_EQ(x.getUB(), 40);
  EXPECT_EQ(VakTextOf(c), "c: y <= 3");
  c.setCoef(x, 1);
  EXPECT_EQ(m.check(), "");
  x.end();
  EXPECT_EQ(VakTextOf(c), "c: y <= 3");
}

TEST_F(Removal, ThatIsRefusedAtADestructionSparesThatObjectAndThoseAfterIt) {
  auto* listener = new VakModelListener(env);
  listener->_reaction = [&](VakModelListener& self, const VakChange& change) {
    if (VakModelChangeText(change) == "destroy y") self.refuse({y});
  };
  EXPECT_EQ(VakRefusalOf([&] { VakEndAll(std::vector<VakNumVar>{x, y, z}); }), "[y]");
  EXPECT_FALSE(scope->isRemoving());
  EXPECT_EQ(listener->takeLog(), "removed from all [x y z]\ndestroy z / z\ndestroy y / y");
  EXPECT_EQ(x.getUB(), 40);
  EXPECT_EQ(y.getLB(), 0);
  m.add(x + y <= 1);
}

TEST_F(Removal, OfAnEmptyHandleDoesNothing) {
  VakNumVar none;
  none.end();
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { none.removeFromAll(); }),
            "VakExtractable: Using empty handle");
}

TEST_F(Removal, RefusesTheUseOfAnObjectThatIsBeingRemoved) {
  VakConstraint c = m.add(x + y <= 3, "c");
  auto* listener = new VakModelListener(env);
  std::string message;
  listener->_reaction = [&](VakModelListener&, const VakChange& change) {
    if (change.isType(VakRemoveFromAllChange::GetTypeInfo()) == 0) return;
    message = VakMessageOf<VakModelError>([&] { c.setCoef(x, 1); });
  };
  x.end();
  EXPECT_EQ(message, "Variable \"x\" is being removed. Do not use it until the removal is over.");
  EXPECT_EQ(VakTextOf(c), "c: y <= 3");
}

TEST_F(Removal, WithinANotificationJoinsTheRunningOne) {
  m.add(x + y <= 3, "c");
  auto* listener = new VakModelListener(env);
  listener->_reaction = [&](VakModelListener&, const VakChange& change) {
    if (VakModelChangeText(change) == "destroy x") z.end();
  };
  x.end();
  EXPECT_TRUE(z.isEmpty());
  EXPECT_EQ(VakTextOf(m), "c: y <= 3\ny in [0, inf]\n");
}

TEST_F(Removal, OfObjectsWithoutAnyRemovalIsSafeForConstraints) {
  VakConstraint c = m.add(x + y <= 3, "c");
  VakConstraint d = m.add(x <= 3, "d");
  scope->destroy(c.getImpl(), 0);
  delete d.getImpl();
  EXPECT_EQ(m.getConstraintCount(), 0);
  EXPECT_EQ(m.check(), "");
  VakConstraint e = m.add(y <= 3, "e");
  scope->destroy(m.getImpl(), 0);
  EXPECT_TRUE(e.getModel().isEmpty());
}

TEST(RemovalEnd, EnvironmentsEndWithEverythingInThem) {
  VakEnv env;
  VakModel m(env, "m");
  VakNumVarArray vars(env, 20, 0, 1.5);
  for (VakInt i = 0; i < 20; ++i) m.add(vars[i] + vars[(i + 1) % 20] <= 1, "row");
  m.maximize(VakSum(vars)).setStringProperty("unit", "kg");
  VakNumExpr stored(env, VakSum(vars), "stored");
  new VakModelListener(env);
  vars[3].setUB(7);
  vars[4].end();
  env.end();
}

}  // namespace

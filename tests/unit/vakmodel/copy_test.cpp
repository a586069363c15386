#include "vakmodel/copy.h"

#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakmodel/modelling.h"

namespace {

struct Copy : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakScopedEnv otherScope;
  VakEnv other = otherScope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakIntVar y{env, 0, 3, "y"};
  VakBoolVar z{env, "z"};
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
  VakConstraint d = m.add(1 <= x - z <= 2, "d");
  VakObjective o = m.maximize(3 * x + 4 * y - 1);
};

TEST_F(Copy, OfAModelIsEqualAndIndependent) {
  const std::string text = VakTextOf(m);
  auto* listener = new VakModelListener(env);
  VakModel copy = VakCopier(env).copy(m);
  EXPECT_EQ(VakTextOf(copy), text);
  EXPECT_EQ(copy.check(), "");
  EXPECT_STREQ(copy.getName(), "m");
  EXPECT_EQ(listener->takeLog(), "");
  for (const VakNumVar v : copy.variables()) {
    EXPECT_FALSE(m.contains(v));
    v.setUB(1);
  }
  copy.findConstraint("c").setUB(3);
  EXPECT_EQ(VakTextOf(m), text);
}

TEST_F(Copy, GoesIntoAnotherEnvironment) {
  const std::string text = VakTextOf(m);
  VakObjectMap map;
  VakModel copy;
  {
    VakCopier copier(other);
    copy = copier.copy(m);
    EXPECT_TRUE(copier.getCopy(x).is(copy.findVariable("x")));
    map = copier.getMap();
  }
  EXPECT_EQ(copy.getEnv(), other);
  EXPECT_EQ(VakTextOf(copy), text);
  EXPECT_EQ(copy.check(), "");
  EXPECT_EQ(map.getSize(), 7U);
  EXPECT_TRUE(map(y).is(copy.findVariable("y")));
  EXPECT_EQ(map(c), copy.findConstraint("c"));
  EXPECT_EQ(map(m), copy);
  EXPECT_EQ(map(o), copy.getObjective());
  EXPECT_TRUE(map(VakNumVar()).isEmpty());
  EXPECT_TRUE(map(VakNumVar(env)).isEmpty());
  scope.env.end();
  EXPECT_EQ(VakTextOf(copy), text);
}

TEST_F(Copy, TakesNamesUserObjectsAndPropertiesAlong) {
  int object = 0;
  x.setObject(&object);
  x.setNumProperty("weight", 2.5);
  c.setStringProperty("unit", "kg");
  c.setKeptWhenEmpty(true);
  VakCopier copier(other);
  copier.copy(m);
  EXPECT_EQ(copier.getCopy(x).getObject(), &object);
  EXPECT_EQ(copier.getCopy(x).getProperty<VakNum>("weight"), 2.5);
  EXPECT_STREQ(copier.getCopy(c).getProperty<const char*>("unit"), "kg");
  EXPECT_TRUE(copier.getCopy(c).isKeptWhenEmpty());
  x.setNumProperty("weight", 7);
  EXPECT_EQ(copier.getCopy(x).getProperty<VakNum>("weight"), 2.5);
}

TEST_F(Copy, SharesWhatIsShared) {
  VakModel n(env, "n");
  n.add(x + y >= 1, "e");
  VakCopier copier(other);
  VakModel copyOfM = copier.copy(m);
  VakModel copyOfN = copier.copy(n);
  EXPECT_EQ(copier.copy(m), copyOfM);
  copier.getCopy(x).setUB(7);
  EXPECT_EQ(copyOfM.findVariable("x").getUB(), 7);
  EXPECT_EQ(copyOfN.findVariable("x").getUB(), 7);
}

TEST_F(Copy, OfAConstraintCopiesItsVariables) {
  VakCopier copier(env);
  VakConstraint copy = copier.copy(c);
  EXPECT_EQ(VakTextOf(copy), "c: x + 2 y <= 14");
  EXPECT_TRUE(copy.getModel().isEmpty());
  EXPECT_EQ(copy.getCoef(x), 0);
  VakModel whole = copier.copy(m);
  EXPECT_EQ(copy.getModel(), whole);
  EXPECT_EQ(whole.check(), "");
}

TEST_F(Copy, OfAStoredExpressionIsOneToo) {
  VakNumExpr cost(env, 2 * x + 1, "cost");
  VakCopier copier(other);
  VakNumExpr copy = copier.copy(cost);
  EXPECT_EQ(VakTextOf(copy.getExpr()), "2 x + 1");
  EXPECT_EQ(copier.copy(o).getSense(), VakSense::Maximize);
}

TEST_F(Copy, SubstitutesVariables) {
  VakNumVar w(other, 0, 9, "w");
  VakCopier copier(other);
  copier.substitute(x, w);
  VakModel copy = copier.copy(m);
  EXPECT_EQ(VakTextOf(copy),
            "maximize: 3 w + 4 y - 1\n"
            "c: w + 2 y <= 14\n"
            "d: 1 <= w - z <= 2\n"
            "w in [0, 9]\n"
            "y in [0, 3] integer\n"
            "z in [0, 1] Boolean\n");
  EXPECT_TRUE(copier.getCopy(x).is(w));
}

TEST_F(Copy, MergesTermsWhenTwoVariablesBecomeOne) {
  VakModel n(env, "n");
  VakNumVar v(env, "v");
  n.add(x + 3 * v <= 1, "e");
  n.add(x - v <= 1, "f");
  VakNumVar w(other, "w");
  VakCopier copier(other);
  copier.substitute(x, w);
  copier.substitute(v, w);
  VakModel copy = copier.copy(n);
  EXPECT_EQ(VakTextOf(copy), "e: 4 w <= 1\nf: 0 <= 1\nw in [0, inf]\n");
  EXPECT_EQ(copy.check(), "");
}

TEST_F(Copy, SharesVariablesThatAreSubstitutedByThemselves) {
  VakModel copy;
  {
    VakCopier copier(env);
    copier.substitute(x, x);
    copy = copier.copy(m);
  }
  EXPECT_TRUE(copy.contains(x));
  EXPECT_FALSE(copy.contains(y));
  VakCopier later(env);
  EXPECT_FALSE(later.copy(m).contains(x));
}

TEST_F(Copy, SubstitutesWholeConstraints) {
  VakNumVar w(other, "w");
  VakConstraint replacement(other, w <= 3, "replacement");
  VakCopier copier(other);
  copier.substitute(c, replacement);
  VakModel copy = copier.copy(m);
  EXPECT_EQ(replacement.getModel(), copy);
  EXPECT_TRUE(copy.contains(w));
  EXPECT_EQ(copy.check(), "");
}

TEST_F(Copy, ForgetsWhatWasCopiedOnALevel) {
  VakCopier copier(other);
  VakNumVar x1 = copier.copy(x);
  const VakInt level = copier.openLevel();
  VakModel first = copier.copy(m);
  copier.closeLevel(level);
  VakModel second = copier.copy(m);
  EXPECT_FALSE(first == second);
  EXPECT_TRUE(first.contains(x1));
  EXPECT_TRUE(second.contains(x1));
  EXPECT_FALSE(first.findVariable("y").is(second.findVariable("y")));
}

TEST_F(Copy, NestsInAnotherCopier) {
  VakCopier outer(other);
  VakModel first = outer.copy(m);
  {
    VakCopier inner(other);
    EXPECT_EQ(inner.copy(m), first);
  }
  EXPECT_EQ(outer.copy(m), first);
  EXPECT_EQ(otherScope->isCloningLocked(), 1);
}

TEST_F(Copy, RefusesWrongUse) {
  VakNumVar foreign(other, "foreign");
  VakCopier copier(other);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakCopier{VakEnv(nullptr)}; }),
            "VakEnv: Using empty handle");
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { copier.copy(VakModel()); }),
            "VakExtractable: Using empty handle");
  copier.copy(c);
  EXPECT_EQ(VakMessageOf<VakModelMismatch>([&] { copier.copy(foreign); }),
            "Variable \"foreign\" belongs to another environment than the objects it is used with. "
            "Use objects of one environment, or copy the model with a VakCopier.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { copier.substitute(x, foreign); }),
            "Variable \"x\" was copied already. Substitute it before anything with it is copied.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { copier.substitute(d, foreign); }),
            "Variable \"foreign\" cannot take the place of constraint \"d\". Use an object of the "
            "same class.");
  EXPECT_THROW(copier.substitute(z, y), VakModelMismatch);
  EXPECT_THROW(copier.substitute(z, VakNumVar()), VakEmptyHandleException);
}

TEST_F(Copy, ThatFailsLeavesNothingBehind) {
  VakNumVar w(other, "w");
  VakModel elsewhere(other, "elsewhere");
  VakConstraint taken = elsewhere.add(w <= 3, "taken");
  VakCopier copier(other);
  copier.substitute(d, taken);
  VakNumVar x1 = copier.copy(x);
  const VakInt usage = other.getMemoryUsage();
  const std::string message = VakMessageOf<VakModelError>([&] { copier.copy(m); });
  EXPECT_EQ(message.substr(0, message.find('#')),
            "Constraint \"taken\" is in model \"elsewhere\" already. Remove it there before it is "
            "added to model ");
  EXPECT_LE(other.getMemoryUsage() - usage, 4096);
  EXPECT_EQ(VakTextOf(elsewhere), "taken: w <= 3\nw in [0, inf]\n");
  EXPECT_TRUE(copier.getCopy(x).is(x1));
  EXPECT_TRUE(copier.getCopy(y).isEmpty());
  EXPECT_TRUE(copier.getCopy(c).isEmpty());
  EXPECT_EQ(x1.getUB(), 40);
}

}  // namespace

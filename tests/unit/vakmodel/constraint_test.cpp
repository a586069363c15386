#include "vakmodel/constraint.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakmodel/contract/model_evaluator.h"

namespace {

constexpr VakNum NaN = std::numeric_limits<VakNum>::quiet_NaN();
const VakNum Infinity = VakGetInfinity();

struct Constraint : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakNumVar x{env, "x"};
  VakNumVar y{env, "y"};
  VakNumVar z{env, "z"};
};

TEST_F(Constraint, IsMadeOfARelationWhoseConstantGoesToTheBounds) {
  VakConstraint c(env, 3 * x + 2 * y - 1 <= 12, "c");
  EXPECT_EQ(VakTextOf(c), "c: 3 x + 2 y <= 13");
  EXPECT_EQ(c.getLB(), -Infinity);
  EXPECT_EQ(c.getUB(), 13);
  EXPECT_EQ(VakTextOf(VakConstraint(env, 1 <= x + 1 <= 4)), "0 <= x <= 3");
  EXPECT_EQ(VakTextOf(VakConstraint(env, x + 1 == y)), "x - y == -1");
  EXPECT_EQ(VakTextOf(VakConstraint(env, -Infinity, Infinity, "free")), "free: 0 free");
}

TEST_F(Constraint, HasOneTermForEachVariableAndNoneThatIsZero) {
  VakConstraint c(env, y + x + y - z + z <= 12);
  EXPECT_EQ(VakTextOf(c), "2 y + x <= 12");
  EXPECT_EQ(c.getTermCount(), 2);
  EXPECT_EQ(c.getCoef(y), 2);
  EXPECT_EQ(c.getCoef(z), 0);
  VakNum sum = 0;
  for (const VakTerm term : c.terms()) sum += term.coef;
  EXPECT_EQ(sum, 3);
}

TEST_F(Constraint, ChangesBounds) {
  VakConstraint c(env, 1 <= x + y <= 4, "c");
  auto* listener = new VakModelListener(env);
  c.setUB(10);
  c.setLB(2);
  c.setBounds(20, Infinity);
  EXPECT_EQ(VakTextOf(c), "c: x + y >= 20");
  c.setLB(20);
  EXPECT_EQ(listener->takeLog(), "row bounds [c] / c\nrow bounds [c] / c\nrow bounds [c] / c");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { c.setUB(10); }),
            "The bounds of constraint \"c\": the lower bound 20 is above the upper bound 10. Give "
            "both in order; setBounds changes them together.");
  EXPECT_EQ(c.getUB(), Infinity);
}

TEST_F(Constraint, ChangesCoefficients) {
  VakConstraint c(env, x + y <= 4, "c");
  auto* listener = new VakModelListener(env);
  c.setCoef(x, 3);
  c.setCoef(z, 5);
  c.setCoef(y, 0);
  c.addTerm(z, 1);
  c.addTerm(y, 2);
  c.setCoef(x, 3);
  EXPECT_EQ(c.getCoef(x), 3);
  EXPECT_EQ(c.getCoef(y), 2);
  EXPECT_EQ(c.getCoef(z), 6);
  EXPECT_EQ(c.getTermCount(), 3);
  EXPECT_EQ(listener->takeLog(),
            "coefs [c:x=3] / c\n"
            "coefs [c:z=5] / c\n"
            "coefs [c:y=0] / c\n"
            "coefs [c:z=6] / c\n"
            "coefs [c:y=2] / c");
}

TEST_F(Constraint, ChangesManyCoefficientsInOneChange) {
  VakConstraint c(env, x + y <= 4, "c");
  auto* listener = new VakModelListener(env);
  const std::vector<VakNumVar> vars = {x, z, y, x};
  const std::vector<VakNum> coefs = {9, 5, 0, 7};
  c.setCoefs(vars, coefs);
  EXPECT_EQ(listener->takeLog(), "coefs [c:x=7 c:z=5 c:y=0] / c");
  EXPECT_EQ(c.getCoef(x), 7);
  EXPECT_EQ(c.getCoef(z), 5);
  EXPECT_EQ(c.getTermCount(), 2);
  EXPECT_EQ(c.getImpl()->_terms.check(), "");
}

TEST_F(Constraint, ChangesCoefficientsOfManyObjectsInOneChange) {
  VakConstraint c(env, x + y <= 4, "c");
  VakConstraint d(env, z <= 4, "d");
  VakObjective o = VakMinimize(env, x, "o");
  auto* listener = new VakModelListener(env);
  std::vector<VakCoef> coefs = {{c, x, 2}, {d, x, 3}, {c, z, 4}, {o, y, 5}, {d, z, 0}, {c, x, 6}};
  VakSetCoefs(coefs);
  EXPECT_EQ(c.getCoef(x), 6);
  EXPECT_EQ(c.getCoef(z), 4);
  EXPECT_EQ(VakTextOf(d), "d: 3 x <= 4");
  EXPECT_EQ(o.getCoef(y), 5);
  const std::string log = listener->takeLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), '='), 5);
  EXPECT_EQ(log.find('\n'), std::string::npos);
}

TEST_F(Constraint, ChangesHundredsOfCoefficientsInOneWalk) {
  VakNumVarArray vars(env, 300, 0, 1);
  VakConstraint c(env, VakSum(vars) <= 1);
  std::vector<VakNumVar> list;
  std::vector<VakNum> coefs;
  for (VakInt i = 0; i < 300; ++i) {
    list.push_back(vars[299 - i]);
    coefs.push_back(i % 3);
  }
  c.setCoefs(list, coefs);
  EXPECT_EQ(c.getTermCount(), 200);
  EXPECT_EQ(c.getCoef(vars[299 - 17]), 2);
  EXPECT_EQ(c.getImpl()->_terms.check(), "");
}

TEST_F(Constraint, ExchangesItsRelation) {
  VakConstraint c(env, x + y <= 4, "c");
  auto* listener = new VakModelListener(env);
  c.setRelation(1 <= 2 * z + 1 <= 5);
  EXPECT_EQ(VakTextOf(c), "c: 0 <= 2 z <= 4");
  EXPECT_EQ(listener->takeLog(), "terms c / c");
  c.setRelation(c.getRelation());
  EXPECT_EQ(VakTextOf(c), "c: 0 <= 2 z <= 4");
}

TEST_F(Constraint, RefusesCoefficientsThatMakeNoSense) {
  VakConstraint c(env, x + y <= 4, "c");
  const std::vector<VakNumVar> vars = {x, z};
  const std::vector<VakNum> coefs = {9, Infinity};
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { c.setCoef(x, NaN); }),
            "The coefficient of variable \"x\" in constraint \"c\" is NaN. Give a finite number.");
  EXPECT_EQ(
      VakMessageOf<VakModelError>([&] { c.setCoefs(vars, coefs); }),
      "The coefficient of variable \"z\" in constraint \"c\" is infinite. Give a finite number.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { c.setRelation(NaN * x <= 1); }),
            "The coefficient of variable \"x\" in constraint \"c\" is NaN. Give a finite number.");
  EXPECT_EQ(
      VakMessageOf<VakModelError>([&] { VakConstraint(env, Infinity * x <= 1); }),
      "The coefficient of variable \"x\" in an expression is infinite. Give a finite number.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { VakConstraint(env, x + NaN <= 1); }),
            "The constant of a new constraint is NaN. Give a finite number.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { VakConstraint(env, x <= NaN); }),
            "The bounds of a new constraint: the upper bound is NaN. Give a number, or "
            "VakGetInfinity() with its sign where there is no bound.");
  EXPECT_EQ(VakTextOf(c), "c: x + y <= 4");
}

TEST_F(Constraint, RefusesVariablesOfAnotherEnvironmentAndEmptyOnes) {
  VakScopedEnv other;
  VakNumVar foreign(other.env, "foreign");
  VakConstraint c(env, x + y <= 4, "c");
  EXPECT_EQ(
      VakMessageOf<VakModelMismatch>([&] { c.setCoef(foreign, 1); }),
      "Variable \"foreign\" belongs to another environment than constraint \"c\". Use objects "
      "of one environment, or copy the model with a VakCopier.");
  EXPECT_EQ(VakMessageOf<VakModelMismatch>([&] { VakConstraint(env, x + foreign <= 4); }),
            "Variable \"foreign\" belongs to another environment than the objects it is used with. "
            "Use objects of one environment, or copy the model with a VakCopier.");
  EXPECT_THROW(c.setRelation(foreign <= 1), VakModelMismatch);
  EXPECT_THROW(c.setCoef(VakNumVar(), 1), VakEmptyHandleException);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakConstraint().setUB(1); }),
            "VakConstraint: Using empty handle");
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { VakConstraint().setCoef(x, 1); }),
            "VakLinear: Using empty handle");
  EXPECT_EQ(VakTextOf(c), "c: x + y <= 4");
}

TEST_F(Constraint, RefusesVariablesThatWereTakenOutOfTheirEnvironment) {
  VakConstraint c(env, x + y <= 4, "c");
  scope->destroy(z.getImpl(), 1);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { c.setCoef(z, 1); }),
            "Variable \"z\" was taken out of its environment. Make a new one in its place.");
  z.end();
}

TEST_F(Constraint, GetsItsOldStateBackWhenAChangeIsRefused) {
  VakConstraint c(env, 1 <= x + 2 * y <= 4, "c");
  VakConstraint d(env, z <= 4, "d");
  auto* listener = new VakModelListener(env);
  const std::vector<std::function<void()>> changes = {
      [&] { c.setBounds(2, 3); },
      [&] { c.setCoef(x, 9); },
      [&] { c.setCoef(x, 0); },
      [&] { c.setCoef(z, 7); },
      [&] { c.setRelation(5 <= 3 * z <= 6); },
      [&] {
        VakSetCoefs(std::vector<VakCoef>{{c, x, 0}, {d, y, 3}, {c, z, 4}, {c, y, 1}, {d, z, 0}});
      },
      [&] {
        VakSetBounds(std::vector<VakConstraint>{c, d}, 0, 1);
      },
  };
  for (const auto& change : changes) {
    listener->refuseNext({c});
    EXPECT_EQ(VakRefusalOf(change), "[c]");
    EXPECT_EQ(VakTextOf(c), "c: 1 <= x + 2 y <= 4");
    EXPECT_EQ(VakTextOf(d), "d: z <= 4");
    EXPECT_EQ(c.getImpl()->_terms.check(), "");
    EXPECT_EQ(d.getImpl()->_terms.check(), "");
  }
  listener->takeLog();
  listener->refuseNext({c});
  EXPECT_EQ(VakRefusalOf([&] { c.setCoef(z, 7); }), "[c]");
  EXPECT_EQ(listener->takeLog(), "coefs [c:z=7] / c\ncoefs [c:z=0] / c");
}

TEST_F(Constraint, ChangesManyBoundsInOneChange) {
  VakConstraint c(env, x <= 4, "c");
  VakConstraint d(env, z <= 4, "d");
  const std::vector<VakConstraint> both = {c, d};
  auto* listener = new VakModelListener(env);
  const std::vector<VakNum> lbs = {1, 2};
  const std::vector<VakNum> ubs = {3, 4};
  VakSetBounds(both, lbs, ubs);
  EXPECT_EQ(VakTextOf(d), "d: 2 <= z <= 4");
  EXPECT_EQ(listener->takeLog(), "row bounds [c d]");
  const std::vector<VakNum> wrong = {0, 9};
  EXPECT_THROW(VakSetBounds(both, wrong, ubs), VakModelError);
  EXPECT_EQ(c.getLB(), 1);
}

// ---- Objectives and stored expressions ----------------------------------------------------------

TEST_F(Constraint, AnObjectiveHasASenseTermsAndAConstant) {
  VakObjective o = VakMinimize(env, 3 * x + 2 * y - 1, "cost");
  EXPECT_EQ(VakTextOf(o), "minimize cost: 3 x + 2 y - 1");
  auto* listener = new VakModelListener(env);
  o.setSense(VakSense::Maximize);
  o.setSense(VakSense::Maximize);
  o.setConstant(4);
  o.setConstant(4);
  o.setCoef(y, 0);
  o.setExpr(z + 7);
  EXPECT_EQ(VakTextOf(o), "maximize cost: z + 7");
  EXPECT_EQ(o.getConstant(), 7);
  EXPECT_EQ(listener->takeLog(),
            "sense cost / cost\nconstant cost / cost\ncoefs [cost:y=0] / cost\nterms cost / cost");
  EXPECT_EQ(VakTextOf(VakMaximize(env)), "maximize: 0");
}

TEST_F(Constraint, AnObjectiveGetsItsOldStateBackWhenAChangeIsRefused) {
  VakObjective o = VakMinimize(env, 3 * x + 2 * y - 1, "o");
  auto* listener = new VakModelListener(env);
  const std::vector<std::function<void()>> changes = {
      [&] { o.setSense(VakSense::Maximize); },
      [&] { o.setConstant(5); },
      [&] { o.setExpr(z); },
      [&] { o.setCoef(z, 1); },
  };
  for (const auto& change : changes) {
    listener->refuseNext({o});
    EXPECT_EQ(VakRefusalOf(change), "[o]");
    EXPECT_EQ(VakTextOf(o), "minimize o: 3 x + 2 y - 1");
  }
}

TEST_F(Constraint, AnObjectiveRefusesAConstantThatMakesNoSense) {
  VakObjective o = VakMinimize(env, x, "o");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { o.setConstant(NaN); }),
            "The constant of objective \"o\" is NaN. Give a finite number.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { VakMaximize(env, x + Infinity); }),
            "The constant of a new objective is infinite. Give a finite number.");
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakObjective().setConstant(1); }),
            "VakObjective: Using empty handle");
}

TEST_F(Constraint, AStoredExpressionIsEvaluatedAndChanged) {
  VakNumExpr cost(env, 2 * x + 3 * y + 1, "cost");
  VakModelEvaluatorI point;
  point.setValue(x.getImpl(), 5);
  EXPECT_TRUE(std::isnan(cost.evaluate(point)));
  point.setValue(y.getImpl(), 7);
  EXPECT_EQ(cost.evaluate(point), 32);
  EXPECT_EQ(point.evaluate(cost.getImpl()), 32);
  auto* listener = new VakModelListener(env);
  cost.setExpr(x + x);
  EXPECT_EQ(VakTextOf(cost.getExpr()), "2 x");
  EXPECT_EQ(listener->takeLog(), "terms cost / cost");
  listener->refuseNext({cost});
  EXPECT_EQ(VakRefusalOf([&] { cost.setExpr(y + 4); }), "[cost]");
  EXPECT_EQ(VakTextOf(cost.getExpr()), "2 x");
  x.end();
  EXPECT_EQ(VakTextOf(cost.getExpr()), "0");
  EXPECT_THROW(cost.setExpr(NaN * y), VakModelError);
}

}  // namespace

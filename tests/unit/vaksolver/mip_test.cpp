// Models with integer variables.

#include <gtest/gtest.h>

#include "tests/support/scoped_env.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

constexpr double Near = 1e-6;
const VakNum Infinity = VakGetInfinity();

/// A knapsack whose relaxation is fractional: the best of value 10, 13, 7, 8 and weight 3, 4, 2, 3
/// within 7 is 23.
class MipSolver : public testing::Test {
 protected:
  MipSolver() {
    const VakNum values[] = {10, 13, 7, 8};
    const VakNum weights[] = {3, 4, 2, 3};
    for (VakBoolVar& item : items) item = VakBoolVar(env);
    capacity = model.add(VakScalProd(weights, items) <= 7);
    model.maximize(VakScalProd(values, items));
  }
  VakScopedEnv scoped;
  VakEnv env = scoped.env;
  VakModel model{env};
  VakBoolVar items[4];
  VakConstraint capacity;
};

TEST_F(MipSolver, FindsTheOptimum) {
  VakSolver solver(model);
  EXPECT_TRUE(solver.isMip());
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 23, Near);
  EXPECT_EQ(solver.getValue(items[0]), 1);
  EXPECT_EQ(solver.getValue(items[1]), 1);
  EXPECT_EQ(solver.getValue(items[2]), 0);
  EXPECT_NEAR(solver.getBestBound(), 23, Near);
  EXPECT_NEAR(solver.getGap(), 0, Near);
}

TEST_F(MipSolver, HasNoDuals) {
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_FALSE(solver.hasDuals());
  try {
    (void)solver.getDual(capacity);
    FAIL();
  } catch (const VakAlgorithm::Exception& e) {
    EXPECT_STREQ(e.getMessage(), "No dual values are available.");
  }
}

TEST_F(MipSolver, TurnsIntoAnLpWhenTheKindsChange) {
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  const std::vector<VakNumVar> all(std::begin(items), std::end(items));
  VakSetKind(all, VakVarKind::Continuous);
  EXPECT_FALSE(solver.isMip());
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 10.0 * 1 + 7 + 13 * 0.5, Near);
  EXPECT_TRUE(solver.hasDuals());
  items[0].setKind(VakVarKind::Integer);
  EXPECT_TRUE(solver.isMip());
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST_F(MipSolver, StartsFromTheLastIncumbentWhileThatIsFeasible) {
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getStartSolutionCount(), 0);
  capacity.setUB(8);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getStartSolutionCount(), 1);
  EXPECT_NEAR(solver.getObjectiveValue(), 25, Near);
  items[0].setUB(0);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 21, Near);
}

TEST_F(MipSolver, KeepsAnIncumbentThatNothingBeats) {
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  capacity.setUB(7.5);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getStartSolutionCount(), 1);
  EXPECT_NEAR(solver.getObjectiveValue(), 23, Near);
}

TEST(IntegerBounds, AreRoundedInwards) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakIntVar n(scoped.env, 0.5, 2.5);
  const VakNumVar x(scoped.env, 0, 10);
  model.add(n + x <= 100);
  const VakObjective objective = model.minimize(n - x);
  const VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getValue(n), 1);
  objective.setSense(VakSense::Maximize);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getValue(n), 2);
}

TEST(IntegerBounds, WithoutAWholeNumberAreInfeasible) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakIntVar n(scoped.env, 1.25, 1.75);
  const VakNumVar x(scoped.env, 0, 10);
  model.add(n + x <= 100);
  model.minimize(n - x);
  const VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::Infeasible);
  n.setUB(2);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getValue(n), 2);
  n.setBounds(2.25, 2.75);
  EXPECT_EQ(solver.solve(), VakStatus::Infeasible);
  n.setKind(VakVarKind::Continuous);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getValue(n), 2.25, Near);
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST(IntegerBounds, ThatAreWholeButForRoundingErrorsCountAsWhole) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakIntVar n(scoped.env, 0, 0.1 + 0.2 + 0.7 - 1e-12);
  const VakNumVar x(scoped.env, 0, 10);
  model.add(n + x <= 100);
  model.maximize(n);
  const VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getValue(n), 1);
}

TEST(MipEnds, AreInfeasibleThoughTheRelaxationIsNot) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakIntVar n(scoped.env, 0, 10);
  const VakIntVar m(scoped.env, 0, 10);
  model.add(2 * n - 2 * m == 1);
  model.minimize(n + m);
  const VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::Infeasible);
  EXPECT_FALSE(solver.hasSolution());
  EXPECT_EQ(solver.getBestBound(), Infinity);
}

TEST(MipEnds, AreUnboundedIfThereIsASolution) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakIntVar n(scoped.env);
  const VakIntVar m(scoped.env, 0, 10);
  const VakConstraint c = model.add(2 * n - 2 * m >= 1);
  model.maximize(n + m);
  const VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::Unbounded);
  c.setRelation(2 * n - 2 * m >= -3);
  EXPECT_EQ(solver.solve(), VakStatus::Unbounded);
}

TEST(MipEnds, AreLeftOpenIfNoSolutionTurnsUpAmongEndlesslyManyPoints) {
  VakScopedEnv scoped;
  scoped.env.setIntProperty("solver.presolve", 0);
  scoped.env.setIntProperty("solver.cuts", 0);
  const VakModel model(scoped.env);
  const VakIntVar n(scoped.env);
  const VakIntVar m(scoped.env);
  model.add(2 * n - 2 * m == 1);
  model.maximize(n + m);
  const VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::InfeasibleOrUnbounded);
}

TEST(MipEnds, RespectTheGap) {
  VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakNumVarArray x(scoped.env, 40, 0, 1, VakVarKind::Boolean);
  VakExpr weight;
  VakExpr value;
  for (int i = 0; i < 40; ++i) {
    weight += (100 + (i * 37) % 101) * x[i];
    value += (100 + (i * 37) % 101 + (i % 3)) * x[i];
  }
  model.add(weight <= 2011);
  model.maximize(value);
  scoped.env.setNumProperty("solver.gap", 0.5);
  scoped.env.setIntProperty("solver.cuts", 0);
  const VakSolver solver(model);
  const VakStatus status = solver.solve();
  EXPECT_TRUE(status == VakStatus::GapLimit || status == VakStatus::Optimal);
  EXPECT_TRUE(solver.hasSolution());
  EXPECT_LE(solver.getGap(), 0.5);
  EXPECT_GE(solver.getBestBound(), solver.getObjectiveValue() - Near);
}

}  // namespace

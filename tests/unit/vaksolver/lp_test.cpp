// Linear programs: results, duals, and the ends that a solve can come to.

#include <gtest/gtest.h>

#include "tests/support/scoped_env.h"
#include "vakmodel/contract/model_evaluator.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"
#include "vaksolver/solver_impl.h"

namespace {

constexpr double Near = 1e-6;
const VakNum Infinity = VakGetInfinity();

/// maximise 3 x + 5 y with x <= 4, 2 y <= 12, 3 x + 2 y <= 18; the optimum is 36 at (2, 6).
class LpSolver : public testing::Test {
 protected:
  LpSolver() {
    model.maximize(3 * x + 5 * y);
    plant1 = model.add(x <= 4, "plant1");
    plant2 = model.add(2 * y <= 12, "plant2");
    plant3 = model.add(3 * x + 2 * y <= 18, "plant3");
  }
  VakScopedEnv scoped;
  VakEnv env = scoped.env;
  VakModel model{env};
  VakNumVar x{env, "x"};
  VakNumVar y{env, "y"};
  VakConstraint plant1;
  VakConstraint plant2;
  VakConstraint plant3;
};

TEST_F(LpSolver, FindsTheOptimum) {
  VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getStatus(), VakStatus::Optimal);
  EXPECT_TRUE(solver.hasSolution());
  EXPECT_FALSE(solver.isMip());
  EXPECT_NEAR(solver.getObjectiveValue(), 36, Near);
  EXPECT_NEAR(solver.getValue(x), 2, Near);
  EXPECT_NEAR(solver.getValue(y), 6, Near);
  EXPECT_NEAR(solver.getValue(x - y + 1), -3, Near);
  EXPECT_NEAR(solver.getActivity(plant3), 18, Near);
  EXPECT_NEAR(solver.getSlack(plant1), 2, Near);
  EXPECT_NEAR(solver.getBestBound(), 36, Near);
  EXPECT_NEAR(solver.getGap(), 0, Near);
  EXPECT_EQ(solver.getNodeCount(), 0);
}

TEST_F(LpSolver, GivesDualsAsTheGrowthOfTheObjective) {
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  ASSERT_TRUE(solver.hasDuals());
  EXPECT_NEAR(solver.getDual(plant1), 0, Near);
  EXPECT_NEAR(solver.getDual(plant2), 1.5, Near);
  EXPECT_NEAR(solver.getDual(plant3), 1, Near);
  plant2.setUB(13);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 37.5, Near);
}

TEST_F(LpSolver, GivesReducedCostsAsTheGrowthOfTheObjective) {
  VakNumVar z(env, 0, 10, "z");
  model.getObjective().setCoef(z, 1);
  plant3.setCoef(z, 2);
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getReducedCost(z), -1, Near);
  z.setLB(2);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 34, Near);
}

TEST_F(LpSolver, SolvesAgainAfterAChangeWithoutLoadingAnew) {
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  x.setUB(1);
  EXPECT_EQ(solver.getStatus(), VakStatus::NotSolved);
  EXPECT_FALSE(solver.hasSolution());
  EXPECT_THROW((void)solver.getValue(x), VakAlgorithm::Exception);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 33, Near);
  EXPECT_EQ(solver.getLoadCount(), 1);
  EXPECT_EQ(solver.getWarmStartCount(), 1);
}

TEST_F(LpSolver, StartsFromScratchWithoutWarmStart) {
  env.setIntProperty("solver.warmStart", 0);
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getWarmStartCount(), 0);
  EXPECT_NEAR(solver.getObjectiveValue(), 36, Near);
}

TEST_F(LpSolver, FindsTheOptimumWithEachMethod) {
  for (const char* method : {"auto", "primal", "dual"}) {
    for (const VakInt presolve : {0, 1}) {
      env.setStringProperty("solver.algorithm", method);
      env.setIntProperty("solver.presolve", presolve);
      VakSolver solver(model);
      ASSERT_EQ(solver.solve(), VakStatus::Optimal) << method;
      EXPECT_NEAR(solver.getObjectiveValue(), 36, Near) << method;
      EXPECT_NEAR(solver.getDual(plant3), 1, Near) << method;
      solver.end();
    }
  }
}

TEST_F(LpSolver, TellsInfeasibleFromUnbounded) {
  VakSolver solver(model);
  plant1.setBounds(-Infinity, Infinity);
  plant3.setBounds(-Infinity, Infinity);
  EXPECT_EQ(solver.solve(), VakStatus::Unbounded);
  EXPECT_FALSE(solver.hasSolution());
  EXPECT_EQ(solver.getBestBound(), Infinity);
  EXPECT_EQ(solver.getGap(), Infinity);
  VakConstraint impossible = model.add(y >= 7);
  EXPECT_EQ(solver.solve(), VakStatus::Infeasible);
  model.remove(impossible);
  plant3.setBounds(-Infinity, 18);
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 36, Near);
}

TEST_F(LpSolver, KnowsNothingOfAModelThatWasNeverSolved) {
  VakSolver solver(model);
  EXPECT_EQ(solver.getStatus(), VakStatus::NotSolved);
  EXPECT_FALSE(solver.hasSolution());
  EXPECT_THROW((void)solver.getObjectiveValue(), VakAlgorithm::Exception);
  EXPECT_THROW((void)solver.getActivity(plant1), VakAlgorithm::Exception);
  EXPECT_THROW((void)solver.getDual(plant1), VakAlgorithm::Exception);
}

TEST_F(LpSolver, RefusesQuestionsAboutObjectsOfOtherModels) {
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  VakNumVar stranger(env, "stranger");
  VakConstraint strange(env, stranger <= 1);
  const auto textOf = [](auto question) -> std::string {
    try {
      question();
    } catch (const VakAlgorithm::Exception& e) {
      return e.getMessage();
    }
    return "";
  };
  EXPECT_EQ(textOf([&] { (void)solver.getValue(stranger); }),
            "A variable is not in the solved model.");
  EXPECT_EQ(textOf([&] { (void)solver.getReducedCost(stranger); }),
            "A variable is not in the solved model.");
  EXPECT_EQ(textOf([&] { (void)solver.getDual(strange); }),
            "A constraint is not in the solved model.");
  EXPECT_EQ(textOf([&] { (void)solver.getSlack(strange); }),
            "A constraint is not in the solved model.");
}

TEST_F(LpSolver, EndsAtTheIterationLimit) {
  env.setIntProperty("solver.iterationLimit", 0);
  env.setIntProperty("solver.presolve", 0);
  VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::IterationLimit);
  env.removeProperty("solver.iterationLimit");
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
}

TEST_F(LpSolver, EndsAtTheTimeLimit) {
  env.setNumProperty("solver.timeLimit", 0);
  VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::TimeLimit);
  env.setNumProperty("solver.timeLimit", 100);
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
}

TEST_F(LpSolver, LoadsAnewWhenItExtractsAnew) {
  VakSolver solver(model);
  VakModel other(env);
  other.minimize(x);
  solver.extract(other);
  EXPECT_EQ(solver.getModel(), other);
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 0, Near);
  EXPECT_EQ(solver.getLoadCount(), 2);
  solver.clear();
  EXPECT_TRUE(solver.getModel().isEmpty());
  EXPECT_THROW(solver.solve(), VakAlgorithm::Exception);
}

TEST_F(LpSolver, LosesItsModelWhenThatEnds) {
  VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  model.end();
  EXPECT_TRUE(solver.getModel().isEmpty());
  EXPECT_FALSE(solver.hasSolution());
  EXPECT_THROW(solver.solve(), VakAlgorithm::Exception);
}

TEST(Solver, ThrowsOnAnEmptyHandle) {
  const VakSolver solver;
  try {
    solver.solve();
    FAIL();
  } catch (const VakEmptyHandleException& e) {
    EXPECT_STREQ(e.getMessage(), "VakSolver: Using empty handle");
  }
  solver.abort();
}

TEST(Solver, SolvesAnEmptyModel) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getObjectiveValue(), 0);
  const VakConstraint c(scoped.env, 1, 2);
  c.setKeptWhenEmpty(true);
  model.add(c);
  EXPECT_EQ(solver.solve(), VakStatus::Infeasible);
  c.setBounds(-1, 2);
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getActivity(c), 0);
}

TEST(Solver, SolvesModelsWithoutConstraints) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakNumVar x(scoped.env, -3, 5);
  const VakNumVar y(scoped.env, -Infinity, 2.5, VakVarKind::Integer);
  const VakNumVar z(scoped.env, 1, Infinity);
  model.maximize(x + y - z + 10);
  const VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 16, Near);
  EXPECT_EQ(solver.getValue(y), 2);
  model.minimize(x + y);
  EXPECT_EQ(solver.solve(), VakStatus::Unbounded);
}

TEST(Solver, SolvesModelsWithFreeRowsAndFreeVariables) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakNumVar x(scoped.env, -Infinity, Infinity);
  const VakNumVar y(scoped.env, -4, -1);
  const VakConstraint free(scoped.env, -Infinity, Infinity);
  free.setCoef(x, 2);
  model.add(free);
  model.add(-10 <= x - y <= 3);
  model.minimize(x + y);
  const VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getValue(x), -14, Near);
  EXPECT_NEAR(solver.getObjectiveValue(), -18, Near);
  EXPECT_NEAR(solver.getActivity(free), -28, Near);
  EXPECT_EQ(solver.getSlack(free), Infinity);
}

TEST(Solver, CountsConstantAndSenseOfTheObjective) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakNumVar x(scoped.env, 0, 4);
  model.add(x + 0 <= 3);
  const VakObjective objective = model.maximize(2 * x + 100);
  const VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 106, Near);
  EXPECT_NEAR(solver.getBestBound(), 106, Near);
  objective.setConstant(-1);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 5, Near);
  objective.setSense(VakSense::Minimize);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), -1, Near);
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST(Solver, SolvesWithoutAnObjective) {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakNumVar x(scoped.env, 0, 4);
  model.add(x + 0 >= 3);
  const VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getObjectiveValue(), 0);
  EXPECT_GE(solver.getValue(x), 3 - Near);
}

TEST(Solver, LetsSeveralSolversHaveModelsOfTheirOwn) {
  const VakScopedEnv scoped;
  const VakNumVar x(scoped.env, 0, 4);
  const VakModel first(scoped.env);
  const VakModel second(scoped.env);
  first.add(x + 0 <= 10);
  second.add(x + 0 <= 2);
  first.maximize(x);
  second.maximize(x);
  const VakSolver one(first);
  const VakSolver two(second);
  const VakSolver alsoTwo(second);
  EXPECT_EQ(one.solve(), VakStatus::Optimal);
  EXPECT_EQ(two.solve(), VakStatus::Optimal);
  EXPECT_EQ(alsoTwo.solve(), VakStatus::Optimal);
  x.setUB(3);
  EXPECT_EQ(one.getStatus(), VakStatus::NotSolved);
  EXPECT_EQ(two.getStatus(), VakStatus::NotSolved);
  one.solve();
  two.solve();
  alsoTwo.solve();
  EXPECT_NEAR(one.getObjectiveValue(), 3, Near);
  EXPECT_NEAR(two.getObjectiveValue(), 2, Near);
  EXPECT_NEAR(alsoTwo.getObjectiveValue(), 2, Near);
}

TEST(Solver, AnswersThroughTheModelEvaluator) {
  const VakScopedEnv scoped;
  const VakNumVar x(scoped.env, 0, 4);
  const VakModel model(scoped.env);
  model.add(x + 0 <= 10);
  model.maximize(x);
  const VakSolver solver(model);
  solver.solve();
  solver.getImpl()->makeModelEvaluator();
  EXPECT_NEAR(solver.getImpl()->_modelEvaluator->getValue(x.getImpl()), 4, Near);
}

}  // namespace

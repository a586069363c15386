#include "apps/vak-solve/solution.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "tests/support/scoped_env.h"
#include "vakmodel/modelling.h"

namespace vaksolve {
namespace {

const double Infinity = std::numeric_limits<double>::infinity();

Solution makeOptimal(double objective) {
  Solution solution;
  solution.status = VakStatus::Optimal;
  solution.hasSolution = true;
  solution.objective = objective;
  solution.bound = objective;
  solution.iterations = 2;
  return solution;
}

/// Two variables and a constraint, with duals.
Solution makeExample() {
  Solution solution = makeOptimal(36);
  solution.hasDuals = true;
  solution.variables = {{0, "doors", 2, 0}, {1, "windows", 6, -1.5}};
  solution.constraints = {{2, "plant", 18, -Infinity, 18, 1}};
  return solution;
}

std::string valuesOf(const Solution& solution, long rows = 50) {
  std::ostringstream out;
  writeValues(out, solution, rows);
  return out.str();
}

std::string differenceOf(const Solution& before, const Solution& after, long rows = 50) {
  std::ostringstream out;
  writeDifference(out, before, after, rows);
  return out.str();
}

// ---- Summaries ----------------------------------------------------------------------------------

TEST(Summary, SaysObjectiveAndIterations) {
  Solution solution = makeOptimal(36);
  EXPECT_EQ(summarize(solution), "Optimal: objective 36 after 2 iterations\n");
  solution.iterations = 1;
  solution.seconds = 1.25;
  EXPECT_EQ(summarize(solution), "Optimal: objective 36 after 1 iteration in 1.25 s\n");
}

TEST(Summary, SaysTheFormerObjectiveWhenItWasAnother) {
  const Solution solution = makeOptimal(36);
  const Solution other = makeOptimal(30);
  const Solution nearlySame = makeOptimal(36 + 1e-9);
  Solution infeasible;
  infeasible.status = VakStatus::Infeasible;
  EXPECT_EQ(summarize(solution, &other), "Optimal: objective 36 (was 30) after 2 iterations\n");
  EXPECT_EQ(summarize(solution, &nearlySame), "Optimal: objective 36 after 2 iterations\n");
  EXPECT_EQ(summarize(solution, &infeasible), "Optimal: objective 36 after 2 iterations\n");
}

TEST(Summary, SaysBoundAndGapOfASearchThatIsNotOver) {
  Solution solution = makeOptimal(40);
  solution.status = VakStatus::TimeLimit;
  solution.isMip = true;
  solution.bound = 39;
  solution.gap = 0.025;
  solution.nodes = 1;
  EXPECT_EQ(
      summarize(solution),
      "Time limit reached: objective 40, bound 39, gap 2.5 % after 2 iterations and 1 node\n");
  solution.status = VakStatus::GapLimit;
  EXPECT_EQ(summarize(solution),
            "Optimal within the gap: objective 40, bound 39, gap 2.5 % after 2 iterations and 1 "
            "node\n");
  solution.status = VakStatus::NodeLimit;
  solution.hasSolution = false;
  EXPECT_EQ(summarize(solution),
            "Node limit reached, no solution found, bound 39 after 2 iterations and 1 node\n");
  solution.bound = -Infinity;
  solution.status = VakStatus::Aborted;
  EXPECT_EQ(summarize(solution), "Interrupted, no solution found after 2 iterations and 1 node\n");
}

TEST(Summary, HasASentenceForEveryOtherOutcome) {
  Solution solution;
  const auto sentenceOf = [&](VakStatus status) {
    solution.status = status;
    return summarize(solution);
  };
  EXPECT_EQ(sentenceOf(VakStatus::Infeasible),
            "Infeasible: no values of the variables satisfy all constraints\n");
  EXPECT_EQ(sentenceOf(VakStatus::Unbounded),
            "Unbounded: the objective can be improved without limit\n");
  EXPECT_EQ(sentenceOf(VakStatus::InfeasibleOrUnbounded), "Infeasible or unbounded\n");
  EXPECT_EQ(sentenceOf(VakStatus::Failed), "Failed: the solver met numerical trouble\n");
  EXPECT_EQ(sentenceOf(VakStatus::IterationLimit),
            "Iteration limit reached, no solution found after 0 iterations\n");
}

// ---- Values -------------------------------------------------------------------------------------

TEST(Values, AreTwoTables) {
  EXPECT_EQ(valuesOf(makeExample()),
            "\n"
            "Variable  Value  Reduced cost\n"
            "--------  -----  ------------\n"
            "doors         2             0\n"
            "windows       6          -1.5\n"
            "\n"
            "Constraint  Lower  Activity  Upper  Dual\n"
            "----------  -----  --------  -----  ----\n"
            "plant        -inf        18     18     1\n");
}

TEST(Values, LeaveOutDualsThatAreNotThere) {
  Solution solution = makeExample();
  solution.hasDuals = false;
  EXPECT_EQ(valuesOf(solution),
            "\n"
            "Variable  Value\n"
            "--------  -----\n"
            "doors         2\n"
            "windows       6\n"
            "\n"
            "Constraint  Lower  Activity  Upper\n"
            "----------  -----  --------  -----\n"
            "plant        -inf        18     18\n");
}

TEST(Values, LeaveOutZerosFirstWhenThereAreTooManyRows) {
  Solution solution = makeOptimal(1);
  solution.variables = {{0, "a", 0, 0}, {1, "b", 1, 0}, {2, "c", 1e-12, 0}, {3, "d", 4, 0}};
  EXPECT_EQ(valuesOf(solution, 3),
            "\n"
            "Variable  Value\n"
            "--------  -----\n"
            "b             1\n"
            "d             4\n"
            "and 2 variables that are 0 (--rows 0 prints all)\n");
  EXPECT_EQ(valuesOf(solution, 1),
            "\n"
            "Variable  Value\n"
            "--------  -----\n"
            "b             1\n"
            "and 3 more variables (--rows 0 prints all)\n");
  for (const long rows : {0L, 4L}) {
    EXPECT_EQ(valuesOf(solution, rows),
              "\n"
              "Variable  Value\n"
              "--------  -----\n"
              "a             0\n"
              "b             1\n"
              "c             0\n"
              "d             4\n");
  }
}

TEST(Values, SayHowManyConstraintsAreLeftOut) {
  Solution solution = makeOptimal(1);
  solution.constraints = {{0, "a", 0, 0, 1, 0}, {1, "b", 0, 0, 1, 0}};
  EXPECT_EQ(valuesOf(solution, 1),
            "\n"
            "Constraint  Lower  Activity  Upper\n"
            "----------  -----  --------  -----\n"
            "a               0         0      1\n"
            "and 1 more constraint (--rows 0 prints all)\n");
}

// ---- Differences --------------------------------------------------------------------------------

TEST(Difference, ListsWhatHasAnotherValue) {
  Solution after = makeExample();
  after.variables[0].value = 4;
  after.constraints[0].value = 17;
  EXPECT_EQ(differenceOf(makeExample(), after),
            "\n"
            "Variable  Before  After\n"
            "--------  ------  -----\n"
            "doors          2      4\n"
            "\n"
            "Constraint  Before  After\n"
            "----------  ------  -----\n"
            "plant           18     17\n");
}

TEST(Difference, TakesRoundingForNoDifference) {
  Solution after = makeExample();
  after.variables[0].value += 1e-10;
  EXPECT_EQ(differenceOf(makeExample(), after), "The solution is the same.\n");
}

TEST(Difference, PassesOverWhatIsGone) {
  Solution after = makeExample();
  after.variables.erase(after.variables.begin());
  after.constraints.clear();
  EXPECT_EQ(differenceOf(makeExample(), after), "The solution is the same.\n");
  after.variables[0].value = 5;
  EXPECT_EQ(differenceOf(makeExample(), after),
            "\n"
            "Variable  Before  After\n"
            "--------  ------  -----\n"
            "windows        6      5\n");
}

TEST(Difference, IsTheWholeSolutionWhenThereWasNone) {
  Solution before;
  before.status = VakStatus::Infeasible;
  EXPECT_EQ(differenceOf(before, makeExample()), valuesOf(makeExample()));
  EXPECT_EQ(differenceOf(makeExample(), before), "");
}

TEST(Difference, IsCutLikeOtherTables) {
  Solution after = makeExample();
  after.variables[0].value = 4;
  after.variables[1].value = 4;
  EXPECT_EQ(differenceOf(makeExample(), after, 1),
            "\n"
            "Variable  Before  After\n"
            "--------  ------  -----\n"
            "doors          2      4\n"
            "and 1 more variable (--rows 0 prints all)\n");
}

// ---- From a solver ------------------------------------------------------------------------------

TEST(TakeSolution, CopiesTheResultOfALinearProgram) {
  const VakScopedEnv scope;
  const VakModel model(scope.env, "m");
  const VakNumVar x(scope.env, 0, 4, "x");
  const VakNumVar y(scope.env, "y");
  model.add(3 * x + 2 * y <= 18, "c");
  model.add(2 * y <= 12, "d");
  model.maximize(3 * x + 5 * y);
  const VakSolver solver(model);
  solver.solve();
  const Solution solution = takeSolution(solver, model, true);
  EXPECT_EQ(solution.status, VakStatus::Optimal);
  EXPECT_TRUE(solution.hasSolution);
  EXPECT_TRUE(solution.hasDuals);
  EXPECT_FALSE(solution.isMip);
  EXPECT_NEAR(solution.objective, 36, 1e-7);
  ASSERT_EQ(solution.variables.size(), 2U);
  EXPECT_EQ(solution.variables[0].name, "x");
  EXPECT_NEAR(solution.variables[0].value, 2, 1e-7);
  EXPECT_NEAR(solution.variables[1].value, 6, 1e-7);
  ASSERT_EQ(solution.constraints.size(), 2U);
  EXPECT_EQ(solution.constraints[0].name, "c");
  EXPECT_EQ(solution.constraints[0].lb, -Infinity);
  EXPECT_EQ(solution.constraints[0].ub, 18);
  EXPECT_NEAR(solution.constraints[0].value, 18, 1e-7);
  EXPECT_NEAR(solution.constraints[0].dual, 1, 1e-7);
  EXPECT_TRUE(takeSolution(solver, model, false).variables.empty());
}

TEST(TakeSolution, HasNoValuesOfAnUnboundedModel) {
  const VakScopedEnv scope;
  const VakModel model(scope.env, "m");
  const VakNumVar x(scope.env, "x");
  model.add(x);
  model.maximize(x);
  const VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::Unbounded);
  const Solution solution = takeSolution(solver, model, true);
  EXPECT_FALSE(solution.hasSolution);
  EXPECT_TRUE(solution.variables.empty());
}

}  // namespace
}  // namespace vaksolve

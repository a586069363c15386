// What vak-solve prints about a model.

#include <gtest/gtest.h>

#include "tests/program/process.h"

namespace {

TEST(Solve, PrintsTheModelAndItsSolution) {
  const Outcome outcome = solve({"examples/models/product_mix.lp"});
  EXPECT_EQ(withoutCounts(outcome.out),
            "examples/models/product_mix.lp: maximize, 2 variables, 3 constraints, 4 coefficients\n"
            "Optimal: objective 36 after N iterations\n"
            "\n"
            "Variable  Value  Reduced cost\n"
            "--------  -----  ------------\n"
            "doors         2             0\n"
            "windows       6             0\n"
            "\n"
            "Constraint  Lower  Activity  Upper  Dual\n"
            "----------  -----  --------  -----  ----\n"
            "plant1       -inf         2      4     0\n"
            "plant2       -inf        12     12   1.5\n"
            "plant3       -inf        18     18     1\n");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.code, 0);
}

TEST(Solve, PrintsIntegerModelsWithoutDuals) {
  const Outcome outcome = solve({"examples/models/knapsack.lp"});
  EXPECT_EQ(withoutCounts(outcome.out),
            "examples/models/knapsack.lp: maximize, 3 variables (3 integer), 1 constraint, 3 "
            "coefficients\n"
            "Optimal: objective 220 after N iterations and N nodes\n"
            "\n"
            "Variable  Value\n"
            "--------  -----\n"
            "gold          0\n"
            "silver        1\n"
            "bronze        1\n"
            "\n"
            "Constraint  Lower  Activity  Upper\n"
            "----------  -----  --------  -----\n"
            "weight       -inf        50     50\n");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.code, 0);
}

TEST(Solve, PrintsNoTablesWithoutASolution) {
  const Outcome infeasible = solve({"examples/models/infeasible.lp"});
  EXPECT_EQ(infeasible.out,
            "examples/models/infeasible.lp: minimize, 2 variables, 3 constraints, 4 coefficients\n"
            "Infeasible: no values of the variables satisfy all constraints\n");
  EXPECT_EQ(infeasible.code, 3);
  const Outcome unbounded = solve({"examples/models/unbounded.mps"});
  EXPECT_EQ(unbounded.out,
            "examples/models/unbounded.mps: minimize, 2 variables, 1 constraint, 2 coefficients\n"
            "Unbounded: the objective can be improved without limit\n");
  EXPECT_EQ(unbounded.code, 4);
}

TEST(Solve, CutsTables) {
  const Outcome outcome = solve({"examples/models/assignment.mps", "--rows", "4"});
  EXPECT_NE(outcome.out.find("\nand 12 variables that are 0 (--rows 0 prints all)\n"),
            std::string::npos)
      << outcome.out;
  EXPECT_NE(outcome.out.find("\nand 4 more constraints (--rows 0 prints all)\n"),
            std::string::npos);
  EXPECT_EQ(solve({"examples/models/assignment.mps", "--rows", "0"}).out.find("--rows"),
            std::string::npos);
}

TEST(Solve, TakesEmptyModels) {
  const TemporaryFolder folder;
  const std::string file = folder.file("empty.mps");
  writeFile(file, "NAME          NOTHING\nROWS\n N  COST\nCOLUMNS\nRHS\nENDATA\n");
  const Outcome outcome = solve({file});
  EXPECT_EQ(outcome.out, file +
                             ": minimize, 0 variables, 0 constraints, 0 coefficients\n"
                             "Optimal: objective 0 after 0 iterations\n");
  EXPECT_EQ(outcome.code, 0);
}

TEST(Solve, IsQuietOnRequest) {
  const Outcome outcome =
      solve({"examples/models/product_mix.lp", "--quiet", "--set", "plant2.ub=10"});
  EXPECT_EQ(withoutCounts(outcome.out),
            "Optimal: objective 36 after N iterations\n"
            "Optimal: objective 33 after N iterations\n");
  EXPECT_EQ(outcome.err, "");
}

TEST(Solve, StopsWithinTheGap) {
  const Outcome outcome = solve({"examples/models/knapsack.lp", "--quiet", "--gap", "0.5"});
  EXPECT_EQ(outcome.out.find("Optimal"), 0U) << outcome.out;
  EXPECT_EQ(outcome.code, 0);
}

TEST(Solve, StopsAtTheTimeLimit) {
  const Outcome outcome = solve({"examples/models/diet.lp", "--quiet", "--time-limit", "0"});
  EXPECT_EQ(outcome.out, "Time limit reached, no solution found after 0 iterations\n");
  EXPECT_EQ(outcome.code, 7);
}

TEST(Help, IsPrinted) {
  const Outcome outcome = solve({"--help"});
  EXPECT_EQ(outcome.out.find("Usage: vak-solve MODEL [OPTION]...\n\nSolves the "), 0U);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.code, 0);
}

TEST(Version, IsTheVersionRecord) {
  const Outcome outcome = solve({"--version"});
  EXPECT_EQ(outcome.out, "Vak 2.4 (2007-03-26)\n");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.code, 0);
}

}  // namespace

// Edits of a solved model, and what vak-solve prints about them.

#include <gtest/gtest.h>

#include "tests/program/process.h"

namespace {

constexpr const char* Mix = "examples/models/product_mix.lp";

/// What is printed for the product mix behind the tables of the first solve.
std::string editsOf(std::vector<std::string> options) {
  const std::string first = withoutCounts(solve({Mix}).out);
  options.insert(options.begin(), Mix);
  const Outcome outcome = solve(std::move(options));
  const std::string text = withoutCounts(outcome.out);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(text.substr(0, first.size()), first);
  return text.substr(first.size());
}

TEST(Edits, PrintWhatChanged) {
  EXPECT_EQ(editsOf({"--set", "plant2.ub=10", "--set", "doors.obj=6"}),
            "\n"
            "Edit: plant2.ub = 10 (was 12)\n"
            "Optimal: objective 33 (was 36) after N iterations\n"
            "\n"
            "Variable  Before        After\n"
            "--------  ------  -----------\n"
            "doors          2  2.666666667\n"
            "windows        6            5\n"
            "\n"
            "Constraint  Before        After\n"
            "----------  ------  -----------\n"
            "plant1           2  2.666666667\n"
            "plant2          12           10\n"
            "\n"
            "Edit: doors.obj = 6 (was 3)\n"
            "Optimal: objective 41 (was 33) after N iterations\n"
            "The solution is the same.\n");
}

TEST(Edits, AreAppliedInTheirOrderToTheSolvedModel) {
  EXPECT_EQ(editsOf({"--fix", "doors=1", "--remove", "plant2", "--minimize", "--maximize"}),
            "\n"
            "Edit: doors = 1 (was 0 to inf)\n"
            "Optimal: objective 33 (was 36) after N iterations\n"
            "\n"
            "Variable  Before  After\n"
            "--------  ------  -----\n"
            "doors          2      1\n"
            "\n"
            "Constraint  Before  After\n"
            "----------  ------  -----\n"
            "plant1           2      1\n"
            "plant3          18     15\n"
            "\n"
            "Edit: removed constraint plant2\n"
            "Optimal: objective 40.5 (was 33) after N iterations\n"
            "\n"
            "Variable  Before  After\n"
            "--------  ------  -----\n"
            "windows        6    7.5\n"
            "\n"
            "Constraint  Before  After\n"
            "----------  ------  -----\n"
            "plant3          15     18\n"
            "\n"
            "Edit: minimize (was maximize)\n"
            "Optimal: objective 3 (was 40.5) after N iterations\n"
            "\n"
            "Variable  Before  After\n"
            "--------  ------  -----\n"
            "windows      7.5      0\n"
            "\n"
            "Constraint  Before  After\n"
            "----------  ------  -----\n"
            "plant3          18      3\n"
            "\n"
            "Edit: maximize (was minimize)\n"
            "Optimal: objective 40.5 (was 3) after N iterations\n"
            "\n"
            "Variable  Before  After\n"
            "--------  ------  -----\n"
            "windows        0    7.5\n"
            "\n"
            "Constraint  Before  After\n"
            "----------  ------  -----\n"
            "plant3           3     18\n");
}

TEST(Edits, TellWhatGoesWithAVariable) {
  EXPECT_EQ(editsOf({"--remove", "doors"}),
            "\n"
            "Edit: removed variable doors and, empty without it, plant1\n"
            "Optimal: objective 30 (was 36) after N iterations\n"
            "\n"
            "Constraint  Before  After\n"
            "----------  ------  -----\n"
            "plant3          18     12\n");
}

TEST(Edits, MayMakeAModelInfeasibleAndFeasibleAgain) {
  EXPECT_EQ(editsOf({"--set", "doors.lb=5", "--set", "plant1.ub=5"}),
            "\n"
            "Edit: doors.lb = 5 (was 0)\n"
            "Infeasible: no values of the variables satisfy all constraints\n"
            "\n"
            "Edit: plant1.ub = 5 (was 4)\n"
            "Optimal: objective 22.5 after N iterations\n"
            "\n"
            "Variable  Value  Reduced cost\n"
            "--------  -----  ------------\n"
            "doors         5          -4.5\n"
            "windows     1.5             0\n"
            "\n"
            "Constraint  Lower  Activity  Upper  Dual\n"
            "----------  -----  --------  -----  ----\n"
            "plant1       -inf         5      5     0\n"
            "plant2       -inf         3     12     0\n"
            "plant3       -inf        18     18   2.5\n");
}

TEST(Edits, DecideTheExitCode) {
  EXPECT_EQ(
      solve({Mix, "--set", "plant3.lb=18", "--set", "plant1.ub=0", "--fix", "windows=0"}).code, 3);
  EXPECT_EQ(solve({Mix, "--remove", "plant2", "--remove", "plant3"}).code, 4);
}

TEST(Edits, MakeVariablesInteger) {
  EXPECT_EQ(editsOf({"--set", "plant2.ub=11", "--set", "windows.kind=integer"}),
            "\n"
            "Edit: plant2.ub = 11 (was 12)\n"
            "Optimal: objective 34.5 (was 36) after N iterations\n"
            "\n"
            "Variable  Before        After\n"
            "--------  ------  -----------\n"
            "doors          2  2.333333333\n"
            "windows        6          5.5\n"
            "\n"
            "Constraint  Before        After\n"
            "----------  ------  -----------\n"
            "plant1           2  2.333333333\n"
            "plant2          12           11\n"
            "\n"
            "Edit: windows.kind = integer (was continuous)\n"
            "Optimal: objective 33 (was 34.5) after N iterations and N nodes\n"
            "\n"
            "Variable       Before        After\n"
            "--------  -----------  -----------\n"
            "doors     2.333333333  2.666666667\n"
            "windows           5.5            5\n"
            "\n"
            "Constraint       Before        After\n"
            "----------  -----------  -----------\n"
            "plant1      2.333333333  2.666666667\n"
            "plant2               11           10\n");
}

TEST(Edits, AreInTheWrittenModel) {
  const TemporaryFolder folder;
  const std::string file = folder.file("out.lp");
  const Outcome outcome = solve({Mix, "--set", "plant2.ub=10", "--write", file});
  EXPECT_TRUE(outcome.out.ends_with("\nWrote the model to " + file + "\n"));
  EXPECT_EQ(solve({file, "--quiet"}).out.find("Optimal: objective 33 "), 0U);
}

}  // namespace

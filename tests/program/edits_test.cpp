// Edits of a solved model, and what vak-solve prints about them.

#include <gtest/gtest.h>

#include "tests/program/process.h"

namespace {

constexpr const char* Mix = "examples/models/product_mix.lp";

/// What is printed for the product mix behind the tables of the first solve.
std::string editsOf(std::vector<std::string> options) {
  const std::string first = solve({Mix}).out;
  options.insert(options.begin(), Mix);
  const Outcome outcome = solve(std::move(options));
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out.substr(0, first.size()), first);
  return outcome.out.substr(first.size());
}

TEST(Edits, PrintWhatChanged) {
  EXPECT_EQ(editsOf({"--set", "plant2.ub=10", "--set", "doors.obj=6"}),
            "\n"
            "Edit: plant2.ub = 10 (was 12)\n"
            "Optimal: objective 33 (was 36) after 1 iteration\n"
            "\n"
            "Variable  Before    After\n"
            "--------  ------  -------\n"
            "doors          2  2.66667\n");
}

TEST(Edits, AreAppliedInTheirOrderToTheSolvedModel) {
  const std::string text =
      editsOf({"--fix", "doors=1", "--remove", "plant2", "--minimize", "--maximize"});
  EXPECT_EQ(text, "");
}

TEST(Edits, TellWhatGoesWithAVariable) { EXPECT_EQ(editsOf({"--remove", "doors"}), ""); }

TEST(Edits, MayMakeAModelInfeasibleAndFeasibleAgain) {
  EXPECT_EQ(editsOf({"--set", "plant2.lb=20", "--set", "plant2.ub=20"}), "");
}

TEST(Edits, DecideTheExitCode) {
  EXPECT_EQ(
      solve({Mix, "--set", "plant3.lb=18", "--set", "plant1.ub=0", "--fix", "windows=0"}).code, 3);
  EXPECT_EQ(solve({Mix, "--remove", "plant2", "--remove", "plant3"}).code, 4);
}

TEST(Edits, MakeVariablesInteger) {
  EXPECT_EQ(editsOf({"--set", "plant2.ub=11", "--set", "windows.kind=integer"}), "");
}

TEST(Edits, AreInTheWrittenModel) {
  const TemporaryFolder folder;
  const std::string file = folder.file("out.lp");
  const Outcome outcome = solve({Mix, "--set", "plant2.ub=10", "--write", file});
  EXPECT_TRUE(outcome.out.ends_with("\nWrote the model to " + file + "\n"));
  EXPECT_EQ(solve({file, "--quiet"}).out.find("Optimal: objective 33 "), 0U);
}

}  // namespace

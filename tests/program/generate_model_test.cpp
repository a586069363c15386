// The generator of large models.

#include <gtest/gtest.h>

#include "tests/program/process.h"

namespace {

Outcome generate(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), GENERATE_MODEL);
  return runProgram(arguments);
}

constexpr const char* Usage =
    "usage: generate_model transport|facilities|periods SIZE SIZE [SEED] FILE\n";

struct Kind {
  const char* name;
  const char* size;     ///< What the generator says about a model of 4 times 6.
  const char* optimum;  ///< Of seed 7.
};

void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

class Generated : public testing::TestWithParam<Kind> {};

TEST_P(Generated, ModelsHaveTheSizeThatIsSaidAndASolution) {
  const TemporaryFolder folder;
  const std::string file = folder.file("model.mps");
  const Outcome made = generate({GetParam().name, "4", "6", "7", file});
  EXPECT_EQ(made.out, file + ": " + GetParam().size + '\n');
  EXPECT_EQ(made.err, "");
  EXPECT_EQ(made.code, 0);
  const Outcome solved = solve({file, "--quiet"});
  EXPECT_EQ(solved.out.find(std::string("Optimal: objective ") + GetParam().optimum + ' '), 0U)
      << solved.out;
}

TEST_P(Generated, ModelsDependOnTheSeedAlone) {
  const TemporaryFolder folder;
  const auto textOf = [&](const std::vector<std::string>& arguments) {
    std::vector<std::string> words{GetParam().name, "4", "6"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    words.push_back(folder.file("model.lp"));
    EXPECT_EQ(generate(words).code, 0);
    return readFile(folder.file("model.lp"));
  };
  EXPECT_EQ(textOf({"7"}), textOf({"7"}));
  EXPECT_NE(textOf({"7"}), textOf({"8"}));
  EXPECT_EQ(textOf({}), textOf({"1"}));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Generated,
    testing::Values(Kind{"transport", "24 variables, 10 constraints, 48 coefficients", "51843"},
                    Kind{"facilities", "28 variables, 10 constraints, 52 coefficients", "2223"},
                    Kind{"periods", "54 variables, 30 constraints, 98 coefficients",
                         "59766.14286"}),
    [](const auto& kind) { return std::string(kind.param.name); });

TEST(Generator, SaysHowItIsCalled) {
  const auto errorOf = [](const std::vector<std::string>& arguments) {
    const Outcome outcome = generate(arguments);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    return outcome.err;
  };
  const std::string usage = Usage;
  EXPECT_EQ(errorOf({}), "generate_model: 4 or 5 arguments are needed\n" + usage);
  EXPECT_EQ(errorOf({"transport", "0", "6", "m.lp"}), "generate_model: \"0\" is no size\n" + usage);
  EXPECT_EQ(errorOf({"transport", "4", "six", "m.lp"}),
            "generate_model: \"six\" is no size\n" + usage);
  EXPECT_EQ(errorOf({"transport", "4", "6", "-1", "m.lp"}),
            "generate_model: \"-1\" is no seed\n" + usage);
  EXPECT_EQ(errorOf({"knapsack", "4", "6", "m.lp"}),
            "generate_model: \"knapsack\" is no kind of model\n" + usage);
}

TEST(Generator, ReportsAFileThatCannotBeWritten) {
  const Outcome outcome = generate({"transport", "4", "6", "no/such/folder/m.lp"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err.find("generate_model: no/such/folder/m.lp: "), 0U) << outcome.err;
}

}  // namespace

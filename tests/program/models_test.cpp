// The models in examples/models/: each has the optimum that is known for it.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/program/process.h"

namespace {

const std::map<std::string, std::string> Outcomes{
    {"assignment.mps", "Optimal: objective 15 after "},
    {"diet.lp", "Optimal: objective 90 after "},
    {"facility_location.lp", "Optimal: objective 21 after "},
    {"infeasible.lp", "Infeasible: no values of the variables satisfy all constraints\n"},
    {"knapsack.lp", "Optimal: objective 220 after "},
    {"product_mix.lp", "Optimal: objective 36 after "},
    {"production.lp", "Optimal: objective 78450 after "},
    {"set_cover.mps", "Optimal: objective 2 after "},
    {"transport.mps", "Optimal: objective 153.675 after "},
    {"unbounded.mps", "Unbounded: the objective can be improved without limit\n"},
};

TEST(BundledModels, AllHaveAKnownOutcome) {
  for (const auto& entry : std::filesystem::directory_iterator(VAK_MODELS)) {
    EXPECT_TRUE(Outcomes.contains(entry.path().filename())) << entry.path();
  }
}

class BundledModel : public testing::TestWithParam<std::string> {};

TEST_P(BundledModel, HasItsKnownOutcome) {
  const Outcome outcome = solve({"examples/models/" + GetParam(), "--quiet"});
  const std::string& expected = Outcomes.at(GetParam());
  EXPECT_EQ(outcome.out.substr(0, expected.size()), expected);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.code, expected.starts_with('O') ? 0 : expected.starts_with('I') ? 3 : 4);
}

TEST_P(BundledModel, IsTheSameWrittenAndReadAgain) {
  const TemporaryFolder folder;
  const std::string& expected = Outcomes.at(GetParam());
  for (const char* name : {"model.mps", "model.lp", "model.mps.gz"}) {
    const std::string file = folder.file(name);
    EXPECT_EQ(solve({"examples/models/" + GetParam(), "--write", file}).err, "");
    const Outcome outcome = solve({file, "--quiet"});
    EXPECT_EQ(outcome.out.substr(0, expected.size()), expected) << name;
    EXPECT_EQ(outcome.err, "");
  }
}

std::vector<std::string> names() {
  std::vector<std::string> all;
  for (const auto& [name, outcome] : Outcomes) all.push_back(name);
  return all;
}

INSTANTIATE_TEST_SUITE_P(All, BundledModel, testing::ValuesIn(names()), [](const auto& model) {
  return model.param.substr(0, model.param.find('.'));
});

}  // namespace

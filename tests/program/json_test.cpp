// vak-solve for other programs: JSON, and the report.

#include <gtest/gtest.h>

#include "tests/program/process.h"

namespace {

/// The text with "N" in the place of every time.
std::string withoutTimes(std::string text) {
  for (const char* name : {"seconds", "read", "extract", "solve", "edit", "write"}) {
    const std::string key = '"' + std::string(name) + "\": ";
    text = withoutNumbers(withoutNumbers(text, key, ","), key, "\n");
  }
  return text;
}

TEST(Json, HoldsTheModelAndEverySolve) {
  const Outcome outcome =
      solve({"examples/models/product_mix.lp", "--json", "--set", "doors.lb=5"});
  std::string text = withoutTimes(outcome.out);
  text = withoutNumbers(text, "\"iterations\": ", ",");
  EXPECT_EQ(text, R"json({
  "program": "vak-solve",
  "version": "Vak 2.4 (2007-03-26)",
  "file": "examples/models/product_mix.lp",
  "model": {
    "name": "",
    "sense": "maximize",
    "variables": 2,
    "integerVariables": 0,
    "constraints": 3,
    "coefficients": 4
  },
  "solves": [
    {
      "status": "optimal",
      "objective": 36,
      "bound": 36,
      "gap": 0,
      "iterations": N,
      "nodes": 0,
      "seconds": N,
      "variables": [
        {
          "name": "doors",
          "value": 2,
          "reducedCost": 0
        },
        {
          "name": "windows",
          "value": 6,
          "reducedCost": 0
        }
      ],
      "constraints": [
        {
          "name": "plant1",
          "lower": "-inf",
          "activity": 2,
          "upper": 4,
          "dual": 0
        },
        {
          "name": "plant2",
          "lower": "-inf",
          "activity": 12,
          "upper": 12,
          "dual": 1.5
        },
        {
          "name": "plant3",
          "lower": "-inf",
          "activity": 18,
          "upper": 18,
          "dual": 1
        }
      ]
    },
    {
      "option": "--set doors.lb=5",
      "edit": "doors.lb = 5 (was 0)",
      "status": "infeasible",
      "objective": null,
      "bound": "inf",
      "gap": "inf",
      "iterations": N,
      "nodes": 0,
      "seconds": N,
      "variables": [],
      "constraints": []
    }
  ],
  "exitCode": 3
}
)json");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.code, 3);
}

TEST(Json, LeavesValuesOutOnRequest) {
  const Outcome outcome = solve({"examples/models/product_mix.lp", "--json", "--quiet"});
  EXPECT_NE(outcome.out.find("\"objective\": 36,"), std::string::npos);
  EXPECT_NE(outcome.out.find("\"variables\": [],"), std::string::npos);
}

TEST(Report, FollowsTheResults) {
  const Outcome outcome = solve({"examples/models/product_mix.lp", "--quiet", "--report"});
  EXPECT_EQ(outcome.out.find("Optimal: objective 36 "), 0U);
  EXPECT_NE(outcome.out.find("\n\nReport\n\nPhase"), std::string::npos);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.code, 0);
}

TEST(Report, IsAMemberOfTheJson) {
  const Outcome outcome = solve({"examples/models/product_mix.lp", "--json", "--report"});
  EXPECT_NE(outcome.out.find("\n  \"report\": {\n    \"seconds\": {\n"), std::string::npos);
  EXPECT_TRUE(outcome.out.ends_with("\n  },\n  \"exitCode\": 0\n}\n"));
}

}  // namespace

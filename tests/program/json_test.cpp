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
  const Outcome outcome = solve({"examples/models/product_mix.lp", "--json", "--set",
                                 "plant2.lb=20", "--set", "plant2.ub=20"});
  EXPECT_EQ(withoutTimes(outcome.out), "");
}

}  // namespace

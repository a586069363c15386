// vak-solve for other programs: JSON, and the report.

#include <gtest/gtest.h>

#include <regex>

#include "tests/program/process.h"

namespace {

/// The text with every time replaced by a T.
std::string withoutTimes(const std::string& text) {
  return std::regex_replace(
      text, std::regex("(\"(seconds|read|extract|solve|edit|write)\": )[-0-9.e]+"), "$1T");
}

TEST(Json, HoldsTheModelAndEverySolve) {
  const Outcome outcome = solve({"examples/models/product_mix.lp", "--json", "--set",
                                 "plant2.lb=20", "--set", "plant2.ub=20"});
  EXPECT_EQ(withoutTimes(outcome.out), "");
}

}  // namespace

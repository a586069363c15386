#include "apps/vak-solve/text.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/scoped_env.h"
#include "vakmodel/variable.h"

namespace vaksolve {
namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();

TEST(FormatNumber, WritesTenSignificantDigitsAtMost) {
  EXPECT_EQ(formatNumber(36), "36");
  EXPECT_EQ(formatNumber(-0.5), "-0.5");
  EXPECT_EQ(formatNumber(100.0 / 3), "33.33333333");
  EXPECT_EQ(formatNumber(0.1 + 0.2), "0.3");
  EXPECT_EQ(formatNumber(1234567.5), "1234567.5");
  EXPECT_EQ(formatNumber(1.5e20), "1.5e+20");
}

TEST(FormatNumber, TakesWhatIsLeftOfZeroAsZeroWithoutASign) {
  EXPECT_EQ(formatNumber(0), "0");
  EXPECT_EQ(formatNumber(-0.0), "0");
  EXPECT_EQ(formatNumber(-9e-11), "0");
  EXPECT_EQ(formatNumber(1e-9), "1e-09");
}

TEST(FormatNumber, HasWordsForWhatIsNoFiniteNumber) {
  EXPECT_EQ(formatNumber(Infinity), "inf");
  EXPECT_EQ(formatNumber(-Infinity), "-inf");
  EXPECT_EQ(formatNumber(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(FormatSeconds, ChoosesTheUnit) {
  EXPECT_EQ(formatSeconds(0), "0 us");
  EXPECT_EQ(formatSeconds(0.0000994), "99 us");
  EXPECT_EQ(formatSeconds(0.0000996), "0.1 ms");
  EXPECT_EQ(formatSeconds(0.00042), "0.4 ms");
  EXPECT_EQ(formatSeconds(0.00994), "9.9 ms");
  EXPECT_EQ(formatSeconds(0.00996), "10 ms");
  EXPECT_EQ(formatSeconds(0.9994), "999 ms");
  EXPECT_EQ(formatSeconds(0.9996), "1.00 s");
  EXPECT_EQ(formatSeconds(1.254), "1.25 s");
  EXPECT_EQ(formatSeconds(9.996), "10.0 s");
  EXPECT_EQ(formatSeconds(75.21), "75.2 s");
}

TEST(FormatPercent, WritesThreeDigits) {
  EXPECT_EQ(formatPercent(0.025), "2.5 %");
  EXPECT_EQ(formatPercent(1.0 / 3), "33.3 %");
}

TEST(FormatCount, UsesTheSingularForOneOnly) {
  EXPECT_EQ(formatCount(0, "node", "nodes"), "0 nodes");
  EXPECT_EQ(formatCount(1, "node", "nodes"), "1 node");
  EXPECT_EQ(formatCount(2, "node", "nodes"), "2 nodes");
}

TEST(ParseNumber, ReadsWholeNumbersOnly) {
  EXPECT_EQ(parseNumber("4"), 4);
  EXPECT_EQ(parseNumber("-0.5"), -0.5);
  EXPECT_EQ(parseNumber("+1e6"), 1e6);
  EXPECT_EQ(parseNumber(".25"), 0.25);
  EXPECT_EQ(parseNumber("inf"), Infinity);
  EXPECT_EQ(parseNumber("-inf"), -Infinity);
  EXPECT_EQ(parseNumber("+Infinity"), Infinity);
}

TEST(ParseNumber, RefusesEverythingElse) {
  for (const char* text : {"", "+", "-", "abc", "4x", "4 ", " 4", "1,5", "+-4", "--4", "0x10",
                           "nan", "-nan", "1e999", "4.5.6", "infinite"}) {
    EXPECT_EQ(parseNumber(text), std::nullopt) << text;
  }
}

TEST(Printable, ShowsControlCharactersAsQuestionMarks) {
  EXPECT_EQ(printable("a\nb\x1b[31m\x7f"), "a?b?[31m?");
  EXPECT_EQ(printable("Grün"), "Grün");
  EXPECT_EQ(quote("a\tb"), "\"a?b\"");
}

TEST(NameOf, FallsBackToTheIdentifier) {
  const VakScopedEnv scope;
  const VakNumVar named(scope.env, "x");
  const VakNumVar unnamed(scope.env);
  EXPECT_EQ(nameOf(named), "x");
  EXPECT_EQ(nameOf(unnamed), "#" + std::to_string(unnamed.getId()));
}

TEST(WidthOf, CountsCharactersRatherThanBytes) {
  EXPECT_EQ(widthOf(""), 0);
  EXPECT_EQ(widthOf("abc"), 3);
  EXPECT_EQ(widthOf("Grün€"), 5);
}

}  // namespace
}  // namespace vaksolve

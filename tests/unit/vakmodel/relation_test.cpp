#include "vakmodel/relation.h"

#include <algorithm>

#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"

namespace {

struct Relation : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakNumVar x{env, "x"};
  VakIntVar y{env, "y"};
};

TEST_F(Relation, IsWrittenAsOnPaper) {
  EXPECT_EQ(VakTextOf(3 * x + 2 * y <= 12), "3 x + 2 y <= 12");
  EXPECT_EQ(VakTextOf(x >= 2), "x >= 2");
  EXPECT_EQ(VakTextOf(x + y == 3), "x + y == 3");
  EXPECT_EQ(VakTextOf(3 == x + y), "x + y == 3");
  EXPECT_EQ(VakTextOf(2 <= x), "x >= 2");
  EXPECT_EQ(VakTextOf(2 >= x), "x <= 2");
}

TEST_F(Relation, BringsVariablesToTheLeft) {
  EXPECT_EQ(VakTextOf(x <= y), "x - y <= 0");
  EXPECT_EQ(VakTextOf(x >= 2 * y + 1), "x - 2 y - 1 >= 0");
  EXPECT_EQ(VakTextOf(x + 1 == 2 * y), "x - 2 y + 1 == 0");
}

TEST_F(Relation, KeepsAnExpressionWithoutTermsOnItsSide) {
  const VakExpr none;
  EXPECT_EQ(VakTextOf(none <= 10), "0 <= 10");
  EXPECT_EQ(VakTextOf(none >= 10), "0 >= 10");
  EXPECT_EQ(VakTextOf(none == 10), "0 == 10");
  EXPECT_EQ(VakTextOf(10 >= none), "0 <= 10");
  EXPECT_EQ(VakTextOf(10 <= none), "0 >= 10");
  EXPECT_EQ(VakTextOf(10 == none), "0 == 10");
  EXPECT_EQ(VakTextOf(1 <= none <= 10), "1 <= 0 <= 10");
  EXPECT_EQ(VakTextOf(none <= x), "x >= 0");
  EXPECT_EQ(VakTextOf(none == x), "x == 0");
}

TEST_F(Relation, IsTwoSided) {
  EXPECT_EQ(VakTextOf(1 <= x + y <= 4), "1 <= x + y <= 4");
  EXPECT_EQ(VakTextOf(4 >= x + y >= 1), "1 <= x + y <= 4");
  EXPECT_EQ(VakTextOf(VakBetween(1, x + y, 4)), "1 <= x + y <= 4");
  EXPECT_EQ(VakTextOf(1.5 <= x <= 4), "1.5 <= x <= 4");
}

TEST_F(Relation, RefusesASecondComparisonWhereItMakesNoSense) {
  const char* const less =
      "A second <= follows a relation that is not number <= expression. Write two constraints.";
  const char* const greater =
      "A second >= follows a relation that is not number >= expression. Write two constraints.";
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { static_cast<void>(x <= 3 <= 4); }), less);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { static_cast<void>(x <= y <= 4); }), less);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { static_cast<void>((1 <= x <= 4) <= 5); }), less);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { static_cast<void>(1 <= x >= 0); }), greater);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { static_cast<void>((x + y == 3) >= 1); }), greater);
}

TEST_F(Relation, OfTwoVariablesIsAlsoATruthValue) {
  EXPECT_TRUE(x == x);
  EXPECT_FALSE(x == y);
  EXPECT_TRUE(x != y);
  EXPECT_EQ(VakTextOf(VakRelation(x == y)), "x - y == 0");
  const std::vector<VakNumVar> vars = {x, y};
  EXPECT_EQ(std::find(vars.begin(), vars.end(), y) - vars.begin(), 1);
}

TEST_F(Relation, WithoutAnyBoundIsFree) { EXPECT_EQ(VakTextOf(x <= VakGetInfinity()), "x free"); }

}  // namespace

#include "vakmodel/expr.h"

#include <array>
#include <cmath>
#include <memory>

#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"

namespace {

struct Expr : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakNumVar x{env, "x"};
  VakIntVar y{env, "y"};
  VakBoolVar z{env, "z"};
};

TEST_F(Expr, IsWrittenAsOnPaper) {
  EXPECT_EQ(VakTextOf(3 * x + 2 * y - 1), "3 x + 2 y - 1");
  EXPECT_EQ(VakTextOf(x + y), "x + y");
  EXPECT_EQ(VakTextOf(x - y), "x - y");
  EXPECT_EQ(VakTextOf(-x + 1.5 * z), "-x + 1.5 z");
  EXPECT_EQ(VakTextOf(VakExpr(-(2 * x))), "-2 x");
  EXPECT_EQ(VakTextOf(1 - x), "-x + 1");
  EXPECT_EQ(VakTextOf(x / 4 + z), "0.25 x + z");
  EXPECT_EQ(VakTextOf(VakExpr(x * 2)), "2 x");
  EXPECT_EQ(VakTextOf(VakExpr(7)), "7");
  EXPECT_EQ(VakTextOf(VakExpr()), "0");
}

TEST_F(Expr, CombinesExpressionsTermsVariablesAndNumbersOfEveryType) {
  const VakExpr e = x + 1;
  EXPECT_EQ(VakTextOf(e + e), "x + x + 2");
  EXPECT_EQ(VakTextOf(e - y), "x - y + 1");
  EXPECT_EQ(VakTextOf(y - e), "y - x - 1");
  EXPECT_EQ(VakTextOf(2 * e), "2 x + 2");
  EXPECT_EQ(VakTextOf(e * 2.0f), "2 x + 2");
  EXPECT_EQ(VakTextOf(e / 2), "0.5 x + 0.5");
  EXPECT_EQ(VakTextOf(-e), "-x - 1");
  EXPECT_EQ(VakTextOf(+x), "x");
  EXPECT_EQ(VakTextOf(3L + 2 * x), "2 x + 3");
  EXPECT_EQ(VakTextOf(2 * (3 * x) + (3 * y) * 2), "6 x + 6 y");
  EXPECT_EQ(VakTextOf((3 * x) / 2 + 1U), "1.5 x + 1");
}

TEST_F(Expr, IsChangedInPlace) {
  VakExpr e;
  e += x;
  e -= 2 * y;
  e += 3;
  e -= 1;
  e += VakExpr(z);
  e -= VakExpr(4 * z);
  e *= 2;
  EXPECT_EQ(VakTextOf(e), "2 x - 4 y + 2 z - 8 z + 4");
  e /= 2;
  e.negate();
  EXPECT_EQ(VakTextOf(e), "-x + 2 y - z + 4 z - 2");
  e.clear();
  EXPECT_EQ(VakTextOf(e), "0");
}

TEST_F(Expr, CanBeAddedToAndTakenFromItself) {
  VakExpr e = x + 2 * y + 1;
  e += e;
  EXPECT_EQ(VakTextOf(e), "x + 2 y + x + 2 y + 2");
  const VakExpr& same = e;
  e -= same;
  e.normalize();
  EXPECT_EQ(VakTextOf(e), "0");
}

TEST_F(Expr, IsAValue) {
  VakExpr a = x + 1;
  VakExpr b = a;
  b += y;
  EXPECT_EQ(VakTextOf(a), "x + 1");
  EXPECT_EQ(VakTextOf(b), "x + y + 1");
}

TEST_F(Expr, NormalizesToOneTermForEachVariableInTheOrderOfWriting) {
  VakExpr e = 2 * z + x + 3 * z - x + 4 * y + 0 * y;
  e.normalize();
  EXPECT_EQ(VakTextOf(e), "5 z + 4 y");
  EXPECT_EQ(e.getCoef(z), 5);
  EXPECT_EQ(e.getCoef(x), 0);
}

TEST_F(Expr, NormalizesLongExpressionsAsShortOnes) {
  VakNumVarArray vars(env, 50, 0, 1);
  VakExpr e;
  for (int round = 0; round < 3; ++round) {
    for (VakInt i = 50; i-- > 0;) e += (i == 7 && round == 2 ? -2 : 1) * vars[i];
  }
  EXPECT_FALSE(e.isNormal());
  e.normalize();
  ASSERT_EQ(e.getTerms().size(), 49U);
  EXPECT_TRUE(e.getTerms().front().var.is(vars[49]));
  for (const VakTerm& term : e.getTerms()) EXPECT_EQ(term.coef, 3);
  EXPECT_EQ(e.getCoef(vars[7]), 0);
}

TEST_F(Expr, IsNeverTakenForNormalWhenItIsNot) {
  EXPECT_TRUE(VakExpr().isNormal());
  EXPECT_TRUE(VakExpr(x).isNormal());
  EXPECT_FALSE((x + x).isNormal());
  EXPECT_FALSE((x + 0 * y).isNormal());
}

TEST_F(Expr, SumsArrays) {
  const std::vector<VakNumVar> vars = {x, y, z};
  EXPECT_EQ(VakTextOf(VakSum(vars)), "x + y + z");
  const std::array<double, 3> weights = {1, 2, 3};
  EXPECT_EQ(VakTextOf(VakScalProd(weights, vars)), "x + 2 y + 3 z");
  const std::vector<VakTerm> terms = {2 * x, 3 * y};
  EXPECT_EQ(VakTextOf(VakSum(terms)), "2 x + 3 y");
  const std::vector<int> indices = {2, 0};
  EXPECT_EQ(VakTextOf(VakSum(indices,
                             [&](int i) { return (i + 1) * vars[static_cast<std::size_t>(i)]; })),
            "3 z + x");
  EXPECT_EQ(VakTextOf(VakSum(std::vector<VakNumVar>())), "0");
}

TEST_F(Expr, SumsArraysOfTheLibrary) {
  VakNumVarArray vars(env, 3);
  vars[0] = x;
  vars[1] = y;
  vars[2] = z;
  VakNumArray weights = VakNumArray::From(env, {1, 2, 3});
  EXPECT_EQ(VakTextOf(VakSum(vars)), "x + y + z");
  EXPECT_EQ(VakTextOf(VakScalProd(weights, vars)), "x + 2 y + 3 z");
  VakIntArray counts = VakIntArray::From(env, {3, 2, 1});
  EXPECT_EQ(VakTextOf(VakScalProd(counts, vars)), "3 x + 2 y + z");
}

TEST_F(Expr, RefusesArraysOfDifferentLengths) {
  const std::vector<VakNumVar> vars = {x, y};
  const std::vector<double> weights = {1, 2, 3};
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { static_cast<void>(VakScalProd(weights, vars)); }),
            "VakScalProd: 3 and 2 elements do not go together. Give equally many.");
}

TEST_F(Expr, RefusesAnEmptyHandleAtOnce) {
  const VakNumVar none;
  VakExpr e = x + 1;
  const char* const text = "VakNumVar: Using empty handle";
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { e += none; }), text);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { e -= 3 * none; }), text);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { static_cast<void>(none + 1); }), text);
  EXPECT_EQ(VakTextOf(e), "x + 1");
}

TEST_F(Expr, SubstitutesAnExpressionForAVariable) {
  VakExpr e = 2 * x + y + 1;
  e.substitute(x, 3 * z - 1);
  EXPECT_EQ(VakTextOf(e), "y + 6 z - 1");
  e.substitute(z, z + x);
  EXPECT_EQ(VakTextOf(e), "y + 6 z + 6 x - 1");
  e.substitute(y, e);
  EXPECT_EQ(VakTextOf(e), "6 z + 6 x + y + 6 z + 6 x - 2");
}

TEST_F(Expr, TakesTheTermsOfAStoredExpression) {
  VakNumExpr stored(env, x + 2 * y + 3, "cost");
  const VakExpr e = 2 * stored + z;
  stored.setExpr(z);
  EXPECT_EQ(VakTextOf(e), "2 x + 4 y + z + 6");
}

TEST_F(Expr, PrintsVariablesWithoutNamesByNumber) {
  VakNumVar nameless(env);
  EXPECT_EQ(VakTextOf(VakExpr(2 * nameless)), "2 #" + std::to_string(nameless.getId()));
}

TEST(ExprLife, OutlivesTheEnvironment) {
  auto scope = std::make_unique<VakScopedEnv>();
  VakNumVar x(scope->env);
  const VakExpr e = 2 * x + 1;
  scope.reset();
  const VakExpr copy = e;
  EXPECT_EQ(copy.getConstant(), 1);
}

}  // namespace

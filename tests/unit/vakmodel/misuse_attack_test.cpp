// Wrong uses that reach the modelling layer through its public headers: each gives an error that
// says what was wrong, and leaves everything as it was.

#include <limits>

#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakenv/properties.h"
#include "vakenv/types/exceptions.h"

namespace {

struct Misuse : testing::Test {
  VakScopedEnv scope;
  VakScopedEnv otherScope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, 0, 3, "y"};
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
  VakObjective o = m.maximize(3 * x + 4 * y - 1);

  std::string before = VakTextOf(m);
  void TearDown() override {
    EXPECT_EQ(VakTextOf(m), before);
    EXPECT_EQ(m.check(), "");
    EXPECT_FALSE(scope->isRemoving());
  }
};

TEST_F(Misuse, ObjectsOfTwoEnvironmentsAreNotEndedTogether) {
  // The objects of the other environment have the identifiers of objects of this one.
  const VakModel foreignModel(otherScope.env, "foreign model");
  const VakNumVar foreign(otherScope.env, "foreign");
  const std::vector<VakNumVar> mixed = {VakNumVar(env, "spare"), foreign};
  EXPECT_EQ(VakMessageOf<VakModelMismatch>([&] { VakEndAll(mixed); }),
            "Variable \"foreign\" belongs to another environment than the objects it is used with. "
            "Use objects of one environment, or copy the model with a VakCopier.");
  EXPECT_THROW(VakRemoveAllFromAll(mixed), VakModelMismatch);
  EXPECT_STREQ(mixed[0].getName(), "spare");
  EXPECT_STREQ(foreign.getName(), "foreign");
  EXPECT_EQ(foreignModel.check(), "");
}

TEST_F(Misuse, AnObjectThatIsListedTwiceEndsOnce) {
  const VakNumVar spare(env, "spare");
  const VakInt count = env.getMemoryUsage();
  VakNumVar z(env, "z");
  VakEndAll(std::vector<VakNumVar>{z, VakNumVar(), z});
  EXPECT_EQ(env.getMemoryUsage(), count);
  VakEndAll(std::vector<VakNumVar>{});
  VakEndAll(std::vector<VakNumVar>{VakNumVar(), VakNumVar()});
  VakRemoveAllFromAll(std::vector<VakNumVar>{spare, VakNumVar(), spare});
  EXPECT_STREQ(spare.getName(), "spare");
}

TEST_F(Misuse, AnEmptyHandleIsNamedByItsClassAlsoInTheFirstPlace) {
  const char* const noVariable = "VakNumVar: Using empty handle";
  const std::vector<VakNumVar> vars = {VakNumVar(), x};
  const std::vector<VakNum> two = {0, 1};
  using Empty = VakEmptyHandleException;
  EXPECT_EQ(VakMessageOf<Empty>([&] { VakSetBounds(vars, 0, 1); }), noVariable);
  EXPECT_EQ(VakMessageOf<Empty>([&] { VakSetBounds(vars, two, two); }), noVariable);
  EXPECT_EQ(VakMessageOf<Empty>([&] { VakSetKind(vars, VakVarKind::Integer); }), noVariable);
  EXPECT_EQ(VakMessageOf<Empty>([&] { static_cast<void>(c.getCoef(VakNumVar())); }), noVariable);
  EXPECT_EQ(VakMessageOf<Empty>([&] { static_cast<void>((x + y).getCoef(VakNumVar())); }),
            noVariable);
  EXPECT_EQ(VakMessageOf<Empty>([&] { c.setCoefs(vars, two); }), noVariable);
  EXPECT_EQ(VakMessageOf<Empty>([&] { m.add(vars); }), noVariable);
  EXPECT_EQ(VakMessageOf<Empty>([&] {
              VakSetBounds(std::vector<VakConstraint>{VakConstraint(), c}, 0, 1);
            }),
            "VakConstraint: Using empty handle");
  EXPECT_EQ(VakMessageOf<Empty>([&] {
              VakSetCoefs(std::vector<VakCoef>{{VakLinear(), x, 1}, {c, x, 1}});
            }),
            "VakLinear: Using empty handle");
}

TEST_F(Misuse, AnEmptyHandleOfAnArrayHasNoElements) {
  EXPECT_TRUE(VakSum(VakNumVarArray()).isConstant());
  EXPECT_TRUE(VakScalProd(VakNumArray(), VakNumVarArray()).isConstant());
  EXPECT_THROW(static_cast<void>(VakScalProd(VakNumArray(), std::vector<VakNumVar>{x})),
               VakModelError);
  m.add(VakNumVarArray());
  VakEndAll(VakNumVarArray());
  VakEndAll(VakExtractableArray());
  VakRemoveAllFromAll(VakExtractableArray());
}

TEST_F(Misuse, AColumnThatIsGivenTwiceToRowsIsAddedUp) {
  const std::vector<VakNumVar> columns = {x, x, y};
  const std::vector<VakInt> starts = {0, 3};
  const std::vector<int> members = {0, 1, 2};
  const std::vector<VakNum> coefs = {1, 2, 5};
  VakRows rows;
  rows.count = 1;
  rows.columns = columns;
  rows.matrix = {starts, members, coefs};
  std::vector<VakConstraint> made(1);
  m.addRows(rows, made);
  EXPECT_EQ(VakTextOf(made[0].getExpr()), "3 x + 5 y");
  EXPECT_EQ(m.check(), "");
  made[0].end();
}

TEST_F(Misuse, BulkAdditionsOfNothingDoNothing) {
  m.addColumns({});
  m.addRows({});
  m.add(std::span<const VakRelation>());
  m.add(std::span<const VakConstraint>());
  m.add(std::span<const VakNumVar>());
  m.remove(std::span<const VakConstraint>());
  m.remove(std::span<const VakNumVar>());
  VakSetCoefs({});
  c.setCoefs({}, {});
  VakSetBounds(std::span<const VakNumVar>(), 2, 1);
  VakSetBounds(std::span<const VakConstraint>(), 2, 1);
}

TEST_F(Misuse, StartsThatFallOrLeaveTheEntriesAreRefused) {
  const std::vector<VakNumVar> columns = {x, y};
  const std::vector<int> members = {0, 1};
  const std::vector<VakNum> coefs = {1, 2};
  const auto add = [&](const std::vector<VakInt>& starts, const std::vector<int>& indices) {
    VakRows rows;
    rows.count = 2;
    rows.columns = columns;
    rows.matrix = {starts, indices, coefs};
    m.addRows(rows);
  };
  EXPECT_THROW(add({0, 2, 1}, members), VakModelError);
  EXPECT_THROW(add({-1, 0, 2}, members), VakModelError);
  EXPECT_THROW(add({0, 1, 3}, members), VakModelError);
  EXPECT_THROW(add({0, 1}, members), VakModelError);
  EXPECT_THROW(add({}, members), VakModelError);
  EXPECT_THROW(add({std::numeric_limits<VakInt>::max(), 1, 2}, members), VakModelError);
  EXPECT_THROW(add({0, 1, 2}, {0, 2}), VakModelError);
  EXPECT_THROW(add({0, 1, 2}, {0, -1}), VakModelError);
}

TEST_F(Misuse, NumbersThatOverflowAreNoInfinity) {
  const VakNum huge = std::numeric_limits<VakNum>::max();
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.add(x - huge <= huge, "d"); }),
            "The bounds of a new constraint: 1.79769e+308 is too large once the constant "
            "-1.79769e+308 of the expression went over to it. Give smaller numbers.");
  EXPECT_THROW(c.setRelation(x + huge >= -huge), VakModelError);
  EXPECT_THROW(c.setRelation(huge * x + huge * x <= 1), VakModelError);
  EXPECT_THROW(o.addTerm(x, huge + huge), VakModelError);
  EXPECT_THROW(m.add(x / 0 <= 1), VakModelError);
  o.setCoef(x, huge);
  EXPECT_THROW(o.addTerm(x, huge), VakModelError);
  o.setCoef(x, 3);
}

TEST_F(Misuse, AliasedOperandsAreReadBeforeTheyChange) {
  VakExpr e = x + 2 * y + 1;
  const VakExpr& same = e;
  e += same;
  e -= same;
  e += x + 2 * y + 1;
  e.substitute(x, e);
  e.normalize();
  EXPECT_EQ(VakTextOf(e), "4 y + x + 2");
  const VakExpr& self = e;
  e = self;
  EXPECT_EQ(VakTextOf(e), "4 y + x + 2");
  c.setRelation(c.getRelation());
  o.setExpr(o.getExpr());
  VakNumExpr stored(env, x + 1, "stored");
  stored.setExpr(stored + stored);
  EXPECT_EQ(VakTextOf(stored.getExpr()), "2 x + 2");
  stored.setNumProperty("weight", 2);
  EXPECT_THROW(stored.addProperties(stored.getProperties()), VakNamedPropertySet::AlreadyPresent);
  EXPECT_EQ(stored.getProperty<VakNum>("weight"), 2);
  x.setName(x.getName());
  EXPECT_STREQ(x.getName(), "x");
  stored.end();
}

TEST_F(Misuse, AFailedSumLeavesTheExpressionAsItWas) {
  VakExpr e = x + y;
  VakExpr wrong;
  EXPECT_THROW(e += VakNumVar(), VakEmptyHandleException);
  EXPECT_THROW(e += VakTerm(VakNumVar(), 1), VakEmptyHandleException);
  EXPECT_THROW(e.addTerm(VakNumVar(), 1), VakEmptyHandleException);
  EXPECT_EQ(VakTextOf(e), "x + y");
}

TEST_F(Misuse, EverythingWorksOnObjectsInThreadSafeMode) {
  VakScopedEnv safe;
  safe->useMTSafeAllocation(1);
  VakModel model(safe.env, "safe");
  VakNumVarArray vars(safe.env, 5, 0.5, 7);
  VakConstraint sum = model.add(VakSum(vars) <= 9, "sum");
  VakConstraint pair = model.add(vars[0] + vars[1] >= 1, "pair");
  model.minimize(3 * vars[4]);
  vars[2].setBounds(1, 2);
  sum.setCoef(vars[3], 0);
  model.addColumn(0, 1, 2, std::vector<VakConstraint>{sum}, std::vector<VakNum>{3});
  model.remove(vars[4]);
  EXPECT_EQ(pair.getTermCount(), 2);
  EXPECT_EQ(model.check(), "");
  VakEndAll(std::vector<VakNumVar>{vars[0], vars[1]});
  EXPECT_EQ(model.getConstraintCount(), 1);
  EXPECT_EQ(model.check(), "");
  {
    VakCopier copier(otherScope.env);
    EXPECT_EQ(copier.copy(model).check(), "");
  }
  model.end();
}

TEST(EmptySetOfProperties, IsRefusedByAnObjectAndChangesNothing) {
  const VakScopedEnv scope;
  const VakNumVar x(scope.env, "x");
  x.setIntProperty("size", 3);
  try {
    x.addProperties(VakNamedPropertySet());
    FAIL();
  } catch (const VakEmptyHandleException& e) {
    EXPECT_STREQ(e.what(), "VakNamedPropertySet: Using empty handle");
  }
  EXPECT_EQ(x.getProperty<VakInt>("size"), 3);
}

}  // namespace

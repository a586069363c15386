#include "vakmodel/variable.h"

#include <cmath>
#include <limits>

#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakenv/domains/shared_domain_hash.h"

namespace {

constexpr VakNum NaN = std::numeric_limits<VakNum>::quiet_NaN();
const VakNum Infinity = VakGetInfinity();

struct Variable : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
};

TEST_F(Variable, HasTheUsualBoundsOfItsKind) {
  VakNumVar x(env);
  VakIntVar n(env);
  VakBoolVar b(env);
  EXPECT_EQ(x.getLB(), 0);
  EXPECT_EQ(x.getUB(), Infinity);
  EXPECT_EQ(x.getKind(), VakVarKind::Continuous);
  EXPECT_FALSE(x.isInteger());
  EXPECT_EQ(n.getUB(), Infinity);
  EXPECT_EQ(n.getKind(), VakVarKind::Integer);
  EXPECT_EQ(b.getLB(), 0);
  EXPECT_EQ(b.getUB(), 1);
  EXPECT_EQ(b.getKind(), VakVarKind::Boolean);
  EXPECT_TRUE(b.isInteger());
}

TEST_F(Variable, HasTheBoundsItWasGiven) {
  VakNumVar x(env, -2.5, 40, "x");
  VakIntVar n(env, 0, 1);
  VakIntVar m(env, -3, 7);
  VakIntVar f(env, 0.5, 2.5);
  VakNumVar b(env, 1, 1, VakVarKind::Boolean);
  VakNumVar free(env, -Infinity, Infinity);
  EXPECT_EQ(x.getLB(), -2.5);
  EXPECT_EQ(x.getUB(), 40);
  EXPECT_STREQ(x.getName(), "x");
  EXPECT_EQ(n.getUB(), 1);
  EXPECT_EQ(n.getKind(), VakVarKind::Integer);
  EXPECT_EQ(m.getLB(), -3);
  EXPECT_EQ(m.getUB(), 7);
  EXPECT_EQ(f.getLB(), 0.5);
  EXPECT_EQ(f.getUB(), 2.5);
  EXPECT_EQ(b.getLB(), 1);
  EXPECT_EQ(b.getKind(), VakVarKind::Boolean);
  EXPECT_EQ(free.getLB(), -Infinity);
}

TEST_F(Variable, SharesADomainWithOthersOfTheSameBounds) {
  VakNumVarArray x(env, 100, 0, 5);
  EXPECT_EQ(scope->_numDomains->_nbItems, 1);
  const VakInt usage = env.getMemoryUsage();
  VakNumVar y(env, 0, 5);
  EXPECT_EQ(env.getMemoryUsage() - usage, 48);
  EXPECT_EQ(y.getUB(), 5);
}

TEST_F(Variable, GetsBoundsOfItsOwnOnceManyDifferentOnesAreAbout) {
  for (int i = 0; i < 1500; ++i) {
    VakNumVar x(env, 0, i);
    ASSERT_EQ(x.getUB(), i);
  }
  EXPECT_EQ(scope->_numDomains->_nbItems, VakModelVarI::MostSharedDomains);
  VakNumVar old(env, 0, 7);
  EXPECT_EQ(old.getUB(), 7);
  const VakInt usage = env.getMemoryUsage();
  VakNumVar fresh(env, 0, 5000);
  EXPECT_EQ(env.getMemoryUsage() - usage, 48 + 16);
}

TEST_F(Variable, ChangesBoundsAndKind) {
  VakNumVar x(env, 0, 5);
  VakNumVar other(env, 0, 5);
  x.setLB(1);
  EXPECT_EQ(x.getLB(), 1);
  EXPECT_EQ(x.getUB(), 5);
  x.setUB(3);
  x.setBounds(10, 20);
  EXPECT_EQ(x.getLB(), 10);
  EXPECT_EQ(x.getUB(), 20);
  x.setKind(VakVarKind::Integer);
  EXPECT_EQ(x.getLB(), 10);
  EXPECT_EQ(x.getKind(), VakVarKind::Integer);
  x.fix(0);
  x.setKind(VakVarKind::Boolean);
  EXPECT_EQ(x.getUB(), 0);
  x.setKind(VakVarKind::Continuous);
  EXPECT_EQ(x.getUB(), 0);
  EXPECT_EQ(other.getUB(), 5);
}

TEST_F(Variable, KeepsItsBoundsWhenTheKindChanges) {
  VakNumVar x(env);
  x.setKind(VakVarKind::Integer);
  EXPECT_EQ(x.getUB(), Infinity);
  VakBoolVar b(env);
  b.setKind(VakVarKind::Integer);
  EXPECT_EQ(b.getUB(), 1);
  b.setUB(4);
  EXPECT_EQ(b.getUB(), 4);
}

TEST_F(Variable, RefusesBoundsThatMakeNoSense) {
  VakNumVar x(env, 0, 5, "x");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { x.setLB(NaN); }),
            "The bounds of variable \"x\": the lower bound is NaN. Give a number, or "
            "VakGetInfinity() with its sign where there is no bound.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { x.setUB(NaN); }),
            "The bounds of variable \"x\": the upper bound is NaN. Give a number, or "
            "VakGetInfinity() with its sign where there is no bound.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { x.setLB(6); }),
            "The bounds of variable \"x\": the lower bound 6 is above the upper bound 5. Give both "
            "in order; setBounds changes them together.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { x.setBounds(Infinity, Infinity); }),
            "The bounds of variable \"x\": the lower bound is plus infinity. Give a number, or the "
            "infinity of the other sign where there is no bound.");
  EXPECT_EQ(
      VakMessageOf<VakModelError>([&] { x.fix(-Infinity); }),
      "The bounds of variable \"x\": the upper bound is minus infinity. Give a number, or the "
      "infinity of the other sign where there is no bound.");
  EXPECT_EQ(x.getLB(), 0);
  EXPECT_EQ(x.getUB(), 5);
}

TEST_F(Variable, RefusesToBeMadeWithBoundsThatMakeNoSense) {
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { VakNumVar(env, 3, 2); }),
            "The bounds of a new variable: the lower bound 3 is above the upper bound 2. Give both "
            "in order; setBounds changes them together.");
  EXPECT_EQ(
      VakMessageOf<VakModelError>([&] { VakNumVar(env, 0, 2, VakVarKind::Boolean); }),
      "The bounds of a new variable: 0 and 2 do not lie within 0 and 1, as those of a Boolean "
      "variable must. Make it an integer variable.");
}

TEST_F(Variable, RefusesToBecomeBooleanWithOtherBounds) {
  VakIntVar n(env, 0, 7, "n");
  EXPECT_EQ(
      VakMessageOf<VakModelError>([&] { n.setKind(VakVarKind::Boolean); }),
      "The bounds of variable \"n\": 0 and 7 do not lie within 0 and 1, as those of a Boolean "
      "variable must. Make it an integer variable.");
  VakBoolVar b(env, "b");
  EXPECT_THROW(b.setUB(2), VakModelError);
  EXPECT_EQ(n.getKind(), VakVarKind::Integer);
  EXPECT_EQ(b.getUB(), 1);
}

TEST_F(Variable, RefusesAnEmptyEnvironmentAndAnEmptyHandle) {
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakNumVar x{VakEnv(nullptr)}; }),
            "VakEnv: Using empty handle");
  const VakNumVar none;
  EXPECT_TRUE(none.isEmpty());
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { none.setLB(1); }),
            "VakNumVar: Using empty handle");
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { none.setName("x"); }),
            "VakExtractable: Using empty handle");
}

TEST_F(Variable, ThatWasTakenOutOfItsEnvironmentRefusesChanges) {
  VakNumVar x(env, 0, 5, "x");
  scope->destroy(x.getImpl(), 1);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { x.setUB(1); }),
            "Variable \"x\" was taken out of its environment. Make a new one in its place.");
  EXPECT_EQ(x.getUB(), 5);
  x.end();
  EXPECT_TRUE(x.isEmpty());
}

TEST_F(Variable, TellsTheErrorWhichObjectItIsAbout) {
  VakNumVar x(env, 0, 5, "x");
  try {
    x.setLB(NaN);
    FAIL();
  } catch (const VakModelError& e) {
    EXPECT_EQ(e.getObject(), VakExtractable(x));
    const VakModelError copy = e;
    EXPECT_STREQ(copy.what(), e.getMessage());
  }
}

TEST_F(Variable, CarriesANameAUserObjectAndProperties) {
  VakNumVar x(env);
  EXPECT_EQ(x.getName(), nullptr);
  EXPECT_FALSE(x.hasProperty("cost"));
  int object = 0;
  x.setName("x");
  x.setObject(&object);
  x.setNumProperty("cost", 2.5);
  x.setIntProperty("rank", 3);
  x.setStringProperty("unit", "kg");
  x.setAnyProperty("owner", &object);
  EXPECT_STREQ(x.getName(), "x");
  EXPECT_EQ(x.getObject(), &object);
  EXPECT_EQ(x.getProperty<VakNum>("cost"), 2.5);
  EXPECT_EQ(x.getProperty<VakInt>("rank"), 3);
  EXPECT_STREQ(x.getProperty<const char*>("unit"), "kg");
  EXPECT_EQ(x.getProperty<void*>("owner"), &object);
  EXPECT_EQ(x.getProperty<VakNum>("none", 7.0), 7);
  EXPECT_THROW(static_cast<void>(x.getProperty("none")), VakNamedPropertySet::NotPresent);
  EXPECT_THROW(x.setIntProperty("cost", 1), VakNamedPropertySet::BadType);
  x.removeProperty("cost");
  EXPECT_FALSE(x.hasProperty("cost"));
  VakNumVar y(env);
  y.addProperties(x.getProperties());
  EXPECT_EQ(y.getProperty<VakInt>("rank"), 3);
  x.removeAllProperties();
  EXPECT_FALSE(x.hasProperty("rank"));
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { x.setIntProperty(nullptr, 1); }),
            "VakExtractable: Using empty string");
}

TEST_F(Variable, ReportsEachChangeOnce) {
  VakNumVar x(env, 0, 5, "x");
  auto* listener = new VakModelListener(env);
  x.setUB(4);
  x.setUB(4);
  x.setKind(VakVarKind::Integer);
  x.setKind(VakVarKind::Integer);
  x.setName("y");
  EXPECT_EQ(listener->takeLog(), "bounds [x] / x\nkind [x] / x");
}

TEST_F(Variable, TakesARefusedChangeBackAndReportsItAgain) {
  VakNumVar x(env, 0, 5, "x");
  auto* accepting = new VakModelListener(env);
  auto* listener = new VakModelListener(env);
  VakNum seen = 0;
  accepting->_reaction = [&](VakModelListener&, const VakChange&) { seen = x.getUB(); };
  listener->refuseNext({x});
  EXPECT_EQ(VakRefusalOf([&] { x.setUB(4); }), "[x]");
  EXPECT_EQ(x.getUB(), 5);
  EXPECT_EQ(seen, 5);
  EXPECT_EQ(listener->takeLog(), "bounds [x] / x\nbounds [x] / x");
  listener->refuseNext({x});
  EXPECT_EQ(VakRefusalOf([&] { x.setKind(VakVarKind::Integer); }), "[x]");
  EXPECT_EQ(x.getKind(), VakVarKind::Continuous);
  x.setUB(3);
  listener->refuseNext({x});
  EXPECT_EQ(VakRefusalOf([&] { x.setUB(2); }), "[x]");
  EXPECT_EQ(x.getUB(), 3);
}

TEST_F(Variable, MergesTheRefusalsOfTwoAlgorithms) {
  VakNumVar x(env, 0, 5, "x");
  VakNumVar y(env, 0, 5, "y");
  auto* older = new VakModelListener(env);
  auto* newer = new VakModelListener(env);
  older->refuseNext({y});
  newer->refuseNext({x});
  EXPECT_EQ(VakRefusalOf([&] { x.setUB(4); }), "[x y]");
  EXPECT_EQ(x.getUB(), 5);
}

TEST_F(Variable, LosesNothingWhenTheRepeatedReportIsRefusedToo) {
  VakNumVar x(env, 0, 5, "x");
  auto* listener = new VakModelListener(env);
  listener->_reaction = [&](VakModelListener& self, const VakChange&) { self.refuse({x}); };
  EXPECT_EQ(VakRefusalOf([&] { x.setUB(4); }), "[x]");
  listener->_reaction = [](VakModelListener&, const VakChange&) { throw 1; };
  EXPECT_THROW(x.setUB(4), int);
  EXPECT_EQ(x.getUB(), 5);
}

// ---- Many at once -------------------------------------------------------------------------------

struct Variables : Variable {
  std::vector<VakNumVar> vars = {VakNumVar(env, 0, 1, "a"), VakNumVar(env, 0, 2, "b"),
                                 VakNumVar(env, 0, 3, "c")};
};

TEST_F(Variables, ChangeTheirBoundsInOneChange) {
  auto* listener = new VakModelListener(env);
  const std::vector<VakNum> lbs = {1, 2, 3};
  const std::vector<VakNum> ubs = {4, 5, 6};
  VakSetBounds(vars, lbs, ubs);
  EXPECT_EQ(vars[1].getLB(), 2);
  EXPECT_EQ(vars[2].getUB(), 6);
  VakSetBounds(vars, 0, 1);
  VakSetKind(vars, VakVarKind::Boolean);
  EXPECT_EQ(vars[0].getKind(), VakVarKind::Boolean);
  EXPECT_EQ(listener->takeLog(), "bounds [a b c]\nbounds [a b c]\nkind [a b c]");
  VakSetBounds(std::span<const VakNumVar>(), 0, 1);
  EXPECT_EQ(listener->takeLog(), "");
}

TEST_F(Variables, AreAllLeftAloneWhenOneOfThemIsGivenWrongBounds) {
  const std::vector<VakNum> lbs = {1, 7, 3};
  const std::vector<VakNum> ubs = {4, 5, 6};
  EXPECT_THROW(VakSetBounds(vars, lbs, ubs), VakModelError);
  EXPECT_EQ(vars[0].getLB(), 0);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { VakSetBounds(vars, std::span(lbs).first(2), ubs); }),
            "VakSetBounds: 3 and 2 elements do not go together. Give equally many.");
  vars.emplace_back();
  EXPECT_THROW(VakSetBounds(vars, 0, 1), VakEmptyHandleException);
  EXPECT_EQ(vars[2].getUB(), 3);
}

TEST_F(Variables, OfDifferentEnvironmentsAreRefusedTogether) {
  VakScopedEnv other;
  vars.push_back(VakNumVar(other.env, 0, 1, "d"));
  EXPECT_EQ(VakMessageOf<VakModelMismatch>([&] { VakSetBounds(vars, 0, 1); }),
            "Variable \"d\" belongs to another environment than the objects it is used with. Use "
            "objects of one environment, or copy the model with a VakCopier.");
  EXPECT_EQ(vars[2].getUB(), 3);
}

TEST_F(Variables, GetTheirBoundsBackWhenTheChangeIsRefused) {
  auto* listener = new VakModelListener(env);
  listener->refuseNext({vars[1]});
  vars.push_back(vars[0]);
  const std::vector<VakNum> lbs = {1, 1, 1, 2};
  const std::vector<VakNum> ubs = {4, 4, 4, 5};
  EXPECT_EQ(VakRefusalOf([&] { VakSetBounds(vars, lbs, ubs); }), "[b]");
  EXPECT_EQ(vars[0].getUB(), 1);
  EXPECT_EQ(vars[2].getUB(), 3);
  EXPECT_EQ(listener->takeLog(), "bounds [a b c a]\nbounds [a b c a]");
  VakSetBounds(vars, lbs, ubs);
  EXPECT_EQ(vars[0].getUB(), 5);
}

TEST_F(Variables, ComeInArrays) {
  VakNumVarArray x(env, 4, 1, 2, VakVarKind::Integer);
  EXPECT_EQ(x.getSize(), 4);
  for (const VakNumVar v : x) EXPECT_EQ(v.getUB(), 2);
  const std::vector<VakNum> lbs = {1, 2};
  const std::vector<VakNum> ubs = {3, 4};
  VakNumVarArray y(env, lbs, ubs);
  EXPECT_EQ(y[1].getUB(), 4);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { VakNumVarArray(env, -1, 0, 1); }),
            "VakNumVarArray: -1 variables cannot be made. Give 0 or more.");
  const VakInt usage = env.getMemoryUsage();
  const std::vector<VakNum> wrong = {3, 0};
  EXPECT_THROW(VakNumVarArray(env, lbs, wrong), VakModelError);
  EXPECT_EQ(env.getMemoryUsage(), usage);
  VakEndAll(x);
  x.end();
  EXPECT_TRUE(x.getImpl() == nullptr);
}

}  // namespace

// What `<<` writes, and names given as std::string and std::string_view.

#include <string>
#include <string_view>

#include "tests/support/failing_new.h"
#include "tests/support/model_objects.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakmodel/ref.h"

namespace {

struct Print : testing::Test {
  VakTestScript script;  // outlives the environment, whose end may destroy objects
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, "y"};
};

TEST_F(Print, OfAnEmptyHandleSaysSo) {
  EXPECT_EQ(VakTextOf(VakExtractable()), "(empty)");
  EXPECT_EQ(VakTextOf(VakNumVar()), "(empty)");
  EXPECT_EQ(VakTextOf(VakIntVar()), "(empty)");
  EXPECT_EQ(VakTextOf(VakBoolVar()), "(empty)");
  EXPECT_EQ(VakTextOf(VakNumExpr()), "(empty)");
  EXPECT_EQ(VakTextOf(VakLinear()), "(empty)");
  EXPECT_EQ(VakTextOf(VakConstraint()), "(empty)");
  EXPECT_EQ(VakTextOf(VakObjective()), "(empty)");
  EXPECT_EQ(VakTextOf(VakModel()), "(empty)");
  EXPECT_EQ(VakTextOf(VakTerm()), "(empty)");
  EXPECT_EQ(VakTextOf(VakNumVarArray()), "[]");
}

TEST_F(Print, OfAnObjectIsThatOfItsClass) {
  const VakConstraint c = m.add(x + 2 * y <= 14, "c");
  const VakObjective o = m.minimize(x - 1);
  EXPECT_EQ(VakTextOf(VakExtractable(x)), "x");
  EXPECT_EQ(VakTextOf(VakExtractable(c)), "c: x + 2 y <= 14");
  EXPECT_EQ(VakTextOf(static_cast<VakLinear>(c)), "c: x + 2 y <= 14");
  EXPECT_EQ(VakTextOf(VakExtractable(o)), "minimize: x - 1");
  EXPECT_EQ(VakTextOf(VakExtractable(m)), VakTextOf(m));
  EXPECT_EQ(VakTextOf(VakExtractable(VakNumExpr(env, 2 * x + 1, "e"))), "2 x + 1");
  EXPECT_EQ(VakTextOf(VakNumExpr(env, 2 * x + 1, "e")), "2 x + 1");
  VakTestNode* node = VakMakeNode(scope.impl(), script, "A");
  EXPECT_EQ(VakTextOf(VakExtractable(node)), "VakTestNode #" + std::to_string(node->id));
  node->setName("knot");
  EXPECT_EQ(VakTextOf(VakExtractable(node)), "VakTestNode \"knot\"");
}

TEST_F(Print, OfVariablesAndTermsNamesThem) {
  const VakNumVar nameless(env);
  const std::string id = '#' + std::to_string(nameless.getId());
  EXPECT_EQ(VakTextOf(nameless), id);
  EXPECT_EQ(VakTextOf(3 * x), "3 x");
  EXPECT_EQ(VakTextOf(-1 * nameless), "-" + id);
  EXPECT_EQ(VakTextOf(x == y), "x == y");
  EXPECT_EQ(VakTextOf(x == VakNumVar()), "x == (empty)");
  VakNumVarArray array(env, 2);
  array[0] = x;
  EXPECT_EQ(VakTextOf(array), "[x, (empty)]");
  array.end();
}

TEST_F(Print, OfKindsSensesAndStatesIsInWords) {
  EXPECT_EQ(VakTextOf(VakVarKind::Continuous), "continuous");
  EXPECT_EQ(VakTextOf(VakVarKind::Integer), "integer");
  EXPECT_EQ(VakTextOf(VakVarKind::Boolean), "Boolean");
  EXPECT_EQ(VakTextOf(VakSense::Minimize), "minimize");
  EXPECT_EQ(VakTextOf(VakSense::Maximize), "maximize");
  EXPECT_EQ(VakTextOf(VakStatus::InfeasibleOrUnbounded), "infeasible or unbounded");
  EXPECT_EQ(VakTextOf(VakRefState::ObjectGone), "object gone");
}

TEST_F(Print, OfAModelErrorIsItsText) {
  try {
    x.setLB(50);
    FAIL();
  } catch (const VakException& e) {
    EXPECT_EQ(VakTextOf(e), e.getMessage());
  }
}

// ---- Names --------------------------------------------------------------------------------------

// Views into a longer text, so that whoever reads up to a terminator reads another name.
constexpr std::string_view Names = "costsrest";
constexpr std::string_view Cost = Names.substr(0, 4);
constexpr std::string_view Costs = Names.substr(0, 5);

TEST_F(Print, NamesNewObjectsByViewsAndStrings) {
  const std::string text(Cost);
  EXPECT_STREQ(VakNumVar(env, Cost).getName(), "cost");
  EXPECT_STREQ(VakNumVar(env, text).getName(), "cost");
  EXPECT_STREQ(VakNumVar(env, 0, 1, Cost).getName(), "cost");
  EXPECT_STREQ(VakNumVar(env, 0, 1, VakVarKind::Integer, Cost).getName(), "cost");
  EXPECT_STREQ(VakIntVar(env, Cost).getName(), "cost");
  EXPECT_STREQ(VakIntVar(env, 0, 1, Cost).getName(), "cost");
  EXPECT_STREQ(VakBoolVar(env, Cost).getName(), "cost");
  EXPECT_STREQ(VakConstraint(env, x <= 1, Cost).getName(), "cost");
  EXPECT_STREQ(VakConstraint(env, 0, 1, Cost).getName(), "cost");
  EXPECT_STREQ(VakObjective(env, VakSense::Minimize, x, Cost).getName(), "cost");
  EXPECT_STREQ(VakMinimize(env, x, Cost).getName(), "cost");
  EXPECT_STREQ(VakMaximize(env, x, Cost).getName(), "cost");
  EXPECT_STREQ(VakNumExpr(env, x, Cost).getName(), "cost");
  EXPECT_STREQ(VakModel(env, Cost).getName(), "cost");
  EXPECT_STREQ(m.add(x <= 1, Cost).getName(), "cost");
  x.setName(Cost);
  EXPECT_STREQ(x.getName(), "cost");
  EXPECT_EQ(VakIntVar(env, 0, 7, Cost).getKind(), VakVarKind::Integer);
  EXPECT_EQ(VakIntVar(env, 0, 7, Cost).getUB(), 7);
}

TEST_F(Print, TakesLiteralsAndNullAsBefore) {
  EXPECT_STREQ(VakNumVar(env, "x").getName(), "x");
  EXPECT_EQ(VakNumVar(env, nullptr).getName(), nullptr);
  EXPECT_EQ(VakNumVar(env, 0, 1, nullptr).getName(), nullptr);
  EXPECT_EQ(m.add(x <= 1, nullptr).getName(), nullptr);
  x.setName(nullptr);
  EXPECT_EQ(x.getName(), nullptr);
  EXPECT_TRUE(m.findVariable(nullptr).isEmpty());
}

TEST_F(Print, FindsByViewsAndStrings) {
  const VakNumVar cost(env, "cost");
  m.add(cost + y <= 1, "cost");
  EXPECT_TRUE(m.findVariable(Cost).is(cost));
  EXPECT_TRUE(m.findVariable(Costs).isEmpty());
  EXPECT_TRUE(m.findVariable(std::string("y")).is(y));
  EXPECT_STREQ(m.findConstraint(Cost).getName(), "cost");
  EXPECT_TRUE(m.findConstraint(Costs).isEmpty());
  const std::string longName(1000, 'n');
  const VakFailingNew counting(0);
  EXPECT_TRUE(m.findVariable(longName).isEmpty());
  EXPECT_EQ(counting.count(), 0);
}

TEST_F(Print, ReadsPropertiesByViewsAndStrings) {
  x.setIntProperty(Cost, 3);
  x.setNumProperty(Costs, 0.5);
  x.setAnyProperty(std::string("any"), &m);
  x.setStringProperty("colour", std::string("red"));
  EXPECT_EQ(x.getProperty<VakInt>(Cost), 3);
  EXPECT_EQ(x.getProperty<VakNum>(Costs), 0.5);
  EXPECT_EQ(x.getProperty<VakNum>(std::string_view("none"), 1.5), 1.5);
  EXPECT_EQ(x.getProperty<void*>("any"), &m);
  EXPECT_STREQ(x.getProperty<const char*>(std::string("colour")), "red");
  EXPECT_STREQ(x.getProperty(Cost).getName(), "cost");
  EXPECT_TRUE(x.hasProperty(Cost));
  x.removeProperty(Cost);
  EXPECT_FALSE(x.hasProperty(Cost));
  EXPECT_TRUE(x.hasProperty(Costs));
  EXPECT_EQ(VakMessageOf<VakNamedPropertySet::NotPresent>([this] { x.removeProperty(Cost); }),
            "cost");
  EXPECT_EQ(VakMessageOf<VakNamedPropertySet::BadType>([this] { x.setIntProperty(Costs, 1); }),
            "costs");
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { VakNumVar().setName(Cost); }),
            "VakExtractable: Using empty handle");
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([] { (void)VakNumVar().hasProperty(Cost); }),
            "VakExtractable: Using empty handle");
}

TEST_F(Print, ReadsPropertiesOfImplementationsByViews) {
  VakTestNode* node = VakMakeNode(scope.impl(), script, "A");
  node->setName(Cost);
  EXPECT_STREQ(node->getName(), "cost");
  node->setPropertyValue<VakNamedIntProperty>(Cost, 3);
  EXPECT_EQ(node->getPropertyValue<VakNamedIntProperty>(Cost), 3);
  EXPECT_EQ(node->getProperty<VakInt>(Cost), 3);
  EXPECT_EQ(node->getProperty<VakInt>(Costs, 7), 7);
  EXPECT_EQ(node->hasProperty(Cost), 1);
  node->removeProperty(Cost);
  EXPECT_EQ(node->hasProperty(Cost), 0);
}

TEST_F(Print, WritesEveryStateOfAReferenceAndWhatIsNone) {
  EXPECT_EQ(VakTextOf(VakRefState::Empty), "empty");
  EXPECT_EQ(VakTextOf(VakRefState::Alive), "alive");
  EXPECT_EQ(VakTextOf(VakRefState::ObjectGone), "object gone");
  EXPECT_EQ(VakTextOf(VakRefState::EnvironmentEnded), "environment ended");
  EXPECT_EQ(VakTextOf(VakRefState::OtherEnvironment), "other environment");
  EXPECT_EQ(VakTextOf(static_cast<VakRefState>(99)), "unknown");
  EXPECT_EQ(VakTextOf(static_cast<VakStatus>(99)), "unknown");
  EXPECT_EQ(VakTextOf(static_cast<VakVarKind>(99)), "unknown");
}

}  // namespace

#include "vakmodel/contract/expression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakmodel/contract/expander.h"
#include "vakmodel/contract/model_evaluator.h"

namespace {

struct World {
  VakTestScript script;
  VakScopedEnv env;
};

TEST(Expression, StartsUnused) {
  World w;
  auto* e = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "E");
  EXPECT_EQ(e->getUseCount(), 0);
  e->use();
  EXPECT_EQ(e->getUseCount(), 1);
}

TEST(Expression, ThatWasNeverUsedGoesWithItsFirstRelease) {
  World w;
  VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "E")->release();
  EXPECT_EQ(w.script.takeLog(), "~E");
}

TEST(Expression, IsDestroyedAsEveryoneIsTold) {
  World w;
  new VakTestAlgorithm(w.env.impl(), w.script, "alg");
  auto* e = VakCreate<VakTestAnyExpr>(w.env.impl(), w.script, "E");
  e->use();
  e->release();
  EXPECT_EQ(w.script.takeLog(), "alg: destroy ? / ?, ~E");
}

TEST(Expression, StaysUnusedWhenItsDestructionIsRefused) {
  World w;
  auto* algorithm = new VakTestAlgorithm(
      w.env.impl(), w.script, "alg", [](VakTestAlgorithm& self, const VakChange&) {
        throw VakAlgorithm::CannotChangeException(VakAlgorithm(&self), VakExtractableArray());
      });
  auto* e = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "E");
  e->use();
  EXPECT_THROW(e->release(), VakAlgorithm::CannotChangeException);
  EXPECT_EQ(e->getUseCount(), 0);
  EXPECT_NE(e->id, -1);
  algorithm->end();
  e->release();
  EXPECT_EQ(w.script.log.back(), "~E");
}

TEST(Expression, HasTwoKindsThatAreNotEachOther) {
  World w;
  const auto* num = VakCreate<VakTestNumExpr>(w.env.impl(), w.script, "E");
  const auto* any = VakCreate<VakTestAnyExpr>(w.env.impl(), w.script, "F");
  EXPECT_EQ(num->isType(VakNumExprI::GetTypeInfo()), 1);
  EXPECT_EQ(num->isType(VakAnyExprI::GetTypeInfo()), 0);
  EXPECT_EQ(any->isType(VakAnyExprI::GetTypeInfo()), 1);
  EXPECT_EQ(any->isType(VakNumExprI::GetTypeInfo()), 0);
  EXPECT_EQ(any->isType(VakExprI::GetTypeInfo()), 1);
  EXPECT_EQ(VakGetBaseTypeInfo(VakNumVarI::GetTypeInfo()), VakNumExprI::GetTypeInfo());
}

TEST(ModelEvaluator, GivesVariablesTheValuesOfThePoint) {
  World w;
  auto* x = VakCreate<VakTestVar>(w.env.impl());
  auto* y = VakCreate<VakTestVar>(w.env.impl());
  VakModelEvaluatorI point;
  point.setValue(y, 2.5);
  EXPECT_EQ(point.evaluate(y), 2.5);
  EXPECT_TRUE(std::isnan(point.evaluate(x)));
  point.setValue(x, -1);
  point.setValue(y, 3);
  EXPECT_EQ(point.getValue(x), -1);
  EXPECT_EQ(point.getValue(y), 3);
  point.clear();
  EXPECT_TRUE(std::isnan(point.getValue(y)));
}

TEST(ModelEvaluator, HasNoValueForAnUnregisteredVariable) {
  World w;
  auto* x = VakCreate<VakTestVar>(w.env.impl());
  VakModelEvaluatorI point;
  point.setValue(x, 1);
  x->unregister();
  EXPECT_TRUE(std::isnan(point.getValue(x)));
  delete x;
}

TEST(Expander, SubstitutesWhatItIsToldAndNothingElse) {
  World w;
  auto* x = VakMakeNode(w.env.impl(), w.script, "X");
  auto* y = VakMakeNode(w.env.impl(), w.script, "Y");
  auto* expander = w.env->getExpander();
  EXPECT_EQ(expander->substitute(x), nullptr);
  expander->setSubstitute(x, y);
  EXPECT_EQ(expander->substitute(x), y);
  EXPECT_EQ(expander->substitute(y), nullptr);
  expander->setSubstitute(x, nullptr);
  EXPECT_EQ(expander->substitute(x), nullptr);
  expander->setSubstitute(x, y);
  expander->clearSubstitutes();
  EXPECT_EQ(expander->substitute(x), nullptr);
}

TEST(Expander, ForgetsDestroyedExtractables) {
  World w;
  auto* x = VakMakeNode(w.env.impl(), w.script, "X");
  auto* y = VakMakeNode(w.env.impl(), w.script, "Y");
  auto* z = VakMakeNode(w.env.impl(), w.script, "Z");
  auto* expander = w.env->getExpander();
  expander->setSubstitute(x, y);
  expander->setSubstitute(y, z);
  w.env->destroy(y, 0);
  EXPECT_EQ(expander->substitute(x), nullptr);
  auto* fresh = VakMakeNode(w.env.impl(), w.script, "fresh");
  EXPECT_EQ(expander->substitute(fresh), nullptr);
}

}  // namespace

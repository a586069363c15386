// Release of expressions, term records, the expander and the model evaluator.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakbase/fixed_size_allocator.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/expander.h"
#include "vakmodel/contract/linear_term.h"
#include "vakmodel/contract/model_evaluator.h"

namespace {

struct World {
  VakTestScript script;
  VakScopedEnv env;

  VakTestNumExpr* num(const char* name, VakTestNumExpr* operand = nullptr) {
    return VakCreate<VakTestNumExpr>(env.impl(), script, name, operand);
  }
  VakTestAnyExpr* any(const char* name) {
    return VakCreate<VakTestAnyExpr>(env.impl(), script, name);
  }
};

TEST(Release, DropsAUseAndDestroysWithTheLast) {
  World w;
  auto* e = w.num("E");
  auto* f = w.any("F");
  for (int i = 0; i < 2; ++i) {
    e->use();
    f->use();
  }
  w.env->release(e);
  w.env->release(f);
  EXPECT_EQ(w.script.takeLog(), "");
  EXPECT_EQ(e->getUseCount(), 1);
  w.env->release(e);
  w.env->release(f);
  EXPECT_EQ(w.script.takeLog(), "~E, ~F");
}

TEST(Release, GoesDownAChainOfOperands) {
  World w;
  auto* top = w.num("3", w.num("2", w.num("1")));
  w.env->release(top);
  EXPECT_EQ(w.script.takeLog(), "~3, ~2, ~1");
}

TEST(Release, NeverTouchesTheExpressionWhileTheEnvironmentEnds) {
  class Releaser : public VakDestroyableI {
   public:
    Releaser(VakEnvI* env, VakTestNumExpr* e) : VakDestroyableI(env), _e(e) {}
    ~Releaser() noexcept(false) override {
      _env->release(_e);
      _env->release(reinterpret_cast<VakNumExprI*>(8));  // an address that nobody may touch
      _env->release(reinterpret_cast<VakAnyExprI*>(8));
    }
    VakTestNumExpr* _e;
  };
  World w;
  auto* e = w.num("E");
  e->use();
  static_cast<void>(VakCreate<Releaser>(w.env.impl(), e));
  auto* listener = new VakTestAlgorithm(w.env.impl(), w.script, "alg");
  static_cast<void>(listener);
  w.env.env.end();
  EXPECT_EQ(w.script.log.front(), "~alg");
}

TEST(Release, OfAnExpressionDestroyedInTheSameRemovalDoesNothing) {
  World w;
  auto* e = w.num("E");
  e->use();
  e->use();
  auto* trigger = VakMakeNode(w.env.impl(), w.script, "T");
  w.script.onDestruct = [&](VakTestNode&) {
    w.env->destroy(e, 0);
    w.env->release(e);
    w.env->release(e);
  };
  w.env->removeFromAllAndDestroy(trigger, 0);
  EXPECT_EQ(w.script.takeLog(), "notify T, ~T, ~E");
}

TEST(Terms, HoldVariableCoefficientAndANullLink) {
  World w;
  auto* var = VakCreate<VakTestVar>(w.env.impl());
  auto* t = w.env->newTerm(var, 2.5);
  EXPECT_EQ(t->var, var);
  EXPECT_EQ(t->coef, 2.5);
  EXPECT_EQ(t->next, nullptr);
  w.env->recycleTerm(t);
}

TEST(Terms, ReuseTheRecordThatWasRecycledLast) {
  World w;
  auto* first = w.env->newTerm(nullptr, 1);
  auto* second = w.env->newTerm(nullptr, 2);
  w.env->recycleTerm(first);
  auto* third = w.env->newTerm(nullptr, 3);
  if (w.env->_useMemoryManager != 0) {
    EXPECT_EQ(third, first);
  }
  EXPECT_EQ(third->coef, 3);
  EXPECT_EQ(second->coef, 2);
  w.env->recycleTerm(second);
  w.env->recycleTerm(third);
}

TEST(Terms, CountInTheTermPoolAndInTheMemoryUsage) {
  World w;
  const VakInt before = w.env->getMemoryUsage();
  auto* t = w.env->newTerm(nullptr, 1);
  EXPECT_EQ(w.env->_termAllocator->_bytesInUse, 24);
  EXPECT_EQ(w.env->getMemoryUsage(), before + 24);
  w.env->recycleTerm(t);
  EXPECT_EQ(w.env->getMemoryUsage(), before);
}

TEST(Terms, CanBeMixedByTheThreadSafeSwitch) {
  World w;
  const VakInt before = w.env->getMemoryUsage();
  std::vector<VakNumLinExprTermI*> terms;
  for (int round = 0; round < 4; ++round) {
    w.env->useMTSafeAllocation(round % 2);
    for (int i = 0; i < 300; ++i) terms.push_back(w.env->newTerm(nullptr, i));
    for (int i = 0; i < 150; ++i) {
      w.env->recycleTerm(terms[static_cast<std::size_t>(i)]);
    }
    terms.erase(terms.begin(), terms.begin() + 150);
  }
  EXPECT_EQ(std::set<VakNumLinExprTermI*>(terms.begin(), terms.end()).size(), terms.size());
  for (auto* t : terms) w.env->recycleTerm(t);
  EXPECT_EQ(w.env->getMemoryUsage(), before);
  w.env->useMTSafeAllocation(0);
  for (int i = 0; i < 600; ++i) terms[static_cast<std::size_t>(i)] = w.env->newTerm(nullptr, 0);
  EXPECT_EQ(std::set<VakNumLinExprTermI*>(terms.begin(), terms.end()).size(), 600UL);
}

TEST(Terms, OfThreadSafeModeAreServedThereAgainWhenTheyEndedOutside) {
  World w;
  VakInt afterFirstRound = 0;
  for (int round = 0; round < 4; ++round) {
    std::vector<VakNumLinExprTermI*> terms;
    w.env->useMTSafeAllocation(1);
    for (int i = 0; i < 5000; ++i) terms.push_back(w.env->newTerm(nullptr, i));
    w.env->useMTSafeAllocation(0);
    for (auto* t : terms) w.env->recycleTerm(t);
    if (round == 0) afterFirstRound = w.env->getTotalMemoryUsage();
  }
  EXPECT_EQ(w.env->getTotalMemoryUsage(), afterFirstRound);
}

TEST(Terms, OutliveTheEndOfNothingElse) {
  World w;
  for (int i = 0; i < 1000; ++i) static_cast<void>(w.env->newTerm(nullptr, i));
  w.env->useMTSafeAllocation(1);
  for (int i = 0; i < 1000; ++i) static_cast<void>(w.env->newTerm(nullptr, i));
}

TEST(Expander, IsMadeOnFirstUseAndAttached) {
  World w;
  EXPECT_EQ(w.env->_expander, nullptr);
  auto* expander = w.env->getExpander();
  EXPECT_EQ(w.env->_expander, expander);
  EXPECT_EQ(w.env->getExpander(), expander);
  EXPECT_EQ(w.env->_algorithms, expander);
}

TEST(Expander, CanBeEndedAndMadeAnew) {
  World w;
  w.env->getExpander()->end();
  EXPECT_EQ(w.env->_expander, nullptr);
  EXPECT_EQ(w.env->_algorithms, nullptr);
  EXPECT_NE(w.env->getExpander(), nullptr);
}

TEST(ModelEvaluator, IsMadeByTheExpanderOnFirstUse) {
  World w;
  auto* evaluator = w.env->getModelEvaluator();
  EXPECT_EQ(w.env->getModelEvaluator(), evaluator);
  EXPECT_EQ(w.env->getExpander()->_modelEvaluator, evaluator);
  auto* top = w.num("2", w.num("1"));
  EXPECT_EQ(evaluator->evaluate(top), 2.0);
}

}  // namespace

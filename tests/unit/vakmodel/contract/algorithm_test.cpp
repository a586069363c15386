#include "vakmodel/contract/algorithm.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakmodel/contract/model_evaluator.h"

namespace {

using Refusal = VakAlgorithm::CannotChangeException;

struct World {
  VakTestScript script;
  VakScopedEnv env;
};

TEST(Algorithm, AttachesAndDetaches) {
  World w;
  auto* a = new VakTestAlgorithm(w.env.impl(), w.script, "a");
  EXPECT_TRUE(a->isAttached());
  a->detach();
  EXPECT_FALSE(a->isAttached());
  a->detach();
  a->attach();
  EXPECT_TRUE(a->isAttached());
}

TEST(Algorithm, DetachesItselfWhenDeleted) {
  World w;
  auto* a = new VakTestAlgorithm(w.env.impl(), w.script, "a");
  auto* b = new VakTestAlgorithm(w.env.impl(), w.script, "b");
  delete a;
  EXPECT_EQ(w.env->_algorithms, b);
  EXPECT_EQ(b->next, nullptr);
}

TEST(Algorithm, EndsThroughItsHandle) {
  World w;
  VakAlgorithm handle(new VakTestAlgorithm(w.env.impl(), w.script, "a"));
  const VakAlgorithm copy = handle;
  EXPECT_TRUE(copy == handle);
  handle.end();
  EXPECT_EQ(handle.getImpl(), nullptr);
  EXPECT_EQ(w.script.takeLog(), "~a");
  EXPECT_EQ(w.env->_algorithms, nullptr);
  handle.end();
}

TEST(Algorithm, OwnsItsModelEvaluator) {
  World w;
  auto* a = new VakTestAlgorithm(w.env.impl(), w.script, "a");
  a->makeModelEvaluator();
  auto* evaluator = a->_modelEvaluator;
  ASSERT_NE(evaluator, nullptr);
  a->makeModelEvaluator();
  EXPECT_EQ(a->_modelEvaluator, evaluator);
}

TEST(Algorithm, MayLiveOnTheStackAndOutliveTheEnvironment) {
  class Local : public VakAlgorithmI {
   public:
    explicit Local(VakEnvI* env) : VakAlgorithmI(env) {}
    void end() override { detach(); }
    void change(const VakChange&, const VakExtractableI*) override {}
    void change(const VakChange&) override {}
  };
  VakScopedEnv env;
  Local local(env.impl());
  local.attach();
  env.env.end();
  EXPECT_EQ(local.next, nullptr);
  EXPECT_FALSE(local.isAttached());
}

TEST(Refusal, IsAnAlgorithmExceptionWithItsMessage) {
  const Refusal refusal{VakAlgorithm(), VakExtractableArray()};
  const VakAlgorithm::Exception& base = refusal;
  EXPECT_STREQ(base.getMessage(), "Algorithm cannot take the change.");
  EXPECT_STREQ(static_cast<const std::exception&>(refusal).what(),
               "Algorithm cannot take the change.");
  EXPECT_STREQ(VakNoChangeDuringSearchException().getMessage(),
               "No change is allowed while the algorithm is running.");
}

TEST(Refusal, IsCopiedShallowlyAndReleasedByEndAlone) {
  World w;
  auto* a = VakMakeNode(w.env.impl(), w.script, "A");
  const VakInt before = w.env->getMemoryUsage();
  VakExtractableArray array(w.env->_allocator);
  array.add(a);
  {
    const Refusal refusal(VakAlgorithm(), array);
    const Refusal copy = refusal;
    EXPECT_EQ(copy.getExtractables(), array);
  }
  EXPECT_EQ(array[0], a);
  Refusal last(VakAlgorithm(), array);
  last.end();
  EXPECT_EQ(last.getExtractables().getImpl(), nullptr);
  EXPECT_EQ(w.env->getMemoryUsage(), before);
  last.end();
}

}  // namespace

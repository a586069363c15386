// Algorithms that are told too much, too little or at the wrong time.

#include <cmath>

#include "tests/support/failing_new.h"
#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/mirror_algorithm.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakmodel/contract/model_evaluator.h"

namespace {

struct AlgorithmAttack : testing::Test {
  VakScopedEnv scope;
  VakScopedEnv otherScope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 1, 40, "x"};
  VakNumVar y{env, 2, 43, "y"};
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
  VakObjective o = m.maximize(3 * x + 4 * y - 1);
  MirrorAlgorithm* a = new MirrorAlgorithm(env);
};

// Without hooks every change drops the problem.
class ForgetfulAlgorithm : public MirrorAlgorithm {
 public:
  using MirrorAlgorithm::MirrorAlgorithm;

 protected:
  void boundsChanged(std::span<const int> /*columns*/) override { drop(); }
};

TEST_F(AlgorithmAttack, EveryColumnIsListedOnceAfterLoadingAnewRanOutOfMemory) {
  VakNumVarArray vars(env, 50, 0, 1);
  m.add(vars);
  auto* forgetful = new ForgetfulAlgorithm(env);
  forgetful->extract(m);
  x.setUB(39);
  EXPECT_FALSE(forgetful->isLoaded());
  EXPECT_GT(VakFailEachNew([&] { static_cast<void>(forgetful->solve()); },
                           [&](const std::exception_ptr&) {
                             EXPECT_EQ(forgetful->getColumnCount(), 0);
                             EXPECT_FALSE(forgetful->isLoaded());
                           }),
            0);
  EXPECT_EQ(forgetful->getColumnCount(), 52);
  EXPECT_EQ(forgetful->text(), forgetful->expectedText());
}

TEST_F(AlgorithmAttack, AVariableOfAnotherEnvironmentHasNoValueAtThePointOfASolution) {
  a->extract(m);
  static_cast<void>(a->solve());
  a->makeModelEvaluator();
  const VakModel foreignModel(otherScope.env);
  const VakNumVar foreign(otherScope.env, "foreign");
  ASSERT_EQ(foreign.getId(), x.getId());
  const VakNumExpr expr(env, x + 1, "e");
  const VakNumExpr foreignExpr(otherScope.env, foreign + 1, "f");
  EXPECT_EQ(expr.evaluate(*a->_modelEvaluator), 2);
  EXPECT_TRUE(std::isnan(foreignExpr.evaluate(*a->_modelEvaluator)));
  EXPECT_THROW(static_cast<void>(a->getValue(foreign)), VakAlgorithm::Exception);
}

TEST_F(AlgorithmAttack, WhoRefusesTheOldStateLoadsItAnew) {
  a->extract(m);
  auto* refuser = new VakModelListener(env);
  // The mirror, told last of the change, refuses what takes it back.
  refuser->_reaction = [](VakModelListener& self, const VakChange&) { self.refuse({}); };
  int told = 0;
  a->onHook = [&] {
    if (++told == 2) a->refused = {c.VakExtractable::getImpl()};
  };
  EXPECT_EQ(VakRefusalOf([&] { c.setUB(7); }), "[]");
  EXPECT_EQ(told, 2);
  EXPECT_FALSE(a->isLoaded());
  static_cast<void>(a->solve());
  EXPECT_EQ(a->text(), a->expectedText());
}

TEST_F(AlgorithmAttack, NothingIsKnownOfAModelThatEnded) {
  a->extract(m);
  static_cast<void>(a->solve());
  EXPECT_EQ(a->getObjectiveValue(), 10);
  m.end();
  EXPECT_TRUE(a->getModel().isEmpty());
  EXPECT_EQ(a->getStatus(), VakStatus::NotSolved);
  EXPECT_EQ(
      VakMessageOf<VakAlgorithm::Exception>([&] { static_cast<void>(a->getObjectiveValue()); }),
      "No solution is available.");
  EXPECT_EQ(VakMessageOf<VakAlgorithm::Exception>([&] { static_cast<void>(a->solve()); }),
            "No model was extracted.");
  EXPECT_THROW(a->extract(VakModel()), VakEmptyHandleException);
  EXPECT_THROW(a->extract(VakModel(otherScope.env)), VakModelMismatch);
}

TEST_F(AlgorithmAttack, AChangeOfTheModelDuringTheRunIsRefusedAndForgotten) {
  a->extract(m);
  auto* b = new MirrorAlgorithm(env);
  b->extract(m);
  a->onRun = [&] {
    EXPECT_THROW(x.setUB(7), VakNoChangeDuringSearchException);
    EXPECT_THROW(m.add(x <= 7), VakNoChangeDuringSearchException);
    EXPECT_THROW(m.remove(x), VakNoChangeDuringSearchException);
    EXPECT_THROW(y.end(), VakNoChangeDuringSearchException);
    EXPECT_THROW(static_cast<void>(a->solve()), VakNoChangeDuringSearchException);
    EXPECT_THROW(a->extract(m), VakNoChangeDuringSearchException);
  };
  static_cast<void>(a->solve());
  a->onRun = {};
  EXPECT_EQ(VakTextOf(m), "maximize: 3 x - 1\nc: x <= 14\nx in [1, 40]\n");
  for (MirrorAlgorithm* algorithm : {a, b}) {
    static_cast<void>(algorithm->solve());
    EXPECT_EQ(algorithm->text(), algorithm->expectedText());
  }
}

TEST_F(AlgorithmAttack, VariablesWhoseIdentifiersAreUsedAgainGetColumnsOfTheirOwn) {
  a->extract(m);
  for (int round = 0; round < 20; ++round) {
    VakNumVar v(env, round, round + 1);
    m.add(v + x <= round);
    o.setCoef(v, 1);
    EXPECT_EQ(a->text(), a->expectedText());
    VakEndAll(std::vector<VakNumVar>{v});
    EXPECT_EQ(a->text(), a->expectedText());
    EXPECT_EQ(a->getColumnCount(), 2);
  }
  EXPECT_EQ(a->loads, 1);
}

}  // namespace

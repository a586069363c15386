#include "vakmodel/model_algorithm.h"

#include <cmath>

#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/mirror_algorithm.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakmodel/contract/model_evaluator.h"

namespace {

struct ModelAlgorithm : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 1, 40, "x"};
  VakNumVar y{env, 2, 9, "y"};
  VakNumVar z{env, 3, 7, "z"};
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
  VakConstraint d = m.add(x - y == 1, "d");
  VakObjective o = m.maximize(3 * x + 4 * y - 1);
  MirrorAlgorithm* a = new MirrorAlgorithm(env);

  std::string takeLog() { return std::exchange(a->log, ""); }
  void expectInStep(const char* hooks) {
    EXPECT_EQ(takeLog(), hooks);
    EXPECT_TRUE(a->isLoaded());
    EXPECT_EQ(a->text(), a->expectedText());
    EXPECT_EQ(a->loads, 1);
  }
};

TEST_F(ModelAlgorithm, ExtractsAModel) {
  a->extract(m);
  EXPECT_EQ(a->text(),
            "max -1 0:3 1:4\n"
            "-inf..14 0:1 1:2\n"
            "1..1 0:1 1:-1\n"
            "1..40 kind 0\n"
            "2..9 kind 0");
  EXPECT_EQ(a->getModel(), m);
  EXPECT_EQ(a->getColumn(y.getImpl()), 1);
  EXPECT_EQ(a->getRow(d.getImpl()), 1);
  EXPECT_EQ(a->getColumn(z.getImpl()), -1);
  EXPECT_EQ(a->getVariable(0), x.getImpl());
  EXPECT_TRUE(a->isAttached());
  EXPECT_EQ(a->getStatus(), VakStatus::NotSolved);
}

TEST_F(ModelAlgorithm, FollowsEveryChangeWithoutLoadingAnew) {
  a->extract(m);
  x.setUB(5);
  expectInStep("bounds");
  y.setKind(VakVarKind::Integer);
  expectInStep("kinds");
  c.setUB(3);
  expectInStep("rowBounds");
  c.setCoef(x, 0);
  expectInStep("coefs");
  c.setCoef(z, 3);
  expectInStep("columnsAdded");
  d.setRelation(2 * x + z >= 1);
  expectInStep("row");
  o.setSense(VakSense::Minimize);
  expectInStep("sense");
  o.setConstant(2);
  expectInStep("constant");
  o.setExpr(z - 1);
  expectInStep("objective");
  m.add(VakNumVar(env, 0, 1) + x <= 3);
  expectInStep("columnsAdded rowsAdded");
  m.add(VakNumVar(env, 0, 1));
  expectInStep("columnsAdded");
  const std::vector<VakConstraint> rows = {c, d};
  m.addColumn(0, 1, 7, rows, std::vector<VakNum>{2, 3});
  expectInStep("columnsAdded");
  m.remove(d);
  expectInStep("rowsRemoved");
  m.remove(x);
  expectInStep("columnsRemoved");
  m.remove(o);
  expectInStep("objective");
  m.add(o);
  expectInStep("objective");
  VakSetBounds(std::vector<VakNumVar>{x, y, z}, 0, 1);
  expectInStep("bounds");
  y.end();
  expectInStep("columnsRemoved");
  c.end();
  expectInStep("rowsRemoved");
  VakEndAll(m.variables());
  expectInStep("rowsRemoved columnsRemoved");
  o.end();
  expectInStep("objective");
}

TEST_F(ModelAlgorithm, HasNoBusinessWithOtherModels) {
  VakModel other(env, "other");
  VakConstraint e = other.add(z <= 3, "e");
  other.minimize(z);
  a->extract(m);
  e.setUB(1);
  e.setCoef(z, 2);
  z.setUB(5);
  e.setRelation(z >= 4);
  other.maximize(2 * z + x);
  other.remove(z);
  VakConstraint loose(env, z <= 5);
  loose.setUB(7);
  z.end();
  other.end();
  EXPECT_EQ(takeLog(), "");
  x.setUB(3);
  expectInStep("bounds");
}

TEST_F(ModelAlgorithm, SharesItsModelWithOthers) {
  auto* b = new MirrorAlgorithm(env);
  a->extract(m);
  b->extract(m);
  c.setCoef(z, 5);
  EXPECT_EQ(a->text(), b->text());
  b->end();
  c.setCoef(z, 6);
  expectInStep("columnsAdded coefs");
}

TEST_F(ModelAlgorithm, StaysInStepWhenItRefuses) {
  a->extract(m);
  auto* other = new MirrorAlgorithm(env);
  other->extract(m);
  const std::string before = a->text();
  const std::vector<VakConstraint> rows = {c, d};
  const std::vector<std::function<void()>> changes = {
      [&] { x.setUB(3); },
      [&] { x.setKind(VakVarKind::Integer); },
      [&] { c.setUB(1); },
      [&] { c.setCoef(x, 4); },
      [&] { c.setCoef(z, 4); },
      [&] { c.setRelation(z <= 4); },
      [&] { o.setSense(VakSense::Minimize); },
      [&] { o.setExpr(z); },
      [&] { m.add(z + x <= 1); },
      [&] {
        m.addColumn(0, 1, 7, rows, std::vector<VakNum>{2, 3});
      },
      [&] { m.remove(d); },
      [&] { m.remove(y); },
      [&] { m.remove(o); },
      [&] {
        VakSetCoefs(std::vector<VakCoef>{{c, z, 4}, {d, x, 0}});
      },
  };
  for (const auto& change : changes) {
    a->refused = {x.getImpl()};
    EXPECT_EQ(VakRefusalOf(change), "[x]");
    EXPECT_EQ(m.check(), "");
    if (!a->isLoaded()) static_cast<void>(a->solve());
    if (!other->isLoaded()) static_cast<void>(other->solve());
    EXPECT_EQ(a->text(), a->expectedText()) << a->log;
    EXPECT_EQ(other->text(), other->expectedText()) << other->log;
    takeLog();
  }
  a->extract(m);
  EXPECT_EQ(a->getColumnCount(), 2);
}

TEST_F(ModelAlgorithm, DropsItsProblemWhenAHookFails) {
  a->extract(m);
  a->onHook = [] { throw 7; };
  EXPECT_THROW(x.setUB(3), int);
  EXPECT_EQ(x.getUB(), 40);
  EXPECT_FALSE(a->isLoaded());
  EXPECT_EQ(a->getColumnCount(), 0);
  x.setUB(2);
  a->onHook = {};
  EXPECT_EQ(a->solve(), VakStatus::Optimal);
  EXPECT_EQ(a->loads, 2);
  EXPECT_EQ(a->text(), a->expectedText());
}

TEST_F(ModelAlgorithm, DropsItsProblemWhenARemovalIsRefused) {
  a->extract(m);
  a->refused = {x.getImpl()};
  EXPECT_EQ(VakRefusalOf([&] { x.end(); }), "[x]");
  EXPECT_FALSE(a->isLoaded());
  EXPECT_EQ(a->solve(), VakStatus::Optimal);
  EXPECT_EQ(a->text(), a->expectedText());
}

class LazyAlgorithm : public VakModelAlgorithmI {
 public:
  explicit LazyAlgorithm(VakEnv env) : VakModelAlgorithmI(env.getImpl()) {}
  [[nodiscard]] bool hasSolution() const override { return false; }
  int loads = 0;

 protected:
  void load() override { ++loads; }
  VakStatus run() override { return VakStatus::Infeasible; }
  [[nodiscard]] VakNum getColumnValue(int /*column*/) const override { return 0; }
};

TEST_F(ModelAlgorithm, WithoutHooksLoadsAnewAfterEachChange) {
  auto* lazy = new LazyAlgorithm(env);
  lazy->extract(m);
  const std::vector<VakConstraint> rows = {c};
  const std::vector<std::function<void()>> changes = {
      [&] { x.setUB(3); },
      [&] { x.setKind(VakVarKind::Integer); },
      [&] { c.setUB(1); },
      [&] { c.setCoef(x, 4); },
      [&] { c.setCoef(z, 4); },
      [&] { c.setRelation(z <= 4); },
      [&] { o.setSense(VakSense::Minimize); },
      [&] { o.setConstant(8); },
      [&] { o.setExpr(z); },
      [&] { m.add(z + x <= 1); },
      [&] { m.addColumn(0, 1, 7, rows, std::vector<VakNum>{2}); },
      [&] { m.remove(c); },
      [&] { m.remove(y); },
      [&] { m.remove(o); },
      [&] { d.end(); },
      [&] { x.end(); },
  };
  int loads = 1;
  for (const auto& change : changes) {
    EXPECT_EQ(lazy->solve(), VakStatus::Infeasible);
    EXPECT_EQ(lazy->loads, loads++);
    change();
    EXPECT_FALSE(lazy->isLoaded());
    EXPECT_EQ(lazy->getStatus(), VakStatus::NotSolved);
  }
}

TEST_F(ModelAlgorithm, ForgetsAModelThatEnds) {
  a->extract(m);
  m.end();
  EXPECT_TRUE(a->getModel().isEmpty());
  EXPECT_EQ(VakMessageOf<VakAlgorithm::Exception>([&] { static_cast<void>(a->solve()); }),
            "No model was extracted.");
}

TEST_F(ModelAlgorithm, LoadsAnewAfterItsModelWasTakenOutOfEverything) {
  a->extract(m);
  m.removeFromAll();
  EXPECT_FALSE(a->isLoaded());
  EXPECT_EQ(a->solve(), VakStatus::Optimal);
  EXPECT_EQ(a->text(), "no objective 0\n1..40 kind 0\n2..9 kind 0");
}

TEST_F(ModelAlgorithm, SolvesAndAnswersQuestions) {
  a->extract(m);
  EXPECT_FALSE(a->hasSolution());
  EXPECT_EQ(VakMessageOf<VakAlgorithm::Exception>([&] { static_cast<void>(a->getValue(x)); }),
            "No solution is available.");
  EXPECT_EQ(
      VakMessageOf<VakAlgorithm::Exception>([&] { static_cast<void>(a->getObjectiveValue()); }),
      "No solution is available.");
  EXPECT_EQ(a->solve(), VakStatus::Optimal);
  EXPECT_EQ(a->getStatus(), VakStatus::Optimal);
  EXPECT_EQ(a->getValue(x), 1);
  EXPECT_EQ(a->getValue(2 * x + y + 1), 5);
  EXPECT_EQ(a->getObjectiveValue(), 10);
  EXPECT_EQ(VakMessageOf<VakAlgorithm::Exception>([&] { static_cast<void>(a->getValue(z)); }),
            "A variable is not in the solved model.");
  a->makeModelEvaluator();
  VakNumExpr stored(env, x + 10 * y);
  EXPECT_EQ(stored.evaluate(*a->_modelEvaluator), 21);
  stored.setExpr(z);
  EXPECT_TRUE(std::isnan(stored.evaluate(*a->_modelEvaluator)));
  a->extract(m);
  EXPECT_EQ(a->getStatus(), VakStatus::NotSolved);
}

TEST_F(ModelAlgorithm, ForbidsChangesWhileItRuns) {
  a->extract(m);
  const char* const text = "No change is allowed while the algorithm is running.";
  VakModel other(env, "other");
  a->onRun = [&] {
    EXPECT_TRUE(a->isRunning());
    EXPECT_EQ(VakMessageOf<VakNoChangeDuringSearchException>([&] { x.setUB(3); }), text);
    EXPECT_EQ(VakMessageOf<VakNoChangeDuringSearchException>([&] { m.add(z <= 1); }), text);
    EXPECT_EQ(VakMessageOf<VakNoChangeDuringSearchException>([&] { c.setCoef(z, 1); }), text);
    EXPECT_EQ(VakMessageOf<VakNoChangeDuringSearchException>([&] { a->extract(m); }), text);
    EXPECT_EQ(VakMessageOf<VakNoChangeDuringSearchException>([&] { a->clear(); }), text);
    EXPECT_EQ(
        VakMessageOf<VakNoChangeDuringSearchException>([&] { static_cast<void>(a->solve()); }),
        text);
    z.setUB(9);
    other.add(z <= 1);
  };
  EXPECT_EQ(a->solve(), VakStatus::Optimal);
  EXPECT_FALSE(a->isRunning());
  EXPECT_EQ(x.getUB(), 40);
  EXPECT_EQ(c.getCoef(z), 0);
  EXPECT_EQ(m.getConstraintCount(), 2);
  EXPECT_TRUE(a->isLoaded());
  EXPECT_EQ(a->text(), a->expectedText());
}

TEST_F(ModelAlgorithm, LoadsAnewWhenSomethingWasTakenOutWhileItRan) {
  a->extract(m);
  a->onRun = [&] { EXPECT_THROW(x.end(), VakNoChangeDuringSearchException); };
  EXPECT_EQ(a->solve(), VakStatus::Optimal);
  EXPECT_FALSE(a->isLoaded());
  EXPECT_EQ(a->getStatus(), VakStatus::NotSolved);
  a->onRun = {};
  EXPECT_EQ(a->solve(), VakStatus::Optimal);
  EXPECT_EQ(a->text(), "max -1 0:4\n-inf..14 0:2\n1..1 0:-1\n2..9 kind 0");
}

TEST_F(ModelAlgorithm, FailsWhenRunningThrows) {
  a->extract(m);
  a->onRun = [] { throw 3; };
  EXPECT_THROW(static_cast<void>(a->solve()), int);
  EXPECT_EQ(a->getStatus(), VakStatus::Failed);
  EXPECT_FALSE(a->isRunning());
}

TEST_F(ModelAlgorithm, IsAskedToStop) {
  a->extract(m);
  bool before = true;
  bool after = false;
  a->onRun = [&] {
    before = a->isAborting();
    a->abort();
    after = a->isAborting();
  };
  a->abort();
  static_cast<void>(a->solve());
  EXPECT_FALSE(before);
  EXPECT_TRUE(after);
}

TEST_F(ModelAlgorithm, RefusesModelsThatItCannotHave) {
  VakScopedEnv other;
  VakModel foreign(other.env, "foreign");
  EXPECT_EQ(
      VakMessageOf<VakModelMismatch>([&] { a->extract(foreign); }),
      "Model \"foreign\" belongs to another environment than the objects it is used with. Use "
      "objects of one environment, or copy the model with a VakCopier.");
  EXPECT_THROW(a->extract(VakModel()), VakEmptyHandleException);
  EXPECT_THROW(static_cast<void>(a->solve()), VakAlgorithm::Exception);
  a->extract(m);
  a->clear();
  EXPECT_TRUE(a->getModel().isEmpty());
  x.setUB(3);
  EXPECT_EQ(takeLog(), "");
}

TEST(ModelStatus, HasAName) {
  EXPECT_STREQ(VakGetStatusName(VakStatus::Optimal), "optimal");
  EXPECT_STREQ(VakGetStatusName(VakStatus::InfeasibleOrUnbounded), "infeasible or unbounded");
  EXPECT_STREQ(VakGetStatusName(VakStatus::NotSolved), "not solved");
  EXPECT_STREQ(VakGetStatusName(VakStatus::Infeasible), "infeasible");
  EXPECT_STREQ(VakGetStatusName(VakStatus::Unbounded), "unbounded");
  EXPECT_STREQ(VakGetStatusName(VakStatus::TimeLimit), "time limit");
  EXPECT_STREQ(VakGetStatusName(VakStatus::GapLimit), "gap limit");
  EXPECT_STREQ(VakGetStatusName(VakStatus::NodeLimit), "node limit");
  EXPECT_STREQ(VakGetStatusName(VakStatus::IterationLimit), "iteration limit");
  EXPECT_STREQ(VakGetStatusName(VakStatus::Aborted), "aborted");
  EXPECT_STREQ(VakGetStatusName(VakStatus::Failed), "failed");
}

// Whoever writes objects of their own may destroy one that is still in a model.
TEST_F(ModelAlgorithm, FollowsAConstraintThatIsDestroyedBeforeItWasRemoved) {
  a->extract(m);
  env.getImpl()->destroy(d.getImpl(), 0);
  expectInStep("rowsRemoved");
  EXPECT_EQ(m.getConstraintCount(), 1);
  EXPECT_EQ(m.check(), "");
}

}  // namespace

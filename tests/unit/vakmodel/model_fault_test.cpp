// Memory runs out at every place where an operation asks for it: the model is as before then, and
// the operation can be repeated.

#include <functional>
#include <new>

#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/mirror_algorithm.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/types/exceptions.h"

namespace {

struct ModelFault : testing::Test {
  VakScopedEnv scope;
  VakScopedEnv otherScope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, 0, 3, "y"};
  VakNumVar z{env, 0, 7, "z"};
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
  VakConstraint d = m.add(x >= 1, "d");
  VakConstraint loose{env, z + y <= 3, "loose"};
  VakObjective o = m.maximize(3 * x + 4 * y - 1);

  /// Everything that a failed operation must leave as it was.
  [[nodiscard]] std::string state() const {
    std::string text = VakTextOf(m) + VakTextOf(loose) + VakTextOf(VakExpr(z)) + m.check();
    text += std::to_string(z.getUB()) + loose.getImpl()->_terms.check();
    return text + (loose.getModel().isEmpty() ? " loose" : " added");
  }

  /// Runs `operation` until no allocation fails any more.
  long failEach(const std::function<void()>& operation) {
    std::string before = state();
    return VakFailEachNew(operation, [&](const std::exception_ptr& thrown) {
      EXPECT_FALSE(scope->isRemoving());
      // The standard library can do without some memory.
      if (thrown == nullptr) {
        before = state();
        return;
      }
      EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown) ||
                  VakIsException<VakMemoryException>(thrown));
      EXPECT_EQ(state(), before);
    });
  }
};

TEST_F(ModelFault, MakingObjectsLeavesNothingBehind) {
  failEach([&] { VakNumVar v(env, 1.5, 2.5, "a name that is not too short"); });
  failEach([&] { VakNumVarArray v(env, 300, 1.25, 2.5); });
  failEach([&] { VakConstraint v(env, 3 * x + y + x <= 4, "name"); });
  failEach([&] { VakMinimize v(env, 3 * x + y + x, "name"); });
  failEach([&] { VakNumExpr v(env, 3 * x + y + x, "name"); });
  failEach([&] { VakModel v(env, "name"); });
}

TEST_F(ModelFault, AddingIsAllOrNothing) {
  failEach([&] { m.add(z + x <= 3, "name"); });
  m.remove(z);
  failEach([&] { m.add(z); });
  m.remove(z);
  failEach([&] { m.add(loose); });
  m.remove(loose);
  m.remove(o);
  failEach([&] { m.add(o); });
}

TEST_F(ModelFault, AddingManyIsAllOrNothing) {
  const std::vector<VakInt> starts = {0, 2, 2, 5};
  const std::vector<int> members = {0, 1, 1, 0, 1};
  const std::vector<VakNum> coefs = {1, 2, 3, 4, 5};
  const std::vector<VakConstraint> rows = {c, d};
  const std::vector<VakNum> objective = {1, 2, 3};
  VakColumns columns;
  columns.count = 3;
  columns.objective = objective;
  columns.rows = rows;
  columns.matrix = {starts, members, coefs};
  failEach([&] { m.addColumns(columns); });
  failEach([&] { m.addColumn(0, 1.5, 2, rows, std::vector<VakNum>{1, 2}); });
  const std::vector<VakNumVar> vars = {z, y};
  VakRows block;
  block.count = 3;
  block.columns = vars;
  block.matrix = {starts, members, coefs};
  failEach([&] { m.addRows(block); });
  failEach([&] { m.add(std::vector<VakRelation>{x <= 1, y + z >= 2, x + x + y <= 7}); });
}

TEST_F(ModelFault, ChangesAreAllOrNothing) {
  failEach([&] { z.setBounds(1.5, 2.5); });
  failEach([&] { z.setKind(VakVarKind::Integer); });
  failEach([&] { VakSetBounds(std::vector<VakNumVar>{x, y, z}, 0.5, 0.75); });
  failEach([&] { c.setCoef(z, 3); });
  failEach([&] { c.setCoefs(std::vector<VakNumVar>{z, x}, std::vector<VakNum>{8, 0}); });
  failEach([&] { VakSetCoefs(std::vector<VakCoef>{{c, y, 0}, {d, z, 4}, {o, z, 5}, {c, x, 1}}); });
  failEach([&] { c.setRelation(1 <= 2 * z + x + z <= 5); });
  failEach([&] { o.setExpr(z + y + z); });
  failEach([&] { VakSetBounds(std::vector<VakConstraint>{c, d}, 0, 1); });
}

TEST_F(ModelFault, RemovingFromTheModelIsAllOrNothing) {
  failEach([&] { m.remove(std::vector<VakNumVar>{y, x}); });
  failEach([&] { m.remove(std::vector<VakConstraint>{c, d}); });
}

// What was taken out stays out, but nothing stays hidden, and the removal can be repeated.
TEST_F(ModelFault, EndingCanBeRepeated) {
  VakFailEachNew([&] { y.end(); },
                 [&](const std::exception_ptr&) {
                   EXPECT_FALSE(scope->isRemoving());
                   EXPECT_FALSE(y.isEmpty());
                   EXPECT_EQ(y.getUB(), 3);
                   EXPECT_EQ(m.check(), "");
                 });
  EXPECT_EQ(c.getTermCount(), 1);
  VakFailEachNew(
      [&] {
        VakEndAll(std::vector<VakNumVar>{x, z});
      },
      [&](const std::exception_ptr&) {
        EXPECT_FALSE(scope->isRemoving());
        EXPECT_EQ(m.check(), "");
      });
  // A constraint stays when memory ran out as it was about to ask for its own end.
  for (const VakConstraint empty : m.constraints()) EXPECT_EQ(empty.getTermCount(), 0);
}

TEST_F(ModelFault, CopyingLeavesNothingBehind) {
  x.setNumProperty("weight", 2);
  const VakInt before = otherScope.env.getMemoryUsage();
  failEach([&] {
    VakCopier copier(otherScope.env);
    copier.copy(m);
  });
  VakScopedEnv fresh;
  {
    VakCopier copier(fresh.env);
    EXPECT_EQ(VakTextOf(copier.copy(m)), VakTextOf(m));
  }
  EXPECT_GT(otherScope.env.getMemoryUsage(), before);
}

TEST_F(ModelFault, AFailedCopyGivesItsObjectsBack) {
  const auto countObjects = [&] {
    const VakIdManager* ids = otherScope.impl()->_idManager;
    VakInt count = 0;
    for (VakInt id = 0; id < ids->_size; ++id) count += ids->isLive(id) ? 1 : 0;
    return count;
  };
  VakCopier copier(otherScope.env);
  VakFailEachNew([&] { copier.copy(m); },
                 [&](const std::exception_ptr&) { EXPECT_EQ(countObjects(), 0); });
  EXPECT_EQ(countObjects(), 6);
}

TEST_F(ModelFault, AFailedCopyOfManyObjectsCanBeRepeated) {
  VakNumVarArray vars(env, 300, 0, 1);
  m.add(vars);
  VakCopier copier(otherScope.env);
  VakFailEachNew([&] { copier.copy(m); }, [](const std::exception_ptr&) {});
  VakModel copy = copier.copy(m);
  EXPECT_EQ(copy.getVariableCount(), 302);
  EXPECT_EQ(copy.check(), "");
}

TEST_F(ModelFault, AnAlgorithmThatRunsOutOfMemoryLoadsAnew) {
  auto* a = new MirrorAlgorithm(env);
  VakFailEachNew([&] { a->extract(m); },
                 [&](const std::exception_ptr&) { EXPECT_TRUE(a->getModel().isEmpty()); });
  VakFailEachNew([&] { c.setCoef(z, 3); },
                 [&](const std::exception_ptr&) {
                   EXPECT_EQ(c.getCoef(z), 0);
                   if (!a->isLoaded()) static_cast<void>(a->solve());
                   EXPECT_EQ(a->text(), a->expectedText());
                 });
  VakFailEachNew([&] { m.add(z + x <= 3); },
                 [&](const std::exception_ptr&) {
                   EXPECT_EQ(m.getConstraintCount(), 2);
                   if (!a->isLoaded()) static_cast<void>(a->solve());
                   EXPECT_EQ(a->text(), a->expectedText());
                 });
  EXPECT_EQ(a->text(), a->expectedText());
}

}  // namespace

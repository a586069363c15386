// Solvers and what happens to their models meanwhile: several solvers, shared variables, removal of
// everything, ends of all kinds, copies, aborts at odd moments.

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/unit/vaksolver/hard_model.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

constexpr double Near = 1e-6;

/// Maximise x + 2 y where x + y <= 4, x <= 3, y <= 2.
class SmallModel : public testing::Test {
 protected:
  SmallModel() {
    model.maximize(x + 2 * y);
    model.add(capacity);
  }
  static void expect(VakSolver solver, VakNum objective) {
    ASSERT_EQ(solver.solve(), VakStatus::Optimal);
    EXPECT_NEAR(solver.getObjectiveValue(), objective, Near);
  }

  VakScopedEnv scoped;
  VakEnv env = scoped.env;
  VakModel model{env};
  VakNumVar x{env, 0, 3, "x"};
  VakNumVar y{env, 0, 2, "y"};
  VakConstraint capacity{env, x + y <= 4};
};

TEST_F(SmallModel, MayHaveSeveralSolvers) {
  const VakSolver first(model);
  const VakSolver second(model);
  expect(first, 6);
  capacity.setUB(3);
  expect(second, 5);
  expect(first, 5);
  x.setKind(VakVarKind::Integer);
  capacity.setUB(2.5);
  expect(first, 4);
  expect(second, 4);
  EXPECT_EQ(first.getLoadCount(), 1);
  EXPECT_EQ(second.getLoadCount(), 1);
}

TEST_F(SmallModel, MayShareItsVariablesWithAnother) {
  const VakModel other(env);
  other.minimize(y - 3 * x);
  other.add(x - y <= 1);
  const VakSolver first(model);
  const VakSolver second(other);
  expect(first, 6);
  expect(second, -7);
  x.setUB(1);
  expect(first, 5);
  expect(second, -3);
  y.end();
  expect(first, 1);
  expect(second, -3);
  EXPECT_EQ(first.getLoadCount(), 1);
  EXPECT_EQ(second.getLoadCount(), 1);
}

TEST_F(SmallModel, IsSolvedWithoutAnythingInIt) {
  const VakSolver solver(model);
  expect(solver, 6);
  model.remove(capacity);
  expect(solver, 7);
  model.remove(x);
  expect(solver, 4);
  model.remove(y);
  expect(solver, 0);
  model.add(capacity);  // And its variables with it.
  expect(solver, 0);
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST_F(SmallModel, ComesAndGoesAsAMip) {
  const VakSolver solver(model);
  capacity.setUB(3.5);
  for (int i = 0; i < 4; ++i) {
    y.setUB(1.5);
    expect(solver, 5);
    EXPECT_FALSE(solver.isMip());
    EXPECT_TRUE(solver.hasDuals());
    y.setKind(VakVarKind::Integer);
    expect(solver, 4.5);
    EXPECT_TRUE(solver.isMip());
    EXPECT_FALSE(solver.hasDuals());
    y.setKind(VakVarKind::Continuous);
  }
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST_F(SmallModel, MayEndBeforeItsSolver) {
  const VakSolver solver(model);
  expect(solver, 6);
  model.end();
  EXPECT_TRUE(solver.getModel().isEmpty());
  EXPECT_FALSE(solver.hasSolution());
  EXPECT_THROW(solver.solve(), VakAlgorithm::Exception);
  const VakModel another(env);
  another.maximize(x);
  solver.extract(another);
  expect(solver, 3);
}

TEST_F(SmallModel, MayLoseItsSolver) {
  VakSolver solver(model);
  expect(solver, 6);
  solver.end();
  x.setUB(1);
  const VakSolver again(model);
  expect(again, 5);
}

TEST_F(SmallModel, MayEndWithItsEnvironmentAndSolvers) {
  const VakSolver first(model);
  const VakSolver second(model);
  expect(first, 6);
  expect(second, 6);
  scoped.env.end();
}

TEST_F(SmallModel, IsCopiedWithASolverOfItsOwn) {
  const VakSolver solver(model);
  expect(solver, 6);
  VakCopier copier(env);
  const VakModel copy = copier.copy(model);
  copier.getCopy(x).setUB(1);
  const VakSolver other(copy);
  expect(other, 5);
  expect(solver, 6);
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST_F(SmallModel, IsNotAbortedBeforeItRuns) {
  const VakSolver solver(model);
  solver.abort();
  solver.abort();
  expect(solver, 6);
  solver.abort();
  EXPECT_TRUE(solver.hasSolution());
  x.setUB(1);
  expect(solver, 5);
}

TEST_F(SmallModel, IsNotSolvedInsideItsOwnProgressCallback) {
  const VakModel hard = makeHardModel(env);
  const VakSolver solver(hard);
  env.setNumProperty("solver.progressInterval", 0);
  int refusals = 0;
  solver.setProgressCallback([&](const VakSolverProgress&) {
    const auto count = [&refusals](auto&& call) {
      try {
        call();
      } catch (const VakNoChangeDuringSearchException&) {
        ++refusals;
      }
    };
    count([&] { (void)solver.solve(); });
    count([&] { solver.clear(); });
    count([&] { solver.extract(model); });
    count([&] { hard.add(x >= 1); });
    solver.abort();
    solver.abort();
  });
  EXPECT_EQ(solver.solve(), VakStatus::Aborted);
  EXPECT_GE(refusals, 4);
  EXPECT_EQ(hard.check(), "");
  EXPECT_EQ(solver.getModel(), hard);
}

TEST_F(SmallModel, IsSolvedWhileAnotherSolverRuns) {
  const VakModel hard = makeHardModel(env);
  const VakSolver outer(hard);
  const VakSolver inner(model);
  env.setNumProperty("solver.progressInterval", 0);
  std::optional<VakStatus> status;
  outer.setProgressCallback([&](const VakSolverProgress&) {
    if (!status) status = inner.solve();
    outer.abort();
  });
  EXPECT_EQ(outer.solve(), VakStatus::Aborted);
  EXPECT_EQ(status, VakStatus::Optimal);
  EXPECT_NEAR(inner.getObjectiveValue(), 6, Near);
}

TEST_F(SmallModel, MayEndItsSolverInTheProgressCallback) {
  const VakModel hard = makeHardModel(env);
  VakSolver solver(hard);
  env.setNumProperty("solver.progressInterval", 0);
  env.setNumProperty("solver.timeLimit", 20);
  bool isEnded = false;
  solver.setProgressCallback([&](const VakSolverProgress&) {
    if (isEnded) return;
    isEnded = true;
    VakSolver(solver.getImpl()).abort();
    VakSolver(solver.getImpl()).end();
  });
  EXPECT_EQ(solver.solve(), VakStatus::Aborted);
  EXPECT_TRUE(isEnded);
  hard.getObjective().setConstant(3);
}

TEST_F(SmallModel, SolvesAfterAnExceptionOfTheCallback) {
  const VakModel hard = makeHardModel(env);
  const VakSolver solver(hard);
  env.setNumProperty("solver.progressInterval", 0);
  solver.setProgressCallback([](const VakSolverProgress&) { throw std::runtime_error("enough"); });
  EXPECT_THROW(solver.solve(), std::runtime_error);
  EXPECT_FALSE(solver.hasSolution());
  EXPECT_THROW(solver.solve(), std::runtime_error);
  solver.setProgressCallback({});
  solver.extract(model);
  expect(solver, 6);
}

TEST_F(SmallModel, WithNothingButLimitsOfZeroIsNotSolved) {
  const VakSolver solver(model);
  env.setIntProperty("solver.timeLimit", 0);
  EXPECT_EQ(solver.solve(), VakStatus::TimeLimit);
  EXPECT_FALSE(solver.hasSolution());
  EXPECT_EQ(solver.getBestBound(), VakGetInfinity());
  env.removeProperty("solver.timeLimit");
  expect(solver, 6);
}

TEST_F(SmallModel, IsSolvedAfterAChangeThatWasRefused) {
  const VakSolver solver(model);
  expect(solver, 6);
  const auto refused = [](auto&& change) {
    try {
      change();
      ADD_FAILURE() << "not refused";
    } catch (VakAlgorithm::CannotChangeException& e) {
      e.end();
    }
  };
  refused([&] { x.setUB(1e20); });
  refused([&] { capacity.setCoef(x, -1e25); });
  refused([&] { model.getObjective().setCoef(y, 1e21); });
  refused([&] { model.add(x + 1e22 * y <= 3); });
  refused([&] { model.add(VakNumVar(env, -1e20, 0)); });
  refused([&] { capacity.setRelation(1e20 * x <= 3); });
  EXPECT_EQ(model.check(), "");
  EXPECT_EQ(x.getUB(), 3);
  expect(solver, 6);
  capacity.setUB(3);
  expect(solver, 5);
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST(SolverThreads, AreAbortedFromOutsideAtAnyMoment) {
  const VakScopedEnv scoped;
  const VakSolver solver(makeHardModel(scoped.env, 20, 3));
  std::atomic<bool> isOver = false;
  std::thread other([&] {
    while (!isOver) {
      solver.abort();
      std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
  });
  for (int i = 0; i < 200; ++i) {
    const VakStatus status = solver.solve();
    ASSERT_TRUE(status == VakStatus::Aborted || status == VakStatus::Optimal)
        << VakGetStatusName(status);
  }
  isOver = true;
  other.join();
}

}  // namespace

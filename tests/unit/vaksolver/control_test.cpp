// What happens while a solve runs: abort, limits, progress, changes; and refusals.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "tests/support/scoped_env.h"
#include "tests/unit/vaksolver/hard_model.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

constexpr double Near = 1e-6;

class RunningSolver : public testing::Test {
 protected:
  VakScopedEnv scoped;
  VakEnv env = scoped.env;
  VakModel model = makeHardModel(env);
  VakSolver solver{model};
};

TEST_F(RunningSolver, StopsAtTheTimeLimitWithTheBestSolution) {
  env.setNumProperty("solver.timeLimit", 0.3);
  EXPECT_EQ(solver.solve(), VakStatus::TimeLimit);
  EXPECT_TRUE(solver.hasSolution());
  EXPECT_GE(solver.getTime(), 0.3);
  EXPECT_LE(solver.getBestBound(), solver.getObjectiveValue() + Near);
  EXPECT_GT(solver.getGap(), 0);
  EXPECT_NEAR(solver.getObjectiveValue(), solver.getValue(model.getObjective().getExpr()), Near);
}

TEST_F(RunningSolver, StopsAtTheNodeLimit) {
  env.setIntProperty("solver.nodeLimit", 20);
  EXPECT_EQ(solver.solve(), VakStatus::NodeLimit);
  EXPECT_LE(solver.getNodeCount(), 100);
  EXPECT_GT(solver.getIterationCount(), 0);
}

TEST_F(RunningSolver, StopsWhenTheGapIsSmallEnough) {
  env.setNumProperty("solver.absoluteGap", 1e6);
  EXPECT_EQ(solver.solve(), VakStatus::GapLimit);
  EXPECT_TRUE(solver.hasSolution());
}

TEST_F(RunningSolver, IsAbortedByAnotherThread) {
  std::thread other([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    solver.abort();
  });
  EXPECT_EQ(solver.solve(), VakStatus::Aborted);
  other.join();
  EXPECT_TRUE(solver.hasSolution());
  EXPECT_LE(solver.getBestBound(), solver.getObjectiveValue() + Near);
}

VakSolver* signalled = nullptr;

TEST_F(RunningSolver, IsAbortedByASignalHandler) {
  signalled = &solver;
  const auto before = std::signal(SIGUSR1, [](int) { signalled->abort(); });
  std::thread other([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    std::raise(SIGUSR1);
  });
  EXPECT_EQ(solver.solve(), VakStatus::Aborted);
  other.join();
  std::signal(SIGUSR1, before);
}

TEST_F(RunningSolver, GoesOnFromTheBestSolutionAfterAnAbort) {
  env.setNumProperty("solver.timeLimit", 0.2);
  solver.solve();
  ASSERT_TRUE(solver.hasSolution());
  const VakNum first = solver.getObjectiveValue();
  solver.solve();
  EXPECT_LE(solver.getObjectiveValue(), first + Near);
  EXPECT_EQ(solver.getStartSolutionCount(), 1);
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST_F(RunningSolver, ReportsItsProgress) {
  env.setNumProperty("solver.progressInterval", 0.01);
  env.setNumProperty("solver.timeLimit", 0.5);
  std::vector<VakSolverProgress> reports;
  solver.setProgressCallback([&](const VakSolverProgress& p) { reports.push_back(p); });
  solver.solve();
  ASSERT_GT(reports.size(), 3U);
  const VakSolverProgress last = reports.back();
  EXPECT_TRUE(last.isMip);
  EXPECT_TRUE(last.hasIncumbent);
  EXPECT_GT(last.nodes, 0);
  EXPECT_GT(last.iterations, 0);
  EXPECT_LE(last.bound, last.incumbent + Near);
  for (std::size_t i = 1; i < reports.size(); ++i) {
    EXPECT_GE(reports[i].seconds, reports[i - 1].seconds);
    EXPECT_GE(reports[i].iterations, reports[i - 1].iterations);
  }
}

TEST_F(RunningSolver, IsAbortedByItsProgressCallback) {
  env.setNumProperty("solver.progressInterval", 0.05);
  solver.setProgressCallback([&](const VakSolverProgress&) { solver.abort(); });
  EXPECT_EQ(solver.solve(), VakStatus::Aborted);
}

TEST_F(RunningSolver, PassesOnWhatItsProgressCallbackThrows) {
  env.setNumProperty("solver.progressInterval", 0.05);
  solver.setProgressCallback([](const VakSolverProgress&) { throw std::runtime_error("no more"); });
  EXPECT_THROW(solver.solve(), std::runtime_error);
  EXPECT_EQ(solver.getStatus(), VakStatus::Failed);
  solver.setProgressCallback({});
  env.setNumProperty("solver.timeLimit", 0.1);
  EXPECT_EQ(solver.solve(), VakStatus::TimeLimit);
}

TEST_F(RunningSolver, ForbidsChangesOfItsModel) {
  env.setNumProperty("solver.progressInterval", 0.05);
  const VakNumVar x = *model.variables().begin();
  int refusals = 0;
  solver.setProgressCallback([&](const VakSolverProgress&) {
    const auto isForbidden = [&](auto action) {
      try {
        action();
      } catch (const VakNoChangeDuringSearchException&) {
        ++refusals;
      }
    };
    isForbidden([&] { x.setUB(0); });
    isForbidden([&] { model.add(x <= 0); });
    isForbidden([&] { solver.solve(); });
    isForbidden([&] { solver.clear(); });
    isForbidden([&] { solver.extract(model); });
    solver.abort();
  });
  EXPECT_EQ(solver.solve(), VakStatus::Aborted);
  EXPECT_EQ(refusals, 5);
  EXPECT_EQ(x.getUB(), 1);
  EXPECT_EQ(model.check(), "");
}

TEST_F(RunningSolver, HasNoSolutionWhileItRuns) {
  env.setNumProperty("solver.timeLimit", 0.1);
  solver.solve();
  ASSERT_TRUE(solver.hasSolution());
  env.setNumProperty("solver.progressInterval", 0);
  bool had = true;
  solver.setProgressCallback([&](const VakSolverProgress&) { had = solver.hasSolution(); });
  solver.solve();
  EXPECT_FALSE(had);
}

TEST_F(RunningSolver, PrintsNothingUnlessAsked) {
  env.setNumProperty("solver.timeLimit", 0.3);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  solver.solve();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  env.setIntProperty("solver.logLevel", 1);
  testing::internal::CaptureStdout();
  solver.solve();
  std::fflush(stdout);
  EXPECT_NE(testing::internal::GetCapturedStdout(), "");
}

// ---- Refusals -----------------------------------------------------------------------------------

class Refusals : public testing::Test {
 protected:
  Refusals() {
    model.minimize(x + y);
    c = model.add(x + y >= 1, "c");
  }
  /// The objects that the refusal of `action` names.
  template <class Action>
  std::vector<VakExtractable> refused(Action action) {
    std::vector<VakExtractable> objects;
    try {
      action();
    } catch (VakAlgorithm::CannotChangeException& e) {
      for (VakExtractableI* object : e.getExtractables()) objects.push_back(VakExtractable(object));
      e.end();
    }
    return objects;
  }
  using Objects = std::vector<VakExtractable>;

  VakScopedEnv scoped;
  VakEnv env = scoped.env;
  VakModel model{env};
  VakNumVar x{env, 0, 10, "x"};
  VakNumVar y{env, 0, 10, "y"};
  VakConstraint c;
};

TEST_F(Refusals, OfNumbersThatAreTooLargeNameTheObjects) {
  VakSolver solver(model);
  solver.solve();
  EXPECT_EQ(refused([&] { x.setUB(1e20); }), Objects{x});
  EXPECT_EQ(refused([&] { c.setLB(-1e25); }), Objects{c});
  EXPECT_EQ(refused([&] { c.setCoef(x, 1e21); }), (Objects{c, x}));
  EXPECT_EQ(refused([&] { model.getObjective().setCoef(y, -1e20); }),
            (Objects{model.getObjective(), y}));
  EXPECT_EQ(refused([&] { c.setRelation(1e22 * y <= 4); }), (Objects{c, y}));
  EXPECT_EQ(refused([&] { model.maximize(1e22 * y); }), (Objects{model.getObjective(), y}));
  const VakNumVar large(env, 0, 1e30, "large");
  EXPECT_EQ(refused([&] { model.add(large); }), Objects{large});
  EXPECT_FALSE(refused([&] { model.add(1e20 * x <= 1); }).empty());
  EXPECT_EQ(x.getUB(), 10);
  EXPECT_EQ(c.getCoef(x), 1);
  EXPECT_EQ(model.getVariableCount(), 2);
  EXPECT_EQ(model.getConstraintCount(), 1);
  EXPECT_EQ(model.check(), "");
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_NEAR(solver.getObjectiveValue(), 1, Near);
}

TEST_F(Refusals, OfAModelLeaveTheSolverWithoutOne) {
  x.setUB(1e25);
  VakSolver solver(env);
  EXPECT_EQ(refused([&] { solver.extract(model); }), Objects{x});
  EXPECT_TRUE(solver.getModel().isEmpty());
  x.setUB(10);
  solver.extract(model);
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
}

TEST_F(Refusals, OfSeveralSolversAreMerged) {
  const VakModel other(env, "other");
  const VakConstraint d = other.add(x - y <= 3, "d");
  const VakSolver first(model);
  const VakSolver second(other);
  const VakCoef coefs[] = {{c, x, 1e20}, {d, y, 1e20}};
  Objects objects = refused([&] { VakSetCoefs(coefs); });
  EXPECT_THAT(objects, testing::UnorderedElementsAreArray(Objects{c, x, d, y}));
  EXPECT_EQ(c.getCoef(x), 1);
  EXPECT_EQ(d.getCoef(y), -1);
  EXPECT_EQ(first.solve(), VakStatus::Optimal);
  EXPECT_EQ(second.solve(), VakStatus::Optimal);
}

}  // namespace

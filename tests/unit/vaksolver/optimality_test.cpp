// What is said of an optimum holds: duals and reduced costs prove it, bounds enclose it, and what
// is found after a limit is a solution.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/support/scoped_env.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

const VakNum Infinity = VakGetInfinity();
constexpr VakNum Near = 1e-6;

/// A random model of a size that a search needs some nodes for.
class RandomModel {
 public:
  RandomModel(VakEnv env, unsigned seed) : model(env), _env(env), _random(seed) {}

  /// Bounds of all kinds: fixed, free, one-sided; rows of all kinds.
  void makeLp() {
    const int columns = pick(1, 12);
    const int rows = pick(0, 10);
    for (int j = 0; j < columns; ++j) {
      const auto [lb, ub] = bounds();
      xs.push_back(VakNumVar(_env, lb, ub));
      model.add(xs.back());
    }
    for (int i = 0; i < rows; ++i) {
      const auto [lb, ub] = bounds();
      model.add(VakConstraint(_env, VakBetween(3 * lb, expr(), 3 * ub)));
    }
    addObjective(expr() + pick(-5, 5));
  }

  /// Several knapsacks, so that there are solutions.
  void makeMip(int columns, int rows) {
    for (int j = 0; j < columns; ++j) {
      xs.push_back(pick(0, 3) == 0 ? VakNumVar(_env, 0, pick(1, 5))
                                   : VakNumVar(_env, 0, pick(1, 3), VakVarKind::Integer));
      model.add(xs.back());
    }
    for (int i = 0; i < rows; ++i) {
      VakExpr sum;
      VakNum total = 0;
      for (const VakNumVar x : xs) {
        const VakNum weight = pick(1, 60);
        total += weight;
        sum += weight * x;
      }
      model.add(sum <= std::floor(total / 2) + 0.5);
    }
    VakExpr worth;
    for (const VakNumVar x : xs) worth += pick(10, 60) * x;
    const bool isMaximized = pick(0, 1) == 0;
    isMaximized ? model.maximize(worth + 3) : model.minimize(3 - worth);
  }

  int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(_random); }

  VakModel model;
  std::vector<VakNumVar> xs;

 private:
  std::pair<VakNum, VakNum> bounds() {
    const VakNum base = pick(-4, 4);
    switch (pick(0, 7)) {
      case 0:
        return {base, base};
      case 1:
        return {-Infinity, Infinity};
      case 2:
        return {-Infinity, base};
      case 3:
      case 4:
        return {base, Infinity};
      default:
        return {base, base + pick(1, 6)};
    }
  }
  VakExpr expr() {
    VakExpr e;
    for (const VakNumVar x : xs) {
      if (pick(0, 2) > 0) e += pick(-7, 7) * x;
    }
    return e;
  }
  void addObjective(const VakExpr& e) { pick(0, 1) == 0 ? model.minimize(e) : model.maximize(e); }

  VakEnv _env;
  std::mt19937 _random;
};

/// By how much the objective worsens at least when `slope` is the growth of the objective for each
/// unit of something within [lb, ub]; what a dual solution counts of it.
VakNum dualPart(VakNum slope, VakNum lb, VakNum ub, bool isMinimized) {
  if (std::abs(slope) <= Near) return 0;
  const bool isAtLower = (slope > 0) == isMinimized;
  return slope * (isAtLower ? lb : ub);
}

/// The dual solution is feasible, complementary to the primal one, and has its objective.
void expectProof(VakSolver solver) {
  const VakModel model = solver.getModel();
  const VakObjective objective = model.getObjective();
  const bool isMinimized = objective.getSense() == VakSense::Minimize;
  VakNum dual = objective.getConstant();
  for (const VakNumVar x : model.variables()) {
    VakNum slope = objective.getExpr().getCoef(x);
    for (const VakConstraint c : model.constraints()) slope -= solver.getDual(c) * c.getCoef(x);
    ASSERT_NEAR(slope, solver.getReducedCost(x), Near) << model;
    const VakNum part = dualPart(slope, x.getLB(), x.getUB(), isMinimized);
    ASSERT_TRUE(std::isfinite(part)) << "reduced cost " << slope << " at an infinite bound\n"
                                     << model;
    if (part != 0) {
      ASSERT_NEAR(slope * solver.getValue(x), part, 1e-5) << model;
    }
    dual += part;
  }
  for (const VakConstraint c : model.constraints()) {
    const VakNum slope = solver.getDual(c);
    const VakNum part = dualPart(slope, c.getLB(), c.getUB(), isMinimized);
    ASSERT_TRUE(std::isfinite(part)) << "dual " << slope << " at an infinite bound\n" << model;
    if (part != 0) {
      ASSERT_NEAR(slope * solver.getActivity(c), part, 1e-5) << model;
    }
    dual += part;
  }
  ASSERT_NEAR(dual, solver.getObjectiveValue(), 1e-5) << model;
}

// Within the tolerances, which are relative to the size of bounds: 30 is the largest one here.
void expectSolution(VakSolver solver) {
  for (const VakNumVar x : solver.getModel().variables()) {
    const VakNum value = solver.getValue(x);
    ASSERT_GE(value, x.getLB() - Near);
    ASSERT_LE(value, x.getUB() + Near);
    if (x.isInteger()) {
      ASSERT_EQ(value, std::round(value));
    }
  }
  for (const VakConstraint c : solver.getModel().constraints()) {
    ASSERT_GE(solver.getSlack(c), -30 * Near);
  }
}

TEST(LpOptima, AreProvedByTheirDuals) {
  int optima = 0;
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const VakScopedEnv scoped;
    RandomModel random(scoped.env, seed);
    random.makeLp();
    const VakSolver solver(random.model);
    for (int change = 0; change < 3; ++change) {
      if (solver.solve() == VakStatus::Optimal) {
        ++optima;
        ASSERT_NO_FATAL_FAILURE(expectSolution(solver));
        ASSERT_NO_FATAL_FAILURE(expectProof(solver));
      }
      const VakNumVar x =
          random
              .xs[static_cast<std::size_t>(random.pick(0, static_cast<int>(random.xs.size()) - 1))];
      const VakObjective objective = random.model.getObjective();
      change == 0
          ? x.setBounds(-1, random.pick(0, 3))
          : objective.setSense(objective.getSense() == VakSense::Minimize ? VakSense::Maximize
                                                                          : VakSense::Minimize);
    }
  }
  EXPECT_GT(optima, 150);
}

/// What a solve with a limit leaves, beside the optimum.
void expectEnclosed(VakSolver limited, VakNum optimum) {
  const bool isMinimized = limited.getModel().getObjective().getSense() == VakSense::Minimize;
  const VakNum sign = isMinimized ? 1 : -1;
  ASSERT_LE(sign * limited.getBestBound(), sign * optimum + 1e-5);
  if (!limited.hasSolution()) {
    ASSERT_EQ(limited.getGap(), Infinity);
    return;
  }
  ASSERT_NO_FATAL_FAILURE(expectSolution(limited));
  const VakNum value = limited.getObjectiveValue();
  ASSERT_GE(sign * value, sign * optimum - 1e-5);
  if (std::isfinite(limited.getBestBound())) {
    ASSERT_NEAR(limited.getGap(),
                std::abs(value - limited.getBestBound()) / std::max(std::abs(value), 1e-10), 1e-9);
  }
}

TEST(MipLimits, LeaveBoundsThatEncloseTheOptimum) {
  struct Limit {
    const char* name;
    VakNum value;
  };
  int stopped = 0;
  for (unsigned seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const VakScopedEnv scoped;
    RandomModel random(scoped.env, seed);
    random.makeMip(14, 4);
    const VakSolver full(random.model);
    ASSERT_EQ(full.solve(), VakStatus::Optimal);
    const VakNum optimum = full.getObjectiveValue();
    for (const Limit& limit : {Limit{"solver.nodeLimit", 0}, Limit{"solver.nodeLimit", 3},
                               Limit{"solver.iterationLimit", 0}, Limit{"solver.iterationLimit", 5},
                               Limit{"solver.iterationLimit", 60}, Limit{"solver.gap", 0.2},
                               Limit{"solver.gap", 0.01}, Limit{"solver.absoluteGap", 30}}) {
      SCOPED_TRACE(limit.name + std::string(" ") + std::to_string(limit.value));
      scoped.env.setNumProperty(limit.name, limit.value);
      const VakSolver limited(random.model);
      const VakStatus status = limited.solve();
      ASSERT_NE(status, VakStatus::Infeasible);
      ASSERT_NE(status, VakStatus::Failed);
      ASSERT_NO_FATAL_FAILURE(expectEnclosed(limited, optimum));
      if (status == VakStatus::Optimal) {
        ASSERT_NEAR(limited.getObjectiveValue(), optimum, 1e-4);
      } else {
        ++stopped;
      }
      if (status == VakStatus::GapLimit && limit.name == std::string("solver.gap")) {
        ASSERT_LE(limited.getGap(), limit.value + 1e-9);
      }
      scoped.env.removeProperty(limit.name);
      // The same solver comes to the optimum afterwards.
      ASSERT_EQ(limited.solve(), VakStatus::Optimal);
      ASSERT_NEAR(limited.getObjectiveValue(), optimum, 1e-4);
      ASSERT_EQ(limited.getLoadCount(), 1);
    }
  }
  EXPECT_GT(stopped, 20);
}

TEST(LpLimits, LeaveNothingThatIsNotKnown) {
  for (unsigned seed = 0; seed < 80; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const VakScopedEnv scoped;
    RandomModel random(scoped.env, seed);
    random.makeLp();
    const VakSolver full(random.model);
    if (full.solve() != VakStatus::Optimal) continue;
    for (const VakInt iterations : {0, 1, 2, 4}) {
      scoped.env.setIntProperty("solver.iterationLimit", iterations);
      for (const VakInt presolve : {0, 1}) {
        scoped.env.setIntProperty("solver.presolve", presolve);
        const VakSolver limited(random.model);
        const VakStatus status = limited.solve();
        ASSERT_TRUE(status == VakStatus::Optimal || status == VakStatus::IterationLimit)
            << VakGetStatusName(status);
        ASSERT_NO_FATAL_FAILURE(expectEnclosed(limited, full.getObjectiveValue()));
        ASSERT_EQ(limited.hasDuals(), status == VakStatus::Optimal);
      }
    }
  }
}

/// Models on which the simplex method goes in circles if it is careless.
TEST(DegenerateLps, ComeToAnEnd) {
  const VakScopedEnv scoped;
  const VakEnv env = scoped.env;
  const VakNumVar x(env);
  const VakNumVar y(env);
  const VakNumVar z(env);
  const VakNumVar w(env);
  const VakModel beale(env);
  beale.minimize(-0.75 * x + 150 * y - 0.02 * z + 6 * w);
  beale.add(0.25 * x - 60 * y - 0.04 * z + 9 * w <= 0);
  beale.add(0.5 * x - 90 * y - 0.02 * z + 3 * w <= 0);
  beale.add(z <= 1);
  for (const char* algorithm : {"auto", "primal", "dual"}) {
    env.setStringProperty("solver.algorithm", algorithm);
    for (const VakInt presolve : {0, 1}) {
      env.setIntProperty("solver.presolve", presolve);
      const VakSolver solver(beale);
      ASSERT_EQ(solver.solve(), VakStatus::Optimal);
      EXPECT_NEAR(solver.getObjectiveValue(), -0.05, Near);
    }
  }
}

TEST(EqualityKnapsacks, AreInfeasibleOrSolved) {
  const VakScopedEnv scoped;
  const VakEnv env = scoped.env;
  const VakModel model(env);
  const VakNumVar x(env, 0, 40, VakVarKind::Integer);
  const VakNumVar y(env, 0, 40, VakVarKind::Integer);
  const VakNumVar z(env, 0, 40, VakVarKind::Integer);
  const VakConstraint c(env, 6 * x + 10 * y + 14 * z == 101);
  model.add(c);
  model.maximize(x + y + z);
  const VakSolver solver(model);
  EXPECT_EQ(solver.solve(), VakStatus::Infeasible);
  EXPECT_EQ(solver.getBestBound(), -Infinity);
  c.setBounds(100, 100);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  EXPECT_EQ(solver.getObjectiveValue(), 16);
  EXPECT_EQ(solver.getLoadCount(), 1);
}

TEST(FreeIntegers, AreSolved) {
  const VakScopedEnv scoped;
  const VakEnv env = scoped.env;
  const VakModel model(env);
  const VakNumVar x(env, -Infinity, Infinity, VakVarKind::Integer);
  const VakNumVar y(env, -Infinity, Infinity, VakVarKind::Integer);
  model.add(3 * x + 7 * y >= 2.5);
  model.add(5 * x - 2 * y >= -11.5);
  model.minimize(4 * x + 5 * y);
  const VakSolver solver(model);
  ASSERT_EQ(solver.solve(), VakStatus::Optimal);
  VakNum best = Infinity;
  for (int a = -50; a <= 50; ++a) {
    for (int b = -50; b <= 50; ++b) {
      if (3 * a + 7 * b >= 2.5 && 5 * a - 2 * b >= -11.5) best = std::min(best, 4.0 * a + 5.0 * b);
    }
  }
  EXPECT_NEAR(solver.getObjectiveValue(), best, Near);
}

TEST(NumbersOfManySizes, AreSolved) {
  const VakScopedEnv scoped;
  const VakEnv env = scoped.env;
  for (const VakNum size : {1e-5, 1e-3, 1.0, 1e3, 1e7}) {
    const VakModel model(env);
    const VakNumVar x(env);
    const VakNumVar y(env, 0, 10, VakVarKind::Integer);
    model.add(size * x + 2 * size * y <= 7 * size);
    model.maximize(size * x + 3 * size * y);
    const VakSolver solver(model);
    ASSERT_EQ(solver.solve(), VakStatus::Optimal) << size;
    EXPECT_NEAR(solver.getObjectiveValue(), 10 * size, 1e-6 * size) << size;
    EXPECT_EQ(solver.getValue(y), 3) << size;
  }
}

}  // namespace

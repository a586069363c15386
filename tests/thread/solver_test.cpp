// Solvers of different environments in different threads.

#include "vaksolver/solver.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

#include "tests/support/scoped_env.h"
#include "vakmodel/modelling.h"

namespace {

/// Solves a knapsack again and again, with a capacity that moves; the sum of the optima.
VakNum solveMany() {
  const VakScopedEnv scoped;
  const VakModel model(scoped.env);
  const VakNum values[] = {10, 13, 7, 8, 9, 4};
  const VakNum weights[] = {3, 4, 2, 3, 5, 1};
  std::array<VakBoolVar, 6> items;
  for (VakBoolVar& item : items) item = VakBoolVar(scoped.env);
  const VakConstraint capacity = model.add(VakScalProd(weights, items) <= 7);
  model.maximize(VakScalProd(values, items));
  const VakSolver solver(model);
  VakNum sum = 0;
  for (int i = 0; i < 20; ++i) {
    capacity.setUB(1 + i % 15);
    if (solver.solve() != VakStatus::Optimal) return -1;
    sum += solver.getObjectiveValue();
  }
  return sum;
}

TEST(SolverThreads, SolveEachItsOwnModel) {
  const VakNum expected = solveMany();
  ASSERT_GT(expected, 0);
  constexpr int Threads = 4;
  std::vector<VakNum> sums(Threads);
  std::vector<std::thread> threads;
  for (int t = 0; t < Threads; ++t) {
    threads.emplace_back([&sums, t] { sums[static_cast<std::size_t>(t)] = solveMany(); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const VakNum sum : sums) EXPECT_NEAR(sum, expected, 1e-6);
}

}  // namespace

// Cutting stock by column generation: two models that feed each other.
//
// Rolls of paper, 100 inches wide, are cut into the widths that were ordered. The master model has
// a column for each pattern of cutting a roll and uses as few rolls as it can. There are too many
// patterns to list, so each is made when it is wanted: the dual values of the master price the
// widths, and a second model, a knapsack, looks for the pattern that is worth most at these prices.
// A pattern that is worth more than a roll becomes a column of the master. When there is none, the
// master is optimal, and its patterns are used whole.

#include <cmath>
#include <iostream>
#include <vector>

#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

constexpr int Roll = 100;
constexpr int Widths[] = {45, 36, 31, 14};
constexpr int Orders[] = {97, 610, 395, 211};
constexpr std::size_t Count = std::size(Widths);
constexpr double Tolerance = 1e-6;

/// The master: as few rolls as possible, of patterns that are added one by one.
struct Master {
  VakModel model;
  std::vector<VakConstraint> orders;
  std::vector<VakNumVar> patterns;

  explicit Master(VakEnv env) : model(env, "rolls") {
    for (const int order : Orders) {
      orders.emplace_back(env, order, VakGetInfinity());
      // Before the first pattern comes there is nothing to cut.
      orders.back().setKeptWhenEmpty(true);
      model.add(orders.back());
    }
    model.minimize({});
    // To begin with, rolls from which a single width is cut.
    for (std::size_t i = 0; i < Count; ++i) {
      std::vector<double> pattern(Count, 0);
      pattern[i] = Roll / Widths[i];
      add(pattern);
    }
  }

  void add(const std::vector<double>& pattern) {
    patterns.push_back(model.addColumn(0, VakGetInfinity(), 1, orders, pattern));
  }
};

/// The knapsack: the pattern that is worth most.
struct Pricing {
  VakModel model;
  VakNumVarArray pieces;

  explicit Pricing(VakEnv env)
      : model(env, "pattern"), pieces(env, Count, 0, VakGetInfinity(), VakVarKind::Integer) {
    model.add(VakScalProd(Widths, pieces) <= Roll, "width");
    model.maximize(VakSum(pieces));
  }
};

void cut(VakEnv env) {
  Master master(env);
  Pricing pricing(env);
  const VakSolver rolls(master.model);
  const VakSolver patterns(pricing.model);

  for (;;) {
    rolls.solve();
    std::vector<double> prices;
    for (const VakConstraint order : master.orders) prices.push_back(rolls.getDual(order));
    pricing.model.getObjective().setExpr(VakScalProd(prices, pricing.pieces));
    patterns.solve();
    if (patterns.getObjectiveValue() <= 1 + Tolerance) break;
    std::vector<double> pattern;
    for (const VakNumVar piece : pricing.pieces) pattern.push_back(patterns.getValue(piece));
    master.add(pattern);
  }
  std::cout << "Cut in parts, " << rolls.getObjectiveValue() << " rolls are needed\n";

  VakSetKind(master.patterns, VakVarKind::Integer);
  rolls.solve();
  std::cout << "Cut as whole rolls, " << rolls.getObjectiveValue() << " are\n";
  for (std::size_t i = 0; i < Count; ++i) {
    const bool isEnough = rolls.getActivity(master.orders[i]) >= Orders[i] - Tolerance;
    std::cout << Orders[i] << " pieces of " << Widths[i]
              << " inches: " << (isEnough ? "cut" : "missing") << '\n';
  }
  std::cout << "Both problems were loaded once: " << std::boolalpha
            << (rolls.getLoadCount() == 1 && patterns.getLoadCount() == 1) << '\n';
}

}  // namespace

int main() {
  try {
    VakEnv env;
    cut(env);
    env.end();
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}

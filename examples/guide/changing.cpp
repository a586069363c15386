// Changing and re-solving a model: every change reaches the solver, which goes on from where it
// was.

#include <array>
#include <iostream>

#include "vakmodel/modelling.h"
#include "vaksolver/options.h"
#include "vaksolver/solver.h"

namespace {

void change(VakEnv env) {
  VakModel model(env, "blend");
  VakNumVarArray x(env, 3, 0, 10);
  VakConstraint demand = model.add(x[0] + x[1] + x[2] >= 12, "demand");
  VakObjective cost = model.minimize(2 * x[0] + 3 * x[1] + 5 * x[2]);
  VakSolver solver(model);
  solver.solve();
  std::cout << "at first " << solver.getObjectiveValue() << '\n';

  x[0].setUB(6);           // a bound
  demand.setBounds(9, 9);  // a right-hand side
  cost.setCoef(x[1], 4);   // a coefficient
  std::cout << solver.getStatus() << '\n';
  solver.solve();
  std::cout << "changed " << solver.getObjectiveValue() << '\n';

  VakSetBounds(std::to_array<VakNumVar>({x[0], x[1], x[2]}), 0, 4);  // many in one change
  const VakConstraint rows[] = {demand};
  const VakNum coefs[] = {1};
  VakNumVar w = model.addColumn(0, 2, 1, rows, coefs);  // a new variable in old constraints
  VakConstraint extra = model.add(x[0] - x[1] >= 1);    // a new constraint
  solver.solve();
  std::cout << "extended " << solver.getObjectiveValue() << ", w = " << solver.getValue(w) << '\n';

  model.remove(extra);  // it lives on and can be added again
  solver.solve();
  std::cout << "without the row " << solver.getObjectiveValue() << '\n';
  std::cout << "loaded " << solver.getLoadCount() << " time, warm starts "
            << solver.getWarmStartCount() << '\n';
}

void refused(VakEnv env) {
  VakModel model(env);
  VakNumVar x(env, 0, 1, "x");
  model.add(x >= 0.5);
  VakSolver solver(model);
  try {
    x.setUB(1e25);
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    std::cout << refusal.getMessage() << " The bound is still " << x.getUB() << ".\n";
    refusal.end();
  }
}

void options(VakEnv env) {
  env.setNumProperty("solver.timeLimit", 60);
  env.setNumProperty("solver.gap", 0.01);
  try {
    env.setNumProperty("solver.timelimit", 60);  // misspelt
    VakModel model(env);
    VakSolver(model).solve();
  } catch (const VakSolverOptionError& failure) {
    std::cout << failure.what() << '\n';
  }
}

}  // namespace

int main() {
  VakEnvOwner env;
  change(env);
  refused(env);
  options(env);
}

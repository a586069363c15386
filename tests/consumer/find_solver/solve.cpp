// What an application does with the solver: a model, solved, changed and solved again.

#include <cmath>
#include <iostream>

#include "vakenv/environment.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

bool isClose(VakNum a, VakNum b) { return std::abs(a - b) < 1e-6; }

int solveTwice(VakEnv env) {
  VakModel model(env);
  VakNumVar x(env, 0, 40, "x");
  VakNumVar y(env, 0, 40, "y");
  model.add(x + 2 * y <= 14);
  model.add(3 * x - y >= 0);
  model.add(x - y <= 2);
  model.maximize(3 * x + 4 * y);
  VakSolver solver(model);
  if (solver.solve() != VakStatus::Optimal || !isClose(solver.getObjectiveValue(), 34)) return 1;
  x.setUB(4);
  if (solver.solve() != VakStatus::Optimal || !isClose(solver.getObjectiveValue(), 32)) return 1;
  std::cout << "x = " << solver.getValue(x) << ", y = " << solver.getValue(y) << '\n';
  return 0;
}

}  // namespace

int main() {
  try {
    VakEnv env;
    const int result = solveTwice(env);
    env.end();
    return result;
  } catch (const VakException& failure) {
    failure.print(std::cerr);
    return 2;
  }
}

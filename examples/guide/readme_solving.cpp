// The README's piece on solving, with a file to read: it writes the model that it reads.

#include <iostream>

#include "vakmodel/modelling.h"
#include "vaksolver/files.h"
#include "vaksolver/solver.h"

namespace {

void write(VakEnv env) {
  VakModel model(env, "plan");
  VakNumVar x(env, 0, 40, "x");
  model.add(x <= 9, "capacity");
  model.maximize(2 * x);
  VakWriteModel(model, "plan.mps");
}

void solve(VakEnv env) {
  VakModel model = VakReadModel(env, "plan.mps");
  VakSolver solver(model);
  env.setNumProperty("solver.timeLimit", 60);
  if (solver.solve() == VakStatus::Optimal) std::cout << solver.getObjectiveValue() << '\n';
  VakNameMap(model).findVariable("x").setUB(4);
  solver.solve();  // goes on from the last basis and the last solution
  std::cout << solver.getObjectiveValue() << '\n';
}

}  // namespace

int main() {
  VakEnvOwner env;
  write(env);
  solve(env);
}

// The three calls that docs/architecture.md follows through the modules.

#include <iostream>

#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

void follow(VakEnv env) {
  VakNumVar x(env, 0, 40, "x");
  VakModel model(env);
  model.maximize(2 * x);
  {
    VakSolver solver(model);
    solver.solve();
    x.setUB(12);
    solver.solve();
    std::cout << solver.getObjectiveValue() << '\n';
  }
  env.end();
}

}  // namespace

int main() { follow(VakEnv()); }

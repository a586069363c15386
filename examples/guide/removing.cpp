// Removing and cloning: out of a model, out of everything, gone; and copies of models.

#include <array>
#include <iostream>

#include "vakmodel/copy.h"
#include "vakmodel/modelling.h"
#include "vakmodel/ref.h"

namespace {

void remove(VakEnv env) {
  VakModel model(env);
  VakNumVar x(env, "x");
  VakNumVar y(env, "y");
  VakNumVar z(env, "z");
  VakConstraint both = model.add(x + y <= 4, "both");
  VakConstraint only = model.add(2 * x <= 6, "only");

  model.remove(both);  // out of this model; it lives
  model.add(both);
  y.removeFromAll();  // out of everything in the environment; it lives
  std::cout << both << '\n';

  VakRef<VakConstraint> ref = only;
  both.addTerm(z, 1);
  x.end();  // gone, and with it what it leaves without variables
  std::cout << both << '\n' << ref << '\n';

  VakEndAll(std::to_array<VakNumVar>({y, z}));  // many in one go
  std::cout << model.getConstraintCount() << " constraints are left\n";
}

void copy(VakEnv env) {
  VakModel model(env, "plan");
  VakNumVar x(env, 0, 4, "x");
  VakNumVar y(env, 0, 5, "y");
  model.maximize(x + y);

  VakEnvOwner other;
  VakCopier copier(other);
  VakModel there = copier.copy(model);
  copier.getCopy(x).setUB(9);
  std::cout << there << '\n' << "the original: " << x.getUB() << '\n';
}

void substitute(VakEnv env) {
  VakModel model(env, "plan");
  VakNumVar x(env, 0, 4, "x");
  VakNumVar y(env, 0, 5, "y");
  model.maximize(x + y);

  VakCopier copier(env);
  copier.substitute(x, x);  // the copy shares x with the original
  VakModel twin = copier.copy(model);
  std::cout << std::boolalpha << twin.contains(x) << ' ' << twin.contains(y) << '\n';
}

}  // namespace

int main() {
  VakEnvOwner env;
  remove(env);
  copy(env);
  substitute(env);
}

// Errors: what is thrown, how it is caught, and what is left.

#include <iostream>
#include <limits>

#include "vakmodel/modelling.h"
#include "vakmodel/ref.h"
#include "vaksolver/files.h"

namespace {

void wrongUse(VakEnv env) {
  VakNumVar x(env, 0, 4, "x");
  try {
    x.setUB(std::numeric_limits<double>::quiet_NaN());
  } catch (const VakModelError& failure) {
    std::cout << failure.what() << '\n' << failure.getObject() << '\n';
  }
  std::cout << x.getUB() << '\n';  // nothing has changed
}

void wrongFile(VakEnv env) {
  try {
    static_cast<void>(VakReadModel(env, "no_such_plan.mps"));
  } catch (const VakFileError& failure) {
    std::cout << failure.what() << '\n';
  }
}

void goneObject(VakEnv env) {
  VakNumVar x(env, "x");
  VakRef<VakNumVar> ref = x;
  x.end();
  try {
    ref.checked().setUB(1);
  } catch (const VakRefError& failure) {
    std::cout << failure.getState() << '\n';
  }
}

}  // namespace

int main() {
  VakEnvOwner env;
  wrongUse(env);
  wrongFile(env);
  goneObject(env);
}

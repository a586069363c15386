// What an application does with the library: an environment, a model, arrays and properties, the
// public way. Ends with 0 when all of it came out right, and says what it did.

#include <iostream>

#include "vakenv/arrays.h"
#include "vakenv/environment.h"
#include "vakenv/plugins.h"
#include "vakenv/properties.h"
#include "vakenv/utilities.h"
#include "vakmodel/modelling.h"

namespace {

int plan(VakEnv env) {
  VakModel model(env, "plan");
  VakNumVar x(env, 0, 40, "x");
  VakIntVar y(env, 0, 10, "y");
  VakConstraint capacity = model.add(x + 2 * y <= 14, "capacity");
  model.maximize(3 * x + 4 * y);
  x.setUB(4);
  capacity.setCoef(y, 3);
  x.setNumProperty("cost", 2.5);

  VakNumArray profits(env, 2, 3.0, 4.0);
  VakNum total = 0;
  for (const VakNum profit : profits) total += profit;
  profits.end();

  std::cout << env.getVersion() << '\n' << model;
  const bool isRight = total == 7 && x.getUB() == 4 && capacity.getCoef(y) == 3 &&
                       model.getVariableCount() == 2 && x.getProperty<VakNum>("cost") == 2.5;
  model.end();
  return isRight ? 0 : 1;
}

}  // namespace

int main() {
  try {
    VakEnv env;
    const int result = plan(env);
    env.end();
    return result;
  } catch (const VakException& failure) {
    failure.print(std::cerr);
    return 2;
  }
}

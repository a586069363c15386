// Debugging: proving that everything is sound, and seeing what is there.

#include <iostream>

#include "vakenv/inspect/memory_report.h"
#include "vakmodel/check.h"
#include "vakmodel/dump.h"
#include "vakmodel/modelling.h"

int main() {
  VakEnvOwner env;
  VakModel model(env, "plan");
  VakNumVar x(env, 0, 40, "x");
  VakIntVar n(env, 0, 3, "n");
  VakConstraint capacity = model.add(x + 2 * n <= 14, "capacity");
  model.maximize(3 * x + 4 * n);

  std::cout << x << ' ' << capacity << '\n';
  VakDumpModel(std::cout, model);

  const std::string broken = VakCheckModels(env);
  std::cout << (broken.empty() ? "sound\n" : broken);

  const VakMemoryReport report(env);
  std::cerr << report;  // a table, too long to show here
}

// A production plan, written as on paper, solved, changed and solved again.
//
// A workshop makes tables, chairs and shelves from wood and hours of work. It wants the greatest
// profit, then looks at what another price, more wood and a new product would do. Each change goes
// to the solved problem; nothing is built anew.

#include <array>
#include <iostream>

#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

void print(const VakSolver& solver, const char* what) {
  std::cout << what << ": profit " << solver.getObjectiveValue() << " with";
  for (const VakNumVar x : solver.getModel().variables()) {
    std::cout << ' ' << x.getName() << ' ' << solver.getValue(x);
  }
  std::cout << '\n';
}

void plan(VakEnv env) {
  VakModel model(env, "workshop");
  const VakNumVar tables(env, "tables");
  const VakNumVar chairs(env, 0, 40, "chairs");
  const VakNumVar shelves(env, "shelves");

  const VakConstraint wood = model.add(8 * tables + 2 * chairs + 4 * shelves <= 160, "wood");
  const VakConstraint work = model.add(4 * tables + 3 * chairs + 1 * shelves <= 120, "work");
  model.add(chairs >= 2 * tables, "chairs for each table");
  const VakObjective profit = model.maximize(70 * tables + 30 * chairs + 25 * shelves);
  std::cout << model << '\n';

  const VakSolver solver(model);
  solver.solve();
  print(solver, "At first");
  std::cout << "One more unit of wood is worth " << solver.getDual(wood) << ", one more hour "
            << solver.getDual(work) << '\n';

  wood.setUB(200);
  solver.solve();
  print(solver, "With more wood");

  profit.setCoef(shelves, 40);
  solver.solve();
  print(solver, "With dearer shelves");

  const VakConstraint rows[] = {wood, work};
  const VakNum coefs[] = {6, 2};
  const VakNumVar beds = model.addColumn(0, 10, 80, rows, coefs);
  beds.setName("beds");
  solver.solve();
  print(solver, "With beds");

  VakSetKind(std::to_array<VakNumVar>({tables, chairs, shelves, beds}), VakVarKind::Integer);
  shelves.setUB(18);
  solver.solve();
  print(solver, "In whole pieces, with few shelves");

  std::cout << "The problem was loaded " << solver.getLoadCount() << " time\n";
}

}  // namespace

int main() {
  try {
    VakEnv env;
    plan(env);
    env.end();
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}

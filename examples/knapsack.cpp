// A knapsack: binary variables, one constraint, and how the answer changes with what can be
// carried.
//
// The right-hand side is the only thing that changes, so each solve begins with what the last one
// knew.

#include <iostream>

#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

struct Item {
  const char* name;
  int weight;
  int value;
};

constexpr Item Items[] = {
    {"map", 9, 150},     {"compass", 13, 35}, {"water", 153, 200},   {"sandwich", 50, 160},
    {"glucose", 15, 60}, {"tin", 68, 45},     {"banana", 27, 60},    {"cheese", 23, 30},
    {"beer", 52, 10},    {"cream", 11, 70},   {"sunglasses", 7, 20}, {"towel", 18, 12},
};

void pack(VakEnv env) {
  VakModel model(env, "knapsack");
  VakNumVarArray take(env, std::size(Items), 0, 1, VakVarKind::Boolean);
  VakExpr weight;
  VakExpr value;
  for (VakInt i = 0; i < take.getSize(); ++i) {
    const Item& item = Items[i];
    take[i].setName(item.name);
    weight += item.weight * take[i];
    value += item.value * take[i];
  }
  const VakConstraint capacity = model.add(weight <= 0, "capacity");
  model.maximize(value);

  const VakSolver solver(model);
  for (const int most : {50, 100, 150, 300}) {
    capacity.setUB(most);
    solver.solve();
    std::cout << "Of " << most << " carried " << solver.getValue(weight) << ", worth "
              << solver.getObjectiveValue() << ':';
    for (const VakNumVar x : take) {
      if (solver.getValue(x) > 0.5) std::cout << ' ' << x.getName();
    }
    std::cout << '\n';
  }
}

}  // namespace

int main() {
  try {
    VakEnv env;
    pack(env);
    env.end();
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}

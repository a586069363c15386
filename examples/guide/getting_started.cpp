// The program of the guide's first page: a model is built, solved, changed and solved again.

#include <iostream>

#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

int main() {
  try {
    VakEnvOwner env;

    VakModel model(env, "bakery");
    VakNumVar bread(env, 0, 40, "bread");
    VakNumVar cake(env, "cake");
    VakConstraint flour = model.add(bread + 2 * cake <= 60, "flour");
    VakConstraint oven = model.add(3 * bread + 2 * cake <= 120, "oven");
    model.maximize(3 * bread + 4 * cake);
    std::cout << model << '\n';

    VakSolver solver(model);
    VakStatus status = solver.solve();
    std::cout << status << ": " << solver.getObjectiveValue() << '\n';
    std::cout << "bread " << solver.getValue(bread) << ", cake " << solver.getValue(cake) << '\n';
    std::cout << "one more unit of flour is worth " << solver.getDual(flour) << '\n';

    flour.setUB(80);
    solver.solve();
    std::cout << "with more flour: " << solver.getObjectiveValue() << ", of the oven's 120 hours "
              << solver.getActivity(oven) << " are used\n";
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}

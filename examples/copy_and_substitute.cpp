// Copies of a model: inside an environment, into another one, with variables that become others.
//
// A model of one week is copied to make a second week that goes on where the first one ends: where
// the copy would have a stock of its own at the beginning, it takes the first week's stock at the
// end.

#include <iostream>

#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

/// A week: what is made and what is left over meets the demand.
struct Week {
  VakNumVar before;  ///< The stock at the beginning.
  VakNumVar made;
  VakNumVar after;  ///< The stock at the end.
  VakConstraint balance;
  VakModel model;
};

Week makeWeek(VakEnv env) {
  Week week;
  week.model = VakModel(env, "week");
  week.before = VakNumVar(env, 0, 0, "stock before");
  week.made = VakNumVar(env, 0, 100, "made");
  week.after = VakNumVar(env, 0, 50, "stock after");
  week.balance = week.model.add(week.before + week.made - week.after == 80, "demand");
  week.model.minimize(2 * week.made + 0.5 * week.after);
  return week;
}

void plan(VakEnv env) {
  const Week first = makeWeek(env);

  // The second week: a copy in which the first week's stock takes the place of its own.
  VakCopier copier(env);
  copier.substitute(first.before, first.after);
  VakModel second = copier.copy(first.model);
  const VakNumVar made = copier.getCopy(first.made);
  const VakNumVar left = copier.getCopy(first.after);
  made.setName("made in the second week");
  left.setName("stock in the end");
  copier.getCopy(first.balance).setBounds(110, 110);
  std::cout << "The copy:\n" << second << '\n';

  // Both weeks in one model: the constraints of the copy move over.
  const VakConstraint demand = copier.getCopy(first.balance);
  second.remove(demand);
  first.model.add(demand);
  first.model.getObjective().addTerm(made, 2);
  first.model.getObjective().addTerm(left, 0.5);

  const VakSolver solver(first.model);
  solver.solve();
  std::cout << "Two weeks cost " << solver.getObjectiveValue() << ": "
            << solver.getValue(first.made) << " made in the first, " << solver.getValue(made)
            << " in the second\n";

  // A copy in an environment of its own, which may be changed without any effect here.
  VakEnv elsewhere;
  {
    VakCopier away(elsewhere);
    VakModel copy = away.copy(first.model);
    away.getCopy(made).setUB(95);
    const VakSolver other(copy);
    other.solve();
    std::cout << "Elsewhere, with at most 95 in the second week, they cost "
              << other.getObjectiveValue() << '\n';
  }
  elsewhere.end();
  std::cout << "Here they still cost " << solver.getObjectiveValue() << '\n';
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

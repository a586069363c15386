// An algorithm of one's own that is attached to the environment: a log of all changes of a model.
//
// The environment tells attached algorithms of every change. This one writes down what it is told;
// then it refuses that an upper bound falls below a limit, and the model takes the change back.

#include <array>
#include <iostream>

#include "vakmodel/changes.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/modelling.h"
#include "vakmodel/variable_impl.h"

namespace {

/// Writes each change on a line. Ended by its owner or with the environment.
class Logger final : public VakAlgorithmI {
 public:
  explicit Logger(VakEnvI* env) : VakAlgorithmI(env) { attach(); }

  void change(const VakChange& change, const VakExtractableI* /*extractable*/) override {
    this->change(change);
  }

  void change(const VakChange& change) override {
    std::cout << "  " << change.getRttiTypeName() << ':';
    // A kind is asked for by its type; each says with what it deals.
    if (change.isType(VakBoundsChange::GetTypeInfo()) != 0) {
      describe(static_cast<const VakBoundsChange&>(change));
    } else if (change.isType(VakCoefsChange::GetTypeInfo()) != 0) {
      for (const VakCoefI& entry : static_cast<const VakCoefsChange&>(change).getCoefs()) {
        std::cout << ' ' << entry.coef << ' ' << entry.var->getName();
      }
    } else if (change.isType(VakRowBoundsChange::GetTypeInfo()) != 0) {
      for (VakConstraintI* row : static_cast<const VakRowBoundsChange&>(change).getConstraints()) {
        std::cout << ' ' << VakConstraint(row);
      }
    } else if (change.isType(VakMembersChange::GetTypeInfo()) != 0) {
      const VakMembersView& members = static_cast<const VakMembersChange&>(change).getMembers();
      for (VakModelVarI* variable : members.variables) std::cout << ' ' << variable->getName();
      for (VakConstraintI* row : members.constraints) std::cout << ' ' << row->getName();
      if (members.objective != nullptr) std::cout << " the objective";
    } else if (change.isType(VakDestroyExtractable::GetTypeInfo()) != 0) {
      const auto* object = static_cast<const VakDestroyExtractable&>(change).getExtractable();
      std::cout << ' ' << object->getName();
    }
    std::cout << '\n';
    refuseIfTooLow(change);
  }

  double leastBound = 0;  ///< Upper bounds below this are refused.

 private:
  static void describe(const VakBoundsChange& change) {
    for (VakModelVarI* variable : change.getVariables()) {
      const VakNumVar x(variable);
      std::cout << ' ' << x.getName() << " in [" << x.getLB() << ", " << x.getUB() << ']';
    }
  }

  void refuseIfTooLow(const VakChange& change) {
    if (change.isType(VakBoundsChange::GetTypeInfo()) == 0) return;
    for (VakModelVarI* variable : static_cast<const VakBoundsChange&>(change).getVariables()) {
      if (VakNumVar(variable).getUB() >= leastBound) continue;
      const VakExtractableArray refused{VakEnv(_env)};
      refused.add(variable);
      throw VakAlgorithm::CannotChangeException(VakAlgorithm(this), refused);
    }
  }
};

void change(VakEnv env, Logger* logger) {
  VakModel model(env, "m");
  VakNumVar x(env, 0, 40, "x");
  const VakNumVar y(env, "y");

  std::cout << "A model is built:\n";
  VakConstraint c = model.add(x + 2 * y <= 14, "c");
  model.add(x - y >= 1, "d");
  model.maximize(3 * x + 4 * y);

  std::cout << "It is changed:\n";
  x.setUB(30);
  c.setCoef(x, 5);
  c.setUB(20);
  VakSetBounds(std::to_array<VakNumVar>({x, y}), 1, 10);

  std::cout << "A change is refused:\n";
  logger->leastBound = 5;
  try {
    x.setUB(3);
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    std::cout << refusal.getMessage() << " It concerned " << refusal.getExtractables().getSize()
              << " object, and the upper bound is still " << x.getUB() << ".\n";
    refusal.end();
  }

  std::cout << "A variable is ended:\n";
  x.end();
}

}  // namespace

int main() {
  try {
    VakEnv env;
    change(env, new Logger(env.getImpl()));
    env.end();
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}

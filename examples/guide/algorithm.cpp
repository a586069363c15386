// Writing an algorithm: greedy packing, which follows changes of one kind without loading anew.

#include <algorithm>
#include <iostream>
#include <vector>

#include "vakmodel/model_algorithm.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/modelling.h"

namespace {

/// Maximises over one row with a right-hand side: takes the columns with the most value for each
/// unit of the row first. Made with `new`, ended by end() or with the environment.
class Greedy final : public VakModelAlgorithmI {
 public:
  explicit Greedy(VakEnvI* env) : VakModelAlgorithmI(env) {}

  [[nodiscard]] bool hasSolution() const override { return getStatus() == VakStatus::Optimal; }
  int loads = 0;

 protected:
  struct Item {
    int column;
    double value = 0;
    double weight = 0;
    double most = 0;
  };

  void load() override {
    ++loads;
    _items.clear();
    for (int j = 0; j < getColumnCount(); ++j) {
      _items.push_back({j, 0, 0, VakNumVar(getVariable(j)).getUB()});
    }
    forEachTerm(getModel().getObjective().getImpl(),
                [this](int column, VakNum coef) { _items[column].value = coef; });
    forEachTerm(getConstraint(0),
                [this](int column, VakNum coef) { _items[column].weight = coef; });
    _capacity = VakConstraint(getConstraint(0)).getUB();
  }

  [[nodiscard]] VakStatus run() override {
    std::vector<Item> order = _items;
    std::ranges::sort(order, std::greater(), [](const Item& i) { return i.value / i.weight; });
    double left = _capacity;
    _values.assign(_items.size(), 0);
    for (const Item& item : order) {
      if (isAborting()) return VakStatus::Aborted;
      const double taken = std::min(item.most, left / item.weight);
      _values[item.column] = taken;
      left -= taken * item.weight;
    }
    return VakStatus::Optimal;
  }

  [[nodiscard]] VakNum getColumnValue(int column) const override { return _values[column]; }

  void boundsChanged(std::span<const int> columns) override {
    for (const int column : columns) {
      const VakNumVar x(getVariable(column));
      if (x.getLB() != 0) refuse(std::to_array<VakExtractableI*>({getVariable(column)}));
      _items[column].most = x.getUB();
    }
  }

 private:
  std::vector<Item> _items;
  std::vector<double> _values;
  double _capacity = 0;
};

void pack(VakEnv env) {
  VakModel model(env);
  VakNumVar gold(env, 0, 2, "gold");
  VakNumVar silver(env, 0, 5, "silver");
  model.add(3 * gold + 2 * silver <= 10);
  model.maximize(9 * gold + 4 * silver);

  auto* greedy = new Greedy(env.getImpl());
  greedy->extract(model);
  greedy->solve();
  std::cout << "value " << greedy->getObjectiveValue() << '\n';

  gold.setUB(1);  // the hook follows
  greedy->solve();
  std::cout << "value " << greedy->getObjectiveValue() << " after " << greedy->loads << " load\n";

  model.getObjective().setCoef(silver, 5);  // no hook: loaded anew by solve
  greedy->solve();
  std::cout << "value " << greedy->getObjectiveValue() << " after " << greedy->loads << " loads\n";

  try {
    gold.setLB(1);
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    std::cout << refusal.getMessage() << " The bound is " << gold.getLB() << ".\n";
    refusal.end();
  }
}

}  // namespace

int main() {
  VakEnvOwner env;
  pack(env);
}

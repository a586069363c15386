// The program that the tests of the GDB printers look into: it makes one of everything, and stops
// in stopHere() for the debugger.

#include <cmath>
#include <vector>

#include "vakenv/arrays.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/environment.h"
#include "vakenv/plugins.h"
#include "vakenv/properties.h"
#include "vakenv/tables/hash_table.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/model_algorithm.h"
#include "vakmodel/modelling.h"
#include "vaksupport/symbol_table.h"
#ifdef VAK_WITH_SOLVER
#include "vaksolver/solver.h"
#endif

namespace {

volatile int stops = 0;

[[gnu::noinline]] void stopHere() { stops = stops + 1; }

VakInt hashInt(VakInt key, VakInt size) { return key % size; }
VakInt compareInt(VakInt a, VakInt b) { return a == b ? 1 : 0; }

/// An algorithm, so that one is attached.
class Onlooker : public VakAlgorithmI {
 public:
  using VakAlgorithmI::VakAlgorithmI;
  void change(const VakChange& /*change*/, const VakExtractableI* /*extractable*/) override {}
  void change(const VakChange& /*change*/) override {}
};

// What is printed stands in local variables, most of which nobody else looks at.
template <class... T>
void keep(const T&...) {}

void lookAtArrays(VakEnv env) {
  VakNumArray profits(env, 3, 3.0, 4.5, -1.0);
  VakIntArray counts(env, 20);
  for (VakInt i = 0; i < 20; ++i) counts[i] = i * i;
  VakBoolArray none;
  VakNumArray2 rows(env, 0);
  rows.add(profits);
  VakNumArray torn(env, 2);
  char** const data = torn.getImpl()->_data;
  torn.getImpl()->_data = reinterpret_cast<char**>(16);
  stopHere();
  torn.getImpl()->_data = data;
  keep(profits, counts, none, rows);
}

void lookAtProperties(VakEnv env) {
  VakNamedIntProperty size(env, "size", 3);
  VakNamedNumProperty gap(env, "gap", 0.5);
  VakNamedStringProperty colour(env, "colour", "dark \"red\"");
  VakNamedProperty any = size;
  VakNamedProperty empty;
  VakNamedPropertySet set(env);
  set.addProperty(size);
  set.addProperty(gap);
  set.addProperty(colour);
  stopHere();
  keep(size, gap, colour, any, empty, set);
}

void lookAtTables() {
  VakHashTable<VakInt, const char*> table(hashInt, compareInt, 4);
  table.add(1, "one");
  table.add(6, "six");
  stopHere();
  table.end();
}

void lookAtModel(VakEnv env) {
  VakNumVar x(env, 0, 40, "x");
  VakNumVar free(env, -INFINITY, INFINITY);
  VakIntVar n(env, 2, 7, "n");
  VakBoolVar open(env, "open");
  VakNumVar noVariable;
  VakModel model(env, "plan");
  VakConstraint capacity = model.add(x + 2 * n <= 14, "capacity");
  VakConstraint balance = model.add(1 <= x - n - free <= 2);
  VakObjective profit = model.maximize(3 * x + 4 * open - 1);
  VakNumExpr cost(env, 2 * x + 1, "cost");
  VakExpr expr = -x + 0.5 * n - 3;
  VakTerm term = 2 * x;
  VakRelation relation = x + n == 4;
  VakExtractable anything = capacity;
  VakNumVar usual(env, "usual");
  VakIntVar shared(env, 2, 7);
  VakExpr sum = x + 2 * n + 3 * free + 4 * open;
  x.setUB(12.5);
  std::vector<VakNumVar> several = {x, n};
  stopHere();
  keep(x, free, n, open, noVariable, model, capacity, balance, profit, cost, expr, term, relation);
  keep(anything, several, usual, shared, sum);
}

void lookAtReferences(VakEnv env) {
  VakNumVar kept(env, 0, 9, "kept");
  VakNumVar ended(env, "ended");
  VakRef<VakNumVar> alive = kept;
  VakRef<VakNumVar> gone = ended;
  VakRef<VakNumVar> nothing;
  VakRef<VakModel> orphan;
  VakEnvOwner large;  // its stamps fill more than one list of pages
  VakNumVarArray many(large, 40000, 0, 1);
  VakRef<VakNumVar> late = many[39999];
  {
    VakEnvOwner other;
    orphan = VakModel(other, "other");
  }
  ended.end();
  stopHere();
  keep(alive, gone, nothing, orphan, late);
  kept.end();
}

/// An algorithm that solves nothing, with a model.
class Idle : public VakModelAlgorithmI {
 public:
  using VakModelAlgorithmI::VakModelAlgorithmI;
  [[nodiscard]] bool hasSolution() const override { return false; }

 protected:
  void load() override {}
  [[nodiscard]] VakStatus run() override { return VakStatus::InfeasibleOrUnbounded; }
  [[nodiscard]] VakNum getColumnValue(int /*column*/) const override { return 0; }
};

void lookAtAlgorithms(VakEnv env) {
  VakModel model(env, "idle");
  VakNumVar x(env, 0, 4, "x");
  VakNumVar y(env, 0, 4);
  model.add(x + y <= 6);
  model.maximize(2 * x + y);
  auto* without = new Idle(env.getImpl());
  auto* dropped = new Idle(env.getImpl());
  dropped->extract(model);
  x.setUB(5);  // no hook: the problem is dropped
  auto* solved = new Idle(env.getImpl());
  solved->extract(model);
  solved->solve();
  VakAlgorithm idle(solved);
#ifdef VAK_WITH_SOLVER
  VakSolver solver(model);
  VakSolver fresh(model);
  solver.solve();
  VakSolver noSolver;
#endif
  stopHere();
  keep(idle);
#ifdef VAK_WITH_SOLVER
  keep(noSolver);
  fresh.end();
  solver.end();
#endif
  without->end();
  dropped->end();
  solved->end();
}

}  // namespace

int main() {
  VakEnv env;
  VakEnv noEnv(static_cast<VakEnvI*>(nullptr));
  VakMemoryManager manager = env;
  env.getImpl()->setName("workshop");
  env.getImpl()->setIntProperty("level", 2);
  VakWrongUsage failure("Used wrongly.");
  auto* onlooker = new Onlooker(env.getImpl());
  onlooker->attach();
  VakAlgorithm algorithm(onlooker);
  VakNumVar broken(reinterpret_cast<VakModelVarI*>(16));
  lookAtArrays(env);
  lookAtProperties(env);
  lookAtTables();
  lookAtModel(env);
  lookAtReferences(env);
  lookAtAlgorithms(env);
  VakSymbolI* symbol = env.getImpl()->makeSymbol("blue");
  const VakInt bytesInUse = env.getMemoryUsage();
  const VakInt bytesObtained = env.getTotalMemoryUsage();
  stopHere();
  keep(noEnv, manager, failure, algorithm, broken, bytesInUse, bytesObtained, symbol);
  env.end();
}

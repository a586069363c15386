// Several threads read what nobody changes: the promise of every class that is called read-shared.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/support/scoped_env.h"
#include "vakenv/arrays.h"
#include "vakenv/properties.h"
#include "vakmodel/modelling.h"
#include "vakmodel/ref.h"

namespace {

constexpr int Threads = 8;
constexpr int Rounds = 20;

// How many of all threads' rounds got what is expected.
template <class Read>
int countOnAllThreads(Read read) {
  std::atomic<int> right = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < Threads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < Rounds; ++round) right += read() ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  return right;
}

TEST(SharedReading, OfAModel) {
  const VakScopedEnv scope;
  const VakEnv env = scope.env;
  const VakModel model(env, "plan");
  const VakNumVarArray x(env, 50, 0, 40);
  x[7].setName("seven");
  for (VakInt i = 1; i < 50; ++i) model.add(x[i] + 2 * x[i - 1] <= 14);
  model.maximize(VakSum(x));
  const VakRef<VakNumVar> ref = x[7];

  EXPECT_EQ(countOnAllThreads([&] {
              VakNum sum = 0;
              for (const VakConstraint row : model.constraints()) {
                for (const VakTerm term : row.terms()) sum += term.coef + term.var.getUB();
              }
              return sum == 49 * (1 + 2 + 80) && model.findVariable("seven") == ref.get() &&
                     model.getTermCount() == 98 && model.contains(x[3]) &&
                     model.getObjective().getCoef(x[49]) == 1 && model.check().empty();
            }),
            Threads * Rounds);
}

TEST(SharedReading, OfPropertiesSymbolsAndArrays) {
  const VakScopedEnv scope;
  const VakEnv env = scope.env;
  env.setNumProperty("gap", 0.25);
  env.setStringProperty("colour", "red");
  VakSymbolI* symbol = env.makeSymbol("north");
  const VakNumArray values(env, 1000);
  for (VakInt i = 0; i < 1000; ++i) values[i] = 1;

  EXPECT_EQ(countOnAllThreads([&] {
              VakNum sum = 0;
              for (const VakNum value : values) sum += value;
              return sum == 1000 && env.getProperty<VakNum>("gap") == 0.25 &&
                     env.getProperties().all().begin() != env.getProperties().all().end() &&
                     env.getSymbol("north") == symbol && env.getMemoryUsage() > 0;
            }),
            Threads * Rounds);
}

}  // namespace

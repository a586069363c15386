// Several threads that make and change models of their own in one environment, which they share.

#include <gtest/gtest.h>

#include <latch>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "vakenv/environment.h"
#include "vakenv/inspect/memory_report.h"
#include "vakmodel/modelling.h"

namespace {

constexpr int Threads = 4;
constexpr int Rounds = 30;

// What one thread does to a model of its own: everything but ending and copying.
void changeModel(VakModel model, VakNumVar x, VakNumVar y) {
  const VakConstraint c = model.add(x + y <= 4, "c");
  const VakConstraint d = model.add(1 <= 2 * x + 3 * y <= 9);
  const std::vector<VakConstraint> rows = {c, d};
  model.maximize(x + 2 * y);
  model.addColumn(0, 1, 2, rows, std::vector<VakNum>{1, 2});
  x.setBounds(1, 2);
  y.setKind(VakVarKind::Integer);
  c.setCoef(x, 4);
  c.setCoef(y, 0);
  d.setUB(8);
  model.minimize(y);
  x.setName("another name, which is longer");
  x.setIntProperty("weight", 3);
  model.remove(y);
  model.remove(d);
  model.add(d);
}

TEST(ModelsOfThreads, AreMadeAndChangedSideBySideAndReportedAfterwards) {
  const VakInstalledMutex mutex;
  const VakEnvOwner env;
  env.makeSymbol("weight");
  std::vector<std::vector<VakModel>> models(Threads);
  {
    const VakThreadSafeScope threadSafe(env);
    std::latch ready(Threads);
    std::vector<std::thread> threads;
    for (std::vector<VakModel>& mine : models) {
      threads.emplace_back([&] {
        ready.arrive_and_wait();
        for (int round = 0; round < Rounds; ++round) {
          const VakNumVar x(env, 0, 5 + round, "x");
          const VakNumVar y(env, 0, 1);
          mine.emplace_back(env, "m");
          changeModel(mine.back(), x, y);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(VakCheckModels(env), "");
  std::map<std::string, VakInt> counts;
  for (const VakMemoryReport::Type& type : VakMemoryReport(env).types) {
    counts[type.name] = type.count;
  }
  constexpr VakInt made = Threads * Rounds;
  EXPECT_EQ(counts, (std::map<std::string, VakInt>{{"VakConstraintI", 2 * made},
                                                   {"VakModelI", made},
                                                   {"VakModelVarI", 3 * made},
                                                   {"VakObjectiveI", made}}));
  for (std::vector<VakModel>& mine : models) {
    for (VakModel& model : mine) {
      EXPECT_EQ(model.getVariableCount(), 2) << "x and the column";
      model.end();
    }
  }
  EXPECT_EQ(VakMemoryReport(env).terms.live, 0);
  EXPECT_EQ(VakCheckModels(env), "");
}

}  // namespace

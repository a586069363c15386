// Memory and threads: where memory comes from, who gives it back, and several threads at work.

#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "vakenv/inspect/memory_report.h"
#include "vakenv/memory/memory_resource.h"
#include "vakenv/memory/std_allocator.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

void takeAndGiveBack(VakEnv env) {
  VakGenAlloc* memory = env.getMemoryManager().getImpl();
  void* block = memory->alloc(1000);
  memory->free(block, 1000);  // the size is given again: blocks have no header
}

void containers(VakEnv env) {
  VakVector<double> costs(env);
  costs.assign(100, 2.5);
  VakMemoryResource resource(env);
  std::pmr::vector<int> years({2024, 2025, 2026}, &resource);
  std::cout << costs.size() << " costs, " << years.size() << " years\n";
}

void report(VakEnv env) {
  const VakMemoryReport before(env);
  VakNumVarArray x(env, 1000, 0, 1);
  const VakMemoryReport made = VakMemoryReport(env) - before;
  std::cout << made.types.size() << " type of objects was added\n";
}

double solveOne(int size) {
  VakEnvOwner env;
  VakModel model(env);
  VakNumVarArray x(env, size, 0, 1);
  model.add(VakSum(x) <= size / 2);
  model.maximize(VakSum(x));
  VakSolver solver(model);
  solver.solve();
  return solver.getObjectiveValue();
}

void environmentForEachThread() {
  std::vector<double> results(4);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&results, i] { results[i] = solveOne(10 * (i + 1)); });
  }
  for (std::thread& thread : threads) thread.join();
  for (double result : results) std::cout << result << ' ';
  std::cout << '\n';
}

void environmentForAllThreads() {
  VakInstalledMutex mutex;  // before the environment, which copies the pointer
  VakEnvOwner env;
  std::vector<std::vector<VakNumVar>> made(4);
  {
    VakThreadSafeScope threadSafe(env);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&made, &env, i] {
        for (int k = 0; k < 25; ++k) made[i].emplace_back(env, 0, 1);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  VakModel model(env);  // one thread again
  for (const std::vector<VakNumVar>& part : made) model.add(part);
  std::cout << model.getVariableCount() << " variables\n";
}

}  // namespace

int main() {
  {
    VakEnvOwner env;
    takeAndGiveBack(env);
    containers(env);
    report(env);
  }
  environmentForEachThread();
  environmentForAllThreads();
}

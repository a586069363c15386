// Works for many rounds with eight threads, in environments of their own and in one that all share,
// and holds that nothing grows: after each round exactly as much memory is in use as after the
// first.
//
//   vak_soak [ROUNDS]      20 by default; ends with 1 when anything is left over
//
// In environments of their own the threads build models, change them, take objects out, solve them
// and end everything. In the shared one, where allocation is thread safe and nothing else, they
// make, change and delete models and arrays, each thread its own; solving, removing and ending is
// done by the main thread when they are through.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/deep_check.h"
#include "tests/support/failing_new.h"
#include "vakbase/slab_cache.h"
#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/properties.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/modelling.h"
#include "vakmodel/variable_impl.h"
#ifdef VAK_WITH_SOLVER
#include "vaksolver/solver.h"
#endif

namespace {

constexpr int Threads = 8;
constexpr VakInt Items = 40;  // Variables of a model.

void require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

void requireSound(VakEnv env) {
  const std::string defect = VakDeepCheck(env.getImpl());
  if (!defect.empty()) throw std::runtime_error(defect);
}

// Runs `work` with the numbers of all threads at once. The first exception passes on.
template <class Work>
void runThreads(Work work) {
  std::vector<std::exception_ptr> failures(Threads);
  std::vector<std::thread> threads;
  for (int number = 0; number < Threads; ++number) {
    threads.emplace_back([number, &work, &failures] {
      try {
        work(number);
      } catch (...) {
        failures[static_cast<std::size_t>(number)] = std::current_exception();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
}

// A knapsack of `Items` variables, some of them whole.
struct Knapsack {
  Knapsack(VakEnv env, int seed) : m(env, "knapsack"), x(env, Items, 0, 3) {
    VakExpr weight;
    VakExpr worth;
    for (VakInt i = 0; i < Items; ++i) {
      if (i % 4 == 0) x[i].setKind(VakVarKind::Integer);
      x[i].setName(("item " + std::to_string(i)).c_str());
      weight += static_cast<VakNum>(1 + (i * 7 + seed) % 5) * x[i];
      worth += static_cast<VakNum>(1 + (i * 3 + seed) % 7) * x[i];
    }
    limit = m.add(weight <= 50, "limit");
    m.maximize(worth);
  }

  VakModel m;
  VakNumVarArray x;
  VakConstraint limit;
};

void change(const Knapsack& k) {
  for (VakInt i = 0; i < Items; i += 3) k.x[i].setBounds(0, 2);
  k.limit.setUB(40);
  k.limit.setCoef(k.x[1], 9);
  k.m.add(k.x[0] + k.x[1] <= 4, "pair");
  k.x[2].setNumProperty("weight", 2.5);
}

void solve(const Knapsack& k) {
#ifdef VAK_WITH_SOLVER
  VakSolver solver(k.m);
  require(solver.solve() == VakStatus::Optimal, "a knapsack was not solved");
  k.limit.setUB(30);
  require(solver.solve() == VakStatus::Optimal, "a knapsack was not solved again");
  solver.end();
#else
  static_cast<void>(k);
#endif
}

// Everything, in an environment of the thread's own.
void workAlone(int number) {
  VakEnv env;
  const VakInt base = env.getMemoryUsage();
  Knapsack k(env, number);
  change(k);
  solve(k);
  {
    VakCopier copier(env);
    VakModel copy = copier.copy(k.m);
    VakEndAll(copy.variables());
    copy.end();
  }
  k.x[3].removeFromAll();
  requireSound(env);
  VakEndAll(k.x);
  k.x.end();
  k.m.end();
  requireSound(env);
  require(env.getMemoryUsage() >= base, "usage fell below its base");
  env.end();
}

// What may be done in the shared environment while other threads do the same.
void workShared(VakEnv env, int number) {
  for (int repeat = 0; repeat < 5; ++repeat) {
    Knapsack k(env, number);
    change(k);
    VakNumArray numbers(env, 100);
    for (VakInt i = 0; i < 200; ++i) numbers.add(static_cast<VakNum>(i));
    VakNamedStringProperty text(env, nullptr, "a text of the thread");
    require(numbers.getSize() == 300 && k.m.getVariableCount() == Items, "a size");
    text.end();
    numbers.end();
    std::vector<VakConstraint> rows;
    for (const VakConstraint row : k.m.constraints()) rows.push_back(row);
    const VakObjective objective = k.m.getObjective();
    delete k.m.getImpl();
    for (const VakConstraint row : rows) delete row.getImpl();
    delete objective.getImpl();
    for (const VakNumVar x : k.x) delete x.getImpl();
    k.x.end();
  }
}

// Bytes in use apart from the table of identifiers, which stay booked in thread-safe mode.
VakInt usageWithoutIds(VakEnv env) { return env.getMemoryUsage() - env.getIdManagerMemoryUsage(); }

void roundOfShared() {
  VakRecursiveEnvMutex mutex;
  VakInitMT(&mutex);
  VakEnv env;
  VakEndMT();
  env.makeSymbol("weight");  // Symbols are made by one thread.
  {
    Knapsack before(env, 0);
    solve(before);
    VakEndAll(before.x);
    before.x.end();
    before.m.end();
  }
  const VakInt base = usageWithoutIds(env);
  env.useMTSafeAllocation(1);
  runThreads([env](int number) { workShared(env, number); });
  env.useMTSafeAllocation(0);
  require(usageWithoutIds(env) == base, "usage of the shared environment did not return");
  requireSound(env);
  Knapsack after(env, 1);
  change(after);
  solve(after);
  VakEndAll(after.x);
  requireSound(env);
  env.end();
}

long residentKilobytes() {
  long pages = 0;
  if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
    long all = 0;
    if (std::fscanf(file, "%ld %ld", &all, &pages) != 2) pages = 0;
    std::fclose(file);
  }
  return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

// Heap blocks of the whole process after a round.
long runRound() {
  runThreads([](int number) { workAlone(number); });
  roundOfShared();
  VakEmptySlabCache();
  return VakFailingNew::CountBlocks();
}

}  // namespace

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 20;
  try {
    // The first round makes what the process keeps, as the caches of the standard library.
    const long base = runRound();
    const long resident = residentKilobytes();
    for (long round = 2; round <= rounds; ++round) {
      const long blocks = runRound();
      if (blocks == base) continue;
      std::printf("round %ld: %ld heap blocks are in use instead of %ld\n", round, blocks, base);
      return 1;
    }
    std::printf(
        "%ld rounds, %ld heap blocks after each; resident: %ld kB after the first, %ld kB "
        "after the last\n",
        rounds, base, resident, residentKilobytes());
  } catch (const std::exception& e) {
    std::printf("failed: %s\n", e.what());
    return 1;
  }
  return 0;
}

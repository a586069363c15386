// Works for many rounds with eight threads, in environments of their own and in one that all share,
// and holds that nothing grows: after each round exactly as many blocks of the heap are in use as
// after the first, and no more bytes of malloc, the solver's included, than some that caches take.
//
//   vak_soak [ROUNDS]      20 by default; ends with 1 when anything is left over
//
// In environments of their own the threads build models, change them, take objects out, solve them
// and end everything. In the shared one, where allocation is thread safe and nothing else, they
// make, change and delete models and arrays, each thread its own; solving, removing and ending is
// done by the main thread when they are through.

#include <malloc.h>
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

// Everything, once.
void work(VakEnv env, int number) {
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
}

// The first time makes what an environment keeps: symbols, shared bounds, tables that have grown.
void workAlone(int number) {
  VakEnv env;
  work(env, number);
  const VakInt base = env.getMemoryUsage();
  work(env, number);
  require(env.getMemoryUsage() == base, "usage did not return to its base");
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

// What the whole process has in use after a round.
struct Use {
  long blocks;  // of operator new
  long bytes;   // of malloc; 0 where a sanitizer has replaced it
};

Use runRound() {
  runThreads([](int number) { workAlone(number); });
  roundOfShared();
  VakEmptySlabCache();
  return {VakFailingNew::CountBlocks(), static_cast<long>(mallinfo2().uordblks)};
}

// Threads leave some of what they used to the next ones.
constexpr long CacheBytes = 512 * 1024;

bool isGrown(long round, const Use& now, const Use& base) {
  if (now.blocks == base.blocks && now.bytes <= base.bytes + CacheBytes) return false;
  std::printf("round %ld: %ld heap blocks and %ld bytes are in use instead of %ld and %ld\n", round,
              now.blocks, now.bytes, base.blocks, base.bytes);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 20;
  try {
    // The first round makes what the process keeps, as the caches of the standard library.
    const Use base = runRound();
    Use last = base;
    const long resident = residentKilobytes();
    for (long round = 2; round <= rounds; ++round) {
      last = runRound();
      if (isGrown(round, last, base)) return 1;
    }
    std::printf(
        "%ld rounds, %ld heap blocks after each; bytes: %ld after the first, %ld after the last; "
        "resident: %ld kB and %ld kB\n",
        rounds, base.blocks, base.bytes, last.bytes, resident, residentKilobytes());
  } catch (const std::exception& e) {
    std::printf("failed: %s\n", e.what());
    return 1;
  }
  return 0;
}

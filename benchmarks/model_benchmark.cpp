// Models and the solver beside what a program would use instead: CoinUtils' CoinModel and GLPK.
//
// Build: 1,000,000 variables, 200,000 constraints and 5,000,000 coefficients are made, row by row,
// and given back; for the environment also in one go, and with the extraction into the solver. Each
// run is a process of its own, so that `bytes`, the peak of memory for each coefficient, is its
// own; `ns` is the time for each coefficient. Change: one bound is changed and the model solved
// again, beside a solver that is made anew.

#include <benchmark/benchmark.h>
#include <glpk.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CoinModel.hpp>
#include <array>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "benchmarks/support/registration.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

constexpr int Columns = 1000000;
constexpr int Rows = 200000;
constexpr int RowLength = 25;
constexpr double Coefs = static_cast<double>(Rows) * RowLength;

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The columns of a row, all different, spread over all columns.
std::array<int, RowLength> columnsOf(int row) {
  std::array<int, RowLength> columns;
  for (int k = 0; k < RowLength; ++k) {
    columns[static_cast<std::size_t>(k)] =
        static_cast<int>((static_cast<long>(row) * 7919 + static_cast<long>(k) * 39989) % Columns);
  }
  return columns;
}

std::array<double, RowLength> coefsOf(int row) {
  std::array<double, RowLength> coefs;
  for (int k = 0; k < RowLength; ++k) coefs[static_cast<std::size_t>(k)] = 1 + (row + k) % 9;
  return coefs;
}

std::vector<VakNumVar> makeColumns(VakModel model) {
  std::vector<VakNumVar> xs(Columns);
  VakColumns columns;
  columns.count = xs.size();
  model.addColumns(columns, xs);
  return xs;
}

void buildRowByRow(VakModel model) {
  const std::vector<VakNumVar> xs = makeColumns(model);
  VakExpr sum;
  for (int i = 0; i < Rows; ++i) {
    const auto columns = columnsOf(i);
    const auto coefs = coefsOf(i);
    sum.clear();
    for (std::size_t k = 0; k < RowLength; ++k) {
      sum.addTerm(xs[static_cast<std::size_t>(columns[k])], coefs[k]);
    }
    model.add(sum <= 100.0);
  }
}

void buildAtOnce(VakModel model) {
  const std::vector<VakNumVar> xs = makeColumns(model);
  std::vector<VakInt> starts{0};
  std::vector<int> members;
  std::vector<VakNum> coefs;
  for (int i = 0; i < Rows; ++i) {
    const auto rowColumns = columnsOf(i);
    const auto rowCoefs = coefsOf(i);
    members.insert(members.end(), rowColumns.begin(), rowColumns.end());
    coefs.insert(coefs.end(), rowCoefs.begin(), rowCoefs.end());
    starts.push_back(static_cast<VakInt>(members.size()));
  }
  const std::vector<VakNum> ubs(Rows, 100);
  VakRows rows;
  rows.count = Rows;
  rows.ubs = ubs;
  rows.columns = xs;
  rows.matrix = {starts, members, coefs};
  model.addRows(rows);
}

void runVak(void (*build)(VakModel), bool extracts) {
  VakEnv env;
  const VakModel model(env);
  build(model);
  if (extracts) VakSolver(env).extract(model);
  env.end();
}

void vakRows() { runVak(buildRowByRow, false); }
void vakAtOnce() { runVak(buildAtOnce, false); }
void vakExtracted() { runVak(buildRowByRow, true); }

void coinModel() {
  CoinModel model;
  for (int j = 0; j < Columns; ++j) model.setColumnBounds(j, 0, COIN_DBL_MAX);
  for (int i = 0; i < Rows; ++i) {
    const auto columns = columnsOf(i);
    const auto coefs = coefsOf(i);
    model.addRow(RowLength, columns.data(), coefs.data(), -COIN_DBL_MAX, 100);
  }
  benchmark::DoNotOptimize(model.numberElements());
}

void glpk() {
  glp_prob* problem = glp_create_prob();
  glp_add_cols(problem, Columns);
  for (int j = 1; j <= Columns; ++j) glp_set_col_bnds(problem, j, GLP_LO, 0, 0);
  glp_add_rows(problem, Rows);
  for (int i = 0; i < Rows; ++i) {
    const auto columns = columnsOf(i);
    const auto coefs = coefsOf(i);
    // GLPK counts from 1.
    std::array<int, RowLength + 1> members;
    std::array<double, RowLength + 1> values;
    for (std::size_t k = 0; k < RowLength; ++k) {
      members[k + 1] = columns[k] + 1;
      values[k + 1] = coefs[k];
    }
    glp_set_mat_row(problem, i + 1, RowLength, members.data(), values.data());
    glp_set_row_bnds(problem, i + 1, GLP_UP, 0, 100);
  }
  glp_delete_prob(problem);
}

/// Runs `job` in a process of its own: its seconds and the bytes that it added to the peak.
std::array<double, 2> measure(void (*job)()) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  const pid_t child = fork();
  if (child == 0) {
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_SELF, &before);
    const auto start = Clock::now();
    job();
    const double seconds = secondsSince(start);
    getrusage(RUSAGE_SELF, &after);
    const double bytes = static_cast<double>(after.ru_maxrss - before.ru_maxrss) * 1024;
    const std::array<double, 2> result{seconds, bytes};
    const bool isWritten = write(ends[1], result.data(), sizeof result) == sizeof result;
    _exit(isWritten ? 0 : 1);
  }
  std::array<double, 2> result{};
  if (read(ends[0], result.data(), sizeof result) != sizeof result) std::abort();
  waitpid(child, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
  return result;
}

void Build(benchmark::State& state, void (*job)()) {
  double bytes = 0;
  double seconds = 0;
  for (auto _ : state) {
    const auto [took, peak] = measure(job);
    state.SetIterationTime(took);
    seconds += took;
    bytes = peak;
  }
  state.counters["ns"] = seconds / static_cast<double>(state.iterations()) / Coefs * 1e9;
  state.counters["bytes"] = bytes / Coefs;
}
BENCHMARK_CAPTURE(Build, environment, vakRows)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Build, environment_at_once, vakAtOnce)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Build, environment_with_solver, vakExtracted)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Build, CoinModel, coinModel)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Build, GLPK, glpk)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

/// A transport problem of 40 plants and 60 customers.
class Transport {
 public:
  Transport() {
    VakExpr cost;
    std::vector<VakExpr> shipped(Plants);
    std::vector<VakExpr> received(Customers);
    for (std::size_t p = 0; p < Plants; ++p) {
      for (std::size_t c = 0; c < Customers; ++c) {
        const VakNumVar x(env);
        _flows.push_back(x);
        cost += static_cast<double>(1 + (p * 37 + c * 101) % 97) * x;
        shipped[p] += x;
        received[c] += x;
      }
    }
    for (const VakExpr& e : shipped) model.add(e <= 200.0);
    for (const VakExpr& e : received) model.add(e >= 100.0);
    model.minimize(cost);
  }
  ~Transport() { env.end(); }
  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;

  /// Changes one bound; a different one each time.
  void change() {
    const VakNumVar x = _flows[_next++ % _flows.size()];
    x.setUB(x.getUB() > 10 ? 5 : 1000);
  }

  VakEnv env;
  VakModel model{env};

 private:
  static constexpr std::size_t Plants = 40;
  static constexpr std::size_t Customers = 60;
  std::vector<VakNumVar> _flows;
  std::size_t _next = 0;
};

void ChangeAndSolve(benchmark::State& state) {
  Transport transport;
  const VakSolver solver(transport.model);
  solver.solve();
  for (auto _ : state) {
    transport.change();
    if (solver.solve() != VakStatus::Optimal) state.SkipWithError("no optimum");
  }
}
BENCHMARK(ChangeAndSolve)->Unit(benchmark::kMillisecond);

void ChangeAndSolveAnew(benchmark::State& state) {
  Transport transport;
  for (auto _ : state) {
    transport.change();
    VakSolver solver(transport.model);
    if (solver.solve() != VakStatus::Optimal) state.SkipWithError("no optimum");
    solver.end();
  }
}
BENCHMARK(ChangeAndSolveAnew)->Unit(benchmark::kMillisecond);

}  // namespace

// The rows above register themselves.
void VakRegisterBenchmarks() {}

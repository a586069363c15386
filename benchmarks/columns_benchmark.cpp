// Building a model of many columns, with five coefficients each, beside the containers of solvers:
// GLPK and CoinModel column by column, and ClpModel from arrays. Each measurement has a process of
// its own; the rows named bytes hold the growth of its peak memory. What is read, the columns as
// plain arrays, is there before, and the end of what was built is part of the time.
#ifdef VAK_HAS_GLPK
#include <glpk.h>
#endif
#ifdef VAK_HAS_COIN
#include <ClpModel.hpp>
#include <CoinModel.hpp>
#endif

#include <span>
#include <string>
#include <vector>

#include "benchmarks/support/fresh_process.h"
#include "benchmarks/support/registration.h"
#include "benchmarks/support/timing.h"
#include "vakenv/environment.h"
#include "vakmodel/modelling.h"

namespace {

constexpr int PerColumn = 5;  // coefficients
constexpr int ColumnsPerRow = 5;

/// The columns as plain arrays. GLPK counts from 1, the others from 0.
struct Input {
  explicit Input(int count) : columns(count), rows(count / ColumnsPerRow) {
    for (int column = 0; column < columns; ++column) {
      starts.push_back(column * PerColumn);
      for (int i = 0; i < PerColumn; ++i) {
        // Rows that lie far from one another, and all differ.
        members.push_back(static_cast<int>((column * 7919L + i * (rows / PerColumn)) % rows));
        coefs.push_back(1 + (column + i) % 9);
      }
    }
    starts.push_back(columns * PerColumn);
    lbs.assign(static_cast<std::size_t>(columns), 0);
    ubs.assign(static_cast<std::size_t>(columns), 10);
    costs.assign(static_cast<std::size_t>(columns), 1);
    rowLbs.assign(static_cast<std::size_t>(rows), -VakGetInfinity());
    rowUbs.assign(static_cast<std::size_t>(rows), 100);
    vakStarts.assign(starts.begin(), starts.end());
  }

  [[nodiscard]] const int* membersOf(int column) const {
    return members.data() + column * static_cast<long>(PerColumn);
  }
  [[nodiscard]] const double* coefsOf(int column) const {
    return coefs.data() + column * static_cast<long>(PerColumn);
  }

  int columns;
  int rows;
  std::vector<int> starts;
  std::vector<int> members;
  std::vector<double> coefs;
  std::vector<double> lbs;
  std::vector<double> ubs;
  std::vector<double> costs;
  std::vector<double> rowLbs;
  std::vector<double> rowUbs;
  std::vector<VakInt> vakStarts;
};

using Build = void (*)(const Input& input);

std::vector<VakConstraint> makeRows(VakModel model, const Input& input) {
  std::vector<VakConstraint> constraints(static_cast<std::size_t>(input.rows));
  VakRows rows;
  rows.count = constraints.size();
  rows.ubs = input.rowUbs;
  model.addRows(rows, constraints);
  return constraints;
}

void vakFromArrays(const Input& input) {
  VakEnv env;
  const VakModel model(env);
  const std::vector<VakConstraint> constraints = makeRows(model, input);
  VakColumns columns;
  columns.count = static_cast<std::size_t>(input.columns);
  columns.ubs = input.ubs;
  columns.objective = input.costs;
  columns.rows = constraints;
  columns.matrix = {input.vakStarts, input.members, input.coefs};
  model.addColumns(columns);
  env.end();
}

void vakByColumn(const Input& input) {
  VakEnv env;
  const VakModel model(env);
  const std::vector<VakConstraint> constraints = makeRows(model, input);
  std::vector<VakConstraint> rows(PerColumn);
  for (int column = 0; column < input.columns; ++column) {
    for (std::size_t i = 0; i < PerColumn; ++i) {
      rows[i] = constraints[static_cast<std::size_t>(input.membersOf(column)[i])];
    }
    model.addColumn(0, 10, 1, rows, std::span(input.coefsOf(column), PerColumn));
  }
  env.end();
}

#ifdef VAK_HAS_GLPK
void glpkByColumn(const Input& input) {
  glp_prob* problem = glp_create_prob();
  glp_add_rows(problem, input.rows);
  for (int row = 1; row <= input.rows; ++row) glp_set_row_bnds(problem, row, GLP_UP, 0, 100);
  glp_add_cols(problem, input.columns);
  int members[PerColumn + 1];
  for (int column = 0; column < input.columns; ++column) {
    for (int i = 0; i < PerColumn; ++i) members[i + 1] = input.membersOf(column)[i] + 1;
    glp_set_col_bnds(problem, column + 1, GLP_DB, 0, 10);
    glp_set_obj_coef(problem, column + 1, 1);
    glp_set_mat_col(problem, column + 1, PerColumn, members, input.coefsOf(column) - 1);
  }
  glp_delete_prob(problem);
}
#endif

#ifdef VAK_HAS_COIN
void coinByColumn(const Input& input) {
  CoinModel model;
  for (int row = 0; row < input.rows; ++row) model.setRowBounds(row, -COIN_DBL_MAX, 100);
  for (int column = 0; column < input.columns; ++column) {
    model.addColumn(PerColumn, input.membersOf(column), input.coefsOf(column), 0, 10, 1);
  }
  benchmark::DoNotOptimize(model.numberElements());
}

void clpFromArrays(const Input& input) {
  ClpModel model;
  model.loadProblem(input.columns, input.rows, input.starts.data(), input.members.data(),
                    input.coefs.data(), input.lbs.data(), input.ubs.data(), input.costs.data(),
                    input.rowLbs.data(), input.rowUbs.data());
  benchmark::DoNotOptimize(model.getNumElements());
}
#endif

template <Build build, int columns>
double measure() {
  const Input input(columns);
  const double start = VakThreadTime();
  build(input);
  return VakThreadTime() - start;
}

template <int columns>
double prepareOnly() {
  const Input input(columns);
  benchmark::DoNotOptimize(input.members.data());
  return 0;
}

/// What is measured, under the names of its rows.
struct Contender {
  std::string subject;
  std::string name;
  VakMeasurement small;
  VakMeasurement large;
};

template <Build build>
Contender makeContender(const char* subject, const char* name) {
  return {subject, name, measure<build, 100'000>, measure<build, 1'000'000>};
}

std::vector<Contender> contenders() {
  std::vector<Contender> all{makeContender<vakFromArrays>("build_from_arrays", "vak"),
                             makeContender<vakByColumn>("build_by_column", "vak")};
#ifdef VAK_HAS_GLPK
  all.push_back(makeContender<glpkByColumn>("build_from_arrays", "glpk_by_column"));
  all.push_back(makeContender<glpkByColumn>("build_by_column", "glpk_by_column"));
#endif
#ifdef VAK_HAS_COIN
  all.push_back(makeContender<coinByColumn>("build_from_arrays", "coin_model_by_column"));
  all.push_back(makeContender<coinByColumn>("build_by_column", "coin_model_by_column"));
  all.push_back(makeContender<clpFromArrays>("build_from_arrays", "clp_arrays"));
#endif
  return all;
}

std::string nameOf(const Contender& contender, int columns) {
  return contender.subject + '/' + contender.name + '/' + std::to_string(columns);
}

const bool announced = [] {
  VakAnnounceMeasurement("prepare/100000", prepareOnly<100'000>);
  VakAnnounceMeasurement("prepare/1000000", prepareOnly<1'000'000>);
  for (const Contender& contender : contenders()) {
    VakAnnounceMeasurement(nameOf(contender, 100'000), contender.small);
    VakAnnounceMeasurement(nameOf(contender, 1'000'000), contender.large);
  }
  return true;
}();

void addRow(const Contender& contender, int columns, bool hugePages) {
  const std::string measurement = nameOf(contender, columns);
  const std::string subject = contender.subject + (hugePages ? "" : "_small_pages");
  const std::string row = subject + '/' + contender.name + '/' + std::to_string(columns);
  const auto run = [measurement, columns, hugePages](benchmark::State& state) {
    const VakFreshResult before = VakRunFresh("prepare/" + std::to_string(columns), hugePages);
    for (auto _ : state) {
      const VakFreshResult result = VakRunFresh(measurement, hugePages);
      if (!result.isThere || !before.isThere) return state.SkipWithError("no fresh process");
      state.SetIterationTime(result.seconds);
      state.counters["bytes"] = (result.peakBytes - before.peakBytes) / columns;
    }
    VakCountItems(state, columns);
  };
  benchmark::RegisterBenchmark(row.c_str(), run)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void VakRegisterBenchmarks() {
  for (const Contender& contender : contenders()) {
    for (const bool hugePages : {true, false}) {
      addRow(contender, 100'000, hugePages);
      addRow(contender, 1'000'000, hugePages);
    }
  }
}

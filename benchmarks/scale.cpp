// How the steps of a model's life grow with its size: for a number of columns, with five
// coefficients each and a row for every five columns, builds the model, changes all bounds at once,
// removes a tenth of the columns at once, copies the rest and ends the environment.
//
//   benchmark_scale COLUMNS
//
// Prints one line for each step: its name, the number of columns, nanoseconds of processor time for
// one column, and the bytes for one column that the process has grown by until then. One size a
// process, so that each begins with memory that nothing has touched.
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "benchmarks/support/fresh_process.h"
#include "benchmarks/support/timing.h"
#include "vakenv/environment.h"
#include "vakmodel/modelling.h"

namespace {

constexpr std::size_t CoefficientsPerColumn = 5;
constexpr std::size_t ColumnsPerRow = 5;

/// The columns as plain arrays, as a reader of files would have them.
struct Input {
  explicit Input(std::size_t columns) : rows(columns / ColumnsPerRow + 1) {
    std::mt19937_64 random(5);
    starts.reserve(columns + 1);
    members.reserve(columns * CoefficientsPerColumn);
    for (std::size_t column = 0; column < columns; ++column) {
      starts.push_back(static_cast<VakInt>(members.size()));
      // Neighbouring rows from a random one on, so that no row stands twice in a column.
      const std::size_t first = random() % rows;
      for (std::size_t i = 0; i < CoefficientsPerColumn; ++i) {
        members.push_back(static_cast<int>((first + i) % rows));
      }
    }
    starts.push_back(static_cast<VakInt>(members.size()));
    coefs.assign(members.size(), 1.5);
    ubs.assign(columns, 10.0);
  }

  std::size_t rows;
  std::vector<VakInt> starts;
  std::vector<int> members;
  std::vector<VakNum> coefs;
  std::vector<VakNum> ubs;
};

/// Times the steps one after the other.
class Steps {
 public:
  explicit Steps(std::size_t columns)
      : _columns(static_cast<double>(columns)), _bytesBefore(VakResidentBytes()) {}

  template <class Operation>
  void time(const char* name, Operation operation) const {
    const double start = VakThreadTime();
    operation();
    const double seconds = VakThreadTime() - start;
    std::printf("%s\t%.0f\t%.2f\t%.1f\n", name, _columns, 1e9 * seconds / _columns,
                (VakResidentBytes() - _bytesBefore) / _columns);
  }

 private:
  double _columns;
  double _bytesBefore;
};

void run(std::size_t columns) {
  const Input input(columns);
  std::vector<VakNumVar> vars(columns);
  std::vector<VakConstraint> constraints(input.rows);
  std::vector<VakNumVar> removed;
  removed.reserve(columns / 10);
  const Steps steps(columns);
  VakEnv env;
  VakModel model;
  steps.time("build", [&] {
    model = VakModel(env);
    VakRows rows;
    rows.count = input.rows;
    model.addRows(rows, constraints);
    VakColumns all;
    all.count = columns;
    all.ubs = input.ubs;
    all.rows = constraints;
    all.matrix = {input.starts, input.members, input.coefs};
    model.addColumns(all, vars);
  });
  steps.time("change_all_bounds", [&] { VakSetBounds(vars, 1.0, 20.0); });
  for (std::size_t i = 0; i < columns; i += 10) removed.push_back(vars[i]);
  steps.time("remove_a_tenth", [&] { model.remove(removed); });
  steps.time("copy", [&] {
    VakCopier copier(env);
    static_cast<void>(copier.copy(model));
  });
  steps.time("end", [&] { env.end(); });
}

}  // namespace

int main(int argc, char** argv) {
  const long columns = argc == 2 ? std::atol(argv[1]) : 0;
  if (columns < 10) {
    std::fprintf(stderr, "usage: benchmark_scale COLUMNS\n");
    return 1;
  }
  run(static_cast<std::size_t>(columns));
  return 0;
}

#pragma once

// What a solve found, as values that later changes of the model leave alone, and how it is printed.

#include <ostream>
#include <string>
#include <vector>

#include "apps/vak-solve/json.h"
#include "vaksolver/solver.h"

namespace vaksolve {

/// A variable in a solution.
struct VariableResult {
  VakInt id;  ///< Its identifier, which tells variables with the same name apart.
  std::string name;
  double value;
  double reducedCost;  ///< 0 without duals.
};

/// A constraint in a solution.
struct ConstraintResult {
  VakInt id;  ///< Its identifier.
  std::string name;
  double value;  ///< The activity.
  double lb;
  double ub;
  double dual;  ///< 0 without duals.
};

/// The result of one solve. Lists are in the order of the model, and empty without a solution.
struct Solution {
  VakStatus status = VakStatus::NotSolved;
  bool hasSolution = false;
  bool hasDuals = false;
  bool isMip = false;
  double objective = 0;  ///< 0 without a solution.
  double bound = 0;      ///< Infinite when nothing is known.
  double gap = 0;        ///< Infinite without a solution or a bound.
  long iterations = 0;
  long nodes = 0;
  double seconds = 0;
  std::vector<VariableResult> variables;
  std::vector<ConstraintResult> constraints;
};

/// Copies the result of the last solve. `withValues` says whether the lists are wanted.
[[nodiscard]] Solution takeSolution(const VakSolver& solver, VakModel model, bool withValues);

/// The outcome in one line with its end, as in
/// "Optimal: objective 36 after 2 iterations". With `before`, a solution that differs says what the
/// objective was.
[[nodiscard]] std::string summarize(const Solution& solution, const Solution* before = nullptr);

/// The values as two tables of at most `rows` rows each (0 for all). When there are more variables
/// than that, those that are 0 are left out first; what is left out is counted.
void writeValues(std::ostream& out, const Solution& solution, long rows);

/// Tables of what has another value than before, or a line that says that nothing has. Objects that
/// are gone are not listed.
void writeDifference(std::ostream& out, const Solution& before, const Solution& after, long rows);

/// Members of a JSON object that is being written: status, objective and so on, and the lists.
void writeJson(JsonWriter& json, const Solution& solution);

}  // namespace vaksolve

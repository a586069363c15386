#include "apps/vak-solve/solution.h"

#include <algorithm>
#include <cmath>

#include "apps/vak-solve/table.h"
#include "apps/vak-solve/text.h"

namespace vaksolve {

namespace {

// Below this difference, relative to the numbers, two values are the same to a reader.
constexpr double SameWithin = 1e-9;

[[nodiscard]] bool isSame(double a, double b) {
  if (a == b) return true;
  return std::abs(a - b) <= SameWithin * std::max({1.0, std::abs(a), std::abs(b)});
}

[[nodiscard]] bool isZero(double value) { return isSame(value, 0); }

const char* describe(VakStatus status) {
  switch (status) {
    case VakStatus::NotSolved:
      return "Not solved";
    case VakStatus::Optimal:
      return "Optimal";
    case VakStatus::Infeasible:
      return "Infeasible: no values of the variables satisfy all constraints";
    case VakStatus::Unbounded:
      return "Unbounded: the objective can be improved without limit";
    case VakStatus::InfeasibleOrUnbounded:
      return "Infeasible or unbounded";
    case VakStatus::TimeLimit:
      return "Time limit reached";
    case VakStatus::GapLimit:
      return "Optimal within the gap";
    case VakStatus::NodeLimit:
      return "Node limit reached";
    case VakStatus::IterationLimit:
      return "Iteration limit reached";
    case VakStatus::Aborted:
      return "Interrupted";
    case VakStatus::Failed:
      return "Failed: the solver met numerical trouble";
  }
  return "Unknown";
}

/// Whether a solution was looked for and might have been found.
[[nodiscard]] bool mayHaveSolution(VakStatus status) {
  return status != VakStatus::Infeasible && status != VakStatus::Unbounded &&
         status != VakStatus::InfeasibleOrUnbounded && status != VakStatus::Failed;
}

/// The rows that a table shows: all when they are at most `most` (0 for no limit), else the first
/// `most` of those that `isShownFirst`.
template <class T, class Preferred>
std::vector<const T*> choose(const std::vector<T>& all, long most, Preferred isShownFirst) {
  const auto limit = static_cast<std::size_t>(most);
  const bool isAll = most == 0 || all.size() <= limit;
  std::vector<const T*> chosen;
  for (const T& one : all) {
    if (!isAll && chosen.size() == limit) break;
    if (isAll || isShownFirst(one)) chosen.push_back(&one);
  }
  return chosen;
}

/// Says how many rows of a table were left out, if any.
void writeLeftOut(std::ostream& out, std::size_t all, std::size_t shown, const char* singular,
                  const char* plural) {
  if (shown == all) return;
  out << "and " << formatCount(static_cast<long>(all - shown), singular, plural)
      << " (--rows 0 prints all)\n";
}

void writeVariables(std::ostream& out, const Solution& solution, long rows) {
  if (solution.variables.empty()) return;
  std::vector<std::string> titles{"Variable", "Value"};
  if (solution.hasDuals) titles.emplace_back("Reduced cost");
  Table table(std::move(titles));
  const auto chosen =
      choose(solution.variables, rows, [](const VariableResult& v) { return !isZero(v.value); });
  for (const VariableResult* variable : chosen) {
    std::vector<std::string> cells{variable->name, formatNumber(variable->value)};
    if (solution.hasDuals) cells.push_back(formatNumber(variable->reducedCost));
    table.add(std::move(cells));
  }
  out << '\n';
  if (!table.empty()) table.write(out);
  const auto isOther = [&](const VariableResult& v) { return !isZero(v.value); };
  const auto nonZeros =
      std::count_if(solution.variables.begin(), solution.variables.end(), isOther);
  const bool areOnlyZerosLeftOut = static_cast<std::size_t>(nonZeros) == chosen.size();
  writeLeftOut(out, solution.variables.size(), chosen.size(),
               areOnlyZerosLeftOut ? "variable that is 0" : "more variable",
               areOnlyZerosLeftOut ? "variables that are 0" : "more variables");
}

void writeConstraints(std::ostream& out, const Solution& solution, long rows) {
  if (solution.constraints.empty()) return;
  std::vector<std::string> titles{"Constraint", "Lower", "Activity", "Upper"};
  if (solution.hasDuals) titles.emplace_back("Dual");
  Table table(std::move(titles));
  const auto chosen =
      choose(solution.constraints, rows, [](const ConstraintResult&) { return true; });
  for (const ConstraintResult* constraint : chosen) {
    std::vector<std::string> cells{constraint->name, formatNumber(constraint->lb),
                                   formatNumber(constraint->value), formatNumber(constraint->ub)};
    if (solution.hasDuals) cells.push_back(formatNumber(constraint->dual));
    table.add(std::move(cells));
  }
  out << '\n';
  table.write(out);
  writeLeftOut(out, solution.constraints.size(), chosen.size(), "more constraint",
               "more constraints");
}

/// An object with the value that it had and the one that it has.
struct Changed {
  const std::string* name;
  double before;
  double after;
};

/// What has another value than before. Objects only ever go, so those of `after` are among those of
/// `before`, in the same order.
template <class T>
std::vector<Changed> findChanged(const std::vector<T>& before, const std::vector<T>& after) {
  std::vector<Changed> changed;
  std::size_t old = 0;
  for (const T& one : after) {
    while (old < before.size() && before[old].id != one.id) ++old;
    if (old == before.size()) break;
    if (!isSame(before[old].value, one.value)) {
      changed.push_back({&one.name, before[old].value, one.value});
    }
  }
  return changed;
}

void writeChanged(std::ostream& out, const std::vector<Changed>& changed, long rows,
                  const char* title, const char* noun, const char* nouns) {
  if (changed.empty()) return;
  Table table({title, "Before", "After"});
  const auto chosen = choose(changed, rows, [](const Changed&) { return true; });
  for (const Changed* one : chosen) {
    table.add({*one->name, formatNumber(one->before), formatNumber(one->after)});
  }
  out << '\n';
  table.write(out);
  writeLeftOut(out, changed.size(), chosen.size(), noun, nouns);
}

}  // namespace

Solution takeSolution(const VakSolver& solver, VakModel model, bool withValues) {
  Solution solution;
  solution.status = solver.getStatus();
  // The values of an unbounded model are just where the solver noticed.
  solution.hasSolution = solver.hasSolution() && solution.status != VakStatus::Unbounded;
  solution.hasDuals = solver.hasDuals();
  solution.isMip = solver.isMip();
  solution.iterations = solver.getIterationCount();
  solution.nodes = solver.getNodeCount();
  solution.seconds = solver.getTime();
  solution.bound = solver.getBestBound();
  solution.gap = solver.getGap();
  if (!solution.hasSolution) return solution;
  solution.objective = solver.getObjectiveValue();
  if (!withValues) return solution;
  solution.variables.reserve(static_cast<std::size_t>(model.getVariableCount()));
  for (const VakNumVar x : model.variables()) {
    solution.variables.push_back({x.getId(), nameOf(x), solver.getValue(x),
                                  solution.hasDuals ? solver.getReducedCost(x) : 0});
  }
  solution.constraints.reserve(static_cast<std::size_t>(model.getConstraintCount()));
  for (const VakConstraint c : model.constraints()) {
    solution.constraints.push_back({c.getId(), nameOf(c), solver.getActivity(c), c.getLB(),
                                    c.getUB(), solution.hasDuals ? solver.getDual(c) : 0});
  }
  return solution;
}

std::string summarize(const Solution& solution, const Solution* before) {
  std::string line = describe(solution.status);
  if (solution.hasSolution) {
    line += ": objective " + formatNumber(solution.objective);
    if (before != nullptr && before->hasSolution &&
        !isSame(before->objective, solution.objective)) {
      line += " (was " + formatNumber(before->objective) + ')';
    }
    if (solution.isMip && !isZero(solution.gap)) {
      line += ", bound " + formatNumber(solution.bound);
      if (std::isfinite(solution.gap)) line += ", gap " + formatPercent(solution.gap);
    }
  } else if (mayHaveSolution(solution.status)) {
    line += ", no solution found";
    if (solution.isMip && std::isfinite(solution.bound)) {
      line += ", bound " + formatNumber(solution.bound);
    }
  }
  if (solution.hasSolution || mayHaveSolution(solution.status)) {
    line += " after " + formatCount(solution.iterations, "iteration", "iterations");
    if (solution.isMip) line += " and " + formatCount(solution.nodes, "node", "nodes");
    if (solution.seconds >= 1) line += " in " + formatSeconds(solution.seconds);
  }
  return line + '\n';
}

void writeValues(std::ostream& out, const Solution& solution, long rows) {
  writeVariables(out, solution, rows);
  writeConstraints(out, solution, rows);
}

void writeDifference(std::ostream& out, const Solution& before, const Solution& after, long rows) {
  if (!after.hasSolution) return;
  if (!before.hasSolution) {
    writeValues(out, after, rows);
    return;
  }
  const auto variables = findChanged(before.variables, after.variables);
  const auto constraints = findChanged(before.constraints, after.constraints);
  if (variables.empty() && constraints.empty()) {
    out << "The solution is the same.\n";
    return;
  }
  writeChanged(out, variables, rows, "Variable", "more variable", "more variables");
  writeChanged(out, constraints, rows, "Constraint", "more constraint", "more constraints");
}

void writeJson(JsonWriter& json, const Solution& solution) {
  json.member("status", VakGetStatusName(solution.status));
  json.key("objective");
  if (solution.hasSolution) {
    json.value(solution.objective);
  } else {
    json.null();
  }
  json.member("bound", solution.bound);
  json.member("gap", solution.gap);
  json.member("iterations", solution.iterations);
  json.member("nodes", solution.nodes);
  json.member("seconds", solution.seconds);
  json.key("variables");
  json.beginArray();
  for (const VariableResult& variable : solution.variables) {
    json.beginObject();
    json.member("name", variable.name);
    json.member("value", variable.value);
    if (solution.hasDuals) json.member("reducedCost", variable.reducedCost);
    json.endObject();
  }
  json.endArray();
  json.key("constraints");
  json.beginArray();
  for (const ConstraintResult& constraint : solution.constraints) {
    json.beginObject();
    json.member("name", constraint.name);
    json.member("lower", constraint.lb);
    json.member("activity", constraint.value);
    json.member("upper", constraint.ub);
    if (solution.hasDuals) json.member("dual", constraint.dual);
    json.endObject();
  }
  json.endArray();
}

}  // namespace vaksolve

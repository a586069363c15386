// How a solver solves its loaded problem.

#include <CoinError.hpp>
#include <algorithm>
#include <cmath>
#include <utility>

#include "vakenv/core/environment_impl.h"
#include "vaksolver/linear_program.h"
#include "vaksolver/search.h"
#include "vaksolver/solver_impl.h"

namespace {

std::size_t at(int number) { return static_cast<std::size_t>(number); }

/// How much a point may violate a bound of size 1 and still be a solution.
VakNum getSlackTolerance(const VakSolverOptions& options) {
  return 10 * options.feasibilityTolerance;
}

}  // namespace

// 1. Read the options; bring the linear program up to date with what waits.
// 2. Solve it: without any coefficient directly, else by the simplex method.
// 3. If columns have to be whole and are not, search.
// 4. What is known of the objective goes into the statistics, whatever the end.
VakStatus VakSolverI::run() {
  forgetSolution();
  _statistics.iterations = 0;
  _statistics.nodes = 0;
  _statistics.seconds = 0;
  _statistics.bound = -sign() * VakGetInfinity();
  _options = VakReadSolverOptions(VakEnv(_env));
  const std::function<bool()> isStopping = [this] { return isAborting(); };
  VakRunControlI control(_options, isStopping, _progress);
  control.noteBound(_statistics.bound);
  bringUpToDate();
  if (isMip()) control.noteMip();
  VakStatus status = VakStatus::Failed;
  try {
    status = control.step() ? control.getReason() : solveLoaded(control);
  } catch (const CoinError&) {
    forgetSolution();  // The libraries met something they cannot go on with.
  }
  _statistics.iterations = control.getState().iterations;
  _statistics.nodes = control.getState().nodes;
  _statistics.seconds = control.getSeconds();
  _statistics.bound = control.getState().bound;
  control.rethrow();
  return status;
}

void VakSolverI::bringUpToDate() {
  addWaiting();
  if (_isMatrixOutOfDate) loadMatrix();
  if (_isObjectiveOutOfDate) loadObjective();
}

VakStatus VakSolverI::solveLoaded(VakRunControlI& control) {
  if (hasEmptyDomain()) return VakStatus::Infeasible;
  if (!_lp->hasTerms()) return solveWithoutTerms(control);
  const VakStatus status = solveLinear(control);
  return isMip() ? solveInteger(status, control) : status;
}

bool VakSolverI::hasEmptyDomain() const {
  for (int j = 0; j < getColumnCount() && _integerCount > 0; ++j) {
    const Bounds bounds = boundsOf(j);
    if (bounds.lb > bounds.ub) return true;
  }
  return false;
}

// Without coefficients every row is 0 and every column is for itself.
VakStatus VakSolverI::solveWithoutTerms(VakRunControlI& control) {
  const VakNum tolerance = _options.feasibilityTolerance;
  for (int i = 0; i < getRowCount(); ++i) {
    if (getConstraint(i)->_lb > tolerance || getConstraint(i)->_ub < -tolerance) {
      return VakStatus::Infeasible;
    }
  }
  std::vector<VakNum> values(at(getColumnCount()));
  const double* objective = _lp->simplex().objective();
  for (int j = 0; j < getColumnCount(); ++j) {
    const Bounds bounds = boundsOf(j);
    const VakNum cost = objective[j];
    const VakNum best = cost > 0   ? bounds.lb
                        : cost < 0 ? bounds.ub
                                   : std::clamp(0.0, bounds.lb, bounds.ub);
    if (!std::isfinite(best)) return VakStatus::Unbounded;
    values[at(j)] = best;
  }
  takeValues(values.data());
  if (!isMip()) {
    _reducedCosts.assign(objective, objective + getColumnCount());
    _duals.assign(at(getRowCount()), 0);
    _hasDuals = true;
  }
  control.noteBound(toModel(_lp->getObjective(_values.data())));
  return VakStatus::Optimal;
}

VakStatus VakSolverI::solveLinear(VakRunControlI& control) {
  if (!_options.warmStart) _lp->forgetBasis();
  if (_lp->hasBasis()) ++_statistics.warmStarts;
  const VakLinearProgramI::Outcome outcome = _lp->solve(control);
  switch (outcome) {
    case VakLinearProgramI::Outcome::Infeasible:
      return VakStatus::Infeasible;
    case VakLinearProgramI::Outcome::Unbounded:
      return VakStatus::Unbounded;
    case VakLinearProgramI::Outcome::Failed:
      return VakStatus::Failed;
    case VakLinearProgramI::Outcome::Optimal:
      control.noteBound(toModel(_lp->getObjective(_lp->getValues())));
      break;
    default:
      break;
  }
  const bool isOptimal = outcome == VakLinearProgramI::Outcome::Optimal;
  if (!isMip() && (isOptimal || _lp->isFeasible(_lp->getValues(), getSlackTolerance(_options)))) {
    takeValues(_lp->getValues());
  }
  if (!isMip() && isOptimal) {
    _reducedCosts.assign(_lp->getReducedCosts(), _lp->getReducedCosts() + getColumnCount());
    _duals.assign(_lp->getDuals(), _lp->getDuals() + getRowCount());
    _hasDuals = true;
  }
  if (isOptimal) return VakStatus::Optimal;
  return outcome == VakLinearProgramI::Outcome::IterationLimit ? VakStatus::IterationLimit
                                                               : control.getReason();
}

// `relaxation` is how the linear relaxation ended, and what it proved holds. Otherwise
// 1. what the last search found is a solution to begin with, if it is one still;
// 2. the relaxation's point is the answer if it is whole;
// 3. the search looks for something better than what there is.
VakStatus VakSolverI::solveInteger(VakStatus relaxation, VakRunControlI& control) {
  if (relaxation == VakStatus::Infeasible || relaxation == VakStatus::Failed) return relaxation;
  VakSearchI search(*_lp, _integer, {sign(), getConstant()}, control);
  if (relaxation == VakStatus::Unbounded) return decideUnbounded(search, control);
  const bool hasStart = _options.warmStart && offerIncumbent(search, control);
  if (relaxation != VakStatus::Optimal) return relaxation;
  if (isWhole(_lp->getValues())) {
    if (const auto point = search.settle(_lp->getValues())) {
      takeIncumbent(*point, control);
      return VakStatus::Optimal;
    }
  }
  if (control.step()) return control.getReason();
  const VakSearchResultI result = search.run(hasStart ? _values.data() : nullptr);
  if (result.found && (!hasStart || result.objective < _lp->getObjective(_values.data()))) {
    takeIncumbent(result.values, control);
  }
  return endSearch(result, control);
}

VakStatus VakSolverI::endSearch(const VakSearchResultI& result, VakRunControlI& control) {
  switch (result.end) {
    case VakSearchResultI::End::Stopped:
      return control.getReason();
    case VakSearchResultI::End::NodeLimit:
      return VakStatus::NodeLimit;
    case VakSearchResultI::End::IterationLimit:
      return VakStatus::IterationLimit;
    case VakSearchResultI::End::Failed:
      return VakStatus::Failed;
    case VakSearchResultI::End::Complete:
      break;
  }
  if (!_hasValues) {
    control.noteBound(sign() * VakGetInfinity());
    return VakStatus::Infeasible;
  }
  control.noteBound(toModel(_lp->getObjective(_values.data())));
  return VakStatus::Optimal;
}

// The coefficients being rational numbers, a model whose relaxation is unbounded is so too if it
// has a solution at all.
VakStatus VakSolverI::decideUnbounded(VakSearchI& search, VakRunControlI& control) {
  const VakSearchResultI result = search.findAny();
  if (result.found) return VakStatus::Unbounded;
  switch (result.end) {
    case VakSearchResultI::End::Complete:
      return VakStatus::Infeasible;
    case VakSearchResultI::End::Stopped:
      return control.getReason();
    default:
      return VakStatus::InfeasibleOrUnbounded;
  }
}

bool VakSolverI::isWhole(const VakNum* values) const {
  for (int j = 0; j < getColumnCount(); ++j) {
    if (_integer[at(j)] == 0) continue;
    if (std::abs(values[j] - std::round(values[j])) > _options.integralityTolerance) return false;
  }
  return true;
}

bool VakSolverI::offerIncumbent(const VakSearchI& search, VakRunControlI& control) {
  if (_incumbent.empty() || !isWhole(_incumbent.data())) return false;
  const auto point = search.polish(_incumbent.data());
  if (!point) return false;
  ++_statistics.startSolutions;
  takeIncumbent(*point, control);
  return true;
}

void VakSolverI::takeIncumbent(const std::vector<VakNum>& values, VakRunControlI& control) {
  takeValues(values.data());
  _incumbent = _values;
  control.noteIncumbent(toModel(_lp->getObjective(_values.data())));
}

// Values and activities change together or, when memory runs out, not at all.
void VakSolverI::takeValues(const VakNum* values) {
  std::vector<VakNum> point(values, values + getColumnCount());
  _activities = _lp->getActivities(values);
  _values = std::move(point);
  _hasValues = true;
}

VakNum VakSolverI::toModel(VakNum value) const { return sign() * value + getConstant(); }

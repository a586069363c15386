#include "vaksolver/linear_program.h"

#include <ClpEventHandler.hpp>
#include <ClpPackedMatrix.hpp>
#include <ClpSolve.hpp>
#include <CoinPackedMatrix.hpp>
#include <algorithm>
#include <cmath>
#include <limits>

#include "vaksolver/ready_copy.h"
#include "vaksolver/run_control.h"

namespace {

double toBound(double bound) {
  if (bound == VakGetInfinity()) return COIN_DBL_MAX;
  return bound == -VakGetInfinity() ? -COIN_DBL_MAX : bound;
}

void toBounds(std::vector<double>& bounds) {
  std::transform(bounds.begin(), bounds.end(), bounds.begin(), toBound);
}

/// The elements; not null even if there are none.
template <class T>
const T* dataOf(const std::vector<T>& list) {
  static constexpr T nothing = 0;
  return list.empty() ? &nothing : list.data();
}

// How the simplex object says that a call ended.
enum SimplexStatus {
  Finished = 0,
  PrimalInfeasible = 1,
  DualInfeasible = 2,
  Limit = 3,
  Broken = 4,
  Event = 5
};

}  // namespace

/// Passes the iterations of the simplex method on to the control.
class VakLinearProgramI::Watch final : public ClpEventHandler, public VakReadyCopy<Watch> {
 public:
  /// The watch of a simplex object while this lives; none afterwards.
  class Shift {
   public:
    Shift(ClpSimplex& simplex, VakRunControlI& control) : _simplex(simplex) {
      Watch watch(&control);
      watch.makeReady();
      simplex.passInEventHandler(&watch);
    }
    Shift(const Shift&) = delete;
    Shift& operator=(const Shift&) = delete;
    ~Shift() { static_cast<Watch*>(_simplex.eventHandler())->_control = nullptr; }

   private:
    ClpSimplex& _simplex;
  };

  explicit Watch(VakRunControlI* control) : _control(control) {}
  [[nodiscard]] ClpEventHandler* clone() const override { return takeCopy(); }
  int event(Event which) override {
    constexpr int goOn = -1;
    constexpr int stop = 0;
    if (_control == nullptr || (which != endOfIteration && which != endOfFactorization))
      return goOn;
    return _control->stepSimplex(model_->numberIterations()) ? stop : goOn;
  }

 private:
  VakRunControlI* _control;  ///< Not owned; null between solves.
};

VakLinearProgramI::VakLinearProgramI() {
  _simplex.passInMessageHandler(&_messages);
  _simplex.setLogLevel(0);
  _simplex.setOptimizationDirection(1);
}

VakLinearProgramI::VakLinearProgramI(const ClpSimplex& simplex) : _simplex(simplex) {
  _simplex.passInMessageHandler(&_messages);
}

std::unique_ptr<VakLinearProgramI> VakLinearProgramI::makeCopy() const {
  std::unique_ptr<VakLinearProgramI> copy(new VakLinearProgramI(_simplex));
  copy->_hasBasis = _hasBasis;
  copy->_feasChanged = _feasChanged;
  copy->_costChanged = _costChanged;
  return copy;
}

bool VakLinearProgramI::hasTerms() const {
  return _simplex.matrix() != nullptr && _simplex.getNumElements() > 0;
}

// ---- Changes ------------------------------------------------------------------------------------

void VakLinearProgramI::setMatrix(int rows, int columns, VakMatrixI matrix) {
  auto packed = std::make_unique<CoinPackedMatrix>();
  const CoinBigIndex entries = matrix.starts[static_cast<std::size_t>(columns)];
  double* coefs = matrix.coefs.release();
  int* indices = matrix.rows.release();
  CoinBigIndex* starts = matrix.starts.release();
  int* lengths = matrix.lengths.release();
  packed->assignMatrix(true, rows, columns, entries, coefs, indices, starts, lengths);
  _simplex.replaceMatrix(new ClpPackedMatrix(packed.release()), true);
  forgetCopies();
  _feasChanged = true;
  _costChanged = true;
}

// The simplex object keeps copies of the matrix, by rows and scaled, and does not see that this one
// changed.
void VakLinearProgramI::forgetCopies() {
  _simplex.setNewRowCopy(nullptr);
  _simplex.setClpScaledMatrix(nullptr);
  _simplex.setRowScale(nullptr);
  _simplex.setColumnScale(nullptr);
  _simplex.setWhatsChanged(0);
}

void VakLinearProgramI::setColumnBounds(int column, double lb, double ub) {
  _simplex.setColumnBounds(column, toBound(lb), toBound(ub));
  _feasChanged = true;
}

void VakLinearProgramI::setRowBounds(int row, double lb, double ub) {
  _simplex.setRowBounds(row, toBound(lb), toBound(ub));
  _feasChanged = true;
}

void VakLinearProgramI::setObjective(int column, double coef) {
  _simplex.setObjectiveCoefficient(column, coef);
  _costChanged = true;
}

void VakLinearProgramI::setCoef(int row, int column, double coef) {
  _simplex.modifyCoefficient(row, column, coef);
  forgetCopies();
  _feasChanged = true;
  _costChanged = true;
}

bool VakLinearProgramI::hasCoef(int row, int column) const {
  const CoinPackedMatrix& matrix = *_simplex.matrix();
  const CoinBigIndex first = matrix.getVectorFirst(column);
  const int* indices = matrix.getIndices();
  return std::find(indices + first, indices + matrix.getVectorLast(column), row) !=
         indices + matrix.getVectorLast(column);
}

// New columns wait at a bound, so that what was feasible stays so.
void VakLinearProgramI::addColumns(const Addition& columns) {
  const int first = getColumnCount();
  const int count = static_cast<int>(columns.lbs.size());
  std::vector<double> lbs = columns.lbs;
  std::vector<double> ubs = columns.ubs;
  toBounds(lbs);
  toBounds(ubs);
  _simplex.addColumns(count, lbs.data(), ubs.data(), columns.objective.data(),
                      columns.starts.data(), dataOf(columns.members), dataOf(columns.coefs));
  forgetCopies();
  _costChanged = true;
  if (!_simplex.statusExists()) _simplex.createStatus();
  for (int i = 0; i < count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    const bool hasLower = lbs[at] > -COIN_DBL_MAX;
    const bool hasUpper = ubs[at] < COIN_DBL_MAX;
    const double value = hasLower ? lbs[at] : hasUpper ? ubs[at] : 0;
    if (value != 0) _feasChanged = true;
    _simplex.primalColumnSolution()[first + i] = value;
    _simplex.setColumnStatus(first + i, hasLower   ? ClpSimplex::atLowerBound
                                        : hasUpper ? ClpSimplex::atUpperBound
                                                   : ClpSimplex::isFree);
  }
}

void VakLinearProgramI::addRows(const Addition& rows) {
  const int first = getRowCount();
  const int count = static_cast<int>(rows.lbs.size());
  std::vector<double> lbs = rows.lbs;
  std::vector<double> ubs = rows.ubs;
  toBounds(lbs);
  toBounds(ubs);
  _simplex.addRows(count, lbs.data(), ubs.data(), rows.starts.data(), dataOf(rows.members),
                   dataOf(rows.coefs));
  forgetCopies();
  if (!_simplex.statusExists()) _simplex.createStatus();
  for (int i = 0; i < count; ++i) _simplex.setRowStatus(first + i, ClpSimplex::basic);
  _feasChanged = true;
}

void VakLinearProgramI::removeColumns(std::span<const int> columns) {
  _simplex.deleteColumns(static_cast<int>(columns.size()), columns.data());
  forgetCopies();
  _feasChanged = true;
  _costChanged = true;
}

void VakLinearProgramI::removeRows(std::span<const int> rows) {
  _simplex.deleteRows(static_cast<int>(rows.size()), rows.data());
  forgetCopies();
  _feasChanged = true;
  _costChanged = true;
}

// ---- Solving ------------------------------------------------------------------------------------

void VakLinearProgramI::forgetBasis() {
  _simplex.allSlackBasis(true);
  _hasBasis = false;
}

void VakLinearProgramI::prepare(const VakSolverOptions& options) {
  _messages.setLevel(static_cast<int>(options.logLevel));
  _simplex.setPrimalTolerance(options.feasibilityTolerance);
  _simplex.setDualTolerance(options.optimalityTolerance);
  _simplex.setRandomSeed(static_cast<int>(options.seed));
  _simplex.scaling(3);
  if (!_simplex.statusExists()) _simplex.createStatus();
}

void VakLinearProgramI::limitIterations(const VakRunControlI& control) {
  const VakInt limit = control.getOptions().iterationLimit;
  const VakInt left = limit - control.getState().iterations;
  _simplex.setMaximumIterations(limit < 0 || left > std::numeric_limits<int>::max()
                                    ? std::numeric_limits<int>::max()
                                    : static_cast<int>(std::max<VakInt>(left, 0)));
}

// 1. From scratch, the problem may be simplified first; else the last basis is where to start, and
//    what changed since says which simplex method finds it almost optimal.
// 2. Numerical trouble is met by solving without scaling, then from the beginning; what is said of
//    a problem without an optimum is looked into.
VakLinearProgramI::Outcome VakLinearProgramI::solve(VakRunControlI& control) {
  prepare(control.getOptions());
  const Watch::Shift shift(_simplex, control);
  if (_hasBasis || !control.getOptions().presolve) {
    runSimplex(chooseMethod(control.getOptions()), control);
  } else {
    runFirst(control);
  }
  const Outcome outcome = settle(control);
  _hasBasis = true;
  _feasChanged = outcome != Outcome::Optimal;
  _costChanged = outcome != Outcome::Optimal;
  return outcome;
}

VakLinearProgramI::Method VakLinearProgramI::chooseMethod(const VakSolverOptions& options) const {
  switch (options.algorithm) {
    case VakSolverOptions::Algorithm::Primal:
      return Method::Primal;
    case VakSolverOptions::Algorithm::Dual:
      return Method::Dual;
    case VakSolverOptions::Algorithm::Auto:
      break;
  }
  return _costChanged && _hasBasis ? Method::Primal : Method::Dual;
}

void VakLinearProgramI::runFirst(VakRunControlI& control) {
  ClpSolve how;
  how.setPresolveType(ClpSolve::presolveOn);
  switch (control.getOptions().algorithm) {
    case VakSolverOptions::Algorithm::Primal:
      how.setSolveType(ClpSolve::usePrimal);
      break;
    case VakSolverOptions::Algorithm::Dual:
      how.setSolveType(ClpSolve::useDual);
      break;
    case VakSolverOptions::Algorithm::Auto:
      how.setSolveType(ClpSolve::automatic);
      break;
  }
  limitIterations(control);
  _simplex.initialSolve(how);
  control.endSimplex(_simplex.numberIterations());
}

void VakLinearProgramI::runSimplex(Method method, VakRunControlI& control) {
  limitIterations(control);
  if (method == Method::Dual) {
    _simplex.dual();
  } else {
    _simplex.primal();
  }
  control.endSimplex(_simplex.numberIterations());
}

bool VakLinearProgramI::isEnded(const VakRunControlI& control) const {
  const int status = _simplex.status();
  return status == Limit || status == Event || control.getReason() != VakStatus::NotSolved;
}

void VakLinearProgramI::solveAgain(VakRunControlI& control) {
  if (!isEnded(control)) runSimplex(Method::Primal, control);
}

// Numerical trouble is met by solving without scaling, and then from the beginning by each method.
// A claim that cannot be confirmed even so is believed in the end, since the tolerances of the
// check may ask too much of a problem with bad numbers.
VakLinearProgramI::Outcome VakLinearProgramI::settle(VakRunControlI& control) {
  for (int attempt = 1; isBroken(control); ++attempt) {
    if (attempt == 1) {
      _simplex.scaling(0);
      runSimplex(Method::Primal, control);
    } else if (attempt == 2 || attempt == 3) {
      _simplex.scaling(attempt == 2 ? 3 : 0);
      _simplex.allSlackBasis(true);
      runSimplex(attempt == 2 ? Method::Dual : Method::Primal, control);
    } else {
      break;
    }
  }
  const int status = _simplex.status();
  const bool isOpen = status == PrimalInfeasible || status == DualInfeasible || status == Broken;
  return isOpen && !isEnded(control) ? decide(control) : toOutcome(control);
}

// A point is optimal if it is feasible and every column and row whose reduced cost points somewhere
// is at its bound there. Costs a walk over the matrix, which is little beside the solve.
bool VakLinearProgramI::isOptimal() const {
  const double* values = getValues();
  const std::vector<double> activities = getActivities(values);
  const double slack = 10 * _simplex.primalTolerance();
  if (!isFeasible(values, activities, slack)) return false;
  const double allowed = 100 * _simplex.dualTolerance();
  const auto isBest = [slack](double lb, double value, double ub, double cost, double error) {
    if (cost > error) return value <= lb + slack * std::max(1.0, std::abs(lb));
    if (cost < -error) return value >= ub - slack * std::max(1.0, std::abs(ub));
    return true;
  };
  const CoinPackedMatrix& matrix = *_simplex.matrix();
  const double* duals = getDuals();
  for (int j = 0; j < getColumnCount(); ++j) {
    double cost = _simplex.objective()[j];
    double size = std::max(1.0, std::abs(cost));
    for (CoinBigIndex k = matrix.getVectorFirst(j); k < matrix.getVectorLast(j); ++k) {
      const double part = matrix.getElements()[k] * duals[matrix.getIndices()[k]];
      cost -= part;
      size = std::max(size, std::abs(part));
    }
    if (!isBest(_simplex.columnLower()[j], values[j], _simplex.columnUpper()[j], cost,
                allowed * size)) {
      return false;
    }
  }
  for (int i = 0; i < getRowCount(); ++i) {
    if (!isBest(_simplex.rowLower()[i], activities[static_cast<std::size_t>(i)],
                _simplex.rowUpper()[i], duals[i], allowed * std::max(1.0, std::abs(duals[i])))) {
      return false;
    }
  }
  return true;
}

bool VakLinearProgramI::isBroken(const VakRunControlI& control) const {
  const bool isWrong = _simplex.status() == Finished && !isOptimal();
  return (isWrong || _simplex.status() == Broken) && !isEnded(control);
}

VakLinearProgramI::Outcome VakLinearProgramI::toOutcome(const VakRunControlI& control) const {
  switch (_simplex.status()) {
    case Finished:
      return Outcome::Optimal;
    case PrimalInfeasible:
      return Outcome::Infeasible;
    case DualInfeasible:
      return Outcome::Unbounded;
    case Limit:
      return Outcome::IterationLimit;
    case Event:
      return Outcome::Stopped;
    default:
      break;
  }
  return control.getReason() != VakStatus::NotSolved ? Outcome::Stopped : Outcome::Failed;
}

// What the simplex method says of a problem without an optimum depends on where it began: presolve
// and the dual method cannot tell infeasible from unbounded, and a direction without end may keep
// the primal method from a feasible point. So
// 1. a direction without end from a feasible point is what it seems;
// 2. otherwise the problem without its objective says whether there is a feasible point;
// 3. if so, the primal method goes on from there.
VakLinearProgramI::Outcome VakLinearProgramI::decide(VakRunControlI& control) {
  if (_simplex.status() == DualInfeasible &&
      isFeasible(getValues(), 10 * _simplex.primalTolerance())) {
    return Outcome::Unbounded;
  }
  const std::vector<double> objective(_simplex.objective(),
                                      _simplex.objective() + getColumnCount());
  for (int j = 0; j < getColumnCount(); ++j) _simplex.setObjectiveCoefficient(j, 0);
  runSimplex(Method::Dual, control);
  if (_simplex.status() != Finished) solveAgain(control);
  for (int j = 0; j < getColumnCount(); ++j) {
    _simplex.setObjectiveCoefficient(j, objective[static_cast<std::size_t>(j)]);
  }
  if (_simplex.status() != Finished) return toOutcome(control);
  solveAgain(control);
  return _simplex.status() == PrimalInfeasible ? Outcome::Failed : toOutcome(control);
}

// ---- Points -------------------------------------------------------------------------------------

double VakLinearProgramI::getObjective(const double* values) const {
  const double* objective = _simplex.objective();
  double sum = 0;
  for (int j = 0; j < getColumnCount(); ++j) sum += objective[j] * values[j];
  return sum;
}

std::vector<double> VakLinearProgramI::getActivities(const double* values) const {
  std::vector<double> activities(static_cast<std::size_t>(getRowCount()), 0.0);
  const CoinPackedMatrix& matrix = *_simplex.matrix();
  const int* rows = matrix.getIndices();
  const double* coefs = matrix.getElements();
  for (int j = 0; j < getColumnCount(); ++j) {
    if (values[j] == 0) continue;
    for (CoinBigIndex k = matrix.getVectorFirst(j); k < matrix.getVectorLast(j); ++k) {
      activities[static_cast<std::size_t>(rows[k])] += coefs[k] * values[j];
    }
  }
  return activities;
}

bool VakLinearProgramI::isFeasible(const double* values, double tolerance) const {
  return isFeasible(values, getActivities(values), tolerance);
}

bool VakLinearProgramI::isFeasible(const double* values, const std::vector<double>& activities,
                                   double tolerance) const {
  const auto isWithin = [tolerance](double lb, double value, double ub) {
    return value >= lb - tolerance * std::max(1.0, std::abs(lb)) &&
           value <= ub + tolerance * std::max(1.0, std::abs(ub));
  };
  for (int j = 0; j < getColumnCount(); ++j) {
    if (!isWithin(_simplex.columnLower()[j], values[j], _simplex.columnUpper()[j])) return false;
  }
  for (int i = 0; i < getRowCount(); ++i) {
    const double activity = activities[static_cast<std::size_t>(i)];
    if (!isWithin(_simplex.rowLower()[i], activity, _simplex.rowUpper()[i])) return false;
  }
  return true;
}

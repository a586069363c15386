#include "vaksolver/solver_impl.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "vakenv/core/environment_impl.h"
#include "vaksolver/linear_program.h"
#include "vaksolver/run_control.h"

namespace {

/// True for numbers that the solver cannot take.
bool isTooLarge(VakNum value) {
  return std::abs(value) >= VakSolverI::MostSize && std::abs(value) != VakGetInfinity();
}

bool isTooLarge(VakNum lb, VakNum ub) { return isTooLarge(lb) || isTooLarge(ub); }

std::size_t at(int number) { return static_cast<std::size_t>(number); }

}  // namespace

VakSolverI::VakSolverI(VakEnvI* env) : VakModelAlgorithmI(env) {}
VakSolverI::~VakSolverI() noexcept(false) = default;

// ---- Loading ------------------------------------------------------------------------------------

void VakSolverI::load() {
  checkColumns(0);
  checkRows(0);
  checkObjective();
  _lp = std::make_unique<VakLinearProgramI>();
  _lp->resize(getRowCount(), getColumnCount());
  _integer.assign(at(getColumnCount()), 0);
  _integerCount = 0;
  loadMatrix();
  loadObjective();
  for (int j = 0; j < getColumnCount(); ++j) {
    setInteger(j);
    setBounds(j);
  }
  for (int i = 0; i < getRowCount(); ++i) {
    _lp->setRowBounds(i, getConstraint(i)->_lb, getConstraint(i)->_ub);
  }
  ++_statistics.loads;
}

void VakSolverI::unload() {
  forgetSolution();
  _lp.reset();
  _integer.clear();
  _integerCount = 0;
  _incumbent.clear();
  _newEntries.clear();
  _refused.clear();
  _isMatrixOutOfDate = false;
  _isObjectiveOutOfDate = false;
}

void VakSolverI::forgetSolution() {
  _hasValues = false;
  _hasDuals = false;
}

// Two walks over the terms: the first one counts, the second one puts the entries in their places.
void VakSolverI::loadMatrix() {
  const int columns = getColumnCount();
  VakMatrixI matrix;
  matrix.starts = std::make_unique<int[]>(at(columns) + 1);
  matrix.lengths = std::make_unique<int[]>(at(columns));
  VakInt count = 0;
  for (int i = 0; i < getRowCount(); ++i) {
    forEachTerm(getConstraint(i), [&](int column, VakNum /*coef*/) {
      ++matrix.lengths[at(column)];
      ++count;
    });
  }
  if (count > std::numeric_limits<int>::max()) {
    throw VakAlgorithm::Exception("The model has more coefficients than the solver can take.");
  }
  for (int j = 0; j < columns; ++j) {
    matrix.starts[at(j) + 1] = matrix.starts[at(j)] + matrix.lengths[at(j)];
    matrix.lengths[at(j)] = 0;
  }
  matrix.rows = std::make_unique_for_overwrite<int[]>(static_cast<std::size_t>(count));
  matrix.coefs = std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(count));
  for (int i = 0; i < getRowCount(); ++i) {
    forEachTerm(getConstraint(i), [&](int column, VakNum coef) {
      const auto entry = at(matrix.starts[at(column)] + matrix.lengths[at(column)]++);
      matrix.rows[entry] = i;
      matrix.coefs[entry] = coef;
    });
  }
  _lp->setMatrix(getRowCount(), columns, std::move(matrix));
  _isMatrixOutOfDate = false;
}

VakNum VakSolverI::sign() const {
  const VakObjectiveI* objective = getModel().getImpl()->_objective;
  return objective != nullptr && objective->_sense == VakSense::Maximize ? -1 : 1;
}

VakNum VakSolverI::getConstant() const {
  const VakObjectiveI* objective = getModel().getImpl()->_objective;
  return objective == nullptr ? 0 : objective->_constant;
}

void VakSolverI::loadObjective() {
  _isObjectiveOutOfDate = false;
  for (int j = 0; j < getColumnCount(); ++j) _lp->setObjective(j, 0);
  const VakObjectiveI* objective = getModel().getImpl()->_objective;
  if (objective == nullptr) return;
  forEachTerm(objective,
              [&](int column, VakNum coef) { _lp->setObjective(column, sign() * coef); });
}

void VakSolverI::setInteger(int column) {
  const char isInteger = getVariable(column)->getKind() == VakVarKind::Continuous ? 0 : 1;
  _integerCount += isInteger - _integer[at(column)];
  _integer[at(column)] = isInteger;
}

// A bound that is whole but for rounding errors counts as whole.
VakSolverI::Bounds VakSolverI::boundsOf(int column) const {
  constexpr VakNum error = 1e-9;
  const VakModelVarI* variable = getVariable(column);
  const Bounds bounds{variable->getLB(), variable->getUB()};
  if (_integer[at(column)] == 0) return bounds;
  return {std::ceil(bounds.lb - error * std::max(1.0, std::abs(bounds.lb))),
          std::floor(bounds.ub + error * std::max(1.0, std::abs(bounds.ub)))};
}

// The linear program needs bounds in their order, so a column without any whole number in its
// bounds keeps the fractional ones; solve() finds it.
void VakSolverI::setBounds(int column) {
  const Bounds bounds = boundsOf(column);
  if (bounds.lb <= bounds.ub) {
    _lp->setColumnBounds(column, bounds.lb, bounds.ub);
  } else {
    _lp->setColumnBounds(column, getVariable(column)->getLB(), getVariable(column)->getUB());
  }
}

// ---- Refusals -----------------------------------------------------------------------------------

void VakSolverI::checkColumns(int first) {
  for (int j = first; j < getColumnCount(); ++j) checkColumn(j);
  refuseFound();
}

void VakSolverI::checkColumn(int column) {
  VakModelVarI* variable = getVariable(column);
  if (isTooLarge(variable->getLB(), variable->getUB())) _refused.push_back(variable);
}

void VakSolverI::checkRows(int first) {
  for (int i = first; i < getRowCount(); ++i) checkRow(i);
  refuseFound();
}

void VakSolverI::checkRow(int row) {
  VakConstraintI* constraint = getConstraint(row);
  bool isRefused = isTooLarge(constraint->_lb, constraint->_ub);
  const std::size_t before = _refused.size();
  forEachTerm(constraint, [&](int column, VakNum coef) {
    if (!isTooLarge(coef)) return;
    isRefused = true;
    _refused.push_back(getVariable(column));
  });
  if (isRefused)
    _refused.insert(_refused.begin() + static_cast<std::ptrdiff_t>(before), constraint);
}

void VakSolverI::checkObjective() {
  VakObjectiveI* objective = getModel().getImpl()->_objective;
  if (objective == nullptr) return;
  forEachTerm(objective, [&](int column, VakNum coef) {
    if (!isTooLarge(coef)) return;
    if (_refused.empty()) _refused.push_back(objective);
    _refused.push_back(getVariable(column));
  });
  refuseFound();
}

void VakSolverI::checkEntries(std::span<const Entry> entries) {
  for (const Entry& entry : entries) {
    if (!isTooLarge(entry.coef)) continue;
    if (entry.row == ObjectiveRow) {
      _refused.push_back(getModel().getImpl()->_objective);
    } else {
      _refused.push_back(getConstraint(entry.row));
    }
    _refused.push_back(getVariable(entry.column));
  }
  refuseFound();
}

void VakSolverI::refuseFound() {
  if (_refused.empty()) return;
  const std::vector<VakExtractableI*> refused = std::exchange(_refused, {});
  refuse(refused);
}

// ---- Changes ------------------------------------------------------------------------------------

void VakSolverI::boundsChanged(std::span<const int> columns) {
  for (const int column : columns) checkColumn(column);
  refuseFound();
  for (const int column : columns) {
    if (column < _lp->getColumnCount()) setBounds(column);
  }
}

void VakSolverI::kindsChanged(std::span<const int> columns) {
  for (const int column : columns) {
    setInteger(column);
    if (column < _lp->getColumnCount()) setBounds(column);
  }
}

void VakSolverI::rowBoundsChanged(std::span<const int> rows) {
  for (const int row : rows) {
    VakConstraintI* constraint = getConstraint(row);
    if (isTooLarge(constraint->_lb, constraint->_ub)) _refused.push_back(constraint);
  }
  refuseFound();
  for (const int row : rows) {
    if (row >= _lp->getRowCount()) continue;
    _lp->setRowBounds(row, getConstraint(row)->_lb, getConstraint(row)->_ub);
  }
}

// An entry that is new to the matrix may move all behind it, so that many of them at once are
// better put in place all together.
void VakSolverI::coefsChanged(std::span<const Entry> entries) {
  constexpr int fewNewEntries = 4;
  checkEntries(entries);
  int fresh = 0;
  for (const Entry& entry : entries) {
    if (entry.row == ObjectiveRow) {
      setObjective(entry);
    } else if (entry.row >= _lp->getRowCount() || _isMatrixOutOfDate) {
      continue;  // Read later, with all of the row.
    } else if (entry.column >= _lp->getColumnCount()) {
      _newEntries.push_back(entry);
    } else if (_lp->hasCoef(entry.row, entry.column) || ++fresh <= fewNewEntries) {
      _lp->setCoef(entry.row, entry.column, entry.coef);
    } else {
      _isMatrixOutOfDate = true;
    }
  }
}

void VakSolverI::setObjective(const Entry& entry) {
  if (entry.column < _lp->getColumnCount()) {
    _lp->setObjective(entry.column, sign() * entry.coef);
  } else {
    _newEntries.push_back(entry);
  }
}

void VakSolverI::rowChanged(int row) {
  checkRow(row);
  refuseFound();
  if (row >= _lp->getRowCount()) return;
  _lp->setRowBounds(row, getConstraint(row)->_lb, getConstraint(row)->_ub);
  _isMatrixOutOfDate = true;
}

void VakSolverI::objectiveChanged() {
  checkObjective();
  _isObjectiveOutOfDate = true;
}

void VakSolverI::columnsAdded(int first, int /*count*/, std::span<const Entry> entries) {
  checkColumns(first);
  checkEntries(entries);
  _integer.resize(at(getColumnCount()), 0);
  for (int j = first; j < getColumnCount(); ++j) setInteger(j);
  for (const Entry& entry : entries) {
    if (entry.row < _lp->getRowCount()) _newEntries.push_back(entry);
  }
}

void VakSolverI::rowsAdded(int first, int /*count*/) { checkRows(first); }

void VakSolverI::rowsRemoved(std::span<const int> rows) {
  addWaiting();
  _lp->removeRows(rows);
}

void VakSolverI::columnsRemoved(std::span<const int> columns) {
  addWaiting();
  _lp->removeColumns(columns);
  for (const int column : columns) _integerCount -= _integer[at(column)];
  const auto compact = [&](auto& list) {
    auto gone = columns.begin();
    std::size_t kept = 0;
    for (std::size_t j = 0; j < list.size(); ++j) {
      if (gone != columns.end() && at(*gone) == j) {
        ++gone;
      } else {
        list[kept++] = list[j];
      }
    }
    list.resize(kept);
  };
  compact(_integer);
  if (!_incumbent.empty()) compact(_incumbent);
}

// Columns first: rows that wait may have terms in columns that wait. Entries of columns that wait
// are those in rows that do not; when the matrix is built anew, it has all of them anyhow. What
// waits does so until the linear program has it, so that nothing is lost when memory runs out.
void VakSolverI::addWaiting() {
  addWaitingColumns();
  addWaitingRows();
}

void VakSolverI::addWaitingColumns() {
  const int first = _lp->getColumnCount();
  const int count = getColumnCount() - first;
  if (count == 0) return;
  VakLinearProgramI::Addition columns;
  columns.objective.assign(at(count), 0);
  columns.starts.assign(at(count) + 1, 0);
  for (int j = first; j < getColumnCount(); ++j) {
    Bounds bounds = boundsOf(j);
    if (bounds.lb > bounds.ub) bounds = {getVariable(j)->getLB(), getVariable(j)->getUB()};
    columns.lbs.push_back(bounds.lb);
    columns.ubs.push_back(bounds.ub);
  }
  if (!_incumbent.empty()) _incumbent.reserve(at(getColumnCount()));
  sortWaitingEntries();
  for (const Entry& entry : _newEntries) {
    if (entry.row == ObjectiveRow) {
      columns.objective[at(entry.column - first)] = sign() * entry.coef;
    } else if (!_isMatrixOutOfDate && entry.coef != 0) {
      ++columns.starts[at(entry.column - first) + 1];
      columns.members.push_back(entry.row);
      columns.coefs.push_back(entry.coef);
    }
  }
  std::partial_sum(columns.starts.begin(), columns.starts.end(), columns.starts.begin());
  _lp->addColumns(columns);
  _newEntries.clear();
  for (std::size_t i = 0; i < columns.lbs.size() && !_incumbent.empty(); ++i) {
    _incumbent.push_back(std::clamp(0.0, columns.lbs[i], columns.ubs[i]));
  }
}

// By column and row; of those for the same place the last one counts.
void VakSolverI::sortWaitingEntries() {
  const auto isBefore = [](const Entry& a, const Entry& b) {
    return a.column != b.column ? a.column < b.column : a.row < b.row;
  };
  std::stable_sort(_newEntries.begin(), _newEntries.end(), isBefore);
  std::size_t kept = 0;
  for (std::size_t k = 0; k < _newEntries.size(); ++k) {
    const bool isLast = k + 1 == _newEntries.size() || isBefore(_newEntries[k], _newEntries[k + 1]);
    if (isLast) _newEntries[kept++] = _newEntries[k];
  }
  _newEntries.erase(_newEntries.begin() + static_cast<std::ptrdiff_t>(kept), _newEntries.end());
}

void VakSolverI::addWaitingRows() {
  const int first = _lp->getRowCount();
  if (getRowCount() == first) return;
  VakLinearProgramI::Addition rows;
  rows.starts.push_back(0);
  for (int i = first; i < getRowCount(); ++i) {
    const VakConstraintI* constraint = getConstraint(i);
    rows.lbs.push_back(constraint->_lb);
    rows.ubs.push_back(constraint->_ub);
    if (!_isMatrixOutOfDate) {
      forEachTerm(constraint, [&](int column, VakNum coef) {
        rows.members.push_back(column);
        rows.coefs.push_back(coef);
      });
    }
    rows.starts.push_back(static_cast<int>(rows.members.size()));
  }
  _lp->addRows(rows);
}

// ---- Results ------------------------------------------------------------------------------------

bool VakSolverI::hasSolution() const {
  return _hasValues && !isRunning() && getStatus() != VakStatus::NotSolved;
}

VakNum VakSolverI::getColumnValue(int column) const { return _values[at(column)]; }

int VakSolverI::rowOf(const VakConstraintI* constraint) const {
  if (!hasSolution()) throw VakAlgorithm::Exception("No solution is available.");
  const int row = getRow(constraint);
  if (row < 0 || getConstraint(row) != constraint) {
    throw VakAlgorithm::Exception("A constraint is not in the solved model.");
  }
  return row;
}

VakNum VakSolverI::getActivity(const VakConstraintI* constraint) const {
  return _activities[at(rowOf(constraint))];
}

VakNum VakSolverI::getSlack(const VakConstraintI* constraint) const {
  const VakNum activity = getActivity(constraint);
  return std::min(activity - constraint->_lb, constraint->_ub - activity);
}

void VakSolverI::requireDuals() const {
  if (!hasSolution()) throw VakAlgorithm::Exception("No solution is available.");
  if (!_hasDuals) throw VakAlgorithm::Exception("No dual values are available.");
}

VakNum VakSolverI::getReducedCost(const VakModelVarI* variable) const {
  requireDuals();
  const int column = getColumn(variable);
  if (column < 0 || getVariable(column) != variable) {
    throw VakAlgorithm::Exception("A variable is not in the solved model.");
  }
  return sign() * _reducedCosts[at(column)] + 0.0;
}

VakNum VakSolverI::getDual(const VakConstraintI* constraint) const {
  requireDuals();
  return sign() * _duals[at(rowOf(constraint))] + 0.0;
}

VakNum VakSolverI::getGap() const {
  if (!hasSolution() || !std::isfinite(_statistics.bound)) return VakGetInfinity();
  return VakGetRelativeGap(getObjectiveValue(), _statistics.bound);
}

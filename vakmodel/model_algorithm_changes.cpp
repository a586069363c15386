// How changes of a model find their way to the hooks of an algorithm.

#include <algorithm>

#include "vakenv/core/environment_impl.h"
#include "vakmodel/model_algorithm.h"
#include "vakmodel/report.h"

namespace {

void sortDifferent(std::vector<int>& numbers) {
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

template <class C>
const C* as(const VakChange& change) {
  return change.isType(C::GetTypeInfo()) != 0 ? static_cast<const C*>(&change) : nullptr;
}

}  // namespace

void VakModelAlgorithmI::change(const VakChange& change, const VakExtractableI* /*extractable*/) {
  this->change(change);
}

// 1. What is about other objects is none of this algorithm's business.
// 2. While it runs, nothing may change. What the environment took out stays out even so, hence the
//    problem is dropped when the run is over.
// 3. A problem that is not loaded need not be brought up to date.
// 4. A hook that refuses has altered nothing, so if it is the first one, the problem is as before,
//    and the model will be too, unless what is refused takes the model back to that. A hook that
//    fails otherwise leaves a problem that nobody can rely on.
void VakModelAlgorithmI::change(const VakChange& change) {
  if (_model == nullptr || !concerns(change)) return;
  const Busy busy(this);
  if (_isRunning) {
    _isOutOfDate = _isOutOfDate || !IsTakenBack(change);
    throw VakNoChangeDuringSearchException();
  }
  _status = VakStatus::NotSolved;
  const auto* destroyed = as<VakDestroyExtractable>(change);
  if (destroyed != nullptr && destroyed->getExtractable() == _model) {
    forgetModel();
    return;
  }
  if (_isLoaded) update(change);
}

void VakModelAlgorithmI::update(const VakChange& change) {
  const int columns = getColumnCount();
  const int rows = getRowCount();
  _hooksDone = 0;
  try {
    apply(change);
  } catch (const VakAlgorithm::CannotChangeException&) {
    if (_hooksDone != 0 || !IsTakenBack(change) || VakIsReportingAgain()) {
      drop();
    } else if (_isLoaded) {
      Truncate(_columns, _columnOf, columns);
      Truncate(_rows, _rowOf, rows);
    }
    throw;
  } catch (...) {
    drop();
    throw;
  }
  if (_isLoaded) _objective = _model->_objective;
}

// Removal and destruction are the environment's own: what is refused of them happens nevertheless.
bool VakModelAlgorithmI::IsTakenBack(const VakChange& change) {
  return as<VakDestroyExtractable>(change) == nullptr &&
         as<VakRemoveFromAllChange>(change) == nullptr;
}

template <class T>
void VakModelAlgorithmI::Truncate(std::vector<T*>& list, Numbers& numbers, int size) {
  for (; list.size() > static_cast<std::size_t>(size); list.pop_back()) {
    numbers[static_cast<std::size_t>(list.back()->id)] = 0;
  }
}

template <class T>
void VakModelAlgorithmI::Compact(std::vector<T*>& list, Numbers& numbers,
                                 const std::vector<int>& removed) {
  for (const int number : removed) {
    numbers[static_cast<std::size_t>(list[static_cast<std::size_t>(number)]->id)] = 0;
  }
  auto next = removed.begin();
  std::size_t kept = 0;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (next != removed.end() && static_cast<std::size_t>(*next) == i) {
      ++next;
      continue;
    }
    list[kept++] = list[i];
    numbers[static_cast<std::size_t>(list[i]->id)] = static_cast<std::int32_t>(kept);
  }
  list.resize(kept);
}

// ---- What concerns the algorithm ----------------------------------------------------------------

bool VakModelAlgorithmI::isOurs(const VakExtractableI* linear) const {
  return linear->isType(VakLinearI::GetTypeInfo()) != 0 &&
         static_cast<const VakLinearI*>(linear)->_model == _model;
}

bool VakModelAlgorithmI::isKnown(const VakExtractableI* object) const {
  if (object == _model || object == _objective) return true;
  const int column = getColumn(object);
  if (column >= 0 && getVariable(column) == object) return true;
  const int row = getRow(object);
  return row >= 0 && getConstraint(row) == object;
}

bool VakModelAlgorithmI::concerns(const VakChange& change) const {
  if (const auto* c = as<VakVariablesChange>(change)) {
    const auto variables = c->getVariables();
    return std::any_of(variables.begin(), variables.end(),
                       [this](const VakModelVarI* v) { return _model->contains(v); });
  }
  if (const auto* c = as<VakRowBoundsChange>(change)) {
    const auto constraints = c->getConstraints();
    return std::any_of(constraints.begin(), constraints.end(),
                       [this](const VakConstraintI* e) { return e->_model == _model; });
  }
  if (const auto* c = as<VakCoefsChange>(change)) {
    const auto coefs = c->getCoefs();
    return std::any_of(coefs.begin(), coefs.end(),
                       [this](const VakCoefI& coef) { return isOurs(coef.linear); });
  }
  if (const auto* c = as<VakLinearChange>(change)) return isOurs(c->getLinear());
  if (const auto* c = as<VakMembersChange>(change)) return c->getModel() == _model;
  if (const auto* c = as<VakDestroyExtractable>(change)) return isKnown(c->getExtractable());
  if (const auto* c = as<VakRemoveFromAllChange>(change)) {
    for (const VakExtractableI* e : c->getExtractables()) {
      if (e != nullptr && isKnown(e)) return true;
    }
  }
  return false;
}

// ---- Bringing the problem up to date ------------------------------------------------------------

void VakModelAlgorithmI::apply(const VakChange& change) {
  if (const auto* bounds = as<VakBoundsChange>(change)) {
    boundsChanged(columnsOf(bounds->getVariables()));
  } else if (const auto* kinds = as<VakKindChange>(change)) {
    kindsChanged(columnsOf(kinds->getVariables()));
  } else if (const auto* rowBounds = as<VakRowBoundsChange>(change)) {
    rowBoundsChanged(rowsOf(rowBounds->getConstraints()));
  } else if (const auto* coefs = as<VakCoefsChange>(change)) {
    applyCoefs(coefs->getCoefs(), getColumnCount());
  } else if (as<VakSenseChange>(change) != nullptr) {
    senseChanged();
  } else if (as<VakConstantChange>(change) != nullptr) {
    constantChanged();
  } else if (const auto* terms = as<VakTermsChange>(change)) {
    applyTerms(static_cast<const VakLinearI*>(terms->getLinear()));
  } else if (const auto* added = as<VakAddChange>(change)) {
    applyAdded(*added);
  } else {
    applyRemoved(change);
  }
}

std::vector<int> VakModelAlgorithmI::columnsOf(std::span<VakModelVarI* const> variables) const {
  std::vector<int> columns;
  columns.reserve(variables.size());
  for (const VakModelVarI* variable : variables) {
    const int column = _model->contains(variable) ? getColumn(variable) : -1;
    if (column >= 0) columns.push_back(column);
  }
  sortDifferent(columns);
  return columns;
}

std::vector<int> VakModelAlgorithmI::rowsOf(std::span<VakConstraintI* const> constraints) const {
  std::vector<int> rows;
  rows.reserve(constraints.size());
  for (const VakConstraintI* constraint : constraints) {
    const int row = constraint->_model == _model ? getRow(constraint) : -1;
    if (row >= 0) rows.push_back(row);
  }
  sortDifferent(rows);
  return rows;
}

void VakModelAlgorithmI::addColumn(VakModelVarI* variable) {
  if (getColumn(variable) < 0) Append(_columns, _columnOf, variable);
}

// Variables that the problem has not are those that just joined the model. Columns from
// `firstNewColumn` on are listed, but not in the problem yet.
void VakModelAlgorithmI::applyCoefs(std::span<const VakCoefI> coefs, int firstNewColumn) {
  std::vector<Entry> old;
  std::vector<Entry> fresh;
  for (const VakCoefI& coef : coefs) {
    if (!isOurs(coef.linear)) continue;
    const bool isObjective = coef.linear == _model->_objective;
    const int row = isObjective ? ObjectiveRow : getRow(coef.linear);
    if (row < 0 && !isObjective) continue;
    if (coef.coef != 0) addColumn(coef.var);
    const int column = getColumn(coef.var);
    if (column < 0) continue;
    (column < firstNewColumn ? old : fresh).push_back({row, column, coef.coef});
  }
  if (getColumnCount() > firstNewColumn) {
    columnsAdded(firstNewColumn, getColumnCount() - firstNewColumn, fresh);
    ++_hooksDone;
  }
  if (_isLoaded && !old.empty()) {
    coefsChanged(old);
    ++_hooksDone;
  }
}

void VakModelAlgorithmI::applyTerms(const VakLinearI* linear) {
  const int first = getColumnCount();
  for (const VakNumLinExprTermI* t = linear->_terms.first(); t != nullptr; t = t->next) {
    addColumn(static_cast<VakModelVarI*>(t->var));
  }
  applyCoefs({}, first);
  if (!_isLoaded) return;
  if (linear == _model->_objective) {
    objectiveChanged();
  } else if (const int row = getRow(linear); row >= 0) {
    rowChanged(row);
  }
}

void VakModelAlgorithmI::applyAdded(const VakAddChange& change) {
  const VakMembersView& members = change.getMembers();
  const int firstColumn = getColumnCount();
  for (VakModelVarI* variable : members.variables) addColumn(variable);
  applyCoefs(change.getCoefs(), firstColumn);
  if (!_isLoaded) return;
  const int firstRow = getRowCount();
  for (VakConstraintI* constraint : members.constraints) {
    if (getRow(constraint) < 0) Append(_rows, _rowOf, constraint);
  }
  if (getRowCount() > firstRow) {
    rowsAdded(firstRow, getRowCount() - firstRow);
    ++_hooksDone;
  }
  if (_isLoaded && members.objective != nullptr) objectiveChanged();
}

void VakModelAlgorithmI::applyRemoved(const VakChange& change) {
  Removed removed;
  if (const auto* c = as<VakRemoveChange>(change)) {
    for (const VakConstraintI* constraint : c->getMembers().constraints) note(constraint, removed);
    for (const VakModelVarI* variable : c->getMembers().variables) note(variable, removed);
    if (c->getMembers().objective != nullptr) note(c->getMembers().objective, removed);
  } else if (const auto* destroyed = as<VakDestroyExtractable>(change)) {
    note(destroyed->getExtractable(), removed);
  } else {
    for (const VakExtractableI* e :
         static_cast<const VakRemoveFromAllChange&>(change).getExtractables()) {
      if (e != nullptr) note(e, removed);
    }
  }
  if (removed.model) {
    drop();
    return;
  }
  sortDifferent(removed.rows);
  sortDifferent(removed.columns);
  if (!removed.rows.empty()) {
    rowsRemoved(removed.rows);
    ++_hooksDone;
    if (!_isLoaded) return;
    Compact(_rows, _rowOf, removed.rows);
  }
  if (!removed.columns.empty()) {
    columnsRemoved(removed.columns);
    ++_hooksDone;
    if (!_isLoaded) return;
    Compact(_columns, _columnOf, removed.columns);
  }
  if (removed.objective) objectiveChanged();
}

void VakModelAlgorithmI::note(const VakExtractableI* object, Removed& removed) const {
  if (object == _model) removed.model = true;
  if (object == _objective) removed.objective = true;
  const int column = getColumn(object);
  if (column >= 0 && getVariable(column) == object) removed.columns.push_back(column);
  const int row = getRow(object);
  if (row >= 0 && getConstraint(row) == object) removed.rows.push_back(row);
}

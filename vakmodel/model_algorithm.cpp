#include "vakmodel/model_algorithm.h"

#include <algorithm>
#include <limits>

#include "vakenv/core/environment_impl.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/model_evaluator.h"
#include "vakmodel/object_text.h"

/// Values of variables in the algorithm's solution.
class VakModelAlgorithmI::Evaluator final : public VakModelEvaluatorI {
 public:
  explicit Evaluator(const VakModelAlgorithmI* algorithm) : _algorithm(algorithm) {}
  [[nodiscard]] VakNum getValue(const VakNumVarI* var) const override {
    const int column = _algorithm->getColumn(var);
    const bool isKnown = column >= 0 && _algorithm->getVariable(column) == var;
    if (!isKnown || !_algorithm->hasSolution()) return std::numeric_limits<VakNum>::quiet_NaN();
    return _algorithm->getColumnValue(column);
  }

 private:
  const VakModelAlgorithmI* _algorithm;  ///< The owner.
};

VakModelAlgorithmI::~VakModelAlgorithmI() noexcept(false) = default;

void VakModelAlgorithmI::end() {
  if (_busy == 0) {
    VakAlgorithmI::end();
    return;
  }
  detach();
  _isOver = true;
}

// ---- Extraction and solution --------------------------------------------------------------------

void VakModelAlgorithmI::requireRest() const {
  if (_isRunning) throw VakNoChangeDuringSearchException();
}

void VakModelAlgorithmI::extract(VakModel model) {
  requireRest();
  VakModelI* impl = model.checked();
  VakCheckUsable(impl, _env, nullptr);
  forgetModel();
  _model = impl;
  try {
    loadModel();
  } catch (...) {
    forgetModel();
    throw;
  }
}

void VakModelAlgorithmI::clear() {
  requireRest();
  forgetModel();
}

void VakModelAlgorithmI::forgetModel() {
  drop();
  _model = nullptr;
}

void VakModelAlgorithmI::drop() {
  _status = VakStatus::NotSolved;
  _columns.clear();
  _rows.clear();
  _columnOf.clear();
  _rowOf.clear();
  _objective = nullptr;
  if (!std::exchange(_isLoaded, false)) return;
  unload();
}

void VakModelAlgorithmI::loadModel() {
  try {
    list();
    _isLoaded = true;  // So that drop() unloads what load() leaves behind when it throws.
    load();
  } catch (...) {
    drop();
    throw;
  }
}

void VakModelAlgorithmI::list() {
  for (VakInt i = 0; i < _model->_variables.size(); ++i) {
    if (_model->_variables[i] == nullptr) continue;
    Append(_columns, _columnOf, static_cast<VakModelVarI*>(_model->_variables[i]));
  }
  for (VakInt i = 0; i < _model->_constraints.size(); ++i) {
    if (_model->_constraints[i] == nullptr) continue;
    Append(_rows, _rowOf, static_cast<VakConstraintI*>(_model->_constraints[i]));
  }
  _objective = _model->_objective;
}

VakStatus VakModelAlgorithmI::solve() {
  requireRest();
  if (_model == nullptr) throw VakAlgorithm::Exception("No model was extracted.");
  const Busy busy(this);
  if (!_isLoaded) loadModel();
  _isAborting.store(false, std::memory_order_relaxed);
  _isOutOfDate = false;
  _isRunning = true;
  VakStatus status = VakStatus::Failed;
  try {
    status = run();
  } catch (...) {
    endRun(status);
    throw;
  }
  endRun(status);
  return status;
}

void VakModelAlgorithmI::endRun(VakStatus status) {
  _isRunning = false;
  if (_isOutOfDate) {
    drop();
  } else {
    _status = status;
  }
}

VakNum VakModelAlgorithmI::getValue(VakNumVar x) const {
  const int column = getColumn(x.checked());
  if (!hasSolution()) throw VakAlgorithm::Exception("No solution is available.");
  if (column < 0 || getVariable(column) != x.getImpl()) {
    throw VakAlgorithm::Exception("A variable is not in the solved model.");
  }
  return getColumnValue(column);
}

VakNum VakModelAlgorithmI::getValue(const VakExpr& e) const {
  VakNum value = e.getConstant();
  for (const VakTerm& term : e.getTerms()) value += term.coef * getValue(term.var);
  return value;
}

VakNum VakModelAlgorithmI::getObjectiveValue() const {
  if (_model == nullptr || !hasSolution()) {
    throw VakAlgorithm::Exception("No solution is available.");
  }
  const VakObjectiveI* objective = _model->_objective;
  if (objective == nullptr) return 0;
  VakNum value = objective->_constant;
  forEachTerm(objective, [&](int column, VakNum coef) { value += coef * getColumnValue(column); });
  return value;
}

void VakModelAlgorithmI::makeModelEvaluator() {
  if (_modelEvaluator != nullptr) return;
  try {
    _modelEvaluator = new Evaluator(this);
  } catch (const std::bad_alloc&) {
    throw VakMemoryException();
  }
}

void VakModelAlgorithmI::refuse(std::span<VakExtractableI* const> objects) {
  VakExtractableArray array{VakEnv(_env)};
  try {
    for (VakExtractableI* object : objects) array.add(object);
  } catch (...) {
    array.end();
    throw;
  }
  throw VakAlgorithm::CannotChangeException(VakAlgorithm(this), array);
}

// ---- Hooks that are not overridden --------------------------------------------------------------

void VakModelAlgorithmI::boundsChanged(std::span<const int> /*columns*/) { drop(); }
void VakModelAlgorithmI::kindsChanged(std::span<const int> /*columns*/) { drop(); }
void VakModelAlgorithmI::rowBoundsChanged(std::span<const int> /*rows*/) { drop(); }
void VakModelAlgorithmI::coefsChanged(std::span<const Entry> /*entries*/) { drop(); }
void VakModelAlgorithmI::rowChanged(int /*row*/) { drop(); }
void VakModelAlgorithmI::objectiveChanged() { drop(); }
void VakModelAlgorithmI::columnsAdded(int /*first*/, int /*count*/,
                                      std::span<const Entry> /*entries*/) {
  drop();
}
void VakModelAlgorithmI::rowsAdded(int /*first*/, int /*count*/) { drop(); }
void VakModelAlgorithmI::rowsRemoved(std::span<const int> /*rows*/) { drop(); }
void VakModelAlgorithmI::columnsRemoved(std::span<const int> /*columns*/) { drop(); }

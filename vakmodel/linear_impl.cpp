#include "vakmodel/linear_impl.h"

#include <array>
#include <cmath>
#include <utility>

#include "vakenv/core/create.h"
#include "vakmodel/annotations.h"
#include "vakmodel/contract/model_evaluator.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"
#include "vakmodel/variable_impl.h"

namespace {

// Bounds of the terms alone, from those of a relation with a constant.
struct Bounds {
  VakNum lb;
  VakNum ub;
};

// A bound that overflowed must not be taken for one that is not there.
void checkOverflow(const VakExtractableI* user, VakNum given, VakNum constant, VakNum bound) {
  if (!std::isfinite(given) || std::isfinite(bound)) return;
  VakThrowModelError(user,
                     "The bounds of %s: %g is too large once the constant %g of the expression "
                     "went over to it. Give smaller numbers.",
                     VakObjectText(user, "a new constraint").get(), given, constant);
}

Bounds checkBounds(const VakExtractableI* user, const VakRelation& relation) {
  const VakNum constant = relation.getExpr().getConstant();
  VakCheckConstant(user, "a new constraint", constant);
  const Bounds bounds{relation.getLB() - constant, relation.getUB() - constant};
  checkOverflow(user, relation.getLB(), constant, bounds.lb);
  checkOverflow(user, relation.getUB(), constant, bounds.ub);
  VakCheckBounds(user, "a new constraint", bounds.lb, bounds.ub);
  return bounds;
}

// An exchange of terms: those that it took from their owner, until everybody was told.
class SetAside final : private VakUnsettledI {
 public:
  /// `model` is that of the owner, null for none.
  SetAside(const VakExtractableI* owner, const VakModelI* model, VakOwnTermsI& terms)
      : _owner(owner), _model(model), _terms(terms) {}

 private:
  [[nodiscard]] bool holds(const VakExtractableI* e) const noexcept override {
    return e == _owner || e == _model;
  }
  void dropHidden(const VakExtractableI* owner) noexcept override {
    if (owner == _owner) _terms.removeHidden(_terms.env);
  }

  const VakExtractableI* _owner;
  const VakExtractableI* _model;
  VakOwnTermsI& _terms;
};

// Terms of a clone: each variable becomes its clone, and two may become the same one.
void cloneTerms(const VakTermListI& terms, VakOwnTermsI& clones) {
  VakExpr expr;
  expr.reserve(static_cast<std::size_t>(terms.size()));
  for (const VakNumLinExprTermI* term = terms.first(); term != nullptr; term = term->next) {
    VakExtractableI* clone = clones.env->getClone(term->var);
    expr.addTerm(VakNumVar(static_cast<VakModelVarI*>(clone)), term->coef);
  }
  if (!expr.isNormal()) expr.normalize();
  clones.makeAll(expr);
}

}  // namespace

const VakExpr& VakCheckTerms(const VakEnvI* env, const VakExtractableI* user, const VakExpr& expr,
                             VakExpr& storage) {
  const VakExpr* checked = &expr;
  if (!expr.isNormal()) {
    storage = expr;
    storage.normalize();
    checked = &storage;
  }
  for (const VakTerm& term : checked->getTerms()) {
    VakCheckUsable(term.var.getImpl(), env, user);
    VakCheckCoef(term.var.getImpl(), user, term.coef);
  }
  return *checked;
}

// ---- What constraints and objectives share ------------------------------------------------------

VakLinearI::~VakLinearI() noexcept(false) {
  VakUnsettledI::Forget(this);
  _terms.clear(_env);
}

void VakLinearI::leaveModelAtEnd() {
  // While the environment ends, the model may be gone already, and nobody looks at it any more.
  if (_model != nullptr && _env->_ending == 0) leaveModel();
}

void VakLinearI::removeHidden(VakInt /*mode*/) {
  const bool lostTerms = _terms.removeHidden(_env);
  VakUnsettledI::DropHidden(this);
  const bool lostModel = IsHidden(_model);
  if (lostModel) leaveModel();
  const bool isPointless = lostModel || (lostTerms && _terms.empty() && isPointlessWithoutTerms() &&
                                         !VakUnsettledI::IsHeld(this));
  if (isPointless && _env->isDestroying()) _env->removeFromAllAndDestroy(this, 0);
}

void VakLinearI::dropHidden() noexcept {
  _terms.removeHidden(_env);
  VakUnsettledI::DropHidden(this);
  if (IsHidden(_model)) leaveModel();
}

void VakLinearI::checkCoef(const VakModelVarI* var, VakNum coef) const {
  VakCheckUsable(var, _env, this);
  VakCheckCoef(var, this, coef);
}

void VakLinearI::setCoef(VakModelVarI* var, VakNum coef) {
  VakCheckUsable(this, _env, nullptr);
  checkCoef(var, coef);
  const VakNumLinExprTermI* term = _terms.find(var);
  if (coef == (term == nullptr ? 0 : term->coef)) return;
  std::vector<VakCoefI> coefs(1, VakCoefI{this, var, coef});
  VakAssignCoefs(_env, coefs);
}

template <class Swap>
void VakLinearI::exchangeTerms(VakOwnTermsI& terms, Swap swapRest) {
  VakJoiningI joining(_model);
  joining.joinAll(terms);
  const SetAside setAside(this, _model, terms);
  const auto swapAll = [&] {
    _terms.swap(terms);
    swapRest();
  };
  swapAll();
  const VakTermsChange change(this);
  try {
    VakReport(_env, this, change);
  } catch (...) {
    swapAll();
    VakReportAgain(_env, this, change);
    joining.takeBack();
    throw;
  }
  joining.keep();
}

// ---- Constraints --------------------------------------------------------------------------------

VakConstraintI* VakConstraintI::Make(VakEnvI* env, const VakRelation& relation, const char* name) {
  VakExpr storage;
  const VakExpr& expr = VakCheckTerms(env, nullptr, relation.getExpr(), storage);
  const Bounds bounds = checkBounds(nullptr, relation);
  VakOwnTermsI terms(env);
  terms.makeAll(expr);
  auto* constraint = VakCreate<VakConstraintI>(env, bounds.lb, bounds.ub);
  constraint->_terms.swap(terms);
  VakNameNew(constraint, name);
  return constraint;
}

VakConstraintI::~VakConstraintI() noexcept(false) { leaveModelAtEnd(); }

void VakConstraintI::leaveModel() { _model->forget(this); }

void VakConstraintI::setBounds(VakNum lb, VakNum ub) {
  VakCheckUsable(this, _env, nullptr);
  VakCheckBounds(this, nullptr, lb, ub);
  if (lb == _lb && ub == _ub) return;
  const VakNum oldLB = std::exchange(_lb, lb);
  const VakNum oldUB = std::exchange(_ub, ub);
  const std::array<VakConstraintI*, 1> self = {this};
  const VakUnsettledObjectsI unsettled(self);
  const VakRowBoundsChange change(self);
  try {
    VakReport(_env, this, change);
  } catch (...) {
    _lb = oldLB;
    _ub = oldUB;
    VakReportAgain(_env, this, change);
    throw;
  }
}

void VakConstraintI::setRelation(const VakRelation& relation) {
  VakCheckUsable(this, _env, nullptr);
  VakExpr storage;
  const VakExpr& expr = VakCheckTerms(_env, this, relation.getExpr(), storage);
  Bounds bounds = checkBounds(this, relation);
  VakOwnTermsI terms(_env);
  terms.makeAll(expr);
  exchangeTerms(terms, [&] {
    std::swap(_lb, bounds.lb);
    std::swap(_ub, bounds.ub);
  });
}

VakExtractableI* VakConstraintI::makeClone(VakEnvI* env) const {
  VakOwnTermsI terms(env);
  cloneTerms(_terms, terms);
  auto* clone = VakCreate<VakConstraintI>(env, _lb, _ub);
  clone->_terms.swap(terms);
  clone->_keptWhenEmpty = _keptWhenEmpty;
  return VakCopyAnnotations(this, clone);
}

// ---- Objectives ---------------------------------------------------------------------------------

VakObjectiveI* VakObjectiveI::Make(VakEnvI* env, VakSense sense, const VakExpr& expr,
                                   const char* name) {
  VakExpr storage;
  const VakExpr& checked = VakCheckTerms(env, nullptr, expr, storage);
  VakCheckConstant(nullptr, "a new objective", checked.getConstant());
  VakOwnTermsI terms(env);
  terms.makeAll(checked);
  auto* objective = VakCreate<VakObjectiveI>(env, sense);
  objective->_terms.swap(terms);
  objective->_constant = checked.getConstant();
  VakNameNew(objective, name);
  return objective;
}

VakObjectiveI::~VakObjectiveI() noexcept(false) { leaveModelAtEnd(); }

void VakObjectiveI::leaveModel() {
  _model->_objective = nullptr;
  _model = nullptr;
}

void VakObjectiveI::setSense(VakSense sense) {
  VakCheckUsable(this, _env, nullptr);
  if (sense == _sense) return;
  const std::array<VakObjectiveI*, 1> self = {this};
  const VakUnsettledObjectsI unsettled(self);
  const VakSense before = std::exchange(_sense, sense);
  const VakSenseChange change(this);
  try {
    VakReport(_env, this, change);
  } catch (...) {
    _sense = before;
    VakReportAgain(_env, this, change);
    throw;
  }
}

void VakObjectiveI::setConstant(VakNum constant) {
  VakCheckUsable(this, _env, nullptr);
  VakCheckConstant(this, nullptr, constant);
  if (constant == _constant) return;
  const std::array<VakObjectiveI*, 1> self = {this};
  const VakUnsettledObjectsI unsettled(self);
  const VakNum before = std::exchange(_constant, constant);
  const VakConstantChange change(this);
  try {
    VakReport(_env, this, change);
  } catch (...) {
    _constant = before;
    VakReportAgain(_env, this, change);
    throw;
  }
}

void VakObjectiveI::setAll(VakSense sense, const VakExpr& expr) {
  VakCheckUsable(this, _env, nullptr);
  VakExpr storage;
  const VakExpr& checked = VakCheckTerms(_env, this, expr, storage);
  VakNum constant = checked.getConstant();
  VakCheckConstant(this, nullptr, constant);
  VakOwnTermsI terms(_env);
  terms.makeAll(checked);
  exchangeTerms(terms, [&] {
    std::swap(_constant, constant);
    std::swap(_sense, sense);
  });
}

VakExtractableI* VakObjectiveI::makeClone(VakEnvI* env) const {
  VakOwnTermsI terms(env);
  cloneTerms(_terms, terms);
  auto* clone = VakCreate<VakObjectiveI>(env, _sense);
  clone->_terms.swap(terms);
  clone->_constant = _constant;
  return VakCopyAnnotations(this, clone);
}

// ---- Stored expressions -------------------------------------------------------------------------

VakNumLinExprI* VakNumLinExprI::Make(VakEnvI* env, const VakExpr& expr, const char* name) {
  VakExpr storage;
  const VakExpr& checked = VakCheckTerms(env, nullptr, expr, storage);
  VakCheckConstant(nullptr, "a new expression", checked.getConstant());
  VakOwnTermsI terms(env);
  terms.makeAll(checked);
  auto* result = VakCreate<VakNumLinExprI>(env);
  result->_terms.swap(terms);
  result->_constant = checked.getConstant();
  VakNameNew(result, name);
  return result;
}

VakNumLinExprI::~VakNumLinExprI() noexcept(false) { _terms.clear(_env); }

void VakNumLinExprI::setExpr(const VakExpr& expr) {
  VakCheckUsable(this, _env, nullptr);
  VakExpr storage;
  const VakExpr& checked = VakCheckTerms(_env, this, expr, storage);
  VakNum constant = checked.getConstant();
  VakCheckConstant(this, nullptr, constant);
  VakOwnTermsI terms(_env);
  terms.makeAll(checked);
  const auto swapAll = [&] {
    _terms.swap(terms);
    std::swap(_constant, constant);
  };
  const SetAside setAside(this, nullptr, terms);
  swapAll();
  const VakTermsChange change(this);
  try {
    VakReport(_env, this, change);
  } catch (...) {
    swapAll();
    VakReportAgain(_env, this, change);
    throw;
  }
}

VakNum VakNumLinExprI::evaluate(const VakModelEvaluatorI& point) const {
  return _constant + _terms.evaluate(point);
}

void VakNumLinExprI::removeHidden(VakInt /*mode*/) {
  _terms.removeHidden(_env);
  VakUnsettledI::DropHidden(this);
}

VakExtractableI* VakNumLinExprI::makeClone(VakEnvI* env) const {
  VakOwnTermsI terms(env);
  cloneTerms(_terms, terms);
  auto* clone = VakCreate<VakNumLinExprI>(env);
  clone->_terms.swap(terms);
  clone->_constant = _constant;
  return VakCopyAnnotations(this, clone);
}

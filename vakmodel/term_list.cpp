#include "vakmodel/term_list.h"

#include <unordered_set>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/contract/model_evaluator.h"
#include "vakmodel/variable_impl.h"

void VakOwnTermsI::makeAll(const VakExpr& expr) {
  const std::span<const VakTerm> terms = expr.getTerms();
  for (auto term = terms.rbegin(); term != terms.rend(); ++term) {
    make(term->var.getImpl(), term->coef);
  }
}

VakNumLinExprTermI* VakTermListI::findByWalk(const VakNumVarI* var) const {
  VakNumLinExprTermI* term = _first;
  while (term != nullptr && term->var != var) term = term->next;
  return term;
}

VakNumLinExprTermI* VakTermListI::unlinkAfter(VakNumLinExprTermI* before) {
  VakNumLinExprTermI* term = before == nullptr ? _first : before->next;
  (before == nullptr ? _first : before->next) = term->next;
  --_size;
  return term;
}

void VakTermListI::dropZeros(VakEnvI* env) {
  VakNumLinExprTermI* before = nullptr;
  VakNumLinExprTermI* term = _first;
  while (term != nullptr) {
    VakNumLinExprTermI* next = term->next;
    if (term->coef == 0) {
      env->recycleTerm(unlinkAfter(before));
    } else {
      before = term;
    }
    term = next;
  }
}

void VakTermListI::cut(VakEnvI* env, VakInt count) {
  for (; count > 0; --count) env->recycleTerm(takeFirst());
}

void VakTermListI::swap(VakTermListI& other) noexcept {
  std::swap(_first, other._first);
  std::swap(_highest, other._highest);
  std::swap(_size, other._size);
}

// Nothing is called back here, so the identifier table may be held over the walk.
bool VakTermListI::removeHidden(VakEnvI* env) {
  const VakIdManager* ids = env->_idManager;
  const VakInt before = _size;
  VakNumLinExprTermI* previous = nullptr;
  VakNumLinExprTermI* term = _first;
  while (term != nullptr) {
    VakNumLinExprTermI* next = term->next;
    const VakInt id = term->var->id;
    if (ids->isInTable(id) && ids->isHidden(id)) {
      env->recycleTerm(unlinkAfter(previous));
    } else {
      previous = term;
    }
    term = next;
  }
  return _size != before;
}

VakNum VakTermListI::evaluate(const VakModelEvaluatorI& point) const {
  VakNum sum = 0;
  for (const VakNumLinExprTermI* term = _first; term != nullptr; term = term->next) {
    sum += term->coef * point.getValue(term->var);
  }
  return sum;
}

void VakTermListI::addTo(VakExpr& expr) const {
  expr.reserve(expr.getTerms().size() + static_cast<std::size_t>(_size));
  for (const VakNumLinExprTermI* term = _first; term != nullptr; term = term->next) {
    expr.addTerm(VakNumVar(static_cast<VakModelVarI*>(term->var)), term->coef);
  }
}

// A circle is found as a variable that occurs twice.
std::string VakTermListI::check(const VakMemoryInspection* pool) const {
  std::unordered_set<const VakNumVarI*> seen;
  for (const VakNumLinExprTermI* term = _first; term != nullptr; term = term->next) {
    if (VakIsGone(pool, term)) {
      return VakFaultText("term ", seen.size(), " is free memory");
    }
    const void* var = term->var;
    if (var == nullptr || VakIsGone(pool, var)) {
      return VakFaultText("variable ", var, " is free memory");
    }
    if (term->coef == 0) return VakFaultText("the coefficient of variable ", var, " is 0");
    if (!seen.insert(term->var).second) return VakFaultText("variable ", var, " occurs twice");
    if (std::less<>()(_highest, term->var)) {
      return VakFaultText("variable ", var, " lies above the highest");
    }
  }
  if (static_cast<VakInt>(seen.size()) == _size) return "";
  return VakFaultText("there are ", seen.size(), " terms of the ", _size, " counted");
}

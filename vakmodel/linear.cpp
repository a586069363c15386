#include "vakmodel/linear.h"

#include "vakenv/types/exceptions.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/variable_impl.h"

VakTerm VakTermRange::Iterator::operator*() const {
  return {VakNumVar(static_cast<VakModelVarI*>(_term->var)), _term->coef};
}

VakTermRange::Iterator& VakTermRange::Iterator::operator++() {
  _term = _term->next;
  return *this;
}

VakLinear::VakLinear(VakLinearI* impl) : VakExtractable(impl) {}

VakLinearI* VakLinear::getImpl() const { return static_cast<VakLinearI*>(_impl); }

VakLinearI* VakLinear::checked() const {
  if (_impl == nullptr) ThrowEmpty("VakLinear: Using empty handle");
  return getImpl();
}

VakModel VakLinear::getModel() const { return VakModel(checked()->_model); }

VakInt VakLinear::getTermCount() const { return checked()->_terms.size(); }

VakTermRange VakLinear::terms() const { return VakTermRange(checked()->_terms.first()); }

VakNum VakLinear::getCoef(VakNumVar x) const {
  const VakLinearI* object = checked();
  const VakNumLinExprTermI* term = object->_terms.find(x.checked());
  return term == nullptr ? 0 : term->coef;
}

void VakLinear::setCoef(VakNumVar x, VakNum coef) const {
  VakLinearI* object = checked();
  object->setCoef(x.checked(), coef);
}

void VakLinear::addTerm(VakNumVar x, VakNum coef) const {
  VakLinearI* object = checked();
  object->checkCoef(x.checked(), coef);
  object->setCoef(x.getImpl(), getCoef(x) + coef);
}

void VakLinear::setCoefs(std::span<const VakNumVar> vars, std::span<const VakNum> coefs) const {
  VakLinearI* object = checked();
  VakCheckSizes("VakLinear::setCoefs", vars.size(), coefs.size());
  VakCheckUsable(object, object->_env, nullptr);
  std::vector<VakCoefI> changes;
  changes.reserve(vars.size());
  for (std::size_t i = 0; i < vars.size(); ++i) {
    object->checkCoef(vars[i].checked(), coefs[i]);
    changes.push_back({object, vars[i].getImpl(), coefs[i]});
  }
  VakAssignCoefs(object->_env, changes);
}

void VakSetCoefs(std::span<const VakCoef> coefs) {
  if (coefs.empty()) return;
  VakEnvI* env = coefs.front().linear.checked()->_env;
  std::vector<VakCoefI> changes;
  changes.reserve(coefs.size());
  for (const VakCoef& coef : coefs) {
    VakLinearI* object = coef.linear.checked();
    VakCheckUsable(object, env, nullptr);
    object->checkCoef(coef.var.checked(), coef.coef);
    changes.push_back({object, coef.var.getImpl(), coef.coef});
  }
  VakAssignCoefs(env, changes);
}

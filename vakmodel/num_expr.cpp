#include "vakmodel/num_expr.h"

#include "vakbase/terminated_text.h"
#include "vakmodel/env_check.h"
#include "vakmodel/linear_impl.h"

VakNumExpr::VakNumExpr(VakNumLinExprI* impl) : VakExtractable(impl) {}

VakNumExpr::VakNumExpr(VakEnv env, const VakExpr& expr, const char* name)
    : VakExtractable(VakNumLinExprI::Make(VakCheckEnv(env), expr, name)) {}

VakNumExpr::VakNumExpr(VakEnv env, const VakExpr& expr, std::string_view name)
    : VakNumExpr(env, expr, VakTerminatedText(name).get()) {}

VakNumExpr VakNumExpr::From(VakExtractable object) {
  VakExtractableI* impl = object.getImpl();
  if (impl == nullptr || impl->isType(VakNumLinExprI::GetTypeInfo()) == 0) return {};
  return VakNumExpr(static_cast<VakNumLinExprI*>(impl));
}

VakNumLinExprI* VakNumExpr::getImpl() const { return static_cast<VakNumLinExprI*>(_impl); }

VakNumLinExprI* VakNumExpr::checked() const {
  if (_impl == nullptr) ThrowEmpty("VakNumExpr: Using empty handle");
  return getImpl();
}

VakNum VakNumExpr::getConstant() const { return checked()->_constant; }

VakTermRange VakNumExpr::terms() const { return VakTermRange(checked()->_terms.first()); }

VakExpr VakNumExpr::getExpr() const {
  VakExpr expr(checked()->_constant);
  getImpl()->_terms.addTo(expr);
  return expr;
}

void VakNumExpr::setExpr(const VakExpr& expr) const { checked()->setExpr(expr); }

VakNum VakNumExpr::evaluate(const VakModelEvaluatorI& point) const {
  return checked()->evaluate(point);
}

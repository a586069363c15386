#include "vakmodel/objective.h"

#include <ostream>

#include "vakbase/terminated_text.h"
#include "vakmodel/env_check.h"
#include "vakmodel/linear_impl.h"

VakObjective::VakObjective(VakObjectiveI* impl) : VakLinear(impl) {}

VakObjective::VakObjective(VakEnv env, VakSense sense, const VakExpr& expr, const char* name)
    : VakLinear(VakObjectiveI::Make(VakCheckEnv(env), sense, expr, name)) {}

VakObjective::VakObjective(VakEnv env, VakSense sense, const VakExpr& expr, std::string_view name)
    : VakObjective(env, sense, expr, VakTerminatedText(name).get()) {}

VakObjective VakObjective::From(VakExtractable object) {
  VakExtractableI* impl = object.getImpl();
  if (impl == nullptr || impl->isType(VakObjectiveI::GetTypeInfo()) == 0) return {};
  return VakObjective(static_cast<VakObjectiveI*>(impl));
}

VakObjectiveI* VakObjective::getImpl() const { return static_cast<VakObjectiveI*>(_impl); }

VakObjectiveI* VakObjective::checked() const {
  if (_impl == nullptr) ThrowEmpty("VakObjective: Using empty handle");
  return getImpl();
}

VakSense VakObjective::getSense() const { return checked()->_sense; }

void VakObjective::setSense(VakSense sense) const { checked()->setSense(sense); }

VakNum VakObjective::getConstant() const { return checked()->_constant; }

void VakObjective::setConstant(VakNum constant) const { checked()->setConstant(constant); }

VakExpr VakObjective::getExpr() const {
  VakExpr expr(checked()->_constant);
  getImpl()->_terms.addTo(expr);
  return expr;
}

void VakObjective::setExpr(const VakExpr& expr) const { checked()->setExpr(expr); }

std::ostream& operator<<(std::ostream& out, VakSense sense) {
  return out << (sense == VakSense::Minimize ? "minimize" : "maximize");
}

std::ostream& operator<<(std::ostream& out, VakObjective objective) {
  if (objective.isEmpty()) return out << VakEmptyHandleText;
  out << objective.getSense();
  if (objective.getName() != nullptr) out << ' ' << objective.getName();
  return out << ": " << objective.getExpr();
}

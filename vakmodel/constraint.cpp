#include "vakmodel/constraint.h"

#include <ostream>
#include <vector>

#include "vakbase/terminated_text.h"
#include "vakmodel/env_check.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"

VakConstraint::VakConstraint(VakConstraintI* impl) : VakLinear(impl) {}

VakConstraint::VakConstraint(VakEnv env, const VakRelation& relation, const char* name)
    : VakLinear(VakConstraintI::Make(VakCheckEnv(env), relation, name)) {}

VakConstraint::VakConstraint(VakEnv env, VakNum lb, VakNum ub, const char* name)
    : VakConstraint(env, VakRelation(lb, VakExpr(), ub), name) {}

VakConstraint::VakConstraint(VakEnv env, const VakRelation& relation, std::string_view name)
    : VakConstraint(env, relation, VakTerminatedText(name).get()) {}

VakConstraint::VakConstraint(VakEnv env, VakNum lb, VakNum ub, std::string_view name)
    : VakConstraint(env, lb, ub, VakTerminatedText(name).get()) {}

VakConstraint VakConstraint::From(VakExtractable object) {
  VakExtractableI* impl = object.getImpl();
  if (impl == nullptr || impl->isType(VakConstraintI::GetTypeInfo()) == 0) return {};
  return VakConstraint(static_cast<VakConstraintI*>(impl));
}

VakConstraintI* VakConstraint::getImpl() const { return static_cast<VakConstraintI*>(_impl); }

VakConstraintI* VakConstraint::checked() const {
  if (_impl == nullptr) ThrowEmpty("VakConstraint: Using empty handle");
  return getImpl();
}

VakNum VakConstraint::getLB() const { return checked()->_lb; }

VakNum VakConstraint::getUB() const { return checked()->_ub; }

void VakConstraint::setLB(VakNum lb) const { checked()->setBounds(lb, getImpl()->_ub); }

void VakConstraint::setUB(VakNum ub) const { checked()->setBounds(getImpl()->_lb, ub); }

void VakConstraint::setBounds(VakNum lb, VakNum ub) const { checked()->setBounds(lb, ub); }

VakExpr VakConstraint::getExpr() const {
  VakExpr expr;
  checked()->_terms.addTo(expr);
  return expr;
}

VakRelation VakConstraint::getRelation() const { return {getLB(), getExpr(), getUB()}; }

void VakConstraint::setRelation(const VakRelation& relation) const {
  checked()->setRelation(relation);
}

void VakConstraint::setKeptWhenEmpty(bool kept) const { checked()->_keptWhenEmpty = kept; }

bool VakConstraint::isKeptWhenEmpty() const { return checked()->_keptWhenEmpty; }

std::ostream& operator<<(std::ostream& out, VakConstraint constraint) {
  if (constraint.isEmpty()) return out << VakEmptyHandleText;
  if (constraint.getName() != nullptr) out << constraint.getName() << ": ";
  return out << constraint.getRelation();
}

namespace {

// A change of the bounds of many constraints, which `boundsOf` gives by index.
template <class BoundsOf>
void changeAll(std::span<const VakConstraint> handles, BoundsOf boundsOf) {
  if (handles.empty()) return;
  struct Bounds {
    VakNum lb;
    VakNum ub;
  };
  VakEnvI* env = handles.front().checked()->_env;
  std::vector<VakConstraintI*> constraints;
  std::vector<Bounds> before;
  constraints.reserve(handles.size());
  before.reserve(handles.size());
  for (std::size_t i = 0; i < handles.size(); ++i) {
    VakConstraintI* constraint = handles[i].checked();
    VakCheckUsable(constraint, env, nullptr);
    const auto [lb, ub] = boundsOf(i);
    VakCheckBounds(constraint, nullptr, lb, ub);
    constraints.push_back(constraint);
    before.push_back({constraint->_lb, constraint->_ub});
  }
  const VakUnsettledObjectsI unsettled(constraints);
  for (std::size_t i = 0; i < constraints.size(); ++i) {
    const auto [lb, ub] = boundsOf(i);
    constraints[i]->_lb = lb;
    constraints[i]->_ub = ub;
  }
  const VakRowBoundsChange change(constraints);
  try {
    VakReport(env, nullptr, change);
  } catch (...) {
    for (std::size_t i = 0; i < constraints.size(); ++i) {
      constraints[i]->_lb = before[i].lb;
      constraints[i]->_ub = before[i].ub;
    }
    VakReportAgain(env, nullptr, change);
    throw;
  }
}

}  // namespace

void VakSetBounds(std::span<const VakConstraint> constraints, std::span<const VakNum> lbs,
                  std::span<const VakNum> ubs) {
  VakCheckSizes("VakSetBounds", constraints.size(), lbs.size());
  VakCheckSizes("VakSetBounds", constraints.size(), ubs.size());
  changeAll(constraints, [&](std::size_t i) { return std::pair(lbs[i], ubs[i]); });
}

void VakSetBounds(std::span<const VakConstraint> constraints, VakNum lb, VakNum ub) {
  changeAll(constraints, [&](std::size_t /*i*/) { return std::pair(lb, ub); });
}

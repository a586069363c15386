#include "vakmodel/variable.h"

#include <ostream>
#include <vector>

#include "vakbase/terminated_text.h"
#include "vakmodel/changes.h"
#include "vakmodel/env_check.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"
#include "vakmodel/variable_array.h"
#include "vakmodel/variable_impl.h"

namespace {

VakModelVarI* makeChecked(VakEnv env, VakNum lb, VakNum ub, VakVarKind kind, const char* name) {
  VakEnvI* impl = VakCheckEnv(env);
  VakModelVarI::CheckBounds(nullptr, kind, lb, ub);
  return VakModelVarI::Make(impl, kind, lb, ub, name);
}

}  // namespace

VakNumVar::VakNumVar(VakModelVarI* impl) : VakExtractable(impl) {}

VakNumVar::VakNumVar(VakEnv env, const char* name)
    : VakNumVar(env, 0, VakGetInfinity(), VakVarKind::Continuous, name) {}

VakNumVar::VakNumVar(VakEnv env, VakNum lb, VakNum ub, const char* name)
    : VakNumVar(env, lb, ub, VakVarKind::Continuous, name) {}

VakNumVar::VakNumVar(VakEnv env, VakNum lb, VakNum ub, VakVarKind kind, const char* name)
    : VakExtractable(makeChecked(env, lb, ub, kind, name)) {}

VakNumVar::VakNumVar(VakEnv env, std::string_view name)
    : VakNumVar(env, VakTerminatedText(name).get()) {}

VakNumVar::VakNumVar(VakEnv env, VakNum lb, VakNum ub, std::string_view name)
    : VakNumVar(env, lb, ub, VakTerminatedText(name).get()) {}

VakNumVar::VakNumVar(VakEnv env, VakNum lb, VakNum ub, VakVarKind kind, std::string_view name)
    : VakNumVar(env, lb, ub, kind, VakTerminatedText(name).get()) {}

VakIntVar::VakIntVar(VakEnv env, const char* name)
    : VakNumVar(env, 0, VakGetInfinity(), VakVarKind::Integer, name) {}

VakIntVar::VakIntVar(VakEnv env, VakNum lb, VakNum ub, const char* name)
    : VakNumVar(env, lb, ub, VakVarKind::Integer, name) {}

VakIntVar::VakIntVar(VakEnv env, std::string_view name)
    : VakIntVar(env, VakTerminatedText(name).get()) {}

VakIntVar::VakIntVar(VakEnv env, VakNum lb, VakNum ub, std::string_view name)
    : VakIntVar(env, lb, ub, VakTerminatedText(name).get()) {}

VakBoolVar::VakBoolVar(VakEnv env, const char* name)
    : VakNumVar(env, 0, 1, VakVarKind::Boolean, name) {}

VakBoolVar::VakBoolVar(VakEnv env, std::string_view name)
    : VakBoolVar(env, VakTerminatedText(name).get()) {}

const char* VakGetKindName(VakVarKind kind) {
  switch (kind) {
    case VakVarKind::Continuous:
      return "continuous";
    case VakVarKind::Integer:
      return "integer";
    case VakVarKind::Boolean:
      return "Boolean";
  }
  return "unknown";
}

std::ostream& operator<<(std::ostream& out, VakVarKind kind) { return out << VakGetKindName(kind); }

VakNumVar VakNumVar::From(VakExtractable object) {
  VakExtractableI* impl = object.getImpl();
  if (impl == nullptr || impl->isType(VakModelVarI::GetTypeInfo()) == 0) return {};
  return VakNumVar(static_cast<VakModelVarI*>(impl));
}

VakModelVarI* VakNumVar::getImpl() const { return static_cast<VakModelVarI*>(_impl); }

VakModelVarI* VakNumVar::checked() const {
  if (_impl == nullptr) ThrowEmpty("VakNumVar: Using empty handle");
  return getImpl();
}

VakNum VakNumVar::getLB() const { return checked()->getLB(); }

VakNum VakNumVar::getUB() const { return checked()->getUB(); }

VakVarKind VakNumVar::getKind() const { return checked()->getKind(); }

void VakNumVar::setLB(VakNum lb) const { checked()->setBounds(lb, getImpl()->getUB()); }

void VakNumVar::setUB(VakNum ub) const { checked()->setBounds(getImpl()->getLB(), ub); }

void VakNumVar::setBounds(VakNum lb, VakNum ub) const { checked()->setBounds(lb, ub); }

void VakNumVar::setKind(VakVarKind kind) const { checked()->setKind(kind); }

// ---- Many variables -----------------------------------------------------------------------------

namespace {

// A change of kind or bounds of many variables, whose new values `valuesOf` gives by index.
template <class Change, class ValuesOf>
void changeAll(std::span<const VakNumVar> vars, ValuesOf valuesOf) {
  if (vars.empty()) return;
  VakEnvI* env = vars.front().checked()->_env;
  std::vector<VakModelVarI*> variables;
  variables.reserve(vars.size());
  for (std::size_t i = 0; i < vars.size(); ++i) {
    VakModelVarI* variable = vars[i].checked();
    VakCheckUsable(variable, env, nullptr);
    const auto values = valuesOf(*variable, i);
    VakModelVarI::CheckBounds(variable, values.kind, values.lb, values.ub);
    variables.push_back(variable);
  }
  std::vector<VakModelVarI::State> before;
  before.reserve(vars.size());
  // Backwards, since a variable may be listed twice.
  const auto takeBack = [&] {
    while (!before.empty()) {
      variables[before.size() - 1]->restore(before.back());
      before.pop_back();
    }
  };
  const VakUnsettledObjectsI unsettled(variables);
  const Change change(variables);
  bool isReporting = false;
  try {
    for (std::size_t i = 0; i < variables.size(); ++i) {
      const auto values = valuesOf(*variables[i], i);
      const VakModelVarI::State state = variables[i]->getState();
      variables[i]->assign(values.kind, values.lb, values.ub);
      before.push_back(state);
    }
    isReporting = true;
    VakReport(env, nullptr, change);
  } catch (...) {
    takeBack();
    if (isReporting) VakReportAgain(env, nullptr, change);
    throw;
  }
}

struct Values {
  VakVarKind kind;
  VakNum lb;
  VakNum ub;
};

}  // namespace

void VakSetBounds(std::span<const VakNumVar> vars, std::span<const VakNum> lbs,
                  std::span<const VakNum> ubs) {
  VakCheckSizes("VakSetBounds", vars.size(), lbs.size());
  VakCheckSizes("VakSetBounds", vars.size(), ubs.size());
  changeAll<VakBoundsChange>(vars, [&](const VakModelVarI& variable, std::size_t i) {
    return Values{variable.getKind(), lbs[i], ubs[i]};
  });
}

void VakSetBounds(std::span<const VakNumVar> vars, VakNum lb, VakNum ub) {
  changeAll<VakBoundsChange>(vars, [&](const VakModelVarI& variable, std::size_t /*i*/) {
    return Values{variable.getKind(), lb, ub};
  });
}

void VakSetKind(std::span<const VakNumVar> vars, VakVarKind kind) {
  changeAll<VakKindChange>(vars, [&](const VakModelVarI& variable, std::size_t /*i*/) {
    return Values{kind, variable.getLB(), variable.getUB()};
  });
}

// ---- Arrays of variables ------------------------------------------------------------------------

namespace {

// A new array of `n` new variables with the bounds that `boundsOf` gives by index.
template <class BoundsOf>
VakArrayI* makeArray(VakEnv env, VakInt n, VakVarKind kind, BoundsOf boundsOf) {
  VakEnvI* impl = VakCheckEnv(env);
  if (n < 0) {
    VakThrowModelError(nullptr, "VakNumVarArray: %ld variables cannot be made. Give 0 or more.", n);
  }
  VakArray<VakNumVar> array(env, n);
  VakInt made = 0;
  try {
    for (; made < n; ++made) {
      const auto [lb, ub] = boundsOf(made);
      VakModelVarI::CheckBounds(nullptr, kind, lb, ub);
      array[made] = VakNumVar(VakModelVarI::Make(impl, kind, lb, ub));
    }
  } catch (...) {
    while (made-- > 0) delete array[made].getImpl();
    array.end();
    throw;
  }
  return array.getImpl();
}

}  // namespace

VakNumVarArray::VakNumVarArray(VakEnv env, VakInt n, VakNum lb, VakNum ub, VakVarKind kind)
    : VakArray(makeArray(env, n, kind, [&](VakInt) {
        return VakOwnBoundsI{lb, ub};
      })) {}

VakNumVarArray::VakNumVarArray(VakEnv env, std::span<const VakNum> lbs, std::span<const VakNum> ubs,
                               VakVarKind kind)
    : VakArray((VakCheckSizes("VakNumVarArray", lbs.size(), ubs.size()),
                makeArray(env, static_cast<VakInt>(lbs.size()), kind, [&](VakInt i) {
                  const auto index = static_cast<std::size_t>(i);
                  return VakOwnBoundsI{lbs[index], ubs[index]};
                }))) {}

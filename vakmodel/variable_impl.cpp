#include "vakmodel/variable_impl.h"

#include <array>
#include <cmath>
#include <limits>

#include "vakbase/globals.h"
#include "vakenv/core/create.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakmodel/annotations.h"
#include "vakmodel/changes.h"
#include "vakmodel/debugger.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"

namespace {

constexpr VakInt LargestExactInt = VakInt{1} << 53;

// Links what debuggers read into every program that has variables.
[[gnu::used, gnu::retain]] const VakModelDebuggerTypes* const DescribedTypes =
    &VakDescribedModelTypes;

bool isUsual(VakVarKind kind, VakNum lb, VakNum ub) {
  return lb == 0 && ub == (kind == VakVarKind::Boolean ? 1 : VakGetInfinity());
}

bool isSmallWhole(VakNum value) {
  return std::trunc(value) == value && std::abs(value) <= static_cast<VakNum>(LargestExactInt);
}

// The domain of these bounds from one of the environment's tables; null when there is none and the
// table is full enough. Most variables find theirs, which takes no memory.
template <class Range, class Number>
VakVarDomainI* findOrShare(VakEnvI* env, VakSharedDomainHash<Range*>& table, Number lb, Number ub) {
  Range range(env, lb, ub);
  VakVarDomainI* domain = nullptr;
  if (table.find(&range, domain) == VakHashDone) return domain;
  if (table._nbItems >= VakModelVarI::MostSharedDomains) return nullptr;
  return env->getOrMakeSharedDomain(lb, ub);
}

// While a local environment is installed nothing is shared. The integers 0 and 1 are left out
// because the environment's domain for them is the Boolean one.
VakVarDomainI* findShared(VakEnvI* env, VakVarKind kind, VakNum lb, VakNum ub) {
  if (env->_localEnv != nullptr) return nullptr;
  if (kind == VakVarKind::Continuous) return findOrShare(env, *env->_numDomains, lb, ub);
  if (kind == VakVarKind::Boolean || !isSmallWhole(lb) || !isSmallWhole(ub)) return nullptr;
  if (lb == 0 && ub == 1) return nullptr;
  return findOrShare(env, *env->_intDomains, static_cast<VakInt>(lb), static_cast<VakInt>(ub));
}

}  // namespace

VakModelVarI* VakModelVarI::Make(VakEnvI* env, VakVarKind kind, VakNum lb, VakNum ub,
                                 const char* name) {
  const std::uintptr_t domain = ChooseDomain(env, kind, lb, ub);
  VakModelVarI* variable;
  try {
    variable = VakCreate<VakModelVarI>(env, domain);
  } catch (...) {
    GiveBackOwn(env, domain);
    throw;
  }
  VakNameNew(variable, name);
  return variable;
}

VakModelVarI* VakModelVarI::MakeAfter(Last& last, VakEnvI* env, VakVarKind kind, VakNum lb,
                                      VakNum ub) {
  const bool isSame = kind == last.kind && lb == last.lb && ub == last.ub;
  if (isSame && env->_localEnv == nullptr) [[likely]]
    return VakCreate<VakModelVarI>(env, last.domain);
  CheckBounds(nullptr, kind, lb, ub);
  VakModelVarI* variable = Make(env, kind, lb, ub);
  last = variable->hasOwn() ? Last() : Last{kind, lb, ub, variable->_domain};
  return variable;
}

void VakModelVarI::ThrowBoolean(const VakModelVarI* var, VakNum lb, VakNum ub) {
  VakThrowModelError(var,
                     "The bounds of %s: %g and %g do not lie within 0 and 1, as those of a Boolean "
                     "variable must. Make it an integer variable.",
                     VakObjectText(var, "a new variable").get(), lb, ub);
}

VakModelVarI::~VakModelVarI() noexcept(false) { GiveBackOwn(_env, _domain); }

VakNum VakModelVarI::getSharedLB() const { return shared() == nullptr ? 0 : shared()->getLB(); }

VakNum VakModelVarI::getSharedUB() const {
  if (shared() != nullptr) return shared()->getUB();
  return getKind() == VakVarKind::Boolean ? 1 : VakGetInfinity();
}

void VakModelVarI::assign(VakVarKind kind, VakNum lb, VakNum ub) {
  if (hasOwn()) {
    *own() = {lb, ub};
    _domain = (_domain & ~KindBits) | static_cast<std::uintptr_t>(kind);
    return;
  }
  const bool staysUsual =
      shared() == nullptr && isUsual(kind, lb, ub) && isUsual(getKind(), lb, ub);
  _domain = staysUsual ? static_cast<std::uintptr_t>(kind) : MakeOwn(_env, kind, lb, ub);
}

void VakModelVarI::restore(const State& state) noexcept {
  if ((state.domain & OwnBit) == 0) {
    GiveBackOwn(_env, _domain);
  } else {
    *own() = {state.lb, state.ub};
  }
  _domain = state.domain;
}

void VakModelVarI::setBoundsAfterChecks(VakNum lb, VakNum ub) {
  VakCheckUsable(this, _env, nullptr);
  CheckBounds(this, getKind(), lb, ub);
  const State before = getState();
  if (before.lb == lb && before.ub == ub) return;
  assign(getKind(), lb, ub);
  if (VakHasListeners(_env)) reportBounds(before);
}

void VakModelVarI::reportBounds(const State& before) {
  const std::array<VakModelVarI*, 1> self = {this};
  const VakUnsettledObjectsI unsettled(self);
  const VakBoundsChange change(self);
  try {
    _env->change(this, change);
  } catch (...) {
    restore(before);
    VakReportAgain(_env, this, change);
    throw;
  }
}

void VakModelVarI::setKind(VakVarKind kind) {
  VakCheckUsable(this, _env, nullptr);
  const State before = getState();
  CheckBounds(this, kind, before.lb, before.ub);
  if (getKind() == kind) return;
  assign(kind, before.lb, before.ub);
  const std::array<VakModelVarI*, 1> self = {this};
  const VakUnsettledObjectsI unsettled(self);
  const VakKindChange change(self);
  try {
    VakReport(_env, this, change);
  } catch (...) {
    restore(before);
    VakReportAgain(_env, this, change);
    throw;
  }
}

VakExtractableI* VakModelVarI::makeClone(VakEnvI* env) const {
  return VakCopyAnnotations(this, Make(env, getKind(), getLB(), getUB()));
}

std::uintptr_t VakModelVarI::ChooseDomain(VakEnvI* env, VakVarKind kind, VakNum lb, VakNum ub) {
  const auto kindBits = static_cast<std::uintptr_t>(kind);
  if (isUsual(kind, lb, ub)) return kindBits;
  if (VakVarDomainI* domain = findShared(env, kind, lb, ub)) {
    return reinterpret_cast<std::uintptr_t>(domain) | kindBits;
  }
  return MakeOwn(env, kind, lb, ub);
}

std::uintptr_t VakModelVarI::MakeOwn(VakEnvI* env, VakVarKind kind, VakNum lb, VakNum ub) {
  auto* bounds = ::new (env->allocate(sizeof(VakOwnBoundsI))) VakOwnBoundsI{lb, ub};
  return reinterpret_cast<std::uintptr_t>(bounds) | OwnBit | static_cast<std::uintptr_t>(kind);
}

void VakModelVarI::GiveBackOwn(VakEnvI* env, std::uintptr_t domain) {
  if ((domain & OwnBit) == 0) return;
  env->giveBack(reinterpret_cast<void*>(domain & PointerBits), sizeof(VakOwnBoundsI));
}

#include "vakmodel/domains/var_domain.h"

#include <cmath>

namespace {

// The numbers from -2^63 up to but not including 2^63 that are whole convert to VakInt unchanged.
constexpr VakNum IntEnd = 9223372036854775808.0;

bool isInt(VakNum value) {
  return value >= -IntEnd && value < IntEnd && std::floor(value) == value;
}

bool isWithin(VakNum value, VakInt lb, VakInt ub) {
  return isInt(value) && static_cast<VakInt>(value) >= lb && static_cast<VakInt>(value) <= ub;
}

}  // namespace

VakVarDomainI::VakVarDomainI(VakEnvI* env) : VakRttiEnvObjectI(env) {}
VakVarDomainI::~VakVarDomainI() noexcept(false) = default;
bool VakVarDomainI::isShared() const { return false; }

VakNumVarDomainI::VakNumVarDomainI(VakEnvI* env, VakNum lb, VakNum ub)
    : VakVarDomainI(env), _lb(lb), _ub(ub) {}
VakNumVarDomainI::~VakNumVarDomainI() noexcept(false) = default;

bool VakNumVarDomainI::contains(VakNum value) const { return value >= _lb && value <= _ub; }

VakIntVarDomainI::VakIntVarDomainI(VakEnvI* env, VakInt lb, VakInt ub, VakInt step)
    : VakVarDomainI(env), _lb(lb), _ub(ub), _step(step) {}
VakIntVarDomainI::~VakIntVarDomainI() noexcept(false) = default;

// The distance to the lower bound is taken without a sign, since it may exceed the range of VakInt.
bool VakIntVarDomainI::contains(VakNum value) const {
  if (!isWithin(value, _lb, _ub)) return false;
  if (_step == 0) return true;
  const unsigned long distance =
      static_cast<unsigned long>(static_cast<VakInt>(value)) - static_cast<unsigned long>(_lb);
  return distance % static_cast<unsigned long>(_step) == 0;
}

VakBoolVarDomainI::VakBoolVarDomainI(VakEnvI* env, VakBool lb, VakBool ub)
    : VakVarDomainI(env), _lb(lb), _ub(ub) {}
VakBoolVarDomainI::~VakBoolVarDomainI() noexcept(false) = default;

bool VakBoolVarDomainI::contains(VakNum value) const { return isWithin(value, _lb, _ub); }

VakNumSharedVarDomainI::VakNumSharedVarDomainI(VakEnvI* env, VakNum lb, VakNum ub)
    : VakNumVarDomainI(env, lb, ub) {}
VakNumSharedVarDomainI::~VakNumSharedVarDomainI() noexcept(false) = default;
bool VakNumSharedVarDomainI::isShared() const { return true; }

VakIntSharedVarDomainI::VakIntSharedVarDomainI(VakEnvI* env, VakInt lb, VakInt ub, VakInt step)
    : VakIntVarDomainI(env, lb, ub, step) {}
VakIntSharedVarDomainI::~VakIntSharedVarDomainI() noexcept(false) = default;
bool VakIntSharedVarDomainI::isShared() const { return true; }

VakBoolSharedVarDomainI::VakBoolSharedVarDomainI(VakEnvI* env, VakBool lb, VakBool ub)
    : VakBoolVarDomainI(env, lb, ub) {}
VakBoolSharedVarDomainI::~VakBoolSharedVarDomainI() noexcept(false) = default;
bool VakBoolSharedVarDomainI::isShared() const { return true; }

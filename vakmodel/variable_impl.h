#pragma once

// Variables: the implementation behind VakNumVar.
//
// A variable is 48 bytes, of which one word says all about its kind and bounds:
//
//   bits 0 and 1   the kind (VakVarKind)
//   bit 2          set: the rest points to bounds of the variable's own (VakOwnBoundsI)
//   the rest       0: the usual bounds of the kind: [0, infinity), for Boolean [0, 1]
//                  otherwise, with bit 2 clear: a domain that the environment shares among all
//                  variables with these bounds
//
// New variables share domains as long as few different bounds are about; a variable whose bounds
// are changed gets bounds of its own. So a model with a handful of bounds pays nothing for them,
// and one in which every bound is different does not fill the tables of the environment.

#include <cstdint>
#include <limits>

#include "vakmodel/contract/expression.h"
#include "vakmodel/fwd.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"

/// Bounds that belong to one variable.
///
/// Threads: read-shared, as the object that it belongs to.
/// Phases: open, as long as that object.
struct VakOwnBoundsI {
  VakNum lb;  ///< Lower bound.
  VakNum ub;  ///< Upper bound.
};

/// A variable of the modelling layer. Made with Make; ends as every extractable does.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: VakEnvI::destroy, a removal, `delete`, or the environment's end.
class VakModelVarI final : public VakNumVarI {
  VAK_RTTI(VakModelVarI, VakNumVarI);

  /// Domains that the table of one sort may hold before new variables get bounds of their own.
  static constexpr VakInt MostSharedDomains = 1024;

  /// A new variable in the memory of `env`, with bounds that were checked. Throws std::bad_alloc
  /// and what registration throws. `name` may be null.
  [[nodiscard]] static VakModelVarI* Make(VakEnvI* env, VakVarKind kind, VakNum lb, VakNum ub,
                                          const char* name = nullptr);
  /// Kind and bounds of the last of several variables that are made one after the other, if what
  /// it has is shared. At first the bounds are NaN, which no bounds equal.
  struct Last {
    VakVarKind kind = VakVarKind::Continuous;              ///< Its kind.
    VakNum lb = std::numeric_limits<VakNum>::quiet_NaN();  ///< Its lower bound.
    VakNum ub = std::numeric_limits<VakNum>::quiet_NaN();  ///< Its upper bound.
    std::uintptr_t domain = 0;                             ///< What it shares.
  };
  /// Makes a variable as Make does, which checks the bounds as CheckBounds does. What is shared is
  /// not looked up again as long as kind and bounds are those of `last`, which they become.
  [[nodiscard]] static VakModelVarI* MakeAfter(Last& last, VakEnvI* env, VakVarKind kind, VakNum lb,
                                               VakNum ub);
  /// Throws VakModelError unless these are bounds for a variable of this kind. `var` is the one
  /// that is to get them, null for a new one.
  static void CheckBounds(const VakModelVarI* var, VakVarKind kind, VakNum lb, VakNum ub) {
    VakCheckBounds(var, "a new variable", lb, ub);
    if (kind == VakVarKind::Boolean && (lb < 0 || ub > 1)) [[unlikely]]
      ThrowBoolean(var, lb, ub);
  }

  /// For Make: kind and bounds as the word above. Takes bounds of its own over.
  VakModelVarI(VakEnvI* env, std::uintptr_t domain) : VakNumVarI(env), _domain(domain) {
    enterSlot();
  }
  ~VakModelVarI() noexcept(false) override;

  /// Kind and bounds, whether they are shared or its own.
  [[nodiscard]] VakVarKind getKind() const { return static_cast<VakVarKind>(_domain & KindBits); }
  [[nodiscard]] VakNum getLB() const { return hasOwn() ? own()->lb : getSharedLB(); }
  [[nodiscard]] VakNum getUB() const { return hasOwn() ? own()->ub : getSharedUB(); }

  /// What restore() needs.
  struct State {
    std::uintptr_t domain;  ///< As `_domain`.
    VakNum lb;              ///< Lower bound.
    VakNum ub;              ///< Upper bound.
  };
  /// Its kind and bounds, to bring them back after a refusal.
  [[nodiscard]] State getState() const { return {_domain, getLB(), getUB()}; }
  /// Sets kind and bounds, which were checked; tells nobody. Throws std::bad_alloc, having changed
  /// nothing.
  void assign(VakVarKind kind, VakNum lb, VakNum ub);
  /// Brings kind and bounds back as they were at getState(), with assign() alone since.
  void restore(const State& state) noexcept;

  /// Checked, reported, undone when the report throws.
  void setBounds(VakNum lb, VakNum ub);
  void setKind(VakVarKind kind);

  /// A variable of the same kind and bounds with copies of name and properties.
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override;

 private:
  static constexpr std::uintptr_t KindBits = 3;
  static constexpr std::uintptr_t OwnBit = 4;
  static constexpr std::uintptr_t PointerBits = ~std::uintptr_t{7};

  [[gnu::noinline]] void setBoundsAfterChecks(VakNum lb, VakNum ub);
  [[gnu::noinline]] void reportBounds(const State& before);
  [[noreturn, gnu::cold]] static void ThrowBoolean(const VakModelVarI* var, VakNum lb, VakNum ub);
  [[nodiscard]] static std::uintptr_t ChooseDomain(VakEnvI* env, VakVarKind kind, VakNum lb,
                                                   VakNum ub);
  [[nodiscard]] static std::uintptr_t MakeOwn(VakEnvI* env, VakVarKind kind, VakNum lb, VakNum ub);
  static void GiveBackOwn(VakEnvI* env, std::uintptr_t domain);
  [[nodiscard]] bool hasOwn() const { return (_domain & OwnBit) != 0; }
  [[nodiscard]] VakNum getSharedLB() const;
  [[nodiscard]] VakNum getSharedUB() const;
  [[nodiscard]] VakOwnBoundsI* own() const {
    return reinterpret_cast<VakOwnBoundsI*>(_domain & PointerBits);
  }
  [[nodiscard]] VakVarDomainI* shared() const {
    return reinterpret_cast<VakVarDomainI*>(_domain & PointerBits);
  }

  std::uintptr_t _domain;  ///< Kind and bounds, as told at the top.
};

static_assert(sizeof(VakModelVarI) == 48, "a million variables are 48 MB");

// The usual path: bounds of its own, and nothing is wrong.
inline void VakModelVarI::setBounds(VakNum lb, VakNum ub) {
  constexpr VakNum infinity = std::numeric_limits<VakNum>::infinity();
  const bool isSound = lb <= ub && lb < infinity && ub > -infinity;
  const bool isPlain = hasOwn() && getKind() != VakVarKind::Boolean && id != -1;
  if (!isSound || !isPlain || _env->isRemoving()) [[unlikely]] {
    setBoundsAfterChecks(lb, ub);
    return;
  }
  VakOwnBoundsI& bounds = *own();
  if (!VakHasListeners(_env)) {
    bounds = {lb, ub};
  } else if (bounds.lb != lb || bounds.ub != ub) {
    const State before = {_domain, bounds.lb, bounds.ub};
    bounds = {lb, ub};
    reportBounds(before);
  }
}

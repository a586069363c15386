#pragma once

// Domains of decision variables: what values a variable may take.
//
// A domain never changes, so many variables can share one. The environment's
// getOrMakeSharedDomain hands out the shared kinds; the plain kinds belong to whoever made them.
// The shared kinds add nothing to the plain ones but their type.

#include "vakbase/numbers.h"
#include "vakenv/memory/env_object.h"

/// Base of all domains. A lower bound above the upper one is an empty domain.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakVarDomainI : public VakRttiEnvObjectI {
  VAK_RTTI(VakVarDomainI, VakRttiEnvObjectI);

  explicit VakVarDomainI(VakEnvI* env);
  ~VakVarDomainI() noexcept(false) override;

  /// The least and the greatest value as numbers; infinite where there is none.
  [[nodiscard]] virtual VakNum getLB() const = 0;
  [[nodiscard]] virtual VakNum getUB() const = 0;
  /// True when `value` is in the domain; never for NaN.
  [[nodiscard]] virtual bool contains(VakNum value) const = 0;
  /// True for a domain that the environment keeps and hands out to everybody: it must not be
  /// deleted.
  [[nodiscard]] virtual bool isShared() const;
};

/// All numbers from the lower to the upper bound.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakNumVarDomainI : public VakVarDomainI {
  VAK_RTTI(VakNumVarDomainI, VakVarDomainI);

  /// From `lb` to `ub`.
  VakNumVarDomainI(VakEnvI* env, VakNum lb, VakNum ub);
  ~VakNumVarDomainI() noexcept(false) override;

  [[nodiscard]] VakNum getLB() const override { return _lb; }
  [[nodiscard]] VakNum getUB() const override { return _ub; }
  [[nodiscard]] bool contains(VakNum value) const override;

 private:
  const VakNum _lb;  ///< Lower bound.
  const VakNum _ub;  ///< Upper bound.
};

/// The integers from the lower to the upper bound: all of them, or every `step`-th beginning with
/// the lower bound.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakIntVarDomainI : public VakVarDomainI {
  VAK_RTTI(VakIntVarDomainI, VakVarDomainI);

  /// A `step` of 0 stands for every integer and must not be negative: not checked.
  VakIntVarDomainI(VakEnvI* env, VakInt lb, VakInt ub, VakInt step);
  ~VakIntVarDomainI() noexcept(false) override;

  [[nodiscard]] VakNum getLB() const override { return static_cast<VakNum>(_lb); }
  [[nodiscard]] VakNum getUB() const override { return static_cast<VakNum>(_ub); }
  [[nodiscard]] bool contains(VakNum value) const override;
  /// The bounds and the distance of the values as whole numbers.
  [[nodiscard]] VakInt getIntLB() const { return _lb; }
  [[nodiscard]] VakInt getIntUB() const { return _ub; }
  [[nodiscard]] VakInt getStep() const { return _step; }

 private:
  const VakInt _lb;    ///< Lower bound.
  const VakInt _ub;    ///< Upper bound.
  const VakInt _step;  ///< Distance of neighbouring values; 0: every integer.
};

/// Truth values: the integers from the lower to the upper bound, which lie within 0 and 1.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakBoolVarDomainI : public VakVarDomainI {
  VAK_RTTI(VakBoolVarDomainI, VakVarDomainI);

  /// From `lb` to `ub`.
  VakBoolVarDomainI(VakEnvI* env, VakBool lb, VakBool ub);
  ~VakBoolVarDomainI() noexcept(false) override;

  [[nodiscard]] VakNum getLB() const override { return static_cast<VakNum>(_lb); }
  [[nodiscard]] VakNum getUB() const override { return static_cast<VakNum>(_ub); }
  [[nodiscard]] bool contains(VakNum value) const override;

 private:
  const VakBool _lb;  ///< Lower bound.
  const VakBool _ub;  ///< Upper bound.
};

/// A numeric domain that an environment keeps for everybody with these bounds.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakNumSharedVarDomainI final : public VakNumVarDomainI {
  VAK_RTTI(VakNumSharedVarDomainI, VakNumVarDomainI);

  /// From `lb` to `ub`.
  VakNumSharedVarDomainI(VakEnvI* env, VakNum lb, VakNum ub);
  ~VakNumSharedVarDomainI() noexcept(false) override;
  [[nodiscard]] bool isShared() const override;
};

/// An integer domain that an environment keeps for everybody with these bounds.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakIntSharedVarDomainI final : public VakIntVarDomainI {
  VAK_RTTI(VakIntSharedVarDomainI, VakIntVarDomainI);

  /// From `lb` to `ub`, each `step`-th number.
  VakIntSharedVarDomainI(VakEnvI* env, VakInt lb, VakInt ub, VakInt step);
  ~VakIntSharedVarDomainI() noexcept(false) override;
  [[nodiscard]] bool isShared() const override;
};

/// A Boolean domain that an environment keeps for everybody with these bounds.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakBoolSharedVarDomainI final : public VakBoolVarDomainI {
  VAK_RTTI(VakBoolSharedVarDomainI, VakBoolVarDomainI);

  /// From `lb` to `ub`.
  VakBoolSharedVarDomainI(VakEnvI* env, VakBool lb, VakBool ub);
  ~VakBoolSharedVarDomainI() noexcept(false) override;
  [[nodiscard]] bool isShared() const override;
};

static_assert(sizeof(VakNumSharedVarDomainI) == sizeof(VakNumVarDomainI));
static_assert(sizeof(VakIntSharedVarDomainI) == sizeof(VakIntVarDomainI));
static_assert(sizeof(VakBoolSharedVarDomainI) == sizeof(VakBoolVarDomainI));

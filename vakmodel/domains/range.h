#pragma once

// Ranges: pairs of bounds, which are also the keys of the tables of shared domains.

#include "vakbase/numbers.h"
#include "vakenv/memory/env_object.h"

/// A pair of integer bounds in an environment. The bounds never change and are not compared with
/// each other: a lower bound above the upper one is an empty range.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakIntRangeI : public VakRttiEnvObjectI {
  VAK_RTTI(VakIntRangeI, VakRttiEnvObjectI);

  /// From `lb` to `ub`; their order is not checked.
  VakIntRangeI(VakEnvI* env, VakInt lb, VakInt ub);
  ~VakIntRangeI() noexcept(false) override;

  /// The bounds.
  [[nodiscard]] VakInt getLB() const { return _lb; }
  [[nodiscard]] VakInt getUB() const { return _ub; }
  /// A range with the same bounds in the memory of `env`, owned by the caller. A table keeps it as
  /// a key for the life of the environment, while this range may be deleted at any time. Throws
  /// std::bad_alloc.
  [[nodiscard]] virtual VakIntRangeI* makeKey(VakEnvI* env) const;

 private:
  const VakInt _lb;  ///< Lower bound.
  const VakInt _ub;  ///< Upper bound.
};

/// A pair of numeric bounds in an environment, otherwise like VakIntRangeI. A bound may be infinite
/// or NaN.
///
/// Threads: thread safe to read: it never changes after it is made.
/// Phases: open.
/// Gives back: shared ones go with the environment; others by `delete`.
class VakNumRangeI : public VakRttiEnvObjectI {
  VAK_RTTI(VakNumRangeI, VakRttiEnvObjectI);

  /// From `lb` to `ub`; their order is not checked.
  VakNumRangeI(VakEnvI* env, VakNum lb, VakNum ub);
  ~VakNumRangeI() noexcept(false) override;

  /// The bounds.
  [[nodiscard]] VakNum getLB() const { return _lb; }
  [[nodiscard]] VakNum getUB() const { return _ub; }
  /// A range with the same bounds in the memory of `env`; see VakIntRangeI::makeKey.
  [[nodiscard]] virtual VakNumRangeI* makeKey(VakEnvI* env) const;

 private:
  const VakNum _lb;  ///< Lower bound.
  const VakNum _ub;  ///< Upper bound.
};

// Hash and equality of ranges for the tables of shared domains. The hash is an index in 0 ..
// size - 1 for every positive size. Equal ranges have equal hashes: -0.0 equals 0.0 and NaN equals
// NaN, whatever its bits. The comparisons answer 1 or 0.

[[nodiscard]] VakInt VakIntDomainHashFunction(VakIntRangeI* range, VakInt size);
[[nodiscard]] VakInt VakIntDomainCompFunction(VakIntRangeI* a, VakIntRangeI* b);
[[nodiscard]] VakInt VakNumDomainHashFunction(VakNumRangeI* range, VakInt size);
[[nodiscard]] VakInt VakNumDomainCompFunction(VakNumRangeI* a, VakNumRangeI* b);

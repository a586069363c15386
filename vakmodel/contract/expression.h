#pragma once

// The bases of expressions and variables.

#include "vakenv/fwd.h"
#include "vakmodel/contract/extractable.h"

/// An extractable that several others share, and that goes with its last user.
///
/// Users count themselves in with use() and out with VakEnvI::release, which knows when the
/// expression is gone already: the environment is ending, or the running removal destroyed it.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: release() takes back use(); else as VakExtractableI.
class VakExprI : public VakExtractableI {
  VAK_RTTI(VakExprI, VakExtractableI);

  explicit VakExprI(VakEnvI* env);
  ~VakExprI() noexcept(false) override;

  /// Counts one more user.
  void use() { ++_useCount; }
  /// Number of users.
  [[nodiscard]] VakInt getUseCount() const { return _useCount; }
  /// Drops one use and destroys the expression when none is left; one that was never used goes at
  /// once. When an algorithm refuses that, the refusal passes on and the expression stays, unused.
  virtual void release();

  VakInt _useCount = 0;  ///< Number of users; a new expression has none.
};

/// A numeric expression.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: release() takes back use(); else as VakExtractableI.
class VakNumExprI : public VakExprI {
  VAK_RTTI(VakNumExprI, VakExprI);

  explicit VakNumExprI(VakEnvI* env);
  ~VakNumExprI() noexcept(false) override;

  /// The value at a point; a NaN when a variable in it has no value there.
  [[nodiscard]] virtual VakNum evaluate(const VakModelEvaluatorI& point) const = 0;
};

/// An expression over untyped values.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: release() takes back use(); else as VakExtractableI.
class VakAnyExprI : public VakExprI {
  VAK_RTTI(VakAnyExprI, VakExprI);

  explicit VakAnyExprI(VakEnvI* env);
  ~VakAnyExprI() noexcept(false) override;
};

/// A numeric variable.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: release() takes back use(); else as VakExtractableI.
class VakNumVarI : public VakNumExprI {
  VAK_RTTI(VakNumVarI, VakNumExprI);

  explicit VakNumVarI(VakEnvI* env);
  ~VakNumVarI() noexcept(false) override;

  /// The value that the point gives this variable.
  [[nodiscard]] VakNum evaluate(const VakModelEvaluatorI& point) const override;
};

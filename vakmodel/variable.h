#pragma once

// Decision variables.
//
//   VakNumVar x(env, 0, 40, "x");     a number from 0 to 40
//   VakIntVar n(env, 0, 10);          a whole number
//   VakBoolVar open(env, "open");     0 or 1
//
// Variables stand in expressions: 3 * x + 2 * n - 1 (vakmodel/expr.h). A variable belongs to its
// environment, not to a model, and may stand in several models.

#include <span>

#include "vakbase/globals.h"
#include "vakmodel/extractable.h"

class VakVarEquality;

/// The kind in words, as in "Boolean"; of static lifetime.
/// Threads: thread safe. Phases: any.
[[nodiscard]] const char* VakGetKindName(VakVarKind kind);
/// Writes the kind in words.
/// Threads: confined, as the stream is. Phases: any.
std::ostream& operator<<(std::ostream& out, VakVarKind kind);

/// Handle of a variable; see VakExtractable.
///
/// Bounds are numbers, or plus or minus VakGetInfinity() where there is none. Wrong bounds throw
/// VakModelError and change nothing: a bound that is NaN, a lower bound above the upper one, a
/// lower bound of plus infinity, an upper bound of minus infinity, and for a Boolean variable a
/// bound outside 0 and 1. So does every change of a variable that was taken out of its environment.
///
/// Each change is reported once. When an algorithm refuses it or anything else throws, the variable
/// gets its old state back, whoever had accepted is told of that, and the exception passes on.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakNumVar : public VakExtractable {
 public:
  VakNumVar() = default;
  /// A handle on an existing variable; null makes an empty handle.
  explicit VakNumVar(VakModelVarI* impl);
  /// A new continuous variable without an upper bound, and 0 as its lower bound. Throws
  /// VakEmptyHandleException ("VakEnv: Using empty handle") for an empty environment.
  explicit VakNumVar(VakEnv env, const char* name = nullptr);
  /// A new continuous variable with these bounds.
  VakNumVar(VakEnv env, VakNum lb, VakNum ub, const char* name = nullptr);
  /// A new variable of this kind with these bounds.
  VakNumVar(VakEnv env, VakNum lb, VakNum ub, VakVarKind kind, const char* name = nullptr);
  // The same with names of a known length.
  VakNumVar(VakEnv env, std::string_view name);
  VakNumVar(VakEnv env, VakNum lb, VakNum ub, std::string_view name);
  VakNumVar(VakEnv env, VakNum lb, VakNum ub, VakVarKind kind, std::string_view name);

  /// The object as a variable; an empty handle when it is something else.
  [[nodiscard]] static VakNumVar From(VakExtractable object);
  [[nodiscard]] VakModelVarI* getImpl() const;
  /// The same; throws "VakNumVar: Using empty handle" when there is none.
  [[nodiscard]] VakModelVarI* checked() const;

  /// Bounds and kind; a bound that is not there is infinite.
  [[nodiscard]] VakNum getLB() const;
  [[nodiscard]] VakNum getUB() const;
  [[nodiscard]] VakVarKind getKind() const;
  /// True for integer and Boolean variables.
  [[nodiscard]] bool isInteger() const { return getKind() != VakVarKind::Continuous; }

  /// Changes one bound, and reports that. Throws VakModelError when the bounds would cross.
  void setLB(VakNum lb) const;
  void setUB(VakNum ub) const;
  /// Sets both bounds in one change, which matters when one moves beyond the other's old place.
  void setBounds(VakNum lb, VakNum ub) const;
  /// Sets both bounds to `value`.
  void fix(VakNum value) const { setBounds(value, value); }
  /// Changes the kind and keeps the bounds. Only a variable whose bounds lie within 0 and 1 becomes
  /// Boolean.
  void setKind(VakVarKind kind) const;
};

/// Handle of a variable that was made as an integer one. It is a VakNumVar: setKind still applies.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakIntVar : public VakNumVar {
 public:
  VakIntVar() = default;
  /// A new integer variable, 0 or more.
  explicit VakIntVar(VakEnv env, const char* name = nullptr);
  VakIntVar(VakEnv env, VakNum lb, VakNum ub, const char* name = nullptr);
  VakIntVar(VakEnv env, std::string_view name);
  VakIntVar(VakEnv env, VakNum lb, VakNum ub, std::string_view name);
};

/// Handle of a variable that was made as a Boolean one. It is a VakNumVar: setKind still applies.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakBoolVar : public VakNumVar {
 public:
  VakBoolVar() = default;
  /// A variable that is 0 or 1. The name is copied; null for none. Throws std::bad_alloc.
  explicit VakBoolVar(VakEnv env, const char* name = nullptr);
  VakBoolVar(VakEnv env, std::string_view name);
};

/// What `x == y` between variables gives: a relation that can be added to a model, and where a
/// truth value is needed, whether both handles hold the same variable.
///
/// Threads: confined; each thread may have its own, over variables that others read too.
/// Phases: open, while the variables in it live; gone of itself.
class VakVarEquality {
 public:
  /// Of these two, either of which may be empty.
  VakVarEquality(VakNumVar left, VakNumVar right) : _left(left), _right(right) {}
  /// True when both are the same variable. Deliberate: not explicit, as a comparison's answer.
  operator bool() const { return _left.is(_right); }
  /// The two sides.
  [[nodiscard]] VakNumVar getLeft() const { return _left; }
  [[nodiscard]] VakNumVar getRight() const { return _right; }

 private:
  VakNumVar _left;
  VakNumVar _right;
};

/// Whether two handles are of one variable; for == also the relation between them.
[[nodiscard]] inline VakVarEquality operator==(VakNumVar a, VakNumVar b) { return {a, b}; }
[[nodiscard]] inline bool operator!=(VakNumVar a, VakNumVar b) { return !a.is(b); }

// ---- Changes of many variables, reported as one -------------------------------------------------

// The spans must be equally long (VakModelError otherwise) and the variables of one environment; an
// empty handle throws VakEmptyHandleException. All is checked before anything changes, and a
// refusal brings all of it back. A variable that stands in the span twice gets its last bounds.

void VakSetBounds(std::span<const VakNumVar> vars, std::span<const VakNum> lbs,
                  std::span<const VakNum> ubs);
/// Gives all of them these bounds.
void VakSetBounds(std::span<const VakNumVar> vars, VakNum lb, VakNum ub);
/// Gives all of them this kind.
void VakSetKind(std::span<const VakNumVar> vars, VakVarKind kind);

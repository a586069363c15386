#pragma once

// Linear constraints.
//
//   VakConstraint c = model.add(3 * x + 2 * y <= 12, "capacity");
//   c.setUB(10);          the right-hand side
//   c.setCoef(x, 4);      a coefficient

#include "vakmodel/linear.h"
#include "vakmodel/relation.h"

/// Handle of a constraint: lower <= terms <= upper; see VakLinear.
///
/// A constant of the expression it is made from goes over to the bounds. Bounds are numbers, or
/// plus or minus VakGetInfinity() where there is none; a constraint without any is a free row.
/// Wrong bounds throw as for variables.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakConstraint : public VakLinear {
 public:
  VakConstraint() = default;
  explicit VakConstraint(VakConstraintI* impl);
  /// A new constraint, in no model yet. Throws VakEmptyHandleException
  /// ("VakEnv: Using empty handle") for an empty environment.
  VakConstraint(VakEnv env, const VakRelation& relation, const char* name = nullptr);
  /// A new constraint without terms.
  VakConstraint(VakEnv env, VakNum lb, VakNum ub, const char* name = nullptr);
  // The same with names of a known length.
  VakConstraint(VakEnv env, const VakRelation& relation, std::string_view name);
  VakConstraint(VakEnv env, VakNum lb, VakNum ub, std::string_view name);

  /// The object as a constraint; an empty handle when it is something else.
  [[nodiscard]] static VakConstraint From(VakExtractable object);
  [[nodiscard]] VakConstraintI* getImpl() const;
  /// The same; throws "VakConstraint: Using empty handle" when there is none.
  [[nodiscard]] VakConstraintI* checked() const;

  /// The bounds of the expression without its constant; infinite for none. Setting one reports it.
  [[nodiscard]] VakNum getLB() const;
  [[nodiscard]] VakNum getUB() const;
  void setLB(VakNum lb) const;
  void setUB(VakNum ub) const;
  void setBounds(VakNum lb, VakNum ub) const;

  /// The terms as an expression without a constant.
  [[nodiscard]] VakExpr getExpr() const;
  /// Bounds and terms as a relation.
  [[nodiscard]] VakRelation getRelation() const;
  /// Replaces terms and bounds in one change.
  void setRelation(const VakRelation& relation) const;

  /// Whether the constraint stays when the last variable in it is ended. Off at first: it is ended
  /// too then. A constraint that other variables are to join later wants it on. Not a change of the
  /// model: nobody is told.
  void setKeptWhenEmpty(bool kept) const;
  [[nodiscard]] bool isKeptWhenEmpty() const;
};

/// Another name for the same: a constraint is a range that a linear expression has to stay in.
using VakRange = VakConstraint;

/// Writes it as the relation, after its name and a colon if it has one; an empty handle as (empty).
std::ostream& operator<<(std::ostream& out, VakConstraint constraint);

// Many right-hand sides in one change; see VakSetBounds for variables.

void VakSetBounds(std::span<const VakConstraint> constraints, std::span<const VakNum> lbs,
                  std::span<const VakNum> ubs);
void VakSetBounds(std::span<const VakConstraint> constraints, VakNum lb, VakNum ub);

#pragma once

// Expressions that live in an environment: with a name and properties, to be looked at again and
// again, as a sum of costs whose value is asked for after every solution.

#include "vakmodel/linear.h"

/// Handle of a stored expression: terms and a constant; see VakExtractable.
///
/// It is no part of any model. Where it stands in an expression, its terms are copied at that
/// moment. A variable that is ended or removed from all leaves it like everything else. Wrong terms
/// throw, and changes are reported, as for VakLinear.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakNumExpr : public VakExtractable {
 public:
  VakNumExpr() = default;
  explicit VakNumExpr(VakNumLinExprI* impl);
  /// Throws VakEmptyHandleException ("VakEnv: Using empty handle") for an empty environment.
  explicit VakNumExpr(VakEnv env, const VakExpr& expr = {}, const char* name = nullptr);

  /// The same with a name of a known length.
  VakNumExpr(VakEnv env, const VakExpr& expr, std::string_view name);

  /// The object as a stored expression; an empty handle when it is something else.
  [[nodiscard]] static VakNumExpr From(VakExtractable object);
  [[nodiscard]] VakNumLinExprI* getImpl() const;
  /// The same; throws "VakNumExpr: Using empty handle" when there is none.
  [[nodiscard]] VakNumLinExprI* checked() const;

  /// What the stored expression consists of, and an exchange of it, which is reported. Throw
  /// VakEmptyHandleException on an empty handle.
  [[nodiscard]] VakNum getConstant() const;
  [[nodiscard]] VakTermRange terms() const;
  [[nodiscard]] VakExpr getExpr() const;
  void setExpr(const VakExpr& expr) const;
  /// The value at a point; NaN when a variable in it has no value there.
  [[nodiscard]] VakNum evaluate(const VakModelEvaluatorI& point) const;
};

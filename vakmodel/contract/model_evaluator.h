#pragma once

// Values of expressions at a point.

#include <vector>

#include "vakenv/fwd.h"

/// Evaluates expressions at a point: an assignment of values to variables.
///
/// Made and owned by an algorithm. This form stores the values it is given; an algorithm that has
/// a solution derives from it and answers from there. Values are kept by identifier, so they are to
/// be cleared when variables come and go.
///
/// Threads: read-shared for getValue and evaluate.
/// Phases: open, while the variables it has values for live.
/// Gives back: its algorithm deletes it.
class VakModelEvaluatorI {
 public:
  VakModelEvaluatorI();
  virtual ~VakModelEvaluatorI();
  VakModelEvaluatorI(const VakModelEvaluatorI&) = delete;
  VakModelEvaluatorI& operator=(const VakModelEvaluatorI&) = delete;

  /// The value of `var`, or a quiet NaN when it has none.
  [[nodiscard]] virtual VakNum getValue(const VakNumVarI* var) const;
  /// The value of `e`, which must not be null; a NaN when a variable in it has no value.
  [[nodiscard]] VakNum evaluate(const VakNumExprI* e) const;
  /// Gives `var`, which must be registered, a value.
  void setValue(const VakNumVarI* var, VakNum value);
  /// Forgets all values.
  void clear();

 private:
  std::vector<VakNum> _values;  ///< By identifier; NaN stands for none.
};

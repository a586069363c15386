#include "vakmodel/contract/model_evaluator.h"

#include <cstddef>
#include <limits>

#include "vakmodel/contract/expression.h"

namespace {

constexpr VakNum NoValue = std::numeric_limits<VakNum>::quiet_NaN();

}  // namespace

VakModelEvaluatorI::VakModelEvaluatorI() = default;

VakModelEvaluatorI::~VakModelEvaluatorI() = default;

VakNum VakModelEvaluatorI::getValue(const VakNumVarI* var) const {
  const auto index = static_cast<std::size_t>(var->id);
  return index < _values.size() ? _values[index] : NoValue;
}

VakNum VakModelEvaluatorI::evaluate(const VakNumExprI* e) const { return e->evaluate(*this); }

void VakModelEvaluatorI::setValue(const VakNumVarI* var, VakNum value) {
  const auto index = static_cast<std::size_t>(var->id);
  if (index >= _values.size()) _values.resize(index + 1, NoValue);
  _values[index] = value;
}

void VakModelEvaluatorI::clear() { _values.clear(); }

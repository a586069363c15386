#include "vakmodel/contract/expression.h"

#include "vakenv/core/environment_impl.h"
#include "vakmodel/contract/model_evaluator.h"

VakExprI::VakExprI(VakEnvI* env) : VakExtractableI(env) {}

VakExprI::~VakExprI() noexcept(false) = default;

void VakExprI::release() {
  if (_useCount > 0) --_useCount;
  if (_useCount == 0) _env->destroy(this, 0);
}

VakNumExprI::VakNumExprI(VakEnvI* env) : VakExprI(env) {}

VakNumExprI::~VakNumExprI() noexcept(false) = default;

VakAnyExprI::VakAnyExprI(VakEnvI* env) : VakExprI(env) {}

VakAnyExprI::~VakAnyExprI() noexcept(false) = default;

VakNumVarI::VakNumVarI(VakEnvI* env) : VakNumExprI(env) {}

VakNumVarI::~VakNumVarI() noexcept(false) = default;

VakNum VakNumVarI::evaluate(const VakModelEvaluatorI& point) const { return point.getValue(this); }

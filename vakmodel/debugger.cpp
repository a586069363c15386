#include "vakmodel/debugger.h"

#include "vakmodel/errors.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/variable_impl.h"

struct VakModelDebuggerTypes {
  const VakModelVarI* variable;
  const VakOwnBoundsI* bounds;
  const VakConstraintI* constraint;
  const VakObjectiveI* objective;
  const VakNumLinExprI* expression;
  const VakModelI* model;
  const VakModelError* error;
  const VakModelMismatch* mismatch;
};

extern constinit const VakModelDebuggerTypes VakDescribedModelTypes = {};

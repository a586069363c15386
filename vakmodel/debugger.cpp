#include "vakmodel/debugger.h"

#include "vakenv/memory/env_life.h"
#include "vakmodel/errors.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model_algorithm.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/ref.h"
#include "vakmodel/variable_impl.h"

struct VakModelDebuggerTypes {
  const VakModelVarI* variable;
  const VakOwnBoundsI* bounds;
  const VakConstraintI* constraint;
  const VakObjectiveI* objective;
  const VakNumLinExprI* expression;
  const VakModelI* model;
  const VakModelAlgorithmI* algorithm;
  const VakEnvLifeCell* life;
  const VakAnyRef* reference;
  const VakModelError* error;
  const VakModelMismatch* mismatch;
  const VakRefError* referenceError;
};

extern constinit const VakModelDebuggerTypes VakDescribedModelTypes = {};

#pragma once

// What an application includes to write, change and copy models.
//
//   VakEnv env;
//   VakModel model(env);
//   VakNumVar x(env, 0, 40, "x"), y(env, "y");
//   model.add(x + 2 * y <= 14);
//   model.add(1 <= x - y <= 2, "balance");
//   model.maximize(3 * x + 4 * y);
//
// What is made of what: variables and numbers make expressions (expr.h), expressions make relations
// (relation.h), relations make constraints (constraint.h), and constraints, variables and an
// objective make a model (model.h). Algorithms are attached to the environment, and every change of
// a model reaches them.

#include "vakenv/arrays.h"
#include "vakenv/environment.h"
#include "vakenv/properties.h"
#include "vakmodel/check.h"
#include "vakmodel/constraint.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/copy.h"
#include "vakmodel/dump.h"
#include "vakmodel/errors.h"
#include "vakmodel/expr.h"
#include "vakmodel/extractable.h"
#include "vakmodel/linear.h"
#include "vakmodel/model.h"
#include "vakmodel/num_expr.h"
#include "vakmodel/objective.h"
#include "vakmodel/ref.h"
#include "vakmodel/relation.h"
#include "vakmodel/status.h"
#include "vakmodel/variable.h"
#include "vakmodel/variable_array.h"

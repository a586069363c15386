#pragma once

// Names the classes of the modelling layer.

#include "vakenv/fwd.h"

// Handles and values, which applications use.
class VakExtractable;
class VakNumVar;
class VakIntVar;
class VakBoolVar;
class VakNumVarArray;
struct VakTerm;
class VakExpr;
class VakRelation;
class VakNumExpr;
class VakLinear;
class VakConstraint;
class VakObjective;
class VakModel;
class VakCopier;
class VakObjectMap;

// Implementations.
class VakModelVarI;
class VakTermListI;
class VakNumLinExprI;
class VakLinearI;
class VakConstraintI;
class VakObjectiveI;
class VakModelI;
class VakPlacesI;
class VakModelAlgorithmI;

/// What values a variable may take within its bounds.
enum class VakVarKind : unsigned char {
  Continuous,  ///< Every number.
  Integer,     ///< Whole numbers. Bounds may be fractional: they count as they stand.
  Boolean,     ///< 0 and 1. Bounds lie within 0 and 1.
};

/// In which direction an objective is optimised.
enum class VakSense : unsigned char { Minimize, Maximize };

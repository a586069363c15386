#pragma once

// The marks that tell the constructors of arrays from a list of values from the other constructors.

#include "vakbase/numbers.h"

/// The second value of a list of numeric values; a number stands wherever one is taken.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
struct VakVarArgsNum {
  /// Deliberate: not explicit, so that numbers may stand where values are listed.
  VakVarArgsNum(VakNum value) : _value(value) {}
  VakNum _value;  ///< The value.
};

/// The second value of a list of integer or Boolean values.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
struct VakVarArgsInt {
  /// Deliberate: not explicit, so that numbers may stand where values are listed.
  VakVarArgsInt(VakInt value) : _value(value) {}
  VakInt _value;  ///< The value.
};

static_assert(sizeof(VakVarArgsNum) == 8 && sizeof(VakVarArgsInt) == 8,
              "marks travel as the value they carry");

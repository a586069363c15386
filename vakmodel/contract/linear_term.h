#pragma once

// The record of one term of a linear expression.

#include <type_traits>

#include "vakenv/fwd.h"

/// `coef` times `var`, in a list of terms. Made by VakEnvI::newTerm and given back with
/// VakEnvI::recycleTerm; nothing else constructs or destroys it.
///
/// Threads: confined, as the list it is in.
/// Phases: open.
/// Gives back: VakEnvI::recycleTerm takes back VakEnvI::newTerm.
struct VakNumLinExprTermI {
  VakNumVarI* var;           ///< The variable; not owned.
  VakNumLinExprTermI* next;  ///< The next term; null at the end, and in a new term.
  VakNum coef;               ///< The coefficient.
};

static_assert(sizeof(VakNumLinExprTermI) == 24, "the term pool hands out elements of 24 bytes");
static_assert(std::is_trivial_v<VakNumLinExprTermI>, "no constructor of a term ever runs");

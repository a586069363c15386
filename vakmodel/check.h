#pragma once

// The deep check of an environment with the models in it.

#include <string>

#include "vakenv/memory/env.h"

/// VakEnv::check(), and if that finds nothing, the proof of every model, constraint, objective and
/// stored expression of `env`: lists, places, terms, and that no term is free memory. Returns an
/// empty text if everything holds; else a line for each object that is broken, which names it by
/// its class and its identifier.
///
/// Not from within a report of a change, while terms may have a coefficient of 0. Costs linear time
/// in what the environment holds. Takes no memory from the environment. Throws std::bad_alloc, and
/// VakEmptyHandleException ("VakEnv: Using empty handle") for an empty handle.
///
/// Threads: confined: no other thread uses the environment.
/// Phases: open.
[[nodiscard]] std::string VakCheckModels(VakEnv env);

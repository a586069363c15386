#pragma once

// Everything that an environment and the models in it can prove about themselves, as one text.

#include <string>

#include "vakenv/memory/env.h"
#include "vakmodel/check.h"

/// An empty text if every structure of `env` is sound, else what is broken. Costs time in the size
/// of everything in the environment, and no memory of the environment.
[[nodiscard]] inline std::string VakDeepCheck(VakEnvI* env) { return VakCheckModels(VakEnv(env)); }

#pragma once

// The environment behind a handle that objects are to be made in.

#include "vakenv/memory/env.h"
#include "vakenv/types/exceptions.h"

/// Throws VakEmptyHandleException ("VakEnv: Using empty handle") for an empty handle.
[[nodiscard]] inline VakEnvI* VakCheckEnv(VakEnv env) {
  if (env.getImpl() == nullptr) throw VakEmptyHandleException("VakEnv: Using empty handle");
  return env.getImpl();
}

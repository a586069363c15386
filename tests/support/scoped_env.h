#pragma once

// An environment that ends with the scope of a test.

#include <gtest/gtest.h>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/tarn_alloc.h"

/// Creates an environment and ends it at the end of the scope unless the test has done so, having
/// made sure that everything in it is sound.
class VakScopedEnv {
 public:
  VakScopedEnv() = default;
  ~VakScopedEnv() {
    if (env.getImpl() == nullptr) return;
    EXPECT_EQ(env.check(), "");
    env.end();
  }
  VakScopedEnv(const VakScopedEnv&) = delete;
  VakScopedEnv& operator=(const VakScopedEnv&) = delete;

  [[nodiscard]] VakEnvI* impl() const { return env.getImpl(); }
  VakEnvI* operator->() const { return env.getImpl(); }
  [[nodiscard]] VakTarnAlloc* allocator() const { return env.getImpl()->_allocator; }

  VakEnv env;
};

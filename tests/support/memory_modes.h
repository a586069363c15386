#pragma once

// Runs the tests of a parameterised suite with pooled memory and without.

#include <gtest/gtest.h>

#include <string>

/// Names a test by its mode: the parameter is what `VakMemory` is constructed with.
inline std::string VakMemoryModeName(const testing::TestParamInfo<long>& mode) {
  return mode.param != 0 ? "Pooled" : "NotPooled";
}

/// Instantiates the tests of `Suite`, a `testing::TestWithParam<long>`, for both modes.
#define VAK_IN_BOTH_MEMORY_MODES(Suite) \
  INSTANTIATE_TEST_SUITE_P(, Suite, testing::Values(1L, 0L), VakMemoryModeName)

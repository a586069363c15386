#pragma once

// Tests about what the checked build changes on purpose.

#include <gtest/gtest.h>

#include "vakbase/checked_memory.h"

/// Skips a test in the checked build, for a reason that is told.
#define VAK_SKIP_IN_CHECKED_BUILD(reason) \
  if (VakChecksMemory) GTEST_SKIP() << (reason)

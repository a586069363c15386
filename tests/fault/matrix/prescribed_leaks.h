#pragma once

// The memory that operations leave behind because the contract of the library says so: all of it,
// and nothing else is passed over.

#include <span>

#include "tests/fault/matrix/fault_kind.h"

/// An operation whose failure loses memory of the environment, or heap blocks, on purpose.
struct VakPrescribedLeak {
  const char* operation;  ///< Its name in the matrix.
  VakFaultKind kind;      ///< What has to fail for it.
  const char* reason;     ///< What is lost, and why.
};

[[nodiscard]] std::span<const VakPrescribedLeak> VakGetPrescribedLeaks();
[[nodiscard]] bool VakIsPrescribedLeak(const char* operation, VakFaultKind kind);

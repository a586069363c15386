#pragma once

// The memory that operations leave behind because the contract of the library says so: all of it,
// and nothing else is passed over.

#include <span>

#include "tests/fault/matrix/fault_kind.h"
#include "vakbase/numbers.h"

/// An operation whose failure loses memory of the environment, or heap blocks, on purpose.
struct VakPrescribedLeak {
  const char* operation;  ///< Its name in the matrix.
  VakFaultKind kind;      ///< What has to fail for it.
  VakInt mostBytes;       ///< Bytes of environments that stay in use; 0: none.
  long mostBlocks;        ///< Heap blocks that are left when all has ended; 0: none.
  const char* reason;     ///< What is lost, and why.
};

[[nodiscard]] std::span<const VakPrescribedLeak> VakGetPrescribedLeaks();
/// The leak of an operation when that fails in it; null for none.
[[nodiscard]] const VakPrescribedLeak* VakFindPrescribedLeak(const char* operation,
                                                             VakFaultKind kind);

#pragma once

// Drives operations with every fault that they can meet.

#include <array>
#include <string>
#include <vector>

#include "tests/fault/matrix/fault_kind.h"
#include "tests/fault/matrix/operation.h"

/// How the points of one kind went.
struct VakFaultCount {
  long tried = 0;     ///< Points at which the operation was made to fail.
  long survived = 0;  ///< Points after which everything was as it has to be.
};

/// How one operation went, in the memory mode of the environments of the moment.
struct VakFaultRow {
  std::array<VakFaultCount, VakFaultKinds.size()> counts;  ///< By kind.
  std::vector<std::string> defects;                        ///< In words; empty when all is well.
};

/// Runs the operation with its first, second, ... request of each kind failing, each time on a new
/// stage, until it succeeds without reaching the request that was to fail. Memory fails twice at
/// each point: once for that request alone, once for that and all that follow.
///
/// A point is survived if what failed is what comes out, the deep check finds nothing, no memory is
/// lost, the operation then succeeds and is taken back, memory in use is what it is when nothing
/// fails, and the environments end with every heap block given back.
[[nodiscard]] VakFaultRow VakDriveFaults(const VakFaultOperation& operation);

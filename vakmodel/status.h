#pragma once

// How a solve ended.

#include <iosfwd>

/// What an algorithm knows of its model. Whether it has a solution is asked for apart, since a
/// limit may strike before or after one was found.
enum class VakStatus : unsigned char {
  NotSolved,              ///< Not solved yet, or the model changed since.
  Optimal,                ///< The solution is optimal within the tolerances.
  Infeasible,             ///< There is no solution.
  Unbounded,              ///< Solutions exist and the objective has no limit.
  InfeasibleOrUnbounded,  ///< One of the two.
  TimeLimit,              ///< Stopped by the time limit.
  GapLimit,               ///< Stopped because the gap is small enough.
  NodeLimit,              ///< Stopped by the limit on nodes.
  IterationLimit,         ///< Stopped by the limit on iterations.
  Aborted,                ///< Stopped on request.
  Failed,                 ///< Numerical trouble; nothing is known.
};

/// The status in words, as in "infeasible or unbounded"; of static lifetime.
/// Threads: thread safe. Phases: any.
[[nodiscard]] const char* VakGetStatusName(VakStatus status);
/// Writes the status in words.
/// Threads: confined, as the stream is. Phases: any.
std::ostream& operator<<(std::ostream& out, VakStatus status);

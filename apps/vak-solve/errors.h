#pragma once

// What ends the program, and with which exit code.

#include <stdexcept>
#include <string>

#include "vakmodel/status.h"

namespace vaksolve {

/// How the program ended, as its caller reads it from the exit code. The manual page lists the
/// same.
enum class ExitCode : int {
  Optimal = 0,                ///< The last solve found an optimal solution, or met the asked gap.
  InternalError = 1,          ///< The solver failed numerically, memory ran out, or a defect.
  BadInput = 2,               ///< The options, the model file or an edit are wrong.
  Infeasible = 3,             ///< The last solve found that there is no solution.
  Unbounded = 4,              ///< The last solve found that the objective has no limit.
  InfeasibleOrUnbounded = 5,  ///< One of the two.
  LimitWithSolution = 6,      ///< A limit stopped the last solve, which had a solution.
  LimitWithoutSolution = 7,   ///< A limit stopped the last solve before it had a solution.
  Aborted = 8,                ///< Interrupted; the best solution so far was printed.
  OutputFailed = 9,           ///< Standard output or the file of --write could not be written.
};

/// What the outcome of a solve means for the exit code.
[[nodiscard]] ExitCode exitCodeOf(VakStatus status, bool hasSolution);

/// The user asked for something that cannot be done; the text says what, in one line.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Output could not be written; the text says where and why, in one line.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace vaksolve

#pragma once

// Ctrl-C: the first one ends the running solve with the best solution, the second one the program.

#include "vaksolver/solver.h"

namespace vaksolve {

/// While it lives, and once Install() was called, SIGINT and SIGTERM ask the solver to stop; a
/// second one of the same kind ends the program as usual. One at a time in a process.
class Interruption {
 public:
  /// `solver` lives longer than this.
  explicit Interruption(const VakSolver& solver);
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// True when the user asked to stop since Install().
  [[nodiscard]] static bool IsRequested();
  /// From now on, SIGINT and SIGTERM are noted.
  static void Install();
};

}  // namespace vaksolve

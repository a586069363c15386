#pragma once

// The line that shows on a terminal how far a long solve is.

#include <ostream>
#include <string>

#include "vaksolver/solver.h"

namespace vaksolve {

/// One line that is overwritten in place. It appears when a solve has taken a second, so that short
/// ones show nothing. Without a stream it does nothing.
class ProgressLine {
 public:
  static constexpr double FirstAfterSeconds = 1;

  /// `out` is a terminal, not owned; null for none.
  explicit ProgressLine(std::ostream* out) : _out(out) {}
  /// Clears the line.
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void show(const VakSolverProgress& progress);
  void clear();

 private:
  std::ostream* _out;
  bool _isShown = false;
};

/// As in "12.3 s, 1024 nodes, best 123.4, bound 120.1, gap 2.67 %".
[[nodiscard]] std::string describeProgress(const VakSolverProgress& progress);

}  // namespace vaksolve

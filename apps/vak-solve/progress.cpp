#include "apps/vak-solve/progress.h"

#include <algorithm>
#include <cmath>

#include "apps/vak-solve/text.h"

namespace vaksolve {

namespace {

// To the beginning of the line, and clear it from there.
constexpr const char* ClearLine = "\r\033[K";
// An objective that is nearer to 0 is not divided by.
constexpr double LeastObjective = 1e-10;

}  // namespace

std::string describeProgress(const VakSolverProgress& progress) {
  std::string line = formatSeconds(progress.seconds);
  line += progress.isMip ? ", " + formatCount(progress.nodes, "node", "nodes")
                         : ", " + formatCount(progress.iterations, "iteration", "iterations");
  if (!progress.isMip) return line;
  line +=
      progress.hasIncumbent ? ", best " + formatNumber(progress.incumbent) : ", no solution yet";
  if (!std::isfinite(progress.bound)) return line;
  line += ", bound " + formatNumber(progress.bound);
  if (progress.hasIncumbent) {
    const double size = std::max(std::abs(progress.incumbent), LeastObjective);
    line += ", gap " + formatPercent(std::abs(progress.incumbent - progress.bound) / size);
  }
  return line;
}

void ProgressLine::show(const VakSolverProgress& progress) {
  if (_out == nullptr || progress.seconds < FirstAfterSeconds) return;
  *_out << ClearLine << describeProgress(progress) << std::flush;
  _isShown = true;
}

void ProgressLine::clear() {
  if (!_isShown) return;
  *_out << ClearLine << std::flush;
  _isShown = false;
}

}  // namespace vaksolve

#include "apps/vak-solve/errors.h"

namespace vaksolve {

ExitCode exitCodeOf(VakStatus status, bool hasSolution) {
  switch (status) {
    case VakStatus::Optimal:
    case VakStatus::GapLimit:  // The user's own notion of optimal.
      return ExitCode::Optimal;
    case VakStatus::Infeasible:
      return ExitCode::Infeasible;
    case VakStatus::Unbounded:
      return ExitCode::Unbounded;
    case VakStatus::InfeasibleOrUnbounded:
      return ExitCode::InfeasibleOrUnbounded;
    case VakStatus::TimeLimit:
    case VakStatus::NodeLimit:
    case VakStatus::IterationLimit:
      return hasSolution ? ExitCode::LimitWithSolution : ExitCode::LimitWithoutSolution;
    case VakStatus::Aborted:
      return ExitCode::Aborted;
    case VakStatus::NotSolved:
    case VakStatus::Failed:
      break;
  }
  return ExitCode::InternalError;
}

}  // namespace vaksolve

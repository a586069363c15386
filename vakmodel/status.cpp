#include "vakmodel/status.h"

#include <ostream>

const char* VakGetStatusName(VakStatus status) {
  switch (status) {
    case VakStatus::NotSolved:
      return "not solved";
    case VakStatus::Optimal:
      return "optimal";
    case VakStatus::Infeasible:
      return "infeasible";
    case VakStatus::Unbounded:
      return "unbounded";
    case VakStatus::InfeasibleOrUnbounded:
      return "infeasible or unbounded";
    case VakStatus::TimeLimit:
      return "time limit";
    case VakStatus::GapLimit:
      return "gap limit";
    case VakStatus::NodeLimit:
      return "node limit";
    case VakStatus::IterationLimit:
      return "iteration limit";
    case VakStatus::Aborted:
      return "aborted";
    case VakStatus::Failed:
      return "failed";
  }
  return "unknown";
}

std::ostream& operator<<(std::ostream& out, VakStatus status) {
  return out << VakGetStatusName(status);
}

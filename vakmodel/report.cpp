#include "vakmodel/report.h"

void VakReportAgain(VakEnvI* env, const VakExtractableI* e, const VakChange& change) noexcept {
  try {
    VakReport(env, e, change);
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    refusal.end();
  } catch (...) {
    // Deliberate: the caller is about to pass on what was thrown first.
  }
}

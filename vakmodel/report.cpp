#include "vakmodel/report.h"

#include "vakenv/plugins/walk.h"

namespace {

thread_local int reportsAgain = 0;  // Calls of VakReportAgain under way.

// Calls `tell` and drops what it throws.
template <class Tell>
void tellAnyway(Tell tell) noexcept {
  try {
    tell();
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    refusal.end();
  } catch (...) {
    // Deliberate: the caller is about to pass on what was thrown first.
  }
}

}  // namespace

// In the order of VakEnvI::change, but one by one, so that nobody is left out because another one
// throws.
void VakReportAgain(VakEnvI* env, const VakExtractableI* e, const VakChange& change) noexcept {
  if (!VakHasListeners(env)) return;
  ++reportsAgain;
  tellAnyway([&] { env->_plugInManager->apply(change, e); });
  VakWalk<VakAlgorithmI> walk(env->_registry.algorithmWalks, env->_algorithms);
  while (VakAlgorithmI* algorithm = walk.next()) {
    tellAnyway([&] { e != nullptr ? algorithm->change(change, e) : algorithm->change(change); });
  }
  --reportsAgain;
}

bool VakIsReportingAgain() noexcept { return reportsAgain != 0; }

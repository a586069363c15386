#pragma once

// Reporting changes to whoever listens.

#include "vakenv/core/environment_impl.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/change.h"

/// True when an algorithm or a notified plug-in would be told of a change.
[[nodiscard]] inline bool VakHasListeners(const VakEnvI* env) {
  return env->_algorithms != nullptr || env->_plugInManager->notified != nullptr;
}

/// Reports a change of `e`, or of no single object for null, if anybody listens.
inline void VakReport(VakEnvI* env, const VakExtractableI* e, const VakChange& change) {
  if (!VakHasListeners(env)) return;
  if (e != nullptr) {
    env->change(e, change);
  } else {
    env->change(change);
  }
}

/// Reports what was taken back after a report that threw, `e` as in VakEnvI::change or null.
/// Whatever is thrown is dropped, since the first exception counts, and keeps no algorithm from
/// being told.
void VakReportAgain(VakEnvI* env, const VakExtractableI* e, const VakChange& change) noexcept;
/// True while that goes on in this thread: who refuses now has not got the state back.
/// Threads: thread safe. Phases: any.
[[nodiscard]] bool VakIsReportingAgain() noexcept;

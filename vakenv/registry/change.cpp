// Propagation of changes: plug-ins first, then algorithms, whose refusals are merged.

#include <optional>

#include "vakenv/core/environment_impl.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakmodel/contract/algorithm.h"

namespace {

using Refusal = VakAlgorithm::CannotChangeException;

// Adds what `later` refused to the first refusal. An array that both share is neither appended nor
// given back; a first refusal without an array takes over the later one. When memory runs out,
// nobody will hear of either refusal, so both arrays are given back.
void merge(Refusal& first, Refusal& later) {
  if (first._extractables == later._extractables) return;
  if (first._extractables.getImpl() == nullptr) {
    first._extractables = later._extractables;
    return;
  }
  try {
    first._extractables.add(later._extractables);
  } catch (...) {
    later.end();
    first.end();
    throw;
  }
  later.end();
}

// The usual case of one algorithm, which needs no walk: nobody is visited after it, whoever comes
// or goes meanwhile. What passes on is a refusal of the class itself, as it is for several.
template <class Tell>
inline void tellOnly(VakAlgorithmI* algorithm, Tell tell) {
  try {
    tell(algorithm);
  } catch (const Refusal& refusal) {
    throw Refusal(refusal._algorithm, refusal._extractables);
  }
}

// Any exception that is not a refusal passes on at once. Deliberate: a refusal that was collected
// before is then dropped, not ended.
template <class Tell>
[[gnu::noinline]] void tellSeveral(VakEnvI* env, Tell tell) {
  std::optional<Refusal> first;
  {
    VakWalk<VakAlgorithmI> walk(env->_registry.algorithmWalks, env->_algorithms);
    while (VakAlgorithmI* algorithm = walk.next()) {
      try {
        tell(algorithm);
      } catch (Refusal& refusal) {
        if (first.has_value()) {
          merge(*first, refusal);
        } else {
          first.emplace(refusal);
        }
      }
    }
  }
  if (first.has_value()) throw Refusal(first->_algorithm, first->_extractables);
}

template <class Tell>
inline void tellAlgorithms(VakEnvI* env, Tell tell) {
  VakAlgorithmI* first = env->_algorithms;
  if (first == nullptr) return;
  if (first->next == nullptr) {
    tellOnly(first, tell);
  } else {
    tellSeveral(env, tell);
  }
}

}  // namespace

void VakEnvI::change(const VakExtractableI* e, const VakChange& c) {
  if (_plugInManager->notified != nullptr) _plugInManager->apply(c, e);
  tellAlgorithms(this, [e, &c](VakAlgorithmI* algorithm) { algorithm->change(c, e); });
}

void VakEnvI::change(const VakChange& c) {
  if (_plugInManager->notified != nullptr) _plugInManager->apply(c, nullptr);
  tellAlgorithms(this, [&c](VakAlgorithmI* algorithm) { algorithm->change(c); });
}

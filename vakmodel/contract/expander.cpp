#include "vakmodel/contract/expander.h"

#include "vakenv/core/environment_impl.h"
#include "vakmodel/contract/change.h"

VakExpanderI::VakExpanderI(VakEnvI* env) : VakAlgorithmI(env) { attach(); }

VakExpanderI::~VakExpanderI() noexcept(false) = default;

void VakExpanderI::change(const VakChange& change, const VakExtractableI* /*extractable*/) {
  if (_substitutes.empty() || change.isType(VakDestroyExtractable::GetTypeInfo()) == 0) return;
  const VakExtractableI* gone = static_cast<const VakDestroyExtractable&>(change).getExtractable();
  _substitutes.erase(gone);
  std::erase_if(_substitutes, [gone](const auto& entry) { return entry.second == gone; });
}

void VakExpanderI::change(const VakChange& /*change*/) {}

VakExtractableI* VakExpanderI::substitute(VakExtractableI* e) {
  const auto found = _substitutes.find(e);
  return found == _substitutes.end() ? nullptr : found->second;
}

void VakExpanderI::setSubstitute(VakExtractableI* e, VakExtractableI* replacement) {
  if (replacement == nullptr) {
    _substitutes.erase(e);
  } else {
    _substitutes[e] = replacement;
  }
}

void VakExpanderI::clearSubstitutes() { _substitutes.clear(); }

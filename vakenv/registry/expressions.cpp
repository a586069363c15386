// Services for expressions: safe release, term records, the expander and the model evaluator.

#include <new>

#include "vakbase/fixed_size_allocator.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/expander.h"
#include "vakmodel/contract/expression.h"
#include "vakmodel/contract/linear_term.h"
#include "vakmodel/contract/model_evaluator.h"

namespace {

// An expression that is gone already is not touched: only its address is looked at.
void releaseUnlessGone(const VakEnvI* env, VakExprI* e) {
  if (env->_ending != 0) return;
  VakExtractableI* found = nullptr;
  if (env->_recycleBin != nullptr && env->_recycleBin->destroyed.find(e, found) == VakHashDone) {
    return;
  }
  e->release();
}

}  // namespace

void VakEnvI::release(VakNumExprI* e) { releaseUnlessGone(this, e); }

void VakEnvI::release(VakAnyExprI* e) { releaseUnlessGone(this, e); }

// A record may come from the other allocator: both hand out elements of the same size over the same
// pool.
void VakEnvI::recycleTerm(VakNumLinExprTermI* t) {
  if (_localEnv != nullptr) {
    _localEnv->free(t, static_cast<unsigned long>(TermSize));
    return;
  }
  if constexpr (VakChecksMemory) {
    if (!VakMemoryLedger::MayGiveBack(&_memory, t, TermSize)) return;
  }
  _termAllocator->deallocate(t, TermSize);
}

VakExpanderI* VakEnvI::getExpander() {
  if (_expander == nullptr) {
    try {
      _expander = new VakExpanderI(this);
    } catch (const std::bad_alloc&) {
      throw VakMemoryException();
    }
  }
  return _expander;
}

VakModelEvaluatorI* VakEnvI::getModelEvaluator() {
  VakExpanderI* expander = getExpander();
  if (expander->_modelEvaluator == nullptr) expander->makeModelEvaluator();
  return expander->_modelEvaluator;
}

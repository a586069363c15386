// The two switches of thread-safe mode.

#include <new>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/types/exceptions.h"

namespace {

// Terms that are made in thread-safe mode come from the class of their size. Those that ended
// outside of it wait in the pool of terms, which got more back than it handed out; they go to that
// class, where the mode looks for memory, or else the pool would grow with every change of modes.
void handBackTerms(VakEnvI* env) {
  VakFixedSizeAllocatorI* terms = env->_termAllocator;
  while (terms->_bytesInUse < 0 && terms->_free != nullptr) {
    env->_memory.deallocate(terms->allocate(&env->_memory), VakEnvI::TermSize);
  }
}

}  // namespace

void VakEnvI::useMTSafeAllocation(VakInt on) {
  if (on != 0 && _mtSafeAllocation == 0) {
    if (_localEnv != nullptr) throw VakNotSupportedOperation();
    VakLocalEnvI* local = nullptr;
    try {
      local = new VakMTSafeLocalEnvI(this);
    } catch (const std::bad_alloc&) {
      throw VakMemoryException();
    }
    handBackTerms(this);
    local->_next = _localEnv;
    _localEnv = local;
  } else if (on == 0 && _mtSafeAllocation != 0) {
    VakLocalEnvI* head = _localEnv;
    _localEnv = head->_next;
    delete head;
  }
  _mtSafeAllocation = on;
}

void VakEnvI::useMTSafeNormalization(VakInt on) {
  if (on != 0 && _mtSafeNormalization == 0) {
    _markArray = NewMarkArray(_idManager->_size);
  } else if (on == 0 && _mtSafeNormalization != 0) {
    freeMarks();
  }
  _mtSafeNormalization = on;
}

// The two switches of thread-safe mode.

#include <new>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/types/exceptions.h"

void VakEnvI::useMTSafeAllocation(VakInt on) {
  if (on != 0 && _mtSafeAllocation == 0) {
    if (_localEnv != nullptr) throw VakNotSupportedOperation();
    VakLocalEnvI* local = nullptr;
    try {
      local = new VakMTSafeLocalEnvI(this);
    } catch (const std::bad_alloc&) {
      throw VakMemoryException();
    }
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

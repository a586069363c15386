#include "vakenv/core/thread_safe_scope.h"

#include "vakbase/exception.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/env.h"
#include "vakenv/types/exceptions.h"

namespace {

VakEnvI* checked(VakEnv env) {
  if (env.getImpl() == nullptr) throw VakEmptyHandleException("VakEnv: Using empty handle");
  if (env.getImpl()->_mutex == nullptr) {
    throw VakWrongUsage(
        "VakThreadSafeScope: the environment has no mutex. Install one before it is made.");
  }
  return env.getImpl();
}

}  // namespace

VakInstalledMutex::VakInstalledMutex() {
  if (VakIsMTEnabled()) {
    throw VakWrongUsage(
        "VakInstalledMutex: another mutex is installed. End it with VakEndMT first.");
  }
  VakInitMT(&_mutex);
}

VakInstalledMutex::~VakInstalledMutex() {
  if (VakEnvI::Mutex == &_mutex) VakEndMT();
}

VakThreadSafeScope::VakThreadSafeScope(VakEnv env)
    : _life(checked(env)), _switchedOn(env.getImpl()->_mtSafeAllocation == 0) {
  if (_switchedOn) env.useMTSafeAllocation(1);
}

VakThreadSafeScope::~VakThreadSafeScope() {
  VakEnvI* env = _life.getEnv();
  if (_switchedOn && env != nullptr) env->useMTSafeAllocation(0);
}

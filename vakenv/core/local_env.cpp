#include "vakenv/core/local_env.h"

#include "vakenv/core/environment_impl.h"
#include "vakenv/core/multithreading.h"
#include "vakenv/memory/id_manager.h"

VakLocalEnvI::VakLocalEnvI(VakEnvI* env) : _env(env) {}
VakLocalEnvI::~VakLocalEnvI() = default;

VakInt VakLocalEnvI::bookId() { return _env->_idManager->newId(nullptr); }

void VakLocalEnvI::releaseId(VakInt id) { _env->_idManager->freeId(id); }

VakMTSafeLocalEnvI::VakMTSafeLocalEnvI(VakEnvI* env) : VakLocalEnvI(env) {}
VakMTSafeLocalEnvI::~VakMTSafeLocalEnvI() = default;

void* VakMTSafeLocalEnvI::alloc(unsigned long size) {
  const VakMutexGuard guard(_env->_mutex);
  return _env->_memory.allocate(size);
}

void VakMTSafeLocalEnvI::free(void* p, unsigned long size) {
  const VakMutexGuard guard(_env->_mutex);
  if (p != nullptr) _env->_memory.deallocate(p, size);
}

VakInt VakMTSafeLocalEnvI::init(VakExtractableI* /*e*/) {
  const VakMutexGuard guard(_env->_mutex);
  // finit touches slots without the environment's mutex, whose locks are counted.
  const std::scoped_lock slots(_env->_registry.slotsLock);
  return bookId();
}

void VakMTSafeLocalEnvI::saveValue(void** /*address*/) {}
void VakMTSafeLocalEnvI::saveValue(long* /*address*/) {}
void VakMTSafeLocalEnvI::saveValue(double* /*address*/) {}

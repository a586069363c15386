#include "vakenv/memory/env_memory.h"

#include "vakenv/core/environment_impl.h"

void* VakAllocateIn(VakEnvI* env, unsigned long size) { return env->allocate(size); }

void VakFreeIn(VakEnvI* env, void* p, unsigned long size) {
  if (p == nullptr || size == 0) return;
  env->giveBack(p, size);
}

#include "vakenv/memory/env_memory.h"

#include <cstddef>

#include "vakenv/core/environment_impl.h"

// The record is no standard-layout class, but both compilers answer where its members stand.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(VakEnvI, _memory) == VakEnvMemoryPlace::Pool);
static_assert(offsetof(VakEnvI, _localEnv) == VakEnvMemoryPlace::LocalEnv);
#pragma GCC diagnostic pop

void* VakAllocateLocally(VakEnvI* env, unsigned long size) { return env->_localEnv->alloc(size); }

void VakFreeLocally(VakEnvI* env, void* p, unsigned long size) { env->_localEnv->free(p, size); }

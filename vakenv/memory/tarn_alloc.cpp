#include "vakenv/memory/tarn_alloc.h"

#include "vakenv/core/environment_impl.h"

VakTarnAlloc::VakTarnAlloc(VakEnvI* environment) : env(environment) {}

VakTarnAlloc::~VakTarnAlloc() noexcept(false) = default;

void* VakTarnAlloc::alloc(unsigned long size) const { return env->allocate(size); }

void VakTarnAlloc::free(void* p, unsigned long size) const {
  if (p == nullptr || size == 0) return;
  env->giveBack(p, size);
}

void VakTarnAlloc::saveValue(void** /*address*/) const {}
void VakTarnAlloc::saveValue(long* /*address*/) const {}
void VakTarnAlloc::saveValue(double* /*address*/) const {}

const char* VakTarnAlloc::intern(const char* text) const { return env->intern(text); }

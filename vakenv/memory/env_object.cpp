#include "vakenv/memory/env_object.h"

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/destroying.h"
#include "vakenv/memory/memory_manager.h"
#include "vakenv/memory/tarn_alloc.h"

namespace {

// The local environment is looked at here, after the destructor, which may have installed or
// removed it. Deliberate: a size of 0 is not filtered out.
void giveBack(VakEnvI* env, void* p, unsigned long size) {
  if (env != nullptr) env->giveBack(p, size);
}

}  // namespace

VakEnvObjectI::VakEnvObjectI(VakEnvI* env) : _env(env) {}

VakEnvObjectI::~VakEnvObjectI() noexcept(false) = default;

VakMemoryManager VakEnvObjectI::getMemoryManager() const { return _env->_allocator; }

void VakEnvObjectI::operator delete(VakEnvObjectI* object, std::destroying_delete_t,
                                    std::size_t size) noexcept(false) {
  VakEnvI* env = object->_env;
  VakDestroyAndGiveBack(object, size, [env](void* p, unsigned long n) { giveBack(env, p, n); });
}

void VakEnvObjectI::operator delete(void* p, unsigned long size) noexcept(false) {
  giveBack(static_cast<VakEnvObjectI*>(p)->_env, p, size);
}

VakRttiEnvObjectI::~VakRttiEnvObjectI() noexcept(false) = default;

VakMemoryManager VakRttiEnvObjectI::getMemoryManager() const { return _env->_allocator; }

void VakRttiEnvObjectI::operator delete(VakRttiEnvObjectI* object, std::destroying_delete_t,
                                        std::size_t size) noexcept(false) {
  VakEnvI* env = object->_env;
  VakDestroyAndGiveBack(object, size, [env](void* p, unsigned long n) { giveBack(env, p, n); });
}

void VakRttiEnvObjectI::operator delete(void* p, unsigned long size) noexcept(false) {
  giveBack(static_cast<VakRttiEnvObjectI*>(p)->_env, p, size);
}

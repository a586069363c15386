#include "vakenv/types/rtti.h"

#include "vakenv/core/environment_impl.h"

VakInt VakRtti::_counter = 0;

VakTypeInfo VakGetBaseTypeInfo(VakTypeInfo type) {
  return reinterpret_cast<VakTypeInfo (*)()>(type)();
}

VakTypeInfo VakRtti::GetBaseTypeInfo() {
  VakKeepDistinct(_counter);
  return nullptr;
}

VakInt VakRtti::getTypeIndex() const { return 0; }

VakTypeInfo VakRtti::getTypeInfo() const { return GetTypeInfo(); }

void VakRtti::AssignTypeIndex(VakInt& index) {
  const VakMutexGuard guard(VakEnvI::Mutex);
  std::atomic_ref<VakInt> word(index);
  if (word.load(std::memory_order_relaxed) == 0) {
    word.store(++_counter, std::memory_order_release);
  }
}

#include "vakenv/registry/destroyable.h"

#include <atomic>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/core/environment_impl.h"

namespace {

// Several threads make and delete objects only in thread-safe mode. One thread reads and writes the
// count, since an atomic sum costs more than all else that is done for an object.
void count(VakEnvI& env, VakInt difference) {
  std::atomic<VakInt>& live = env._registry.liveDestroyables;
  if (env._localEnv != nullptr) {
    live += difference;
  } else {
    live.store(live.load(std::memory_order_relaxed) + difference, std::memory_order_relaxed);
  }
}

}  // namespace

VakDestroyableI::VakDestroyableI(VakEnvI* env) : VakRttiEnvObjectI(env) {
  if (env->_localEnv == nullptr) env->addDestroyable(this);
  count(*env, 1);
}

VakDestroyableI::~VakDestroyableI() noexcept(false) {
  count(*_env, -1);
  _env->removeDestroyable(this);
}

VakDestroyableList::VakDestroyableList(VakEnvI* environment)
    : env(environment), first(nullptr), table(VakHashAddress, VakCompareAddresses, 1) {}

VakDestroyableList::~VakDestroyableList() {
  while (first != nullptr) {
    Element* element = first;
    first = element->next;
    env->giveBack(element, sizeof(Element));
  }
  table.end();
}

// The element is made and given back outside the list's lock, because the environment's memory has
// a lock of its own.
void VakDestroyableList::add(VakDestroyableI* d) {
  if (has(d)) return;
  Element* element = ::new (env->allocate(sizeof(Element))) Element{d, nullptr, nullptr};
  VakNameElement(element, typeid(Element));
  bool isNew = false;
  try {
    const auto lock = guard();
    isNew = table.add(d, element) == VakHashDone;
    if (isNew) {
      element->next = first;
      if (first != nullptr) first->prev = element;
      first = element;
    }
  } catch (...) {
    env->giveBack(element, sizeof(Element));
    throw;
  }
  if (!isNew) env->giveBack(element, sizeof(Element));
}

bool VakDestroyableList::remove(VakDestroyableI* d) {
  Element* element = nullptr;
  {
    const auto lock = guard();
    if (table.take(d, element) != VakHashDone) return false;
    if (element->prev != nullptr) element->prev->next = element->next;
    if (element->next != nullptr) element->next->prev = element->prev;
    if (first == element) first = element->next;
  }
  env->giveBack(element, sizeof(Element));
  return true;
}

bool VakDestroyableList::has(VakDestroyableI* d) const {
  const auto lock = guard();
  Element* element = nullptr;
  return table.find(d, element) == VakHashDone;
}

VakInt VakDestroyableList::getSize() const {
  const auto lock = guard();
  return table._nbItems;
}

void VakDestroyableList::destroyAll() {
  while (first != nullptr) delete first->destroyable;
}

std::string VakDestroyableList::check(const VakMemoryInspection* pool) const {
  const auto lock = guard();
  std::string broken = VakNameFault("table", table.check());
  if (!broken.empty()) return broken;
  VakInt elements = 0;
  const Element* newer = nullptr;
  for (const Element* e = first; e != nullptr; newer = e, e = e->next) {
    if (VakIsGone(pool, e)) return "the list leads into free memory";
    if (++elements > table._nbItems) {
      return VakFaultText("the list holds more objects than the ", table._nbItems, " in the table");
    }
    const void* object = e->destroyable;
    if (object == nullptr || VakIsGone(pool, object)) {
      return VakFaultText("object ", object, " is free memory");
    }
    if (e->prev != newer) {
      return VakFaultText("the link of object ", object, " towards its newer neighbour is wrong");
    }
    Element* found = nullptr;
    if (table.find(e->destroyable, found) != VakHashDone || found != e) {
      return VakFaultText("the table does not lead to the element of object ", object);
    }
  }
  if (elements == table._nbItems) return "";
  return VakFaultText("the list holds ", elements, " objects of the ", table._nbItems,
                      " in the table");
}

VakInt VakDestroyableList::HashPointer(VakDestroyableI* p, VakInt size) {
  return VakHashAddress(p, size);
}

VakInt VakDestroyableList::ComparePointers(VakDestroyableI* a, VakDestroyableI* b) {
  return VakCompareAddresses(a, b);
}

std::unique_lock<std::mutex> VakDestroyableList::guard() const {
  std::mutex& lock = env->_registry.destroyablesLock;
  return env->_localEnv == nullptr ? std::unique_lock(lock, std::defer_lock)
                                   : std::unique_lock(lock);
}

void VakEnvI::addDestroyable(VakDestroyableI* d) {
  if (_destroyables != nullptr) _destroyables->add(d);
}

void VakEnvI::removeDestroyable(VakDestroyableI* d) {
  if (_destroyables != nullptr) _destroyables->remove(d);
}

VakInt VakEnvI::getUnlistedDestroyables() const {
  const VakInt listed = _destroyables == nullptr ? 0 : _destroyables->getSize();
  return _registry.liveDestroyables - listed;
}

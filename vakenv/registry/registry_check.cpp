// The proof of what the registry keeps: extractables, destroyables, algorithms. The lists prove
// themselves; here their objects are held against them.

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/expander.h"
#include "vakmodel/contract/extractable.h"

// No slot is followed before it is known not to lead to free memory.
std::string VakEnvI::checkExtractables(const VakMemoryInspection& pool) const {
  for (VakInt id = 0; id < _idManager->_size && _idManager->isInTable(id); ++id) {
    if (!_idManager->isLive(id)) continue;
    const void* address = _idManager->_data[id];
    if (pool.isFree(address)) {
      return VakFaultText("slot ", id, " leads to ", address, ", which is free memory");
    }
    if (reinterpret_cast<unsigned long>(address) % alignof(VakExtractableI) != 0) {
      return VakFaultText("slot ", id, " leads to ", address, ", where no object can be");
    }
    const auto* e = static_cast<const VakExtractableI*>(address);
    if (e->_env != this) {
      return VakFaultText("slot ", id, " leads to ", address, " of another environment");
    }
    if (e->id != id) {
      return VakFaultText("slot ", id, " leads to ", address, ", whose identifier is ", e->id);
    }
  }
  return "";
}

std::string VakEnvI::checkDestroyables(const VakMemoryInspection& pool) const {
  if (_destroyables == nullptr) return "";
  std::string broken = _destroyables->check(&pool);
  if (!broken.empty()) return broken;
  using Element = VakDestroyableList::Element;
  for (const Element* e = _destroyables->first; e != nullptr; e = e->next) {
    if (e->destroyable->_env == this) continue;
    return VakFaultText("object ", static_cast<const void*>(e->destroyable),
                        " belongs to another environment");
  }
  const VakInt unlisted = getUnlistedDestroyables();
  return unlisted >= 0 ? "" : VakFaultText(-unlisted, " more objects are listed than live");
}

std::string VakEnvI::checkAlgorithms(const VakMemoryInspection& pool) const {
  bool hasExpander = _expander == nullptr;
  const auto next = [](const VakAlgorithmI* a) { return a->next; };
  const auto visit = [&](const VakAlgorithmI* a) -> std::string {
    const void* address = a;
    if (pool.isFree(address)) return VakFaultText("algorithm ", address, " is free memory");
    if (!a->_isAttached) return VakFaultText("algorithm ", address, " is not marked as attached");
    if (a->_env != this) {
      return VakFaultText("algorithm ", address, " belongs to another environment");
    }
    if (a == _expander) hasExpander = true;
    return "";
  };
  std::string broken = VakCheckChain(_algorithms, next, visit);
  if (!broken.empty() || hasExpander) return broken;
  return VakFaultText("the expander ", static_cast<const void*>(_expander), " is not attached");
}

// The proof of the named properties that an environment can reach: its own, and those of the
// extractables registered with it.

#include <unordered_map>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/properties/extension.h"
#include "vakenv/properties/property_set_impl.h"
#include "vakmodel/contract/extractable.h"

namespace {

// Looks at one owner after the other; a property may stand in the sets of several.
class PropertyCheck {
 public:
  explicit PropertyCheck(const VakMemoryInspection& pool) : _pool(pool) {}

  std::string visit(const VakExtension* extension) {
    if (extension == nullptr) return "";
    if (_pool.isFree(extension) || _pool.isFree(extension->_name)) {
      return "the extension or its name is free memory";
    }
    const VakExtension::VakObjectExtension* objectExtension = extension->_objectExtension;
    if (objectExtension == nullptr) return "";
    if (_pool.isFree(objectExtension)) return "the object extension is free memory";
    const VakNamedPropertySetI* set = objectExtension->_properties;
    if (set == nullptr) return "";
    return _pool.isFree(set) ? "the set is free memory" : set->check(&_pool, &_entries);
  }

 private:
  const VakMemoryInspection& _pool;
  std::unordered_map<const VakNamedPropertyI*, VakInt> _entries;
};

}  // namespace

// The environment's own extension is being taken apart once the end has begun.
std::string VakEnvI::checkProperties(const VakMemoryInspection& pool) const {
  PropertyCheck check(pool);
  if (_endedSteps == 0) {
    std::string broken = VakNameFault("environment", check.visit(_extension));
    if (!broken.empty()) return broken;
  }
  for (VakInt id = 0; id < _idManager->_size && _idManager->isInTable(id); ++id) {
    if (!_idManager->isLive(id)) continue;
    const auto* e = static_cast<const VakExtractableI*>(_idManager->_data[id]);
    std::string broken = check.visit(e->_extension);
    if (!broken.empty()) return VakFaultText("extractable ", id, ": ", broken);
  }
  return "";
}

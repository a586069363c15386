// The proof of the tables of shared domains: every range leads to the domain with its bounds.

#include <cmath>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/tables/item_check.h"

namespace {

bool isSame(VakNum a, VakNum b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// Nothing is followed before it is known not to be free memory: the hash of a range reads it.
template <class Range>
std::string checkTable(const char* name, const VakSharedDomainHash<Range*>* table,
                       const VakMemoryInspection& pool) {
  if (table == nullptr) return "";
  const auto visit = [&](const auto* item) -> std::string {
    const void* range = item->_key;
    const void* domain = item->_value;
    if (range == nullptr || pool.isFree(range)) {
      return VakFaultText("range ", range, " is free memory");
    }
    if (domain == nullptr || pool.isFree(domain)) {
      return VakFaultText("domain ", domain, " is free memory");
    }
    if (!item->_value->isShared()) return VakFaultText("domain ", domain, " is not a shared one");
    const auto lb = static_cast<VakNum>(item->_key->getLB());
    const auto ub = static_cast<VakNum>(item->_key->getUB());
    if (isSame(lb, item->_value->getLB()) && isSame(ub, item->_value->getUB())) return "";
    return VakFaultText("range [", lb, ", ", ub, "] leads to the domain [", item->_value->getLB(),
                        ", ", item->_value->getUB(), "]");
  };
  std::string broken = VakCheckItems(*table, &pool, visit);
  if (broken.empty()) broken = table->check();
  return VakNameFault(name, broken);
}

}  // namespace

std::string VakEnvI::checkDomains(const VakMemoryInspection& pool) const {
  std::string broken = checkTable<VakIntRangeI>("integer", _intDomains, pool);
  return !broken.empty() ? broken : checkTable<VakNumRangeI>("numeric", _numDomains, pool);
}

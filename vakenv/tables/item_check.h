#pragma once

// What proofs of hash tables ask first: whether what the chains lead to is still there. Hash
// functions read keys, so nothing else of a table may be proved before.

#include <string>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"

/// Asks `visit` of each item of `table` what is broken in it, once it is known that the item does
/// not lie in free memory of `pool`, which may be null. Returns the first text that is not empty,
/// or an empty one. Calls neither hash nor equality function. Throws std::bad_alloc.
template <class Table, class Visit>
[[nodiscard]] std::string VakCheckItems(const Table& table, const VakMemoryInspection* pool,
                                        Visit visit) {
  using Item = typename Table::Item;
  if (table._buckets == nullptr) return "";
  if (VakIsGone(pool, table._buckets)) return "the buckets are free memory";
  const auto next = [](const Item* item) { return item->_next; };
  const auto look = [&](const Item* item) -> std::string {
    return VakIsGone(pool, item) ? "a chain leads into free memory" : visit(item);
  };
  for (VakInt bucket = 0; bucket < table._size; ++bucket) {
    const Item* chain = table._buckets[bucket];
    std::string broken = VakCheckChain(chain, next, look);
    if (!broken.empty()) return broken;
  }
  return "";
}

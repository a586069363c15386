#pragma once

// The two kinds of hash tables behind one face, for tests that hold for both.

#include <map>
#include <sstream>
#include <string>
#include <utility>

#include "tests/support/checking_local_env.h"
#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "vakenv/tables/env_hash_table.h"
#include "vakenv/tables/hash_table.h"
#include "vakenv/types/exceptions.h"

/// A heap table that is ended with its scope. Its allocations fail through VakFailingNew.
template <class K, class V>
struct VakHeapTableHarness {
  using Table = VakHashTable<K, V>;
  using MemoryError = VakMemoryException;

  VakHeapTableHarness(typename Table::HashFunction hash, typename Table::CompareFunction compare,
                      VakInt size)
      : table(hash, compare, size) {}
  ~VakHeapTableHarness() { table.end(); }

  /// Runs `operation` with allocation number `failAt` failing; true if it came to that.
  template <class Operation>
  bool runFailing(long failAt, Operation operation) {
    const VakFailingNew failing(failAt);
    operation();
    return failing.hasFailed();
  }
  /// Blocks given back with another size than they were taken with.
  [[nodiscard]] long mismatches() const { return 0; }

  Table table;
};

/// A table in the memory of an environment of its own, which checks the size of every block that
/// comes back.
template <class K, class V>
struct VakEnvTableHarness {
  using Table = VakEnvHashTable<K, V>;
  using MemoryError = std::bad_alloc;

  VakEnvTableHarness(typename Table::HashFunction hash, typename Table::CompareFunction compare,
                     VakInt size)
      : path(env.impl()), table(env.impl(), size, hash, compare) {}

  template <class Operation>
  bool runFailing(long failAt, Operation operation) {
    VakBlockLedger& ledger = path.ledger();
    ledger.requests = 0;
    ledger.failAt = failAt;
    operation();
    ledger.failAt = 0;
    return failAt != 0 && ledger.requests >= failAt;
  }
  [[nodiscard]] long mismatches() { return path.ledger().mismatches; }

  VakScopedEnv env;
  VakCheckedPath path;
  Table table;
};

/// The pairs of a table by key.
template <class Table>
auto VakContents(const Table& table) {
  using Item = typename Table::Item;
  std::map<decltype(std::declval<Item>().getKey()), decltype(std::declval<Item>().getValue())>
      contents;
  for (typename Table::Iterator i(table); i.ok(); ++i) contents.emplace(i->getKey(), i->getValue());
  return contents;
}

/// The keys of every chain, in order, as in "0: 2 0; 1: 1;".
template <class Table>
std::string VakChains(const Table& table) {
  std::ostringstream text;
  for (VakInt b = 0; table._buckets != nullptr && b < table._size; ++b) {
    text << b << ":";
    for (auto* item = table._buckets[b]; item != nullptr; item = item->getNext()) {
      text << " " << item->getKey();
    }
    text << ";";
  }
  return text.str();
}

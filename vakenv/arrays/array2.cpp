#include "vakenv/arrays/array2.h"

#include <algorithm>
#include <bit>

namespace {

// True when both hold arrays of the same size with equal elements.
template <class Row>
bool areEqual(Row a, Row b) {
  if (a.getImpl() == nullptr || b.getImpl() == nullptr || a.getSize() != b.getSize()) return false;
  auto other = begin(b);
  for (const auto chunk : a.chunks()) {
    const auto behind = other + static_cast<std::ptrdiff_t>(chunk.size());
    if (!std::equal(chunk.begin(), chunk.end(), other)) return false;
    other = behind;
  }
  return true;
}

// Compares `a` with the only candidate: the array of rows seen as one row, of which an element is
// the bytes of a row handle. Further candidates would lie behind the handle and do not exist.
template <class Row>
bool equalsTable(VakArray<Row> table, Row a) {
  using Value = typename Row::value_type;
  if (a.getImpl() == nullptr || table.getImpl() == nullptr) return false;
  if (table.getSize() <= 0 || a.getSize() != table.getSize()) return false;
  return std::equal(begin(a), end(a), begin(table),
                    [](Value value, Row row) { return value == std::bit_cast<Value>(row); });
}

template <class Row>
bool hasRow(VakArray<Row> table, Row a) {
  return std::any_of(begin(table), end(table), [a](Row row) { return areEqual(a, row); });
}

}  // namespace

VakNumArray2::VakNumArray2(VakEnv env, VakInt n, VakNumArray row) : VakArray(env, n) { add(row); }

bool VakNumArray2::equal(VakNumArray a, VakNumArray b) { return areEqual(a, b); }

bool VakNumArray2::contains(VakNumArray a) const { return equalsTable<VakNumArray>(*this, a); }

bool VakNumArray2::containsRow(VakNumArray a) const { return hasRow<VakNumArray>(*this, a); }

VakIntArray2::VakIntArray2(VakEnv env, VakInt n, VakIntArray row) : VakArray(env, n) { add(row); }

bool VakIntArray2::equal(VakIntArray a, VakIntArray b) { return areEqual(a, b); }

bool VakIntArray2::contains(VakIntArray a) const { return equalsTable<VakIntArray>(*this, a); }

bool VakIntArray2::containsRow(VakIntArray a) const { return hasRow<VakIntArray>(*this, a); }

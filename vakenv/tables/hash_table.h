#pragma once

// The hash table whose memory comes from the general heap.

#include <new>
#include <utility>

#include "vakenv/fwd.h"
#include "vakenv/tables/chained_table.h"
#include "vakenv/types/exceptions.h"

/// A map from K to V over caller-given hash and equality functions.
///
/// Embedded in its owner, which calls end() when it is done: there is no destructor. The hash
/// function gives an index from 0 to size - 1, the equality function a non-zero number for equal
/// keys. When the heap has no memory left, every operation that takes some throws
/// VakMemoryException ("not enough memory") and leaves the table as it was.
///
/// Threads: read-shared: find and walks change nothing, everything else does.
/// Phases: any, as long as its memory manager serves.
/// Gives back: end() takes back items and buckets; keys and values are the caller's.
template <class K, class V>
class VakHashTable : public VakChainedTable<VakHashTable<K, V>, K, V> {
  using Base = VakChainedTable<VakHashTable<K, V>, K, V>;
  friend Base;

 public:
  using typename Base::CompareFunction;
  using typename Base::HashFunction;
  using typename Base::Item;

  /// An empty table of `size` buckets. Throws VakMemoryException.
  VakHashTable(HashFunction hash, CompareFunction compare, VakInt size)
      : _nbItems(0), _size(size), _hash(hash), _compare(compare), _buckets(takeBuckets(size)) {}
  VakHashTable(const VakHashTable&) = delete;
  VakHashTable& operator=(const VakHashTable&) = delete;

  VakInt _nbItems;           ///< Number of items.
  VakInt _size;              ///< Number of buckets, also while they are given back.
  HashFunction _hash;        ///< From a key and a number of buckets to the index of a bucket.
  CompareFunction _compare;  ///< Not 0 for equal keys.
  Item** _buckets;           ///< Heads of the chains, owned until end(); null after it.

 private:
  Item** takeBuckets(VakInt size) {
    try {
      if (size < 0 || size > VakHashMaxBuckets) throw std::bad_alloc();
      return new Item* [static_cast<unsigned long>(size)] {};
    } catch (const std::bad_alloc&) {
      throw VakMemoryException();
    }
  }
  void giveBuckets(Item** buckets, VakInt /*size*/) { delete[] buckets; }

  Item* makeItem(K key, V value) {
    try {
      return new Item(std::move(key), std::move(value));
    } catch (const std::bad_alloc&) {
      throw VakMemoryException();
    }
  }
  void giveItem(Item* item) { delete item; }
};

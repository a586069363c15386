#pragma once

// The hash table whose memory comes from an environment.

#include <algorithm>
#include <new>
#include <utility>

#include "vakenv/memory/env_memory.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/tables/chained_table.h"

/// A map from K to V over caller-given hash and equality functions, in an environment's memory.
///
/// An environment object: made with VakCreate and deleted by its owner, or embedded. Buckets come
/// with create(), or with the first add() or remove(). The hash function gives an index from 0 to
/// size - 1, the equality function a non-zero number for equal keys. When the environment has no
/// memory left, every operation that takes some throws std::bad_alloc and leaves the table as it
/// was.
///
/// Threads: read-shared: find and walks change nothing, everything else does.
/// Phases: open.
/// Gives back: end() takes back items and buckets; keys and values are the caller's.
template <class K, class V>
class VakEnvHashTable : public VakEnvObjectI, public VakChainedTable<VakEnvHashTable<K, V>, K, V> {
  using Base = VakChainedTable<VakEnvHashTable<K, V>, K, V>;
  friend Base;

 public:
  using typename Base::CompareFunction;
  using typename Base::HashFunction;
  using typename Base::Item;

  /// An empty table that will have `size` buckets. Takes no memory.
  VakEnvHashTable(VakEnvI* env, VakInt size, HashFunction hash, CompareFunction compare)
      : VakEnvObjectI(env),
        _nbItems(0),
        _size(size),
        _hash(hash),
        _compare(compare),
        _buckets(nullptr) {}
  /// Gives items and buckets back to the environment, not what keys and values point to.
  ~VakEnvHashTable() noexcept(false) override { this->end(); }

  /// Makes the buckets; nothing if they are there.
  void create() { this->requireBuckets(); }

  VakInt _nbItems;           ///< Number of items.
  VakInt _size;              ///< Number of buckets, also while there are none yet.
  HashFunction _hash;        ///< From a key and a number of buckets to the index of a bucket.
  CompareFunction _compare;  ///< Not 0 for equal keys.
  Item** _buckets;           ///< Heads of the chains, owned; null until they are needed.

 private:
  static unsigned long BytesOf(VakInt size) {
    return static_cast<unsigned long>(size) * sizeof(Item*);
  }

  Item** takeBuckets(VakInt size) {
    if (size < 0 || size > VakHashMaxBuckets) throw std::bad_alloc();
    Item** buckets = static_cast<Item**>(VakAllocateIn(_env, BytesOf(size)));
    std::fill_n(buckets, size, nullptr);
    return buckets;
  }
  void giveBuckets(Item** buckets, VakInt size) { VakFreeIn(_env, buckets, BytesOf(size)); }

  Item* makeItem(K key, V value) {
    void* place = VakAllocateIn(_env, sizeof(Item));
    try {
      return ::new (place) Item(std::move(key), std::move(value));
    } catch (...) {
      VakFreeIn(_env, place, sizeof(Item));
      throw;
    }
  }
  void giveItem(Item* item) {
    item->~Item();
    VakFreeIn(_env, item, sizeof(Item));
  }
};

#pragma once

// Separate chaining with caller-given hash and equality functions: the algorithm that the two hash
// tables of the library share. The tables hold the fields and say where memory comes from; this
// file holds everything else.
//
//   VakHashTable     items and buckets from the general heap    hash_table.h
//   VakEnvHashTable  items and buckets from an environment      env_hash_table.h
//
// Glossary
//   item     one entry: key, value and the link to the next entry of its chain
//   bucket   head of a chain; the hash function maps a key to the index of its bucket
//   rehash   moving all items, uncopied, into another number of buckets

#include <bit>
#include <string>
#include <type_traits>
#include <utility>

#include "vakbase/exception.h"
#include "vakbase/fault_text.h"
#include "vakbase/numbers.h"

/// Status codes of the table operations.
inline constexpr VakInt VakHashDone = 0;
inline constexpr VakInt VakHashNotFound = 1;
inline constexpr VakInt VakHashPresent = 2;

/// A table that holds more items than this for each bucket doubles the number of its buckets.
inline constexpr VakInt VakHashItemsPerBucket = 2;

/// A rehash asks for the first items of the bucket this far ahead, for the second items of the one
/// at two thirds of the way and for the third items at one third, so that each is there when it is
/// asked where the next one lies.
inline constexpr VakInt VakHashLookahead = 24;

/// A rehash of fewer buckets than this does not look ahead: their items lie in the caches, and
/// asking for them costs more than it saves.
inline constexpr VakInt VakHashFewBuckets = VakInt{1} << 16;

/// More buckets than this cannot be addressed.
inline constexpr VakInt VakHashMaxBuckets = VakInt{1} << 59;

/// What tables of objects by their address hash and compare with. The number of buckets must be a
/// power of two, which doubling keeps. Both tables recognise these two functions and then work
/// without calling them.
/// Threads: thread safe. Phases: any.
template <class K>
[[nodiscard]] VakInt VakHashAddress(K key, VakInt size) {
  constexpr int uselessBits = 5;  // objects are rarely closer together than 32 bytes
  return static_cast<VakInt>((reinterpret_cast<unsigned long>(key) >> uselessBits) &
                             (static_cast<unsigned long>(size) - 1));
}
template <class K>
[[nodiscard]] VakInt VakCompareAddresses(K a, K b) {
  return a == b ? 1 : 0;
}

/// One entry of a table, owned by it.
/// Threads: confined, as its table is.
/// Phases: any, while its table lives and keeps it.
/// Gives back: the table's removal and end.
template <class K, class V>
class VakHashItem {
 public:
  /// In no chain.
  VakHashItem(K key, V value) : _next(nullptr), _key(std::move(key)), _value(std::move(value)) {}
  [[nodiscard]] K getKey() const { return _key; }               ///< As it was given.
  [[nodiscard]] V getValue() const { return _value; }           ///< As it was given last.
  [[nodiscard]] VakHashItem* getNext() const { return _next; }  ///< Null at the end of a chain.
  void setNext(VakHashItem* next) { _next = next; }             ///< Links it.
  /// Puts an equal key in the place of the key; one that hashes elsewhere would not be found.
  void setKey(K key) { _key = std::move(key); }
  void setValue(V value) { _value = std::move(value); }  ///< Exchanges the value.

  VakHashItem* _next;  ///< Next item of the chain; null at its end.
  K _key;              ///< What the item is found by; what it points to is not owned.
  V _value;            ///< What belongs to the key; what it points to is not owned.
};

/// The algorithm over the fields of `Table`, which derives from this class. No data of its own.
///
/// `Table` has the fields _nbItems, _size, _hash, _compare and _buckets, and four operations that
/// know its memory: takeBuckets(n) gives n null buckets, giveBuckets(b, n) takes them back and
/// ignores null, makeItem(key, value) and giveItem(item) do the same for one item. Taking throws
/// and changes nothing when memory runs out.
///
/// Invariant: every item is chained in bucket _hash(key, _size), no two keys are equal, and
/// _nbItems is the sum of the lengths of the chains. Without buckets there are no items.
///
/// What a hash or equality function throws passes on unchanged, and the table then holds what it
/// held before, perhaps in another order within its chains; so it is when memory runs out. The
/// functions must answer the same for the same arguments and must not change the table.
/// Threads: read-shared, as the table that derives from it.
/// Phases: any, as long as the memory of that table serves.
/// Gives back: end() takes back items and buckets; keys and values are the caller's.
template <class Table, class K, class V>
class VakChainedTable {
 public:
  using Item = VakHashItem<K, V>;                       ///< A record.
  using HashFunction = VakInt (*)(K key, VakInt size);  ///< Gives 0 to `size` - 1.
  using CompareFunction = VakInt (*)(K a, K b);         ///< 1 if equal, else 0.
  class Iterator;

  /// Enters a pair in front of its chain: VakHashDone, or VakHashPresent when there is an equal
  /// key, whose value then stays. Makes the buckets if there are none, doubles them when they hold
  /// more than two items each. Throws VakWrongUsage ("Hash function returned bad index") and what
  /// the table throws when memory runs out; the pair is then not in the table. Constant time,
  /// doubling apart.
  VakInt add(K key, V value) {
    if (hasUsualKeys()) [[likely]]
      return addWith(usualKeys(), std::move(key), std::move(value));
    return addByCalls(std::move(key), std::move(value));
  }

  /// Writes the value of `key` to `value`: VakHashDone, or VakHashNotFound, which leaves `value` as
  /// it is. Throws VakWrongUsage ("Hash function returned bad index"). Constant time.
  [[nodiscard]] VakInt find(K key, V& value) const {
    if (hasUsualKeys()) [[likely]]
      return findWith(usualKeys(), std::move(key), value);
    return findByCalls(std::move(key), value);
  }

  /// Unlinks and frees the item of `key`: VakHashDone, or VakHashNotFound. Makes the buckets if
  /// there are none; never takes buckets away. Throws what add() throws. Constant time.
  VakInt remove(K key) {
    if (hasUsualKeys()) [[likely]]
      return removeWith(usualKeys(), std::move(key), [](V&&) {});
    return removeByCalls(std::move(key));
  }

  /// As remove(), and writes the value that was there to `value`, which stays as it is when there
  /// was none.
  VakInt take(K key, V& value) {
    const auto use = [&value](V&& taken) { value = std::move(taken); };
    if (hasUsualKeys()) [[likely]]
      return removeWith(usualKeys(), std::move(key), use);
    return removeWith(calledKeys(), std::move(key), use);
  }

  /// Rehashes into `newSize` buckets, in these steps:
  /// 1. take the new buckets;
  /// 2. ask the hash function for every index and check it;
  /// 3. push the items onto the new chains, old bucket by old bucket in chain order, so that chains
  ///    come out reversed;
  /// 4. give the old buckets back and take over the new ones with their number.
  /// Throws what add() throws; the table is then as before. Two hash calls an item, none if the
  /// table hashes addresses.
  void reMod(VakInt newSize) {
    Table& table = self();
    Item** fresh = table.takeBuckets(newSize);
    if (table._buckets != nullptr) {
      fill(fresh, newSize);
      table.giveBuckets(table._buckets, table._size);
    }
    table._buckets = fresh;
    table._size = newSize;
  }

  /// Gives back all items and the buckets. The table is empty then, without buckets, and may be
  /// used again with as many buckets as it had. What keys and values point to is not touched.
  void end() {
    Table& table = self();
    if (table._buckets != nullptr) {
      for (VakInt b = 0; b < table._size; ++b) {
        while (Item* item = table._buckets[b]) {
          table._buckets[b] = item->_next;
          table.giveItem(item);
        }
      }
      table.giveBuckets(table._buckets, table._size);
      table._buckets = nullptr;
    }
    table._nbItems = 0;
  }

  /// An empty text if the invariant holds, else what is broken. Costs one hash call an item, and a
  /// comparison for every two items of a chain. Throws what the functions throw.
  [[nodiscard]] std::string check() const {
    const Table& table = self();
    if (table._buckets == nullptr) {
      if (table._nbItems == 0) return "";
      return VakFaultText("a table without buckets counts ", table._nbItems, " items");
    }
    VakInt items = 0;
    for (VakInt b = 0; b < table._size; ++b) {
      for (const Item* item = table._buckets[b]; item != nullptr; item = item->_next) {
        if (++items > table._nbItems) {
          return VakFaultText("the chains hold more items than the ", table._nbItems, " counted");
        }
        const VakInt hash = table._hash(item->_key, table._size);
        if (hash != b) return VakFaultText("an item of bucket ", hash, " is in bucket ", b);
      }
      if (hasEqualKeys(table._buckets[b])) return VakFaultText("bucket ", b, " has a key twice");
    }
    if (items == table._nbItems) return "";
    return VakFaultText("the chains hold ", items, " items of the ", table._nbItems, " counted");
  }

 protected:
  VakChainedTable() = default;
  ~VakChainedTable() = default;

  /// Makes the buckets if there are none.
  void requireBuckets() {
    Table& table = self();
    if (table._buckets == nullptr) [[unlikely]]
      table._buckets = table.takeBuckets(table._size);
  }

 private:
  Table& self() { return static_cast<Table&>(*this); }
  const Table& self() const { return static_cast<const Table&>(*this); }

  [[noreturn, gnu::cold, gnu::noinline]] static void ThrowBadIndex() {
    throw VakWrongUsage("Hash function returned bad index");
  }

  // Hashes and compares keys as VakHashAddress and VakCompareAddresses do, without calling them.
  struct AddressKeys {
    VakInt hash(K key, VakInt size) const { return VakHashAddress<K>(key, size); }
    bool areEqual(K a, K b) const { return a == b; }
  };

  // Hashes and compares keys by the functions of the caller.
  struct CalledKeys {
    HashFunction _hash;
    CompareFunction _compare;

    VakInt hash(const K& key, VakInt size) const { return _hash(key, size); }
    bool areEqual(const K& a, const K& b) const { return _compare(a, b) != 0; }
  };

  [[nodiscard]] bool hashesAddresses() const {
    if constexpr (std::is_pointer_v<K>) return self()._hash == &VakHashAddress<K>;
    return false;
  }

  [[nodiscard]] CalledKeys calledKeys() const { return {self()._hash, self()._compare}; }

  // What the inline paths hash and compare with, and whether it does what the functions of the
  // table do.
  [[nodiscard]] auto usualKeys() const {
    if constexpr (std::is_pointer_v<K>) return AddressKeys();
    if constexpr (!std::is_pointer_v<K>) return calledKeys();
  }
  [[nodiscard]] bool hasUsualKeys() const {
    if constexpr (std::is_pointer_v<K>) {
      return hashesAddresses() && self()._compare == &VakCompareAddresses<K>;
    }
    return true;
  }

  // One comparison rules out negative indices too.
  template <class Keys>
  static VakInt IndexOf(Keys keys, const K& key, VakInt size) {
    const VakInt index = keys.hash(key, size);
    if (static_cast<unsigned long>(index) >= static_cast<unsigned long>(size)) [[unlikely]] {
      ThrowBadIndex();
    }
    return index;
  }
  VakInt indexOf(const K& key, VakInt size) const {
    if constexpr (std::is_pointer_v<K>) {
      if (hashesAddresses()) return IndexOf(AddressKeys(), key, size);
    }
    return IndexOf(calledKeys(), key, size);
  }

  template <class Keys>
  Item** bucketOf(Keys keys, const K& key) const {
    return self()._buckets + IndexOf(keys, key, self()._size);
  }

  // The bucket or link that holds the item of `key`, so that it can be taken out, else the last
  // one, which holds null.
  template <class Keys>
  static Item** LinkOf(Keys keys, Item** link, const K& key) {
    while (*link != nullptr && !keys.areEqual((*link)->_key, key)) link = &(*link)->_next;
    return link;
  }

  template <class Keys>
  VakInt addWith(Keys keys, K key, V value) {
    Table& table = self();
    requireBuckets();
    Item** bucket = bucketOf(keys, key);
    if (*LinkOf(keys, bucket, key) != nullptr) return VakHashPresent;
    Item* item = table.makeItem(std::move(key), std::move(value));
    item->_next = *bucket;
    *bucket = item;
    ++table._nbItems;
    if (table._nbItems > VakHashItemsPerBucket * table._size) [[unlikely]]
      growFor(item);
    return VakHashDone;
  }

  template <class Keys>
  VakInt findWith(Keys keys, K key, V& value) const {
    if (self()._buckets == nullptr) [[unlikely]]
      return VakHashNotFound;
    const Item* item = *LinkOf(keys, bucketOf(keys, key), key);
    if (item == nullptr) return VakHashNotFound;
    value = item->_value;
    return VakHashDone;
  }

  template <class Keys, class Use>
  VakInt removeWith(Keys keys, K key, Use use) {
    Table& table = self();
    requireBuckets();
    Item** link = LinkOf(keys, bucketOf(keys, key), key);
    Item* item = *link;
    if (item == nullptr) return VakHashNotFound;
    use(std::move(item->_value));
    *link = item->_next;
    table.giveItem(item);
    --table._nbItems;
    return VakHashDone;
  }

  // Apart from the usual path, which then calls nothing and needs fewer registers.
  [[gnu::noinline]] VakInt addByCalls(K key, V value) {
    return addWith(calledKeys(), std::move(key), std::move(value));
  }
  [[gnu::noinline]] VakInt findByCalls(K key, V& value) const {
    return findWith(calledKeys(), std::move(key), value);
  }
  [[gnu::noinline]] VakInt removeByCalls(K key) {
    return removeWith(calledKeys(), std::move(key), [](V&&) {});
  }

  [[nodiscard]] bool hasEqualKeys(const Item* chain) const {
    for (const Item* item = chain; item != nullptr; item = item->_next) {
      for (const Item* other = item->_next; other != nullptr; other = other->_next) {
        if (self()._compare(item->_key, other->_key) != 0) return true;
      }
    }
    return false;
  }

  // Doubles the buckets for the item that was one too many, which goes again if that fails. It is
  // looked for by its address, since a broken hash function need not lead to it.
  [[gnu::noinline]] void growFor(Item* item) {
    Table& table = self();
    try {
      reMod(2 * table._size);
    } catch (...) {
      for (VakInt b = 0; b < table._size; ++b) {
        Item** link = table._buckets + b;
        while (*link != nullptr && *link != item) link = &(*link)->_next;
        if (*link == item) *link = item->_next;
      }
      table.giveItem(item);
      --table._nbItems;
      throw;
    }
  }

  // Brings the items of later buckets near; chains are of two items on the whole when a table is
  // full. Always inline: GCC drops calls of functions that only prefetch.
  [[gnu::always_inline]] static inline void LookAhead(Item* const* later) {
    __builtin_prefetch(later[VakHashLookahead]);
    const Item* second = later[2 * VakHashLookahead / 3];
    if (second != nullptr) __builtin_prefetch(second->_next);
    const Item* third = later[VakHashLookahead / 3];
    if (third != nullptr && third->_next != nullptr) __builtin_prefetch(third->_next->_next);
  }

  // Moves all items into `fresh`. The usual rehash doubles a table of addresses: one more bit of
  // each then counts.
  void fill(Item** fresh, VakInt newSize) {
    if constexpr (std::is_pointer_v<K>) {
      const auto size = static_cast<unsigned long>(self()._size);
      const bool doubles = static_cast<unsigned long>(newSize) == 2 * size;
      if (doubles && hashesAddresses() && std::has_single_bit(size)) return splitBuckets(fresh);
    }
    try {
      checkIndices(newSize);
      moveItems(fresh, newSize);
    } catch (...) {
      self().giveBuckets(fresh, newSize);
      throw;
    }
  }

  // Does what moveItems() does for such a table, where no function can fail.
  void splitBuckets(Item** fresh) {
    const Table& table = self();
    const VakInt size = table._size;
    Item** const old = table._buckets;
    const VakInt far = endOfLookahead();
    for (VakInt b = 0; b < size; ++b) {
      if (b < far) LookAhead(old + b);
      for (Item* item = old[b]; item != nullptr;) {
        Item* next = item->_next;
        Item** bucket = fresh + AddressKeys().hash(item->_key, 2 * size);
        item->_next = *bucket;
        *bucket = item;
        item = next;
      }
    }
  }

  // The first bucket from which on a rehash does not look ahead.
  [[nodiscard]] VakInt endOfLookahead() const {
    const VakInt size = self()._size;
    return size < VakHashFewBuckets ? 0 : size - VakHashLookahead;
  }

  void checkIndices(VakInt newSize) const {
    const Table& table = self();
    if (hashesAddresses() && newSize > 0) return;  // it gives no others
    const VakInt far = endOfLookahead();
    for (VakInt b = 0; b < table._size; ++b) {
      if (b < far) LookAhead(table._buckets + b);
      for (const Item* item = table._buckets[b]; item != nullptr; item = item->_next) {
        static_cast<void>(indexOf(item->_key, newSize));
      }
    }
  }

  // Empties the old buckets into the new ones. The indices were checked, but the function is the
  // caller's: should it fail only now, everything goes back.
  void moveItems(Item** fresh, VakInt newSize) {
    Table& table = self();
    try {
      const VakInt far = endOfLookahead();
      for (VakInt b = 0; b < table._size; ++b) {
        if (b < far) LookAhead(table._buckets + b);
        while (Item* item = table._buckets[b]) {
          const VakInt index = indexOf(item->_key, newSize);
          table._buckets[b] = item->_next;
          item->_next = fresh[index];
          fresh[index] = item;
        }
      }
    } catch (...) {
      moveBack(fresh, newSize);
      throw;
    }
  }

  void moveBack(Item** fresh, VakInt newSize) {
    Table& table = self();
    for (VakInt b = 0; b < newSize; ++b) {
      while (Item* item = fresh[b]) {
        fresh[b] = item->_next;
        Item** bucket = table._buckets + oldIndexOf(item);
        item->_next = *bucket;
        *bucket = item;
      }
    }
  }

  // Where an item goes back to. An item whose key has no bucket any more stays in the first one, so
  // that it is still counted and freed.
  VakInt oldIndexOf(const Item* item) const {
    try {
      return indexOf(item->_key, self()._size);
    } catch (...) {
      return 0;
    }
  }
};

/// Walks all items of a table, bucket by bucket in chain order. Any change of the table ends the
/// walk, but values may be set.
template <class Table, class K, class V>
class VakChainedTable<Table, K, V>::Iterator {
 public:
  /// Stands on the first item.
  explicit Iterator(const VakChainedTable& table) : _table(table.self()) { skipEmptyBuckets(); }

  /// True while the walk stands on an item.
  [[nodiscard]] bool ok() const { return _item != nullptr; }
  /// The present item; ok() must hold.
  Item& operator*() const { return *_item; }
  Item* operator->() const { return _item; }
  /// Goes on to the next item; ok() must hold.
  Iterator& operator++() {
    _item = _item->_next;
    skipEmptyBuckets();
    return *this;
  }

 private:
  void skipEmptyBuckets() {
    if (_table._buckets == nullptr) return;
    while (_item == nullptr && _bucket < _table._size) _item = _table._buckets[_bucket++];
  }

  const Table& _table;    ///< Not owned.
  VakInt _bucket = 0;     ///< The bucket after that of the present item.
  Item* _item = nullptr;  ///< The present item; null when the walk is over.
};

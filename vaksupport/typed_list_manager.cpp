#include "vaksupport/typed_list_manager.h"

#include <cassert>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/env_memory.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/tables/env_hash_table.h"
#include "vakenv/tables/item_check.h"
#include "vakmodel/contract/extractable.h"

namespace {

constexpr VakInt FirstBuckets = 16;  // a power of two, which doubling keeps

bool descendsFrom(VakTypeInfo type, VakTypeInfo ancestor) {
  while (type != nullptr && type != ancestor) type = VakGetBaseTypeInfo(type);
  return type != nullptr;
}

}  // namespace

/// One listed extractable.
struct VakTypedListManager::Entry {
  VakExtractableI* e;         ///< Not owned.
  ClassList* list = nullptr;  ///< The list of its class; null while it waits to be filed.
  Entry* newer = nullptr;     ///< Neighbours in its chain; null at the ends.
  Entry* older = nullptr;
};

/// Entries linked both ways, the newest first.
struct VakTypedListManager::Chain {
  Entry* newest = nullptr;  ///< Null when empty.
  Entry* oldest = nullptr;  ///< Null when empty.
  VakInt length = 0;        ///< Number of entries.

  void push(Entry* entry) {
    entry->newer = nullptr;
    entry->older = newest;
    (newest != nullptr ? newest->newer : oldest) = entry;
    newest = entry;
    ++length;
  }
  void unlink(Entry* entry) {
    (entry->newer != nullptr ? entry->newer->older : newest) = entry->older;
    (entry->older != nullptr ? entry->older->newer : oldest) = entry->newer;
    --length;
  }
};

/// All entries of one class. Stays when it is empty.
struct VakTypedListManager::ClassList {
  VakTypeInfo type;    ///< The class.
  ClassList* earlier;  ///< The list made before this one; null for the first.
  Chain chain;         ///< The entries.
};

/// The lists, their index and the walks over them.
///
/// Invariant: every listed extractable has one entry, which the index leads to; the entry is in the
/// chain of its class list, or in the waiting chain while it has none.
class VakTypedListManager::Lists : public VakEnvObjectI {
 public:
  explicit Lists(VakEnvI* env)
      : VakEnvObjectI(env),
        _index(env, FirstBuckets, VakHashAddress, VakCompareAddresses),
        _classes(env, FirstBuckets, VakHashAddress, VakCompareAddresses) {}

  ~Lists() noexcept(false) override {
    for (Iterator* walk = _walks; walk != nullptr; walk = walk->_otherWalk) {
      walk->_lists = nullptr;
      walk->_next = nullptr;
    }
    giveBackAll(_waiting);
    while (_lastClass != nullptr) {
      ClassList* list = _lastClass;
      _lastClass = list->earlier;
      giveBackAll(list->chain);
      VakFreeIn(_env, list, sizeof(ClassList));
    }
  }

  void add(VakExtractableI* e) {
    Entry* entry = nullptr;
    if (_index.find(e, entry) == VakHashDone) return;
    entry = ::new (VakAllocateIn(_env, sizeof(Entry))) Entry{e};
    try {
      _index.add(e, entry);
    } catch (...) {
      VakFreeIn(_env, entry, sizeof(Entry));
      throw;
    }
    _waiting.push(entry);
  }

  void remove(VakExtractableI* e) {
    Entry* entry = nullptr;
    if (_index.find(e, entry) != VakHashDone) return;
    for (Iterator* walk = _walks; walk != nullptr; walk = walk->_otherWalk) {
      if (walk->_next == entry) walk->_next = EntryAfter(entry, walk->_type);
    }
    chainOf(entry).unlink(entry);
    _index.remove(e);
    VakFreeIn(_env, entry, sizeof(Entry));
  }

  // Files what waits, the oldest first, so that the newest ends in front. An entry leaves the
  // waiting chain only when its list is there.
  void fileWaiting() {
    while (Entry* entry = _waiting.oldest) {
      ClassList* list = listOf(entry->e->getTypeInfo());
      _waiting.unlink(entry);
      entry->list = list;
      list->chain.push(entry);
    }
  }

  [[nodiscard]] VakInt count(VakTypeInfo type) const {
    VakInt listed = 0;
    for (const ClassList* list = _lastClass; list != nullptr; list = list->earlier) {
      if (descendsFrom(list->type, type)) listed += list->chain.length;
    }
    return listed;
  }

  // The newest entry of the first list at or after `list` that has one of the class or its
  // descendants.
  static Entry* FirstEntry(const ClassList* list, VakTypeInfo type) {
    for (; list != nullptr; list = list->earlier) {
      if (list->chain.newest != nullptr && descendsFrom(list->type, type)) {
        return list->chain.newest;
      }
    }
    return nullptr;
  }
  static Entry* EntryAfter(const Entry* entry, VakTypeInfo type) {
    return entry->older != nullptr ? entry->older : FirstEntry(entry->list->earlier, type);
  }
  [[nodiscard]] Entry* firstEntry(VakTypeInfo type) const { return FirstEntry(_lastClass, type); }

  void enterWalk(Iterator* walk) {
    walk->_otherWalk = _walks;
    _walks = walk;
  }
  void leaveWalk(Iterator* walk) {
    Iterator** link = &_walks;
    while (*link != walk) link = &(*link)->_otherWalk;
    *link = walk->_otherWalk;
  }

  [[nodiscard]] std::string check(const VakIdManager* ids, const VakMemoryInspection* pool) const {
    std::string broken = VakNameFault("index", CheckTable(_index, pool));
    if (broken.empty()) broken = VakNameFault("classes", CheckTable(_classes, pool));
    if (broken.empty()) broken = checkChain(_waiting, nullptr, ids, pool);
    if (!broken.empty()) return broken;
    VakInt entries = _waiting.length;
    VakInt classes = 0;
    for (const ClassList* list = _lastClass; list != nullptr; list = list->earlier) {
      ++classes;
      if (VakIsGone(pool, list)) {
        return VakFaultText("the list of class number ", classes, " is free memory");
      }
      ClassList* indexed = nullptr;
      if (classes > _classes._nbItems || _classes.find(list->type, indexed) != VakHashDone ||
          indexed != list) {
        return VakFaultText("the list of class number ", classes, " is not in the index");
      }
      broken = checkChain(list->chain, list, ids, pool);
      if (!broken.empty()) return broken;
      entries += list->chain.length;
    }
    if (classes != _classes._nbItems) {
      return VakFaultText(classes, " classes have lists, the index has ", _classes._nbItems);
    }
    if (entries == _index._nbItems) return "";
    return VakFaultText("the lists hold ", entries, " entries, the index ", _index._nbItems);
  }

 private:
  Chain& chainOf(const Entry* entry) {
    return entry->list != nullptr ? entry->list->chain : _waiting;
  }

  ClassList* listOf(VakTypeInfo type) {
    ClassList* list = nullptr;
    if (_classes.find(type, list) == VakHashDone) return list;
    list = ::new (VakAllocateIn(_env, sizeof(ClassList))) ClassList{type, _lastClass, {}};
    try {
      _classes.add(type, list);
    } catch (...) {
      VakFreeIn(_env, list, sizeof(ClassList));
      throw;
    }
    _lastClass = list;
    return list;
  }

  void giveBackAll(Chain& chain) {
    while (Entry* entry = chain.newest) {
      chain.newest = entry->older;
      VakFreeIn(_env, entry, sizeof(Entry));
    }
  }

  // Both tables go by addresses, which their hash functions do not follow.
  template <class Table>
  static std::string CheckTable(const Table& table, const VakMemoryInspection* pool) {
    std::string broken = VakCheckItems(table, pool, [](const auto*) { return std::string(); });
    return broken.empty() ? table.check() : broken;
  }

  std::string checkChain(const Chain& chain, const ClassList* list, const VakIdManager* ids,
                         const VakMemoryInspection* pool) const {
    const char* name = list == nullptr ? "the waiting chain" : "the chain of a class";
    // A walk that finds every link towards the newer entry right cannot run in a circle.
    VakInt length = 0;
    const Entry* newer = nullptr;
    for (const Entry* entry = chain.newest; entry != nullptr; entry = entry->older) {
      ++length;
      if (VakIsGone(pool, entry)) return VakFaultText(name, " leads into free memory");
      const void* address = entry->e;
      Entry* indexed = nullptr;
      if (_index.find(entry->e, indexed) != VakHashDone || indexed != entry) {
        return VakFaultText(name, " has ", address, ", which the index does not lead to");
      }
      if (entry->newer != newer || entry->list != list) {
        return VakFaultText(name, " has ", address, " with wrong links");
      }
      if (VakIsGone(pool, address)) {
        return VakFaultText(name, " has ", address, ", which is free memory");
      }
      if (ids != nullptr && !IsRegistered(entry->e, *ids)) {
        return VakFaultText(name, " has ", address, ", which is not registered");
      }
      newer = entry;
    }
    if (chain.oldest == newer && chain.length == length) return "";
    return VakFaultText(name, " has ", length, " entries and counts ", chain.length,
                        ", or its oldest is wrong");
  }

  static bool IsRegistered(const VakExtractableI* e, const VakIdManager& ids) {
    return ids.isInTable(e->id) && (ids._data[e->id] == e || ids.isHidden(e->id));
  }

  VakEnvHashTable<VakExtractableI*, Entry*> _index;   ///< From an extractable to its entry.
  VakEnvHashTable<VakTypeInfo, ClassList*> _classes;  ///< From a class to its list.
  ClassList* _lastClass = nullptr;  ///< The list made last, owned with all earlier ones.
  Chain _waiting;                   ///< Entries that are not filed yet.
  Iterator* _walks = nullptr;       ///< The walk begun last; not owned.
};

void VakTypedListManager::switchOn(VakEnvI* env) {
  if (_lists == nullptr) _lists = VakConstructIn<Lists>(VakNamedEnvMemory{env}, env);
}

void VakTypedListManager::add(VakExtractableI* e) { _lists->add(e); }

void VakTypedListManager::remove(VakExtractableI* e) {
  if (_lists != nullptr) _lists->remove(e);
}

VakInt VakTypedListManager::count(VakTypeInfo type) const {
  if (_lists == nullptr) return 0;
  _lists->fileWaiting();
  return _lists->count(type);
}

void VakTypedListManager::end([[maybe_unused]] VakEnvI* env) {
  if (_lists == nullptr) return;
  assert(_lists->_env == env);
  Lists* lists = _lists;
  _lists = nullptr;
  delete lists;
}

std::string VakTypedListManager::check(const VakIdManager* ids,
                                       const VakMemoryInspection* pool) const {
  return _lists == nullptr ? "" : _lists->check(ids, pool);
}

VakTypedListManager::Iterator::Iterator(const VakTypedListManager& manager, VakTypeInfo type)
    : _lists(manager._lists), _type(type), _e(nullptr), _next(nullptr), _otherWalk(nullptr) {
  if (_lists == nullptr) return;
  _lists->fileWaiting();
  _lists->enterWalk(this);
  _next = _lists->firstEntry(type);
  ++*this;
}

VakTypedListManager::Iterator::~Iterator() {
  if (_lists != nullptr) _lists->leaveWalk(this);
}

VakTypedListManager::Iterator& VakTypedListManager::Iterator::operator++() {
  _e = nullptr;
  if (_next != nullptr) {
    _e = _next->e;
    _next = Lists::EntryAfter(_next, _type);
  }
  return *this;
}

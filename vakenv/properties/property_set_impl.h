#pragma once

// Sets of named properties: the implementation behind VakNamedPropertySet.
//
// A set is a doubly linked list, newest entry first. Its entries come from the set's memory
// manager; the properties are shared with other sets by counting holds.

#include <string>
#include <string_view>
#include <unordered_map>

#include "vakenv/fwd.h"
#include "vakenv/memory/memory_manager_object.h"

/// Properties under unique names.
///
/// Invariant of a set built by insertion, which isConsistent() proves: for every entry e,
/// e._next == null or e._next->_previous == e; the first entry has no previous one; every property
/// is held at least once. Whoever creates a set owns it until an owner of properties takes it over.
/// Deleting a set removes every entry.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares a property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: `delete`, or the owner that took the set over with setProperties.
class VakNamedPropertySetI : public VakMemoryManagerObjectI {
 public:
  /// One entry of the list.
  struct PropertyList {
    VakNamedPropertyI* _property;  ///< The property, held once for this entry.
    PropertyList* _next;           ///< The entry inserted before this one; null at the tail.
    PropertyList* _previous;       ///< The entry inserted after this one; null at the head.
  };

  /// An empty set.
  explicit VakNamedPropertySetI(VakMemoryManager manager);
  ~VakNamedPropertySetI() noexcept(false) override;

  /// Puts `property` in front without any check and holds it. Throws std::bad_alloc and changes
  /// nothing then.
  void fastAdd(VakNamedPropertyI* property);
  /// Adds `property` itself. Throws VakEnvironmentMismatch when it comes from another memory
  /// manager than the set, VakNamedPropertySet::AlreadyPresent when its name is taken,
  /// std::bad_alloc; the set is unchanged then.
  void addProperty(VakNamedPropertyI* property);
  /// Adds a copy of `property` made in the set's memory manager. Throws
  /// VakNamedPropertySet::AlreadyPresent when the name is taken, and what makeClone throws; the set
  /// is unchanged and no copy is left then.
  void addClonedProperty(VakNamedPropertyI* property);

  /// The newest entry whose property has this name, or null; a null name finds nothing.
  [[nodiscard]] PropertyList* getElem(const char* name) const;
  [[nodiscard]] PropertyList* getElem(std::string_view name) const;
  /// The newest entry of this very property, or null.
  [[nodiscard]] PropertyList* getElem(const VakNamedPropertyI* property) const;
  /// The property of this name. Throws VakNamedPropertySet::NotPresent when there is none.
  [[nodiscard]] VakNamedPropertyI* getProperty(const char* name) const;
  [[nodiscard]] VakNamedPropertyI* getProperty(std::string_view name) const;

  /// Unlinks the entry of this name and drops its hold. Throws VakNamedPropertySet::NotPresent.
  void removeProperty(const char* name);
  void removeProperty(std::string_view name);
  /// The same for the newest entry of this very property.
  void removeProperty(VakNamedPropertyI* property);
  /// Unlinks `entry`, which must belong to this set, gives its storage back and drops its hold; a
  /// property that nobody holds then is deleted.
  ///
  /// Deliberate: an entry in the middle of a set made by makeClone has no previous link, so the
  /// entry before it still leads to it. Its storage stays until it is removed as the first entry
  /// or with a previous link; only the count of its property falls.
  void remove(PropertyList* entry);
  /// Removes the entries from the newest to the oldest.
  void removeAllProperties();

  /// A new set in the memory of `manager` with copies of all properties in the same order, owned by
  /// the caller. Deliberate: the entries have no previous links and do not hold their properties,
  /// so removing an entry does not delete the copy, unless another set has come to hold it, whose
  /// hold it then takes away; and removing any but the first does not unlink it.
  /// makeDeepCopy makes an ordinary set. What was built so far remains when a copy fails.
  [[nodiscard]] VakNamedPropertySetI* makeClone(VakMemoryManager manager) const;
  /// A new set in the memory of `manager` that holds copies of all properties in the same order,
  /// owned by the caller; deleting it deletes the copies. Nothing remains when a copy fails.
  [[nodiscard]] VakNamedPropertySetI* makeDeepCopy(VakMemoryManager manager) const;

  /// An empty text if no link is wrong, else what is broken. Every set has to pass, also one made
  /// by makeClone, whose entries lack previous links and do not hold: a previous link that is there
  /// leads to the entry before. With `pool`, no property may be free memory. Counts in `entries`,
  /// if it is not null, how often each property stands in the sets looked at; one that is held at
  /// all is held as often. Linear time; `entries` takes memory from the general heap.
  [[nodiscard]] std::string check(
      const VakMemoryInspection* pool = nullptr,
      std::unordered_map<const VakNamedPropertyI*, VakInt>* entries = nullptr) const;
  /// True when the invariant of a set built by insertion holds. Linear time.
  [[nodiscard]] bool isConsistent() const;

  PropertyList* _first;  ///< The newest entry; null when the set is empty.

 private:
  PropertyList* makeEntry(VakNamedPropertyI* property) const;
  PropertyList* makeClonedEntry(const VakNamedPropertyI* property) const;
};

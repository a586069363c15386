#pragma once

// The handle of a set of named properties, and the exceptions that sets throw.
//
//   for (VakNamedProperty property : env.getProperties().all()) std::cout << property << '\n';

#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <string_view>

#include "vakbase/exception.h"
#include "vakenv/fwd.h"
#include "vakenv/memory/memory_manager.h"
#include "vakenv/properties/named_property.h"
#include "vakenv/properties/property_set_impl.h"

/// Handle of a set of named properties: one pointer, copied freely, never an owner; null when
/// empty.
///
/// A set is owned by whoever created it until setProperties of an environment or an extensible
/// object takes it over. Every operation but getImpl, all and the comparison throws
/// VakEmptyHandleException ("VakNamedPropertySet: Using empty handle") on an empty handle; an empty
/// property handle throws "VakNamedProperty: Using empty handle".
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares a property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: end(), or the owner that took the set over with setProperties.
class VakNamedPropertySet {
 public:
  class BadType;
  class AlreadyPresent;
  class NotPresent;
  class Iterator;
  class Range;

  VakNamedPropertySet() = default;
  /// A handle on an existing set; null makes an empty handle.
  explicit VakNamedPropertySet(VakNamedPropertySetI* impl) : _impl(impl) {}
  /// A handle on a new, empty set in the memory of `manager`. Throws std::bad_alloc.
  explicit VakNamedPropertySet(VakMemoryManager manager);

  [[nodiscard]] VakNamedPropertySetI* getImpl() const { return _impl; }
  friend bool operator==(VakNamedPropertySet a, VakNamedPropertySet b) {
    return a._impl == b._impl;
  }

  /// Adds `property` without any check: its name may be taken and its memory be another's.
  void fastAdd(VakNamedProperty property) const;
  /// Shares `property`, which must come from the set's memory manager (VakEnvironmentMismatch) and
  /// have a name that is not taken (AlreadyPresent).
  void addProperty(VakNamedProperty property) const;
  /// Adds a copy of `property` made in the set's memory. Throws AlreadyPresent, or
  /// VakNamedPropertyI::Exception when the property cannot be copied.
  void addClonedProperty(VakNamedProperty property) const;
  /// True when there is a property of this name.
  [[nodiscard]] bool hasProperty(const char* name) const;
  /// True when the set holds this very property.
  [[nodiscard]] bool hasProperty(VakNamedProperty property) const;
  /// The property of this name, the newest if there are several. Throws NotPresent.
  [[nodiscard]] VakNamedProperty getProperty(const char* name) const;
  /// The value of the property of this name: getProperty<VakNum>("gap"). T is an integer type, a
  /// floating-point type, const char* or void*; the value comes back as VakInt, VakNum, const char*
  /// or VakAny. Throws NotPresent, or BadType when the property is of another kind.
  template <class T>
  [[nodiscard]] auto getProperty(const char* name) const;
  /// The same, with the value to return when there is no property of this name.
  template <class T>
  [[nodiscard]] auto getProperty(const char* name, T fallback) const;
  /// Lets the property of this name go; it is deleted if no other set holds it. Throws NotPresent.
  void removeProperty(const char* name) const;
  void removeProperty(VakNamedProperty property) const;

  // The same for names of a known length, which are not copied; exceptions hold a copy.

  [[nodiscard]] bool hasProperty(std::string_view name) const;
  [[nodiscard]] VakNamedProperty getProperty(std::string_view name) const;
  template <class T>
  [[nodiscard]] auto getProperty(std::string_view name) const;
  template <class T>
  [[nodiscard]] auto getProperty(std::string_view name, T fallback) const;
  void removeProperty(std::string_view name) const;

  /// Lets all properties go. Nothing when there are none.
  void removeAllProperties() const;
  /// A set of copies that the new set does not hold; see VakNamedPropertySetI::makeClone.
  [[nodiscard]] VakNamedPropertySet makeClone(VakMemoryManager manager) const;
  /// An independent set of copies in the memory of `manager`, owned by the caller.
  [[nodiscard]] VakNamedPropertySet makeDeepCopy(VakMemoryManager manager) const;
  /// The properties, newest first, for a range-based loop. The loop may remove the property it
  /// stands on and add others, which it does not visit. Nothing for an empty handle.
  [[nodiscard]] Range all() const;
  /// Deletes the set, letting every property go, and empties this handle.
  void end();

  VakNamedPropertySetI* _impl = nullptr;  ///< The set, not owned; null when the handle is empty.

 private:
  [[nodiscard]] VakNamedPropertySetI& impl() const;
};

/// Walks the properties of a set. It knows the entry after the present one beforehand, so the
/// present one may be removed.
class VakNamedPropertySet::Iterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = VakNamedProperty;
  using difference_type = std::ptrdiff_t;
  using pointer = const VakNamedProperty*;
  using reference = VakNamedProperty;

  Iterator() = default;
  /// At this entry; null for the end.
  explicit Iterator(const VakNamedPropertySetI::PropertyList* entry)
      : _entry(entry), _next(entry == nullptr ? nullptr : entry->_next) {}

  VakNamedProperty operator*() const { return VakNamedProperty(_entry->_property); }
  Iterator& operator++() { return *this = Iterator(_next); }
  Iterator operator++(int) {
    const Iterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(Iterator a, Iterator b) { return a._entry == b._entry; }

 private:
  const VakNamedPropertySetI::PropertyList* _entry = nullptr;  ///< The present entry; null: over.
  const VakNamedPropertySetI::PropertyList* _next = nullptr;   ///< Where the walk goes on.
};

/// The properties of a set as a range.
class VakNamedPropertySet::Range {
 public:
  /// Of this set, which is not owned; null for an empty loop.
  explicit Range(const VakNamedPropertySetI* set) : _set(set) {}
  [[nodiscard]] Iterator begin() const {
    return Iterator(_set == nullptr ? nullptr : _set->_first);
  }
  [[nodiscard]] Iterator end() const { return Iterator(); }

 private:
  const VakNamedPropertySetI* _set;  ///< The set, not owned; null for an empty range.
};

/// Writes the properties, newest first, as in {size (3), colour(red)}; an empty handle as {}.
std::ostream& operator<<(std::ostream& out, VakNamedPropertySet set);

// The messages of these exceptions are the names that the caller gave: the caller's pointer, not a
// copy, so the text has to outlive the exception. A name of a known length is copied into the
// exception that is thrown.

/// Throws VakNamedPropertySet::NotPresent with a copy of `name`, which is cut when it is long.
/// Threads: thread safe. Phases: any.
[[noreturn]] void VakThrowNotPresent(std::string_view name);
/// Throws VakNamedPropertySet::BadType with a copy of `name`, which is cut when it is long.
/// Threads: thread safe. Phases: any.
[[noreturn]] void VakThrowBadType(std::string_view name);

/// A property of the name exists but is of another kind:
/// prints "Named property <NAME> has wrong type".
class VakNamedPropertySet::BadType : public VakException {
 public:
  /// About the property of this name, which has to outlive the exception.
  explicit BadType(const char* name);
  ~BadType() override;
  void print(std::ostream& out) const override;
};

/// A property of the name is in the set already: prints "Named property <NAME> already present".
class VakNamedPropertySet::AlreadyPresent : public VakException {
 public:
  /// About the property of this name, which has to outlive the exception.
  explicit AlreadyPresent(const char* name);
  ~AlreadyPresent() override;
  void print(std::ostream& out) const override;
};

/// There is no such property: prints "Named property <NAME> not present". Deliberate: a request for
/// a property object prints the address of that object instead of its name.
class VakNamedPropertySet::NotPresent : public VakException {
 public:
  /// About a name, which has to outlive the exception, or a property; the other one is null.
  NotPresent(const char* name, const VakNamedPropertyI* property);
  ~NotPresent() override;
  void print(std::ostream& out) const override;

  const VakNamedPropertyI* _property;  ///< The property asked for; null when asked by name.
};

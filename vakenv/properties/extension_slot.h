#pragma once

// The property operations of an owner, told once for the environment and the extensible objects,
// which differ only in the allocator and in where the extension pointer lives.

#include <string_view>

#include "vakenv/fwd.h"
#include "vakenv/properties/extension.h"

/// An owner's allocator and the place of its extension pointer, put together for one operation.
///
/// "The set" below is the one in the owner's extension, if there is one.
///
/// Threads: confined; made for one operation.
/// Phases: open, for the length of one operation.
/// Gives back: end() takes back the extension that writing made.
class VakExtensionSlot {
 public:
  /// Neither is owned; both have to outlive this.
  VakExtensionSlot(VakGenAlloc* allocator, VakExtension*& slot)
      : _allocator(allocator), _slot(&slot) {}

  // Reading: nothing is created. `extension` may be null.

  [[nodiscard]] static const char* GetName(const VakExtension* extension);
  [[nodiscard]] static VakAny GetObject(const VakExtension* extension);
  [[nodiscard]] static VakNamedPropertySetI* GetProperties(const VakExtension* extension);
  /// 1 if the set has a property of this name, else 0.
  [[nodiscard]] static VakInt HasProperty(const VakExtension* extension, const char* name);
  /// Throws VakNamedPropertySet::NotPresent with `name` when there is none.
  [[nodiscard]] static VakNamedPropertyI* GetProperty(const VakExtension* extension,
                                                      const char* name);

  /// The same for names of a known length.
  [[nodiscard]] static VakInt HasProperty(const VakExtension* extension, std::string_view name);
  [[nodiscard]] static VakNamedPropertyI* GetProperty(const VakExtension* extension,
                                                      std::string_view name);

  // Writing: records are created by a value that is not null or by an insertion, and stay when
  // values are cleared.

  void setName(const char* name) const;
  void setObject(void* object) const;
  /// Takes `set` over and deletes the old one; null deletes the old one only. The object extension
  /// always comes from the owner's allocator, whichever memory the set comes from.
  void setProperties(VakNamedPropertySetI* set) const;
  /// Throws as VakNamedPropertySetI::addProperty does.
  void addProperty(VakNamedPropertyI* property) const;
  /// Throws as VakNamedPropertySetI::addClonedProperty does.
  void addClonedProperty(VakNamedPropertyI* property) const;
  /// Adds a copy of every property of `set`, newest first, which stays the caller's; nothing for
  /// null. A failure keeps the copies added before it.
  void addProperties(const VakNamedPropertySetI* set) const;
  /// Throws VakNamedPropertySet::NotPresent with the name.
  void removeProperty(const char* name) const;
  void removeProperty(std::string_view name) const;
  /// Throws VakNamedPropertySet::NotPresent with the property's name and the property.
  void removeProperty(VakNamedPropertyI* property) const;
  void removeAllProperties() const { setProperties(nullptr); }
  /// Ends the extension, if any, gives it back and empties the slot.
  void end() const;

 private:
  [[nodiscard]] VakNamedPropertySetI* getOrMakeSet() const;

  VakGenAlloc* _allocator;  ///< The owner's allocator, not owned.
  VakExtension** _slot;     ///< The owner's extension pointer.
};

#pragma once

// Named properties: small objects that attach one value under a name to something.
//
//   VakNamedPropertyI           what every property can do; counts the sets that hold it
//   VakPreNamedPropertyI        keeps the name, interned by the property's memory manager
//   VakNamedIntPropertyI ...    the four kinds, each with one value
//
// A property gives its storage back to its memory manager. Copies of texts come from the
// environment of that memory manager, so a property with a text needs a memory manager that
// belongs to an environment. Further kinds may be derived elsewhere; one without a makeClone of its
// own can be held by sets but not copied.

#include <cstddef>
#include <iosfwd>
#include <new>

#include "vakbase/exception.h"
#include "vakbase/numbers.h"
#include "vakenv/memory/memory_manager_object.h"

/// Base of all named properties.
///
/// Made with VakCreate or through a handle. Sets share properties: the set that drops the last hold
/// deletes the property. Holds are counted without locking. A held property cannot be deleted.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; `delete` one that no set holds.
class VakNamedPropertyI : public VakRttiMemoryManagerObjectI {
  VAK_RTTI(VakNamedPropertyI, VakRttiMemoryManagerObjectI);

  class Exception;

  explicit VakNamedPropertyI(VakMemoryManager manager);
  /// Throws VakWrongUsage ("Dangerous deletion of named property") while a set holds the property.
  ~VakNamedPropertyI() noexcept(false) override;

  /// Writes the name, and in the kinds the value; nothing is written for a null text.
  virtual void display(std::ostream& out) const;
  /// The name; null when the property has none.
  [[nodiscard]] virtual const char* getName() const = 0;
  /// A new property with the same name and value in the memory of `manager`, held by nobody and
  /// owned by the caller. This form always throws VakNamedPropertyI::Exception
  /// ("Cloning of VakNamedProperty forbidden - makeClone(VakEnv) has not been defined").
  [[nodiscard]] virtual VakNamedPropertyI* makeClone(VakMemoryManager manager) const;

  /// A copy of `text` in the memory of the property's environment, to be given back with
  /// freeString; null for null. Throws VakEnv::IncompatibleMemoryManagerException when the memory
  /// manager belongs to no environment, std::bad_alloc when memory runs out.
  [[nodiscard]] char* cloneString(const char* text) const;
  /// Gives back what cloneString returned; ignores null.
  void freeString(char* text) const;

  /// What `delete` does. A property that a set holds stays whole: the holds are tested before
  /// anything is torn down, and VakWrongUsage ("Dangerous deletion of named property") is thrown.
  static void operator delete(VakNamedPropertyI* property, std::destroying_delete_t,
                              std::size_t size) noexcept(false);
  /// Gives back the storage of a property that is already destroyed.
  static void operator delete(void* p, unsigned long size) noexcept(false);
  static void operator delete(void*, void*) noexcept {}

  VakInt _holders;  ///< Entries of sets that hold this property; below 0 only after removals from a
                    ///< set made by VakNamedPropertySetI::makeClone.
};

/// Thrown by properties that cannot be copied.
class VakNamedPropertyI::Exception : public VakException {
 public:
  explicit Exception(const char* message);
  ~Exception() override;
};

/// A property with a name and no value.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; `delete` one that no set holds.
class VakPreNamedPropertyI : public VakNamedPropertyI {
  VAK_RTTI(VakPreNamedPropertyI, VakNamedPropertyI);

  /// Keeps what the memory manager's intern() makes of `name`.
  VakPreNamedPropertyI(VakMemoryManager manager, const char* name);
  ~VakPreNamedPropertyI() noexcept(false) override;

  [[nodiscard]] const char* getName() const override;
  [[nodiscard]] VakNamedPropertyI* makeClone(VakMemoryManager manager) const override;

  const char* _name;  ///< Interned, so it lives as long as the memory manager's texts; may be null.
};

/// An integer property; displayed as "size (3)".
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; `delete` one that no set holds.
class VakNamedIntPropertyI : public VakPreNamedPropertyI {
  VAK_RTTI(VakNamedIntPropertyI, VakPreNamedPropertyI);
  using EmbeddedType = VakInt;  ///< The type of the value.

  /// A property of this name, which is copied, in the memory of this manager. Throws
  /// std::bad_alloc.
  VakNamedIntPropertyI(VakMemoryManager manager, const char* name, VakInt value);
  ~VakNamedIntPropertyI() noexcept(false) override;

  void display(std::ostream& out) const override;
  [[nodiscard]] VakNamedPropertyI* makeClone(VakMemoryManager manager) const override;
  /// Read and change the value.
  [[nodiscard]] VakInt getValue() const { return _value; }
  void setValue(VakInt value) { _value = value; }

  VakInt _value;  ///< The value.
};

/// A numeric property; displayed as "gap (0.5)".
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; `delete` one that no set holds.
class VakNamedNumPropertyI : public VakPreNamedPropertyI {
  VAK_RTTI(VakNamedNumPropertyI, VakPreNamedPropertyI);
  using EmbeddedType = VakNum;  ///< The type of the value.

  /// A property of this name, which is copied, in the memory of this manager. Throws
  /// std::bad_alloc.
  VakNamedNumPropertyI(VakMemoryManager manager, const char* name, VakNum value);
  ~VakNamedNumPropertyI() noexcept(false) override;

  void display(std::ostream& out) const override;
  [[nodiscard]] VakNamedPropertyI* makeClone(VakMemoryManager manager) const override;
  /// Read and change the value.
  [[nodiscard]] VakNum getValue() const { return _value; }
  void setValue(VakNum value) { _value = value; }

  VakNum _value;  ///< The value.
};

/// A property that names an object of the user; displayed as "view (0x1234)".
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; `delete` one that no set holds.
class VakNamedAnyPropertyI : public VakPreNamedPropertyI {
  VAK_RTTI(VakNamedAnyPropertyI, VakPreNamedPropertyI);
  using EmbeddedType = VakAny;  ///< The type of the value.

  /// A property of this name, which is copied, in the memory of this manager. Throws
  /// std::bad_alloc.
  VakNamedAnyPropertyI(VakMemoryManager manager, const char* name, VakAny value);
  ~VakNamedAnyPropertyI() noexcept(false) override;

  void display(std::ostream& out) const override;
  [[nodiscard]] VakNamedPropertyI* makeClone(VakMemoryManager manager) const override;
  /// Read and change the value, a pointer that is not owned.
  [[nodiscard]] VakAny getValue() const { return _value; }
  void setValue(VakAny value) { _value = value; }

  VakAny _value;  ///< The user's object, never owned.
};

/// A text property; displayed as "colour(red)". Deliberate: no blank before the bracket.
///
/// Threads: read-shared; holds are counted without a lock, so adding to and removing from any set
///     that shares the property are changes.
/// Phases: open; with a manager of no environment as long as that manager serves.
/// Gives back: the last set that lets it go deletes it; `delete` one that no set holds.
class VakNamedStringPropertyI : public VakPreNamedPropertyI {
  VAK_RTTI(VakNamedStringPropertyI, VakPreNamedPropertyI);
  using EmbeddedType = const char*;  ///< The type of the value.

  /// Keeps a copy of `value`, which may be null. Throws as cloneString does.
  VakNamedStringPropertyI(VakMemoryManager manager, const char* name, const char* value);
  ~VakNamedStringPropertyI() noexcept(false) override;

  void display(std::ostream& out) const override;
  [[nodiscard]] VakNamedPropertyI* makeClone(VakMemoryManager manager) const override;
  /// The property's own copy, valid until the next setValue; not to be released.
  [[nodiscard]] const char* getValue() const { return _value; }
  /// Releases the old copy, then keeps a copy of `value`; the value is null in between and stays so
  /// if the copy cannot be made. A text that lies inside the old copy is copied first.
  void setValue(const char* value);

  char* _value;  ///< A copy in the environment's memory, owned; null for a null value.
};

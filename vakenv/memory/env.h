#pragma once

// The handle of an environment.

#include <iosfwd>
#include <string>
#include <string_view>

#include "vakbase/exception.h"
#include "vakenv/fwd.h"
#include "vakenv/memory/memory_manager.h"

/// Handle of an environment: one pointer, copied freely, never an owner; null when empty.
///
/// An environment owns the memory of everything built in it and gives all of it back at end().
/// Copies of a handle may outlive the environment and then dangle. Unless thread-safe allocation
/// is on, one thread at a time uses an environment and everything in it.
///
/// Every operation on an empty handle throws VakEmptyHandleException, with the message
/// "VakEnv: Using empty handle" unless the operation says otherwise.
///
/// Threads: read-shared; getRandom, makeSymbol and everything that sets or adds change. In
///     thread-safe mode several threads may also take and give back memory and make objects of
///     their own. check() and end(): no other thread uses the environment.
/// Phases: open, callbacks and destructors that run in end() included; end() itself not from within
///     the environment's callbacks. Only comparing, getImpl and empty handles need no environment
///     that lives.
/// Gives back: end() takes back the environment and all that was made in it.
class VakEnv {
 public:
  class AbortException;
  class IncompatibleMemoryManagerException;

  /// Creates a new environment, which lives until end(). Throws VakMemoryException
  /// ("not enough memory") and never std::bad_alloc.
  VakEnv();
  /// A handle on an existing environment; null makes an empty handle.
  explicit VakEnv(VakEnvI* impl) : _impl(impl) {}
  /// A handle on the environment that owns `manager`; nothing is created. Throws
  /// IncompatibleMemoryManagerException when `manager` is not an environment's own allocator.
  explicit VakEnv(VakMemoryManager manager);

  [[nodiscard]] VakEnvI* getImpl() const { return _impl; }
  friend bool operator==(VakEnv a, VakEnv b) { return a._impl == b._impl; }

  /// Ends the environment with everything in it, then empties this handle. The first exception of
  /// the destructors of user objects passes on when everything is released.
  void end();

  /// The environment's own memory manager; lives as long as the environment.
  [[nodiscard]] VakMemoryManager getMemoryManager() const;
  /// Implicit on purpose: an environment can stand wherever a memory manager is taken.
  operator VakMemoryManager() const { return getMemoryManager(); }

  /// Bytes of model memory in use.
  [[nodiscard]] VakInt getMemoryUsage() const;
  /// Bytes of model memory obtained from the system, never below getMemoryUsage().
  [[nodiscard]] VakInt getTotalMemoryUsage() const;
  /// Bytes of the identifier table.
  [[nodiscard]] VakInt getIdManagerMemoryUsage() const;
  /// The text that names the library, its version and date.
  [[nodiscard]] const char* getVersion() const;

  /// Proves the invariants of all that the environment holds, of arrays in the checked build only:
  /// an empty text if all hold, else a line for each structure that is broken. For tests, and for
  /// whoever looks for a fault; see VakEnvI::check for what it covers and costs. Takes no memory
  /// from the environment. Throws std::bad_alloc.
  [[nodiscard]] std::string check() const;

  /// Switches thread-safe allocation on (non-zero) or off; see VakEnvI::useMTSafeAllocation.
  ///
  /// Deliberate: modelling objects made in this mode are not reached by removals unless their class
  /// calls VakExtractableI::enterSlot, as those of the library do, identifiers of those that go in
  /// it stay booked, and destroyables made in it are not deleted by end().
  /// VakEnvI::getUnreleasedIds and getUnlistedDestroyables count the last two.
  void useMTSafeAllocation(VakInt on) const;
  /// Switches thread-safe normalization on (non-zero) or off; see VakEnvI::useMTSafeNormalization.
  void useMTSafeNormalization(VakInt on) const;

  // Symbols and random numbers. On an empty handle these throw "Using empty handle.".

  /// The symbol of this name, or null.
  [[nodiscard]] VakSymbolI* getSymbol(const char* name) const;
  /// The symbol of this name, made if there is none.
  VakSymbolI* makeSymbol(const char* name) const;
  // The same for texts of a known length, of which a terminated copy is made for the call.
  [[nodiscard]] VakSymbolI* getSymbol(std::string_view name) const;
  VakSymbolI* makeSymbol(std::string_view name) const;
  /// The environment's random generator, made on first use; lives as long as the environment.
  [[nodiscard]] VakUniqueRandomI* getRandom() const;

  // Name, user object and named properties of the environment. A null property name throws
  // VakEmptyHandleException "VakEnv: Using empty string"; an empty property or set handle throws
  // "VakNamedProperty: Using empty handle" or "VakNamedPropertySet: Using empty handle". The
  // environment's own handle is tested first.

  /// The environment's name, its own copy; null when it has none.
  [[nodiscard]] const char* getName() const;
  /// Stores a copy of `name`; null clears the name.
  void setName(const char* name) const;
  /// The user object, or null.
  [[nodiscard]] VakAny getObject() const;
  /// Stores a user object, which is not owned.
  void setObject(VakAny object) const;
  /// The set of the environment's properties, or an empty handle; creates nothing.
  [[nodiscard]] VakNamedPropertySet getProperties() const;
  /// Replaces the environment's properties by `set`, which it takes over; the old set is deleted.
  void setProperties(VakNamedPropertySet set) const;
  /// 1 when there is a property of this name, else 0.
  [[nodiscard]] VakInt hasProperty(const char* name) const;
  /// Throws VakNamedPropertySet::NotPresent when there is none of this name.
  [[nodiscard]] VakNamedProperty getProperty(const char* name) const;
  [[nodiscard]] VakNamedPropertyI* getPropertyI(const char* name) const;
  /// The value of a property by its C++ type, as in getProperty<VakNum>("gap"); the second form
  /// gives `fallback` when there is no property of this name. Needs vakenv/properties.h, where
  /// VakNamedPropertySet tells the types; a property of another kind throws
  /// VakNamedPropertySet::BadType.
  template <class T>
  [[nodiscard]] auto getProperty(const char* name) const;
  template <class T>
  [[nodiscard]] auto getProperty(const char* name, T fallback) const;
  /// Shares `property`, which must come from the environment's memory manager.
  void addProperty(VakNamedProperty property) const;
  /// Adds a copy of `property` made in the environment's memory.
  void addClonedProperty(VakNamedProperty property) const;
  /// Adds copies of all properties of `set`.
  void addProperties(VakNamedPropertySet set) const;
  /// Throws VakNamedPropertySet::NotPresent when there is none of this name.
  void removeProperty(const char* name) const;
  /// Nothing when there are none.
  void removeAllProperties() const;
  /// The value. Throw NotPresent when there is none of this name, BadType when it is another kind.
  [[nodiscard]] VakInt getIntProperty(const char* name) const;
  [[nodiscard]] VakNum getNumProperty(const char* name) const;
  [[nodiscard]] VakAny getAnyProperty(const char* name) const;
  /// The property's own copy of the text; not to be released.
  [[nodiscard]] const char* getStringProperty(const char* name) const;
  /// Change the property of this name or add one; throw BadType when it is of another kind.
  void setIntProperty(const char* name, VakInt value) const;
  void setNumProperty(const char* name, VakNum value) const;
  void setAnyProperty(const char* name, VakAny value) const;
  void setStringProperty(const char* name, const char* value) const;

  // The same for names of a known length: strings, views, and texts that need no terminator. What
  // is looked up is not copied, and exceptions hold a copy of the name.

  void setName(std::string_view name) const;
  [[nodiscard]] VakInt hasProperty(std::string_view name) const;
  [[nodiscard]] VakNamedProperty getProperty(std::string_view name) const;
  template <class T>
  [[nodiscard]] auto getProperty(std::string_view name) const;
  template <class T>
  [[nodiscard]] auto getProperty(std::string_view name, T fallback) const;
  void removeProperty(std::string_view name) const;
  [[nodiscard]] VakInt getIntProperty(std::string_view name) const;
  [[nodiscard]] VakNum getNumProperty(std::string_view name) const;
  [[nodiscard]] VakAny getAnyProperty(std::string_view name) const;
  [[nodiscard]] const char* getStringProperty(std::string_view name) const;
  void setIntProperty(std::string_view name, VakInt value) const;
  void setNumProperty(std::string_view name, VakNum value) const;
  void setAnyProperty(std::string_view name, VakAny value) const;
  void setStringProperty(std::string_view name, const char* value) const;
  void setStringProperty(std::string_view name, std::string_view value) const;

  VakEnvI* _impl;  ///< The environment, not owned; null when the handle is empty.
};

/// Writes the name and the memory in use, as in: environment "plant" (1024 bytes in use).
std::ostream& operator<<(std::ostream& out, VakEnv env);

/// For algorithms that are asked to stop: "VakEnv has been requested to abort.". The environment
/// itself never throws it.
class VakEnv::AbortException : public VakException {
 public:
  AbortException();
  ~AbortException() override;
};

/// A memory manager belongs to no environment: "Incompatible memory manager".
class VakEnv::IncompatibleMemoryManagerException : public VakException {
 public:
  IncompatibleMemoryManagerException();
  ~IncompatibleMemoryManagerException() override;
};

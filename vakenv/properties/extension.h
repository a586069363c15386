#pragma once

// The record in which an owner keeps its name, its user object and its properties.
//
// An owner (the environment, an extensible object) has one pointer to a VakExtension, null until it
// is first needed: the slot. The record knows no allocator; whoever works on it passes the owner's,
// the same every time. A form that takes an environment uses the environment's own allocator.

#include "vakenv/fwd.h"

/// Name, user object and properties of one owner. A plain record: its owner calls end() and gives
/// the record itself back.
///
/// Threads: read-shared, as its owner is.
/// Phases: open, as long as its owner.
/// Gives back: end(), called by its owner.
class VakExtension {
 public:
  class VakObjectExtension;

  /// A record with a copy of `name` and with `object`, each of which may be null.
  VakExtension(VakGenAlloc* allocator, const char* name, void* object);
  VakExtension(VakEnvI* env, const char* name, void* object);

  /// The record in `*slot`, made empty in the allocator's memory if there is none.
  static VakExtension* getOrMake(VakGenAlloc* allocator, VakExtension** slot);
  static VakExtension* getOrMake(VakEnvI* env, VakExtension** slot);

  /// Releases the old name, then keeps a copy of `name`, or null for null. The name is null in
  /// between and stays so if the copy cannot be made (std::bad_alloc). A text that lies inside the
  /// old name is copied first.
  void setName(VakGenAlloc* allocator, const char* name);
  void setName(VakEnvI* env, const char* name);
  /// Stores the user object, making the object extension if it is missing.
  void setObject(VakGenAlloc* allocator, void* object);
  void setObject(VakEnvI* env, void* object);
  /// Takes `set` over and deletes the set held before, even if it is `set` itself, which therefore
  /// must not be passed. A missing object extension is made in the memory of the set's own memory
  /// manager; null without an object extension does nothing.
  void setProperties(VakNamedPropertySetI* set);
  /// Releases everything the record holds; the owner gives the record itself back.
  void end(VakGenAlloc* allocator);
  void end(VakEnvI* env);

  char* _name;                           ///< Owned copy in the owner's allocator; null for none.
  VakObjectExtension* _objectExtension;  ///< Owned; null until first needed.

 private:
  void giveBackRecords(VakGenAlloc* allocator);
  friend class VakExtensionSlot;
  VakExtension() : _name(nullptr), _objectExtension(nullptr) {}
  VakObjectExtension* getOrMakeObjectExtension(VakGenAlloc* allocator);
};

/// The part of an extension that only owners with a user object or properties need.
class VakExtension::VakObjectExtension {
 public:
  /// Stores a new, empty set made in the allocator's memory. Deliberate: a set already held is not
  /// deleted.
  void createProperties(VakGenAlloc* allocator);
  /// Deletes the set, if any, and forgets the object.
  void end();

  VakAny _object = nullptr;                     ///< The user's object, not owned; null for none.
  VakNamedPropertySetI* _properties = nullptr;  ///< Owned; null for none.
};

static_assert(sizeof(VakExtension) == 16);
static_assert(sizeof(VakExtension::VakObjectExtension) == 16);

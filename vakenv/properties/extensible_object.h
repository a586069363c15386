#pragma once

// Objects that carry a name, a user object and named properties, all made on first need: an object
// that never uses them pays one null pointer.

#include "vakenv/fwd.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/memory/memory_manager_object.h"
#include "vakenv/properties/property_owner.h"

/// An extensible object in the memory of a memory manager, which also serves its extension.
///
/// Threads: read-shared, as its properties are.
/// Phases: open; a manager of no environment must live as long.
/// Gives back: `delete` gives back what VakCreate took; the environment's end takes what is left,
///     without a destructor where memory is pooled.
class VakExtensibleRttiMemoryManagerObjectI
    : public VakRttiMemoryManagerObjectI,
      public VakPropertyOwner<VakExtensibleRttiMemoryManagerObjectI> {
  VAK_RTTI(VakExtensibleRttiMemoryManagerObjectI, VakRttiMemoryManagerObjectI);

  explicit VakExtensibleRttiMemoryManagerObjectI(VakMemoryManager manager);
  /// Ends the extension and gives it back.
  ~VakExtensibleRttiMemoryManagerObjectI() noexcept(false) override;

  VakExtension* _extension;  ///< Owned; null until first needed.
};

/// An extensible object in the memory of an environment, whose own allocator serves its extension.
///
/// Threads: read-shared, as its properties are.
/// Phases: open; a manager of no environment must live as long.
/// Gives back: `delete` gives back what VakCreate took; the environment's end takes what is left,
///     without a destructor where memory is pooled.
class VakExtensibleRttiEnvObjectI : public VakRttiEnvObjectI,
                                    public VakPropertyOwner<VakExtensibleRttiEnvObjectI> {
  VAK_RTTI(VakExtensibleRttiEnvObjectI, VakRttiEnvObjectI);

  explicit VakExtensibleRttiEnvObjectI(VakEnvI* env)
      : VakRttiEnvObjectI(env), _extension(nullptr) {}
  /// Ends the extension and gives it back.
  ~VakExtensibleRttiEnvObjectI() noexcept(false) override;

  VakExtension* _extension;  ///< Owned; null until first needed.
};

static_assert(sizeof(VakExtensibleRttiMemoryManagerObjectI) ==
              sizeof(VakRttiMemoryManagerObjectI) + sizeof(VakExtension*));
static_assert(sizeof(VakExtensibleRttiEnvObjectI) ==
              sizeof(VakRttiEnvObjectI) + sizeof(VakExtension*));

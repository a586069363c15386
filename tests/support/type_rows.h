#pragma once

// The classes of the environment component that take part in the type system.

#include <vector>

#include "vakenv/memory/env_object.h"
#include "vakenv/memory/memory_manager_object.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/properties/extensible_object.h"
#include "vakenv/properties/named_property_impl.h"
#include "vakenv/registry/destroyable.h"
#include "vaksupport/stack_gen_alloc.h"

/// What one class says of itself, and what it is expected to say.
struct VakTypeRow {
  const char* expectedName;
  VakTypeInfo expectedParent;
  VakInt expectedSize;

  VakTypeInfo info;
  VakTypeInfo parent;
  const char* name;
  VakInt size;
  VakInt* index;             ///< The class's index word.
  VakInt (*getTypeIndex)();  ///< The static query that assigns it.
};

/// The row of class C with the parent P.
template <class C, class P>
[[nodiscard]] VakTypeRow VakMakeTypeRow(const char* name) {
  return {name,
          P::GetTypeInfo(),
          static_cast<VakInt>(sizeof(C)),
          C::GetTypeInfo(),
          C::GetBaseTypeInfo(),
          C::GetRttiTypeName(),
          C::GetExtractableSize(),
          &C::_rttiIndex,
          &C::GetTypeIndex};
}

/// A row for every participating class but the root.
[[nodiscard]] inline std::vector<VakTypeRow> VakTypeRows() {
  return {
      VakMakeTypeRow<VakGenAlloc, VakRtti>("VakGenAlloc"),
      VakMakeTypeRow<VakTarnAlloc, VakGenAlloc>("VakTarnAlloc"),
      VakMakeTypeRow<VakStackGenAlloc, VakGenAlloc>("VakStackGenAlloc"),
      VakMakeTypeRow<VakRttiMemoryManagerObjectI, VakRtti>("VakRttiMemoryManagerObjectI"),
      VakMakeTypeRow<VakExtensibleRttiMemoryManagerObjectI, VakRttiMemoryManagerObjectI>(
          "VakExtensibleRttiMemoryManagerObjectI"),
      VakMakeTypeRow<VakRttiEnvObjectI, VakRtti>("VakRttiEnvObjectI"),
      VakMakeTypeRow<VakExtensibleRttiEnvObjectI, VakRttiEnvObjectI>("VakExtensibleRttiEnvObjectI"),
      VakMakeTypeRow<VakDestroyableI, VakRttiEnvObjectI>("VakDestroyableI"),
      VakMakeTypeRow<VakPlugIn, VakRtti>("VakPlugIn"),
      VakMakeTypeRow<VakNotifiedPlugIn, VakPlugIn>("VakNotifiedPlugIn"),
      VakMakeTypeRow<VakPlugInAddon, VakRtti>("VakPlugInAddon"),
      VakMakeTypeRow<VakNamedPropertyI, VakRttiMemoryManagerObjectI>("VakNamedPropertyI"),
      VakMakeTypeRow<VakPreNamedPropertyI, VakNamedPropertyI>("VakPreNamedPropertyI"),
      VakMakeTypeRow<VakNamedIntPropertyI, VakPreNamedPropertyI>("VakNamedIntPropertyI"),
      VakMakeTypeRow<VakNamedNumPropertyI, VakPreNamedPropertyI>("VakNamedNumPropertyI"),
      VakMakeTypeRow<VakNamedAnyPropertyI, VakPreNamedPropertyI>("VakNamedAnyPropertyI"),
      VakMakeTypeRow<VakNamedStringPropertyI, VakPreNamedPropertyI>("VakNamedStringPropertyI"),
  };
}

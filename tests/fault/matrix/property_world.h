#pragma once

// Named properties on which operations are driven.

#include "tests/fault/matrix/operation.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/properties.h"

/// A set with properties of all kinds, one of which is the user's.
inline VakNamedPropertySet VakMakePropertySet(VakStage& s) {
  VakNamedPropertySet set(s.env.getMemoryManager());
  set.addProperty(VakNamedIntProperty(s.env, "size", 3));
  set.addProperty(VakNamedStringProperty(s.env, "colour", "red"));
  set.addProperty(VakNamedProperty(VakCreate<VakUserProperty>(s.env, "own")));
  return set;
}

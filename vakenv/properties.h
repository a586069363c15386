#pragma once

// What an application includes for named properties: a name, a user object and typed values on the
// environment and on every extensible object.

#include "vakenv/memory/env.h"
#include "vakenv/properties/named_property.h"
#include "vakenv/properties/property_set.h"
#include "vakenv/properties/typed_properties.h"

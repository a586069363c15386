#include "vakmodel/contract/change.h"

VakChange::~VakChange() noexcept(false) = default;

VakDestroyExtractable::~VakDestroyExtractable() noexcept(false) = default;

VakRemoveFromAllChange::~VakRemoveFromAllChange() noexcept(false) = default;

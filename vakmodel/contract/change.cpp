#include "vakmodel/contract/change.h"

VakDestroyExtractable::~VakDestroyExtractable() noexcept(false) = default;

VakRemoveFromAllChange::~VakRemoveFromAllChange() noexcept(false) = default;

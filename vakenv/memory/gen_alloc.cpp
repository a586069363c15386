#include "vakenv/memory/gen_alloc.h"

VakGenAlloc::~VakGenAlloc() noexcept(false) = default;

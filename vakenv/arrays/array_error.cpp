#include "vakenv/arrays/array_error.h"

VakArrayError::VakArrayError(const char* message) : VakException(message, 0) {}

VakArrayError::~VakArrayError() = default;

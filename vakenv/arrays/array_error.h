#pragma once

// The exception of the array core.

#include "vakbase/exception.h"

/// A removal named elements that the array does not hold. The array is unchanged.
class VakArrayError : public VakException {
 public:
  /// Keeps `message`, which has to outlive the exception, as a literal does.
  explicit VakArrayError(const char* message);
  ~VakArrayError() override;
};

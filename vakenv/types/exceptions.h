#pragma once

// The exceptions that the environment component throws, all caught as VakException (and as
// std::exception). Each takes its message as a pointer to a text of static lifetime, which is kept,
// not copied; none owns anything, so end() need not be called on a caught one.

#include "vakbase/exception.h"

/// An allocation failed while the component made one of its own objects: "not enough memory".
class VakMemoryException : public VakException {
 public:
  VakMemoryException();
  ~VakMemoryException() override;
};

/// An operation was applied to an empty handle: "Using empty handle.", or a text that names it.
class VakEmptyHandleException : public VakException {
 public:
  VakEmptyHandleException();
  explicit VakEmptyHandleException(const char* message);
  ~VakEmptyHandleException() override;
};

/// For the modules above: "Feature Not Implemented.".
class VakNotImplemented : public VakException {
 public:
  VakNotImplemented();
  explicit VakNotImplemented(const char* message);
  ~VakNotImplemented() override;
};

/// The operation is not available in the environment's present mode: "Operation Not Supported.".
class VakNotSupportedOperation : public VakException {
 public:
  VakNotSupportedOperation();
  explicit VakNotSupportedOperation(const char* message);
  ~VakNotSupportedOperation() override;
};

/// A numeric value is not integral:
/// "Bad Conversion between an integer object and a numeric object.".
class VakBadConversion : public VakException {
 public:
  VakBadConversion();
  explicit VakBadConversion(const char* message);
  ~VakBadConversion() override;
};

/// Two objects of different environments or memory managers met: "Environment mismatch".
class VakEnvironmentMismatch : public VakException {
 public:
  VakEnvironmentMismatch();
  explicit VakEnvironmentMismatch(const char* message);
  ~VakEnvironmentMismatch() override;
};

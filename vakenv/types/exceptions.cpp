#include "vakenv/types/exceptions.h"

VakMemoryException::VakMemoryException() : VakException("not enough memory", 0) {}
VakMemoryException::~VakMemoryException() = default;

VakEmptyHandleException::VakEmptyHandleException() : VakException("Using empty handle.", 0) {}
VakEmptyHandleException::VakEmptyHandleException(const char* message) : VakException(message, 0) {}
VakEmptyHandleException::~VakEmptyHandleException() = default;

VakNotImplemented::VakNotImplemented() : VakException("Feature Not Implemented.", 0) {}
VakNotImplemented::VakNotImplemented(const char* message) : VakException(message, 0) {}
VakNotImplemented::~VakNotImplemented() = default;

VakNotSupportedOperation::VakNotSupportedOperation()
    : VakException("Operation Not Supported.", 0) {}
VakNotSupportedOperation::VakNotSupportedOperation(const char* message)
    : VakException(message, 0) {}
VakNotSupportedOperation::~VakNotSupportedOperation() = default;

VakBadConversion::VakBadConversion()
    : VakException("Bad Conversion between an integer object and a numeric object.", 0) {}
VakBadConversion::VakBadConversion(const char* message) : VakException(message, 0) {}
VakBadConversion::~VakBadConversion() = default;

VakEnvironmentMismatch::VakEnvironmentMismatch() : VakException("Environment mismatch", 0) {}
VakEnvironmentMismatch::VakEnvironmentMismatch(const char* message) : VakException(message, 0) {}
VakEnvironmentMismatch::~VakEnvironmentMismatch() = default;

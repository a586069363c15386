#include "vakmodel/errors.h"

#include "vakmodel/extractable.h"

// The message of the base always points into the text of the same object.

VakModelError::VakModelError(std::string_view text, VakExtractableI* object)
    : VakErrorText(text), VakWrongUsage(VakErrorText::text()), _object(object) {}

VakModelError::VakModelError(const VakModelError& other)
    : VakErrorText(other), VakWrongUsage(VakErrorText::text()), _object(other._object) {}

VakModelError& VakModelError::operator=(const VakModelError& other) {
  VakErrorText::operator=(other);
  _object = other._object;
  return *this;
}

VakModelError::~VakModelError() = default;

VakExtractable VakModelError::getObject() const { return VakExtractable(_object); }

VakModelMismatch::VakModelMismatch(std::string_view text, VakExtractableI* object)
    : VakErrorText(text), VakEnvironmentMismatch(VakErrorText::text()), _object(object) {}

VakModelMismatch::VakModelMismatch(const VakModelMismatch& other)
    : VakErrorText(other), VakEnvironmentMismatch(VakErrorText::text()), _object(other._object) {}

VakModelMismatch& VakModelMismatch::operator=(const VakModelMismatch& other) {
  VakErrorText::operator=(other);
  _object = other._object;
  return *this;
}

VakModelMismatch::~VakModelMismatch() = default;

VakExtractable VakModelMismatch::getObject() const { return VakExtractable(_object); }

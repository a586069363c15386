#include "vakmodel/object_text.h"

#include <cstdarg>
#include <cstdio>

#include "vakmodel/errors.h"
#include "vakmodel/expr.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/variable_impl.h"

namespace {

VakExtractableI* mutableObject(const VakExtractableI* object) {
  return const_cast<VakExtractableI*>(object);
}

}  // namespace

const char* VakGetKindText(const VakExtractableI* object) {
  if (object->isType(VakNumVarI::GetTypeInfo())) return "variable";
  if (object->isType(VakConstraintI::GetTypeInfo())) return "constraint";
  if (object->isType(VakObjectiveI::GetTypeInfo())) return "objective";
  if (object->isType(VakModelI::GetTypeInfo())) return "model";
  if (object->isType(VakNumExprI::GetTypeInfo())) return "expression";
  return object->getRttiTypeName();
}

void VakCapitalize(char* text) {
  if (text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 'a' + 'A');
}

VakObjectText::VakObjectText(const VakExtractableI* object, const char* other) {
  if (object == nullptr) {
    std::snprintf(_text, sizeof(_text), "%s", other);
  } else if (const char* name = object->getName()) {
    std::snprintf(_text, sizeof(_text), "%s \"%.80s\"", VakGetKindText(object), name);
  } else {
    std::snprintf(_text, sizeof(_text), "%s #%ld", VakGetKindText(object), object->id);
  }
}

void VakThrowModelError(const VakExtractableI* object, const char* format, ...) {
  char text[VakErrorText::Capacity];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  VakCapitalize(text);
  throw VakModelError(text, mutableObject(object));
}

void VakThrowSizeMismatch(const char* operation, std::size_t a, std::size_t b) {
  VakThrowModelError(nullptr, "%s: %zu and %zu elements do not go together. Give equally many.",
                     operation, a, b);
}

void VakCheckSizes(const char* operation, std::size_t a, std::size_t b) {
  if (a != b) VakThrowSizeMismatch(operation, a, b);
}

void VakCheckConstant(const VakExtractableI* user, const char* what, VakNum constant) {
  if (!std::isfinite(constant)) [[unlikely]] {
    VakThrowModelError(user, "The constant of %s is %s. Give a finite number.",
                       VakObjectText(user, what).get(), std::isnan(constant) ? "NaN" : "infinite");
  }
}

void VakThrowMismatch(const VakExtractableI* object, const VakExtractableI* user) {
  char text[VakErrorText::Capacity];
  std::snprintf(
      text, sizeof(text),
      "%s belongs to another environment than %s. Use objects of one environment, or copy "
      "the model with a VakCopier.",
      VakObjectText(object).get(), VakObjectText(user, "the objects it is used with").get());
  VakCapitalize(text);
  throw VakModelMismatch(text, mutableObject(object));
}

void VakThrowUnusable(const VakExtractableI* object) {
  if (object->id == -1) {
    VakThrowModelError(object, "%s was taken out of its environment. Make a new one in its place.",
                       VakObjectText(object).get());
  }
  VakThrowModelError(object, "%s is being removed. Do not use it until the removal is over.",
                     VakObjectText(object).get());
}

void VakThrowBounds(const VakExtractableI* user, const char* what, VakNum lb, VakNum ub) {
  const VakObjectText name(user, what);
  if (std::isnan(lb) || std::isnan(ub)) {
    VakThrowModelError(user,
                       "The bounds of %s: the %s bound is NaN. Give a number, or VakGetInfinity() "
                       "with its sign where there is no bound.",
                       name.get(), std::isnan(lb) ? "lower" : "upper");
  }
  if (lb > ub) {
    VakThrowModelError(
        user,
        "The bounds of %s: the lower bound %g is above the upper bound %g. Give both "
        "in order; setBounds changes them together.",
        name.get(), lb, ub);
  }
  VakThrowModelError(
      user,
      "The bounds of %s: the %s bound is %s infinity. Give a number, or the infinity "
      "of the other sign where there is no bound.",
      name.get(), lb > 0 ? "lower" : "upper", lb > 0 ? "plus" : "minus");
}

void VakThrowCoef(const VakExtractableI* object, const VakExtractableI* user, VakNum coef) {
  VakThrowModelError(object, "The coefficient of %s in %s is %s. Give a finite number.",
                     VakObjectText(object).get(), VakObjectText(user, "an expression").get(),
                     std::isnan(coef) ? "NaN" : "infinite");
}

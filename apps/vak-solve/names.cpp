#include "apps/vak-solve/names.h"

#include <string>

#include "apps/vak-solve/errors.h"
#include "apps/vak-solve/text.h"

namespace vaksolve {

namespace {

constexpr std::string_view VariablePrefix = "variable:";
constexpr std::string_view ConstraintPrefix = "constraint:";

/// Takes `prefix` off `name` and tells whether it was there.
bool takePrefix(std::string_view& name, std::string_view prefix) {
  if (!name.starts_with(prefix)) return false;
  name.remove_prefix(prefix.size());
  return true;
}

[[noreturn]] void throwUnknown(std::string_view name) {
  throw InputError("the model has no variable or constraint " + quote(name));
}

[[noreturn]] void throwAmbiguous(long count, const char* objects, std::string_view name) {
  throw InputError("the name " + quote(name) + " is ambiguous: " + std::to_string(count) + ' ' +
                   objects + " have it");
}

}  // namespace

bool NameIndex::hasVariable(std::string_view name) const {
  return _names.countVariables(name) != 0 ||
         (takePrefix(name, VariablePrefix) && _names.countVariables(name) != 0);
}

bool NameIndex::hasConstraint(std::string_view name) const {
  return _names.countConstraints(name) != 0 ||
         (takePrefix(name, ConstraintPrefix) && _names.countConstraints(name) != 0);
}

NameIndex::Object NameIndex::findAny(std::string_view name) const {
  const bool isVariable = _names.countVariables(name) != 0;
  const bool isConstraint = _names.countConstraints(name) != 0;
  if (isVariable && isConstraint) {
    throw InputError("both a variable and a constraint are called " + quote(name) + ": write " +
                     std::string(VariablePrefix) + "NAME or " + std::string(ConstraintPrefix) +
                     "NAME");
  }
  if (isVariable) return {findVariable(name), {}};
  if (isConstraint) return {{}, findConstraint(name)};
  // A name that begins like a prefix is a name all the same, so prefixes come last.
  if (name.starts_with(VariablePrefix)) return {findVariable(name), {}};
  if (name.starts_with(ConstraintPrefix)) return {{}, findConstraint(name)};
  throwUnknown(name);
}

VakNumVar NameIndex::findVariable(std::string_view name) const {
  if (_names.countVariables(name) == 0) takePrefix(name, VariablePrefix);
  const VakInt count = _names.countVariables(name);
  if (count == 1) return _names.findVariable(name);
  if (count > 1) throwAmbiguous(count, "variables", name);
  if (_names.countConstraints(name) == 0) throwUnknown(name);
  throw InputError(quote(name) + " is a constraint, not a variable");
}

VakConstraint NameIndex::findConstraint(std::string_view name) const {
  if (_names.countConstraints(name) == 0) takePrefix(name, ConstraintPrefix);
  const VakInt count = _names.countConstraints(name);
  if (count == 1) return _names.findConstraint(name);
  if (count > 1) throwAmbiguous(count, "constraints", name);
  if (_names.countVariables(name) == 0) throwUnknown(name);
  throw InputError(quote(name) + " is a variable, not a constraint");
}

}  // namespace vaksolve

#include "vaksolver/files.h"

#include <cstdio>
#include <string>

#include "vakbase/terminated_text.h"
#include "vakenv/core/environment_impl.h"

// ---- Errors -------------------------------------------------------------------------------------

namespace {

std::string makeText(const char* file, VakInt line, const char* reason) {
  std::string text = file;
  if (line > 0) text += ", line " + std::to_string(line);
  return text + ": " + reason;
}

}  // namespace

VakFileError::VakFileError(const char* file, VakInt line, const char* reason)
    : VakErrorText(makeText(file, line, reason).c_str()),
      VakException(VakErrorText::text(), 0),
      _line(line) {
  std::snprintf(_file, sizeof _file, "%s", file);
  std::snprintf(_reason, sizeof _reason, "%s", reason);
}

VakFileError::VakFileError(std::string_view file, VakInt line, std::string_view reason)
    : VakFileError(VakTerminatedText(file).get(), line, VakTerminatedText(reason).get()) {}

VakFileError::VakFileError(const VakFileError& other)
    : VakErrorText(other), VakException(VakErrorText::text(), 0), _line(other._line) {
  std::snprintf(_file, sizeof _file, "%s", other._file);
  std::snprintf(_reason, sizeof _reason, "%s", other._reason);
}

VakFileError& VakFileError::operator=(const VakFileError& other) {
  if (this == &other) return *this;
  VakErrorText::operator=(other);
  _line = other._line;
  std::snprintf(_file, sizeof _file, "%s", other._file);
  std::snprintf(_reason, sizeof _reason, "%s", other._reason);
  return *this;
}

VakFileError::~VakFileError() = default;

// ---- Names --------------------------------------------------------------------------------------

namespace {

template <class Table, class Handle>
void note(Table& table, Handle object) {
  const char* name = object.getName();
  if (name == nullptr) return;
  auto& entry = table[name];
  if (entry.count++ == 0) entry.first = object;
}

}  // namespace

VakNameMap::VakNameMap(VakModel model) {
  for (const VakNumVar x : model.variables()) note(_variables, x);
  for (const VakConstraint c : model.constraints()) note(_constraints, c);
}

VakNumVar VakNameMap::findVariable(std::string_view name) const {
  const auto found = _variables.find(name);
  return found == _variables.end() ? VakNumVar() : found->second.first;
}

VakConstraint VakNameMap::findConstraint(std::string_view name) const {
  const auto found = _constraints.find(name);
  return found == _constraints.end() ? VakConstraint() : found->second.first;
}

VakInt VakNameMap::countVariables(std::string_view name) const {
  const auto found = _variables.find(name);
  return found == _variables.end() ? 0 : found->second.count;
}

VakInt VakNameMap::countConstraints(std::string_view name) const {
  const auto found = _constraints.find(name);
  return found == _constraints.end() ? 0 : found->second.count;
}

#pragma once

// The objects of a model by name.

#include <string_view>

#include "vakmodel/model.h"
#include "vaksolver/files.h"

namespace vaksolve {

/// Finds variables and constraints by name, in constant time. A name of several objects of one sort
/// is ambiguous. A variable and a constraint may have the same name: where either would do, the
/// name then has to begin with "variable:" or "constraint:".
///
/// It does not notice changes: rebuild() makes it anew when objects have ended.
class NameIndex {
 public:
  /// A variable or a constraint; the other handle is empty.
  struct Object {
    VakNumVar variable;
    VakConstraint constraint;
  };

  explicit NameIndex(VakModel model) : _model(model), _names(model) {}
  void rebuild() { _names = VakNameMap(_model); }

  /// Throw InputError, with a text that says what is the matter, unless exactly one object fits.

  [[nodiscard]] Object findAny(std::string_view name) const;
  [[nodiscard]] VakNumVar findVariable(std::string_view name) const;
  [[nodiscard]] VakConstraint findConstraint(std::string_view name) const;

  [[nodiscard]] bool hasVariable(std::string_view name) const;
  [[nodiscard]] bool hasConstraint(std::string_view name) const;

 private:
  VakModel _model;
  VakNameMap _names;
};

}  // namespace vaksolve

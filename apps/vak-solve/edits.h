#pragma once

// Edits of a model, as the command line gives them: parsed before there is a model, checked against
// it before anything is solved, applied one after the other.
//
//   TARGET.lb=N   TARGET.ub=N    bounds of a variable or a constraint
//   CONSTRAINT.rhs=N             the right-hand side of a constraint with one
//   VARIABLE.obj=N               the coefficient in the objective
//   VARIABLE.kind=K              continuous, integer or binary
//   CONSTRAINT.VARIABLE=N        a coefficient
//   VARIABLE=N                   both bounds (a fix)

#include <string>
#include <string_view>
#include <vector>

#include "apps/vak-solve/names.h"
#include "vakmodel/model.h"

namespace vaksolve {

/// One edit, parsed.
struct Edit {
  enum class Kind : unsigned char {
    LowerBound,
    UpperBound,
    RightHandSide,
    ObjectiveCoef,
    VariableKind,
    Coef,
    Fix,
    Remove,
    Minimize,
    Maximize,
  };

  Kind kind;
  std::string text;    ///< The option as it was given, as in "--set x.ub=4"; for messages.
  std::string target;  ///< The name of the object; of a Coef, "CONSTRAINT.VARIABLE".
  double number = 0;   ///< The new value; 0 for the kinds that have none.
  VakVarKind variableKind = VakVarKind::Continuous;  ///< Of a VariableKind.
};

/// What `--set` is given. Throws InputError when it is malformed.
[[nodiscard]] Edit parseSet(std::string_view assignment);
/// What `--fix` is given, as in "x=1".
[[nodiscard]] Edit parseFix(std::string_view assignment);
/// What `--remove` is given: a name.
[[nodiscard]] Edit parseRemove(std::string_view name);
[[nodiscard]] Edit makeMinimize();
[[nodiscard]] Edit makeMaximize();

/// Applies edits to a model by the names of its objects. Every error is an InputError that begins
/// with the text of the edit; the model is as it was then.
class Editor {
 public:
  explicit Editor(VakModel model) : _model(model), _names(model) {}

  /// Throws unless every edit names what the model has, so that a wrong name is noticed before the
  /// first solve rather than after it.
  void check(const std::vector<Edit>& edits) const;

  /// Applies an edit and says what was done, as in "x.ub = 4 (was 10)".
  std::string apply(const Edit& edit);

 private:
  struct Place {
    VakConstraint constraint;
    VakNumVar variable;
  };

  void resolve(const Edit& edit) const;
  [[nodiscard]] Place findPlace(const std::string& target) const;
  std::string applyUnguarded(const Edit& edit);
  std::string setBound(const Edit& edit, bool isLower);
  std::string setVariableBound(const Edit& edit, VakNumVar variable, bool isLower);
  std::string setRightHandSide(const Edit& edit);
  std::string setObjectiveCoef(const Edit& edit);
  std::string setKind(const Edit& edit);
  std::string setCoef(const Edit& edit);
  std::string fix(const Edit& edit);
  std::string remove(const Edit& edit);
  std::string removeVariable(VakNumVar variable);
  std::string setSense(VakSense sense);

  VakModel _model;
  NameIndex _names;
};

/// The word for a kind of variable: "continuous", "integer", "binary".
[[nodiscard]] const char* kindName(VakVarKind kind);

}  // namespace vaksolve

#include "apps/vak-solve/edits.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "apps/vak-solve/errors.h"
#include "apps/vak-solve/text.h"
#include "vakbase/exception.h"
#include "vakmodel/contract/algorithm.h"

namespace vaksolve {

namespace {

struct Property {
  std::string_view name;
  Edit::Kind kind;
};

constexpr std::array Properties{
    Property{"lb", Edit::Kind::LowerBound},     Property{"ub", Edit::Kind::UpperBound},
    Property{"rhs", Edit::Kind::RightHandSide}, Property{"obj", Edit::Kind::ObjectiveCoef},
    Property{"kind", Edit::Kind::VariableKind},
};

struct KindName {
  const char* name;
  VakVarKind kind;
};

// The first name of a kind is the one it is written with.
constexpr std::array KindNames{
    KindName{"continuous", VakVarKind::Continuous},
    KindName{"integer", VakVarKind::Integer},
    KindName{"binary", VakVarKind::Boolean},
    KindName{"boolean", VakVarKind::Boolean},
};

[[noreturn]] void throwAbout(const std::string& option, const std::string& text) {
  throw InputError(printable(option) + ": " + text);
}

double parseValue(const std::string& option, std::string_view value) {
  const std::optional<double> number = parseNumber(value);
  if (!number) throwAbout(option, quote(value) + " is not a number");
  return *number;
}

VakVarKind parseKind(const std::string& option, std::string_view value) {
  const auto* const found = std::find_if(KindNames.begin(), KindNames.end(),
                                         [&](const KindName& k) { return k.name == value; });
  if (found == KindNames.end()) {
    throwAbout(option, quote(value) + " is no kind: write continuous, integer or binary");
  }
  return found->kind;
}

/// A value that must not be infinite.
double parseFinite(const std::string& option, std::string_view value) {
  const double number = parseValue(option, value);
  if (std::isinf(number)) throwAbout(option, "only bounds can be infinite");
  return number;
}

/// As in "x.ub = 4".
std::string describeBound(const Edit& edit, bool isLower) {
  return edit.target + (isLower ? ".lb = " : ".ub = ") + formatNumber(edit.number);
}

/// "was 10", in brackets.
std::string was(const std::string& before) { return " (was " + before + ')'; }
std::string was(double before) { return was(formatNumber(before)); }

}  // namespace

const char* kindName(VakVarKind kind) {
  const auto* const found = std::find_if(KindNames.begin(), KindNames.end(),
                                         [&](const KindName& k) { return k.kind == kind; });
  return found->name;
}

// ---- Parsing ------------------------------------------------------------------------------------

Edit parseSet(std::string_view assignment) {
  const std::string option = "--set " + std::string(assignment);
  // Values hold neither character, names may.
  const std::size_t equals = assignment.rfind('=');
  const std::string_view target = assignment.substr(0, equals);
  const std::size_t dot = target.rfind('.');
  if (equals == std::string_view::npos || dot == std::string_view::npos || dot == 0 ||
      dot + 1 == target.size() || equals + 1 == assignment.size()) {
    throwAbout(option, "write NAME.PROPERTY=VALUE, as in x.ub=4");
  }
  const std::string_view value = assignment.substr(equals + 1);
  const std::string_view property = target.substr(dot + 1);
  const auto* const found = std::find_if(Properties.begin(), Properties.end(),
                                         [&](const Property& p) { return p.name == property; });
  Edit edit{Edit::Kind::Coef, option, std::string(target)};
  if (found != Properties.end()) {
    edit.kind = found->kind;
    edit.target = target.substr(0, dot);
  }
  switch (edit.kind) {
    case Edit::Kind::VariableKind:
      edit.variableKind = parseKind(option, value);
      break;
    case Edit::Kind::ObjectiveCoef:
    case Edit::Kind::Coef:
      edit.number = parseFinite(option, value);
      break;
    default:
      edit.number = parseValue(option, value);
  }
  return edit;
}

Edit parseFix(std::string_view assignment) {
  const std::string option = "--fix " + std::string(assignment);
  const std::size_t equals = assignment.rfind('=');
  if (equals == std::string_view::npos || equals == 0 || equals + 1 == assignment.size()) {
    throwAbout(option, "write VARIABLE=VALUE, as in x=1");
  }
  return {Edit::Kind::Fix, option, std::string(assignment.substr(0, equals)),
          parseFinite(option, assignment.substr(equals + 1))};
}

Edit parseRemove(std::string_view name) {
  const std::string option = "--remove " + std::string(name);
  if (name.empty()) throwAbout("--remove", "write the name of a variable or a constraint");
  return {Edit::Kind::Remove, option, std::string(name)};
}

Edit makeMinimize() { return {Edit::Kind::Minimize, "--minimize", ""}; }
Edit makeMaximize() { return {Edit::Kind::Maximize, "--maximize", ""}; }

// ---- Checking -----------------------------------------------------------------------------------

void Editor::check(const std::vector<Edit>& edits) const {
  for (const Edit& edit : edits) {
    try {
      resolve(edit);
    } catch (const InputError& error) {
      throwAbout(edit.text, error.what());
    }
  }
}

void Editor::resolve(const Edit& edit) const {
  switch (edit.kind) {
    case Edit::Kind::LowerBound:
    case Edit::Kind::UpperBound:
    case Edit::Kind::Remove:
      static_cast<void>(_names.findAny(edit.target));
      return;
    case Edit::Kind::RightHandSide:
      static_cast<void>(_names.findConstraint(edit.target));
      return;
    case Edit::Kind::ObjectiveCoef:
    case Edit::Kind::VariableKind:
    case Edit::Kind::Fix:
      static_cast<void>(_names.findVariable(edit.target));
      return;
    case Edit::Kind::Coef:
      static_cast<void>(findPlace(edit.target));
      return;
    case Edit::Kind::Minimize:
    case Edit::Kind::Maximize:
      return;
  }
}

Editor::Place Editor::findPlace(const std::string& target) const {
  // Names may hold dots, so each of them may be the one in between.
  std::vector<std::size_t> dots;
  bool isConstraintKnown = false;
  for (std::size_t dot = target.find('.'); dot != std::string::npos;
       dot = target.find('.', dot + 1)) {
    const std::string_view constraint = std::string_view(target).substr(0, dot);
    const std::string_view variable = std::string_view(target).substr(dot + 1);
    if (!_names.hasConstraint(constraint)) continue;
    isConstraintKnown = true;
    if (_names.hasVariable(variable)) dots.push_back(dot);
  }
  if (dots.size() > 1) {
    throw InputError(quote(target) + " can be read as several pairs of constraint and variable");
  }
  if (dots.size() == 1) {
    return {_names.findConstraint(std::string_view(target).substr(0, dots[0])),
            _names.findVariable(std::string_view(target).substr(dots[0] + 1))};
  }
  const std::size_t last = target.rfind('.');
  const std::string_view object = std::string_view(target).substr(0, last);
  const std::string_view property = std::string_view(target).substr(last + 1);
  // When the name before the dot is unknown, that is the error to tell.
  if (!isConstraintKnown) static_cast<void>(_names.findAny(object));
  throw InputError(quote(property) +
                   " is neither lb, ub, rhs, obj or kind nor, after a constraint, "
                   "a variable");
}

// ---- Applying -----------------------------------------------------------------------------------

std::string Editor::apply(const Edit& edit) {
  try {
    return applyUnguarded(edit);
  } catch (const InputError& error) {
    throwAbout(edit.text, error.what());
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    refusal.end();
    throwAbout(edit.text, "the solver cannot take this change");
  } catch (const VakWrongUsage& error) {
    throwAbout(edit.text, error.what());
  }
}

std::string Editor::applyUnguarded(const Edit& edit) {
  switch (edit.kind) {
    case Edit::Kind::LowerBound:
      return setBound(edit, true);
    case Edit::Kind::UpperBound:
      return setBound(edit, false);
    case Edit::Kind::RightHandSide:
      return setRightHandSide(edit);
    case Edit::Kind::ObjectiveCoef:
      return setObjectiveCoef(edit);
    case Edit::Kind::VariableKind:
      return setKind(edit);
    case Edit::Kind::Coef:
      return setCoef(edit);
    case Edit::Kind::Fix:
      return fix(edit);
    case Edit::Kind::Remove:
      return remove(edit);
    case Edit::Kind::Minimize:
      return setSense(VakSense::Minimize);
    case Edit::Kind::Maximize:
      break;
  }
  return setSense(VakSense::Maximize);
}

namespace {

/// Throws unless these are bounds; where the model says the same, it speaks to programmers.
void requireBounds(double lb, double ub) {
  if (lb > ub) {
    throw InputError("the lower bound " + formatNumber(lb) + " would be above the upper bound " +
                     formatNumber(ub));
  }
  if (lb == VakGetInfinity()) throw InputError("a lower bound cannot be inf");
  if (ub == -VakGetInfinity()) throw InputError("an upper bound cannot be -inf");
}

[[nodiscard]] bool fitsBinary(double lb, double ub) { return lb >= 0 && ub <= 1; }

}  // namespace

std::string Editor::setBound(const Edit& edit, bool isLower) {
  const NameIndex::Object object = _names.findAny(edit.target);
  if (!object.variable.isEmpty()) return setVariableBound(edit, object.variable, isLower);
  const double lb = object.constraint.getLB();
  const double ub = object.constraint.getUB();
  requireBounds(isLower ? edit.number : lb, isLower ? ub : edit.number);
  object.constraint.setBounds(isLower ? edit.number : lb, isLower ? ub : edit.number);
  return describeBound(edit, isLower) + was(isLower ? lb : ub);
}

std::string Editor::setVariableBound(const Edit& edit, VakNumVar variable, bool isLower) {
  const double lb = variable.getLB();
  const double ub = variable.getUB();
  const double newLB = isLower ? edit.number : lb;
  const double newUB = isLower ? ub : edit.number;
  requireBounds(newLB, newUB);
  std::string text = describeBound(edit, isLower) + was(isLower ? lb : ub);
  if (variable.getKind() != VakVarKind::Boolean || fitsBinary(newLB, newUB)) {
    variable.setBounds(newLB, newUB);
    return text;
  }
  // In files, a binary variable is just an integer one from 0 to 1.
  variable.setKind(VakVarKind::Integer);
  try {
    variable.setBounds(newLB, newUB);
  } catch (...) {
    variable.setKind(VakVarKind::Boolean);
    throw;
  }
  return text + ", and integer instead of binary";
}

std::string Editor::setRightHandSide(const Edit& edit) {
  const VakConstraint constraint = _names.findConstraint(edit.target);
  const double lb = constraint.getLB();
  const double ub = constraint.getUB();
  const bool hasLB = lb > -VakGetInfinity();
  const bool hasUB = ub < VakGetInfinity();
  if (!hasLB && !hasUB) throw InputError("the constraint has no right-hand side: set lb or ub");
  if (hasLB && hasUB && lb != ub) {
    throw InputError("the constraint has two sides: set lb or ub");
  }
  requireBounds(hasLB ? edit.number : lb, hasUB ? edit.number : ub);
  constraint.setBounds(hasLB ? edit.number : lb, hasUB ? edit.number : ub);
  return edit.target + ".rhs = " + formatNumber(edit.number) + was(hasLB ? lb : ub);
}

std::string Editor::setObjectiveCoef(const Edit& edit) {
  const VakNumVar variable = _names.findVariable(edit.target);
  VakObjective objective = _model.getObjective();
  const double before = objective.isEmpty() ? 0 : objective.getCoef(variable);
  if (objective.isEmpty()) {
    _model.minimize(edit.number * variable);
  } else {
    objective.setCoef(variable, edit.number);
  }
  return edit.target + ".obj = " + formatNumber(edit.number) + was(before);
}

std::string Editor::setKind(const Edit& edit) {
  const VakNumVar variable = _names.findVariable(edit.target);
  const VakVarKind before = variable.getKind();
  if (edit.variableKind == VakVarKind::Boolean && !fitsBinary(variable.getLB(), variable.getUB())) {
    throw InputError("a binary variable has bounds within 0 and 1, but here they are " +
                     formatNumber(variable.getLB()) + " and " + formatNumber(variable.getUB()));
  }
  variable.setKind(edit.variableKind);
  return edit.target + ".kind = " + kindName(edit.variableKind) + was(kindName(before));
}

std::string Editor::setCoef(const Edit& edit) {
  const Place place = findPlace(edit.target);
  const double before = place.constraint.getCoef(place.variable);
  place.constraint.setCoef(place.variable, edit.number);
  return edit.target + " = " + formatNumber(edit.number) + was(before);
}

std::string Editor::fix(const Edit& edit) {
  const VakNumVar variable = _names.findVariable(edit.target);
  const double lb = variable.getLB();
  const double ub = variable.getUB();
  if (variable.getKind() == VakVarKind::Boolean && !fitsBinary(edit.number, edit.number)) {
    throw InputError("the variable is binary: fix it to 0 or 1");
  }
  variable.fix(edit.number);
  return edit.target + " = " + formatNumber(edit.number) +
         was(formatNumber(lb) + " to " + formatNumber(ub));
}

std::string Editor::remove(const Edit& edit) {
  NameIndex::Object object = _names.findAny(edit.target);
  std::string text;
  if (object.variable.isEmpty()) {
    text = "removed constraint " + edit.target;
    object.constraint.end();
  } else {
    text = removeVariable(object.variable);
  }
  _names.rebuild();
  return text;
}

std::string Editor::removeVariable(VakNumVar variable) {
  const std::string name = nameOf(variable);
  std::vector<std::string> gone;
  for (const VakConstraint constraint : _model.constraints()) {
    if (constraint.getTermCount() == 1 && !constraint.isKeptWhenEmpty() &&
        constraint.getCoef(variable) != 0) {
      gone.push_back(nameOf(constraint));
    }
  }
  variable.end();
  std::string text = "removed variable " + name;
  for (const std::string& constraint : gone) {
    text += (&constraint == gone.data() ? " and, empty without it, " : ", ") + constraint;
  }
  return text;
}

std::string Editor::setSense(VakSense sense) {
  const char* name = sense == VakSense::Minimize ? "minimize" : "maximize";
  VakObjective objective = _model.getObjective();
  if (objective.isEmpty()) {
    if (sense == VakSense::Minimize) {
      _model.minimize({});
    } else {
      _model.maximize({});
    }
    return name + was("no objective");
  }
  if (objective.getSense() == sense) return std::string(name) + " (as before)";
  objective.setSense(sense);
  return name + was(sense == VakSense::Minimize ? "maximize" : "minimize");
}

}  // namespace vaksolve

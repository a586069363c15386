#include "vakmodel/model_impl.h"

#include <utility>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakenv/core/create.h"
#include "vakmodel/annotations.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"

VakModelI::VakModelI(VakEnvI* env)
    : VakExtractableI(env), _variables(env), _constraints(env), _placeOf(env) {
  enterSlot();
}

VakModelI::~VakModelI() noexcept(false) {
  // While the environment ends, the objects may be gone already.
  if (_env->_ending != 0) return;
  for (VakInt place = 0; place < _constraints.size(); ++place) {
    if (_constraints[place] != nullptr) constraintAt(place)->_model = nullptr;
  }
  if (_objective != nullptr) _objective->_model = nullptr;
}

// ---- Joining and leaving ------------------------------------------------------------------------

void VakModelI::joinNew(VakModelVarI* variable) {
  _placeOf.reserve(variable->id);
  _variables.add(variable);
  _placeOf.set(variable->id, static_cast<std::int32_t>(_variables.size()));
}

void VakModelI::unjoin(VakInt size) {
  for (VakInt place = size; place < _variables.size(); ++place) {
    if (_variables[place] != nullptr) _placeOf.set(_variables[place]->id, 0);
  }
  _variables.truncate(size);
}

VakMembershipI::VakMembershipI(VakModelI* model) : _model(model) {
  if (model == nullptr) return;
  if (model->_isChanging) {
    VakThrowModelError(model,
                       "%s is being changed and that is being reported. Change it when the report "
                       "is over.",
                       VakObjectText(model).get());
  }
  model->_isChanging = true;
}

void VakModelI::tidy() {
  if (_variables.isSparse()) {
    _variables.closeUp([this](VakExtractableI* variable, VakInt place) {
      _placeOf.set(variable->id, static_cast<std::int32_t>(place + 1));
    });
  }
  if (_constraints.isSparse()) {
    _constraints.closeUp([](VakExtractableI* constraint, VakInt place) {
      static_cast<VakConstraintI*>(constraint)->_place = static_cast<std::int32_t>(place);
    });
  }
}

void VakModelI::link(VakConstraintI* constraint) {
  _constraints.add(constraint);
  constraint->_place = static_cast<std::int32_t>(_constraints.size() - 1);
  constraint->_model = this;
}

void VakModelI::unlinkFrom(VakInt size) {
  for (VakInt place = size; place < _constraints.size(); ++place) {
    constraintAt(place)->_model = nullptr;
  }
  _constraints.truncate(size);
}

void VakModelI::forget(VakConstraintI* constraint) {
  _constraints.empty(constraint->_place);
  constraint->_model = nullptr;
}

void VakModelI::setObjective(VakObjectiveI* objective) {
  if (_objective != nullptr) _objective->_model = nullptr;
  _objective = objective;
  if (objective != nullptr) objective->_model = this;
}

void VakJoiningI::joinAll(const VakTermListI& terms) {
  if (_model == nullptr) return;
  for (const VakNumLinExprTermI* term = terms.first(); term != nullptr; term = term->next) {
    _model->join(static_cast<VakModelVarI*>(term->var));
  }
}

void VakJoiningI::takeBack() noexcept {
  VakModelI* model = std::exchange(_model, nullptr);
  if (model == nullptr || model->_variables.size() == _from) return;
  const VakInt end = model->_variables.size();
  model->unjoin(_from);
  const VakMembersView left{{model->_variables.list(), _from, end}, {}, nullptr};
  VakReportAgain(model->_env, model, VakRemoveChange(model, left));
}

// ---- Removal, copying, proof --------------------------------------------------------------------

// Constraints and the objective drop what is hidden from their terms themselves.
void VakModelI::removeHidden(VakInt /*mode*/) {
  for (VakInt place = 0; place < _variables.size(); ++place) {
    const VakExtractableI* variable = _variables[place];
    if (!IsHidden(variable)) continue;
    _placeOf.set(variable->id, 0);
    _variables.empty(place);
  }
  for (VakInt place = 0; place < _constraints.size(); ++place) {
    if (IsHidden(_constraints[place])) forget(constraintAt(place));
  }
  if (IsHidden(_objective)) setObjective(nullptr);
}

// Whatever is made here belongs to the model and goes with it if something throws; clones that the
// environment remembers are its own.
VakExtractableI* VakModelI::makeClone(VakEnvI* env) const {
  auto* clone = VakCreate<VakModelI>(env);
  try {
    for (VakInt place = 0; place < _variables.size(); ++place) {
      if (_variables[place] == nullptr) continue;
      clone->join(static_cast<VakModelVarI*>(env->getClone(_variables[place])));
    }
    for (VakInt place = 0; place < _constraints.size(); ++place) {
      if (_constraints[place] == nullptr) continue;
      auto* constraint = static_cast<VakConstraintI*>(env->getClone(_constraints[place]));
      clone->takeIn(constraint);  // A substitute may have variables of its own.
      clone->link(constraint);
    }
    if (_objective != nullptr) {
      auto* objective = static_cast<VakObjectiveI*>(env->getClone(_objective));
      clone->takeIn(objective);
      clone->setObjective(objective);
    }
  } catch (...) {
    delete clone;
    throw;
  }
  return VakCopyAnnotations(this, clone);
}

std::string VakModelI::check(const VakMemoryInspection* pool) const {
  VakInt variables = 0;
  for (VakInt place = 0; place < _variables.size(); ++place) {
    const VakExtractableI* variable = _variables[place];
    if (variable == nullptr) continue;
    ++variables;
    if (VakIsGone(pool, variable)) {
      return VakFaultText("the variable at place ", place, " is free memory");
    }
    const VakInt known = _placeOf[variable->id];
    if (known == place + 1) continue;
    return VakFaultText("variable ", variable->id, " stands at place ", place,
                        " and is looked for at ", known - 1);
  }
  if (variables != _variables.count()) {
    return VakFaultText("there are ", variables, " variables of the ", _variables.count(),
                        " counted");
  }
  VakInt constraints = 0;
  for (VakInt place = 0; place < _constraints.size(); ++place) {
    if (_constraints[place] == nullptr) continue;
    ++constraints;
    // Whether it is there is asked before the cast, which reads the object.
    if (VakIsGone(pool, _constraints[place])) {
      return VakFaultText("the constraint at place ", place, " is free memory");
    }
    const VakConstraintI* constraint = constraintAt(place);
    if (constraint->_place == place) continue;
    return VakFaultText("constraint ", constraint->id, " stands at place ", place,
                        " and takes itself to be at ", constraint->_place);
  }
  if (constraints != _constraints.count()) {
    return VakFaultText("there are ", constraints, " constraints of the ", _constraints.count(),
                        " counted");
  }
  if (VakIsGone(pool, _objective)) return "the objective is free memory";
  std::string fault;
  forEachLinear([&](const VakLinearI* linear) {
    if (fault.empty()) fault = checkTerms(linear, pool);
  });
  return fault;
}

std::string VakModelI::checkTerms(const VakLinearI* linear, const VakMemoryInspection* pool) const {
  if (linear->_model != this) return VakFaultText("object ", linear->id, " is in another model");
  std::string broken = linear->_terms.check(pool);
  if (!broken.empty()) return VakFaultText("object ", linear->id, ": ", broken);
  for (const VakNumLinExprTermI* t = linear->_terms.first(); t != nullptr; t = t->next) {
    if (contains(static_cast<VakModelVarI*>(t->var))) continue;
    return VakFaultText("variable ", t->var->id, " in a term of object ", linear->id,
                        " is not listed");
  }
  return "";
}

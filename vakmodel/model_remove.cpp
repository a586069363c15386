// What leaves a model and lives on.

#include <algorithm>
#include <vector>

#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"

namespace {

// Throws when a place occurs twice. Sorts a copy.
void checkDifferent(const VakModelI* model, std::vector<std::int32_t> places) {
  std::sort(places.begin(), places.end());
  if (std::adjacent_find(places.begin(), places.end()) == places.end()) return;
  VakThrowModelError(model, "%s: an object to be removed is listed twice. List each one once.",
                     VakObjectText(model).get());
}

}  // namespace

void VakModelI::throwAbsent(const VakExtractableI* object) const {
  VakThrowModelError(object, "%s is not in %s. Add it there first.", VakObjectText(object).get(),
                     VakObjectText(this).get());
}

/// The removal of variables. Until the report is over, their terms stay linked with the coefficient
/// 0, so that they find back to their places.
class VakModelI::Removal {
 public:
  Removal(VakModelI* model, std::span<VakModelVarI* const> variables)
      : _model(model), _variables(variables) {
    _places.reserve(variables.size());
    for (const VakModelVarI* variable : variables) {
      VakCheckUsable(variable, model->_env, model);
      if (!model->contains(variable)) model->throwAbsent(variable);
      _places.push_back(model->_placeOf[variable->id] - 1);
    }
    checkDifferent(model, _places);
    collectTerms();
  }

  // Cannot fail.
  void apply() {
    for (std::size_t i = 0; i < _variables.size(); ++i) {
      _model->_placeOf.set(_variables[i]->id, 0);
      _model->_variables.empty(_places[i]);
    }
    for (VakNumLinExprTermI* term : _terms) term->coef = 0;
  }

  // Brings everything back and reports it.
  void takeBack() noexcept {
    for (std::size_t i = 0; i < _variables.size(); ++i) {
      _model->_placeOf.set(_variables[i]->id, _places[i] + 1);
      _model->_variables.restore(_places[i], _variables[i]);
    }
    for (std::size_t i = 0; i < _terms.size(); ++i) _terms[i]->coef = _coefs[i].coef;
    VakReportAgain(_model->_env, _model, VakAddChange(_model, {_variables, {}, nullptr}, _coefs));
  }

  void finish() {
    VakLinearI* last = nullptr;
    for (const VakCoefI& coef : _coefs) {
      auto* linear = static_cast<VakLinearI*>(coef.linear);
      if (linear != last) linear->_terms.dropZeros(_model->_env);
      last = linear;
    }
  }

 private:
  // Variables are told apart by their places, negative while they are collected.
  void collectTerms() {
    const auto mark = [this](bool leaving) {
      for (std::size_t i = 0; i < _variables.size(); ++i) {
        _model->_placeOf.set(_variables[i]->id, leaving ? -1 : _places[i] + 1);
      }
    };
    mark(true);
    try {
      _model->forEachLinear([this](VakLinearI* linear) {
        for (VakNumLinExprTermI* t = linear->_terms.first(); t != nullptr; t = t->next) {
          if (_model->_placeOf[t->var->id] != -1) continue;
          _terms.push_back(t);
          _coefs.push_back({linear, static_cast<VakModelVarI*>(t->var), t->coef});
        }
      });
    } catch (...) {
      mark(false);
      throw;
    }
    mark(false);
  }

  VakModelI* _model;
  std::span<VakModelVarI* const> _variables;
  std::vector<std::int32_t> _places;        // By variable: its place.
  std::vector<VakNumLinExprTermI*> _terms;  // All terms of the variables in the model.
  std::vector<VakCoefI> _coefs;             // What they were.
};

void VakModelI::remove(std::span<VakModelVarI* const> variables) {
  VakCheckUsable(this, _env, nullptr);
  if (variables.empty()) return;
  Removal removal(this, variables);
  removal.apply();
  try {
    VakReport(_env, this, VakRemoveChange(this, {variables, {}, nullptr}));
  } catch (...) {
    removal.takeBack();
    throw;
  }
  removal.finish();
}

void VakModelI::remove(std::span<VakConstraintI* const> constraints) {
  VakCheckUsable(this, _env, nullptr);
  if (constraints.empty()) return;
  std::vector<std::int32_t> places;
  if (constraints.size() > 1) places.reserve(constraints.size());
  for (const VakConstraintI* constraint : constraints) {
    VakCheckUsable(constraint, _env, this);
    if (constraint->_model != this) throwAbsent(constraint);
    if (constraints.size() > 1) places.push_back(constraint->_place);
  }
  if (constraints.size() > 1) checkDifferent(this, places);
  for (VakConstraintI* constraint : constraints) forget(constraint);
  const VakMembersView members{{}, constraints, nullptr};
  try {
    VakReport(_env, this, VakRemoveChange(this, members));
  } catch (...) {
    for (VakConstraintI* constraint : constraints) {
      _constraints.restore(constraint->_place, constraint);
      constraint->_model = this;
    }
    VakReportAgain(_env, this, VakAddChange(this, members));
    throw;
  }
}

void VakModelI::removeObjective(VakObjectiveI* objective) {
  VakCheckUsable(this, _env, nullptr);
  VakCheckUsable(objective, _env, this);
  if (_objective != objective) throwAbsent(objective);
  setObjective(nullptr);
  const VakMembersView members{{}, {}, objective};
  try {
    VakReport(_env, this, VakRemoveChange(this, members));
  } catch (...) {
    setObjective(objective);
    VakReportAgain(_env, this, VakAddChange(this, members));
    throw;
  }
}

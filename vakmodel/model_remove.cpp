// What leaves a model and lives on.

#include <algorithm>
#include <array>
#include <vector>

#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"

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
class VakModelI::Removal final : private VakUnsettledI {
 public:
  Removal(VakModelI* model, std::span<VakModelVarI* const> variables)
      : _membership(model), _model(model), _variables(variables) {
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
    std::size_t kept = 0;
    for (std::size_t i = 0; i < _terms.size(); ++i) {
      if (_coefs[i].linear == nullptr) continue;
      _terms[i]->coef = _coefs[i].coef;
      _coefs[kept++] = _coefs[i];
    }
    _coefs.resize(kept);
    _terms.clear();
    VakReportAgain(_model->_env, _model, VakAddChange(_model, {_variables, {}, nullptr}, _coefs));
  }

  void finish() {
    VakLinearI* last = nullptr;
    for (const VakCoefI& coef : _coefs) {
      auto* linear = static_cast<VakLinearI*>(coef.linear);
      if (linear != nullptr && linear != last) linear->_terms.dropZeros(_model->_env);
      last = linear;
    }
  }

 private:
  [[nodiscard]] bool holds(const VakExtractableI* e) const noexcept override {
    return e == _model || std::find(_variables.begin(), _variables.end(), e) != _variables.end();
  }

  // An object that a listener ended has no terms to be brought back or dropped.
  void forget(const VakExtractableI* owner) noexcept override {
    for (VakCoefI& coef : _coefs) {
      if (coef.linear == owner) coef.linear = nullptr;
    }
  }

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

  VakMembershipI _membership;
  VakModelI* _model;
  std::span<VakModelVarI* const> _variables;
  std::vector<std::int32_t> _places;        // By variable: its place.
  std::vector<VakNumLinExprTermI*> _terms;  // All terms of the variables in the model.
  std::vector<VakCoefI> _coefs;             // What they were; of no object when that ended.
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
  const VakMembershipI membership(this);
  std::vector<std::int32_t> places;
  if (constraints.size() > 1) places.reserve(constraints.size());
  for (const VakConstraintI* constraint : constraints) {
    VakCheckUsable(constraint, _env, this);
    if (constraint->_model != this) throwAbsent(constraint);
    if (constraints.size() > 1) places.push_back(constraint->_place);
  }
  if (constraints.size() > 1) checkDifferent(this, places);
  const VakUnsettledObjectsI unsettled(constraints, this);
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
  const VakMembershipI membership(this);
  const std::array<VakObjectiveI*, 1> objects = {objective};
  const VakUnsettledObjectsI unsettled(objects, this);
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

#pragma once

// The change in which objects join a model, which all functions that add to one have in common.
//
// Such a function makes an addition, lets one object after the other join, and reports it at the
// end. Whatever throws before that is over, the addition brings the model back to how it was and
// deletes what was made for it; an object that has not joined yet is its maker's.

#include <algorithm>
#include <span>

#include "vakenv/core/create.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"

/// What joins a model in one change, until it is reported. If that fails, or something before it,
/// all leaves the model again, and what was made for the change is deleted.
class VakModelI::Addition final : private VakUnsettledI {
 public:
  /// Which members were made for the change.
  enum Made : unsigned { Nothing = 0, Variables = 1, Constraints = 2 };

  Addition(VakModelI* model, Made made)
      : _membership((VakCheckUsable(model, model->_env, nullptr), model)),
        _model(model),
        _made(made) {
    model->tidy();
    _variablesFrom = model->_variables.size();
    _constraintsFrom = model->_constraints.size();
  }
  ~Addition() {
    if (_isKept) return;
    const VakMembersView members = getMembers();
    leave();
    deleteMade(members);
  }
  Addition(const Addition&) = delete;
  Addition& operator=(const Addition&) = delete;

  void add(VakModelVarI* variable) { _model->join(variable); }
  void add(VakConstraintI* constraint) {
    _model->takeIn(constraint);
    _model->link(constraint);
  }
  void add(VakObjectiveI* objective) {
    _model->takeIn(objective);
    _model->setObjective(objective);
    _objective = objective;
  }
  /// Makes an objective for the change when the model has none.
  VakObjectiveI* needObjective() {
    if (_model->_objective == nullptr) {
      _objective = VakCreate<VakObjectiveI>(_model->_env, VakSense::Minimize);
      _ownsObjective = true;
      _model->setObjective(_objective);
    }
    return _model->_objective;
  }

  /// Reports what joined, with these coefficients of it in older objects.
  void report(std::span<const VakCoefI> coefs = {}) {
    const VakMembersView members = getMembers();
    _isKept = true;
    if (members.variables.empty() && members.constraints.empty() && _objective == nullptr) return;
    _reported = members;
    try {
      VakReport(_model->_env, _model, VakAddChange(_model, members, coefs));
    } catch (...) {
      leave();
      VakReportAgain(_model->_env, _model, VakRemoveChange(_model, members));
      deleteMade(members);
      throw;
    }
  }

 private:
  [[nodiscard]] VakMembersView getMembers() const {
    return {{_model->_variables.list(), _variablesFrom, _model->_variables.size()},
            {_model->_constraints.list(), _constraintsFrom, _model->_constraints.size()},
            _objective};
  }

  [[nodiscard]] bool holds(const VakExtractableI* e) const noexcept override {
    const auto isListed = [e](const auto& objects) {
      return std::any_of(objects.begin(), objects.end(),
                         [e](const VakExtractableI* object) { return object == e; });
    };
    return e == _model || e == _objective || isListed(_reported.variables) ||
           isListed(_reported.constraints);
  }

  void leave() {
    if ((_made & Variables) != 0) {
      _model->forEachLinear([this](VakLinearI* linear) { cutTerms(linear->_terms); });
    }
    if (_objective != nullptr) _model->setObjective(nullptr);
    _model->unlinkFrom(_constraintsFrom);
    _model->unjoin(_variablesFrom);
  }

  // The terms of new variables come first, because they joined last.
  void cutTerms(VakTermListI& terms) {
    while (!terms.empty() && isNew(terms.first()->var)) {
      _model->_env->recycleTerm(terms.takeFirst());
    }
  }
  [[nodiscard]] bool isNew(const VakNumVarI* variable) const {
    return _model->_placeOf[variable->id] > _variablesFrom;
  }

  void deleteMade(const VakMembersView& members) {
    if ((_made & Constraints) != 0) {
      for (VakConstraintI* constraint : members.constraints) delete constraint;
    }
    if (_ownsObjective) delete _objective;
    if ((_made & Variables) != 0) {
      for (VakModelVarI* variable : members.variables) delete variable;
    }
  }

  VakMembershipI _membership;
  VakModelI* _model;
  Made _made;
  VakInt _variablesFrom = 0;
  VakInt _constraintsFrom = 0;
  VakMembersView _reported;  // What joined, once it is reported.
  VakObjectiveI* _objective = nullptr;
  bool _ownsObjective = false;
  bool _isKept = false;
};

#pragma once

// The kinds of change that the modelling layer reports, for algorithms and plug-ins.
//
// All of them are reported after the model was changed; the environment's own kinds
// (vakmodel/contract/change.h) are reported as is said there. A change says what was touched; what
// is there now, the listener reads from the objects. This makes one rule enough for refusals: the
// model takes the change back and reports again what was touched. So a listener
//   - reads the present state, and finds it unchanged when it was not told the first time;
//   - ignores objects that it does not have, except that a variable in coefficients or terms of an
//     object that it has is one that just joined the model;
//   - takes what brings it back to a state that it had before: a refusal of that is dropped.
//
// While it is told, a listener may read everything, end or detach algorithms, and end objects, but
// must not change or end what the change lists, nor end its model. What is in that model must not
// change otherwise either: adding and removing throw VakModelError until the report is over. A
// coefficient that was set to 0 is still among the terms of its object until everybody was told.
//
// A change is passed with the extractable it is about if there is exactly one, else without. Its
// spans are valid during the call only.
//
//   kind                  what was touched
//   VakBoundsChange       bounds of variables
//   VakKindChange         kinds of variables
//   VakRowBoundsChange    bounds of constraints
//   VakCoefsChange        coefficients
//   VakTermsChange        all terms of a constraint (with its bounds), of an objective (with its
//                         constant and sense) or of a stored expression (with its constant)
//   VakSenseChange        the sense of an objective
//   VakConstantChange     the constant of an objective
//   VakAddChange          what joined a model
//   VakRemoveChange       what left a model

#include <span>

#include "vakmodel/contract/change.h"
#include "vakmodel/fwd.h"
#include "vakmodel/objects_view.h"

/// One coefficient of a matrix, as changes list it.
///
/// Threads: confined to the thread that reports the change.
/// Phases: told: valid while a change is reported.
struct VakCoefI {
  VakExtractableI* linear;  ///< The constraint, objective or stored expression.
  VakModelVarI* var;        ///< The variable.
  VakNum coef;              ///< The coefficient it has now; 0 when it does not occur any more.
};

/// Base of changes that list variables.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakVariablesChange : public VakChange {
  VAK_RTTI(VakVariablesChange, VakChange);
  /// The variables; one may be listed twice.
  [[nodiscard]] std::span<VakModelVarI* const> getVariables() const { return _variables; }

 protected:
  /// Keeps the list, which is the reporter's.
  explicit VakVariablesChange(std::span<VakModelVarI* const> variables) : _variables(variables) {}

 private:
  std::span<VakModelVarI* const> _variables;  ///< The reporter's.
};

/// Bounds of variables were touched.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakBoundsChange final : public VakVariablesChange {
  VAK_RTTI(VakBoundsChange, VakVariablesChange);
  /// Keeps the list, which is the reporter's.
  explicit VakBoundsChange(std::span<VakModelVarI* const> variables)
      : VakVariablesChange(variables) {}
};

/// Kinds of variables were touched.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakKindChange final : public VakVariablesChange {
  VAK_RTTI(VakKindChange, VakVariablesChange);
  /// Keeps the list, which is the reporter's.
  explicit VakKindChange(std::span<VakModelVarI* const> variables)
      : VakVariablesChange(variables) {}
};

/// Bounds of constraints were touched.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakRowBoundsChange final : public VakChange {
  VAK_RTTI(VakRowBoundsChange, VakChange);
  /// Keeps the list, which is the reporter's.
  explicit VakRowBoundsChange(std::span<VakConstraintI* const> constraints)
      : _constraints(constraints) {}
  /// The constraints; one may be listed twice.
  [[nodiscard]] std::span<VakConstraintI* const> getConstraints() const { return _constraints; }

 private:
  std::span<VakConstraintI* const> _constraints;  ///< The reporter's.
};

/// Coefficients were touched. A variable among them may have joined the model by this change.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakCoefsChange final : public VakChange {
  VAK_RTTI(VakCoefsChange, VakChange);
  /// Keeps the list, which is the reporter's.
  explicit VakCoefsChange(std::span<const VakCoefI> coefs) : _coefs(coefs) {}
  /// The coefficients; each pair of object and variable is listed once.
  [[nodiscard]] std::span<const VakCoefI> getCoefs() const { return _coefs; }

 private:
  std::span<const VakCoefI> _coefs;  ///< The reporter's.
};

/// Base of changes of one linear object: a constraint, an objective or a stored expression.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakLinearChange : public VakChange {
  VAK_RTTI(VakLinearChange, VakChange);
  /// The object; not null.
  [[nodiscard]] VakExtractableI* getLinear() const { return _linear; }

 protected:
  /// Of this object, which is not owned.
  explicit VakLinearChange(VakExtractableI* linear) : _linear(linear) {}

 private:
  VakExtractableI* _linear;  ///< Not owned.
};

/// All terms were touched: of a constraint, together with its bounds; of an objective, together
/// with its constant and its sense; of a stored expression, together with its constant. Variables
/// in them may have joined the model.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakTermsChange final : public VakLinearChange {
  VAK_RTTI(VakTermsChange, VakLinearChange);
  /// Of this object, which is not owned.
  explicit VakTermsChange(VakExtractableI* linear) : VakLinearChange(linear) {}
};

/// The sense of an objective was touched.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakSenseChange final : public VakLinearChange {
  VAK_RTTI(VakSenseChange, VakLinearChange);
  /// Of this objective, which is not owned.
  explicit VakSenseChange(VakExtractableI* objective) : VakLinearChange(objective) {}
};

/// The constant of an objective was touched.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakConstantChange final : public VakLinearChange {
  VAK_RTTI(VakConstantChange, VakLinearChange);
  /// Of this object, which is not owned.
  explicit VakConstantChange(VakExtractableI* objective) : VakLinearChange(objective) {}
};

/// Objects that joined or left a model.
///
/// Threads: confined to the thread that reports the change.
/// Phases: told: valid while a change is reported.
struct VakMembersView {
  VakObjectsView<VakModelVarI> variables;      ///< Each once.
  VakObjectsView<VakConstraintI> constraints;  ///< Each once.
  VakObjectiveI* objective = nullptr;          ///< Null for none.
};

/// Base of changes of what is in a model.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakMembersChange : public VakChange {
  VAK_RTTI(VakMembersChange, VakChange);
  /// The model; not null.
  [[nodiscard]] VakModelI* getModel() const { return _model; }
  [[nodiscard]] const VakMembersView& getMembers() const { return _members; }

 protected:
  /// Keeps the views, which are the reporter's.
  VakMembersChange(VakModelI* model, const VakMembersView& members)
      : _model(model), _members(members) {}

 private:
  VakModelI* _model;        ///< Not owned.
  VakMembersView _members;  ///< The objects, not owned.
};

/// Objects joined a model, in this order: variables (with those that joined through a constraint or
/// an objective), constraints, objective; then the coefficients that variables got in constraints
/// and in the objective that were in the model before.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakAddChange final : public VakMembersChange {
  VAK_RTTI(VakAddChange, VakMembersChange);
  /// Keeps the views and the list, which are the reporter's.
  VakAddChange(VakModelI* model, const VakMembersView& members,
               std::span<const VakCoefI> coefs = {})
      : VakMembersChange(model, members), _coefs(coefs) {}
  /// The coefficients that came along, of objects that were in the model before.
  [[nodiscard]] std::span<const VakCoefI> getCoefs() const { return _coefs; }

 private:
  std::span<const VakCoefI> _coefs;  ///< The reporter's.
};

/// Objects left a model; the terms of variables among them are gone from its constraints and its
/// objective. The objects are alive.
///
/// Threads: confined to the thread that changes the model; all listeners are called on it.
/// Phases: told: from the report of a change until all have been told of it.
class VakRemoveChange final : public VakMembersChange {
  VAK_RTTI(VakRemoveChange, VakMembersChange);
  /// Keeps the views, which are the reporter's.
  VakRemoveChange(VakModelI* model, const VakMembersView& members)
      : VakMembersChange(model, members) {}
};

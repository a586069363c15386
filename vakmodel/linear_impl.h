#pragma once

// Constraints, objectives and stored expressions: the implementations behind their handles.
//
// Every change goes the same way: check all, take all the memory it needs, alter the objects,
// report. When the report throws, the objects get their old state and it is reported once more what
// was touched, to whoever listens; then the exception passes on. A coefficient that becomes 0 stays
// linked as 0 until the report is over, so that it finds back to its place.

#include <cstdint>
#include <vector>

#include "vakmodel/changes.h"
#include "vakmodel/contract/expression.h"
#include "vakmodel/relation.h"
#include "vakmodel/term_list.h"
#include "vakmodel/variable_impl.h"

/// An object that has terms and can be in a model.
///
/// Invariant: while it is in a model, that model lists it, and every variable in the terms too.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: VakEnvI::destroy, a removal, `delete`, or the environment's end.
class VakLinearI : public VakExtractableI {
  VAK_RTTI(VakLinearI, VakExtractableI);

  explicit VakLinearI(VakEnvI* env) : VakExtractableI(env) { enterSlot(); }
  /// Gives the terms back. Derived classes leave the model before.
  ~VakLinearI() noexcept(false) override;

  /// Drops the terms of hidden variables and leaves a hidden model. If the removal destroys and
  /// this leaves the object pointless, it asks for its own removal.
  void removeHidden(VakInt mode) override;
  /// The first half of that: drops what is hidden and asks for nothing.
  void dropHidden() noexcept;

  /// Gives one variable a coefficient; checked, reported, undone when the report throws.
  void setCoef(VakModelVarI* var, VakNum coef);
  /// Throws unless `var` can have this coefficient here.
  void checkCoef(const VakModelVarI* var, VakNum coef) const;

  VakTermListI _terms;          ///< Of different variables.
  VakModelI* _model = nullptr;  ///< The model it is in, not owned; null for none.

 protected:
  /// True when the object is of no use once its last variable was ended.
  [[nodiscard]] virtual bool isPointlessWithoutTerms() const = 0;
  /// Takes the object out of the lists of its model, which it must have; tells nobody.
  virtual void leaveModel() = 0;
  /// Calls leaveModel() if there is anything left to leave. For destructors.
  void leaveModelAtEnd();
  /// Exchanges the terms with those of `terms`, whose variables join the model, calls `swapRest`,
  /// and reports a VakTermsChange. When the report throws, all of that is done backwards.
  template <class Swap>
  void exchangeTerms(VakOwnTermsI& terms, Swap swapRest);
};

/// A constraint.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: VakEnvI::destroy, a removal, `delete`, or the environment's end.
class VakConstraintI final : public VakLinearI {
  VAK_RTTI(VakConstraintI, VakLinearI);

  /// A new constraint, in no model, of the checked relation. `name` may be null.
  [[nodiscard]] static VakConstraintI* Make(VakEnvI* env, const VakRelation& relation,
                                            const char* name);
  /// A constraint without terms, with bounds that were checked.
  VakConstraintI(VakEnvI* env, VakNum lb, VakNum ub) : VakLinearI(env), _lb(lb), _ub(ub) {}
  ~VakConstraintI() noexcept(false) override;

  /// Change it and report that. Throw as the functions of VakConstraint do.
  void setBounds(VakNum lb, VakNum ub);
  void setRelation(const VakRelation& relation);
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override;

  VakNum _lb;                   ///< Lower bound of the terms; minus infinity for none.
  VakNum _ub;                   ///< Upper bound of the terms; plus infinity for none.
  std::int32_t _place = 0;      ///< Its place in the list of its model; meaningless in no model.
  bool _keptWhenEmpty = false;  ///< Whether it stays when its last variable goes.

 protected:
  [[nodiscard]] bool isPointlessWithoutTerms() const override { return !_keptWhenEmpty; }
  void leaveModel() override;
};

static_assert(sizeof(VakConstraintI) == 88);

/// An objective.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: VakEnvI::destroy, a removal, `delete`, or the environment's end.
class VakObjectiveI final : public VakLinearI {
  VAK_RTTI(VakObjectiveI, VakLinearI);

  /// A new objective, in no model, of the checked expression. `name` may be null.
  [[nodiscard]] static VakObjectiveI* Make(VakEnvI* env, VakSense sense, const VakExpr& expr,
                                           const char* name);
  /// An objective without terms.
  VakObjectiveI(VakEnvI* env, VakSense sense) : VakLinearI(env), _sense(sense) {}
  ~VakObjectiveI() noexcept(false) override;

  /// Change it and report that. Throw as the functions of VakObjective do.
  void setSense(VakSense sense);
  void setConstant(VakNum constant);
  void setExpr(const VakExpr& expr) { setAll(_sense, expr); }
  /// Sense, terms and constant in one change.
  void setAll(VakSense sense, const VakExpr& expr);
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override;

  VakNum _constant = 0;  ///< Added to the terms.
  VakSense _sense;       ///< What is looked for.

 protected:
  [[nodiscard]] bool isPointlessWithoutTerms() const override { return false; }
  void leaveModel() override;
};

/// A stored expression.
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: release() takes back use(); else as VakExtractableI.
class VakNumLinExprI final : public VakNumExprI {
  VAK_RTTI(VakNumLinExprI, VakNumExprI);

  /// A new expression of the checked terms and constant of `expr`. `name` may be null.
  [[nodiscard]] static VakNumLinExprI* Make(VakEnvI* env, const VakExpr& expr, const char* name);
  explicit VakNumLinExprI(VakEnvI* env) : VakNumExprI(env) { enterSlot(); }
  ~VakNumLinExprI() noexcept(false) override;

  /// Changes it and reports that. Throws as VakNumExpr::setExpr does.
  void setExpr(const VakExpr& expr);
  [[nodiscard]] VakNum evaluate(const VakModelEvaluatorI& point) const override;
  void removeHidden(VakInt mode) override;
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override;

  VakTermListI _terms;   ///< Of different variables.
  VakNum _constant = 0;  ///< Added to the terms.
};

/// Gives these coefficients in one change; checked, reported, undone when the report throws. Of a
/// pair of object and variable that is listed twice the last coefficient counts. Sorts `coefs` by
/// object and drops what does not count.
void VakAssignCoefs(VakEnvI* env, std::vector<VakCoefI>& coefs);

/// The terms of `expr`, which are to become those of `user` (null: of a new object), checked: one
/// for each variable, none 0. Uses `storage` when they have to be put in order first.
[[nodiscard]] const VakExpr& VakCheckTerms(const VakEnvI* env, const VakExtractableI* user,
                                           const VakExpr& expr, VakExpr& storage);

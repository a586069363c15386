#pragma once

// Models: the implementation behind VakModel.
//
//   VakModelI ---> _variables     places of variables, in the order in which they joined
//        |                 ^
//        +------> _placeOf +      from the identifier of a variable to 1 + its place
//        +------> _constraints    places of constraints; each knows its place and its model
//        +------> _objective
//
// What leaves the model leaves an empty place behind, so that leaving takes constant time and keeps
// the order; lists are closed up before something joins once half of their places are empty.

#include <cstdint>
#include <span>
#include <string>

#include "vakmodel/block_list.h"
#include "vakmodel/changes.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model.h"
#include "vakmodel/variable_impl.h"

/// A list of members with empty places.
///
/// Threads: read-shared, as the object that it belongs to.
/// Phases: open, as long as that object.
class VakPlacesI : private VakBlockList<VakExtractableI*> {
 public:
  explicit VakPlacesI(VakEnvI* env) : VakBlockList(env) {}

  /// Number of places, empty ones included.
  using VakBlockList::size;
  /// The member at a place; null for an empty one.
  [[nodiscard]] VakExtractableI* operator[](VakInt place) const {
    return VakBlockList::operator[](place);
  }
  /// The list itself.
  [[nodiscard]] const VakBlockList<VakExtractableI*>* list() const { return this; }
  /// Number of members.
  [[nodiscard]] VakInt count() const { return _count; }
  /// True when closing up pays.
  [[nodiscard]] bool isSparse() const { return size() > SmallSize && _count < size() / 2; }

  /// Appends a member. Throws std::bad_alloc and changes nothing then.
  void add(VakExtractableI* member) {
    VakBlockList::add(member);
    ++_count;
  }
  /// Empties a place that has a member.
  void empty(VakInt place) {
    VakBlockList::operator[](place) = nullptr;
    --_count;
  }
  /// Puts a member into an empty place.
  void restore(VakInt place, VakExtractableI* member) {
    VakBlockList::operator[](place) = member;
    ++_count;
  }
  /// Drops the places from `size` on.
  void truncate(VakInt size) {
    for (VakInt place = size; place < this->size(); ++place) _count -= (*this)[place] != nullptr;
    VakBlockList::truncate(size);
  }
  /// Drops the empty places; members move up in their order, and `moved` is called with each one
  /// and its new place.
  template <class Moved>
  void closeUp(Moved moved) {
    VakInt kept = 0;
    for (VakInt place = 0; place < size(); ++place) {
      VakExtractableI* member = (*this)[place];
      if (member == nullptr) continue;
      moved(member, kept);
      VakBlockList::operator[](kept++) = member;
    }
    VakBlockList::truncate(kept);
  }

 private:
  static constexpr VakInt SmallSize = 64;  ///< Up to here empty places do not matter.

  VakInt _count = 0;  ///< Places that are not empty.
};

/// From identifiers to small numbers, 0 for those never set.
///
/// Threads: read-shared, as the object that it belongs to.
/// Phases: open, as long as that object.
class VakIdTableI : private VakBlockList<std::int32_t> {
 public:
  explicit VakIdTableI(VakEnvI* env) : VakBlockList(env) {}

  /// The number at this identifier; 0 beyond the end.
  [[nodiscard]] std::int32_t operator[](VakInt id) const {
    if (static_cast<unsigned long>(id) >= static_cast<unsigned long>(size())) return 0;
    return VakBlockList::operator[](id);
  }
  /// Makes room for `id`, so that there is a number at least. Throws std::bad_alloc.
  void reserve(VakInt id) {
    while (size() == 0 || size() <= id) add(0);
  }
  /// Room for `id` must have been made.
  void set(VakInt id, std::int32_t number) { VakBlockList::operator[](id) = number; }
};

/// A model.
///
/// Invariant, which check() proves: the model's lists, _placeOf and the places and models that
/// constraints and the objective know agree; every variable in a term of the model is in
/// _variables; the terms are sound (VakTermListI::check).
///
/// Threads: read-shared, as the handles on it; in thread-safe mode several threads may make objects
///     of their own.
/// Phases: open; registered from constructor to finit, destroy, removal or destructor.
/// Gives back: VakEnvI::destroy, a removal, `delete`, or the environment's end.
class VakModelI final : public VakExtractableI {
  VAK_RTTI(VakModelI, VakExtractableI);

  explicit VakModelI(VakEnvI* env);
  /// Lets constraints and objective go, unless the environment is ending.
  ~VakModelI() noexcept(false) override;

  // ---- Changes: checked, reported, undone when the report throws --------------------------------

  /// Add objects and report that in one change. Throw as the functions of VakModel do.
  void add(std::span<VakModelVarI* const> variables);
  void add(std::span<VakConstraintI* const> constraints);
  void add(VakObjectiveI* objective);
  /// Makes constraints, each with this name, which may be null.
  void add(std::span<const VakRelation> relations, std::span<VakConstraint> made,
           const char* name = nullptr);
  /// Columns, rows and removals, as VakModel has them.
  VakModelVarI* addColumn(VakVarKind kind, VakNum lb, VakNum ub, VakNum objective,
                          std::span<const VakConstraint> rows, std::span<const VakNum> coefs);
  void addColumns(const VakColumns& columns, std::span<VakNumVar> made);
  void addRows(const VakRows& rows, std::span<VakConstraint> made);
  void remove(std::span<VakModelVarI* const> variables);
  void remove(std::span<VakConstraintI* const> constraints);
  void removeObjective(VakObjectiveI* objective);

  // ---- For the objects in the model; nothing is reported ----------------------------------------

  /// True for an object that is in this model.
  [[nodiscard]] bool contains(const VakModelVarI* variable) const {
    return variable->_env == _env && _placeOf[variable->id] != 0;
  }
  /// Lets a variable of this environment join unless it is in already. Throws std::bad_alloc and
  /// changes nothing then.
  void join(VakModelVarI* variable) {
    if (_placeOf[variable->id] == 0) joinNew(variable);
  }
  /// Takes out the variables that joined since there were `size` places.
  void unjoin(VakInt size);
  /// Closes lists up if it pays. Not while places are remembered.
  void tidy();
  /// Lets a constraint leave.
  void forget(VakConstraintI* constraint);
  /// Exchanges the objective; null for none.
  void setObjective(VakObjectiveI* objective);

  void removeHidden(VakInt mode) override;
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override;
  /// An empty text if the invariant holds and, with `pool`, no object of the model and no term is
  /// free memory, else what is broken.
  [[nodiscard]] std::string check(const VakMemoryInspection* pool = nullptr) const;

  /// The objects by their places; those that were taken out have left null.
  VakPlacesI _variables;
  VakPlacesI _constraints;
  VakIdTableI _placeOf;                 ///< By the identifier of a variable: 1 + its place, or 0.
  VakObjectiveI* _objective = nullptr;  ///< Null for none.
  bool _isChanging = false;             ///< True as long as a VakMembershipI for it lives.

 private:
  class Addition;
  class ColumnMaker;
  class Removal;
  class RowFronts;

  [[nodiscard]] VakConstraintI* constraintAt(VakInt place) const {
    return static_cast<VakConstraintI*>(_constraints[place]);
  }
  /// Calls `visit` with every constraint and the objective.
  template <class Visit>
  void forEachLinear(Visit visit) const {
    for (VakInt place = 0; place < _constraints.size(); ++place) {
      if (_constraints[place] != nullptr) visit(static_cast<VakLinearI*>(constraintAt(place)));
    }
    if (_objective != nullptr) visit(static_cast<VakLinearI*>(_objective));
  }
  void joinNew(VakModelVarI* variable);
  void takeIn(const VakLinearI* linear);
  void link(VakConstraintI* constraint);
  void unlinkFrom(VakInt size);
  void checkAddable(const VakLinearI* linear) const;
  [[noreturn, gnu::cold]] void throwAbsent(const VakExtractableI* object) const;
  [[nodiscard]] std::string checkTerms(const VakLinearI* linear,
                                       const VakMemoryInspection* pool) const;
};

/// The right to change what is in a model, from before the change until it was reported. Only one
/// change at a time has it, because places are remembered meanwhile.
///
/// Threads: confined to the thread that changes the model.
/// Phases: open, from before the change until it was told to everybody; not from within a report of
///     the same model.
/// Gives back: the destructor ends the right.
class VakMembershipI {
 public:
  /// Throws VakModelError when another change has the right. `model` may be null.
  explicit VakMembershipI(VakModelI* model);
  ~VakMembershipI() {
    if (_model != nullptr) _model->_isChanging = false;
  }
  VakMembershipI(const VakMembershipI&) = delete;
  VakMembershipI& operator=(const VakMembershipI&) = delete;

 private:
  VakModelI* _model;  ///< Not owned; null for none.
};

/// Variables that join a model on behalf of a change, and leave it again unless the change is kept.
///
/// Threads: confined to the thread that changes the model.
/// Phases: open, from before the change until it was told to everybody; not from within a report of
///     the same model.
/// Gives back: the destructor takes the joining back unless it was kept.
class VakJoiningI {
 public:
  /// `model` may be null: then nobody joins anything.
  explicit VakJoiningI(VakModelI* model) : _membership(model), _model(model) {
    if (_model == nullptr) return;
    _model->tidy();
    _from = _model->_variables.size();
  }
  ~VakJoiningI() {
    if (_model != nullptr) _model->unjoin(_from);
  }
  VakJoiningI(const VakJoiningI&) = delete;
  VakJoiningI& operator=(const VakJoiningI&) = delete;

  /// Brings variables into the model that are not in it yet. Throw std::bad_alloc.
  void join(VakModelVarI* variable) {
    if (_model != nullptr) _model->join(variable);
  }
  void joinAll(const VakTermListI& terms);
  /// The variables that joined stay.
  void keep() { _model = nullptr; }
  /// Takes them out and reports that they left.
  void takeBack() noexcept;
  /// The places of variables from which on they joined.
  [[nodiscard]] VakInt getFrom() const { return _from; }
  [[nodiscard]] VakModelI* getModel() const { return _model; }

 private:
  VakMembershipI _membership;
  VakModelI* _model;  ///< Not owned; null when there is nothing to take back.
  VakInt _from = 0;   ///< Places of variables before the first one joined.
};

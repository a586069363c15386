#include "vakmodel/model.h"

#include <ostream>
#include <vector>

#include "vakbase/terminated_text.h"
#include "vakenv/core/create.h"
#include "vakmodel/annotations.h"
#include "vakmodel/env_check.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/object_text.h"

namespace {

VakModelI* makeModel(VakEnv env, const char* name) {
  auto* model = VakCreate<VakModelI>(VakCheckEnv(env));
  VakNameNew(model, name);
  return model;
}

// The implementations behind handles. Throws for an empty one, as the handle's class does.
template <class Impl, class Handle>
std::vector<Impl*> implsOf(std::span<const Handle> handles) {
  std::vector<Impl*> impls;
  impls.reserve(handles.size());
  for (const Handle& handle : handles) impls.push_back(handle.checked());
  return impls;
}

template <class Impl>
std::span<Impl* const> only(Impl* const& one) {
  return {&one, 1};
}

template <class Handle>
Handle find(VakModel::Members<Handle> members, std::string_view name) {
  for (const Handle member : members) {
    if (member.getName() != nullptr && member.getName() == name) return member;
  }
  return {};
}

}  // namespace

VakModel::VakModel(VakModelI* impl) : VakExtractable(impl) {}

VakModel::VakModel(VakEnv env, const char* name) : VakExtractable(makeModel(env, name)) {}

VakModel::VakModel(VakEnv env, std::string_view name)
    : VakModel(env, VakTerminatedText(name).get()) {}

VakModel VakModel::From(VakExtractable object) {
  VakExtractableI* impl = object.getImpl();
  if (impl == nullptr || impl->isType(VakModelI::GetTypeInfo()) == 0) return {};
  return VakModel(static_cast<VakModelI*>(impl));
}

VakModelI* VakModel::getImpl() const { return static_cast<VakModelI*>(_impl); }

VakModelI* VakModel::checked() const {
  if (_impl == nullptr) ThrowEmpty("VakModel: Using empty handle");
  return getImpl();
}

// ---- Adding -------------------------------------------------------------------------------------

VakConstraint VakModel::add(const VakRelation& relation, const char* name) const {
  VakConstraint made;
  checked()->add({&relation, 1}, {&made, 1}, name);
  return made;
}

VakConstraint VakModel::add(const VakRelation& relation, std::string_view name) const {
  return add(relation, VakTerminatedText(name).get());
}

void VakModel::add(VakConstraint constraint) const {
  VakModelI* model = checked();
  model->add(only(constraint.checked()));
}

void VakModel::add(VakNumVar x) const {
  VakModelI* model = checked();
  model->add(only(x.checked()));
}

void VakModel::add(VakObjective objective) const {
  VakModelI* model = checked();
  model->add(objective.checked());
}

namespace {

VakObjective optimize(VakModel model, VakSense sense, const VakExpr& expr) {
  VakObjective objective = model.getObjective();
  if (objective.isEmpty()) {
    objective = VakObjective(model.getEnv(), sense, expr);
    try {
      model.add(objective);
    } catch (...) {
      delete objective.getImpl();
      throw;
    }
    return objective;
  }
  objective.getImpl()->setAll(sense, expr);
  return objective;
}

}  // namespace

VakObjective VakModel::minimize(const VakExpr& expr) const {
  return optimize(*this, VakSense::Minimize, expr);
}

VakObjective VakModel::maximize(const VakExpr& expr) const {
  return optimize(*this, VakSense::Maximize, expr);
}

void VakModel::add(std::span<const VakConstraint> constraints) const {
  VakModelI* model = checked();
  model->add(implsOf<VakConstraintI>(constraints));
}

void VakModel::add(std::span<const VakNumVar> vars) const {
  VakModelI* model = checked();
  model->add(implsOf<VakModelVarI>(vars));
}

void VakModel::add(VakNumVarArray vars) const {
  std::vector<VakNumVar> list;
  for (const VakNumVar x : vars) list.push_back(x);
  add(std::span<const VakNumVar>(list));
}

void VakModel::add(std::span<const VakRelation> relations, std::span<VakConstraint> made) const {
  checked()->add(relations, made);
}

VakNumVar VakModel::addColumn(VakNum lb, VakNum ub, VakNum objective,
                              std::span<const VakConstraint> rows, std::span<const VakNum> coefs,
                              VakVarKind kind) const {
  return VakNumVar(checked()->addColumn(kind, lb, ub, objective, rows, coefs));
}

void VakModel::addColumns(const VakColumns& columns, std::span<VakNumVar> made) const {
  checked()->addColumns(columns, made);
}

void VakModel::addRows(const VakRows& rows, std::span<VakConstraint> made) const {
  checked()->addRows(rows, made);
}

// ---- Removing -----------------------------------------------------------------------------------

void VakModel::remove(VakNumVar x) const {
  VakModelI* model = checked();
  model->remove(only(x.checked()));
}

void VakModel::remove(VakConstraint constraint) const {
  VakModelI* model = checked();
  model->remove(only(constraint.checked()));
}

void VakModel::remove(VakObjective objective) const {
  VakModelI* model = checked();
  model->removeObjective(objective.checked());
}

void VakModel::remove(std::span<const VakNumVar> vars) const {
  VakModelI* model = checked();
  model->remove(implsOf<VakModelVarI>(vars));
}

void VakModel::remove(std::span<const VakConstraint> constraints) const {
  VakModelI* model = checked();
  model->remove(implsOf<VakConstraintI>(constraints));
}

// ---- Looking ------------------------------------------------------------------------------------

VakInt VakModel::getVariableCount() const { return checked()->_variables.count(); }

VakInt VakModel::getConstraintCount() const { return checked()->_constraints.count(); }

VakInt VakModel::getTermCount() const {
  VakInt count = 0;
  for (const VakConstraint constraint : constraints()) count += constraint.getTermCount();
  return count;
}

VakPlaceWalk::VakPlaceWalk(const VakPlacesI* places, VakInt place)
    : _places(places), _place(place - 1) {
  next();
}

VakExtractable VakPlaceWalk::get() const { return VakExtractable((*_places)[_place]); }

void VakPlaceWalk::next() {
  ++_place;
  while (_place < _places->size() && (*_places)[_place] == nullptr) ++_place;
}

VakModel::Members<VakNumVar> VakModel::variables() const {
  const VakPlacesI& places = checked()->_variables;
  return Members<VakNumVar>(&places, places.size());
}

VakModel::Members<VakConstraint> VakModel::constraints() const {
  const VakPlacesI& places = checked()->_constraints;
  return Members<VakConstraint>(&places, places.size());
}

VakObjective VakModel::getObjective() const { return VakObjective(checked()->_objective); }

bool VakModel::contains(VakNumVar x) const {
  const VakModelI* model = checked();
  return model->contains(x.checked());
}

bool VakModel::contains(VakConstraint constraint) const {
  const VakModelI* model = checked();
  return constraint.checked()->_model == model;
}

VakNumVar VakModel::findVariable(std::string_view name) const { return find(variables(), name); }

VakConstraint VakModel::findConstraint(std::string_view name) const {
  return find(constraints(), name);
}

// The handle is tested also when there is nothing to look for.

VakNumVar VakModel::findVariable(const char* name) const {
  const Members<VakNumVar> members = variables();
  return name == nullptr ? VakNumVar() : find(members, name);
}

VakConstraint VakModel::findConstraint(const char* name) const {
  const Members<VakConstraint> members = constraints();
  return name == nullptr ? VakConstraint() : find(members, name);
}

std::string VakModel::check() const { return checked()->check(); }

namespace {

void printVariable(std::ostream& out, VakNumVar x) {
  out << x << " in [" << x.getLB() << ", " << x.getUB() << ']';
  if (x.isInteger()) out << ' ' << x.getKind();
  out << '\n';
}

}  // namespace

std::ostream& operator<<(std::ostream& out, VakModel model) {
  if (model.isEmpty()) return out << VakEmptyHandleText;
  if (!model.getObjective().isEmpty()) out << model.getObjective() << '\n';
  for (const VakConstraint constraint : model.constraints()) out << constraint << '\n';
  for (const VakNumVar x : model.variables()) printVariable(out, x);
  return out;
}

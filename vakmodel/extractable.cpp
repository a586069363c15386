#include "vakmodel/extractable.h"

#include <ostream>

#include "vakbase/terminated_text.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/num_expr.h"
#include "vakmodel/object_text.h"
#include "vakmodel/report.h"
#include "vakmodel/unsettled.h"

namespace {

void requireName(const char* name) {
  if (name == nullptr) throw VakEmptyHandleException("VakExtractable: Using empty string");
}

// Lets every object of a model drop what is hidden. A removal that was broken off may have reached
// some of them only.
void completeSweep(VakEnvI* env) noexcept {
  const VakIdManager* ids = env->_idManager;
  for (VakInt id = 0; id < ids->_size; ++id) {
    if (!ids->isLive(id)) continue;
    auto* object = static_cast<VakExtractableI*>(ids->_data[id]);
    if (object->isType(VakLinearI::GetTypeInfo()) != 0) {
      static_cast<VakLinearI*>(object)->dropHidden();
    } else if (object->isType(VakModelI::GetTypeInfo()) != 0 ||
               object->isType(VakNumLinExprI::GetTypeInfo()) != 0) {
      object->removeHidden(0);
    }
  }
}

void requireSettled(const VakExtractableI* e) {
  if (!VakUnsettledI::IsHeld(e)) return;
  VakThrowModelError(
      e, "%s is in a change that is being reported. Leave it as it is until the report is over.",
      VakObjectText(e).get());
}

// Makes the best of a removal that was broken off: nothing stays hidden, what it was to take out is
// out of everything, and, unless `wasReported`, algorithms know.
void settleBrokenRemoval(VakEnvI* env, bool wasReported) noexcept {
  const VakRecycleBinI* bin = env->_recycleBin;
  completeSweep(env);
  if (!wasReported && bin->releaseMode == 0) {
    VakReportAgain(env, nullptr, VakRemoveFromAllChange(bin->pending));
  }
  env->abandonRemoval();
}

// Runs a removal that destroys. A refusal means that everybody was told.
template <class Removal>
void runDestruction(VakEnvI* env, Removal removal) {
  const bool isNested = env->isRemoving();
  const auto isBroken = [&] { return !isNested && env->isRemoving(); };
  try {
    removal();
  } catch (const VakAlgorithm::CannotChangeException&) {
    if (isBroken()) settleBrokenRemoval(env, true);
    throw;
  } catch (...) {
    if (isBroken()) settleBrokenRemoval(env, false);
    throw;
  }
}

// Lets every object of a model drop `objects`, which a removal without destruction left visible.
void sweepAgain(VakEnvI* env, VakExtractableArray objects) noexcept {
  const VakIdManager* ids = env->_idManager;
  for (VakExtractableI* e : objects) {
    if (ids->isInTable(e->id) && ids->_data[e->id] == e) {
      ids->_data[e->id] = VakIdManager::HiddenMark();
    }
  }
  completeSweep(env);
  for (VakExtractableI* e : objects) {
    if (ids->isInTable(e->id) && ids->isHidden(e->id)) ids->_data[e->id] = e;
  }
}

// Removes registered objects from all others. When it throws, they are gone from all models
// nevertheless, and algorithms know; a refusal means that they were told.
void removeFromAllObjects(VakEnvI* env, VakExtractableArray objects) {
  try {
    env->removeFromAll(objects);
  } catch (const VakAlgorithm::CannotChangeException&) {
    throw;
  } catch (...) {
    sweepAgain(env, objects);
    VakReportAgain(env, nullptr, VakRemoveFromAllChange(objects));
    throw;
  }
}

// A copy of `array` without empty handles, which the environment's removal does not expect.
VakExtractableArray withoutNull(VakEnvI* env, VakExtractableArray array) {
  VakExtractableArray result{VakEnv(env)};
  try {
    for (VakExtractableI* e : array) {
      if (e == nullptr || e->id == -1) continue;
      if (e->_env != env) VakThrowMismatch(e, nullptr);
      requireSettled(e);
      result.add(e);
    }
  } catch (...) {
    result.end();
    throw;
  }
  return result;
}

// Calls `action` with the environment and the registered objects of `array`.
template <class Action>
void withObjects(VakExtractableArray array, Action action) {
  if (array.isEmpty()) return;
  VakEnvI* env = array.getEnv().getImpl();
  VakExtractableArray objects = withoutNull(env, array);
  try {
    if (!objects.isEmpty()) action(env, objects);
  } catch (...) {
    objects.end();
    throw;
  }
  objects.end();
}

}  // namespace

void VakExtractable::ThrowEmpty(const char* message) { throw VakEmptyHandleException(message); }

VakEnv VakExtractable::getEnv() const { return VakEnv(impl()->_env); }

VakInt VakExtractable::getId() const { return impl()->id; }

const char* VakExtractable::getName() const { return impl()->getName(); }

void VakExtractable::setName(const char* name) const { impl()->setName(name); }

VakAny VakExtractable::getObject() const { return impl()->getObject(); }

void VakExtractable::setObject(VakAny object) const { impl()->setObject(object); }

VakNamedPropertySet VakExtractable::getProperties() const {
  return VakNamedPropertySet(impl()->getProperties());
}

bool VakExtractable::hasProperty(const char* name) const {
  const VakExtractableI* object = impl();
  requireName(name);
  return object->hasProperty(name) != 0;
}

VakNamedProperty VakExtractable::getProperty(const char* name) const {
  const VakExtractableI* object = impl();
  requireName(name);
  return VakNamedProperty(object->getProperty(name));
}

void VakExtractable::setIntProperty(const char* name, VakInt value) const {
  VakExtractableI* object = impl();
  requireName(name);
  object->setIntProperty(name, value);
}

void VakExtractable::setNumProperty(const char* name, VakNum value) const {
  VakExtractableI* object = impl();
  requireName(name);
  object->setNumProperty(name, value);
}

void VakExtractable::setAnyProperty(const char* name, VakAny value) const {
  VakExtractableI* object = impl();
  requireName(name);
  object->setAnyProperty(name, value);
}

void VakExtractable::setStringProperty(const char* name, const char* value) const {
  VakExtractableI* object = impl();
  requireName(name);
  object->setStringProperty(name, value);
}

void VakExtractable::addProperties(VakNamedPropertySet set) const {
  VakExtractableI* object = impl();
  if (set.getImpl() == nullptr) {
    throw VakEmptyHandleException("VakNamedPropertySet: Using empty handle");
  }
  object->addProperties(set.getImpl());
}

void VakExtractable::removeProperty(const char* name) const {
  VakExtractableI* object = impl();
  requireName(name);
  object->removeProperty(name);
}

void VakExtractable::removeAllProperties() const { impl()->removeAllProperties(); }

void VakExtractable::setName(std::string_view name) const { impl()->setName(name); }

bool VakExtractable::hasProperty(std::string_view name) const {
  return impl()->hasProperty(name) != 0;
}

VakNamedProperty VakExtractable::getProperty(std::string_view name) const {
  return VakNamedProperty(impl()->getProperty(name));
}

void VakExtractable::setIntProperty(std::string_view name, VakInt value) const {
  impl()->setPropertyValue<VakNamedIntProperty>(name, value);
}

void VakExtractable::setNumProperty(std::string_view name, VakNum value) const {
  impl()->setPropertyValue<VakNamedNumProperty>(name, value);
}

void VakExtractable::setAnyProperty(std::string_view name, VakAny value) const {
  impl()->setPropertyValue<VakNamedAnyProperty>(name, value);
}

void VakExtractable::setStringProperty(std::string_view name, const char* value) const {
  impl()->setPropertyValue<VakNamedStringProperty>(name, value);
}

void VakExtractable::setStringProperty(std::string_view name, std::string_view value) const {
  setStringProperty(name, VakTerminatedText(value).get());
}

void VakExtractable::removeProperty(std::string_view name) const { impl()->removeProperty(name); }

std::ostream& operator<<(std::ostream& out, VakExtractable object) {
  if (object.isEmpty()) return out << VakEmptyHandleText;
  const VakNumVar x = VakNumVar::From(object);
  if (!x.isEmpty()) {
    if (const char* name = x.getName()) return out << name;
    return out << '#' << x.getId();
  }
  const VakConstraint constraint = VakConstraint::From(object);
  if (!constraint.isEmpty()) return out << constraint;
  const VakObjective objective = VakObjective::From(object);
  if (!objective.isEmpty()) return out << objective;
  const VakModel model = VakModel::From(object);
  if (!model.isEmpty()) return out << model;
  const VakNumExpr expr = VakNumExpr::From(object);
  if (!expr.isEmpty()) return out << expr.getExpr();
  return out << VakObjectText(object.getImpl()).get();
}

// The array form is used because objects that one removal takes out for another one's sake would
// stay hidden; here nothing follows from the removal.
void VakExtractable::removeFromAll() const {
  VakExtractableArray one{getEnv()};
  try {
    one.add(_impl);
    VakRemoveAllFromAll(one);
  } catch (...) {
    one.end();
    throw;
  }
  one.end();
}

void VakExtractable::end() {
  VakExtractableI* object = _impl;
  if (object == nullptr) return;
  requireSettled(object);
  VakEnvI* env = object->_env;
  const VakWatch<VakExtractableI> watch(env->_registry.deletionWatches, object);
  try {
    if (object->id == -1) {
      delete object;
    } else {
      runDestruction(env, [&] { env->removeFromAllAndDestroy(object, 0); });
    }
  } catch (...) {
    if (watch.isGone()) _impl = nullptr;
    throw;
  }
  _impl = nullptr;
}

void VakEndAll(VakExtractableArray array) {
  withObjects(array, [](VakEnvI* env, VakExtractableArray objects) {
    runDestruction(env, [&] { env->removeFromAllAndDestroy(objects, 0); });
  });
}

void VakRemoveAllFromAll(VakExtractableArray array) { withObjects(array, removeFromAllObjects); }

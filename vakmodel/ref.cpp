#include "vakmodel/ref.h"

#include <cstdio>

#include "vakenv/core/environment_impl.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/object_text.h"

const char* VakGetRefStateName(VakRefState state) {
  switch (state) {
    case VakRefState::Empty:
      return "empty";
    case VakRefState::Alive:
      return "alive";
    case VakRefState::ObjectGone:
      return "object gone";
    case VakRefState::EnvironmentEnded:
      return "environment ended";
    case VakRefState::OtherEnvironment:
      return "other environment";
  }
  return "unknown";
}

std::ostream& operator<<(std::ostream& out, VakRefState state) {
  return out << VakGetRefStateName(state);
}

// The message of the base always points into the text of the same object.

VakRefError::VakRefError(std::string_view text, VakRefState state)
    : VakErrorText(text), VakWrongUsage(VakErrorText::text()), _state(state) {}

VakRefError::VakRefError(const VakRefError& other)
    : VakErrorText(other), VakWrongUsage(VakErrorText::text()), _state(other._state) {}

VakRefError& VakRefError::operator=(const VakRefError& other) {
  VakErrorText::operator=(other);
  _state = other._state;
  return *this;
}

VakRefError::~VakRefError() = default;

VakAnyRef::VakAnyRef(VakExtractable object) {
  const VakExtractableI* impl = object.getImpl();
  if (impl == nullptr) return;
  if (impl->id == -1) VakThrowUnusable(impl);
  _life = VakEnvLife(impl->_env);
  _stamp = impl->_env->_registry.references.make(impl->id);
  _id = impl->id;
  _kind = VakGetKindText(impl);
}

VakRefState VakAnyRef::getState() const noexcept {
  if (_stamp == 0) return VakRefState::Empty;
  const VakEnvI* env = _life.getEnv();
  if (env == nullptr) return VakRefState::EnvironmentEnded;
  return env->_registry.references.find(_id) == _stamp ? VakRefState::Alive
                                                       : VakRefState::ObjectGone;
}

VakRefState VakAnyRef::getState(VakEnv env) const noexcept {
  const VakRefState state = getState();
  if (state != VakRefState::Alive || _life.getEnv() == env.getImpl()) return state;
  return VakRefState::OtherEnvironment;
}

void VakAnyRef::throwState(VakRefState state) const {
  char text[VakErrorText::Capacity];
  const auto write = [&](const char* what) {
    std::snprintf(text, sizeof(text), what, _kind, static_cast<long>(_id));
    VakCapitalize(text);
  };
  switch (state) {
    case VakRefState::Empty:
      throw VakRefError("The reference is empty. Make it of an object first.", state);
    case VakRefState::EnvironmentEnded:
      write("%s #%ld went with its environment, which has ended. Drop the reference.");
      break;
    case VakRefState::OtherEnvironment:
      write(
          "%s #%ld belongs to another environment than the one it is asked for in. Use objects of "
          "one environment, or copy the model with a VakCopier.");
      break;
    default:
      write("%s #%ld was ended, or taken out of its environment. Drop the reference.");
      break;
  }
  throw VakRefError(text, state);
}

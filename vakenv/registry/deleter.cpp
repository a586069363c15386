#include "vakenv/registry/deleter.h"

#include "vakenv/core/environment_impl.h"

VakBaseDeleterI::VakBaseDeleterI(VakEnvI* env) : VakNotifiedPlugIn(env) {}

VakBaseDeleterI::~VakBaseDeleterI() noexcept(false) = default;

void VakEnvI::setDeleter(VakBaseDeleterI* deleter, int level) {
  if (deleter != _deleter) unsetDeleter();
  _deleter = deleter;
  _deleterLevel = level;
}

void VakEnvI::inhibitDeleter(VakInt inhibit) { _deleter->inhibit(inhibit); }

void VakEnvI::setDeleterVerbosityLevel(VakInt level) {
  if (_deleter != nullptr) _deleter->setVerbosityLevel(level);
}

// The deleter stays in place while it is deleted, and goes even when its destructor throws.
void VakEnvI::unsetDeleter() {
  try {
    delete _deleter;
  } catch (...) {
    _deleter = nullptr;
    _deleterLevel = 0;
    throw;
  }
  _deleter = nullptr;
  _deleterLevel = 0;
}

void VakEnvI::removeAndDelete(VakExtractableI* e, VakInt flag) {
  if (_deleter != nullptr) _deleter->removeAndDelete(e, flag);
}

void VakEnvI::removeAndDelete(VakExtractableArray a, VakInt flag) {
  if (_deleter != nullptr) _deleter->removeAndDelete(a, flag);
}

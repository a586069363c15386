#include "vakenv/memory/env.h"

#include <new>
#include <ostream>

#include "vakbase/terminated_text.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/types/exceptions.h"

namespace {

VakEnvI* checked(VakEnvI* impl) {
  if (impl == nullptr) throw VakEmptyHandleException("VakEnv: Using empty handle");
  return impl;
}

// Deliberate: symbols and random numbers report an empty handle without naming it.
VakEnvI* checkedService(VakEnvI* impl) {
  if (impl == nullptr) throw VakEmptyHandleException();
  return impl;
}

}  // namespace

VakEnv::VakEnv() : _impl(nullptr) {
  try {
    _impl = new VakEnvI();
  } catch (const std::bad_alloc&) {
    throw VakMemoryException();
  }
}

VakEnv::VakEnv(VakMemoryManager manager) : _impl(VakGetEnv(manager)) {
  if (_impl == nullptr) throw IncompatibleMemoryManagerException();
}

void VakEnv::end() {
  VakEnvI* impl = checked(_impl);
  try {
    delete impl;
  } catch (...) {
    _impl = nullptr;
    throw;
  }
  _impl = nullptr;
}

VakMemoryManager VakEnv::getMemoryManager() const { return checked(_impl)->_allocator; }

VakInt VakEnv::getMemoryUsage() const { return checked(_impl)->getMemoryUsage(); }

VakInt VakEnv::getTotalMemoryUsage() const { return checked(_impl)->getTotalMemoryUsage(); }

std::string VakEnv::check() const { return checked(_impl)->check(); }

VakInt VakEnv::getIdManagerMemoryUsage() const { return checked(_impl)->getIdManagerMemoryUsage(); }

const char* VakEnv::getVersion() const { return checked(_impl)->getVersion(); }

void VakEnv::useMTSafeAllocation(VakInt on) const { checked(_impl)->useMTSafeAllocation(on); }

void VakEnv::useMTSafeNormalization(VakInt on) const { checked(_impl)->useMTSafeNormalization(on); }

VakSymbolI* VakEnv::getSymbol(const char* name) const {
  return checkedService(_impl)->getSymbol(name);
}

VakSymbolI* VakEnv::makeSymbol(const char* name) const {
  return checkedService(_impl)->makeSymbol(name);
}

VakSymbolI* VakEnv::getSymbol(std::string_view name) const {
  return checkedService(_impl)->getSymbol(VakTerminatedText(name).get());
}

VakSymbolI* VakEnv::makeSymbol(std::string_view name) const {
  return checkedService(_impl)->makeSymbol(VakTerminatedText(name).get());
}

VakUniqueRandomI* VakEnv::getRandom() const { return checkedService(_impl)->createRandom(); }

std::ostream& operator<<(std::ostream& out, VakEnv env) {
  const VakEnvI* impl = env.getImpl();
  if (impl == nullptr) return out << VakEmptyHandleText;
  out << "environment ";
  if (const char* name = impl->getName()) out << '"' << name << "\" ";
  return out << '(' << impl->getMemoryUsage() << " bytes in use)";
}

VakEnv::AbortException::AbortException() : VakException("VakEnv has been requested to abort.", 0) {}
VakEnv::AbortException::~AbortException() = default;

VakEnv::IncompatibleMemoryManagerException::IncompatibleMemoryManagerException()
    : VakException("Incompatible memory manager", 0) {}
VakEnv::IncompatibleMemoryManagerException::~IncompatibleMemoryManagerException() = default;

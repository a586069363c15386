// Construction, destruction and accounting of the environment.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>

#include "vakbase/allocation_list.h"
#include "vakbase/globals.h"
#include "vakenv/core/create.h"
#include "vakenv/core/debugger.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/core/version.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/extractable.h"
#include "vaksupport/symbol_table.h"

namespace {

constexpr VakInt PooledMemoryFlag = 1;  // bit 0 of _flags
constexpr VakInt SymbolTableSize = 31;  // buckets of a fresh symbol table

// Links what debuggers read into every program that has an environment.
[[gnu::used, gnu::retain]] const VakDebuggerTypes* const DescribedTypes = &VakDescribedTypes;

bool usesPooledMemory() { return std::getenv("VAK_NO_MEMORY_MANAGER") == nullptr; }

}  // namespace

VakEnvI::VakEnvI()
    : _useMemoryManager(usesPooledMemory() ? 1 : 0),
      _memory(_useMemoryManager),
      _memoryMode(_useMemoryManager),
      _out(&std::cout),
      _warning(&std::cerr),
      _error(&std::cerr),
      _timer(VakMemoryManager()),
      _mutex(Mutex),
      _version(VakTarnVersion::_identification) {
  VakInitGlobals();
  if (usesPooledMemory()) _flags |= PooledMemoryFlag;
  _timer.start();
  try {
    makeServices();
  } catch (const std::bad_alloc&) {
    throw VakMemoryException();
  }
}

// The order is part of the contract: each service may use those before it.
void VakEnvI::makeServices() {
  _allocator = new VakTarnAlloc(this);
  _cloneManager = new VakCloneManager(this);
  _destroyables = new VakDestroyableList(this);
  _symbolTable = VakCreate<VakSymbolTable>(this, SymbolTableSize);
  _idManager = new VakIdManager(&_memory);
  _plugInManager = new VakPlugInManager(this);
  makeTermAllocator();
  _intDomains = VakCreate<VakIntSharedDomainHash>(this);
  _intDomains->create();
  _numDomains = VakCreate<VakNumSharedDomainHash>(this);
  _numDomains->create();
}

void VakEnvI::makeTermAllocator() {
  _termSize = TermSize;
  _termAllocator = new VakFixedSizeAllocatorI(_termSize);
  _termAllocator->_pooled = _useMemoryManager;
  _memory.countFor(_termAllocator);
  if (_useMemoryManager == 0 && _termAllocator->_list == nullptr) {
    _termAllocator->_list = new VakAllocationList;
  }
}

VakEnvI::~VakEnvI() noexcept(false) {
  std::exception_ptr first;
  while (_endedSteps < EndSteps) {
    try {
      end();
    } catch (...) {
      if (!first) first = std::current_exception();
    }
  }
  if (first) std::rethrow_exception(first);
}

const char* VakEnvI::getVersion() const { return _version; }

VakInt VakEnvI::getMemoryUsage() const {
  return _memory.getMemoryUsage() + _termAllocator->_bytesInUse;
}

VakInt VakEnvI::getTotalMemoryUsage() const {
  return _memory.getTotalMemoryUsage() + _termAllocator->_bytesObtained;
}

VakInt VakEnvI::getIdManagerMemoryUsage() const { return _idManager->getMemoryUsage(); }

void VakEnvI::removeVerticalEnv(void* obj) {
  if (obj == nullptr) return;
  VakExtractableI* e = static_cast<VakExtractableI*>(obj);
  if (_typedLists.isOn()) _typedLists.remove(e);
  forgetExtractable(e);
  _idManager->freeId(e->id);
  e->id = -1;
  delete e;
}

// The end of an environment, in 16 steps.
//
// User destructors run in steps 1, 2, 3, 6, 7 and 11. Whatever they reach that is already gone is
// harmless: destroyable calls without a list, identifier calls on an ended manager, release() and
// giving memory back to the pool, which outlives all steps.

#include "vakenv/core/environment_impl.h"
#include "vakenv/domains/shared_domain_hash.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/properties/extension_slot.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/extractable.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"

namespace {

// Holds a word at 1 for the life of a scope.
class Raised {
 public:
  explicit Raised(VakInt& word) : _word(word) { _word = 1; }
  ~Raised() { _word = 0; }
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;

 private:
  VakInt& _word;
};

}  // namespace

// The steps in their order. One that walks a list of user objects is entered again after a user
// destructor threw, because the object that threw has left the list; every other one is over once
// it was entered.
const VakEnvI::EndStep VakEnvI::EndStepList[EndSteps] = {
    {&VakEnvI::endExtension, false},   {&VakEnvI::endDestroyables, true},
    {&VakEnvI::endAlgorithms, true},   {&VakEnvI::forgetExpander, false},
    {&VakEnvI::endTypedLists, false},  {&VakEnvI::unsetDeleter, false},
    {&VakEnvI::endExtractables, true}, {&VakEnvI::endIdentifiers, false},
    {&VakEnvI::endDomains, false},     {&VakEnvI::endRandom, false},
    {&VakEnvI::endPlugIns, true},      {&VakEnvI::endManagers, false},
    {&VakEnvI::endSymbols, false},     {&VakEnvI::endTerms, false},
    {&VakEnvI::endAllocator, false},   {&VakEnvI::endMarksAndLocalEnv, false}};

void VakEnvI::end() {
  while (_endedSteps < EndSteps) {
    const EndStep& step = EndStepList[_endedSteps];
    const VakInt done = _endedSteps + 1;
    if (!step.walksUserObjects) _endedSteps = done;
    (this->*step.run)();
    _endedSteps = done;
  }
}

void VakEnvI::endExtension() { VakExtensionSlot(_allocator, _extension).end(); }

void VakEnvI::endDestroyables() {
  {
    const Raised ending(_ending);
    _destroyables->destroyAll();
  }
  delete _destroyables;
  _destroyables = nullptr;
}

// The expander is an algorithm and ended as one.
void VakEnvI::forgetExpander() { _expander = nullptr; }

void VakEnvI::endTypedLists() { _typedLists.end(this); }

void VakEnvI::endIdentifiers() {
  _registry.references.end();
  _idManager->end();
}

void VakEnvI::endRandom() { delete _random; }

void VakEnvI::endSymbols() { delete _symbolTable; }

void VakEnvI::endTerms() { delete _termAllocator; }

void VakEnvI::endAllocator() {
  _life.end();
  delete _allocator;
}

// An algorithm that does not detach itself, or throws before it does, is unlinked here, so that the
// end always comes. Detaching moves every walk on, so a walk that still stands before the head
// tells that it is the same algorithm, and not a new one at the address of one that is gone.
void VakEnvI::endAlgorithms() {
  while (_algorithms != nullptr) {
    VakAlgorithmI* head = _algorithms;
    VakWalk<VakAlgorithmI> walk(_registry.algorithmWalks, head);
    try {
      head->end();
    } catch (...) {
      if (walk.next() == head) removeAlgorithm(head);
      throw;
    }
    if (walk.next() == head) removeAlgorithm(head);
  }
}

// Only without pooled memory: the pool releases all such memory at once, and then this step is
// skipped on purpose. A null slot belongs to a thread-safe booking and a hidden one to a removal
// that was broken off: both only lose their identifier.
void VakEnvI::endExtractables() {
  if (_useMemoryManager != 0) return;
  const Raised ending(_ending);
  for (VakInt id = 0; id < _idManager->_size; ++id) {
    void* slot = _idManager->_data[id];
    if (_idManager->isLink(slot)) continue;
    const bool live = _idManager->isLive(id);
    VakExtractableI* e = static_cast<VakExtractableI*>(slot);
    if (live) forgetExtractable(e);
    _idManager->freeId(id);
    if (!live) continue;
    e->id = -1;
    delete e;
  }
}

void VakEnvI::endDomains() {
  delete _intDomains;
  delete _numDomains;
  _intDomains = nullptr;
  _numDomains = nullptr;
}

// The manager goes when nothing is filed any more. Algorithms and a deleter that user destructors
// brought in since their steps end here.
void VakEnvI::endPlugIns() {
  const Raised ending(_ending);
  _plugInManager->end();
  endAlgorithms();
  unsetDeleter();
  delete _plugInManager;
}

// A bin that an exception left behind is released first, silently.
void VakEnvI::endManagers() {
  closeRecycleBin();
  delete _idManager;
  delete _cloneManager;
}

void VakEnvI::endMarksAndLocalEnv() {
  freeMarks();
  while (_localEnv != nullptr) {
    VakLocalEnvI* head = _localEnv;
    _localEnv = head->_next;
    delete head;
  }
  if constexpr (VakChecksMemory) VakMemoryLedger::WriteLeftovers(&_memory);
}

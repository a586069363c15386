// The deep check of an environment: asks every subsystem for its own proof, in an order in which
// each may rely on those before it.

#include <typeinfo>

#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakbase/memory_ledger.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/recycle_bin.h"
#include "vaksupport/symbol_table.h"

namespace {

// The step of the end in which the services go that check() needs.
constexpr VakInt StepWithoutServices = 12;

// Gathers a line for each structure that is broken.
class Findings {
 public:
  void add(const char* structure, const std::string& fault) {
    if (fault.empty()) return;
    if (!_text.empty()) _text += '\n';
    _text += VakNameFault(structure, fault);
  }
  [[nodiscard]] bool isEmpty() const { return _text.empty(); }
  [[nodiscard]] const std::string& getText() const { return _text; }

 private:
  std::string _text;
};

// What arrays hold by the counts: each has a table, and a table takes a word at least.
std::string checkTally(const VakArrayTally& tally) {
  constexpr auto smallestTable = static_cast<VakInt>(sizeof(char*));
  const VakInt tables = tally.getTables();
  const VakInt bytes = tally.getBytes();
  if (tables >= 0 && bytes >= 0 && tables <= bytes / smallestTable) return "";
  return VakFaultText("the counts are ", bytes, " bytes of ", tables, " tables");
}

// Every array in the pool, whoever made it. Only the checked build knows where they are.
std::string checkArrays([[maybe_unused]] const VakMemoryInspection& pool,
                        [[maybe_unused]] const VakEnvI& env) {
  if constexpr (VakChecksMemory) {
    VakInt tables = 0;
    for (const VakMemoryLedger::Element& element : VakMemoryLedger::GetElements(&env._memory)) {
      if (element.type == nullptr || *element.type != typeid(VakArrayI)) continue;
      const auto* array = static_cast<const VakArrayI*>(element.start);
      const std::string fault = array->check(&pool);
      if (!fault.empty()) return VakFaultText("array ", element.start, ": ", fault);
      if (array->_memoryManager == env._allocator && array->_data != nullptr) ++tables;
    }
    // Arrays that do not lie in the pool themselves may have storage there as well.
    if (tables > env._arrayTally.getTables()) {
      return VakFaultText(tables, " have storage, but ", env._arrayTally.getTables(),
                          " are counted");
    }
  }
  return "";
}

}  // namespace

std::string VakEnvI::check() const {
  if (_endedSteps >= StepWithoutServices) return "environment: it has ended";
  Findings findings;
  findings.add("record", checkRecord());
  const VakMemoryInspection pool(_memory, {_termAllocator});
  findings.add("pool", pool.check());
  if (!findings.isEmpty()) return findings.getText();

  const std::string ids = _idManager->check();
  findings.add("identifiers", ids);
  if (ids.empty()) {
    const std::string extractables = checkExtractables(pool);
    findings.add("extractables", extractables);
    if (extractables.empty()) findings.add("properties", checkProperties(pool));
    findings.add("typed lists", _typedLists.check(_idManager, &pool));
    if (_recycleBin != nullptr) findings.add("recycle bin", _recycleBin->check(&pool));
  }
  findings.add("destroyables", checkDestroyables(pool));
  findings.add("algorithms", checkAlgorithms(pool));
  findings.add("plug-ins", _plugInManager->check(&pool));
  findings.add("clones", _cloneManager->check(&pool));
  findings.add("symbols", _symbolTable->check(&pool));
  findings.add("shared domains", checkDomains(pool));
  findings.add("mark arrays", checkMarkArrays());
  const std::string tally = checkTally(_arrayTally);
  findings.add("arrays", tally.empty() ? checkArrays(pool, *this) : tally);
  return findings.getText();
}

// The members that no subsystem but the environment itself keeps.
std::string VakEnvI::checkRecord() const {
  const VakInt pooled = _useMemoryManager;
  if (pooled != 0 && pooled != 1) return VakFaultText("_useMemoryManager is ", pooled);
  if ((_flags & 1) != pooled) return VakFaultText("_flags is ", _flags, " with pooling ", pooled);
  for (const VakFixedSizeAllocatorI* sizeClass : _memory._allocators) {
    if (sizeClass->_pooled == pooled) continue;
    return VakFaultText("the class of ", sizeClass->_elementSize, " bytes has pooling ",
                        sizeClass->_pooled, ", the environment ", pooled);
  }
  if (_termSize != TermSize || _termAllocator->_elementSize != TermSize) {
    return VakFaultText("terms have ", _termSize, " bytes, elements of their pool ",
                        _termAllocator->_elementSize);
  }
  if (_termAllocator->_pooled != pooled) {
    return VakFaultText("the term pool has pooling ", _termAllocator->_pooled);
  }
  if (_ending != 0 && _ending != 1) return VakFaultText("_ending is ", _ending);
  if (_deleter == nullptr && _deleterLevel != 0) {
    return VakFaultText("the deleter level is ", _deleterLevel, " without a deleter");
  }
  if (_mtSafeAllocation != 0 && _localEnv == nullptr) {
    return "thread-safe allocation is on without a local environment";
  }
  const auto next = [](const VakLocalEnvI* local) { return local->_next; };
  const auto visit = [this](const VakLocalEnvI* local) -> std::string {
    if (local->_env == this) return "";
    return VakFaultText("local environment ", static_cast<const void*>(local),
                        " serves another environment");
  };
  return VakCheckChain(_localEnv, next, visit);
}

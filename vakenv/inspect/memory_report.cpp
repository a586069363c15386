#include "vakenv/inspect/memory_report.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <typeindex>

#include "vakbase/memory_ledger.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/extractable.h"
#include "vaksupport/symbol_table.h"

namespace {

using SizeClass = VakMemoryReport::SizeClass;
using Type = VakMemoryReport::Type;
using Amounts = std::map<std::string, VakMemoryReport::Amount>;

// Bytes of the element that serves a request.
VakInt elementBytes(VakInt size) {
  return size == 0 ? 0 : VakMemory::getElementSize(VakMemory::getIndex(size));
}

SizeClass describe(const VakFixedSizeAllocatorI& allocator, const VakMemory::Growth& growth) {
  SizeClass result;
  result.elementSize = allocator._elementSize;
  result.live = allocator._bytesInUse / allocator._elementSize;
  result.peak = result.live;
  if (allocator._pooled == 0) return result;
  result.blocks = static_cast<VakInt>(growth._blocks);
  result.elements = growth._elements;
  result.free = result.elements - result.live;
  result.wasted = result.free * result.elementSize;
  // A block is obtained when every element is in use, for one more.
  if (growth._elements != 0) {
    result.peak = std::max(result.live, growth._elements - growth._lastBlock + 1);
  }
  return result;
}

// Elements of terms may come from the class of their size and go to the pool of terms, or the other
// way round. Whoever got more back than it handed out then counts as having obtained what is more.
void settle(SizeClass& receiver, SizeClass& giver, bool isPooled) {
  const VakInt moved = -receiver.live;
  if (moved <= 0) return;
  receiver.live = 0;
  receiver.peak = std::max<VakInt>(receiver.peak, 0);
  giver.live -= moved;
  giver.peak = std::max(giver.live, giver.peak - moved);
  if (!isPooled) return;
  receiver.elements += moved;
  giver.elements -= moved;
}

void count(VakMemoryReport::Amount& amount, VakInt bytes) {
  ++amount.count;
  amount.bytes += bytes;
}

// As a program writes it. Throws std::bad_alloc.
std::string nameOf(const char* mangled) {
  constexpr int noMemory = -1;
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), std::free);
  if (status == noMemory) throw std::bad_alloc();
  return name != nullptr ? name.get() : mangled;
}

std::vector<Type> listOf(const Amounts& amounts) {
  std::vector<Type> types;
  for (const auto& [name, amount] : amounts) types.push_back({name, amount.count, amount.bytes});
  return types;
}

std::vector<Type> listTypes(const VakEnvI* env, VakMemoryReport::Amount& identifiers) {
  std::map<std::type_index, VakMemoryReport::Amount> amounts;
  const auto add = [&](const auto* object) {
    count(amounts[typeid(*object)], elementBytes(object->getExtractableSize()));
  };
  const VakIdManager* ids = env->_idManager;
  for (VakInt id = 0; id < ids->_size && ids->isInTable(id); ++id) {
    if (!ids->isLink(ids->_data[id])) ++identifiers.count;
    if (ids->isLive(id)) add(static_cast<const VakExtractableI*>(ids->_data[id]));
  }
  identifiers.bytes = ids->getMemoryUsage();
  if (env->_destroyables != nullptr) {
    using Element = VakDestroyableList::Element;
    for (const Element* e = env->_destroyables->first; e != nullptr; e = e->next) {
      add(e->destroyable);
    }
  }
  Amounts named;  // Types that are one to the program may be several in its shared libraries.
  for (const auto& [type, amount] : amounts) {
    VakMemoryReport::Amount& sum = named[nameOf(type.name())];
    sum = {sum.count + amount.count, sum.bytes + amount.bytes};
  }
  return listOf(named);
}

VakMemoryReport::Amount describeArrays(const VakArrayTally& tally) {
  const VakInt arrays = tally.getTables();
  return {arrays, arrays * elementBytes(sizeof(VakArrayI)) + tally.getBytes()};
}

// What the book of the checked build knows, where there is one. Kept from the compiler elsewhere: a
// build without optimisation would link what is never called.
#ifdef VAK_CHECKED_MEMORY
void describeElements(const VakEnvI* env, VakMemoryReport& report) {
  Amounts amounts;
  for (const VakMemoryLedger::Element& element : VakMemoryLedger::GetElements(&env->_memory)) {
    count(amounts[VakMemoryLedger::GetTypeName(element.type)], element.elementSize);
  }
  report.made = listOf(amounts);
}
#else
void describeElements(const VakEnvI* /*env*/, VakMemoryReport& /*report*/) {}
#endif

// ---- Differences --------------------------------------------------------------------------------

SizeClass subtract(const SizeClass& a, const SizeClass& b) {
  return {a.elementSize,   a.blocks - b.blocks, a.elements - b.elements, a.live - b.live,
          a.free - b.free, a.peak - b.peak,     a.wasted - b.wasted};
}

VakMemoryReport::Amount subtract(const VakMemoryReport::Amount& a,
                                 const VakMemoryReport::Amount& b) {
  return {a.count - b.count, a.bytes - b.bytes};
}

std::vector<SizeClass> subtract(const std::vector<SizeClass>& later,
                                const std::vector<SizeClass>& earlier) {
  std::map<VakInt, SizeClass> classes;
  for (const SizeClass& c : later) classes[c.elementSize] = c;
  for (const SizeClass& c : earlier) {
    SizeClass& place = classes[c.elementSize];
    place.elementSize = c.elementSize;
    place = subtract(place, c);
  }
  std::vector<SizeClass> changed;
  for (const auto& [size, c] : classes) {
    if (c != SizeClass{size}) changed.push_back(c);
  }
  return changed;
}

std::vector<Type> subtract(const std::vector<Type>& later, const std::vector<Type>& earlier) {
  Amounts amounts;
  for (const Type& type : later) amounts[type.name] = {type.count, type.bytes};
  for (const Type& type : earlier) {
    amounts[type.name] = subtract(amounts[type.name], {type.count, type.bytes});
  }
  std::erase_if(amounts,
                [](const auto& entry) { return entry.second == VakMemoryReport::Amount(); });
  return listOf(amounts);
}

}  // namespace

VakMemoryReport::VakMemoryReport(VakEnv handle) {
  const VakEnvI* env = handle.getImpl();
  if (env == nullptr) throw VakEmptyHandleException("VakEnv: Using empty handle");
  const VakMemory& memory = env->_memory;
  isPooled = env->_useMemoryManager != 0;
  isChecked = VakChecksMemory;
  terms = describe(*env->_termAllocator, memory.getCompanionGrowth());
  for (VakInt index = 0; index < VakMemory::ClassCount; ++index) {
    SizeClass c = describe(*memory._allocators[index], memory.getGrowth(index));
    if (c.elementSize == terms.elementSize) {
      settle(terms, c, isPooled);
      settle(c, terms, isPooled);
    }
    if (c != SizeClass{c.elementSize}) classes.push_back(c);
  }
  types = listTypes(env, identifiers);
  symbols = {env->_symbolTable->getSize(), env->_symbolTable->getMemoryUsage()};
  arrays = describeArrays(env->_arrayTally);
  describeElements(env, *this);
  inUse = env->getMemoryUsage();
  obtained = env->getTotalMemoryUsage();
  highWater = memory.getHighWater();
}

VakMemoryReport VakMemoryReport::operator-(const VakMemoryReport& earlier) const {
  VakMemoryReport difference;
  difference.isPooled = isPooled;
  difference.isChecked = isChecked;
  difference.classes = subtract(classes, earlier.classes);
  difference.terms = subtract(terms, earlier.terms);
  difference.types = subtract(types, earlier.types);
  difference.identifiers = subtract(identifiers, earlier.identifiers);
  difference.symbols = subtract(symbols, earlier.symbols);
  difference.arrays = subtract(arrays, earlier.arrays);
  difference.made = subtract(made, earlier.made);
  difference.inUse = inUse - earlier.inUse;
  difference.obtained = obtained - earlier.obtained;
  difference.highWater = highWater - earlier.highWater;
  return difference;
}

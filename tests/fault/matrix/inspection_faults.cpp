// Checks of the structures, which look at the free lists, so that these are not kept aside; and the
// cache of slabs.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/model_world.h"
#include "vakbase/fault_text.h"
#include "vakbase/memory_inspection.h"
#include "vakbase/slab_cache.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/recycle_bin.h"
#include "vakmodel/check.h"
#include "vaksupport/symbol_table.h"

namespace {

// A check of a healthy world, which may take memory of the heap but none of the environment.
VakScene checking(VakStage& s, std::string (*check)(VakModelWorld& w)) {
  auto& w = s.keep<VakModelWorld>(s);
  w.x.setNumProperty("weight", 2);
  w.env.makeSymbol("flow");
  return {.act = [&w, check] {
    if (!check(w).empty()) throw std::logic_error("a defect");
  }};
}

const std::vector<VakFaultOperation> _operations = {
    {"check an environment", "VakEnv::check VakEnvI::check",
     [](VakStage& s) {
       return checking(s,
                       [](VakModelWorld& w) { return w.env.check() + w.env.getImpl()->check(); });
     },
     VakStageKind::Unstarved},
    {"check the models of an environment", "VakCheckModels",
     [](VakStage& s) {
       return checking(s, [](VakModelWorld& w) { return VakCheckModels(w.env); });
     },
     VakStageKind::Unstarved},
    {"check the services of an environment",
     "VakCloneManager::check VakPlugInManager::check VakSymbolTable::check "
     "VakNamedPropertySetI::check VakRecycleBinI::check",
     [](VakStage& s) {
       return checking(s, [](VakModelWorld& w) {
         const VakEnvI* env = w.env.getImpl();
         VakRecycleBinI bin(w.env.getImpl());
         std::string text = bin.check();
         bin.end();
         text += env->_cloneManager->check() + env->_plugInManager->check();
         return text + env->_symbolTable->check() + w.x.getProperties().getImpl()->check();
       });
     },
     VakStageKind::Unstarved},
    {"inspect a pool",
     "VakMemoryInspection::VakMemoryInspection VakMemoryInspection::check "
     "VakMemoryInspection::isFree VakIsGone VakMemory::getGrowth VakMemory::getCompanionGrowth "
     "VakMemory::countFor",
     [](VakStage& s) {
       return checking(s, [](VakModelWorld& w) {
         VakMemory& memory = w.env.getImpl()->_memory;
         memory.countFor(w.env.getImpl()->_termAllocator);
         const VakMemoryInspection inspection(memory, {w.env.getImpl()->_termAllocator});
         if (inspection.isFree(&w) || VakIsGone(&inspection, &w))
           return std::string("what is not of the pool");
         if (memory.getGrowth(3)._elements < 0 || memory.getCompanionGrowth()._elements < 0) {
           return std::string("a count");
         }
         return inspection.check();
       });
     },
     VakStageKind::Unstarved},
    {"say what is broken", "VakFaultText VakNameFault VakCheckChain",
     [](VakStage& /*s*/) {
       return VakScene{.act = [] {
         const std::string text = VakNameFault("a structure", VakFaultText("item ", 3, " of ", 4));
         if (text != "a structure: item 3 of 4") throw std::logic_error("a text");
         struct Link {
           const Link* next;
         };
         const Link second{nullptr};
         const Link first{&second};
         const std::string broken = VakCheckChain(
             &first, [](const Link* link) { return link->next; },
             [](const Link* link) { return std::string(link->next == nullptr ? "the last" : ""); });
         if (broken != "the last") throw std::logic_error("a chain");
       }};
     }},
    {"let slabs wait",
     "VakSlabCache::Take VakSlabCache::GiveBack VakEmptySlabCache VakGetSlabCacheUsage "
     "VakSetSlabCacheLimit",
     [](VakStage& s) {
       auto& slab = s.keep<void*>(nullptr);
       constexpr VakInt usualLimit = VakInt{128} << 20;
       return VakScene{.act =
                           [&] {
                             VakSetSlabCacheLimit(usualLimit);
                             if (slab == nullptr)
                               slab = VakSlabCache::Take(VakSlabCache::HugeBytes);
                             void* small = VakSlabCache::Take(VakSlabCache::SmallestBytes);
                             VakSlabCache::GiveBack(small, VakSlabCache::SmallestBytes);
                           },
                       .undo =
                           [&] {
                             VakSlabCache::GiveBack(slab, VakSlabCache::HugeBytes);
                             slab = nullptr;
                             VakEmptySlabCache();
                             if (VakGetSlabCacheUsage() != 0) std::abort();
                           }};
     }},
};

}  // namespace

VakFaultGroup VakInspectionFaults() { return {"Checks and the slab cache", _operations}; }

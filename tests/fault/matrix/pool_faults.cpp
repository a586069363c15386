// Memory below the environment: the pool on its own, lists of heap blocks, stacks.

#include "tests/fault/matrix/groups.h"
#include "vakbase/allocation_list.h"
#include "vakbase/allocation_stack.h"
#include "vakbase/memory.h"

namespace {

// A pool with an allocator of its own that draws from it.
struct Pool {
  VakMemory memory{1};
  VakFixedSizeAllocatorI terms{24};
  std::vector<void*> elements;
};

const std::vector<VakFaultOperation> _operations = {
    {"take and give back an element of a list",
     "VakAllocationList::VakAllocationList VakAllocationList::alloc VakAllocationList::free "
     "VakAllocationList::check VakAllocationList::countElements",
     [](VakStage& s) {
       auto& list = s.keep<VakAllocationList>();
       auto& element = s.keep<void*>(nullptr);
       return VakScene{
           .act = [&] { element = list.alloc(100); },
           .undo = [&] { VakAllocationList::free(element); },
           .afterFailure = [&] { return list.countElements() == 0 ? list.check() : "an element"; },
           .afterSuccess = [&] { return list.check(); }};
     }},
    {"take and give back blocks of a stack",
     "VakAllocationStack::VakAllocationStack VakAllocationStack::allocate VakAllocationStack::free "
     "VakAllocationStack::getMemoryUsage VakAllocationStack::getTotalMemoryUsage "
     "VakAllocationStack::check",
     [](VakStage& s) {
       struct Blocks {
         VakAllocationStack stack;
         std::vector<void*> taken = std::vector<void*>(8);
         long count = 0;
       };
       auto& blocks = s.keep<Blocks>();
       return VakScene{.act =
                           [&] {
                             while (blocks.count < 8) {
                               const auto next = static_cast<std::size_t>(blocks.count);
                               blocks.taken[next] = blocks.stack.allocate(3000);
                               ++blocks.count;
                             }
                           },
                       .undo =
                           [&] {
                             while (blocks.count > 0) {
                               const auto last = static_cast<std::size_t>(--blocks.count);
                               blocks.stack.free(blocks.taken[last], 3000);
                             }
                           },
                       .afterFailure = [&]() -> std::string {
                         const VakAllocationStack& stack = blocks.stack;
                         if (stack.getMemoryUsage() != blocks.count * 3008) return "its usage";
                         if (stack.getTotalMemoryUsage() < stack.getMemoryUsage()) {
                           return "its total usage";
                         }
                         return stack.check();
                       },
                       .afterSuccess = [&] { return blocks.stack.check(); }};
     }},
    {"take and give back elements of a pool",
     "VakMemory::VakMemory VakMemory::allocate VakMemory::deallocate VakMemory::getMemoryUsage "
     "VakMemory::getTotalMemoryUsage VakMemory::check VakMemory::getIndex "
     "VakMemory::getElementSize VakSizeClasses::GetElementSize VakSizeClasses::GetGeometricIndex",
     [](VakStage& s) {
       auto& pool = s.keep<Pool>();
       pool.elements.reserve(20);
       return VakScene{
           .act =
               [&] {
                 while (pool.elements.size() < 20) {
                   pool.elements.push_back(pool.memory.allocate(pool.elements.size() * 2000 + 8));
                 }
               },
           .undo =
               [&] {
                 for (; !pool.elements.empty(); pool.elements.pop_back()) {
                   pool.memory.deallocate(pool.elements.back(),
                                          (pool.elements.size() - 1) * 2000 + 8);
                 }
               },
           .afterFailure = [&]() -> std::string {
             long bytes = 0;
             for (std::size_t i = 0; i < pool.elements.size(); ++i) {
               const long index = VakMemory::getIndex(static_cast<long>(i * 2000 + 8));
               bytes += VakMemory::getElementSize(index);
               if (VakSizeClasses::GetElementSize(index) < static_cast<long>(i * 2000 + 8)) {
                 return "a size class";
               }
             }
             if (pool.memory.getMemoryUsage() != bytes) return "its usage";
             if (pool.memory.getTotalMemoryUsage() < bytes) return "its total usage";
             return pool.memory.check();
           },
           .afterSuccess = [&]() -> std::string {
             if (VakSizeClasses::GetGeometricIndex(129) != 16) return "the first large class";
             return pool.memory.check();
           }};
     }},
    {"take a block for an allocator of its own",
     "VakFixedSizeAllocatorI::VakFixedSizeAllocatorI VakFixedSizeAllocatorI::allocate "
     "VakFixedSizeAllocatorI::deallocate VakFixedSizeAllocatorI::allocateBlock "
     "VakMemory::obtainBlock VakFixedSizeAllocatorI::LoadLink VakFixedSizeAllocatorI::StoreLink",
     [](VakStage& s) {
       auto& pool = s.keep<Pool>();
       pool.elements.resize(2);
       return VakScene{.act =
                           [&] {
                             if (pool.elements[0] == nullptr) {
                               pool.elements[0] = pool.terms.allocate(&pool.memory);
                             }
                             pool.elements[1] = pool.terms.allocateBlock(&pool.memory);
                             static_cast<void>(pool.memory.obtainBlock(24));
                           },
                       .undo =
                           [&] {
                             pool.terms.deallocate(pool.elements[0]);
                             // What allocateBlock returns is not counted, and goes with the pool.
                             void* link = nullptr;
                             VakFixedSizeAllocatorI::StoreLink(pool.elements[1], &link);
                             if (VakFixedSizeAllocatorI::LoadLink(pool.elements[1]) != &link)
                               std::abort();
                           },
                       .afterFailure = [&] { return pool.memory.check({&pool.terms}); }};
     }},
};

}  // namespace

VakFaultGroup VakPoolFaults() { return {"The pool on its own", _operations}; }

// Owners of environments, scopes of modes, and containers of the standard library.

#include <list>
#include <map>
#include <memory_resource>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakbase/terminated_text.h"
#include "vakenv/core/env_owner.h"
#include "vakenv/core/thread_safe_scope.h"
#include "vakenv/memory/memory_resource.h"
#include "vakenv/memory/std_allocator.h"

namespace {

VakEnv noEnv() { return VakEnv(static_cast<VakEnvI*>(nullptr)); }

// An environment the end of which can fail, for an owner.
VakEnv makeFailingEnv() {
  const VakEnv env;
  VakCreate<VakUserDestroyable>(env.getImpl())->_mayThrowAtEnd = true;
  return env;
}

// Owners with an environment each.
struct Owners {
  VakEnvOwner first{makeFailingEnv()};
  VakEnvOwner second{makeFailingEnv()};
  VakEnvI* taken = second.get().getImpl();  // What the first one is to own in the end.

  // Gives the second one an environment again when the first one has taken its own.
  void refill() {
    second.reset(makeFailingEnv());
    taken = second.get().getImpl();
  }
};

// Larger than what memory managers align to.
struct alignas(64) Aligned {
  std::array<char, 64> bytes;
};

// Takes and gives back memory of all alignments through allocators of one memory manager.
VakScene allocating(VakStage& s, VakMemoryManager manager) {
  struct Blocks {
    explicit Blocks(VakMemoryManager m) : numbers(m), pairs(m) {}
    VakStdAllocator<double> numbers;
    VakStdAllocator<Aligned> pairs;
    double* first = nullptr;
    Aligned* second = nullptr;
    void* third = nullptr;
  };
  auto& blocks = s.keep<Blocks>(manager);
  return {.act =
              [&blocks, manager] {
                const VakStdMemory memory(manager);
                bool fine = blocks.numbers == blocks.pairs && blocks.pairs.getMemory() == memory;
                fine = fine && blocks.numbers.getMemoryManager() == memory.getMemoryManager();
                if (blocks.first == nullptr) blocks.first = blocks.numbers.allocate(7);
                if (blocks.second == nullptr) blocks.second = blocks.pairs.allocate(2);
                if (blocks.third == nullptr) blocks.third = memory.allocate(24, 16);
                const auto address = reinterpret_cast<std::uintptr_t>(blocks.second);
                if (!fine || address % alignof(Aligned) != 0) throw std::logic_error("an answer");
              },
          .undo =
              [&blocks, manager] {
                blocks.numbers.deallocate(blocks.first, 7);
                blocks.pairs.deallocate(blocks.second, 2);
                VakStdMemory(manager).deallocate(blocks.third, 24, 16);
              },
          .mayKeep = "the blocks that were taken before are held"};
}

// Fills containers of allocators, copies, moves and swaps them.
void useContainers(VakMemoryManager manager, VakMemoryManager other) {
  using Pair = std::pair<const int, VakString>;
  using Map = std::map<int, VakString, std::less<>, VakStdAllocator<Pair>>;
  Map names{VakStdAllocator<Pair>(manager)};
  for (int i = 0; i < 4; ++i) names.emplace(i, VakString(40, 'x', manager));
  VakVector<double> numbers(manager);
  for (int i = 0; i < 40; ++i) numbers.push_back(i);
  VakVector<double> copy(other);
  copy = numbers;
  VakVector<double> moved(std::move(numbers));
  moved.swap(copy);
  std::list<Aligned, VakStdAllocator<Aligned>> list{VakStdAllocator<Aligned>(other)};
  list.resize(3);
  if (names.size() != 4 || moved != copy || list.size() != 3) throw std::logic_error("an answer");
}

const std::vector<VakFaultOperation> _operations = {
    {"own a new environment", "VakEnvOwner::VakEnvOwner VakEnvOwner::get",
     [](VakStage& s) {
       auto& owner = s.keep<std::unique_ptr<VakEnvOwner>>();
       return VakScene{.act =
                           [&owner] {
                             owner = std::make_unique<VakEnvOwner>();
                             if (owner->get().getImpl() == nullptr) throw std::logic_error("none");
                           },
                       .undo = [&owner] { owner.reset(); },
                       .afterFailure = [&owner]() -> std::string {
                         return owner == nullptr ? "" : "an owner is there";
                       }};
     },
     VakStageKind::Unstarved},
    {"leave the scope of an owner", "VakEnvOwner::VakEnvOwner",
     [](VakStage& s) {
       auto& env = s.keep<VakEnv>(makeFailingEnv());
       return VakScene{.act = [&env] { const VakEnvOwner owner(std::exchange(env, noEnv())); },
                       .prepare = [&env] { env = makeFailingEnv(); }};
     }},
    {"leave the scope of an owner by an exception", "VakEnvOwner::VakEnvOwner",
     [](VakStage& s) {
       auto& env = s.keep<VakEnv>(makeFailingEnv());
       return VakScene{
           .act =
               [&env] {
                 try {
                   const VakEnvOwner owner(std::exchange(env, noEnv()));
                   throw std::out_of_range("the user's own");
                 } catch (const std::out_of_range&) {
                 }
               },
           .mayAbsorb = {{VakFaultKind::Callback, "the exception that leaves the scope counts"}}};
     }},
    {"hand an environment from owner to owner",
     "VakEnvOwner::operator= VakEnvOwner::operator_bool VakEnvOwner::get",
     [](VakStage& s) {
       auto& owners = s.keep<Owners>();
       return VakScene{.act =
                           [&owners] {
                             if (!owners.second) throw std::logic_error("nobody owns");
                             owners.first = std::move(owners.second);
                           },
                       .undo = [&owners] { owners.first.reset(); },
                       .prepare = [&owners] { owners.refill(); },
                       .afterFailure = [&owners]() -> std::string {
                         if (owners.second) return "two owners own";
                         return owners.first.get().getImpl() == owners.taken ? "" : "nobody owns";
                       }};
     }},
    {"let an owner own another environment", "VakEnvOwner::reset VakEnvOwner::release",
     [](VakStage& s) {
       auto& owners = s.keep<Owners>();
       return VakScene{.act = [&owners] { owners.first.reset(owners.second.release()); },
                       .undo = [&owners] { owners.first.reset(); },
                       .prepare = [&owners] { owners.refill(); },
                       .afterFailure = [&owners]() -> std::string {
                         return owners.first.get().getImpl() == owners.taken ? "" : "nobody owns";
                       }};
     }},
    {"install a mutex for a scope", "VakInstalledMutex::VakInstalledMutex VakInstalledMutex::get",
     [](VakStage& /*s*/) {
       return VakScene{.act = [] {
         VakInstalledMutex mutex;
         const std::scoped_lock lock(mutex.get());
         bool isRefused = false;
         try {
           const VakInstalledMutex second;
         } catch (const VakWrongUsage&) {
           isRefused = true;
         }
         if (!isRefused || !VakIsMTEnabled()) throw std::logic_error("an answer");
       }};
     }},
    {"keep thread-safe mode on for a scope", "VakThreadSafeScope::VakThreadSafeScope",
     [](VakStage& s) {
       auto& block = s.keep<void*>(nullptr);
       return VakScene{.act =
                           [&s, &block] {
                             const VakThreadSafeScope outer(s.env);
                             const VakThreadSafeScope inner(s.env);
                             block = s->allocate(40);
                           },
                       .undo = [&s, &block] { s->giveBack(block, 40); },
                       .afterFailure = [&s]() -> std::string {
                         return s->_mtSafeAllocation == 0 && s->_localEnv == nullptr
                                    ? ""
                                    : "thread-safe mode is on";
                       }};
     },
     VakStageKind::Locked},
    {"allocate through an allocator of the standard library",
     "VakStdAllocator::VakStdAllocator VakStdAllocator::allocate VakStdAllocator::deallocate "
     "VakStdAllocator::getMemory VakStdAllocator::getMemoryManager VakStdAllocator::operator== "
     "VakStdMemory::VakStdMemory VakStdMemory::allocate VakStdMemory::deallocate "
     "VakStdMemory::getMemoryManager VakStdMemory::operator==",
     [](VakStage& s) { return allocating(s, s.env.getMemoryManager()); }},
    {"allocate through an allocator over a user's memory manager", "VakStdAllocator::allocate",
     [](VakStage& s) {
       return allocating(s, VakMemoryManager(&s.keep<VakUserAllocator>(s.allocator())));
     }},
    {"fill, copy and move containers", "VakStdAllocator::allocate* VakStdAllocator::deallocate*",
     [](VakStage& s) { return VakScene{.act = [&s] { useContainers(s.env, s.other); }}; }},
    {"fill, copy and move containers in a user's memory manager",
     "VakStdAllocator::allocate* VakStdAllocator::deallocate*",
     [](VakStage& s) {
       const VakMemoryManager manager(&s.keep<VakUserAllocator>(s.allocator()));
       return VakScene{.act = [&s, manager] { useContainers(manager, s.other); }};
     }},
    {"fill containers of a memory resource",
     "VakMemoryResource::VakMemoryResource VakMemoryResource::getMemoryManager",
     [](VakStage& s) {
       return VakScene{.act = [&s] {
         VakMemoryResource resource(s.env);
         const VakMemoryResource same(resource.getMemoryManager());
         std::pmr::vector<std::pmr::string> texts(&resource);
         for (int i = 0; i < 5; ++i) texts.emplace_back(40, 'x');
         const std::pmr::vector<std::pmr::string> copy(texts, &resource);
         std::pmr::list<Aligned> list(&resource);
         list.resize(3);
         if (copy != texts || resource != same) throw std::logic_error("an answer");
       }};
     }},
    {"terminate a text", "VakTerminatedText::VakTerminatedText VakTerminatedText::get",
     [](VakStage& s) {
       auto& text = s.keep<std::string>(1000, 'x');
       return VakScene{.act = [&text] {
         const VakTerminatedText copy(text);
         const VakTerminatedText brief("brief");
         if (copy.get() != text || std::string_view(brief.get()) != "brief") {
           throw std::logic_error("a text");
         }
       }};
     }},
};

}  // namespace

VakFaultGroup VakConvenienceFaults() { return {"Owners, scopes and containers", _operations}; }

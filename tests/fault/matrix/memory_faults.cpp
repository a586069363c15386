// Allocators, objects that give their memory back, identifiers.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/environment.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/memory_manager_object.h"
#include "vaksupport/stack_gen_alloc.h"
#include "vaksupport/symbol_table.h"

namespace {

// Objects over the four bases, with a constructor that can fail.
template <class Base, class Owner>
struct Object : Base {
  explicit Object(Owner owner) : Base(owner) { VakFailingCallback::Tick(); }
  [[nodiscard]] const char* getRttiTypeName() const { return "Object"; }
  [[nodiscard]] VakInt getExtractableSize() const { return sizeof(Object); }
};
using EnvObject = Object<VakEnvObjectI, VakEnvI*>;
using RttiEnvObject = Object<VakRttiEnvObjectI, VakEnvI*>;
using ManagerObject = Object<VakMemoryManagerObjectI, VakGenAlloc*>;
using RttiManagerObject = Object<VakRttiMemoryManagerObjectI, VakGenAlloc*>;

// Makes and deletes an object whose constructor is a callback.
template <class T, class Owner>
VakScene sceneOf(VakStage& s, Owner owner) {
  auto& object = s.keep<T*>(nullptr);
  return {.act = [&object, owner] { object = VakCreate<T>(owner); },
          .undo = [&object] { delete object; }};
}

const std::vector<VakFaultOperation> _operations = {
    {"take memory through the environment's allocator",
     "VakTarnAlloc::alloc VakTarnAlloc::free VakGenAlloc::alloc VakGenAlloc::free "
     "VakManagerMemory::take VakManagerMemory::giveBack VakMemoryManager::VakMemoryManager "
     "VakMemoryManager::getImpl VakMemoryManager::operator==",
     [](VakStage& s) {
       auto& blocks = s.keep<std::array<void*, 2>>();
       return VakScene{.act =
                           [&] {
                             const VakMemoryManager manager(s.allocator());
                             if (!(manager == s.env.getMemoryManager()))
                               throw std::logic_error("a manager");
                             if (blocks[0] == nullptr) blocks[0] = manager.getImpl()->alloc(88);
                             blocks[1] = VakManagerMemory{manager.getImpl()}.take(88000);
                           },
                       .undo =
                           [&] {
                             s.allocator()->free(blocks[0], 88);
                             VakManagerMemory{s.allocator()}.giveBack(blocks[1], 88000);
                           },
                       .mayKeep = "the block that was taken before is held"};
     }},
    {"make an allocator of an environment", "VakTarnAlloc::VakTarnAlloc",
     [](VakStage& s) {
       return VakScene{.act = [&] {
         const VakTarnAlloc allocator(s.impl());
         void* block = allocator.alloc(24);
         allocator.free(block, 24);
       }};
     }},
    {"save values through allocators",
     "VakTarnAlloc::saveValue VakGenAlloc::saveValue VakStackGenAlloc::saveValue",
     [](VakStage& s) {
       auto& stack = s.keep<VakAllocationStack>();
       return VakScene{.act = [&] {
         void* pointer = nullptr;
         long integer = 0;
         double number = 0;
         const VakStackGenAlloc temporary(&stack, nullptr);
         for (const VakGenAlloc* allocator :
              std::initializer_list<const VakGenAlloc*>{s.allocator(), &temporary}) {
           allocator->saveValue(&pointer);
           allocator->saveValue(&integer);
           allocator->saveValue(&number);
         }
       }};
     }},
    {"take memory of a stack through an allocator",
     "VakStackGenAlloc::VakStackGenAlloc VakStackGenAlloc::alloc VakStackGenAlloc::free "
     "VakStackGenAlloc::intern VakGenAlloc::intern",
     [](VakStage& s) {
       struct Temporary {
         explicit Temporary(VakSymbolTable* table) : allocator(&stack, table) {}
         VakAllocationStack stack;
         VakStackGenAlloc allocator;
         void* block = nullptr;
       };
       auto& temporary = s.keep<Temporary>(s->_symbolTable);
       return VakScene{.act =
                           [&] {
                             static_cast<void>(temporary.allocator.intern("stack"));
                             temporary.block = temporary.allocator.alloc(100000);
                           },
                       .undo = [&] { temporary.allocator.free(temporary.block, 100000); },
                       .mayKeep = "the symbol, its buckets and the list of symbols stay"};
     }},
    {"create an object of an environment",
     "VakEnvObjectI::VakEnvObjectI* VakEnvObjectI::getMemoryManager VakConstructIn",
     [](VakStage& s) {
       EnvObject onStack(s.impl());
       if (!(onStack.getMemoryManager() == s.env.getMemoryManager())) {
         throw std::logic_error("a manager");
       }
       auto& object = s.keep<EnvObject*>(nullptr);
       return VakScene{
           .act = [&] { object = VakConstructIn<EnvObject>(VakEnvMemory{s.impl()}, s.impl()); },
           .undo = [&] { delete object; }};
     }},
    {"create an object of an environment with a type",
     "VakRttiEnvObjectI::VakRttiEnvObjectI* VakRttiEnvObjectI::getMemoryManager VakCreate",
     [](VakStage& s) {
       RttiEnvObject onStack(s.impl());
       if (!(onStack.getMemoryManager() == s.env.getMemoryManager())) {
         throw std::logic_error("a manager");
       }
       return sceneOf<RttiEnvObject>(s, s.env);
     }},
    {"create an object of a memory manager",
     "VakMemoryManagerObjectI::VakMemoryManagerObjectI* VakMemoryManagerObjectI::getEnv VakCreate",
     [](VakStage& s) {
       ManagerObject onStack(s.allocator());
       if (!(onStack.getEnv() == s.env)) throw std::logic_error("an environment");
       return sceneOf<ManagerObject>(s, s.env.getMemoryManager());
     }},
    {"create an object of a memory manager with a type",
     "VakRttiMemoryManagerObjectI::VakRttiMemoryManagerObjectI* "
     "VakRttiMemoryManagerObjectI::getEnv VakCreate",
     [](VakStage& s) {
       RttiManagerObject onStack(s.allocator());
       if (!(onStack.getEnv() == s.env)) throw std::logic_error("an environment");
       return sceneOf<RttiManagerObject>(s, static_cast<VakGenAlloc*>(s.allocator()));
     }},
    {"create an object in the memory of the user's allocator", "VakCreate",
     [](VakStage& s) {
       auto& allocator = s.keep<VakUserAllocator>(s.allocator());
       return sceneOf<ManagerObject>(s, static_cast<VakGenAlloc*>(&allocator));
     }},
    {"book identifiers until the table grows",
     "VakIdManager::newId VakIdManager::freeId VakIdManager::check VakIdManager::isInTable "
     "VakIdManager::isLink VakIdManager::isLive VakIdManager::isHidden VakIdManager::HiddenMark "
     "VakIdManager::getMemoryUsage VakIdManager::Iterator::Iterator "
     "VakIdManager::Iterator::nextValid",
     [](VakStage& s) {
       auto& booked = s.keep<VakInt>(0);
       VakIdManager& ids = *s->_idManager;
       return VakScene{
           .act =
               [&] {
                 for (; booked < 600; ++booked) ids.newId(nullptr);
               },
           .undo =
               [&] {
                 while (booked > 0) ids.freeId(--booked);
               },
           .afterFailure = [&]() -> std::string {
             if (ids._size != booked) return "another number of identifiers is booked";
             VakInt walked = 0;
             VakIdManager::Iterator walk(&ids);
             for (walk.nextValid(); walk.index < ids._size; walk.nextValid()) {
               if (!ids.isInTable(walk.index) || ids.isLink(ids._data[walk.index]) ||
                   ids.isLive(walk.index) || ids.isHidden(walk.index) ||
                   ids._data[walk.index] == VakIdManager::HiddenMark()) {
                 return "a slot";
               }
               ++walked;
             }
             return walked == booked && ids.getMemoryUsage() > 0 ? ids.check() : "the slots";
           },
           .mayKeep = "identifiers that were booked before stay, in a table that has grown"};
     }},
    {"make and end an identifier manager",
     "VakIdManager::VakIdManager VakIdManager::end VakIdManager::newId",
     [](VakStage& s) {
       auto& ids = s.keep<std::unique_ptr<VakIdManager>>();
       return VakScene{.act =
                           [&] {
                             ids.reset();
                             ids = std::make_unique<VakIdManager>(&s->_memory);
                             ids->end();
                             ids->newId(nullptr);
                           },
                       .undo = [&] { ids->end(); }};
     }},
};

}  // namespace

VakFaultGroup VakMemoryFaults() { return {"Memory managers, objects, identifiers", _operations}; }

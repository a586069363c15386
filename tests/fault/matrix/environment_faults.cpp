// The environment: its beginning and end, its services, its modes.

#include <sstream>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/core/version.h"
#include "vakenv/environment.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/utilities.h"
#include "vaksupport/random.h"
#include "vaksupport/symbol_table.h"

namespace {

// Makes everything that the end of an environment deletes, each with a destructor that can fail.
void fill(VakEnvI* env) {
  VakCreate<VakUserDestroyable>(env)->_mayThrowAtEnd = true;
  VakCreate<VakUserNode>(env)->_mayThrowAtEnd = true;
  new VakUserAlgorithm(env);
  auto* deleter = VakCreate<VakUserDeleter>(env);
  env->setDeleter(deleter, 1);
  deleter->_mayThrowAtEnd = true;
  env->_plugInManager->add(VakCreate<VakUserPlugIn>(env), "watch");
  env->_plugInManager->addNotified(VakCreate<VakUserNotified>(env));
  env->_typedLists.switchOn(env);
  env->setName("a name");
  env->setIntProperty("size", 3);
  env->createRandom();
  env->getExpander();
}

const std::vector<VakFaultOperation> _operations = {
    {"create an environment", "VakEnv::VakEnv VakEnvI::VakEnvI VakInitGlobals*",
     [](VakStage& s) {
       auto& fresh = s.keep<VakEnv>(static_cast<VakEnvI*>(nullptr));
       return VakScene{.act = [&] { fresh = VakEnv(); }, .undo = [&] { fresh.end(); }};
     },
     VakStageKind::Unstarved},
    {"end an environment with everything in it", "VakEnv::end VakEnvI::end",
     [](VakStage& s) {
       fill(s.impl());
       return VakScene{.act = [&] { s.env.end(); },
                       .prepare =
                           [&] {
                             s.env = VakEnv();
                             fill(s.impl());
                           },
                       .afterFailure = [&]() -> std::string {
                         return s.env.getImpl() == nullptr ? "" : "the environment is there";
                       },
                       .mayKeep = "the environment is gone"};
     },
     VakStageKind::Unstarved},
    {"ask an environment about itself",
     "VakEnv::getImpl VakEnv::operator== VakEnv::getMemoryManager VakEnv::getMemoryUsage "
     "VakEnv::getTotalMemoryUsage VakEnv::getIdManagerMemoryUsage VakEnv::getVersion "
     "VakEnvI::getVersion VakEnvI::getMemoryUsage VakEnvI::getTotalMemoryUsage "
     "VakEnvI::getIdManagerMemoryUsage VakEnvI::getUnlistedDestroyables VakEnvI::getUnreleasedIds "
     "VakEnvI::isRemoving VakEnvI::isDestroying VakEnvI::getSymbolEncoder VakGetEnv "
     "VakEnv::operator_VakMemoryManager",
     [](VakStage& s) {
       return VakScene{.act = [&] {
         const VakEnv env = s.env;
         const VakMemoryManager manager = env;
         bool fine = env == VakEnv(manager) && VakGetEnv(manager) == env.getImpl();
         fine = fine && manager == env.getMemoryManager();
         fine = fine && env.getMemoryUsage() <= env.getTotalMemoryUsage();
         fine = fine && s->getMemoryUsage() <= s->getTotalMemoryUsage();
         fine = fine && env.getIdManagerMemoryUsage() == s->getIdManagerMemoryUsage();
         fine = fine && env.getVersion() == s->getVersion();
         fine = fine && s->getUnlistedDestroyables() == 0 && s->getUnreleasedIds() == 0;
         fine = fine && !s->isRemoving() && !s->isDestroying();
         fine = fine && s->getSymbolEncoder() != nullptr;
         if (!fine) throw std::logic_error("an answer");
       }};
     }},
    {"make a symbol",
     "VakEnv::makeSymbol VakEnv::getSymbol VakEnvI::makeSymbol VakEnvI::getSymbol "
     "VakEnvI::hasSymbol VakSymbolTable::make* VakSymbolTable::get*",
     [](VakStage& s) {
       return VakScene{.act = [&] { s.env.makeSymbol("flow"); },
                       .afterFailure = [&]() -> std::string {
                         if (s->hasSymbol("flow") || s->getSymbol("flow") != nullptr) {
                           return "half a symbol is there";
                         }
                         return s.env.getSymbol("flow") == nullptr ? "" : "a symbol is there";
                       },
                       .mayKeep = "the buckets and the list of symbols stay"};
     }},
    {"make a symbol when the table is full", "VakEnvI::makeSymbol",
     [](VakStage& s) {
       for (int i = 0; i < 254; ++i) s->makeSymbol(std::to_string(i).c_str());
       return VakScene{.act =
                           [&] {
                             for (int i = 254; i < 258; ++i) {
                               // Short enough to need no memory of the heap.
                               s->makeSymbol(std::to_string(i).c_str());
                             }
                           },
                       .mayKeep = "the symbols that were made before stay"};
     }},
    {"intern a text", "VakEnvI::intern VakTarnAlloc::intern",
     [](VakStage& s) {
       return VakScene{.act =
                           [&] {
                             if (s->intern("flow") != s.allocator()->intern("flow")) {
                               throw std::logic_error("two copies");
                             }
                           },
                       .mayKeep = "the buckets and the list of symbols stay"};
     }},
    {"duplicate a text", "VakEnvI::strDup VakEnvI::strFree",
     [](VakStage& s) {
       auto& text = s.keep<char*>(nullptr);
       return VakScene{.act = [&] { text = s->strDup("a text that is copied"); },
                       .undo = [&] { s->strFree(text); }};
     }},
    {"make the random generator", "VakEnv::getRandom VakEnvI::createRandom*",
     [](VakStage& s) { return VakScene{.act = [&] { static_cast<void>(s.env.getRandom()); }}; },
     VakStageKind::Locked},
    {"print the elapsed time", "VakEnvI::printTime",
     [](VakStage& s) {
       auto& out = s.keep<VakUserStream>();
       s->_out = &out;
       return VakScene{.act = [&] { s->printTime(); }, .prepare = [&] { out.clear(); }};
     }},
    {"print an environment",
     "operator<<(VakEnv) operator<<(VakMemoryManager) operator<<(VakTarnVersion)",
     [](VakStage& s) {
       auto& out = s.keep<VakUserStream>();
       return VakScene{.act = [&] { out << s.env << s.env.getMemoryManager() << VakTarnVersion(); },
                       .prepare = [&] { out.clear(); }};
     }},
    {"take and give back environment memory",
     "VakEnvI::allocate VakEnvI::giveBack VakAllocateIn VakFreeIn VakEnvMemory::take "
     "VakEnvMemory::giveBack VakNamedEnvMemory::take VakNamedEnvMemory::giveBack",
     [](VakStage& s) {
       auto& blocks = s.keep<std::array<void*, 4>>();
       return VakScene{.act =
                           [&] {
                             if (blocks[0] == nullptr) blocks[0] = s->allocate(40);
                             if (blocks[1] == nullptr) blocks[1] = VakAllocateIn(s.impl(), 4000);
                             if (blocks[2] == nullptr)
                               blocks[2] = VakEnvMemory{s.impl()}.take(400000);
                             blocks[3] = VakNamedEnvMemory{s.impl()}.take(80);
                           },
                       .undo =
                           [&] {
                             s->giveBack(blocks[0], 40);
                             VakFreeIn(s.impl(), blocks[1], 4000);
                             VakEnvMemory{s.impl()}.giveBack(blocks[2], 400000);
                             VakNamedEnvMemory{s.impl()}.giveBack(blocks[3], 80);
                           },
                       .mayKeep = "the blocks that were taken before are held"};
     }},
    {"take and give back environment memory in thread-safe mode",
     "VakEnvI::allocate VakEnvI::giveBack VakMTSafeLocalEnvI::alloc* VakMTSafeLocalEnvI::free* "
     "VakLocalEnvI::alloc* VakLocalEnvI::free* VakAllocateLocally VakFreeLocally",
     [](VakStage& s) {
       auto& block = s.keep<void*>(nullptr);
       return VakScene{.act =
                           [&] {
                             if (block == nullptr) block = s->allocate(40);
                             s->giveBack(block, 40);
                             block = nullptr;
                             block = VakAllocateLocally(s.impl(), 40);
                             VakFreeLocally(s.impl(), block, 40);
                             block = nullptr;
                           },
                       .mayKeep = "a block that could not be given back is held"};
     },
     VakStageKind::ThreadSafe},
    {"book an identifier in thread-safe mode",
     "VakMTSafeLocalEnvI::init VakLocalEnvI::init VakLocalEnvI::bookId* VakLocalEnvI::releaseId",
     [](VakStage& s) {
       auto& ids = s.keep<std::vector<VakInt>>();
       ids.reserve(300);
       return VakScene{.act =
                           [&] {
                             while (ids.size() < 260) ids.push_back(s->_localEnv->init(nullptr));
                           },
                       .undo =
                           [&] {
                             for (; !ids.empty(); ids.pop_back())
                               s->_localEnv->releaseId(ids.back());
                           },
                       .mayKeep = "identifiers that were booked before stay, in a grown table"};
     },
     VakStageKind::ThreadSafe},
    {"switch thread-safe allocation on and off",
     "VakEnv::useMTSafeAllocation VakEnvI::useMTSafeAllocation "
     "VakMTSafeLocalEnvI::VakMTSafeLocalEnvI* VakLocalEnvI::VakLocalEnvI*",
     [](VakStage& s) {
       return VakScene{.act = [&] { s.env.useMTSafeAllocation(1); },
                       .undo = [&] { s.env.useMTSafeAllocation(0); },
                       .afterFailure = [&]() -> std::string {
                         return s->_localEnv == nullptr ? "" : "a local environment is there";
                       }};
     },
     VakStageKind::Locked},
    {"switch thread-safe normalization on and off",
     "VakEnv::useMTSafeNormalization VakEnvI::useMTSafeNormalization VakEnvI::initMarkArray "
     "VakEnvI::freeMarks",
     [](VakStage& s) {
       return VakScene{.act = [&] { s.env.useMTSafeNormalization(1); },
                       .undo =
                           [&] {
                             s->initMarkArray(s->_markArray);
                             s->freeMarks();
                             s.env.useMTSafeNormalization(0);
                           },
                       .afterFailure = [&]() -> std::string {
                         return s->_markArray == nullptr ? "" : "a mark array is there";
                       }};
     }},
    {"borrow mark arrays, one of which has grown too short",
     "VakEnvI::getMarkArray VakEnvI::releaseMarkArray",
     [](VakStage& s) {
       s->useMTSafeNormalization(1);
       void** first = s->getMarkArray();
       s->releaseMarkArray(first);
       for (int i = 0; i < 1100; ++i) s->_idManager->newId(nullptr);
       auto& lent = s.keep<std::array<void**, 2>>();
       return VakScene{.act =
                           [&] {
                             for (void**& marks : lent) {
                               if (marks == nullptr) marks = s->getMarkArray();
                             }
                           },
                       .undo =
                           [&] {
                             for (void** marks : lent) s->releaseMarkArray(marks);
                           }};
     },
     VakStageKind::Locked},
    {"save values", "VakEnvI::saveValue VakLocalEnvI::saveValue VakMTSafeLocalEnvI::saveValue",
     [](VakStage& s) {
       return VakScene{.act = [&] {
         void* pointer = nullptr;
         long integer = 0;
         double number = 0;
         s->saveValue(&pointer);
         s->saveValue(&integer);
         s->saveValue(&number);
       }};
     },
     VakStageKind::ThreadSafe},
    {"install and remove a mutex",
     "VakInitMT VakIsMTEnabled VakEndMT VakRecursiveEnvMutex::lock VakRecursiveEnvMutex::unlock "
     "VakBaseEnvMutex::lock VakBaseEnvMutex::unlock VakMutexGuard::VakMutexGuard",
     [](VakStage& s) {
       auto& mutex = s.keep<VakRecursiveEnvMutex>();
       auto& plain = s.keep<VakBaseEnvMutex>();
       return VakScene{.act = [&] {
         VakInitMT(&mutex);
         const bool isEnabled = VakIsMTEnabled();
         VakEndMT();
         VakBaseEnvMutex* locked = &mutex;
         const VakMutexGuard guard(locked);
         plain.lock();
         plain.unlock();
         if (!isEnabled) throw std::logic_error("not enabled");
       }};
     }},
};

}  // namespace

VakFaultGroup VakEnvironmentFaults() { return {"The environment", _operations}; }

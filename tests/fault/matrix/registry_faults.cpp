// Destroyables, registration, algorithms and changes, clones, terms.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/registry/registry_state.h"
#include "vakmodel/contract/linear_term.h"

namespace {

constexpr const char* Tables = "the environment's tables have grown";

// An unregistered node, whose registration the scene does itself.
VakUserNode* makeUnregistered(const VakStage& s) {
  auto* node = VakCreate<VakUserNode>(s.impl());
  s->finit(node);
  return node;
}

// Objects that refer to each other: a model of constraints over two variables.
struct Net {
  explicit Net(VakEnvI* env)
      : x(VakCreate<VakUserNode>(env)),
        y(VakCreate<VakUserNode>(env)),
        top(VakCreate<VakUserNode>(
            env, std::initializer_list<VakExtractableI*>{
                     x, y, VakCreate<VakUserNode>(env, std::initializer_list<VakExtractableI*>{x}),
                     VakCreate<VakUserExpr>(env)})) {}

  VakUserNode* x;
  VakUserNode* y;
  VakUserNode* top;
};

// An object that removals find although it is made in thread-safe mode.
struct SlottedNode final : VakUserNode {
  explicit SlottedNode(VakEnvI* env) : VakUserNode(env) { enterSlot(); }
};

// Clones of a failed operation stay registered with their environment; they are deleted before the
// next attempt, so that nothing but what the operation itself keeps is compared.
void deleteFrom(VakEnvI* env, VakInt firstId) {
  VakIdManager& ids = *env->_idManager;
  for (VakInt id = ids._size; id-- > firstId;) {
    if (ids.isInTable(id) && ids.isLive(id)) delete static_cast<VakExtractableI*>(ids._data[id]);
  }
}

const std::vector<VakFaultOperation> _operations = {
    {"create destroyables",
     "VakDestroyableI::VakDestroyableI* VakEnvI::addDestroyable VakEnvI::removeDestroyable "
     "VakDestroyableList::add VakDestroyableList::remove* VakDestroyableList::has "
     "VakDestroyableList::getSize VakDestroyableList::check VakDestroyableList::HashPointer "
     "VakDestroyableList::ComparePointers",
     [](VakStage& s) {
       auto& made = s.keep<std::array<VakUserDestroyable*, 6>>();
       return VakScene{.act =
                           [&] {
                             for (VakUserDestroyable*& d : made) {
                               if (d == nullptr) d = VakCreate<VakUserDestroyable>(s.impl());
                             }
                             s->removeDestroyable(made[0]);
                             s->addDestroyable(made[0]);
                             bool fine = s->_destroyables->has(made[0]);
                             fine = fine && VakDestroyableList::HashPointer(made[0], 1) == 0;
                             fine =
                                 fine && VakDestroyableList::ComparePointers(made[0], made[0]) == 1;
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo =
                           [&] {
                             for (VakUserDestroyable* d : made) delete d;
                           },
                       .prepare =
                           [&] {
                             if (made[0] == nullptr || s->_destroyables->has(made[0])) return;
                             s->_destroyables->add(made[0]);
                           },
                       .afterFailure = [&]() -> std::string {
                         VakInt count = 0;
                         for (const VakUserDestroyable* d : made) count += d == nullptr ? 0 : 1;
                         const VakInt listed = s->_destroyables->getSize();
                         if (listed != count && listed != count - 1) return "their number";
                         return s->_destroyables->check();
                       },
                       .mayKeep = "destroyables that were created before stay"};
     }},
    {"destroy all destroyables", "VakDestroyableList::destroyAll",
     [](VakStage& s) {
       for (int i = 0; i < 3; ++i) VakCreate<VakUserDestroyable>(s.impl());
       return VakScene{.act = [&] { s->_destroyables->destroyAll(); }};
     }},
    {"destroy destroyables that fail", "VakDestroyableList::destroyAll",
     [](VakStage& s) {
       for (int i = 0; i < 3; ++i) VakCreate<VakUserDestroyable>(s.impl())->_mayThrowAtEnd = true;
       return VakScene{.act = [&] { s->_destroyables->destroyAll(); },
                       .mayKeep = "destroyables that were deleted before are gone"};
     }},
    {"make a list of destroyables", "VakDestroyableList::VakDestroyableList",
     [](VakStage& s) {
       auto& list = s.keep<std::unique_ptr<VakDestroyableList>>();
       return VakScene{.act = [&] { list = std::make_unique<VakDestroyableList>(s.impl()); },
                       .undo = [&] { list.reset(); }};
     }},
    {"create an extractable",
     "VakExtractableI::VakExtractableI VakExtractableI::unregister "
     "VakExtractableI::IsHidden",
     [](VakStage& s) {
       s->_typedLists.switchOn(s.impl());
       s->setDeleter(VakCreate<VakUserDeleter>(s.impl()), 1);
       auto& node = s.keep<VakUserNode*>(nullptr);
       return VakScene{.act = [&] { node = VakCreate<VakUserNode>(s.impl()); },
                       .undo =
                           [&] {
                             if (VakExtractableI::IsHidden(node)) std::abort();
                             node->unregister();
                             delete node;
                           },
                       .afterFailure = [&]() -> std::string {
                         return s->_idManager->_size == 0 ? "" : "an identifier is booked";
                       },
                       .mayKeep = "the index of the typed lists stays"};
     }},
    {"register extractables when the identifier table is full", "VakEnvI::init",
     [](VakStage& s) {
       VakUserNode* node = makeUnregistered(s);
       for (int i = 0; i < 255; ++i) s->_idManager->newId(nullptr);
       return VakScene{.act = [&s, node] { s->init(node); },
                       .undo = [node] { delete node; },
                       .afterFailure = [node]() -> std::string {
                         return node->id == -1 ? "" : "the object has an identifier";
                       }};
     }},
    {"create and delete an extractable in thread-safe mode", "VakEnvI::init* VakEnvI::finit*",
     [](VakStage& s) {
       auto& node = s.keep<VakUserNode*>(nullptr);
       return VakScene{.act =
                           [&] {
                             if (node == nullptr) node = VakCreate<VakUserNode>(s.impl());
                             node->_handle = &node;
                             delete node;
                           },
                       .mayKeep = "an object that could not be deleted, or its storage, is held"};
     },
     VakStageKind::ThreadSafe},
    {"create an extractable that removals find in thread-safe mode",
     "VakExtractableI::enterSlot VakEnvI::init*",
     [](VakStage& s) {
       auto& node = s.keep<SlottedNode*>(nullptr);
       return VakScene{.act = [&] { node = VakCreate<SlottedNode>(s.impl()); },
                       .undo = [&] { delete node; },
                       .afterFailure = [&]() -> std::string {
                         const VakIdManager& ids = *s->_idManager;
                         for (VakInt id = 0; id < ids._size; ++id) {
                           if (ids.isLive(id)) return "half an object is registered";
                         }
                         return "";
                       },
                       .afterSuccess = [&]() -> std::string {
                         return s->_idManager->isLive(node->id) ? "" : "the object is not found";
                       },
                       .mayKeep = "identifiers of objects that go in this mode stay booked"};
     },
     VakStageKind::ThreadSafe},
    {"unregister an extractable whose deleter fails", "VakEnvI::finit",
     [](VakStage& s) {
       s->setDeleter(VakCreate<VakUserDeleter>(s.impl()), 1);
       auto& node = s.keep<VakUserNode*>(VakCreate<VakUserNode>(s.impl()));
       return VakScene{.act = [&] { s->finit(node); },
                       .undo = [&] { delete node; },
                       .prepare = [&] { s->init(node); },
                       .afterFailure = [&]() -> std::string {
                         return node->id == -1 ? "" : "the object is registered";
                       }};
     }},
    {"delete through the environment what has a plain pointer", "VakEnvI::removeVerticalEnv",
     [](VakStage& s) {
       VakExtractableI* node = VakCreate<VakUserNode>(s.impl());
       return VakScene{.act = [&s, node] { s->removeVerticalEnv(node); }};
     }},
    {"attach and detach an algorithm",
     "VakEnvI::addAlgorithm VakEnvI::removeAlgorithm VakAlgorithmI::VakAlgorithmI "
     "VakAlgorithmI::attach VakAlgorithmI::detach VakAlgorithmI::isAttached VakAlgorithmI::end "
     "VakAlgorithm::VakAlgorithm VakAlgorithm::getImpl VakAlgorithm::operator== "
     "VakAlgorithm::end",
     [](VakStage& s) {
       auto& algorithm = s.keep<VakAlgorithm>();
       return VakScene{.act =
                           [&] {
                             algorithm = VakAlgorithm(new VakUserAlgorithm(s.impl()));
                             VakAlgorithmI* impl = algorithm.getImpl();
                             bool fine = algorithm == VakAlgorithm(impl);
                             impl->detach();
                             fine = fine && !impl->isAttached();
                             impl->attach();
                             s->removeAlgorithm(impl);
                             s->addAlgorithm(impl);
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&] { algorithm.end(); }};
     }},
    {"make the model evaluator of an algorithm",
     "VakAlgorithmI::makeModelEvaluator VakModelEvaluatorI::VakModelEvaluatorI*",
     [](VakStage& s) {
       auto* algorithm = new VakUserAlgorithm(s.impl());
       return VakScene{.act = [algorithm] { algorithm->makeModelEvaluator(); }};
     }},
    {"make the environment's evaluator",
     "VakEnvI::getModelEvaluator VakModelEvaluatorI::VakModelEvaluatorI*",
     [](VakStage& s) {
       return VakScene{.act = [&] { static_cast<void>(s->getModelEvaluator()); }};
     }},
    {"report a change of an extractable", "VakEnvI::change VakAlgorithmI::change",
     [](VakStage& s) {
       s->_plugInManager->addNotified(VakCreate<VakUserNotified>(s.impl()));
       for (int i = 0; i < 3; ++i) new VakUserAlgorithm(s.impl());
       VakUserNode* node = VakCreate<VakUserNode>(s.impl());
       return VakScene{.act = [&s, node] {
         s->change(node, VakUserChange());
         s->change(VakUserChange());
       }};
     }},
    {"report a change that several algorithms refuse",
     "VakEnvI::change VakAlgorithm::CannotChangeException::CannotChangeException "
     "VakAlgorithm::CannotChangeException::end "
     "VakAlgorithm::CannotChangeException::getAlgorithm "
     "VakAlgorithm::CannotChangeException::getExtractables VakAlgorithm::Exception::Exception*",
     [](VakStage& s) {
       VakUserNode* node = VakCreate<VakUserNode>(s.impl());
       auto& algorithms = s.keep<std::array<VakRefusingAlgorithm*, 5>>();
       for (auto& algorithm : algorithms) algorithm = new VakRefusingAlgorithm(s.impl(), node);
       for (auto* algorithm : algorithms) algorithm->prepare();
       const auto report = [&s, node] {
         try {
           s->change(node, VakUserChange());
         } catch (VakAlgorithm::CannotChangeException& refusal) {
           const VakInt named = refusal.getExtractables().getSize();
           const bool isFirst = refusal.getAlgorithm().getImpl() != nullptr;
           refusal.end();
           if (named != 25 || !isFirst) throw std::logic_error("a refusal");
         }
       };
       return VakScene{.act = report,
                       .undo =
                           [&algorithms] {
                             for (auto* algorithm : algorithms) algorithm->end();
                           },
                       .prepare =
                           [&algorithms] {
                             for (auto* algorithm : algorithms) algorithm->prepare();
                           },
                       .mayKeep = "arrays of refusals that were not thrown are held"};
     }},
    {"report a change that algorithms refuse which run out of memory", "VakEnvI::change",
     [](VakStage& s) {
       VakUserNode* node = VakCreate<VakUserNode>(s.impl());
       for (int i = 0; i < 3; ++i) new VakRefusingAlgorithm(s.impl(), node);
       return VakScene{.act = [&s, node] {
         try {
           s->change(node, VakUserChange());
         } catch (VakAlgorithm::CannotChangeException& refusal) {
           refusal.end();
         }
       }};
     }},
    {"make a clone manager",
     "VakCloneManager::VakCloneManager VakCloneManager::lock VakCloneManager::unlock "
     "VakCloneManager::lockLevel VakCloneManager::unlockLevel VakCloneManager::clear "
     "VakCloneManager::clearLevel VakCloneManager::hasClone VakCloneManager::forget",
     [](VakStage& s) {
       VakUserNode* node = VakCreate<VakUserNode>(s.impl());
       auto& manager = s.keep<std::unique_ptr<VakCloneManager>>();
       return VakScene{.act =
                           [&s, &manager, node] {
                             manager = std::make_unique<VakCloneManager>(s.impl());
                             bool fine = manager->lock() == 1 && manager->hasClone(node) == 0;
                             manager->unlockLevel(manager->lockLevel());
                             manager->clearLevel(0);
                             manager->forget(node->id);
                             manager->clear();
                             manager->unlock();
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&manager] { manager.reset(); }};
     }},
    {"record clones",
     "VakCloneManager::setMaxId VakCloneManager::setClone VakEnvI::setClone VakEnvI::hasClone "
     "VakEnvI::lockCloning VakEnvI::unlockCloning VakEnvI::isCloningLocked "
     "VakEnvI::lockCloningLevel VakEnvI::unlockCloningLevel",
     [](VakStage& s) {
       auto& nodes = s.keep<std::array<VakUserNode*, 30>>();
       for (VakUserNode*& node : nodes) node = VakCreate<VakUserNode>(s.impl());
       return VakScene{.act =
                           [&] {
                             s->lockCloning();
                             for (VakUserNode* node : nodes) s->setClone(node, node);
                             s->_cloneManager->setMaxId(100);
                             bool fine = s->hasClone(nodes[3]) == 1 && s->isCloningLocked() == 1;
                             s->unlockCloningLevel(s->lockCloningLevel());
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&] { s->unlockCloning(); },
                       .prepare = [&] { s->unlockCloning(); },
                       .mayKeep = Tables};
     }},
    {"copy what refers to others",
     "VakEnvI::getClone VakCloneManager::getClone "
     "VakExtractableI::makeClone*",
     [](VakStage& s) {
       const Net net(s.impl());
       const VakInt originals = s->_idManager->_size;
       return VakScene{.act = [&s, net] { static_cast<void>(s->getClone(net.top)); },
                       .undo = [&s, originals] { deleteFrom(s.impl(), originals); },
                       .prepare = [&s, originals] { deleteFrom(s.impl(), originals); },
                       .afterFailure = [&s]() -> std::string {
                         return s->isCloningLocked() == 0 ? "" : "cloning is locked";
                       },
                       .mayKeep = "copies that were made before stay in the environment"};
     }},
    {"copy into another environment", "VakEnvI::getClone",
     [](VakStage& s) {
       const Net net(s.impl());
       return VakScene{
           .act = [&s, net] { static_cast<void>(s.other.getImpl()->getClone(net.top)); },
           .undo = [&s] { deleteFrom(s.other.getImpl(), 0); },
           .prepare = [&s] { deleteFrom(s.other.getImpl(), 0); },
           .mayKeep = "copies that were made before stay in the environment"};
     }},
    {"substitute while copying",
     "VakEnvI::substitute VakEnvI::getExpander VakExpanderI::VakExpanderI* "
     "VakCloneManager::pushExpander* VakExpanderI::setSubstitute "
     "VakExpanderI::substitute VakExpanderI::clearSubstitutes VakExpanderI::change",
     [](VakStage& s) {
       const Net net(s.impl());
       const VakInt originals = s->_idManager->_size;
       const auto copy = [&s, net, originals] {
         deleteFrom(s.impl(), originals);
         VakExpanderI* expander = s->getExpander();
         expander->setSubstitute(net.x, net.y);
         if (expander->substitute(net.x) != net.y) throw std::logic_error("no substitute");
         static_cast<void>(s->substitute(net.top));
         expander->change(VakUserChange());
         expander->change(VakDestroyExtractable(net.x), net.x);
         expander->clearSubstitutes();
       };
       return VakScene{.act = copy,
                       .undo = [&s, originals] { deleteFrom(s.impl(), originals); },
                       .afterFailure = [&s]() -> std::string {
                         return s->_cloneManager->expander == nullptr ? "" : "it is still pushed";
                       },
                       .mayKeep = "copies that were made before stay in the environment"};
     }},
    {"make and recycle terms", "VakEnvI::newTerm VakEnvI::recycleTerm",
     [](VakStage& s) {
       VakNumVarI* var = VakCreate<VakUserVar>(s.impl());
       auto& terms = s.keep<std::vector<VakNumLinExprTermI*>>();
       terms.reserve(300);
       return VakScene{.act =
                           [&s, &terms, var] {
                             while (terms.size() < 300) terms.push_back(s->newTerm(var, 1));
                           },
                       .undo =
                           [&s, &terms] {
                             for (; !terms.empty(); terms.pop_back()) s->recycleTerm(terms.back());
                           },
                       .mayKeep = "terms that were made before are held"};
     }},
    {"make and recycle a term in thread-safe mode", "VakEnvI::newTerm VakEnvI::recycleTerm",
     [](VakStage& s) {
       auto& term = s.keep<VakNumLinExprTermI*>(nullptr);
       return VakScene{.act =
                           [&] {
                             if (term == nullptr) term = s->newTerm(nullptr, 1);
                             s->recycleTerm(term);
                             term = nullptr;
                           },
                       .mayKeep = "a term that could not be given back is held"};
     },
     VakStageKind::ThreadSafe},
    {"use and release expressions",
     "VakEnvI::release VakExprI::use VakExprI::release "
     "VakExprI::getUseCount VakExprI::VakExprI* VakNumExprI::VakNumExprI* "
     "VakAnyExprI::VakAnyExprI* "
     "VakNumVarI::VakNumVarI",
     [](VakStage& s) {
       new VakUserAlgorithm(s.impl());
       auto* operand = VakCreate<VakUserExpr>(s.impl());
       auto* any = VakCreate<VakUserAnyExpr>(s.impl());
       auto* expr = VakCreate<VakUserExpr>(s.impl(), operand);
       VakCreate<VakUserVar>(s.impl());
       struct Held {
         VakUserExpr* expr;
         VakUserAnyExpr* any;
       };
       auto& held = s.keep<Held>(Held{expr, any});
       expr->_handle = &held.expr;
       expr->use();
       any->use();
       return VakScene{.act =
                           [&s, &held] {
                             // An expression whose end was refused stays, unused; releasing it
                             // once more ends it.
                             if (held.expr != nullptr) {
                               if (held.expr->getUseCount() > 1) throw std::logic_error("uses");
                               s->release(held.expr);
                             }
                             s->release(held.any);
                           },
                       .mayKeep = "what was released before is gone"};
     }},
    {"evaluate an expression",
     "VakModelEvaluatorI::evaluate VakModelEvaluatorI::setValue VakModelEvaluatorI::getValue "
     "VakModelEvaluatorI::clear VakNumExprI::evaluate VakNumVarI::evaluate",
     [](VakStage& s) {
       auto* expr = VakCreate<VakUserExpr>(s.impl(), VakCreate<VakUserExpr>(s.impl()));
       auto* var = VakCreate<VakUserVar>(s.impl());
       VakModelEvaluatorI* evaluator = s->getModelEvaluator();
       return VakScene{.act = [expr, var, evaluator] {
         evaluator->setValue(var, 3);
         const VakNum sum = evaluator->evaluate(expr) + evaluator->evaluate(var);
         evaluator->clear();
         if (sum != 5 || evaluator->getValue(var) == 3) throw std::logic_error("a value");
       }};
     }},
    {"list extractables in a roll",
     "VakExtractableRoll::VakExtractableRoll VakExtractableRoll::add VakExtractableRoll::strike "
     "VakExtractableRoll::getSize VakExtractableRoll::operator[] VakExtractableRoll::hasStruck "
     "VakExtractableRoll::claimDistinct VakExtractableRoll::getAdded VakExtractableRoll::dropLast "
     "VakExtractableRoll::trim VakExtractableRoll::compact VakExtractableRoll::clear",
     [](VakStage& s) {
       struct Listed {
         VakExtractableRoll roll;
         VakExtractableArray mirror;
         std::array<VakUserNode*, 40> nodes;
       };
       auto& listed = s.keep<Listed>();
       for (VakUserNode*& node : listed.nodes) node = VakCreate<VakUserNode>(s.impl());
       listed.mirror = VakExtractableArray(s.env);
       const auto list = [&listed] {
         VakExtractableRoll& roll = listed.roll;
         roll.clear();
         listed.mirror.removeAll();
         roll.claimDistinct(false);
         roll.add(listed.nodes[0], listed.mirror);
         for (VakUserNode* node : listed.nodes) roll.add(node, listed.mirror);
         roll.strike(listed.nodes[0]);
         roll.strike(listed.nodes[20]);
         bool fine = roll.hasStruck() && roll[0] == nullptr && roll.getAdded() == 41;
         roll.dropLast();
         roll.strike(listed.nodes[38]);
         roll.trim();
         roll.compact();
         fine = fine && roll.getSize() == 36 && !roll.hasStruck();
         if (!fine) throw std::logic_error("the roll");
       };
       return VakScene{
           .act = list,
           .undo =
               [&listed] {
                 listed.roll.clear();
                 listed.mirror.end();
               },
           .mayKeep = "entries that were added before stay",
           .mayAbsorb = {
               {VakFaultKind::Heap, "a roll without memory for an index walks over its entries"}}};
     }},
    {"forget an extractable", "VakRegistryState::forget VakRegistryState::CallRoll::CallRoll",
     [](VakStage& s) {
       VakUserNode* node = VakCreate<VakUserNode>(s.impl());
       return VakScene{.act = [&s, node] {
         VakRegistryState::CallRoll call(s->_registry);
         call.roll.add(node);
         s->_registry.forget(node, false);
         if (!call.roll.hasStruck()) throw std::logic_error("not struck");
       }};
     }},
};

}  // namespace

VakFaultGroup VakRegistryFaults() { return {"Registry", _operations}; }

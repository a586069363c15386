// Destruction and removal, the deleter, the recycle bin.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/recycle_bin.h"

namespace {

// Two variables, constraints that go when they lose their last one, a model of all, two algorithms
// and a notified plug-in. Handles become null when their objects go.
struct World {
  explicit World(VakEnvI* environment) : env(environment) {
    for (VakUserNode** handle : {&x, &y}) *handle = make(handle, {});
    for (VakUserNode** handle : {&onX, &onBoth, &onY}) {
      *handle = make(handle, handle == &onX   ? std::initializer_list<VakExtractableI*>{x}
                             : handle == &onY ? std::initializer_list<VakExtractableI*>{y}
                                              : std::initializer_list<VakExtractableI*>{x, y});
      (*handle)->_goesWhenEmpty = true;
    }
    nested = make(&nested, {onX});
    nested->_goesWhenEmpty = true;
    model = make(&model, {x, y, onX, onBoth, onY, nested});
    new VakUserAlgorithm(env);
    new VakUserAlgorithm(env);
    env->_plugInManager->addNotified(VakCreate<VakUserNotified>(env));
  }

  VakUserNode* make(VakUserNode** handle, std::initializer_list<VakExtractableI*> refs) const {
    auto* node = VakCreate<VakUserNode>(env, refs);
    node->_handle = handle;
    return node;
  }
  // An array of the two variables that live.
  [[nodiscard]] VakExtractableArray variables() const {
    VakExtractableArray array(env->_allocator);
    try {
      for (VakUserNode* node : {x, y}) {
        if (node != nullptr) array.add(node);
      }
    } catch (...) {
      array.end();
      throw;
    }
    return array;
  }
  [[nodiscard]] std::string checkVisible() const {
    const VakIdManager& ids = *env->_idManager;
    for (VakInt id = 0; id < ids._size; ++id) {
      if (ids.isHidden(id)) return "an object is hidden";
    }
    return "";
  }

  VakEnvI* env;
  VakUserNode* x = nullptr;
  VakUserNode* y = nullptr;
  VakUserNode* onX = nullptr;
  VakUserNode* onBoth = nullptr;
  VakUserNode* onY = nullptr;
  VakUserNode* nested = nullptr;
  VakUserNode* model = nullptr;
};

// Removes and destroys one object; one that is gone by then needs no second attempt, but what asked
// for its own removal meanwhile does.
void removeAndDestroy(const World& w, VakUserNode* node) {
  if (node != nullptr) {
    w.env->removeFromAllAndDestroy(node, 0);
    return;
  }
  // What waits for its own removal asks again when the next removal sweeps.
  VakUserNode* none = VakCreate<VakUserNode>(w.env);
  w.env->removeFromAllAndDestroy(none, 0);
}

constexpr const char* Partly = "what was taken out or destroyed before stays so";

const std::vector<VakFaultOperation> _operations = {
    {"destroy an extractable", "VakEnvI::destroy VakExtractableI::notify*",
     [](VakStage& s) {
       new VakUserAlgorithm(s.impl());
       VakUserNode* node = VakCreate<VakUserNode>(s.impl());
       return VakScene{.act = [&s, node] { s->destroy(node, 0); },
                       .afterFailure = [node]() -> std::string {
                         return node->id != -1 ? "" : "it is not registered any more";
                       }};
     }},
    {"destroy an extractable and keep it", "VakEnvI::destroy",
     [](VakStage& s) {
       new VakUserAlgorithm(s.impl());
       VakUserNode* node = VakCreate<VakUserNode>(s.impl());
       return VakScene{.act = [&s, node] { s->destroy(node, 1); }, .undo = [node] { delete node; }};
     }},
    {"remove an extractable from all",
     "VakEnvI::removeFromAll VakExtractableI::removeHidden VakEnvI::abandonRemoval* "
     "VakRecycleBinI::Sweep*",
     [](VakStage& s) {
       auto& w = s.keep<World>(s.impl());
       w.onX->_goesWhenEmpty = false;
       w.nested->_goesWhenEmpty = false;
       return VakScene{.act = [&w] { w.env->removeFromAll(w.x); },
                       .afterFailure = [&w] { return w.checkVisible(); },
                       .afterSuccess = [&w]() -> std::string {
                         if (w.onX->_refs.getSize() != 0) return "a reference is left";
                         return w.checkVisible();
                       },
                       .mayKeep = Partly};
     }},
    {"remove an array of extractables from all", "VakEnvI::removeFromAll",
     [](VakStage& s) {
       auto& w = s.keep<World>(s.impl());
       for (VakUserNode* node : {w.onX, w.onBoth, w.onY, w.nested}) node->_goesWhenEmpty = false;
       auto& array = s.keep<VakExtractableArray>(w.variables());
       return VakScene{.act = [&w, &array] { w.env->removeFromAll(array); },
                       .undo = [&array] { array.end(); },
                       .afterFailure = [&w] { return w.checkVisible(); },
                       .afterSuccess = [&w]() -> std::string {
                         if (w.onBoth->_refs.getSize() != 0) return "a reference is left";
                         return w.checkVisible();
                       },
                       .mayKeep = Partly};
     }},
    {"remove an extractable from all and destroy it", "VakEnvI::removeFromAllAndDestroy",
     [](VakStage& s) {
       auto& w = s.keep<World>(s.impl());
       return VakScene{.act = [&w] { removeAndDestroy(w, w.x); },
                       .complete = [&w] { removeAndDestroy(w, nullptr); },
                       .afterFailure = [&w] { return w.checkVisible(); },
                       .afterSuccess = [&w]() -> std::string {
                         if (w.x != nullptr || w.onX != nullptr || w.nested != nullptr) {
                           return "an object is left";
                         }
                         if (w.onBoth == nullptr || w.y == nullptr || w.model == nullptr) {
                           return "too much is gone";
                         }
                         return w.model->_refs.getSize() == 3 ? w.checkVisible() : "a reference";
                       },
                       .mayKeep = Partly};
     }},
    {"remove an array of extractables from all and destroy them",
     "VakEnvI::removeFromAllAndDestroy",
     [](VakStage& s) {
       auto& w = s.keep<World>(s.impl());
       const auto remove = [&w] {
         VakExtractableArray array = w.variables();
         try {
           w.env->removeFromAllAndDestroy(array, 0);
         } catch (...) {
           array.end();
           throw;
         }
         array.end();
       };
       return VakScene{.act = remove,
                       .complete = [&w] { removeAndDestroy(w, nullptr); },
                       .afterFailure = [&w] { return w.checkVisible(); },
                       .afterSuccess = [&w]() -> std::string {
                         for (const VakUserNode* node : {w.x, w.y, w.onX, w.onBoth, w.onY}) {
                           if (node != nullptr) return "an object is left";
                         }
                         return w.model->_refs.getSize() == 0 ? w.checkVisible() : "a reference";
                       },
                       .mayKeep = Partly};
     }},
    {"remove within a removal", "VakEnvI::removeFromAll VakEnvI::removeFromAllAndDestroy",
     [](VakStage& s) {
       // An object that, while it is swept, takes another one out and asks for a third one's end.
       struct Nesting : VakUserNode {
         Nesting(VakEnvI* env, World& w) : VakUserNode(env), world(w) {}
         void removeHidden(VakInt mode) override {
           VakUserNode::removeHidden(mode);
           if (isNested || world.y == nullptr) return;
           isNested = true;
           try {
             _env->removeFromAll(world.y);
             _env->removeFromAllAndDestroy(world.model, 0);
           } catch (...) {
             isNested = false;
             throw;
           }
         }
         World& world;
         bool isNested = false;
       };
       auto& w = s.keep<World>(s.impl());
       auto* nesting = VakCreate<Nesting>(s.impl(), w);
       return VakScene{.act = [&w] { removeAndDestroy(w, w.x); },
                       .prepare = [&w, nesting] { nesting->isNested = w.model == nullptr; },
                       .complete =
                           [&w] {
                             if (w.model != nullptr) removeAndDestroy(w, w.model);
                             removeAndDestroy(w, nullptr);
                           },
                       .mayKeep = Partly};
     }},
    {"destroy an expression in use within a removal", "VakEnvI::destroy VakEnvI::release",
     [](VakStage& s) {
       struct Asking : VakUserNode {
         Asking(VakEnvI* env, VakUserExpr*& e) : VakUserNode(env), expr(e) {}
         void removeHidden(VakInt mode) override {
           VakUserNode::removeHidden(mode);
           if (expr == nullptr) return;
           VakUserExpr* e = expr;
           _env->destroy(e, 0);
           expr = nullptr;
           _env->release(e);
         }
         VakUserExpr*& expr;
       };
       auto& expr = s.keep<VakUserExpr*>(VakCreate<VakUserExpr>(s.impl()));
       expr->use();
       auto& w = s.keep<World>(s.impl());
       VakCreate<Asking>(s.impl(), expr);
       return VakScene{.act = [&w] { removeAndDestroy(w, w.x); },
                       .complete = [&w] { removeAndDestroy(w, nullptr); },
                       .mayKeep = Partly};
     }},
    {"install, use and remove a deleter",
     "VakEnvI::setDeleter VakEnvI::unsetDeleter VakEnvI::inhibitDeleter "
     "VakEnvI::setDeleterVerbosityLevel VakBaseDeleterI::VakBaseDeleterI VakBaseDeleterI::start "
     "VakBaseDeleterI::inhibit* VakBaseDeleterI::isInhibited VakBaseDeleterI::setVerbosityLevel* "
     "VakBaseDeleterI::getVerbosityLevel VakBaseDeleterI::isUnused VakBaseDeleterI::reset",
     [](VakStage& s) {
       auto& deleter = s.keep<VakUserDeleter*>(nullptr);
       return VakScene{.act =
                           [&] {
                             if (deleter == nullptr) {
                               deleter = VakCreate<VakUserDeleter>(s.impl());
                               s->setDeleter(deleter, 1);
                             }
                             VakBaseDeleterI* base = s->_deleter;
                             base->start();
                             s->inhibitDeleter(1);
                             s->setDeleterVerbosityLevel(2);
                             base->reset();
                             bool fine = base->isInhibited() == 1 && base->isUnused(nullptr) == 0;
                             fine = fine && base->getVerbosityLevel() == 2;
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&] { s->unsetDeleter(); },
                       .mayKeep = "a deleter that was installed before stays"};
     }},
    {"remove a deleter that fails", "VakEnvI::unsetDeleter",
     [](VakStage& s) {
       auto* deleter = VakCreate<VakUserDeleter>(s.impl());
       s->setDeleter(deleter, 1);
       deleter->_mayThrowAtEnd = true;
       return VakScene{.act = [&s] { s->unsetDeleter(); },
                       .afterFailure = [&s]() -> std::string {
                         return s->_deleter == nullptr ? "" : "the deleter is still there";
                       }};
     }},
    {"remove and delete through a deleter",
     "VakEnvI::removeAndDelete VakEnvI::removeFromAllAndDestroy VakBaseDeleterI::removeAndDelete "
     "VakBaseDeleterI::extractableAdded* VakBaseDeleterI::extractableRemoved*",
     [](VakStage& s) {
       struct Two {
         VakUserNode* first = nullptr;
         VakUserNode* second = nullptr;
         VakExtractableArray rest;
       };
       auto& two = s.keep<Two>();
       s->setDeleter(VakCreate<VakUserDeleter>(s.impl()), 1);
       for (VakUserNode** handle : {&two.first, &two.second}) {
         *handle = VakCreate<VakUserNode>(s.impl());
         (*handle)->_handle = handle;
       }
       two.rest = VakExtractableArray(s.env);
       for (int i = 0; i < 3; ++i) two.rest.add(VakCreate<VakUserNode>(s.impl()));
       return VakScene{.act =
                           [&s, &two] {
                             if (two.first != nullptr) s->removeAndDelete(two.first, 0);
                             if (two.second != nullptr) s->removeFromAllAndDestroy(two.second, 0);
                             s->removeFromAllAndDestroy(two.rest, 0);
                             s->removeAndDelete(two.rest, 0);
                           },
                       .undo = [&two] { two.rest.end(); },
                       .mayKeep = Partly};
     }},
    {"work with a recycle bin of one's own",
     "VakRecycleBinI::VakRecycleBinI VakRecycleBinI::add VakRecycleBinI::startReleaseMode "
     "VakRecycleBinI::endReleaseMode VakRecycleBinI::removeFromAll VakRecycleBinI::end "
     "VakRecycleBinI::HashExtractable VakRecycleBinI::CompareExtractables",
     [](VakStage& s) {
       auto& w = s.keep<World>(s.impl());
       for (VakUserNode* node : {w.onX, w.onBoth, w.onY, w.nested}) node->_goesWhenEmpty = false;
       auto& bin = s.keep<std::unique_ptr<VakRecycleBinI>>();
       const auto show = [&w] {
         VakIdManager& ids = *w.env->_idManager;
         for (VakUserNode* node : {w.x, w.y})
           ids._data[node->id] = static_cast<VakExtractableI*>(node);
       };
       const auto release = [&bin, show] {
         show();
         if (bin != nullptr) bin->end();
         bin.reset();
       };
       return VakScene{.act =
                           [&w, &bin, release] {
                             release();
                             bin = std::make_unique<VakRecycleBinI>(w.env);
                             bin->add(w.x);
                             bin->startReleaseMode();
                             bin->add(w.y);
                             bin->endReleaseMode();
                             bin->removeFromAll();
                             bool fine = VakRecycleBinI::HashExtractable(w.x, 1) == 0;
                             fine = fine && VakRecycleBinI::CompareExtractables(w.x, w.x) == 1;
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = release,
                       .mayKeep = "what was hidden and listed before stays so"};
     }},
};

}  // namespace

VakFaultGroup VakRemovalFaults() { return {"Destruction and removal", _operations}; }

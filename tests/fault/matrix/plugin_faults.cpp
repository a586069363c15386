// Plug-ins, add-ons, and what is told of changes.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/plugins.h"
#include "vakenv/plugins/walk.h"
#include "vakmodel/report.h"

namespace {

VakPlugInManager& managerOf(const VakStage& s) { return *s->_plugInManager; }

bool isFiled(const VakPlugIn* plugIn, const VakPlugInManager::VakCell* cell) {
  if (cell == nullptr) return false;
  for (const VakPlugIn* p = cell->plugIns; p != nullptr; p = p->next) {
    if (p == plugIn) return true;
  }
  return false;
}

// Counts what it is told, and how often that is what was taken back.
class CountingAlgorithm final : public VakUserAlgorithm {
 public:
  explicit CountingAlgorithm(VakEnvI* env) : VakUserAlgorithm(env) {}
  using VakUserAlgorithm::change;
  void change(const VakChange& change, const VakExtractableI* e) override {
    ++_told;
    if (VakIsReportingAgain()) ++_toldAgain;
    VakUserAlgorithm::change(change, e);
  }

  int _told = 0;
  int _toldAgain = 0;
};

const std::vector<VakFaultOperation> _operations = {
    {"make a cell for a name", "VakPlugInManager::findOrCreateCell VakPlugInManager::findCell",
     [](VakStage& s) {
       return VakScene{.act = [&] { managerOf(s).findOrCreateCell("a name"); },
                       .afterFailure = [&]() -> std::string {
                         return managerOf(s).findCell("a name") == nullptr ? "" : "half a cell";
                       }};
     }},
    {"make a plug-in", "VakPlugIn::VakPlugIn VakNotifiedPlugIn::VakNotifiedPlugIn*",
     [](VakStage& s) {
       auto& plugIn = s.keep<VakPlugIn*>(nullptr);
       return VakScene{.act =
                           [&] {
                             delete VakCreate<VakUserNotified>(s.impl());
                             plugIn = VakCreate<VakPlugIn>(s.impl());
                           },
                       .undo = [&] { delete plugIn; }};
     }},
    {"file a plug-in under a name that an add-on watches", "VakPlugInManager::add",
     [](VakStage& s) {
       managerOf(s).add(VakCreate<VakUserAddon>(s.impl()), "watched");
       managerOf(s).add(VakCreate<VakUserAddon>(s.impl()), "watched");
       auto& plugIn = s.keep<VakPlugIn*>(VakCreate<VakPlugIn>(s.impl()));
       auto& other = s.keep<VakPlugIn*>(VakCreate<VakPlugIn>(s.impl()));
       return VakScene{.act =
                           [&] {
                             // A plug-in stays filed when an add-on fails while it is told.
                             VakPlugInManager& manager = managerOf(s);
                             if (!isFiled(plugIn, manager.findCell("watched")))
                               manager.add(plugIn, "watched");
                             manager.add(other, "a new name");
                           },
                       .mayKeep = "what was filed before stays"};
     },
     VakStageKind::Locked},
    {"take a plug-in out", "VakPlugInManager::remove",
     [](VakStage& s) {
       managerOf(s).add(VakCreate<VakUserAddon>(s.impl()), "watched");
       auto& plugIn = s.keep<VakPlugIn*>(VakCreate<VakPlugIn>(s.impl()));
       managerOf(s).add(plugIn, "watched");
       return VakScene{.act = [&] { managerOf(s).remove(plugIn, "watched"); },
                       .undo = [&] { delete plugIn; },
                       .afterFailure = [&]() -> std::string {
                         return isFiled(plugIn, managerOf(s).findCell("watched")) ? ""
                                                                                  : "it is gone";
                       }};
     },
     VakStageKind::Locked},
    {"file and take out an add-on",
     "VakPlugInManager::add VakPlugInManager::remove VakPlugInManager::isCreated "
     "VakPlugInAddon::VakPlugInAddon* VakPlugInAddon::plugInAdded* VakPlugInAddon::plugInRemoved*",
     [](VakStage& s) {
       managerOf(s).add(VakCreate<VakPlugIn>(s.impl()), "watched");
       managerOf(s).add(VakCreate<VakPlugIn>(s.impl()), "watched");
       auto& addon = s.keep<VakUserAddon*>(VakCreate<VakUserAddon>(s.impl()));
       return VakScene{.act =
                           [&] {
                             // An add-on that fails while it is told of the plug-ins stays filed.
                             const VakTypeInfo type = VakUserAddon::GetTypeInfo();
                             if (managerOf(s).isCreated(type, "watched") == 0) {
                               managerOf(s).add(addon, "watched");
                             }
                             managerOf(s).remove(addon, "watched");
                           },
                       .undo = [&] { delete addon; }};
     },
     VakStageKind::Locked},
    {"enter a notified plug-in and take it out",
     "VakPlugInManager::addNotified VakPlugInManager::removeNotified",
     [](VakStage& s) {
       auto& plugIn = s.keep<VakUserNotified*>(VakCreate<VakUserNotified>(s.impl()));
       return VakScene{.act = [&] { managerOf(s).addNotified(plugIn); },
                       .undo =
                           [&] {
                             managerOf(s).removeNotified(plugIn);
                             delete plugIn;
                           },
                       .afterFailure = [&]() -> std::string {
                         return managerOf(s).notified == nullptr ? "" : "half a node";
                       }};
     },
     VakStageKind::Locked},
    {"tell notified plug-ins of a change",
     "VakPlugInManager::apply VakNotifiedPlugIn::notifyChange*",
     [](VakStage& s) {
       for (int i = 0; i < 3; ++i) managerOf(s).addNotified(VakCreate<VakUserNotified>(s.impl()));
       return VakScene{.act = [&] { managerOf(s).apply(VakUserChange(), nullptr); }};
     }},
    {"make and end a plug-in manager",
     "VakPlugInManager::VakPlugInManager VakPlugInManager::end VakPlugInManager::VakCell::end",
     [](VakStage& s) {
       auto& manager =
           s.keep<std::unique_ptr<VakPlugInManager>>(std::make_unique<VakPlugInManager>(s.impl()));
       for (int i = 0; i < 3; ++i) {
         manager->add(VakCreate<VakPlugIn>(s.impl()), i == 0 ? "one" : "two");
         manager->add(VakCreate<VakUserAddon>(s.impl()), "two");
       }
       return VakScene{.act =
                           [&] {
                             manager->findCell("two")->end();
                             manager->end();
                           },
                       .undo = [&] { manager.reset(); }};
     }},
    {"end a plug-in manager whose plug-ins fail", "VakPlugInManager::end",
     [](VakStage& s) {
       auto& manager =
           s.keep<std::unique_ptr<VakPlugInManager>>(std::make_unique<VakPlugInManager>(s.impl()));
       for (int i = 0; i < 3; ++i) manager->add(VakCreate<VakUserPlugIn>(s.impl()), "one");
       return VakScene{.act = [&] { manager->end(); },
                       .undo = [&] { manager.reset(); },
                       .mayKeep = "plug-ins that were deleted before are gone"};
     }},
    {"walk over what is told",
     "VakWalk::VakWalk VakWalk::next VakWalk::Skip VakWatch::VakWatch "
     "VakWatch::isGone VakWatch::Lose",
     [](VakStage& s) {
       VakPlugIn* first = VakCreate<VakPlugIn>(s.impl());
       first->next = VakCreate<VakPlugIn>(s.impl());
       return VakScene{.act = [first] {
         VakWalk<VakPlugIn>* running = nullptr;
         VakWatch<VakPlugIn>* watches = nullptr;
         const VakWatch<VakPlugIn> watch(watches, first);
         VakWalk<VakPlugIn> walk(running, first);
         VakWalk<VakPlugIn>::Skip(running, first);
         VakWatch<VakPlugIn>::Lose(watches, first);
         if (walk.next() != first->next || !watch.isGone()) throw std::logic_error("a walk");
       }};
     }},
    {"report a change to whoever listens",
     "VakHasListeners VakReport VakReportAgain VakIsReportingAgain",
     [](VakStage& s) {
       managerOf(s).addNotified(VakCreate<VakUserNotified>(s.impl()));
       VakUserNode* node = VakCreate<VakUserNode>(s.impl());
       auto* counting = new CountingAlgorithm(s.impl());
       return VakScene{.act =
                           [&s, node, counting] {
                             counting->_told = 0;
                             counting->_toldAgain = 0;
                             if (!VakHasListeners(s.impl())) throw std::logic_error("nobody");
                             VakReport(s.impl(), node, VakUserChange());
                             VakReport(s.impl(), nullptr, VakUserChange());
                             VakReportAgain(s.impl(), node, VakUserChange());
                           },
                       .afterSuccess = [counting]() -> std::string {
                         return counting->_told == 2 && counting->_toldAgain == 1
                                    ? ""
                                    : "an algorithm was left out";
                       },
                       .mayAbsorb = {{VakFaultKind::Callback,
                                      "what is thrown while a change is taken back is dropped"}}};
     }},
};

}  // namespace

VakFaultGroup VakPlugInFaults() { return {"Plug-ins", _operations}; }

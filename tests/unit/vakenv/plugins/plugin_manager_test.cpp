#include "vakenv/plugins/plugin_manager.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/support/counting_mutex.h"
#include "tests/support/environment_mode.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/core/create.h"
#include "vakenv/memory/id_manager.h"

namespace {

class Named : public VakPlugIn {
 public:
  Named(VakEnvI* env, VakTestScript& script, const char* name)
      : VakPlugIn(env), _script(script), _name(name) {}
  ~Named() noexcept(false) override {
    _script.write(std::string("~") + _name);
    if (_onDelete != nullptr) _onDelete(*this);
  }

  VakTestScript& _script;
  const char* _name;
  void (*_onDelete)(Named&) = nullptr;
};

class Addon : public VakPlugInAddon {
  VAK_RTTI(Addon, VakPlugInAddon);

  using Listener = void (*)(Addon&, VakPlugIn*);
  Addon(VakEnvI* env, VakTestScript& script, const char* name, Listener onAdded = nullptr,
        Listener onRemoved = nullptr)
      : VakPlugInAddon(env),
        _script(script),
        _name(name),
        _onAdded(onAdded),
        _onRemoved(onRemoved) {}
  ~Addon() noexcept(false) override { _script.write(std::string("~") + _name); }

  void plugInAdded(VakPlugIn* p) override {
    _script.write(std::string(_name) + "+" + static_cast<Named*>(p)->_name);
    if (_onAdded != nullptr) _onAdded(*this, p);
  }
  void plugInRemoved(VakPlugIn* p) override {
    _script.write(std::string(_name) + "-" + static_cast<Named*>(p)->_name);
    if (_onRemoved != nullptr) _onRemoved(*this, p);
  }

  VakTestScript& _script;
  const char* _name;
  Listener _onAdded;
  Listener _onRemoved;
  VakPlugIn* _plugIn = nullptr;
  VakPlugInAddon* _addon = nullptr;
};

class DerivedAddon : public Addon {
  VAK_RTTI(DerivedAddon, Addon);
  using Addon::Addon;
};

struct World {
  VakTestScript script;
  VakScopedEnv env;
  VakPlugInManager& manager = *env->_plugInManager;

  Named* plugIn(const char* name) { return VakCreate<Named>(env.impl(), script, name); }
  Addon* addon(const char* name, Addon::Listener onAdded = nullptr,
               Addon::Listener onRemoved = nullptr) {
    return VakCreate<Addon>(env.impl(), script, name, onAdded, onRemoved);
  }
  VakTestNotified* notified(const char* name, VakTestNotified::Listener listener = nullptr) {
    return VakCreate<VakTestNotified>(env.impl(), script, name, listener);
  }
};

std::string names(const VakPlugIn* p) {
  std::string all;
  for (; p != nullptr; p = p->next) all += static_cast<const Named*>(p)->_name;
  return all;
}

TEST(PlugInManager, StartsEmpty) {
  World w;
  EXPECT_EQ(w.manager.first, nullptr);
  EXPECT_EQ(w.manager.notified, nullptr);
  EXPECT_EQ(w.manager.env, w.env.impl());
}

TEST(PlugInManager, FilesCellsUnderPrivateCopiesOfTheirNamesNewestFirst) {
  World w;
  char name[] = "one";
  auto* one = w.manager.findOrCreateCell(name);
  name[0] = 'x';
  auto* two = w.manager.findOrCreateCell("two");
  EXPECT_STREQ(one->name, "one");
  EXPECT_EQ(w.manager.first, two);
  EXPECT_EQ(two->next, one);
  EXPECT_EQ(w.manager.findOrCreateCell("one"), one);
  EXPECT_EQ(w.manager.findCell("One"), nullptr);
}

TEST(PlugInManager, TakesCellsAndNodesFromTheEnvironmentAndGivesThemBack) {
  World w;
  VakPlugInManager other(w.env.impl());
  const VakInt before = w.env->getMemoryUsage();
  auto* n = w.notified("n");
  other.addNotified(n);
  other.removeNotified(n);
  delete n;
  EXPECT_EQ(w.env->getMemoryUsage(), before);
  other.findOrCreateCell("a rather long name of a cell");
  EXPECT_GT(w.env->getMemoryUsage(), before);
  other.end();
  EXPECT_EQ(w.env->getMemoryUsage(), before);
}

TEST(PlugInManager, FilesPlugInsNewestFirst) {
  World w;
  w.manager.add(w.plugIn("a"), "x");
  w.manager.add(w.plugIn("b"), "x");
  w.manager.add(w.plugIn("c"), "y");
  EXPECT_EQ(names(w.manager.findCell("x")->plugIns), "ba");
  EXPECT_EQ(names(w.manager.findCell("y")->plugIns), "c");
}

TEST(PlugInManager, TellsANewAddonOfTwoPlugInsNewestFirst) {
  World w;
  w.manager.add(w.plugIn("1"), "x");
  w.manager.add(w.plugIn("2"), "x");
  w.manager.add(w.plugIn("other"), "y");
  w.manager.add(w.addon("a"), "x");
  EXPECT_EQ(w.script.takeLog(), "a+2, a+1");
}

TEST(PlugInManager, TellsTwoAddonsOfANewPlugInNewestFirst) {
  World w;
  w.manager.add(w.addon("a"), "x");
  w.manager.add(w.addon("b"), "x");
  w.manager.add(w.plugIn("1"), "x");
  EXPECT_EQ(w.script.takeLog(), "b+1, a+1");
}

TEST(PlugInManager, TellsAddonsBeforeAPlugInIsUnlinked) {
  World w;
  auto* p = w.plugIn("1");
  w.manager.add(w.addon("a", nullptr,
                        [](Addon& a, VakPlugIn* gone) {
                          auto* cell = a._env->_plugInManager->findCell("x");
                          a._script.write(cell->plugIns == gone ? "still filed" : "gone");
                        }),
                "x");
  w.manager.add(p, "x");
  w.manager.remove(p, "x");
  EXPECT_EQ(w.script.takeLog(), "a+1, a-1, still filed");
  EXPECT_EQ(w.manager.findCell("x")->plugIns, nullptr);
  delete p;
}

TEST(PlugInManager, TellsAnAddonThatGoesOfEveryPlugIn) {
  World w;
  auto* a = w.addon("a");
  w.manager.add(w.plugIn("1"), "x");
  w.manager.add(w.plugIn("2"), "x");
  w.manager.add(a, "x");
  w.script.takeLog();
  w.manager.remove(a, "x");
  EXPECT_EQ(w.script.takeLog(), "a-2, a-1");
  EXPECT_EQ(w.manager.findCell("x")->addons, nullptr);
  delete a;
}

TEST(PlugInManager, UnlinksHeadMiddleAndLastPlugIn) {
  World w;
  Named* p[] = {w.plugIn("0"), w.plugIn("1"), w.plugIn("2"), w.plugIn("3")};
  for (Named* each : p) w.manager.add(each, "x");
  w.manager.remove(p[1], "x");
  EXPECT_EQ(names(w.manager.findCell("x")->plugIns), "320");
  w.manager.remove(p[3], "x");
  EXPECT_EQ(names(w.manager.findCell("x")->plugIns), "20");
  w.manager.remove(p[0], "x");
  EXPECT_EQ(names(w.manager.findCell("x")->plugIns), "2");
  delete p[0];
  delete p[1];
  delete p[3];
}

TEST(PlugInManager, LeavesAPlugInAloneThatIsNotFiledUnderTheName) {
  World w;
  auto* p = w.plugIn("1");
  w.manager.add(p, "x");
  w.manager.findOrCreateCell("y");
  w.manager.remove(p, "y");
  EXPECT_EQ(names(w.manager.findCell("x")->plugIns), "1");
}

TEST(PlugInManager, KeepsACellWhoseLastPlugInWasRemoved) {
  World w;
  auto* p = w.plugIn("1");
  w.manager.add(p, "x");
  auto* cell = w.manager.findCell("x");
  w.manager.remove(p, "x");
  EXPECT_EQ(w.manager.findCell("x"), cell);
  delete p;
}

TEST(PlugInManager, FindsCreatedAddonsByTheirExactTypeOnly) {
  World w;
  w.manager.add(VakCreate<DerivedAddon>(w.env.impl(), w.script, "a"), "x");
  w.manager.add(w.plugIn("1"), "x");
  EXPECT_EQ(w.manager.isCreated(DerivedAddon::GetTypeInfo(), "x"), 1);
  EXPECT_EQ(w.manager.isCreated(Addon::GetTypeInfo(), "x"), 0);
  EXPECT_EQ(w.manager.isCreated(VakPlugIn::GetTypeInfo(), "x"), 0);
  EXPECT_EQ(w.manager.isCreated(DerivedAddon::GetTypeInfo(), "y"), 0);
}

TEST(PlugInManager, FindsNamesThatNeedNoTerminator) {
  World w;
  w.manager.add(VakCreate<DerivedAddon>(w.env.impl(), w.script, "a"), "cost");
  const std::string_view names = "costsrest";
  EXPECT_EQ(w.manager.findCell(names.substr(0, 4)), w.manager.findCell("cost"));
  EXPECT_EQ(w.manager.findCell(names.substr(0, 5)), nullptr);
  EXPECT_EQ(w.manager.findCell(names.substr(0, 3)), nullptr);
  EXPECT_EQ(w.manager.isCreated(DerivedAddon::GetTypeInfo(), names.substr(0, 4)), 1);
  EXPECT_EQ(w.manager.isCreated(DerivedAddon::GetTypeInfo(), std::string("costs")), 0);
}

TEST(PlugInManager, TellsNotifiedPlugInsNewestFirst) {
  World w;
  auto* a = w.notified("a");
  auto* b = w.notified("b");
  w.manager.addNotified(a);
  w.manager.addNotified(b);
  w.manager.apply(VakTestChange(), nullptr);
  EXPECT_EQ(w.script.takeLog(), "b: change / -, a: change / -");
  w.manager.removeNotified(b);
  w.manager.apply(VakTestChange(), nullptr);
  EXPECT_EQ(w.script.takeLog(), "a: change / -");
  w.manager.removeNotified(a);
  delete a;
  delete b;
}

TEST(PlugInManager, IgnoresTheRemovalOfANotifiedPlugInThatWasNeverAdded) {
  World w;
  auto* a = w.notified("a");
  auto* b = w.notified("b");
  w.manager.addNotified(a);
  w.manager.removeNotified(b);
  ASSERT_NE(w.manager.notified, nullptr);
  EXPECT_EQ(w.manager.notified->plugIn, a);
  w.manager.removeNotified(a);
  delete a;
  delete b;
}

TEST(PlugInManager, EntersANotifiedPlugInAsOftenAsItIsAdded) {
  World w;
  auto* a = w.notified("a");
  w.manager.addNotified(a);
  w.manager.addNotified(a);
  w.manager.removeNotified(a);
  w.manager.apply(VakTestChange(), nullptr);
  EXPECT_EQ(w.script.takeLog(), "a: change / -");
  w.manager.removeNotified(a);
  delete a;
}

TEST(PlugInManager, SurvivesNotifiedPlugInsThatDeleteThemselves) {
  World w;
  const auto deleteSelf = [](VakTestNotified& self, const VakChange&) {
    self._env->_plugInManager->removeNotified(&self);
    delete &self;
  };
  for (const char* name : {"a", "b", "c"}) w.manager.addNotified(w.notified(name, deleteSelf));
  w.manager.apply(VakTestChange(), nullptr);
  EXPECT_EQ(w.script.takeLog(), "c: change / -, b: change / -, a: change / -");
  EXPECT_EQ(w.manager.notified, nullptr);
}

TEST(PlugInManager, SurvivesANotifiedPlugInThatDeletesItsNeighbour) {
  World w;
  auto* a = w.notified("a");
  auto* b = w.notified("b");
  auto* c = w.notified("c", [](VakTestNotified& self, const VakChange&) {
    auto* neighbour = self._env->_plugInManager->notified->next->plugIn;
    self._env->_plugInManager->removeNotified(neighbour);
    delete neighbour;
  });
  for (auto* each : {a, b, c}) w.manager.addNotified(each);
  w.manager.apply(VakTestChange(), nullptr);
  EXPECT_EQ(w.script.takeLog(), "c: change / -, a: change / -");
  w.manager.removeNotified(a);
  w.manager.removeNotified(c);
  delete a;
  delete c;
}

TEST(PlugInManager, DoesNotTellANotifiedPlugInThatIsAddedMeanwhile) {
  World w;
  auto* a = w.notified("a", [](VakTestNotified& self, const VakChange&) {
    if (self._env->_plugInManager->notified->next != nullptr) return;
    self._env->_plugInManager->addNotified(
        VakCreate<VakTestNotified>(self._env, self._script, "late"));
  });
  w.manager.addNotified(a);
  w.manager.apply(VakTestChange(), nullptr);
  EXPECT_EQ(w.script.takeLog(), "a: change / -");
  w.manager.apply(VakTestChange(), nullptr);
  EXPECT_EQ(w.script.takeLog(), "late: change / -, a: change / -");
  auto* late = w.manager.notified->plugIn;
  w.manager.removeNotified(late);
  w.manager.removeNotified(a);
  delete late;
  delete a;
}

TEST(PlugInManager, SurvivesAddonsThatDeleteThemselvesWhenTold) {
  World w;
  const auto deleteSelf = [](Addon& self, VakPlugIn*) {
    self._onRemoved = nullptr;
    self._env->_plugInManager->remove(&self, "x");
    delete &self;
  };
  for (const char* name : {"a", "b"}) w.manager.add(w.addon(name, deleteSelf), "x");
  w.manager.add(w.plugIn("1"), "x");
  EXPECT_EQ(w.script.takeLog(), "b+1, b-1, ~b, a+1, a-1, ~a");
  EXPECT_EQ(w.manager.findCell("x")->addons, nullptr);
}

TEST(PlugInManager, StopsTellingOfAPlugInThatAnAddonDeletes) {
  World w;
  w.manager.add(w.addon("a"), "x");
  w.manager.add(w.addon("b",
                        [](Addon& self, VakPlugIn* p) {
                          self._env->_plugInManager->remove(p, "x");
                          delete p;
                        }),
                "x");
  w.manager.add(w.plugIn("1"), "x");
  EXPECT_EQ(w.script.takeLog(), "b+1, b-1, a-1, ~1");
}

TEST(PlugInManager, StopsTellingAnAddonThatDeletesItselfWhileItIsAdded) {
  World w;
  w.manager.add(w.plugIn("1"), "x");
  w.manager.add(w.plugIn("2"), "x");
  w.manager.add(w.addon("a",
                        [](Addon& self, VakPlugIn*) {
                          self._env->_plugInManager->remove(&self, "x");
                          delete &self;
                        }),
                "x");
  EXPECT_EQ(w.script.takeLog(), "a+2, a-2, a-1, ~a");
  EXPECT_EQ(w.manager.findCell("x")->addons, nullptr);
}

TEST(PlugInManager, SurvivesAnAddonThatDeletesItsNeighbourOrAnotherPlugIn) {
  World w;
  auto* first = w.plugIn("1");
  auto* a = w.addon("a");
  auto* b = w.addon("b", [](Addon& self, VakPlugIn*) {
    if (self._addon == nullptr) return;
    self._env->_plugInManager->remove(self._addon, "x");
    delete self._addon;
    self._env->_plugInManager->remove(self._plugIn, "x");
    delete self._plugIn;
    self._addon = nullptr;
  });
  w.manager.add(a, "x");
  w.manager.add(b, "x");
  w.manager.add(first, "x");
  w.script.takeLog();
  b->_addon = a;
  b->_plugIn = first;
  w.manager.add(w.plugIn("2"), "x");
  EXPECT_EQ(w.script.takeLog(), "b+2, a-2, a-1, ~a, b-1, ~1");
  EXPECT_EQ(names(w.manager.findCell("x")->plugIns), "2");
}

TEST(PlugInManager, SurvivesAnAddonThatDeletesThePlugInItWouldBeToldOfNext) {
  World w;
  auto* one = w.plugIn("1");
  w.manager.add(one, "x");
  w.manager.add(w.plugIn("2"), "x");
  auto* a = w.addon("a", [](Addon& self, VakPlugIn*) {
    if (self._plugIn == nullptr) return;
    VakPlugIn* gone = self._plugIn;
    self._plugIn = nullptr;
    self._env->_plugInManager->remove(gone, "x");
    delete gone;
  });
  a->_plugIn = one;
  w.manager.add(a, "x");
  EXPECT_EQ(w.script.takeLog(), "a+2, a-1, ~1");
}

TEST(PlugInManager, KeepsAPlugInFiledWhenAnAddonThrowsInAddOrRemove) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  {
    World w;
    const auto fail = [](Addon&, VakPlugIn*) { throw std::runtime_error("addon"); };
    auto* a = w.addon("a", fail, fail);
    w.manager.add(a, "x");
    auto* p = w.plugIn("1");
    EXPECT_THROW(w.manager.add(p, "x"), std::runtime_error);
    EXPECT_EQ(names(w.manager.findCell("x")->plugIns), "1");
    EXPECT_THROW(w.manager.remove(p, "x"), std::runtime_error);
    EXPECT_EQ(names(w.manager.findCell("x")->plugIns), "1");
    EXPECT_THROW(w.manager.remove(a, "x"), std::runtime_error);
    EXPECT_EQ(w.manager.findCell("x")->addons, a);
    EXPECT_EQ(mutex.depth, 0);
    EXPECT_EQ(w.env->_registry.plugIns.addons, nullptr);
    EXPECT_EQ(w.env->_registry.plugIns.watchedPlugIns, nullptr);
  }
  VakEndMT();
}

TEST(PlugInManager, LocksTheMutexOnceForEachOperationThatAlters) {
  VakCountingMutex mutex;
  VakInitMT(&mutex);
  {
    World w;
    auto* p = w.plugIn("1");
    auto* a = w.addon("a");
    auto* n = w.notified("n");
    const VakLockCount count(mutex);
    w.manager.add(p, "x");
    EXPECT_EQ(count.get(), 1);
    w.manager.add(a, "x");
    EXPECT_EQ(count.get(), 2);
    w.manager.remove(p, "x");
    EXPECT_EQ(count.get(), 3);
    w.manager.remove(a, "x");
    EXPECT_EQ(count.get(), 4);
    w.manager.addNotified(n);
    EXPECT_EQ(count.get(), 5);
    w.manager.removeNotified(n);
    EXPECT_EQ(count.get(), 6);
    w.manager.removeNotified(n);
    EXPECT_EQ(count.get(), 7);
    static_cast<void>(w.manager.findCell("x"));
    w.manager.findOrCreateCell("y");
    static_cast<void>(w.manager.isCreated(Addon::GetTypeInfo(), "x"));
    w.manager.apply(VakTestChange(), nullptr);
    EXPECT_EQ(count.get(), 7);
    delete p;
    delete a;
    delete n;
  }
  VakEndMT();
}

TEST(PlugInManager, DeletesPlugInsThenAddonsOfEachCellAtTheEnd) {
  VakTestScript script;
  {
    VakScopedEnv env;
    VakPlugInManager& m = *env->_plugInManager;
    for (const char* name : {"1", "2"}) m.add(VakCreate<Named>(env.impl(), script, name), "x");
    for (const char* name : {"a", "b"}) m.add(VakCreate<Addon>(env.impl(), script, name), "x");
    m.add(VakCreate<Named>(env.impl(), script, "3"), "y");
    script.takeLog();
  }
  EXPECT_EQ(script.takeLog(), "~3, ~2, ~1, ~b, ~a");
}

TEST(PlugInManager, DoesNotDeleteNotifiedPlugInsAtTheEnd) {
  VakTestScript script;
  VakScopedEnv env;
  auto* n = VakCreate<VakTestNotified>(env.impl(), script, "n");
  VakPlugInManager other(env.impl());
  other.addNotified(n);
  other.end();
  EXPECT_EQ(other.notified, nullptr);
  EXPECT_EQ(n->_env, env.impl());
  delete n;
}

TEST(PlugInManager, CanBeCalledByDestructorsOfPlugInsThatItDeletes) {
  VakTestScript script;
  VakScopedEnv env;
  VakPlugInManager& m = *env->_plugInManager;
  auto* one = VakCreate<Named>(env.impl(), script, "1");
  m.add(one, "x");
  auto* two = VakCreate<Named>(env.impl(), script, "2");
  two->_onDelete = [](Named& self) {
    VakPlugInManager& manager = *self._env->_plugInManager;
    VakPlugIn* other = manager.findCell("x")->plugIns;
    manager.remove(other, "x");
    delete other;
    manager.remove(&self, "x");
    manager.add(VakCreate<Named>(self._env, self._script, "3"), "x");
    manager.add(VakCreate<Named>(self._env, self._script, "4"), "new name");
    manager.apply(VakTestChange(), nullptr);
  };
  m.add(two, "x");
  auto* n = VakCreate<VakTestNotified>(env.impl(), script, "n");
  m.addNotified(n);
  m.end();
  EXPECT_EQ(script.takeLog(), "~2, ~1, ~3, ~4");
  EXPECT_EQ(m.first, nullptr);
  delete n;
}

TEST(PlugInManager, GoesOnEndingAfterADestructorThrew) {
  VakTestScript script;
  VakScopedEnv env;
  VakPlugInManager& m = *env->_plugInManager;
  m.add(VakCreate<Named>(env.impl(), script, "1"), "x");
  auto* two = VakCreate<Named>(env.impl(), script, "2");
  two->_onDelete = [](Named&) { throw std::runtime_error("2"); };
  m.add(two, "x");
  EXPECT_THROW(m.end(), std::runtime_error);
  m.end();
  EXPECT_EQ(script.takeLog(), "~2, ~1");
}

TEST(PlugInManager, WorksThroughTheLocalEnvironmentInThreadSafeMode) {
  World w;
  const VakInt before = w.env->getMemoryUsage();
  w.env->useMTSafeAllocation(1);
  auto* n = w.notified("n");
  w.manager.addNotified(n);
  w.env->useMTSafeAllocation(0);
  w.manager.removeNotified(n);
  delete n;
  EXPECT_EQ(w.env->getMemoryUsage(), before);
}

}  // namespace

// Random operations on a graph of objects, beside a simple reference that knows what must be left.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/registry/clone_manager.h"

namespace {

// The reference: which object refers to which, and which go when they refer to nothing any more.
// References lead to older objects only.
struct Reference {
  struct Node {
    std::vector<const VakTestNode*> refs;
    bool goesWhenEmpty;
  };
  std::map<const VakTestNode*, Node> nodes;

  // Removes the references to `gone`; returns everything that goes with it, `gone` included.
  std::set<const VakTestNode*> remove(std::set<const VakTestNode*> gone) {
    for (bool grown = true; grown;) {
      grown = false;
      for (auto& [node, state] : nodes) {
        if (gone.contains(node)) continue;
        const auto before = state.refs.size();
        std::erase_if(state.refs, [&](const VakTestNode* ref) { return gone.contains(ref); });
        if (!state.goesWhenEmpty || before == 0 || !state.refs.empty()) continue;
        gone.insert(node);
        grown = true;
      }
    }
    return gone;
  }
  void forget(const std::set<const VakTestNode*>& gone) {
    for (const VakTestNode* node : gone) nodes.erase(node);
  }
  void reach(const VakTestNode* from, std::set<const VakTestNode*>& reached) const {
    if (!reached.insert(from).second) return;
    for (const VakTestNode* ref : nodes.at(from).refs) reach(ref, reached);
  }
};

class RandomRegistry {
 public:
  explicit RandomRegistry(unsigned seed) : _random(seed) {
    new VakTestAlgorithm(_env.impl(), _script, "alg",
                         [this](VakTestAlgorithm&, const VakChange& change) { listen(change); });
    _script.onDestruct = [this](VakTestNode& node) { _destroyed.push_back(&node); };
    _usage = _env->getMemoryUsage();
  }

  void run(int steps) {
    for (int step = 0; step < steps; ++step) {
      doOne();
      _script.log.clear();
      if (step % 64 != 0) continue;
      ASSERT_NO_FATAL_FAILURE(compare());
    }
    clear();
  }

 private:
  static constexpr std::size_t Most = 150;

  std::size_t below(std::size_t n) { return _random() % n; }
  VakTestNode* any() { return _alive[below(_alive.size())]; }

  void doOne() {
    const auto dice = below(100);
    if (_alive.empty() || (dice < 40 && _alive.size() < Most)) return create();
    if (dice < 50) return reportChange();
    if (dice < 60) return removeAndShow();
    if (dice < 70) return removeArray();
    if (dice < 82) return removeAndDestroy();
    if (dice < 88) return removeAndDestroyArray();
    if (dice < 94) return destroyUnused();
    copy();
  }

  void create() {
    auto* node = VakMakeNode(_env.impl(), _script, "n");
    Reference::Node state{{}, below(2) == 0};
    node->_goesWhenEmpty = state.goesWhenEmpty;
    for (auto refs = below(4); refs > 0 && !_alive.empty(); --refs) {
      VakTestNode* ref = any();
      node->refer(ref);
      state.refs.push_back(ref);
    }
    _alive.push_back(node);
    _reference.nodes[node] = state;
  }

  void reportChange() {
    const int before = _changes;
    any()->notify(VakTestChange());
    EXPECT_EQ(_changes, before + 1);
  }

  // On its own the object is shown again; what went with it stays hidden and is destroyed by hand.
  void removeAndShow() {
    VakTestNode* node = any();
    auto gone = _reference.remove({node});
    _env->removeFromAll(node);
    expectReported(gone);
    gone.erase(node);
    const std::vector<VakTestNode*> hidden = _reported;
    for (VakTestNode* each : hidden) {
      if (each == node) continue;
      EXPECT_TRUE(VakExtractableI::IsHidden(each));
      _env->destroy(each, 0);
    }
    expectDestroyed(gone);
  }

  // An array of objects without users that go: nothing else asks for its removal.
  void removeArray() {
    VakExtractableArray array(_env->_allocator);
    std::set<const VakTestNode*> chosen;
    for (VakTestNode* node : _alive) {
      if (below(20) == 0) chosen.insert(node);
    }
    Reference after = _reference;
    if (after.remove(chosen).size() == chosen.size()) {
      for (const VakTestNode* node : chosen) array.add(const_cast<VakTestNode*>(node));
      _reference = after;
      _env->removeFromAll(array);
      expectReported(chosen);
    }
    array.end();
  }

  void removeAndDestroy() {
    VakTestNode* node = any();
    const auto gone = _reference.remove({node});
    _env->removeFromAllAndDestroy(node, 0);
    expectReported(gone);
    expectReverse();
    expectDestroyed(gone);
  }

  // Duplicates and null among them.
  void removeAndDestroyArray() {
    VakExtractableArray array(_env->_allocator);
    std::set<const VakTestNode*> chosen;
    for (auto count = below(6); count > 0; --count) {
      VakTestNode* node = any();
      chosen.insert(node);
      array.add(node);
      if (below(4) == 0) array.add(nullptr);
    }
    const auto gone = _reference.remove(chosen);
    _env->removeFromAllAndDestroy(array, 0);
    array.end();
    expectReported(gone);
    expectReverse();
    expectDestroyed(gone);
  }

  // Something that nobody refers to, in one of the ways in which a program can do so.
  void destroyUnused() {
    VakTestNode* node = any();
    for (const auto& [other, state] : _reference.nodes) {
      if (std::find(state.refs.begin(), state.refs.end(), node) != state.refs.end()) return;
    }
    switch (below(3)) {
      case 0:
        _env->destroy(node, 0);
        break;
      case 1:
        _env->destroy(node, 1);
        EXPECT_EQ(node->id, -1);
        delete node;
        break;
      default:
        delete node;
    }
    expectDestroyed({node});
  }

  void copy() {
    VakTestNode* node = any();
    std::set<const VakTestNode*> reached;
    _reference.reach(node, reached);
    if (reached.size() + _alive.size() > 2 * Most) return;
    _env->lockCloning();
    static_cast<void>(_env->getClone(node));
    for (const VakTestNode* original : reached) adopt(const_cast<VakTestNode*>(original));
    _env->unlockCloning();
  }

  // Enters the copy of `original` in the reference, having compared their references.
  void adopt(VakTestNode* original) {
    ASSERT_EQ(_env->hasClone(original), 1);
    auto* copied = static_cast<VakTestNode*>(_env->getClone(original));
    const auto& refs = _reference.nodes.at(original).refs;
    Reference::Node state{{}, false};
    ASSERT_EQ(copied->_refs.getSize(), static_cast<VakInt>(refs.size()));
    for (std::size_t i = 0; i < refs.size(); ++i) {
      auto* ref = static_cast<VakTestNode*>(_env->getClone(const_cast<VakTestNode*>(refs[i])));
      ASSERT_EQ(copied->_refs[static_cast<VakInt>(i)], ref);
      state.refs.push_back(ref);
    }
    _alive.push_back(copied);
    _reference.nodes[copied] = state;
  }

  void listen(const VakChange& change) {
    ++_changes;
    if (change.isType(VakRemoveFromAllChange::GetTypeInfo()) == 0) return;
    _reported.clear();
    for (VakExtractableI* e :
         static_cast<const VakRemoveFromAllChange&>(change).getExtractables()) {
      _reported.push_back(static_cast<VakTestNode*>(e));
    }
  }

  void expectReported(const std::set<const VakTestNode*>& expected) {
    EXPECT_EQ(std::set<const VakTestNode*>(_reported.begin(), _reported.end()), expected);
    EXPECT_EQ(_reported.size(), expected.size());
    EXPECT_FALSE(_env->isRemoving());
  }
  void expectReverse() {
    const std::vector<const VakTestNode*> reversed(_reported.rbegin(), _reported.rend());
    EXPECT_EQ(_destroyed, reversed);
  }
  void expectDestroyed(const std::set<const VakTestNode*>& expected) {
    EXPECT_EQ(std::set<const VakTestNode*>(_destroyed.begin(), _destroyed.end()), expected);
    EXPECT_EQ(_destroyed.size(), expected.size());
    _reference.forget(expected);
    std::erase_if(_alive, [&](const VakTestNode* node) { return expected.contains(node); });
    _destroyed.clear();
  }

  void compare() {
    const VakIdManager& ids = *_env->_idManager;
    ASSERT_EQ(ids.check(), "");
    ASSERT_EQ(_reference.nodes.size(), _alive.size());
    std::size_t live = 0;
    for (VakInt id = 0; id < ids._size; ++id) live += ids.isLive(id) ? 1 : 0;
    ASSERT_EQ(live, _alive.size());
    for (const VakTestNode* node : _alive) {
      ASSERT_EQ(ids._data[node->id], node);
      const auto& refs = _reference.nodes.at(node).refs;
      ASSERT_EQ(node->_refs.getSize(), static_cast<VakInt>(refs.size()));
      for (std::size_t i = 0; i < refs.size(); ++i) {
        ASSERT_EQ(node->_refs[static_cast<VakInt>(i)], refs[i]);
      }
    }
  }

  void clear() {
    while (!_alive.empty()) removeAndDestroy();
    // What stays is the clone manager's table, and the term of its growth.
    const VakCloneManager& clones = *_env->_cloneManager;
    EXPECT_EQ(clones.ids.getSize(), 0);
    const VakInt table = _env->getMemoryUsage() - _usage;
    EXPECT_LT(table, 100000);
  }

  std::mt19937 _random;
  VakTestScript _script;
  VakScopedEnv _env;
  Reference _reference;
  std::vector<VakTestNode*> _alive;
  std::vector<VakTestNode*> _reported;
  std::vector<const VakTestNode*> _destroyed;
  int _changes = 0;
  VakInt _usage = 0;
};

TEST(RandomRegistry, LeavesWhatTheReferenceLeavesWithSeed1) { RandomRegistry(1).run(20000); }
TEST(RandomRegistry, LeavesWhatTheReferenceLeavesWithSeed2) { RandomRegistry(2).run(20000); }
TEST(RandomRegistry, LeavesWhatTheReferenceLeavesWithSeed3) { RandomRegistry(3).run(20000); }

}  // namespace

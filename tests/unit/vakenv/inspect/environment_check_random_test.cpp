// After long random use of everything that an environment holds, the deep check finds nothing.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/test_algorithm.h"
#include "vakenv/arrays.h"
#include "vakenv/memory/env.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/properties.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/linear_term.h"

namespace {

class Mortal : public VakDestroyableI {
  VAK_RTTI(Mortal, VakDestroyableI);
  using VakDestroyableI::VakDestroyableI;
};

class Silent : public VakPlugIn {
  VAK_RTTI(Silent, VakPlugIn);
  using VakPlugIn::VakPlugIn;
};

/// Does one random thing after the other, each of which can be undone later.
class RandomUse {
 public:
  explicit RandomUse(unsigned seed) : _random(seed) {
    env()->_typedLists.switchOn(env());
    env()->useMTSafeNormalization(1);
    new VakTestAlgorithm(env(), _script, "alg");
    _script.onDestruct = [this](VakTestNode& node) { std::erase(_nodes, &node); };
  }
  ~RandomUse() { _handle.end(); }
  RandomUse(const RandomUse&) = delete;
  RandomUse& operator=(const RandomUse&) = delete;

  void step() {
    _script.log.clear();
    switch (below(14)) {
      case 0:
      case 1:
      case 2:
        return makeNode();
      case 3:
        return removeNode();
      case 4:
        return useTerms();
      case 5:
        return useBlocks();
      case 6:
        return useArrays();
      case 7:
        return useDestroyables();
      case 8:
        return useProperties();
      case 9:
        return static_cast<void>(_handle.makeSymbol(std::to_string(below(300)).c_str()));
      case 10:
        return usePlugIns();
      case 11:
        return useDomains();
      case 12:
        return cloneNode();
      default:
        return useMarks();
    }
  }
  [[nodiscard]] std::string check() const { return _handle.check(); }

 private:
  [[nodiscard]] VakEnvI* env() const { return _handle.getImpl(); }
  std::size_t below(std::size_t n) { return _random() % n; }
  template <class T>
  T takeAny(std::vector<T>& all) {
    std::swap(all[below(all.size())], all.back());
    T taken = all.back();
    all.pop_back();
    return taken;
  }

  void makeNode() {
    std::initializer_list<VakExtractableI*> none = {};
    auto* node = VakMakeNode(env(), _script, "N", none);
    for (std::size_t i = below(4); i > 0 && !_nodes.empty(); --i) {
      node->refer(_nodes[below(_nodes.size())]);
    }
    node->_goesWhenEmpty = below(2) == 0;
    _nodes.push_back(node);
  }
  void removeNode() {
    if (_nodes.empty()) return;
    env()->removeFromAllAndDestroy(_nodes[below(_nodes.size())], 0);
  }
  void cloneNode() {
    if (_nodes.empty()) return;
    auto* copy = static_cast<VakTestNode*>(env()->getClone(_nodes[below(_nodes.size())]));
    EXPECT_EQ(env()->hasClone(copy), 0);
  }
  void useTerms() {
    for (std::size_t i = below(200); i > 0; --i) _terms.push_back(env()->newTerm(nullptr, 1));
    for (std::size_t i = below(200); i > 0 && !_terms.empty(); --i) {
      env()->recycleTerm(takeAny(_terms));
    }
  }
  void useBlocks() {
    const unsigned long size = 1 + below(5000);
    _blocks.emplace_back(env()->allocate(size), size);
    if (_blocks.size() < 50) return;
    const auto [block, bytes] = takeAny(_blocks);
    env()->giveBack(block, bytes);
  }
  void useArrays() {
    if (_arrays.size() > 20) takeAny(_arrays).end();
    _arrays.emplace_back(_handle, static_cast<VakInt>(below(500)));
    _arrays[below(_arrays.size())].add(1.5);
  }
  void useDestroyables() {
    _mortals.push_back(VakCreate<Mortal>(env()));
    if (below(2) == 0) delete takeAny(_mortals);
  }
  void useProperties() {
    const std::string name = std::to_string(below(5));
    _handle.setIntProperty(name.c_str(), 3);
    if (_nodes.empty()) return;
    VakTestNode* node = _nodes[below(_nodes.size())];
    if (node->hasProperty(name.c_str()) == 0) {
      node->addProperty(_handle.getPropertyI(name.c_str()));
    } else {
      node->removeProperty(name.c_str());
    }
    if (below(5) == 0) _handle.removeAllProperties();
  }
  void usePlugIns() {
    const std::string name = std::to_string(below(5));
    auto* plugIn = VakCreate<Silent>(env());
    env()->_plugInManager->add(plugIn, name.c_str());
    if (below(2) == 0) return;
    env()->_plugInManager->remove(plugIn, name.c_str());
    delete plugIn;
  }
  void useDomains() {
    env()->getOrMakeSharedDomain(static_cast<VakInt>(below(30)), static_cast<VakInt>(below(30)));
    env()->getOrMakeSharedDomain(0.5 * static_cast<VakNum>(below(30)), 20.0);
  }
  void useMarks() {
    void** marks = env()->getMarkArray();
    EXPECT_EQ(check(), "");
    env()->releaseMarkArray(marks);
  }

  std::mt19937 _random;
  VakTestScript _script;
  std::vector<VakTestNode*> _nodes;
  std::vector<VakNumLinExprTermI*> _terms;
  std::vector<std::pair<void*, unsigned long>> _blocks;
  std::vector<VakNumArray> _arrays;
  std::vector<Mortal*> _mortals;
  VakEnv _handle;
};

class EnvironmentCheckAfterRandomUse : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(, EnvironmentCheckAfterRandomUse, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Pooled" : "NotPooled"; });

TEST_P(EnvironmentCheckAfterRandomUse, FindsNothing) {
  GetParam() ? VakUsePooledMemory() : VakUseUnpooledMemory();
  for (unsigned seed = 1; seed <= 4; ++seed) {
    RandomUse use(seed);
    for (int step = 0; step < 1500; ++step) {
      use.step();
      if (step % 16 != 0) continue;
      ASSERT_EQ(use.check(), "") << "seed " << seed << ", step " << step;
    }
    ASSERT_EQ(use.check(), "") << "seed " << seed;
  }
}

}  // namespace

// Random operations on sets that share properties, against a reference of plain containers.

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>

#include "tests/support/checking_allocator.h"
#include "tests/support/displayed.h"
#include "vakenv/memory/create.h"
#include "vakenv/properties/property_set.h"
#include "vakenv/types/exceptions.h"

namespace {

/// Reports its deletion.
class Tracked : public VakNamedIntPropertyI {
 public:
  Tracked(VakMemoryManager manager, const char* name, VakInt value,
          std::set<VakNamedPropertyI*>* alive)
      : VakNamedIntPropertyI(manager, name, value), _alive(alive) {
    _alive->insert(this);
  }
  ~Tracked() noexcept(false) override { _alive->erase(this); }
  std::set<VakNamedPropertyI*>* _alive;
};

/// Some sets of one memory manager and what they should hold, newest first.
class Model {
 public:
  explicit Model(unsigned seed) : _random(seed) {
    for (VakNamedPropertySetI*& set : _sets) {
      set = VakCreate<VakNamedPropertySetI>(VakMemoryManager(&_allocator));
    }
  }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  ~Model() {
    for (VakNamedPropertySetI* set : _sets) delete set;
    EXPECT_EQ(_alive.size(), 0U);
    EXPECT_EQ(_allocator.ledger.countBlocks(), 0);
    EXPECT_EQ(_allocator.ledger.mismatches, 0);
  }

  void step() {
    const int which = pick(Sets);
    switch (pick(10)) {
      case 0:
      case 1:
        return addFresh(which);
      case 2:
      case 3:
        return share(which, pick(Sets));
      case 4:
        return addClone(which, pick(Sets));
      case 5:
      case 6:
        return removeByName(which);
      case 7:
        return removeByProperty(which, pick(Sets));
      case 8:
        return replaceByDeepCopy(which, pick(Sets));
      default:
        if (pick(10) == 0) removeAll(which);
    }
  }

  void check() {
    std::set<VakNamedPropertyI*> held;
    std::map<VakNamedPropertyI*, VakInt> holders;
    for (int i = 0; i < Sets; ++i) {
      ASSERT_TRUE(_sets[i]->isConsistent());
      auto expected = _expected[i].begin();
      for (const VakNamedProperty property : VakNamedPropertySet::Range(_sets[i])) {
        ASSERT_NE(expected, _expected[i].end());
        ASSERT_EQ(property.getImpl(), expected->second);
        ASSERT_EQ(expected->first, property.getName());
        ++expected;
        ++holders[property.getImpl()];
        held.insert(property.getImpl());
      }
      ASSERT_EQ(expected, _expected[i].end());
    }
    ASSERT_EQ(held, _alive);
    for (const auto& [property, count] : holders) ASSERT_EQ(property->_holders, count);
  }

 private:
  static constexpr int Sets = 3;
  using Expected = std::deque<std::pair<std::string, VakNamedPropertyI*>>;

  int pick(int n) { return static_cast<int>(_random() % static_cast<unsigned>(n)); }
  std::string pickName() { return "name" + std::to_string(pick(12)); }
  Expected::iterator findName(int which, const std::string& name) {
    auto found = _expected[which].begin();
    while (found != _expected[which].end() && found->first != name) ++found;
    return found;
  }
  bool has(int which, const std::string& name) {
    return findName(which, name) != _expected[which].end();
  }

  void addFresh(int which) {
    const std::string name = pickName();
    auto* fresh = VakCreate<Tracked>(VakMemoryManager(&_allocator), name.c_str(),
                                     static_cast<VakInt>(_random() % 1000), &_alive);
    if (has(which, name)) {
      EXPECT_THROW(_sets[which]->addProperty(fresh), VakNamedPropertySet::AlreadyPresent);
      delete fresh;
      return;
    }
    _sets[which]->addProperty(fresh);
    _expected[which].emplace_front(name, fresh);
  }

  void share(int which, int from) {
    if (_expected[from].empty()) return;
    const auto [name, property] =
        _expected[from][static_cast<std::size_t>(pick(static_cast<int>(_expected[from].size())))];
    if (has(which, name)) {
      EXPECT_THROW(_sets[which]->addProperty(property), VakNamedPropertySet::AlreadyPresent);
      return;
    }
    _sets[which]->addProperty(property);
    _expected[which].emplace_front(name, property);
  }

  // The copies are ordinary integer properties, which nobody tracks, so they are replaced by
  // tracked ones with the same value.
  void addClone(int which, int from) {
    if (_expected[from].empty()) return;
    const auto [name, property] = _expected[from].back();
    if (has(which, name)) {
      EXPECT_THROW(_sets[which]->addClonedProperty(property), VakNamedPropertySet::AlreadyPresent);
      return;
    }
    _sets[which]->addClonedProperty(property);
    EXPECT_EQ(VakDisplayed(*_sets[which]->getProperty(name.c_str())), VakDisplayed(*property));
    _sets[which]->removeProperty(name.c_str());
  }

  void removeByName(int which) {
    const std::string name = pickName();
    const auto found = findName(which, name);
    if (found == _expected[which].end()) {
      EXPECT_THROW(_sets[which]->removeProperty(name.c_str()), VakNamedPropertySet::NotPresent);
      return;
    }
    _sets[which]->removeProperty(name.c_str());
    _expected[which].erase(found);
  }

  void removeByProperty(int which, int from) {
    if (_expected[from].empty()) return;
    const auto [name, property] = _expected[from].front();
    const auto found = findName(which, name);
    if (found == _expected[which].end() || found->second != property) {
      EXPECT_THROW(_sets[which]->removeProperty(property), VakNamedPropertySet::NotPresent);
      return;
    }
    _expected[which].erase(found);
    _sets[which]->removeProperty(property);
  }

  void replaceByDeepCopy(int which, int from) {
    VakNamedPropertySetI* copy = _sets[from]->makeDeepCopy(&_allocator);
    EXPECT_TRUE(copy->isConsistent());
    auto expected = _expected[from].begin();
    for (const VakNamedProperty property : VakNamedPropertySet::Range(copy)) {
      ASSERT_NE(expected, _expected[from].end());
      EXPECT_EQ(VakDisplayed(*property.getImpl()), VakDisplayed(*expected->second));
      ++expected;
    }
    EXPECT_EQ(expected, _expected[from].end());
    if (which == from) {
      delete copy;
      return;
    }
    copy->removeAllProperties();
    delete _sets[which];
    _sets[which] = copy;
    _expected[which].clear();
  }

  void removeAll(int which) {
    _sets[which]->removeAllProperties();
    _expected[which].clear();
  }

  std::mt19937 _random;
  VakCheckingAllocator _allocator;
  std::set<VakNamedPropertyI*> _alive;  ///< Tracked properties that are not deleted.
  VakNamedPropertySetI* _sets[Sets] = {};
  Expected _expected[Sets];
};

TEST(PropertySetModel, BehavesAsPlainContainersDo) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    Model model(seed);
    for (int i = 0; i < 1000; ++i) {
      model.step();
      model.check();
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

}  // namespace

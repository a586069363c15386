// The registry: objects that refer to each other are made, destroyed, removed and copied,
// expressions used and released, plug-ins, add-ons and algorithms come and go, beside plain records
// of all of it.

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/fuzz/program.h"
#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/contract/expression.h"
#include "vakmodel/contract/extractable_array.h"

namespace {

/// What the objects of one input tell, for objects may outlive whoever made them.
struct Log {
  std::set<int> nodes;         ///< The numbers of those that live.
  std::set<int> expressions;   ///< The same of expressions.
  std::vector<int> destroyed;  ///< Destroyables, in the order in which they went.
  int plugInEvents = 0;        ///< Added minus removed, of all add-ons.
  long told = 0;               ///< Changes that algorithms and notified plug-ins were told of.
  int nextNumber = 1;
} logged;

/// An object that refers to others, and goes with the last of them if it is made so.
class Node : public VakExtractableI {
  VAK_RTTI(Node, VakExtractableI);

  Node(VakEnvI* env, bool goesWhenEmpty)
      : VakExtractableI(env),
        _number(logged.nextNumber++),
        _goesWhenEmpty(goesWhenEmpty),
        _refs(env->_allocator) {
    logged.nodes.insert(_number);
  }
  ~Node() noexcept(false) override {
    _refs.end();
    logged.nodes.erase(_number);
  }

  void removeHidden(VakInt) override {
    const VakInt before = _refs.getSize();
    VakInt kept = 0;
    for (VakExtractableI* ref : _refs) {
      if (!IsHidden(ref)) _refs[kept++] = ref;
    }
    while (_refs.getSize() > kept) _refs.dropLast();
    if (_goesWhenEmpty && before > 0 && kept == 0 && _env->isDestroying()) {
      _env->removeFromAllAndDestroy(this, 0);
    }
  }
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    auto* copy = VakCreate<Node>(env, _goesWhenEmpty);
    for (VakExtractableI* ref : _refs) copy->_refs.add(env->getClone(ref));
    return copy;
  }

  int _number;
  bool _goesWhenEmpty;
  VakExtractableArray _refs;
};

/// An expression with an operand, which it uses.
class Expression : public VakNumExprI {
  VAK_RTTI(Expression, VakNumExprI);

  Expression(VakEnvI* env, Expression* operand)
      : VakNumExprI(env), _number(logged.nextNumber++), _operand(operand) {
    if (operand != nullptr) operand->use();
    logged.expressions.insert(_number);
  }
  ~Expression() noexcept(false) override {
    logged.expressions.erase(_number);
    if (_operand != nullptr) _env->release(_operand);
  }
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    return VakCreate<Expression>(
        env, _operand == nullptr ? nullptr : static_cast<Expression*>(env->getClone(_operand)));
  }
  [[nodiscard]] VakNum evaluate(const VakModelEvaluatorI&) const override { return 0; }

  int _number;
  Expression* _operand;
};

class Destroyable : public VakDestroyableI {
  VAK_RTTI(Destroyable, VakDestroyableI);

  explicit Destroyable(VakEnvI* env) : VakDestroyableI(env), _number(logged.nextNumber++) {}
  ~Destroyable() noexcept(false) override { logged.destroyed.push_back(_number); }

  int _number;
};

class PlugIn : public VakPlugIn {
 public:
  explicit PlugIn(VakEnvI* env) : VakPlugIn(env) {}
};
class Addon : public VakPlugInAddon {
 public:
  explicit Addon(VakEnvI* env) : VakPlugInAddon(env) {}
  void plugInAdded(VakPlugIn*) override { ++logged.plugInEvents; }
  void plugInRemoved(VakPlugIn*) override { --logged.plugInEvents; }
};
class Notified : public VakNotifiedPlugIn {
 public:
  explicit Notified(VakEnvI* env) : VakNotifiedPlugIn(env) {}
  void notifyChange(const VakChange&, const VakExtractableI*) override { ++logged.told; }
};

/// An algorithm that refuses changes while it is told to.
class Algorithm : public VakAlgorithmI {
 public:
  explicit Algorithm(VakEnvI* env) : VakAlgorithmI(env) { attach(); }
  void change(const VakChange&, const VakExtractableI*) override { tell(); }
  void change(const VakChange&) override { tell(); }

  VakExtractableI* _refused = nullptr;  ///< Named when a change is refused; null: none is.

 private:
  void tell() {
    ++logged.told;
    if (_refused == nullptr) return;
    VakExtractableArray array(_env->_allocator);
    array.add(_refused);
    throw VakAlgorithm::CannotChangeException(VakAlgorithm(this), array);
  }
};

class TestChange final : public VakChange {
  VAK_RTTI(TestChange, VakChange);
};

/// What a node has to be.
struct Expected {
  int number = 0;
  int rank = 0;  ///< Objects refer to those of lower rank, so that copying comes to an end.
  bool goesWhenEmpty = false;
  std::vector<Node*> refs;
};

class Registry {
 public:
  explicit Registry(VakFuzzProgram& program) : _program(program), _scope(program) {
    _env = _scope.env.getImpl();
  }
  ~Registry() noexcept(false) { finish(); }

  void run() {
    while (!_program.isOver()) {
      step();
      compare();
      _scope.check();
    }
  }

 private:
  static constexpr std::size_t Most = 40;

  // ---- Choosing ---------------------------------------------------------------------------------

  Node* anyNode() {
    if (_nodes.empty()) return nullptr;
    auto i = _order.begin() + _program.byte() % static_cast<int>(_order.size());
    return *i;
  }
  template <class T>
  T& any(std::vector<T>& list) {
    return list[static_cast<std::size_t>(_program.byte()) % list.size()];
  }
  void enter(Node* node, Expected expected) {
    _nodes[node] = std::move(expected);
    _order.push_back(node);
  }
  void forget(Node* node) {
    _nodes.erase(node);
    std::erase(_order, node);
    std::erase_if(_clones, [node](const auto& pair) { return pair.first == node; });
  }

  void step() {
    switch (_program.below(16)) {
      case 0:
      case 1:
        makeNode();
        break;
      case 2:
      case 3:
        refer();
        break;
      case 4:
        destroy();
        break;
      case 5:
        removeAll(false);
        break;
      case 6:
      case 7:
        removeAll(true);
        break;
      case 8:
        copy();
        break;
      case 9:
        lockOrUnlock();
        break;
      case 10:
        useExpressions();
        break;
      case 11:
        destroyables();
        break;
      case 12:
        algorithms();
        break;
      case 13:
        plugIns();
        break;
      case 14:
        change();
        break;
      default:
        terms();
    }
  }

  // ---- Nodes ------------------------------------------------------------------------------------

  void makeNode() {
    if (_nodes.size() >= Most) return;
    const bool goes = _program.flag();
    Node* node = VakCreate<Node>(_env, goes);
    enter(node, {node->_number, ++_ranks, goes, {}});
  }
  void refer() {
    Node* from = anyNode();
    Node* to = anyNode();
    if (from == nullptr || _nodes[from].rank <= _nodes[to].rank) return;
    from->_refs.add(to);
    _nodes[from].refs.push_back(to);
  }
  // Unregisters an object that nobody refers to, unless an algorithm refuses.
  void destroy() {
    Node* node = anyNode();
    if (node == nullptr) return;
    for (const auto& [other, expected] : _nodes) {
      if (std::count(expected.refs.begin(), expected.refs.end(), node) > 0) return;
    }
    if (isCopyOfAny(node)) return;
    const bool isKept = _program.flag();
    if (isRefused([&] { _env->destroy(node, isKept ? 1 : 0); })) return;
    VAK_FUZZ_REQUIRE(logged.nodes.count(_nodes[node].number) == (isKept ? 1 : 0));
    forget(node);
    if (!isKept) return;
    VAK_FUZZ_REQUIRE(node->id == -1);
    delete node;
  }
  [[nodiscard]] bool isCopyOfAny(const Node* node) const {
    return std::any_of(_clones.begin(), _clones.end(),
                       [node](const auto& pair) { return pair.second == node; });
  }
  // True when an algorithm refused, as it has to when any does and is told.
  template <class Operation>
  bool isRefused(Operation operation) {
    std::size_t refusing = 0;
    for (const Algorithm* algorithm : _algorithms) refusing += algorithm->_refused != nullptr;
    const long toldBefore = logged.told;
    try {
      operation();
    } catch (VakAlgorithm::CannotChangeException& refusal) {
      VAK_FUZZ_REQUIRE(refusal.getExtractables().getSize() == static_cast<VakInt>(refusing));
      const auto all = static_cast<long>(_algorithms.size() + _notified.size());
      VAK_FUZZ_REQUIRE(logged.told - toldBefore == all);
      refusal.end();
      return true;
    }
    VAK_FUZZ_REQUIRE(refusing == 0);
    return false;
  }

  void removeAll(bool isDestroying) {
    std::set<Node*> removed;
    VakExtractableArray array(_env->_allocator);
    for (int n = _program.below(4); n >= 0 && !_nodes.empty(); --n) {
      Node* node = anyNode();
      if (isDestroying && isCopyOfAny(node)) continue;
      if (removed.insert(node).second) array.add(node);
    }
    // What an algorithm names must live when it is asked.
    for (Algorithm* algorithm : _algorithms) {
      if (isDestroying || _program.flag()) algorithm->_refused = nullptr;
    }
    if (isDestroying) addPointless(removed);
    const bool single = array.getSize() == 1 && _program.flag();
    const bool refused = isRefused([&] {
      if (isDestroying) {
        single ? _env->removeFromAllAndDestroy(array[0], 0)
               : _env->removeFromAllAndDestroy(array, 0);
      } else {
        single ? _env->removeFromAll(array[0]) : _env->removeFromAll(array);
      }
    });
    array.end();
    // What was refused is done nevertheless, but the removal of a single object stays open.
    VAK_FUZZ_REQUIRE(_env->isRemoving() == (refused && single));
    _env->abandonRemoval();
    // What is hidden is not asked, and keeps its references.
    for (auto& [node, expected] : _nodes) {
      if (removed.count(node) > 0) continue;
      std::erase_if(expected.refs, [&](Node* ref) { return removed.count(ref) > 0; });
    }
    if (!isDestroying) return;
    for (Node* node : removed) {
      VAK_FUZZ_REQUIRE(logged.nodes.count(_nodes[node].number) == 0);
      forget(node);
    }
  }
  // Adds what goes with the objects: all whose last references they are.
  void addPointless(std::set<Node*>& removed) {
    for (bool isGrowing = true; isGrowing;) {
      isGrowing = false;
      for (const auto& [node, expected] : _nodes) {
        if (!expected.goesWhenEmpty || expected.refs.empty() || removed.count(node) > 0) continue;
        const bool isEmpty = std::all_of(expected.refs.begin(), expected.refs.end(),
                                         [&](Node* ref) { return removed.count(ref) > 0; });
        if (isEmpty) isGrowing = removed.insert(node).second;
      }
    }
    // Copies that are remembered must not go while they are.
    for (const Node* node : removed) {
      if (isCopyOfAny(node)) unlock();
    }
  }

  // ---- Copies -----------------------------------------------------------------------------------

  void lockOrUnlock() {
    if (_env->isCloningLocked() != 0) {
      unlock();
    } else {
      VAK_FUZZ_REQUIRE(_env->lockCloning() == 1);
      VAK_FUZZ_REQUIRE(_env->lockCloning() == 0);
    }
  }
  void unlock() {
    if (_env->isCloningLocked() != 0) _env->unlockCloning();
    _clones.clear();
  }
  void copy() {
    Node* node = anyNode();
    if (node == nullptr || _nodes.size() >= Most) return;
    const bool isLocked = _env->isCloningLocked() != 0;
    std::map<Node*, Node*> known;
    if (isLocked) known = _clones;
    VAK_FUZZ_REQUIRE((_env->hasClone(node) != 0) == (known.count(node) > 0));
    const VakInt level = _env->lockCloningLevel();
    auto* made = static_cast<Node*>(_env->getClone(node));
    VAK_FUZZ_REQUIRE(_env->isCloningLocked() == (isLocked ? 1 : 0));
    const std::map<Node*, Node*> before = known;
    matchCopy(node, made, known);
    if (!isLocked) return;
    _clones = known;
    if (!_program.flag()) return;
    _env->unlockCloningLevel(level);
    _clones = before;
  }
  // Walks original and copy together; what is not known yet is a new object.
  void matchCopy(Node* node, Node* made, std::map<Node*, Node*>& known) {
    const auto found = known.find(node);
    if (found != known.end()) {
      VAK_FUZZ_REQUIRE(found->second == made);
      return;
    }
    VAK_FUZZ_REQUIRE(made != node && _nodes.count(made) == 0);
    known[node] = made;
    const Expected expected = _nodes.at(node);
    VAK_FUZZ_REQUIRE(made->_refs.getSize() == static_cast<VakInt>(expected.refs.size()));
    Expected copy{made->_number, 0, expected.goesWhenEmpty, {}};
    for (std::size_t i = 0; i < expected.refs.size(); ++i) {
      auto* ref = static_cast<Node*>(made->_refs[static_cast<VakInt>(i)]);
      matchCopy(expected.refs[i], ref, known);
      copy.refs.push_back(ref);
    }
    copy.rank = ++_ranks;
    enter(made, copy);
  }

  // ---- Expressions, destroyables, terms ---------------------------------------------------------

  void useExpressions() {
    if (_program.flag() && _expressions.size() < Most) {
      Expression* operand = _expressions.empty() || _program.flag() ? nullptr : any(_expressions);
      _expressions.push_back(VakCreate<Expression>(_env, operand));
      _expressions.back()->use();
    } else if (!_expressions.empty()) {
      // Its user here lets it go; it lives while expressions of which it is the operand do.
      Expression*& chosen = any(_expressions);
      std::set<int> gone;
      for (Expression* e = chosen; e != nullptr && e->getUseCount() == 1; e = e->_operand) {
        gone.insert(e->_number);
      }
      for (Algorithm* algorithm : _algorithms) algorithm->_refused = nullptr;
      std::set<int> expected;
      std::set_difference(logged.expressions.begin(), logged.expressions.end(), gone.begin(),
                          gone.end(), std::inserter(expected, expected.begin()));
      _env->release(chosen);
      VAK_FUZZ_REQUIRE(logged.expressions == expected);
      std::swap(chosen, _expressions.back());
      _expressions.pop_back();
    }
  }

  void destroyables() {
    if (_program.flag() && _destroyables.size() < Most) {
      auto* made = VakCreate<Destroyable>(_env);
      _env->addDestroyable(made);  // a second time, which changes nothing
      _destroyables.push_back({made, made->_number});
    } else if (!_destroyables.empty()) {
      auto& chosen = any(_destroyables);
      delete chosen.first;
      _destroyables.erase(_destroyables.begin() + (&chosen - _destroyables.data()));
      logged.destroyed.clear();
    }
  }

  void terms() {
    if (_program.flag() && _terms.size() < 10 * Most) {
      for (int n = _program.byte(); n > 0; --n) _terms.push_back(_env->newTerm(nullptr, n));
    } else {
      for (int n = _program.byte(); n > 0 && !_terms.empty(); --n) {
        auto& chosen = any(_terms);
        _env->recycleTerm(chosen);
        std::swap(chosen, _terms.back());
        _terms.pop_back();
      }
    }
  }

  // ---- Algorithms and plug-ins ------------------------------------------------------------------

  void algorithms() {
    switch (_program.below(4)) {
      case 0:
      case 1:
        if (_algorithms.size() < 8) _algorithms.push_back(new Algorithm(_env));
        break;
      case 2: {
        if (_algorithms.empty()) break;
        Algorithm*& chosen = any(_algorithms);
        chosen->end();
        _algorithms.erase(_algorithms.begin() + (&chosen - _algorithms.data()));
        break;
      }
      default:
        // It names itself by an object that outlives all removals.
        if (!_algorithms.empty()) any(_algorithms)->_refused = keeper();
    }
  }
  VakExtractableI* keeper() {
    if (_keeper == nullptr) {
      _keeper = VakCreate<Node>(_env, false);
      logged.nodes.erase(_keeper->_number);
    }
    return _keeper;
  }
  void change() {
    const TestChange change;
    Node* node = anyNode();
    const long before = logged.told;
    isRefused([&] { node == nullptr ? _env->change(change) : _env->change(node, change); });
    const auto all = static_cast<long>(_algorithms.size() + _notified.size());
    VAK_FUZZ_REQUIRE(logged.told - before == all);
    for (Algorithm* algorithm : _algorithms) algorithm->_refused = nullptr;
  }

  struct Filed {
    std::vector<PlugIn*> plugIns;
    std::vector<Addon*> addons;
  };
  void plugIns() {
    static const char* const names[] = {"one", "two", ""};
    const int which = _program.below(3);
    const char* name = names[which];
    Filed& filed = _filed[static_cast<std::size_t>(which)];
    VakPlugInManager* manager = _env->_plugInManager;
    switch (_program.below(6)) {
      case 0:
        if (filed.plugIns.size() >= 8) break;
        filed.plugIns.push_back(VakCreate<PlugIn>(_env));
        manager->add(filed.plugIns.back(), name);
        _events += static_cast<int>(filed.addons.size());
        break;
      case 1: {
        if (filed.plugIns.empty()) break;
        PlugIn*& chosen = any(filed.plugIns);
        manager->remove(chosen, name);
        _events -= static_cast<int>(filed.addons.size());
        delete chosen;
        filed.plugIns.erase(filed.plugIns.begin() + (&chosen - filed.plugIns.data()));
        break;
      }
      case 2:
        if (filed.addons.size() >= 8) break;
        filed.addons.push_back(VakCreate<Addon>(_env));
        manager->add(filed.addons.back(), name);
        _events += static_cast<int>(filed.plugIns.size());
        break;
      case 3: {
        if (filed.addons.empty()) break;
        Addon*& chosen = any(filed.addons);
        manager->remove(chosen, name);
        _events -= static_cast<int>(filed.plugIns.size());
        delete chosen;
        filed.addons.erase(filed.addons.begin() + (&chosen - filed.addons.data()));
        break;
      }
      case 4:
        if (_notified.size() >= 8) break;
        _notified.push_back(VakCreate<Notified>(_env));
        manager->addNotified(_notified.back());
        break;
      default: {
        if (_notified.empty()) break;
        Notified*& chosen = any(_notified);
        manager->removeNotified(chosen);
        delete chosen;
        _notified.erase(_notified.begin() + (&chosen - _notified.data()));
      }
    }
    VAK_FUZZ_REQUIRE(logged.plugInEvents == _events);
  }

  // ---- Comparing, ending ------------------------------------------------------------------------

  void compare() const {
    VAK_FUZZ_REQUIRE(logged.nodes.size() == _nodes.size());
    for (const auto& [node, expected] : _nodes) {
      VAK_FUZZ_REQUIRE(logged.nodes.count(expected.number) == 1);
      VAK_FUZZ_REQUIRE(node->id >= 0 && !VakExtractableI::IsHidden(node));
      VAK_FUZZ_REQUIRE(node->_refs.getSize() == static_cast<VakInt>(expected.refs.size()));
      VAK_FUZZ_REQUIRE(std::equal(begin(node->_refs), end(node->_refs), expected.refs.begin()));
    }
  }
  // Notified plug-ins and expressions that are in use are their owners' to give back. The
  // environment does the rest, destroyables from the newest on.
  void finish() {
    unlock();
    for (Algorithm* algorithm : _algorithms) algorithm->_refused = nullptr;
    for (Notified* plugIn : _notified) {
      _env->_plugInManager->removeNotified(plugIn);
      delete plugIn;
    }
    for (auto* term : _terms) _env->recycleTerm(term);
    _scope.check();
    logged.destroyed.clear();
    _scope.env.end();
    std::vector<int> expected;
    for (const auto& [object, number] : _destroyables) expected.insert(expected.begin(), number);
    VAK_FUZZ_REQUIRE(logged.destroyed == expected);
  }

  VakFuzzProgram& _program;
  VakFuzzEnv _scope;
  VakEnvI* _env = nullptr;
  std::map<Node*, Expected> _nodes;
  std::vector<Node*> _order;  ///< The same, in an order that does not depend on addresses.
  std::map<Node*, Node*> _clones;
  std::vector<Expression*> _expressions;                    ///< Each used once here.
  std::vector<std::pair<Destroyable*, int>> _destroyables;  ///< With their numbers, oldest first.
  std::vector<VakNumLinExprTermI*> _terms;
  std::vector<Algorithm*> _algorithms;
  std::vector<Notified*> _notified;
  std::array<Filed, 3> _filed;
  int _ranks = 0;           ///< The highest rank.
  int _events = 0;          ///< What the add-ons have to have counted.
  Node* _keeper = nullptr;  ///< What algorithms name when they refuse; in no record.
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  VakFuzzProgram program(data, size);
  logged = {};
  Registry(program).run();
  return 0;
}

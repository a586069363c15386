#pragma once

// Algorithms, notified plug-ins and changes whose behaviour a test writes down.

#include <functional>
#include <string>
#include <utility>

#include "tests/support/model_objects.h"
#include "vakenv/plugins/plugin.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/change.h"

/// A change of no particular kind.
class VakTestChange final : public VakChange {
  VAK_RTTI(VakTestChange, VakChange);
};

/// The name of a node, "-" for null, "?" for everything else.
inline std::string VakNameOf(const VakExtractableI* e) {
  if (e == nullptr) return "-";
  if (e->isType(VakTestNode::GetTypeInfo()) == 0) return "?";
  return static_cast<const VakTestNode*>(e)->text();
}

/// A change in words: "destroy A", "removed [A B]", or "change".
inline std::string VakDescribe(const VakChange& change) {
  if (change.isType(VakDestroyExtractable::GetTypeInfo()) != 0) {
    const auto& destroy = static_cast<const VakDestroyExtractable&>(change);
    return "destroy " + VakNameOf(destroy.getExtractable());
  }
  if (change.isType(VakRemoveFromAllChange::GetTypeInfo()) == 0) return "change";
  std::string names;
  for (const VakExtractableI* e :
       static_cast<const VakRemoveFromAllChange&>(change).getExtractables()) {
    names += (names.empty() ? "" : " ") + VakNameOf(e);
  }
  return "removed [" + names + "]";
}

/// An algorithm that logs "NAME: change / extractable", and can do something then. Made with `new`
/// and attached; ended as algorithms are.
class VakTestAlgorithm : public VakAlgorithmI {
 public:
  using Listener = std::function<void(VakTestAlgorithm&, const VakChange&)>;

  VakTestAlgorithm(VakEnvI* env, VakTestScript& script, std::string name, Listener listener = {})
      : VakAlgorithmI(env),
        _script(script),
        _name(std::move(name)),
        _listener(std::move(listener)) {
    attach();
  }
  ~VakTestAlgorithm() noexcept(false) override { _script.write("~" + _name); }

  void change(const VakChange& change, const VakExtractableI* extractable) override {
    _script.write(_name + ": " + VakDescribe(change) + " / " + VakNameOf(extractable));
    tell(change);
  }
  void change(const VakChange& change) override {
    _script.write(_name + ": " + VakDescribe(change));
    tell(change);
  }

  VakTestScript& _script;
  std::string _name;
  Listener _listener;

 private:
  // The listener may delete this algorithm.
  void tell(const VakChange& change) {
    if (!_listener) return;
    const Listener listener = _listener;
    listener(*this, change);
  }
};

/// A notified plug-in that logs "NAME: change / extractable", and can do something then. Made in
/// the environment's memory; the test deletes it.
class VakTestNotified : public VakNotifiedPlugIn {
 public:
  using Listener = void (*)(VakTestNotified&, const VakChange&);

  VakTestNotified(VakEnvI* env, VakTestScript& script, const char* name,
                  Listener listener = nullptr)
      : VakNotifiedPlugIn(env), _script(script), _name(name), _listener(listener) {}

  void notifyChange(const VakChange& change, const VakExtractableI* extractable) override {
    _script.write(std::string(_name) + ": " + VakDescribe(change) + " / " + VakNameOf(extractable));
    if (_listener != nullptr) _listener(*this, change);
  }

  VakTestScript& _script;
  const char* _name;
  Listener _listener;
};

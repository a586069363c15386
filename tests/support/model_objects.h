#pragma once

// Modelling objects whose behaviour a test writes down in a script.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakmodel/contract/expression.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/contract/extractable_array.h"

class VakTestNode;

/// What the objects of a test do when they are called, and a log of it. It outlives the
/// environment, whose end may destroy objects.
struct VakTestScript {
  /// Returns the log as "a, b, c" and starts a new one.
  std::string takeLog() {
    std::string text;
    for (const std::string& line : log) text += text.empty() ? line : ", " + line;
    log.clear();
    return text;
  }
  void write(const std::string& line) { log.push_back(line); }
  /// Calls one of the functions below, if it is set. It may set them anew meanwhile.
  static void call(std::function<void(VakTestNode&)> function, VakTestNode& node) {
    if (function) function(node);
  }

  std::vector<std::string> log;
  bool logsSweeps = false;                       ///< Log "sweep A", too.
  std::function<void(VakTestNode&)> onSweep;     ///< In the removal operation, after its own work.
  std::function<void(VakTestNode&)> onNotify;    ///< Before the environment is told.
  std::function<void(VakTestNode&)> onDestruct;  ///< In the destructor.
  std::function<void(VakTestNode&)> onClone;     ///< Before the copy is made.
};

/// An extractable that refers to others, as a constraint or a model does. It keeps everything in
/// the environment's memory, so that nothing is lost when pooled memory goes without destructors.
class VakTestNode : public VakExtractableI {
  VAK_RTTI(VakTestNode, VakExtractableI);

  VakTestNode(VakEnvI* env, VakTestScript& script, const char* name)
      : VakExtractableI(env), _script(script), _name(name), _refs(env->_allocator) {}
  ~VakTestNode() noexcept(false) override {
    _refs.end();
    _script.write("~" + text());
    _script.call(_script.onDestruct, *this);
  }

  void refer(VakExtractableI* e) { _refs.add(e); }
  [[nodiscard]] bool refersTo(const VakExtractableI* e) const {
    for (const VakExtractableI* ref : _refs) {
      if (ref == e) return true;
    }
    return false;
  }
  [[nodiscard]] std::string text() const { return _name; }

  void notify(const VakChange& change) override {
    _script.write("notify " + text());
    _script.call(_script.onNotify, *this);
    VakExtractableI::notify(change);
  }

  void removeHidden(VakInt mode) override {
    if (_script.logsSweeps) _script.write("sweep " + text());
    if (mode != 0) _script.write("mode is not 0");
    const VakInt before = _refs.getSize();
    VakInt kept = 0;
    for (VakExtractableI* ref : _refs) {
      if (!IsHidden(ref)) _refs[kept++] = ref;
    }
    while (_refs.getSize() > kept) _refs.dropLast();
    if (_goesWhenEmpty && before > 0 && kept == 0) _env->removeFromAllAndDestroy(this, 0);
    _script.call(_script.onSweep, *this);
  }

  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    _script.write("copy " + text());
    _script.call(_script.onClone, const_cast<VakTestNode&>(*this));
    auto* copy = VakCreate<VakTestNode>(env, _script, _name);
    for (VakExtractableI* ref : _refs) copy->refer(env->getClone(ref));
    return copy;
  }

  VakTestScript& _script;
  const char* _name;
  VakExtractableArray _refs;    ///< Owned array; what it refers to is not.
  bool _goesWhenEmpty = false;  ///< Ask for the own removal when a removal leaves no reference.
};

inline VakTestNode* VakMakeNode(VakEnvI* env, VakTestScript& script, const char* name,
                                std::initializer_list<VakExtractableI*> refs = {}) {
  auto* node = VakCreate<VakTestNode>(env, script, name);
  for (VakExtractableI* ref : refs) node->refer(ref);
  return node;
}

/// An expression of either kind with one operand, which it uses; a leaf has none.
template <class Base>
class VakTestExpr : public Base {
 public:
  VakTestExpr(VakEnvI* env, VakTestScript& script, const char* name, VakTestExpr* operand = nullptr)
      : Base(env), _script(script), _name(name), _operand(operand) {
    if (operand != nullptr) operand->use();
  }
  ~VakTestExpr() noexcept(false) override {
    _script.write(std::string("~") + _name);
    if (_operand != nullptr) this->_env->release(_operand);
  }

  /// The copy of the operand in `env`, or null.
  [[nodiscard]] VakTestExpr* cloneOperand(VakEnvI* env) const {
    return _operand == nullptr ? nullptr : static_cast<VakTestExpr*>(env->getClone(_operand));
  }

  VakTestScript& _script;
  const char* _name;
  VakTestExpr* _operand;  ///< Used, or null.
};

class VakTestNumExpr : public VakTestExpr<VakNumExprI> {
  VAK_RTTI(VakTestNumExpr, VakNumExprI);
  using VakTestExpr::VakTestExpr;

  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    return VakCreate<VakTestNumExpr>(env, _script, _name, cloneOperand(env));
  }

  [[nodiscard]] VakNum evaluate(const VakModelEvaluatorI& point) const override {
    return _operand == nullptr ? 1.0
                               : 1.0 + static_cast<const VakNumExprI*>(_operand)->evaluate(point);
  }
};

class VakTestAnyExpr : public VakTestExpr<VakAnyExprI> {
  VAK_RTTI(VakTestAnyExpr, VakAnyExprI);
  using VakTestExpr::VakTestExpr;

  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    return VakCreate<VakTestAnyExpr>(env, _script, _name, cloneOperand(env));
  }
};

/// A variable.
class VakTestVar : public VakNumVarI {
  VAK_RTTI(VakTestVar, VakNumVarI);

  explicit VakTestVar(VakEnvI* env) : VakNumVarI(env) {}
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    return VakCreate<VakTestVar>(env);
  }
};

#pragma once

// What users of the library supply, as far as the fault matrix needs it. Every function of theirs
// that the library calls is a callback that can be made to throw; apart from that they do what such
// objects do, and take no memory of the general heap.

#include <initializer_list>
#include <streambuf>

#include "tests/fault/matrix/user_callback.h"
#include "vakenv/core/create.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/gen_alloc.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/properties/named_property_impl.h"
#include "vakenv/registry/deleter.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/contract/expander.h"
#include "vakmodel/contract/expression.h"
#include "vakmodel/contract/extractable_array.h"
#include "vakmodel/contract/model_evaluator.h"

/// An extractable that refers to others.
class VakUserNode : public VakExtractableI {
  VAK_RTTI(VakUserNode, VakExtractableI);

  VakUserNode(VakEnvI* env, std::initializer_list<VakExtractableI*> refs = {})
      : VakExtractableI(env), _refs(env->_allocator) {
    try {
      for (VakExtractableI* ref : refs) _refs.add(ref);
    } catch (...) {
      _refs.end();
      throw;
    }
  }
  ~VakUserNode() noexcept(false) override {
    if (_handle != nullptr) *_handle = nullptr;
    _refs.end();
    if (_mayThrowAtEnd) VakFailingCallback::Tick();
  }

  void notify(const VakChange& change) override {
    VakFailingCallback::Tick();
    VakExtractableI::notify(change);
  }
  void removeHidden(VakInt /*mode*/) override {
    VakFailingCallback::Tick();
    const VakInt before = _refs.getSize();
    VakInt kept = 0;
    for (VakExtractableI* ref : _refs) {
      if (!IsHidden(ref)) _refs[kept++] = ref;
    }
    while (_refs.getSize() > kept) _refs.dropLast();
    if (_goesWhenEmpty && (before > 0 || _isWaiting) && kept == 0) {
      // Should the request fail, it is made again in the next removal.
      _isWaiting = true;
      _env->removeFromAllAndDestroy(this, 0);
    }
    VakFailingCallback::Tick();
  }
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    VakFailingCallback::Tick();
    auto* copy = VakCreate<VakUserNode>(env);
    try {
      for (VakExtractableI* ref : _refs) copy->_refs.add(env->getClone(ref));
    } catch (...) {
      delete copy;
      throw;
    }
    return copy;
  }

  VakExtractableArray _refs;        ///< Owned array; what it refers to is not.
  VakUserNode** _handle = nullptr;  ///< Becomes null when this object goes; null for none.
  bool _goesWhenEmpty = false;      ///< Asks for its own removal when it loses its last reference.
  bool _mayThrowAtEnd = false;      ///< The destructor is a callback.
  bool _isWaiting = false;          ///< Its own removal was asked for.
};

/// A numeric expression over an operand, which it uses.
class VakUserExpr : public VakNumExprI {
  VAK_RTTI(VakUserExpr, VakNumExprI);

  explicit VakUserExpr(VakEnvI* env, VakUserExpr* operand = nullptr)
      : VakNumExprI(env), _operand(operand) {
    if (operand != nullptr) operand->use();
  }
  ~VakUserExpr() noexcept(false) override {
    if (_handle != nullptr) *_handle = nullptr;
    if (_operand != nullptr) _env->release(_operand);
  }
  void notify(const VakChange& change) override {
    VakFailingCallback::Tick();
    VakExtractableI::notify(change);
  }
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    VakFailingCallback::Tick();
    return VakCreate<VakUserExpr>(env);
  }
  [[nodiscard]] VakNum evaluate(const VakModelEvaluatorI& point) const override {
    VakFailingCallback::Tick();
    return _operand == nullptr ? 1.0 : 1.0 + _operand->evaluate(point);
  }

  VakUserExpr* _operand;            ///< Used, or null.
  VakUserExpr** _handle = nullptr;  ///< Becomes null when this object goes; null for none.
};

/// The same over untyped values, without operands.
class VakUserAnyExpr : public VakAnyExprI {
  VAK_RTTI(VakUserAnyExpr, VakAnyExprI);

  explicit VakUserAnyExpr(VakEnvI* env) : VakAnyExprI(env) {}
  void notify(const VakChange& change) override {
    VakFailingCallback::Tick();
    VakExtractableI::notify(change);
  }
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    VakFailingCallback::Tick();
    return VakCreate<VakUserAnyExpr>(env);
  }
};

/// A variable of another modelling layer.
class VakUserVar : public VakNumVarI {
  VAK_RTTI(VakUserVar, VakNumVarI);

  explicit VakUserVar(VakEnvI* env) : VakNumVarI(env) {}
  [[nodiscard]] VakExtractableI* makeClone(VakEnvI* env) const override {
    VakFailingCallback::Tick();
    return VakCreate<VakUserVar>(env);
  }
};

/// A change of no particular kind.
class VakUserChange final : public VakChange {
  VAK_RTTI(VakUserChange, VakChange);
};

/// An algorithm that accepts every change, attached at once. Made with `new`.
class VakUserAlgorithm : public VakAlgorithmI {
 public:
  explicit VakUserAlgorithm(VakEnvI* env) : VakAlgorithmI(env) { attach(); }
  void change(const VakChange& /*change*/, const VakExtractableI* /*extractable*/) override {
    VakFailingCallback::Tick();
  }
  void change(const VakChange& /*change*/) override { VakFailingCallback::Tick(); }
};

/// An algorithm that refuses every change, naming one object. Made with `new`.
class VakRefusingAlgorithm : public VakAlgorithmI {
 public:
  VakRefusingAlgorithm(VakEnvI* env, VakExtractableI* named) : VakAlgorithmI(env), _named(named) {
    attach();
  }
  /// Makes the array of the next refusal beforehand.
  void prepare() {
    if (_prepared.getImpl() == nullptr) _prepared = makeArray();
  }
  void change(const VakChange& /*change*/, const VakExtractableI* /*extractable*/) override {
    refuse();
  }
  void change(const VakChange& /*change*/) override { refuse(); }

 private:
  void refuse() {
    VakFailingCallback::Tick();
    prepare();
    const VakExtractableArray array = _prepared;
    _prepared = VakExtractableArray();
    throw VakAlgorithm::CannotChangeException(VakAlgorithm(this), array);
  }
  [[nodiscard]] VakExtractableArray makeArray() const {
    VakExtractableArray array(_env->_allocator);
    try {
      for (int i = 0; i < 5; ++i) array.add(_named);
    } catch (...) {
      array.end();
      throw;
    }
    return array;
  }

  VakExtractableI* _named;
  VakExtractableArray _prepared;  ///< Ours until it is thrown.
};

/// A plug-in that is told of changes.
class VakUserNotified : public VakNotifiedPlugIn {
 public:
  explicit VakUserNotified(VakEnvI* env) : VakNotifiedPlugIn(env) {}
  void notifyChange(const VakChange& /*change*/, const VakExtractableI* /*e*/) override {
    VakFailingCallback::Tick();
  }
};

/// A plug-in whose end may fail.
class VakUserPlugIn : public VakPlugIn {
 public:
  explicit VakUserPlugIn(VakEnvI* env) : VakPlugIn(env) {}
  ~VakUserPlugIn() noexcept(false) override { VakFailingCallback::Tick(); }
};

/// An add-on that is told of plug-ins.
class VakUserAddon : public VakPlugInAddon {
  VAK_RTTI(VakUserAddon, VakPlugInAddon);

  explicit VakUserAddon(VakEnvI* env) : VakPlugInAddon(env) {}
  void plugInAdded(VakPlugIn* /*plugIn*/) override { VakFailingCallback::Tick(); }
  void plugInRemoved(VakPlugIn* /*plugIn*/) override { VakFailingCallback::Tick(); }
};

/// A destroyable; its end may fail if wanted.
class VakUserDestroyable : public VakDestroyableI {
 public:
  explicit VakUserDestroyable(VakEnvI* env) : VakDestroyableI(env) {}
  ~VakUserDestroyable() noexcept(false) override {
    if (_mayThrowAtEnd) VakFailingCallback::Tick();
  }

  bool _mayThrowAtEnd = false;  ///< The destructor is a callback.
};

/// A deleter that destroys through the environment what it is asked to delete.
class VakUserDeleter : public VakBaseDeleterI {
 public:
  explicit VakUserDeleter(VakEnvI* env) : VakBaseDeleterI(env) {}
  ~VakUserDeleter() noexcept(false) override {
    if (_mayThrowAtEnd) VakFailingCallback::Tick();
  }

  void notifyChange(const VakChange& /*change*/, const VakExtractableI* /*e*/) override {}
  void start() override { VakFailingCallback::Tick(); }
  void extractableAdded(VakExtractableI* /*e*/) override { VakFailingCallback::Tick(); }
  void extractableRemoved(VakExtractableI* /*e*/) override { VakFailingCallback::Tick(); }
  void inhibit(VakInt inhibit) override {
    VakFailingCallback::Tick();
    _isInhibited = inhibit;
  }
  // What was unregistered when an earlier attempt failed only has to be deleted.
  void removeAndDelete(VakExtractableI* e, VakInt /*flag*/) override {
    VakFailingCallback::Tick();
    if (e->id == -1) {
      delete e;
    } else {
      _env->destroy(e, 0);
    }
  }
  void removeAndDelete(VakExtractableArray a, VakInt flag) override {
    VakFailingCallback::Tick();
    for (; !a.isEmpty(); a.dropLast()) removeAndDelete(a[a.getSize() - 1], flag);
  }
  [[nodiscard]] VakInt isUnused(VakExtractableI* /*e*/) const override { return 0; }
  void setVerbosityLevel(VakInt level) override {
    VakFailingCallback::Tick();
    _level = level;
  }
  [[nodiscard]] VakInt getVerbosityLevel() const override { return _level; }
  [[nodiscard]] VakInt isInhibited() const override { return _isInhibited; }
  void reset() override { VakFailingCallback::Tick(); }

  VakInt _level = 0;
  VakInt _isInhibited = 0;
  bool _mayThrowAtEnd = false;  ///< The destructor is a callback.
};

/// A property of a kind of its own.
class VakUserProperty : public VakPreNamedPropertyI {
 public:
  VakUserProperty(VakMemoryManager manager, const char* name)
      : VakPreNamedPropertyI(manager, name) {}
  void display(std::ostream& /*out*/) const override { VakFailingCallback::Tick(); }
  [[nodiscard]] VakNamedPropertyI* makeClone(VakMemoryManager manager) const override {
    VakFailingCallback::Tick();
    return VakCreate<VakUserProperty>(manager, _name);
  }
};

/// A memory manager over the environment's own.
class VakUserAllocator : public VakGenAlloc {
  VAK_RTTI(VakUserAllocator, VakGenAlloc);

  explicit VakUserAllocator(VakGenAlloc* allocator) : _allocator(allocator) {}
  [[nodiscard]] void* alloc(unsigned long size) const override {
    VakFailingCallback::Tick();
    return _allocator->alloc(size);
  }
  void free(void* p, unsigned long size) const override { _allocator->free(p, size); }
  void saveValue(void** address) const override { _allocator->saveValue(address); }
  void saveValue(long* address) const override { _allocator->saveValue(address); }
  void saveValue(double* address) const override { _allocator->saveValue(address); }
  [[nodiscard]] const char* intern(const char* text) const override {
    VakFailingCallback::Tick();
    return _allocator->intern(text);
  }

  VakGenAlloc* _allocator;  ///< Not owned.
};

/// A stream's device that takes every character. To be wrapped in a stream that passes exceptions
/// on.
class VakUserDevice : public std::streambuf {
 protected:
  int_type overflow(int_type character) override {
    VakFailingCallback::Tick();
    return traits_type::not_eof(character);
  }
  std::streamsize xsputn(const char* /*text*/, std::streamsize count) override {
    VakFailingCallback::Tick();
    return count;
  }
};

/// A stream onto such a device.
class VakUserStream : public std::ostream {
 public:
  VakUserStream() : std::ostream(nullptr) {
    rdbuf(&_device);
    exceptions(std::ios::badbit);
  }

 private:
  VakUserDevice _device;
};

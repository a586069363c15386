#pragma once

// Changes that are being reported: what they are about, and what they hold to be taken back.
//
// Until everybody was told of a change, its maker keeps pointers to the objects it is about, terms
// that are linked nowhere and pointers to terms of other objects. A listener may end objects
// meanwhile. So ending what a change is about is refused, and objects that are swept or deleted
// tell the changes under way, which let go of what goes.

#include <algorithm>

#include "vakmodel/model_impl.h"

/// A change under way; made on the stack by whoever reports it, on the thread of its environment.
class VakUnsettledI {
 public:
  VakUnsettledI() : _outer(_innermost) { _innermost = this; }
  VakUnsettledI(const VakUnsettledI&) = delete;
  VakUnsettledI& operator=(const VakUnsettledI&) = delete;

  /// True when a change under way is about `e`.
  [[nodiscard]] static bool IsHeld(const VakExtractableI* e) noexcept {
    for (const VakUnsettledI* c = _innermost; c != nullptr; c = c->_outer) {
      if (c->holds(e)) return true;
    }
    return false;
  }
  /// A removal makes `owner` drop what is hidden from its terms.
  static void DropHidden(const VakExtractableI* owner) noexcept {
    for (VakUnsettledI* c = _innermost; c != nullptr; c = c->_outer) c->dropHidden(owner);
  }
  /// The terms of `owner` are about to be given back.
  static void Forget(const VakExtractableI* owner) noexcept {
    for (VakUnsettledI* c = _innermost; c != nullptr; c = c->_outer) c->forget(owner);
  }

 protected:
  ~VakUnsettledI() { _innermost = _outer; }

  /// Whether the change is about `e`.
  [[nodiscard]] virtual bool holds(const VakExtractableI* e) const noexcept = 0;
  /// Drops what is hidden from terms that were set aside for `owner`.
  virtual void dropHidden(const VakExtractableI* /*owner*/) noexcept {}
  /// Lets go of the terms of `owner`.
  virtual void forget(const VakExtractableI* /*owner*/) noexcept {}

 private:
  constinit inline static thread_local VakUnsettledI* _innermost = nullptr;

  VakUnsettledI* _outer;  ///< The change that was under way before; null for none.
};

/// A change that is about some objects and their models, and about `model` unless that is null.
template <class Objects>
class VakUnsettledObjectsI final : private VakUnsettledI {
 public:
  /// `objects`, a range of pointers, outlives the change.
  explicit VakUnsettledObjectsI(const Objects& objects, const VakExtractableI* model = nullptr)
      : _objects(objects), _model(model) {}

 private:
  [[nodiscard]] bool holds(const VakExtractableI* e) const noexcept override {
    return e == _model || std::any_of(_objects.begin(), _objects.end(), [e](const auto* object) {
             if constexpr (requires { object->_model; }) {
               if (object->_model == e) return true;
             }
             return object == e;
           });
  }

  const Objects& _objects;
  const VakExtractableI* _model;
};

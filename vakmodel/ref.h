#pragma once

// References to modelling objects that notice when their object is gone.
//
//   VakRef<VakNumVar> ref = x;
//   x.end();          // other handles on the variable dangle now; the reference does not
//   ref.get();        // an empty handle
//   ref.checked();    // throws VakRefError: "Variable #12 was ended, or ..."
//
// A reference notices the end of its object, its being taken out of its environment, and the end of
// the environment, also when another object has got the identifier or the address, and when another
// environment lives at the old address. Handles stay what they are: one pointer that notices
// nothing.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string_view>

#include "vakbase/error_text.h"
#include "vakenv/memory/env_life.h"
#include "vakmodel/errors.h"
#include "vakmodel/extractable.h"

/// What has become of the object of a reference.
enum class VakRefState : unsigned char {
  Empty,             ///< The reference was made of no object.
  Alive,             ///< The object lives and is registered with its environment.
  ObjectGone,        ///< The object was ended, or taken out of its environment.
  EnvironmentEnded,  ///< The whole environment has ended.
  OtherEnvironment,  ///< The object lives, but in another environment than the one asked about.
};

/// The state in words, as in "object gone"; of static lifetime.
/// Threads: thread safe. Phases: any.
[[nodiscard]] const char* VakGetRefStateName(VakRefState state);
/// Writes the state in words.
/// Threads: confined, as the stream is. Phases: any.
std::ostream& operator<<(std::ostream& out, VakRefState state);

/// A reference was used whose object cannot be: the text names the object and what became of it.
class VakRefError : private VakErrorText, public VakWrongUsage {
 public:
  /// Copies `text`. `state` is not Alive.
  VakRefError(std::string_view text, VakRefState state);
  VakRefError(const VakRefError& other);
  VakRefError& operator=(const VakRefError& other);
  ~VakRefError() override;

  /// What became of the object.
  [[nodiscard]] VakRefState getState() const { return _state; }

 private:
  VakRefState _state;
};

/// What references to objects of all classes have in common; see VakRef.
///
/// Threads: read-shared, as the environment is; thread safe when it has ended.
/// Phases: open to make one and to use the object; any to ask what became of it.
/// Gives back: nothing: a reference keeps nothing alive.
class VakAnyRef {
 public:
  VakAnyRef() = default;

  /// What has become of the object. Constant time, no lock.
  [[nodiscard]] VakRefState getState() const noexcept;
  /// The same, asked by somebody who works in `env`.
  [[nodiscard]] VakRefState getState(VakEnv env) const noexcept;
  /// True when the object lives and is registered.
  [[nodiscard]] bool isAlive() const noexcept { return getState() == VakRefState::Alive; }
  /// True when the reference was made of no object. One whose object is gone is not empty.
  [[nodiscard]] bool isEmpty() const noexcept { return _stamp == 0; }

  /// Equal when both were made of the same object, whatever became of it, or are empty.
  friend bool operator==(const VakAnyRef& a, const VakAnyRef& b) { return a._stamp == b._stamp; }
  /// For hash tables; stays when the object goes.
  [[nodiscard]] std::size_t getHash() const noexcept { return _stamp; }

 protected:
  /// Refers to `object`; see VakRef.
  explicit VakAnyRef(VakExtractable object);
  /// Throws VakRefError unless the state is Alive.
  void check(VakRefState state) const {
    if (state != VakRefState::Alive) [[unlikely]]
      throwState(state);
  }

 private:
  [[noreturn]] void throwState(VakRefState state) const;

  VakEnvLife _life;          ///< Of the object's environment.
  std::uint64_t _stamp = 0;  ///< The object's in its environment's table; 0: empty.
  VakInt _id = -1;           ///< The object's identifier; -1: empty.
  const char* _kind = "";    ///< What the object is, as in "variable"; of static lifetime.
};

/// A reference to an object that a handle of class Handle holds. A plain value, never an owner,
/// that may outlive object and environment.
///
/// The first reference to an object makes a note of it in its environment, on the general heap;
/// further ones and copies cost nothing. Asking costs a few loads. References follow the thread
/// rule of their environment; when it has ended, they may be used from any thread.
///
/// Threads: read-shared, as the environment is; thread safe when it has ended.
/// Phases: open to make one and to use the object; any to ask what became of it.
/// Gives back: nothing: a reference keeps nothing alive.
template <class Handle>
class VakRef : public VakAnyRef {
  static_assert(std::derived_from<Handle, VakExtractable>, "a reference is to a modelling object");

 public:
  /// An empty reference.
  VakRef() = default;
  // Implicit on purpose: a reference takes the place of a handle that is to be kept.

  /// Refers to the object of `handle`, which must live; an empty handle makes an empty reference.
  /// Throws VakModelError for an object that was taken out of its environment, std::bad_alloc.
  VakRef(Handle handle) : VakAnyRef(handle), _handle(handle) {}
  /// A reference to a variable out of one to an integer variable, and the like.
  template <class Derived>
  requires std::derived_from<Derived, Handle> VakRef(const VakRef<Derived>& other)
      : VakAnyRef(other), _handle(other._handle) {}

  /// A handle on the object; an empty one when there is none any more.
  [[nodiscard]] Handle get() const noexcept { return isAlive() ? _handle : Handle(); }
  /// The same; an empty handle also when the object belongs to another environment than `env`.
  [[nodiscard]] Handle get(VakEnv env) const noexcept {
    return getState(env) == VakRefState::Alive ? _handle : Handle();
  }
  /// A handle on the object. Throws VakRefError, whose text says why there is none.
  [[nodiscard]] Handle checked() const {
    check(getState());
    return _handle;
  }
  /// The same; throws also when the object belongs to another environment than `env`.
  [[nodiscard]] Handle checked(VakEnv env) const {
    check(getState(env));
    return _handle;
  }

 private:
  template <class Other>
  friend class VakRef;

  Handle _handle;  ///< Dangles once the object is gone.
};

/// Writes the object, or in brackets what became of it.
template <class Handle>
std::ostream& operator<<(std::ostream& out, const VakRef<Handle>& ref) {
  if (ref.isAlive()) return out << ref.get();
  return out << '(' << VakGetRefStateName(ref.getState()) << ')';
}

template <class Handle>
struct std::hash<VakRef<Handle>> {
  std::size_t operator()(const VakRef<Handle>& ref) const noexcept { return ref.getHash(); }
};

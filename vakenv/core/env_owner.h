#pragma once

// An environment that ends with a scope.
//
//   {
//     VakEnvOwner env;
//     VakModel model(env);
//     ...
//   }  // the environment ends here, also when an exception leaves the scope

#include <exception>
#include <utility>

#include "vakenv/memory/env.h"

/// Owns an environment: ends it when the owner goes. Movable, not copyable; empty when moved from.
///
/// It is a handle of its environment too, so it stands wherever a VakEnv is taken; copies of that
/// handle own nothing. Nobody else may end the environment; ending it through the owner is allowed,
/// who is empty then. The thread rule is that of the environment.
///
/// The destructor passes on what the destructors of user objects throw at the environment's end,
/// after everything is released. When the scope is left by another exception already, that one
/// counts and the environment's is dropped. An owner within an object whose destructor must not
/// throw, such as an element of a container, is ended with end() beforehand if user objects throw.
///
/// Threads: confined: owning, ending and moving are for one thread; else as VakEnv.
/// Phases: open from the constructor to end(), reset() or the destructor; empty afterwards.
/// Gives back: end(), reset() or the destructor ends the environment; release() hands that duty
///     over.
class VakEnvOwner : public VakEnv {
 public:
  /// Owns a new environment. Throws VakMemoryException ("not enough memory").
  VakEnvOwner() = default;
  /// Takes over `env`, which nobody owns; an empty handle makes an empty owner.
  explicit VakEnvOwner(VakEnv env) noexcept : VakEnv(env) {}
  VakEnvOwner(VakEnvOwner&& other) noexcept : VakEnv(other.release()) {}
  /// Takes over the environment of `other`, then ends the one it had, whose end may throw; both
  /// are as they should be then. Nothing for itself.
  VakEnvOwner& operator=(VakEnvOwner&& other) {  // NOLINT(performance-noexcept-move-constructor)
    if (this != &other) reset(other.release());
    return *this;
  }
  VakEnvOwner(const VakEnvOwner&) = delete;
  VakEnvOwner& operator=(const VakEnvOwner&) = delete;

  ~VakEnvOwner() noexcept(false) {
    if (_impl == nullptr) return;
    if (std::uncaught_exceptions() <= _exceptionsAtStart) {
      end();
      return;
    }
    try {
      end();
    } catch (...) {  // the exception that leaves the scope counts
    }
  }

  /// Gives the environment up: the caller owns it from now on. An empty handle when there is none.
  [[nodiscard]] VakEnv release() noexcept { return VakEnv(std::exchange(_impl, nullptr)); }
  /// Takes over `env`, which may be empty, then ends the environment owned before. Throws what that
  /// end throws. Nothing when it is the same.
  void reset(VakEnv env = VakEnv(static_cast<VakEnvI*>(nullptr))) {
    if (env == *this) return;
    VakEnv before(std::exchange(_impl, env.getImpl()));
    if (before.getImpl() != nullptr) before.end();
  }
  /// The handle, which owns nothing.
  [[nodiscard]] VakEnv get() const noexcept { return *this; }
  /// True when it owns an environment.
  explicit operator bool() const noexcept { return _impl != nullptr; }

 private:
  int _exceptionsAtStart = std::uncaught_exceptions();  ///< On the thread that made the owner.
};

#pragma once

// Thread-safe mode for the length of a scope.
//
//   VakInstalledMutex mutex;                  // before the environment, which copies the pointer
//   VakEnvOwner env;
//   {
//     VakThreadSafeScope threadSafe(env);     // several threads may make objects in env
//     ...
//   }

#include "vakenv/core/multithreading.h"
#include "vakenv/fwd.h"
#include "vakenv/memory/env_life.h"

/// A recursive mutex that is the process-wide one as long as it lives. It must outlive every
/// environment that is made meanwhile. Made and ended by one thread.
///
/// Threads: confined: made and ended by one thread; get() is thread safe.
/// Phases: any: before the first environment that is to use it, until after the last one.
/// Gives back: the destructor uninstalls the mutex.
class VakInstalledMutex {
 public:
  /// Throws VakWrongUsage ("VakInstalledMutex: another mutex is installed. End it with VakEndMT
  /// first.").
  VakInstalledMutex();
  /// Uninstalls the mutex, unless another one was installed in its place.
  ~VakInstalledMutex();
  VakInstalledMutex(const VakInstalledMutex&) = delete;
  VakInstalledMutex& operator=(const VakInstalledMutex&) = delete;

  /// The mutex, to be locked by others too, as with std::scoped_lock.
  [[nodiscard]] VakRecursiveEnvMutex& get() { return _mutex; }

 private:
  VakRecursiveEnvMutex _mutex;
};

/// Keeps thread-safe allocation of an environment switched on, and switches it back to what it was
/// at the end of the scope. Scopes may nest. Made and ended by one thread, while no other uses the
/// environment. An environment that ends within the scope is noticed, and left alone.
///
/// Threads: confined: made and ended while no other thread uses the environment.
/// Phases: open; an environment that ends within the scope is left alone.
/// Gives back: the destructor switches back what the constructor switched on.
class VakThreadSafeScope {
 public:
  /// Throws VakEmptyHandleException ("VakEnv: Using empty handle"), VakWrongUsage
  /// ("VakThreadSafeScope: the environment has no mutex. Install one before it is made.") for an
  /// environment that would run unlocked, what VakEnvI::useMTSafeAllocation throws, and
  /// std::bad_alloc; nothing is switched then.
  explicit VakThreadSafeScope(VakEnv env);
  ~VakThreadSafeScope();
  VakThreadSafeScope(const VakThreadSafeScope&) = delete;
  VakThreadSafeScope& operator=(const VakThreadSafeScope&) = delete;

 private:
  VakEnvLife _life;  ///< Of the environment.
  bool _switchedOn;  ///< True when this scope switched the mode on.
};

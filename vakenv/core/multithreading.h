#pragma once

// The process-wide mutex: the one lock that all thread-safe environments share.
//
// A program that wants several threads to create objects in one environment
//   1. installs a mutex once, before it creates the environments that are to be thread safe, since
//      each environment copies the pointer when it is constructed:
//        VakRecursiveEnvMutex mutex;
//        VakInitMT(&mutex);
//   2. switches the chosen environments on: env.useMTSafeAllocation(1);
// Installing, removing and switching are done by one thread. The mutex must outlive every
// environment that copied it.

#include <mutex>

/// The lock that a program installs; its own lock and unlock do nothing.
///
/// A wrapped lock must be recursive: the library allocates, and so locks again, while it already
/// holds the mutex (plug-in changes, creation of the random generator), and calls back user code.
///
/// Threads: thread safe; made, installed and ended by one thread.
/// Phases: any; installed before the environments that are to use it are made, and ended after
///     them.
/// Gives back: unlock() takes back lock(), VakEndMT takes back VakInitMT.
class VakBaseEnvMutex {
 public:
  /// Called before and after the library touches what threads share. They do nothing here.
  virtual void lock();
  virtual void unlock();
  virtual ~VakBaseEnvMutex();
};

/// A ready mutex over std::recursive_mutex.
///
/// Threads: thread safe; made, installed and ended by one thread.
/// Phases: any; installed before the environments that are to use it are made, and ended after
///     them.
/// Gives back: unlock() takes back lock(), VakEndMT takes back VakInitMT.
class VakRecursiveEnvMutex final : public VakBaseEnvMutex {
 public:
  /// Lock and unlock the mutex.
  void lock() override;
  void unlock() override;
  ~VakRecursiveEnvMutex() override;

 private:
  std::recursive_mutex _mutex;
};

/// Installs `mutex`, which stays the caller's. Environments that exist already stay unlocked.
///
/// Threads: confined: no other thread may make an environment or call this, VakIsMTEnabled or
///     VakEndMT meanwhile.
/// Phases: any.
/// Gives back: VakEndMT.
void VakInitMT(VakBaseEnvMutex* mutex);

/// True while a mutex is installed.
///
/// Threads: read-shared: not while another thread installs or uninstalls one.
/// Phases: any.
[[nodiscard]] bool VakIsMTEnabled();

/// Uninstalls the mutex. Existing environments keep their copy of the pointer. The mutex is deleted
/// only if VakEnvI::DeleteMutex was set, which the library itself never does.
///
/// Threads: confined, as VakInitMT.
/// Phases: any.
void VakEndMT();

/// Holds the mutex that a pointer names, or nothing when it is null, for the life of a scope.
///
/// Deliberate: locking and unlocking each read the pointer afresh, so unlock() goes to whatever
/// mutex is named by then.
///
/// Threads: confined to the thread that made it.
/// Phases: any, while the mutex lives.
/// Gives back: the destructor unlocks.
class VakMutexGuard {
 public:
  /// Locks the mutex, unless there is none. `mutex` is not owned and has to outlive the guard.
  explicit VakMutexGuard(VakBaseEnvMutex* const& mutex) : _mutex(mutex) {
    if (_mutex != nullptr) _mutex->lock();
  }
  explicit VakMutexGuard(VakBaseEnvMutex*&&) = delete;
  ~VakMutexGuard() noexcept(false) {
    if (_mutex != nullptr) _mutex->unlock();
  }
  VakMutexGuard(const VakMutexGuard&) = delete;
  VakMutexGuard& operator=(const VakMutexGuard&) = delete;

 private:
  VakBaseEnvMutex* const& _mutex;  ///< The pointer that is read; it outlives the guard.
};

#pragma once

// A recursive mutex that counts, so that a test can say how often something locks.

#include <atomic>
#include <mutex>

#include "vakenv/core/multithreading.h"

/// Counts its calls, and whether every unlock was preceded by a lock. Recursive, as the library
/// requires, and safe for several threads.
class VakCountingMutex : public VakBaseEnvMutex {
 public:
  void lock() override {
    _mutex.lock();
    ++locks;
    ++depth;
  }
  void unlock() override {
    ++unlocks;
    if (--depth < 0) balanced = false;
    _mutex.unlock();
  }

  std::atomic<long> locks = 0;        ///< Calls of lock().
  std::atomic<long> unlocks = 0;      ///< Calls of unlock().
  std::atomic<long> depth = 0;        ///< Locks that are held.
  std::atomic<bool> balanced = true;  ///< False once unlock() came without a lock.

 private:
  std::recursive_mutex _mutex;
};

/// Counts the locks of a stretch of a test.
class VakLockCount {
 public:
  explicit VakLockCount(const VakCountingMutex& mutex)
      : _mutex(mutex), _locks(mutex.locks), _unlocks(mutex.unlocks) {}

  /// Locks since construction; -1 when the unlocks do not match them.
  [[nodiscard]] long get() const {
    const long locks = _mutex.locks - _locks;
    const long unlocks = _mutex.unlocks - _unlocks;
    return locks == unlocks && _mutex.balanced && _mutex.depth == 0 ? locks : -1;
  }

 private:
  const VakCountingMutex& _mutex;
  long _locks;
  long _unlocks;
};

#pragma once

// Makes the n-th call of the global operator new fail, for tests of what happens then.
//
// A test program that links `vak_test_failing_new` has all forms of the global operators new and
// delete replaced by ones that count. Unless a `VakFailingNew` lives they behave as ever.

#include <cstddef>
#include <exception>

#include "vakbase/slab_cache.h"

/// Told of every block that comes from and goes back to the global operators while it lives. Its
/// functions must not use the heap themselves. One thread at a time; at most one observer lives.
class VakHeapObserver {
 public:
  VakHeapObserver() noexcept;
  VakHeapObserver(const VakHeapObserver&) = delete;
  VakHeapObserver& operator=(const VakHeapObserver&) = delete;
  virtual ~VakHeapObserver();

  /// `block` of `size` bytes was obtained.
  virtual void obtained(void* block, std::size_t size) noexcept = 0;
  /// `block` is about to be given back.
  virtual void givenBack(void* block) noexcept = 0;
};

/// How often the chosen call fails.
enum class VakFailureSpan { Once, FromThenOn };

/// Tells of a call of the global operator new whether it is spared: neither counted nor let fail.
/// `caller` is where in the code it was called. Must not use the heap itself.
using VakSparesNew = bool (*)(const void* caller) noexcept;

/// While it lives, calls of this thread are neither counted nor let fail.
class VakSparedNew {
 public:
  VakSparedNew() noexcept;
  VakSparedNew(const VakSparedNew&) = delete;
  VakSparedNew& operator=(const VakSparedNew&) = delete;
  ~VakSparedNew();
};

/// While it lives, counts the calls of the global operator new in all threads and lets one of them
/// throw `std::bad_alloc` (or return null, in the forms that do not throw). At most one lives at a
/// time.
class VakFailingNew {
 public:
  /// Lets call number `failAt` fail, counted from 1, and with `FromThenOn` all that follow it; with
  /// 0 none fails and calls are only counted. `spares` is asked of every call; null for none.
  explicit VakFailingNew(long failAt, VakFailureSpan span = VakFailureSpan::Once,
                         VakSparesNew spares = nullptr) noexcept;
  VakFailingNew(const VakFailingNew&) = delete;
  VakFailingNew& operator=(const VakFailingNew&) = delete;
  ~VakFailingNew();

  /// Returns the number of calls so far, the failed one included.
  [[nodiscard]] long count() const noexcept;

  /// Tells whether the call that was to fail has come.
  [[nodiscard]] bool hasFailed() const noexcept;

  /// Returns the number of blocks of the whole process that were obtained from the global operator
  /// new and not given back. What a test obtains it has to give back before it compares.
  [[nodiscard]] static long CountBlocks() noexcept;

 private:
  long _failAt;  ///< Number of the call that fails; 0: none.
};

/// Runs `attempt` again and again, the k-th time with the k-th call of operator new failing, until
/// it runs without reaching a failure; then whatever it throws is thrown on. After each failure,
/// with operator new as ever, calls `afterFailure` with what `attempt` threw (null if nothing).
/// Returns the number of failures. Switches the slab cache off for good, so that every attempt asks
/// operator new for the same.
template <typename Attempt, typename AfterFailure>
long VakFailEachNew(Attempt attempt, AfterFailure afterFailure) {
  VakSetSlabCacheLimit(0);
  for (long failAt = 1;; ++failAt) {
    std::exception_ptr thrown;
    bool hasFailed = false;
    {
      VakFailingNew failing(failAt);
      try {
        attempt();
      } catch (...) {
        thrown = std::current_exception();
      }
      hasFailed = failing.hasFailed();
    }
    if (!hasFailed) {
      if (thrown) std::rethrow_exception(thrown);
      return failAt - 1;
    }
    afterFailure(thrown);
  }
}

/// Tells whether `thrown` is an exception of type `Exception` or of a class derived from it.
template <typename Exception>
[[nodiscard]] bool VakIsException(const std::exception_ptr& thrown) {
  if (!thrown) return false;
  try {
    std::rethrow_exception(thrown);
  } catch (const Exception&) {
    return true;
  } catch (...) {
    return false;
  }
}

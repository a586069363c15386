#pragma once

// Which blocks are handed out and how large they are.

#include <map>
#include <new>

/// Keeps account for an allocator under test: notes every block that came back with another size
/// than it went out with, and lets one chosen request fail.
class VakBlockLedger {
 public:
  /// Called for every request before it is served; throws std::bad_alloc for request `failAt`.
  void request() {
    if (++requests == failAt) throw std::bad_alloc();
  }
  void take(void* block, unsigned long size) { _sizes[block] = size; }
  /// True if the block was handed out with this size; it is then off the books.
  [[nodiscard]] bool giveBack(void* block, unsigned long size) {
    const auto found = _sizes.find(block);
    if (found == _sizes.end() || found->second != size) {
      ++mismatches;
      return false;
    }
    _sizes.erase(found);
    return true;
  }
  [[nodiscard]] long countBlocks() const { return static_cast<long>(_sizes.size()); }
  [[nodiscard]] const std::map<void*, unsigned long>& blocks() const { return _sizes; }

  long requests = 0;    ///< Requests so far.
  long failAt = 0;      ///< The request that fails, counted from 1; 0: none.
  long mismatches = 0;  ///< Blocks that came back unknown or with a wrong size.

 private:
  std::map<void*, unsigned long> _sizes;
};

/// Runs `attempt` again and again, the k-th time with its k-th request to `ledger` failing, until
/// no request is left to fail. Calls `afterFailure` each time std::bad_alloc came out. Returns the
/// number of failures, or -1 when a request failed without std::bad_alloc coming out.
template <class Attempt, class AfterFailure>
long VakFailEachRequest(VakBlockLedger& ledger, Attempt attempt, AfterFailure afterFailure) {
  for (long k = 1;; ++k) {
    ledger.failAt = ledger.requests + k;
    const long failing = ledger.failAt;
    bool threw = false;
    try {
      attempt();
    } catch (const std::bad_alloc&) {
      threw = true;
    }
    ledger.failAt = 0;
    if (ledger.requests < failing) return k - 1;
    if (!threw) return -1;
    afterFailure();
  }
}

#pragma once

// A memory manager that reports every block an array gives back wrongly or not at all.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/checking_allocator.h"

/// Fills what it hands out with a pattern, so that nothing is zero by chance, and counts bytes.
/// Blocks that came back unknown or with another size, or not at all, fail the test when it ends.
class VakArrayMemory : public VakCheckingAllocator {
 public:
  VakArrayMemory() = default;
  ~VakArrayMemory() override {
    EXPECT_EQ(ledger.mismatches, 0) << "blocks came back unknown or with another size";
    EXPECT_EQ(ledger.countBlocks(), 0) << "blocks did not come back";
  }

  [[nodiscard]] void* alloc(unsigned long size) const override {
    void* block = VakCheckingAllocator::alloc(size);
    std::memset(block, 0xA5, size);
    _bytes += size;
    _peakBytes = std::max(_peakBytes, _bytes);
    return block;
  }
  void free(void* p, unsigned long size) const override {
    if (p != nullptr) _bytes -= size;
    VakCheckingAllocator::free(p, size);
  }

  /// Lets the `k`-th request from now on fail, counted from 1; with 0 none fails.
  void failAt(long k) { ledger.failAt = k == 0 ? 0 : ledger.requests + k; }
  /// Tells whether the request that was to fail has come.
  [[nodiscard]] bool hasFailed() const {
    return ledger.failAt != 0 && ledger.requests >= ledger.failAt;
  }
  [[nodiscard]] long getRequestCount() const { return ledger.requests; }
  [[nodiscard]] long getBlockCount() const { return ledger.countBlocks(); }
  /// Bytes handed out and not given back.
  [[nodiscard]] unsigned long getBytes() const { return _bytes; }
  /// The most bytes that were handed out at once since the last resetPeak().
  [[nodiscard]] unsigned long getPeakBytes() const { return _peakBytes; }
  void resetPeak() { _peakBytes = _bytes; }

 private:
  mutable unsigned long _bytes = 0;
  mutable unsigned long _peakBytes = 0;
};

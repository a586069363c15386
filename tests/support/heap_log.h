#pragma once

// What came from and went back to the global operators new and delete during a stretch of a test.
// A program that includes this links vak_test_failing_new.

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>

#include "tests/support/failing_new.h"

/// Writes down, in order, every block that is obtained and given back while it lives.
class VakHeapLog : public VakHeapObserver {
 public:
  struct Entry {
    char* start;
    std::size_t size;
    long givenBackAt;  ///< Rank among the blocks given back, from 1; 0 while outstanding.
  };

  void obtained(void* block, std::size_t size) noexcept override {
    if (count < Capacity) entries[count++] = {static_cast<char*>(block), size, 0};
  }
  void givenBack(void* block) noexcept override {
    ++releases;
    for (std::size_t i = count; i-- > 0;) {
      if (entries[i].start != block || entries[i].givenBackAt != 0) continue;
      entries[i].givenBackAt = releases;
      return;
    }
  }

  /// The rank, in the order of obtaining, of the outstanding or last block that `address` lies in,
  /// from 1; 0 when there is none.
  [[nodiscard]] long obtainedAt(const void* address) const {
    const auto* byte = static_cast<const char*>(address);
    for (std::size_t i = count; i-- > 0;) {
      if (byte >= entries[i].start && byte < entries[i].start + entries[i].size) {
        return static_cast<long>(i) + 1;
      }
    }
    return 0;
  }
  /// The rank, in the order of giving back, of the block that `address` lay in, from 1; 0 when it
  /// is outstanding or was never obtained.
  [[nodiscard]] long givenBackAt(const void* address) const {
    const long rank = obtainedAt(address);
    return rank == 0 ? 0 : entries[static_cast<std::size_t>(rank) - 1].givenBackAt;
  }
  /// The log cannot hold more: everything it says is then worthless.
  [[nodiscard]] bool isFull() const { return count == Capacity; }

  static constexpr std::size_t Capacity = 20000;
  std::array<Entry, Capacity> entries;  ///< Blocks in the order of obtaining.
  std::size_t count = 0;                ///< Number of entries.
  long releases = 0;                    ///< Number of blocks given back.
};

// Takes and gives back every size that models meet, with many elements alive at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/memory_modes.h"
#include "vakbase/memory.h"

namespace {

/// An element that is taken, marked at both ends with a number of its own.
struct Taken {
  char* _start;
  unsigned long _size;

  void mark() const {
    std::memset(_start, static_cast<int>(_size % 251), std::min(_size, 16UL));
    std::memset(_start + _size - 1, static_cast<int>(_size % 251), 1);
  }
  [[nodiscard]] bool isIntact() const {
    const char expected = static_cast<char>(_size % 251);
    return std::all_of(_start, _start + std::min(_size, 16UL),
                       [&](char byte) { return byte == expected; }) &&
           _start[_size - 1] == expected;
  }
  [[nodiscard]] const char* end() const { return _start + _size; }
};

class VakMemorySizes : public testing::TestWithParam<long> {
 protected:
  VakMemorySizes() : _memory(GetParam()) {}

  /// Takes the sizes from `first` to `last` all at once, proves them apart, and gives them back.
  void takeAndGiveBack(unsigned long first, unsigned long last) {
    std::vector<Taken> taken;
    for (unsigned long size = first; size <= last; ++size) {
      taken.push_back({static_cast<char*>(_memory.allocate(size)), size});
      const bool aligned =
          reinterpret_cast<std::uintptr_t>(taken.back()._start) %
              (VakMemory::getElementSize(VakMemory::getIndex(static_cast<long>(size))) % 16 == 0
                   ? 16
                   : 8) ==
          0;
      ASSERT_TRUE(aligned) << size;
      taken.back().mark();
    }
    std::sort(taken.begin(), taken.end(),
              [](const Taken& left, const Taken& right) { return left._start < right._start; });
    for (std::size_t i = 1; i < taken.size(); ++i) {
      ASSERT_LE(taken[i - 1].end(), taken[i]._start) << taken[i - 1]._size << " " << taken[i]._size;
    }
    for (const Taken& element : taken) {
      ASSERT_TRUE(element.isIntact()) << element._size;
      _memory.deallocate(element._start, element._size);
    }
    ASSERT_EQ(_memory.getMemoryUsage(), 0);
  }

  VakMemory _memory;
};

VAK_IN_BOTH_MEMORY_MODES(VakMemorySizes);

TEST_P(VakMemorySizes, From1To70000AreServedWithoutOverlapAndBalanced) {
  constexpr unsigned long together = 2000;
  for (unsigned long first = 1; first < 70'000; first += together) {
    ASSERT_NO_FATAL_FAILURE(takeAndGiveBack(first, first + together - 1));
  }
  EXPECT_EQ(_memory.check(), "");
}

TEST_P(VakMemorySizes, AroundTwoToThe20AreServedWithoutOverlapAndBalanced) {
  takeAndGiveBack((1UL << 20) - 1, (1UL << 20) + 1);
  EXPECT_EQ(_memory.check(), "");
}

TEST_P(VakMemorySizes, AroundTwoToThe27AreServedWithoutOverlapAndBalanced) {
  takeAndGiveBack((1UL << 27) - 1, (1UL << 27) + 1);
  EXPECT_EQ(_memory.check(), "");
}

TEST_P(VakMemorySizes, ServesManyElementsOfASizeWithoutOverlap) {
  for (unsigned long size : {1UL, 8UL, 24UL, 40UL, 64UL, 129UL, 512UL, 3000UL}) {
    std::vector<char*> elements;
    for (int i = 0; i < 3000; ++i) {
      elements.push_back(static_cast<char*>(_memory.allocate(size)));
      std::memset(elements.back(), i % 127, size);
    }
    for (int i = 0; i < 3000; ++i) {
      const std::string expected(size, static_cast<char>(i % 127));
      ASSERT_EQ(std::string(elements[static_cast<unsigned>(i)], size), expected) << size;
      _memory.deallocate(elements[static_cast<unsigned>(i)], size);
    }
    EXPECT_EQ(_memory.getMemoryUsage(), 0);
  }
  EXPECT_EQ(_memory.check(), "");
}

}  // namespace

#pragma once

// Which size class of the block memory pool serves a request, as arithmetic and as a table.

#include <array>
#include <bit>

/// The size classes: 8 bytes apart up to 128 bytes, then four to a doubling up to 2^47, so that an
/// element above 128 bytes exceeds its request by less than a quarter.
///
/// Threads: thread safe: it holds constants.
/// Phases: any.
struct VakSizeClasses {
  static constexpr unsigned long LargestSmallSize = 128;   ///< Up to here a class a word.
  static constexpr unsigned long LargestTableSize = 1024;  ///< Up to here the index is looked up.
  static constexpr unsigned long LargestSize = 1UL << 47;  ///< No process addresses more bytes.
  /// The number of classes up to LargestSmallSize, and of all.
  static constexpr long SmallCount = static_cast<long>(LargestSmallSize / 8);
  static constexpr long Count = SmallCount + 4 * (47 - 7);

  /// Returns the index of the class of a size above the small ones, by arithmetic.
  static constexpr long GetGeometricIndex(unsigned long size) {
    // The three leading bits of `size - 1` are 1xy: the doubling, and the quarter xy within it.
    // What is subtracted lets the first quarter above 128 bytes follow the small classes.
    const auto width = static_cast<long>(std::bit_width(size - 1));
    return 4 * width + static_cast<long>((size - 1) >> (width - 3)) - (4 * 8 + 4 - SmallCount);
  }

  /// Returns the bytes of an element of the class at `index`.
  static constexpr long GetElementSize(long index) {
    if (index < SmallCount) return (index + 1) * 8;
    const long quarter = index - SmallCount;
    return (quarter % 4 + 5) << (quarter / 4 + 5);
  }
};

/// The index of every size up to `LargestTableSize`, by the number of words it takes. Sizes of
/// models lie on both sides of 128 bytes, and a table has no branch that could be predicted
/// wrongly.
inline constexpr auto VakSizeClassOfWords = [] {
  std::array<unsigned char, VakSizeClasses::LargestTableSize / 8 + 1> table{};
  long index = 0;
  for (unsigned long words = 0; words < table.size(); ++words) {
    if (VakSizeClasses::GetElementSize(index) < static_cast<long>(8 * words)) ++index;
    table[words] = static_cast<unsigned char>(index);
  }
  return table;
}();

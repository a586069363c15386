#pragma once

// Reading and writing an array at the speed of plain memory, chunk by chunk.

#include <cstddef>
#include <iterator>
#include <span>

/// The elements of an array as a sequence of spans of neighbouring elements.
///
///   for (std::span<double> chunk : array.chunks())
///     for (double& x : chunk) x = 0;
///
/// All chunks have the same length, a power of two, but for the last one, which ends with the
/// array. The view is a snapshot: it keeps its number of elements, and growing past the capacity
/// and clear() invalidate it.
///
/// Threads: read-shared, as the array is.
/// Phases: open, until the array grows past its capacity, is cleared or ends.
template <class T>
class VakArrayChunks {
 public:
  class Iterator;

  /// No chunks.
  VakArrayChunks() = default;
  /// The chunks of 2^`shift` elements in `table` that hold `size` elements; none if that is not
  /// positive.
  VakArrayChunks(char* const* table, long shift, long size)
      : _table(table), _shift(shift), _size(size > 0 ? size : 0) {}

  /// The number of chunks in use.
  [[nodiscard]] std::size_t size() const {
    return static_cast<std::size_t>(_size == 0 ? 0 : ((_size - 1) >> _shift) + 1);
  }
  /// True when there are none.
  [[nodiscard]] bool empty() const { return _size == 0; }

  /// Chunk `k`, of size() chunks.
  [[nodiscard]] std::span<T> operator[](std::size_t k) const {
    const long length = 1L << _shift;
    const long rest = _size - (static_cast<long>(k) << _shift);
    return {reinterpret_cast<T*>(_table[k]),
            static_cast<std::size_t>(rest < length ? rest : length)};
  }

  [[nodiscard]] Iterator begin() const { return Iterator(*this, 0); }
  [[nodiscard]] Iterator end() const { return Iterator(*this, size()); }

 private:
  char* const* _table = nullptr;  ///< The array's chunks; not owned.
  long _shift = 0;                ///< Base-2 logarithm of the chunk length.
  long _size = 0;                 ///< Elements; never negative.
};

/// Walks over the chunks of an array; needs neither the view nor the handle to stay.
template <class T>
class VakArrayChunks<T>::Iterator {
 public:
  using iterator_concept = std::forward_iterator_tag;
  using iterator_category = std::input_iterator_tag;
  using value_type = std::span<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = std::span<T>;

  Iterator() = default;
  /// Stands at chunk `k` of `chunks`.
  Iterator(const VakArrayChunks& chunks, std::size_t k) : _chunks(chunks), _k(k) {}

  [[nodiscard]] std::span<T> operator*() const { return _chunks[_k]; }
  Iterator& operator++() {
    ++_k;
    return *this;
  }
  Iterator operator++(int) {
    Iterator before = *this;
    ++_k;
    return before;
  }
  [[nodiscard]] friend bool operator==(const Iterator& a, const Iterator& b) {
    return a._k == b._k;
  }

 private:
  VakArrayChunks _chunks;  ///< The chunks walked over.
  std::size_t _k = 0;      ///< The present chunk.
};

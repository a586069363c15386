#pragma once

// Walking over the elements of an array, in any order.

#include <bit>
#include <compare>
#include <cstddef>
#include <iterator>
#include <type_traits>

/// A random-access iterator over an array whose elements lie in chunks.
///
/// Got from begin() and end() of an array handle. It keeps the bounds of its chunk, so that a step
/// within the chunk costs an increment and a comparison, as it does for the deque of the standard
/// library. It holds the array's storage, not the array: growing past the capacity and clear()
/// invalidate it, and appending invalidates the iterator behind the last element. Comparing
/// iterators of different arrays is meaningless.
///
/// Invariant: `_current` lies in the chunk at `_first` and not at its end: where a chunk ends, an
/// iterator stands at the beginning of the next. Where there is no next chunk both are null.
///
/// Threads: read-shared, as the array is.
/// Phases: open, until the array grows past its capacity, is cleared or ends.
template <class T>
class VakArrayIterator {
 public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = std::remove_cv_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

  /// Belongs to no array; equal to every other such iterator.
  VakArrayIterator() = default;
  /// Stands at element `index`, which may be the one behind the last, of the chunks of 2^`shift`
  /// elements in `table`.
  VakArrayIterator(char* const* table, long shift, difference_type index)
      : _tableEnd(table + (difference_type{1} << shift)), _length(difference_type{1} << shift) {
    enter(table + (index >> shift));
    _current = _first + (index & (_length - 1));
  }

  [[nodiscard]] reference operator*() const { return *_current; }
  [[nodiscard]] pointer operator->() const { return _current; }
  [[nodiscard]] reference operator[](difference_type n) const { return *(*this + n); }

  VakArrayIterator& operator++() {
    ++_current;
    if (_current == _first + _length) [[unlikely]] {
      enter(_entry + 1);
      _current = _first;
    }
    return *this;
  }
  VakArrayIterator operator++(int) {
    VakArrayIterator before = *this;
    ++*this;
    return before;
  }
  VakArrayIterator& operator--() {
    if (_current == _first) [[unlikely]] {
      enter(_entry - 1);
      _current = _first + _length;
    }
    --_current;
    return *this;
  }
  VakArrayIterator operator--(int) {
    VakArrayIterator before = *this;
    --*this;
    return before;
  }
  VakArrayIterator& operator+=(difference_type n) {
    const difference_type slot = (_current - _first) + n;
    if (static_cast<std::size_t>(slot) < static_cast<std::size_t>(_length)) [[likely]] {
      _current += n;
      return *this;
    }
    enter(_entry + (slot >> shift()));
    _current = _first + (slot & (_length - 1));
    return *this;
  }
  VakArrayIterator& operator-=(difference_type n) { return *this += -n; }

  [[nodiscard]] friend VakArrayIterator operator+(VakArrayIterator it, difference_type n) {
    return it += n;
  }
  [[nodiscard]] friend VakArrayIterator operator+(difference_type n, VakArrayIterator it) {
    return it += n;
  }
  [[nodiscard]] friend VakArrayIterator operator-(VakArrayIterator it, difference_type n) {
    return it -= n;
  }
  [[nodiscard]] friend difference_type operator-(const VakArrayIterator& a,
                                                 const VakArrayIterator& b) {
    return (a._entry - b._entry) * a._length + (a._current - a._first) - (b._current - b._first);
  }
  [[nodiscard]] friend bool operator==(const VakArrayIterator& a, const VakArrayIterator& b) {
    return a._current == b._current;
  }
  [[nodiscard]] friend std::strong_ordering operator<=>(const VakArrayIterator& a,
                                                        const VakArrayIterator& b) {
    return a._entry == b._entry ? a._current <=> b._current : a._entry <=> b._entry;
  }

 private:
  [[nodiscard]] int shift() const { return std::countr_zero(static_cast<std::size_t>(_length)); }

  // Takes the bounds of the chunk at `entry`, which may be the end of the table.
  void enter(char* const* entry) {
    _entry = entry;
    _first = entry < _tableEnd ? reinterpret_cast<T*>(*entry) : nullptr;
  }

  T* _current = nullptr;             ///< The present element; null where there is no chunk.
  T* _first = nullptr;               ///< Beginning of its chunk.
  char* const* _entry = nullptr;     ///< Where the table names this chunk.
  char* const* _tableEnd = nullptr;  ///< Behind the last entry of the table.
  difference_type _length = 1;       ///< Elements of a chunk, a power of two.
};

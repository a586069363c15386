#pragma once

// Walking over the elements of an array, in any order.

#include <compare>
#include <cstddef>
#include <iterator>
#include <type_traits>

/// A random-access iterator over an array whose elements lie in chunks.
///
/// Got from begin() and end() of an array handle. It holds the array's geometry, not the array:
/// growing past the capacity and clear() invalidate it, other changes do not. Comparing iterators
/// of different arrays is meaningless.
template <class T>
class VakArrayIterator {
 public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = std::remove_cv_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

  /// Belongs to no array.
  VakArrayIterator() = default;
  /// Stands at element `index` of the chunks of 2^`shift` elements in `table`.
  VakArrayIterator(char* const* table, long shift, difference_type index)
      : _table(table), _index(index), _shift(shift) {}

  [[nodiscard]] reference operator*() const { return at(_index); }
  [[nodiscard]] pointer operator->() const { return &at(_index); }
  [[nodiscard]] reference operator[](difference_type n) const { return at(_index + n); }

  VakArrayIterator& operator++() {
    ++_index;
    return *this;
  }
  VakArrayIterator operator++(int) {
    VakArrayIterator before = *this;
    ++_index;
    return before;
  }
  VakArrayIterator& operator--() {
    --_index;
    return *this;
  }
  VakArrayIterator operator--(int) {
    VakArrayIterator before = *this;
    --_index;
    return before;
  }
  VakArrayIterator& operator+=(difference_type n) {
    _index += n;
    return *this;
  }
  VakArrayIterator& operator-=(difference_type n) {
    _index -= n;
    return *this;
  }

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
    return a._index - b._index;
  }
  [[nodiscard]] friend bool operator==(const VakArrayIterator& a, const VakArrayIterator& b) {
    return a._index == b._index;
  }
  [[nodiscard]] friend std::strong_ordering operator<=>(const VakArrayIterator& a,
                                                        const VakArrayIterator& b) {
    return a._index <=> b._index;
  }

 private:
  [[nodiscard]] reference at(difference_type i) const {
    const difference_type slot = i & ((difference_type{1} << _shift) - 1);
    return reinterpret_cast<T*>(_table[i >> _shift])[slot];
  }

  char* const* _table = nullptr;  ///< The array's chunks; not owned.
  difference_type _index = 0;     ///< The present element.
  long _shift = 0;                ///< Base-2 logarithm of the chunk length.
};

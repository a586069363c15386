#pragma once

// The typed handle of an array.
//
//   VakArray<T>
//     VakNumArray    elements VakNum        VakNumArray2   elements VakNumArray
//     VakIntArray    elements VakInt        VakIntArray2   elements VakIntArray
//     VakBoolArray   elements VakInt, meant to be 0 or 1
//
// Elements lie in chunks. Reading and writing by index is a shift, a mask and one load from a
// table; begin() and end() give random-access iterators for range-based loops and the algorithms of
// the standard library; chunks() gives plain memory, piece by piece, where speed counts most.

#include <cassert>
#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <ranges>
#include <type_traits>
#include <utility>

#include "vakenv/arrays/array_chunks.h"
#include "vakenv/arrays/array_impl.h"
#include "vakenv/arrays/array_iterator.h"
#include "vakenv/fwd.h"
#include "vakenv/memory/create.h"
#include "vakenv/memory/env.h"

/// A range whose values can become elements of type T without losing a fractional part.
template <class R, class T>
concept VakElementRange =
    std::ranges::input_range<R> && std::convertible_to<std::ranges::range_reference_t<R>, T> &&
    !(std::is_integral_v<T> && std::is_floating_point_v<std::ranges::range_value_t<R>>);

/// Handle of an array of elements of type T: one pointer, copied freely, never an owner; null when
/// empty. Copies share the elements, and a constant handle may change them.
///
/// T is copied as bytes, and a new element is all zero bytes. Except for end(), the iterators, the
/// chunks, comparing and printing, the operations need a handle that is not empty: not checked
/// unless they say so. Indices are not checked.
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: end() takes back what the constructors with a manager or an environment made.
template <class T>
class VakArray {
 public:
  using value_type = T;

  /// An empty handle.
  VakArray() = default;
  /// A handle on an existing array of such elements; null makes an empty handle.
  explicit VakArray(VakArrayI* impl) : _impl(impl) {}
  /// A new array of `n` zero elements in the environment's memory. Throws VakEmptyHandleException
  /// ("VakEnv: Using empty handle") when `env` is empty, std::bad_alloc when memory runs out.
  VakArray(VakEnv env, VakInt n) : VakArray(env.getMemoryManager(), n) {}
  /// A new array of `n` zero elements in the memory of `m`, which is not empty.
  VakArray(VakMemoryManager m, VakInt n)
      : _impl(VakArrayI::Make(m.getImpl(), n, static_cast<VakInt>(sizeof(T)))) {
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 16);
  }

  /// A new array of these values.
  [[nodiscard]] static VakArray From(VakMemoryManager m, std::initializer_list<T> values) {
    return Build<VakArray>(m, values);
  }
  /// A new array of the values of a range.
  template <VakElementRange<T> R>
  [[nodiscard]] static VakArray From(VakMemoryManager m, R&& values) {
    return Build<VakArray>(m, std::forward<R>(values));
  }

  [[nodiscard]] VakArrayI* getImpl() const { return _impl; }
  /// Equal when both hold the same array.
  friend bool operator==(VakArray a, VakArray b) { return a._impl == b._impl; }

  /// Deletes the array, which ends all its handles, and empties this one; nothing when empty.
  void end() {
    delete _impl;
    _impl = nullptr;
  }

  /// The environment that owns the array's memory; throws
  /// VakEnv::IncompatibleMemoryManagerException when that belongs to none.
  [[nodiscard]] VakEnv getEnv() const { return _impl->getEnv(); }

  /// The number of elements.
  [[nodiscard]] VakInt getSize() const {
    assert(_impl != nullptr);
    return _impl->_size;
  }

  /// Element `i`.
  [[nodiscard]] T& operator[](VakInt i) const {
    assert(_impl != nullptr);
    return reinterpret_cast<T*>(_impl->_data[i >> _impl->_shift])[i & _impl->_mod];
  }
  /// Element `i`.
  [[nodiscard]] T& data(VakInt i) const { return (*this)[i]; }

  /// Appends an element, which is taken by value because it may be one of this array. On a negative
  /// size it counts up to 0 and stores nothing: there are no elements before the first. Throws
  /// std::bad_alloc; see VakArrayI::grow for what is left then.
  void add(const T x) const {
    assert(_impl != nullptr);
    // Everything is read before the branch, the size is stored behind it, and the geometry is named
    // there once more: a loop of appends then carries all of it in registers.
    VakArrayI* const array = _impl;
    const VakInt next = array->_size + 1;
    const VakInt slot = next & array->_mod;
    const VakInt shift = array->_shift;
    char** const table = array->_data;
    if (VakArrayI::IsWithinChunk(next, slot)) [[likely]] {
      reinterpret_cast<T*>(table[next >> shift])[slot - 1] = x;
    } else {
      AddAtEdge(array, x);
    }
    array->_size = next;
    array->keepGeometryInRegisters();
  }

  /// Appends all elements of `other`, which may be this array.
  void append(VakArray other) const { _impl->addArray(other._impl); }
  /// Appends these values.
  void append(std::initializer_list<T> values) const { appendRange(values); }
  /// Appends the values of a range, which must not lie in this array's own chunks. What was
  /// appended before an exception of the range stays.
  template <VakElementRange<T> R>
  requires(!std::derived_from<std::remove_cvref_t<R>, VakArray>) void append(R&& values) const {
    appendRange(std::forward<R>(values));
  }

  /// Removes `n` elements from index `first` on; throws VakArrayError as VakArrayI::remove does.
  void remove(VakInt first, VakInt n) const { _impl->remove(first, n); }
  /// Removes all elements and gives their memory back.
  void clear() const { _impl->clear(); }

  /// The elements as spans of plain memory; none on an empty handle.
  [[nodiscard]] VakArrayChunks<T> chunks() const {
    if (_impl == nullptr) return {};
    return {_impl->_data, _impl->_shift, _impl->_size};
  }

  // Iterators come from free functions, since the member end() ends the array. Whoever asks for
  // them without qualification, as range-based loops and the algorithms on ranges do, gets these.
  // Derived handles repeat them, because a better match for the derived type would be the end of
  // the standard library, which calls the member.

  /// Iterator at the first element; equal to end() on an empty handle.
  [[nodiscard]] friend VakArrayIterator<T> begin(VakArray a) { return a.first(); }
  /// Iterator behind the last element. It does not end the array.
  [[nodiscard]] friend VakArrayIterator<T> end(VakArray a) { return a.behindLast(); }

  /// Writes the elements as in [1, 2, 3], and an empty handle as [].
  friend std::ostream& operator<<(std::ostream& out, VakArray a) {
    out << '[';
    const char* separator = "";
    for (const T& x : a) {
      out << separator << x;
      separator = ", ";
    }
    return out << ']';
  }

  VakArrayI* _impl = nullptr;  ///< The array, not owned; null when the handle is empty.

 protected:
  /// A new array of the values of a range, in a handle of type Handle; leaves nothing behind when
  /// it throws.
  template <class Handle, class R>
  [[nodiscard]] static Handle Build(VakMemoryManager m, R&& values) {
    // An array without storage, as after clear(): the first growth then makes what is needed.
    VakArray array(VakCreate<VakArrayI>(m, VakInt{0}, VakInt{0}, VakInt{0}, VakInt{0},
                                        static_cast<VakInt>(sizeof(T)),
                                        static_cast<char**>(nullptr)));
    try {
      VakInt expected = 0;
      if constexpr (std::ranges::sized_range<R>) {
        expected = static_cast<VakInt>(std::ranges::size(values));
      }
      array._impl->grow(expected);
      array.appendRange(std::forward<R>(values));
    } catch (...) {
      array.end();
      throw;
    }
    return Handle(array._impl);
  }

  /// Iterators at the first element and behind the last one.
  [[nodiscard]] VakArrayIterator<T> first() const {
    if (!hasStorage()) return {};
    return {_impl->_data, _impl->_shift, 0};
  }
  [[nodiscard]] VakArrayIterator<T> behindLast() const {
    if (!hasStorage()) return {};
    return {_impl->_data, _impl->_shift, _impl->_size > 0 ? _impl->_size : 0};
  }

 private:
  [[nodiscard]] bool hasStorage() const { return _impl != nullptr && _impl->_data != nullptr; }

  // Stores at the beginning or the end of a chunk, which may have to be made first; the size is the
  // caller's to count. Static, so that the handle of a caller's loop stays in a register.
  [[gnu::noinline]] static void AddAtEdge(VakArrayI* array, const T x) {
    const VakInt size = array->_size;
    array->growAhead(size + 1);
    if (size >= 0) VakArray{array}.data(size) = x;
  }

  // Appends plain memory as it is, everything else value by value.
  template <class R>
  void appendRange(R&& values) const {
    if constexpr (std::ranges::contiguous_range<R> && std::ranges::sized_range<R> &&
                  std::same_as<std::ranges::range_value_t<R>, T>) {
      _impl->addElements(std::ranges::data(values), static_cast<VakInt>(std::ranges::size(values)));
    } else {
      for (auto&& x : values) add(static_cast<T>(std::forward<decltype(x)>(x)));
    }
  }
};

// Iterators and chunks stay valid without the handle and the view they came from.
template <class T>
inline constexpr bool std::ranges::enable_borrowed_range<VakArray<T>> = true;
template <class T>
inline constexpr bool std::ranges::enable_borrowed_range<VakArrayChunks<T>> = true;

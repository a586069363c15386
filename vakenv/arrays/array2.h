#pragma once

// Arrays of rows. A row is the handle of a numeric or integer array: rows are shared, not copied,
// and are ended by whoever made them.

#include <initializer_list>
#include <utility>

#include "vakenv/arrays/array.h"
#include "vakenv/arrays/int_array.h"
#include "vakenv/arrays/num_array.h"

/// Handle of an array of rows of numeric values.
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: end() takes back what the constructors with a manager or an environment made.
class VakNumArray2 : public VakArray<VakNumArray> {
 public:
  /// An empty handle.
  VakNumArray2() = default;
  /// A handle on an existing array of rows; null makes an empty handle.
  explicit VakNumArray2(VakArrayI* impl) : VakArray(impl) {}
  /// `n` rows that are empty handles, in the environment's memory.
  VakNumArray2(VakEnv env, VakInt n) : VakArray(env, n) {}
  /// Deliberate: `n` rows that are empty handles and then `row`, so `n` + 1 rows. `n` is not
  /// checked.
  VakNumArray2(VakEnv env, VakInt n, VakNumArray row);

  /// A new array of these rows.
  [[nodiscard]] static VakNumArray2 From(VakMemoryManager m,
                                         std::initializer_list<VakNumArray> rows) {
    return Build<VakNumArray2>(m, rows);
  }
  /// A new array of the rows of a range.
  template <VakElementRange<VakNumArray> R>
  [[nodiscard]] static VakNumArray2 From(VakMemoryManager m, R&& rows) {
    return Build<VakNumArray2>(m, std::forward<R>(rows));
  }

  /// True when both hold arrays of the same size with equal elements; NaN equals nothing.
  [[nodiscard]] static bool equal(VakNumArray a, VakNumArray b);

  /// Deliberate: compares `a` with one candidate only, which is not a row but the array of rows
  /// itself, the bytes of its row handles read as numeric values. See containsRow().
  [[nodiscard]] bool contains(VakNumArray a) const;
  /// True when `a` is equal() to a row.
  [[nodiscard]] bool containsRow(VakNumArray a) const;

  [[nodiscard]] friend VakArrayIterator<VakNumArray> begin(VakNumArray2 a) { return a.first(); }
  [[nodiscard]] friend VakArrayIterator<VakNumArray> end(VakNumArray2 a) { return a.behindLast(); }
};

/// Handle of an array of rows of integers.
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: end() takes back what the constructors with a manager or an environment made.
class VakIntArray2 : public VakArray<VakIntArray> {
 public:
  /// An empty handle.
  VakIntArray2() = default;
  /// A handle on an existing array of rows; null makes an empty handle.
  explicit VakIntArray2(VakArrayI* impl) : VakArray(impl) {}
  /// `n` rows that are empty handles, in the environment's memory.
  VakIntArray2(VakEnv env, VakInt n) : VakArray(env, n) {}
  /// Deliberate: `n` rows that are empty handles and then `row`, so `n` + 1 rows. `n` is not
  /// checked.
  VakIntArray2(VakEnv env, VakInt n, VakIntArray row);

  /// A new array of these rows.
  [[nodiscard]] static VakIntArray2 From(VakMemoryManager m,
                                         std::initializer_list<VakIntArray> rows) {
    return Build<VakIntArray2>(m, rows);
  }
  /// A new array of the rows of a range.
  template <VakElementRange<VakIntArray> R>
  [[nodiscard]] static VakIntArray2 From(VakMemoryManager m, R&& rows) {
    return Build<VakIntArray2>(m, std::forward<R>(rows));
  }

  /// True when both hold arrays of the same size with equal elements.
  [[nodiscard]] static bool equal(VakIntArray a, VakIntArray b);

  /// Deliberate: compares `a` with one candidate only, which is not a row but the array of rows
  /// itself, the bytes of its row handles read as integers. See containsRow().
  [[nodiscard]] bool contains(VakIntArray a) const;
  /// True when `a` is equal() to a row.
  [[nodiscard]] bool containsRow(VakIntArray a) const;

  [[nodiscard]] friend VakArrayIterator<VakIntArray> begin(VakIntArray2 a) { return a.first(); }
  [[nodiscard]] friend VakArrayIterator<VakIntArray> end(VakIntArray2 a) { return a.behindLast(); }
};

template <>
inline constexpr bool std::ranges::enable_borrowed_range<VakNumArray2> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<VakIntArray2> = true;

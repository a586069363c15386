#pragma once

// Arrays of integers.

#include <initializer_list>
#include <utility>

#include "vakenv/arrays/array.h"
#include "vakenv/arrays/var_args.h"

/// Handle of an array of integers.
///
/// The constructors that take values make an empty array before they look at `n`. Deliberate: if
/// they throw, that array stays in the environment's memory, and the place of the handle already
/// refers to it.
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: end() takes back what the constructors with a manager or an environment made.
class VakIntArray : public VakArray<VakInt> {
 public:
  /// An empty handle.
  VakIntArray() = default;
  /// A handle on an existing array of integers; null makes an empty handle.
  explicit VakIntArray(VakArrayI* impl) : VakArray(impl) {}
  /// `n` zeros in the environment's memory.
  VakIntArray(VakEnv env, VakInt n) : VakArray(env, n) {}
  /// `n` zeros in the memory of `m`.
  VakIntArray(VakMemoryManager m, VakInt n) : VakArray(m, n) {}
  /// The one value `v`. Throws VakWrongUsage ("VakIntArray::VakIntArray: n != 1") unless `n` is 1.
  VakIntArray(VakEnv env, VakInt n, VakInt v);
  /// `n` values, all of type VakInt. This and the next throw VakWrongUsage
  /// ("VakIntArray::VakIntArray: n must be >= 2") when `n` is less; the caller passes exactly `n`
  /// values. Deliberate: those from the third on pass through VakNum, so integers beyond 2^53 lose
  /// their low bits; the first and the second stay exact.
  VakIntArray(VakEnv env, VakInt n, VakInt first, VakVarArgsInt second, ...);
  /// `n` values; the first and those from the third on are of type int.
  VakIntArray(VakEnv env, VakInt n, int first, VakVarArgsInt second, ...);

  /// A new array of these values.
  [[nodiscard]] static VakIntArray From(VakMemoryManager m, std::initializer_list<VakInt> values) {
    return Build<VakIntArray>(m, values);
  }
  /// A new array of the values of a range.
  template <VakElementRange<VakInt> R>
  [[nodiscard]] static VakIntArray From(VakMemoryManager m, R&& values) {
    return Build<VakIntArray>(m, std::forward<R>(values));
  }

  /// True when every element is 0 or 1.
  [[nodiscard]] bool areElementsBoolean() const;
  /// A new array of the same values as numbers, in the array's environment.
  [[nodiscard]] VakNumArray toNumArray() const;
  /// A new array of pointers with the same bits, in the array's environment.
  [[nodiscard]] VakArray<VakAny> toAnyArray() const;
  /// True when an element equals `v`. Throws VakWrongUsage
  /// ("Empty Handle in VakIntArray::contains") on an empty handle.
  [[nodiscard]] bool contains(VakInt v) const;
  /// True when every element of `other` is an element of this array; throws as contains(VakInt).
  /// Costs a search for each element of `other`, which is not empty.
  [[nodiscard]] bool contains(VakIntArray other) const;
  /// Removes the last occurrence of `v`, if any. Throws VakWrongUsage
  /// ("Empty Handle in VakIntArray::remove") on an empty handle.
  void discard(VakInt v);
  /// Removes one occurrence, the last, for each element of `other`, in its order; `other` may be
  /// this array, which is empty afterwards.
  void discard(VakIntArray other);

  [[nodiscard]] friend VakArrayIterator<VakInt> begin(VakIntArray a) { return a.first(); }
  [[nodiscard]] friend VakArrayIterator<VakInt> end(VakIntArray a) { return a.behindLast(); }
};

template <>
inline constexpr bool std::ranges::enable_borrowed_range<VakIntArray> = true;

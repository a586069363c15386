#pragma once

// Arrays of numeric values.

#include <initializer_list>
#include <utility>

#include "vakenv/arrays/array.h"
#include "vakenv/arrays/var_args.h"

/// Handle of an array of numeric values.
///
/// The constructors that take values make an empty array before they look at `n`. Deliberate: if
/// they throw, that array stays in the environment's memory, and the place of the handle already
/// refers to it.
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: end() takes back what the constructors with a manager or an environment made.
class VakNumArray : public VakArray<VakNum> {
 public:
  /// An empty handle.
  VakNumArray() = default;
  /// A handle on an existing array of numeric values; null makes an empty handle.
  explicit VakNumArray(VakArrayI* impl) : VakArray(impl) {}
  /// `n` zeros in the environment's memory.
  VakNumArray(VakEnv env, VakInt n) : VakArray(env, n) {}
  /// `n` zeros in the memory of `m`.
  VakNumArray(VakMemoryManager m, VakInt n) : VakArray(m, n) {}
  /// The one value `v`. Throws VakWrongUsage ("VakNumArray::VakNumArray: n != 1") unless `n` is 1.
  VakNumArray(VakEnv env, VakInt n, VakNum v);
  /// `n` values, all of type VakNum. This and the next two throw VakWrongUsage
  /// ("VakNumArray::VakNumArray: n must be >=2") when `n` is less; the caller passes exactly `n`
  /// values.
  VakNumArray(VakEnv env, VakInt n, VakNum first, VakVarArgsNum second, ...);
  /// `n` values; the first and those from the third on are of type int.
  VakNumArray(VakEnv env, VakInt n, int first, VakVarArgsNum second, ...);
  /// `n` values; the first and those from the third on are of type VakInt.
  VakNumArray(VakEnv env, VakInt n, VakInt first, VakVarArgsNum second, ...);

  /// A new array of these values.
  [[nodiscard]] static VakNumArray From(VakMemoryManager m, std::initializer_list<VakNum> values) {
    return Build<VakNumArray>(m, values);
  }
  /// A new array of the values of a range.
  template <VakElementRange<VakNum> R>
  [[nodiscard]] static VakNumArray From(VakMemoryManager m, R&& values) {
    return Build<VakNumArray>(m, std::forward<R>(values));
  }

  /// True when every element is integral, without tolerance; NaN is not. True of no elements.
  [[nodiscard]] bool areElementsInteger() const;
  /// True when every element is exactly 0 or 1.
  [[nodiscard]] bool areElementsBoolean() const;
  /// A new array of the same values as integers, in the array's environment. Throws
  /// VakBadConversion when an element is not integral.
  [[nodiscard]] VakIntArray toIntArray() const;
  /// True when an element equals `v` exactly; NaN never does. Throws VakWrongUsage
  /// ("Empty Handle in VakNumArray::contains") on an empty handle.
  [[nodiscard]] bool contains(VakNum v) const;

  [[nodiscard]] friend VakArrayIterator<VakNum> begin(VakNumArray a) { return a.first(); }
  [[nodiscard]] friend VakArrayIterator<VakNum> end(VakNumArray a) { return a.behindLast(); }
};

template <>
inline constexpr bool std::ranges::enable_borrowed_range<VakNumArray> = true;

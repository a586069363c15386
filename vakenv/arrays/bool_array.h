#pragma once

// Arrays of truth values.

#include <initializer_list>
#include <utility>

#include "vakenv/arrays/array.h"
#include "vakenv/arrays/var_args.h"

/// Handle of an array of integers that are meant to be 0 or 1. It stores what it is given.
///
/// The constructors that take values make an empty array before they look at `n`. Deliberate: if
/// they throw, that array stays in the environment's memory, and the place of the handle already
/// refers to it.
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: end() takes back what the constructors with a manager or an environment made.
class VakBoolArray : public VakArray<VakBool> {
 public:
  /// An empty handle.
  VakBoolArray() = default;
  /// A handle on an existing array of integers; null makes an empty handle.
  explicit VakBoolArray(VakArrayI* impl) : VakArray(impl) {}
  /// `n` zeros in the environment's memory.
  VakBoolArray(VakEnv env, VakInt n) : VakArray(env, n) {}
  /// The one value `v`. Throws VakWrongUsage ("VakBoolArray::VakBoolArray: n != 1") unless `n`
  /// is 1.
  VakBoolArray(VakEnv env, VakInt n, VakBool v);
  /// `n` values, all of type VakBool, which is not int. Throws VakWrongUsage
  /// ("VakBoolArray::VakBoolArray: n must be >= 2") when `n` is less; the caller passes exactly `n`
  /// values. Deliberate: those from the third on pass through VakNum.
  VakBoolArray(VakEnv env, VakInt n, VakBool first, VakVarArgsInt second, ...);

  /// A new array of these values.
  [[nodiscard]] static VakBoolArray From(VakMemoryManager m,
                                         std::initializer_list<VakBool> values) {
    return Build<VakBoolArray>(m, values);
  }
  /// A new array of the values of a range.
  template <VakElementRange<VakBool> R>
  [[nodiscard]] static VakBoolArray From(VakMemoryManager m, R&& values) {
    return Build<VakBoolArray>(m, std::forward<R>(values));
  }

  [[nodiscard]] friend VakArrayIterator<VakBool> begin(VakBoolArray a) { return a.first(); }
  [[nodiscard]] friend VakArrayIterator<VakBool> end(VakBoolArray a) { return a.behindLast(); }
};

template <>
inline constexpr bool std::ranges::enable_borrowed_range<VakBoolArray> = true;

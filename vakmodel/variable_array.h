#pragma once

// Arrays of variables.

#include <span>

#include "vakenv/arrays/array.h"
#include "vakmodel/variable.h"

/// Handle of an array of variables, which it does not own; elements may be empty handles.
///
/// Copied freely, never an owner of the array either. The array lives in the environment's memory
/// until end(), which leaves the variables as they are; VakEndAll(array) ends them.
///
///   VakNumVarArray x(env, 100, 0, 1, VakVarKind::Boolean);
///   model.add(VakSum(x) == 1);
///
/// Threads: read-shared: elements are read by several threads while none changes the array.
/// Phases: open, and with a manager of no environment as long as that manager serves.
/// Gives back: end(), which leaves the elements as they are.
class VakNumVarArray : public VakArray<VakNumVar> {
 public:
  /// An empty handle.
  VakNumVarArray() = default;
  /// A handle on an existing array of variables; null makes an empty handle.
  explicit VakNumVarArray(VakArrayI* impl) : VakArray(impl) {}
  /// A new array of `n` empty variable handles.
  explicit VakNumVarArray(VakEnv env, VakInt n = 0) : VakArray(env, n) {}
  /// A new array of `n` new variables with these bounds, of this kind. Wrong bounds throw as for
  /// VakNumVar, a negative `n` throws VakModelError; no variable is left behind then.
  VakNumVarArray(VakEnv env, VakInt n, VakNum lb, VakNum ub,
                 VakVarKind kind = VakVarKind::Continuous);
  /// A new array of as many new variables as there are bounds; the spans must be equally long.
  VakNumVarArray(VakEnv env, std::span<const VakNum> lbs, std::span<const VakNum> ubs,
                 VakVarKind kind = VakVarKind::Continuous);

  /// Number of elements; 0 for an empty handle.
  [[nodiscard]] VakInt getSize() const { return _impl == nullptr ? 0 : _impl->_size; }

  [[nodiscard]] friend VakArrayIterator<VakNumVar> begin(VakNumVarArray a) { return a.first(); }
  [[nodiscard]] friend VakArrayIterator<VakNumVar> end(VakNumVarArray a) { return a.behindLast(); }
};

template <>
inline constexpr bool std::ranges::enable_borrowed_range<VakNumVarArray> = true;

#pragma once

// What the fault matrix makes fail.

#include <array>

enum class VakFaultKind {
  Heap,      ///< A call of the global operator new that does not come from a pool.
  Pool,      ///< A request for an element of a pool.
  Callback,  ///< A function that the user of the library supplies.
};

inline constexpr std::array VakFaultKinds = {VakFaultKind::Heap, VakFaultKind::Pool,
                                             VakFaultKind::Callback};

#include "vakbase/globals.h"

#include <limits>

namespace {

using IntLimits = std::numeric_limits<VakInt>;

static_assert(std::numeric_limits<VakNum>::is_iec559, "numbers follow IEEE arithmetic");

// The two ends of the range of VakInt as numbers. The lower end is exact; above the upper one lies
// 2^63, the first number that is too large, because 2^63 - 1 itself has no exact counterpart.
constexpr VakNum SmallestInt = static_cast<VakNum>(IntLimits::min());
constexpr VakNum FirstTooLarge = -SmallestInt;

}  // namespace

// All process-wide values are constants or are initialised with the program, so nothing is left to
// do here; the call stands for the moment from which the library may be used.
void VakInitGlobals() {}

VakNum VakGetInfinity() noexcept { return std::numeric_limits<VakNum>::infinity(); }

VakInt VakTrunc(VakNum value) noexcept {
  if (value >= SmallestInt && value < FirstTooLarge) return static_cast<VakInt>(value);
  if (value < SmallestInt) return IntLimits::min();
  if (value >= FirstTooLarge) return IntLimits::max();
  return 0;
}

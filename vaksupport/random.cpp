#include "vaksupport/random.h"

#include "vakbase/exception.h"

VakUniqueRandomI::VakUniqueRandomI(VakMemoryManager manager, VakInt seed)
    : VakRttiMemoryManagerObjectI(manager), _engine(static_cast<result_type>(seed)) {}

VakUniqueRandomI::~VakUniqueRandomI() noexcept(false) = default;

void VakUniqueRandomI::reseed(VakInt seed) { _engine.seed(static_cast<result_type>(seed)); }

// The standard distributions may differ from library to library; these two draw the same
// everywhere.
VakNum VakUniqueRandomI::getNum() {
  constexpr int unusedBits = 64 - 53;  // a double has 53 bits of precision
  constexpr VakNum step = 0x1p-53;
  return static_cast<VakNum>(_engine() >> unusedBits) * step;
}

// Draws beyond the largest multiple of n would favour small numbers and are drawn again.
VakInt VakUniqueRandomI::getInt(VakInt n) {
  if (n <= 0) {
    throw VakWrongUsage("VakUniqueRandomI: the number of integers to draw from must be positive");
  }
  const auto count = static_cast<result_type>(n);
  const result_type surplus = (max() % count + 1) % count;
  const result_type last = max() - surplus;
  result_type drawn = _engine();
  while (drawn > last) drawn = _engine();
  return static_cast<VakInt>(drawn % count);
}

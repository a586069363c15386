#include "vakenv/arrays/ordered_index.h"

namespace {

// The longer array is this many times as long as the shorter one when skipping pays.
constexpr VakInt SkipFactor = 100;

// The place in `longer` from which to merge: an element equal to `y`, or one near `y` with nothing
// before it above `y`. The range that is left when the search stops is as short as `range`.
VakInt skipTo(VakIntArray longer, VakInt y, VakInt range) {
  VakInt place = 0;
  VakInt low = 0;
  VakInt high = longer.getSize();
  do {
    const VakInt middle = low + (high - low) / 2;
    if (longer[middle] > y) {
      high = middle;
    } else {
      place = low = middle;
      if (longer[middle] == y) break;
    }
  } while (high - low > range);
  return place;
}

}  // namespace

VakIntArray intersectOrderedIndex(VakMemoryManager m, VakIntArray a, VakIntArray b) {
  VakIntArray result;
  if (a.getImpl() == nullptr || b.getImpl() == nullptr) return result;
  const bool swapped = b.getSize() > a.getSize();
  const VakIntArray longer = swapped ? b : a;
  const VakIntArray shorter = swapped ? a : b;
  const VakInt longSize = longer.getSize();
  const VakInt shortSize = shorter.getSize();
  if (shortSize <= 0) return result;
  if (shorter[shortSize - 1] < longer[0] || longer[longSize - 1] < shorter[0]) return result;

  VakInt i = 0;
  VakInt j = 0;
  if (longer[0] < shorter[0] && longSize > SkipFactor * shortSize) {
    i = skipTo(longer, shorter[0], shortSize);
  }
  try {
    while (i < longSize && j < shortSize) {
      const VakInt x = longer[i];
      const VakInt y = shorter[j];
      if (x == y) {
        if (result.getImpl() == nullptr) result = VakIntArray(m, 0);
        result.add(x);
      }
      if (x <= y) ++i;
      if (x >= y) ++j;
    }
  } catch (...) {
    result.end();
    throw;
  }
  return result;
}

VakIntArray intersectOrderedIndex(VakEnv env, VakIntArray a, VakIntArray b) {
  return intersectOrderedIndex(env.getMemoryManager(), a, b);
}

#pragma once

// The book of the checked build: every element that a pool of the process handed out.
//
//   VakMemory, VakFixedSizeAllocatorI ---> VakMemoryLedger ---> a page for each pool
//
// It stands beside the elements, in memory that comes from malloc past the program's operator new,
// so that neither overruns nor tests that count or refuse allocations touch it. Without the checked
// build nothing here is called.

#include <string>
#include <typeinfo>
#include <vector>

#include "vakbase/checked_memory.h"

class VakMemory;

/// Enters and strikes elements. Every function may be called by any thread; all take one lock.
/// Running out of memory for the book ends the process.
///
/// Threads: thread safe.
/// Phases: any.
/// Gives back: GiveBack() strikes what Take() entered.
class VakMemoryLedger {
 public:
  /// An element that is in use.
  struct Element {
    const void* start;           ///< First byte.
    long size;                   ///< Bytes asked for.
    long elementSize;            ///< Bytes of its class.
    const std::type_info* type;  ///< What was made in it; null when that is not known.
  };

  /// Enters an element that `pool` hands out and arms its guard. One that was given back before
  /// must be as it was left if it is pooled, or VakMemoryFault::UseAfterFree is reported.
  static void Take(const VakMemory* pool, void* element, long elementSize, bool isPooled);
  /// Notes that only `size` bytes were asked for; what lies behind them belongs to the guard.
  static void Narrow(const void* element, long size);
  /// Notes what was made in an element; nothing when no pool handed it out.
  static void Name(const void* element, const std::type_info& type);

  /// True when `element` may go back to `pool` as `size` bytes; else the misuse is reported.
  [[nodiscard]] static bool MayGiveBack(const VakMemory* pool, const void* element, long size);
  /// Strikes an element of `elementSize` bytes that goes back, to be linked to `link` if it is
  /// pooled. False when it may not, which is reported; it stays in use then. An overrun is
  /// reported, and the element goes back.
  [[nodiscard]] static bool GiveBack(void* element, long elementSize, const void* link);
  /// The link of a free element: the one it was given back with, where the program may have written
  /// over it since, or the one that stands in it.
  [[nodiscard]] static void* GetLink(const void* element);
  /// Notes that the memory of an element in use ends with its list, and reports an overrun; nothing
  /// when no pool handed it out.
  static void Abandon(const void* element) noexcept;

  /// Reports what was overrun, or written after it was given back, in a pool that ends, and drops
  /// its page.
  static void Forget(const VakMemory* pool) noexcept;
  /// What is in use in a pool, in no particular order.
  [[nodiscard]] static std::vector<Element> GetElements(const VakMemory* pool);
  /// An empty text if the guards of everything in use in `pool` are whole and nothing was written
  /// where it was given back, else what is hurt.
  [[nodiscard]] static std::string Check(const VakMemory* pool);
  /// Writes what is in use in `pool` to the stream of VakSetLeftoverStream, under a heading, if
  /// there is anything. Nobody else writes there or exchanges the stream meanwhile. What the stream
  /// throws is lost with the list.
  static void WriteLeftovers(const VakMemory* pool) noexcept;
  /// The name of a type as a program writes it.
  [[nodiscard]] static std::string GetTypeName(const std::type_info* type);
};

/// Notes in the checked build what was made in memory of a pool, for lists of what is left.
/// Threads: thread safe. Phases: any.
inline void VakNameElement([[maybe_unused]] const void* element,
                           [[maybe_unused]] const std::type_info& type) {
  if constexpr (VakChecksMemory) VakMemoryLedger::Name(element, type);
}

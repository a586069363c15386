#pragma once

// The checked build: memory that finds out how it is misused.
//
// With the CMake option VAK_CHECKED_MEMORY every element that a pool hands out is followed by a
// guard, and a book is kept beside the elements of what was handed out, where, and as what. A pool
// then reports at once
//   - memory given back with another size than it was asked for with;
//   - memory given back twice, to another environment, or that was never handed out;
//   - bytes written behind the size asked for, when the memory is given back, a check looks or the
//     environment ends;
//   - bytes written after the memory was given back, when it is handed out again, a check looks or
//     the environment ends; with pooling only;
// and an environment lists what was left in it when it ended. Sizes, alignment and usage counts of
// elements are those of every other build; only the blocks are larger. The library and everything
// that uses it must be compiled alike: the CMake target says so by itself.
//
// Without the option everything here is declared, does nothing and costs nothing.

#include <iosfwd>
#include <string>
#include <typeinfo>

#include "vakbase/numbers.h"

#ifdef VAK_CHECKED_MEMORY
/// True in the checked build.
inline constexpr bool VakChecksMemory = true;
#else
/// True in the checked build.
inline constexpr bool VakChecksMemory = false;
#endif

/// Bytes behind every element that nobody may write; a multiple of 16, so that they keep alignment.
inline constexpr long VakGuardBytes = VakChecksMemory ? 16 : 0;

/// How memory was misused.
enum class VakMemoryFault {
  WrongSize,     ///< Given back with another size than it was asked for with.
  DoubleFree,    ///< Given back although it had been given back already.
  Foreign,       ///< Given back to a pool that it does not come from.
  Unknown,       ///< Given back although no pool ever handed it out.
  Overrun,       ///< Written behind the bytes asked for.
  UseAfterFree,  ///< Written after it was given back.
  TakenTwice,    ///< Handed out while it is in use: a free list is broken.
};

/// One misuse of memory.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
struct VakMemoryDefect {
  VakMemoryFault fault;  ///< What happened.
  const void* element;   ///< Where: the address that was given back or is hurt.
  std::string text;      ///< A sentence with the address, the sizes, the class and the pool.
};

/// Called with each misuse by the thread that is caught, with no lock held; must not throw.
using VakMemoryDefectHandler = void (*)(const VakMemoryDefect& defect);

/// Installs what is called from now on, and returns what was installed before; null stands for the
/// default, which writes the text to std::cerr and aborts. When a handler returns, memory that was
/// given back wrongly stays where it is, still handed out, and the program goes on. Does nothing
/// outside the checked build. Any thread may call it.
/// Threads: thread safe. Phases: any.
VakMemoryDefectHandler VakSetMemoryDefectHandler(VakMemoryDefectHandler handler);

/// Chooses the stream to which ending environments write what was left in them, a line for each
/// type; null for none. std::cerr at first. Returns the stream chosen before. Does nothing outside
/// the checked build. The stream chosen before is not written to any more when this returns. Any
/// thread may call it, but not the stream itself while it is written to.
/// Threads: thread safe. Phases: any.
std::ostream* VakSetLeftoverStream(std::ostream* stream);

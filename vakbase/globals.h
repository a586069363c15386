#pragma once

// Process-wide beginnings and the two numeric helpers that every module shares.

#include "vakbase/numbers.h"

/// Prepares the process-wide state of the library. Every environment calls it while it is
/// constructed; calling it again, also from several threads at once, changes nothing.
/// Threads: thread safe. Phases: any.
void VakInitGlobals();

/// The bound of what is not bounded: the positive infinity of IEEE arithmetic.
/// Threads: thread safe. Phases: any.
[[nodiscard]] VakNum VakGetInfinity() noexcept;

/// The whole part of a number, that is, the number rounded towards zero. It is defined for every
/// argument: a number beyond the range of VakInt gives the nearest end of that range, and NaN gives
/// 0.
/// Threads: thread safe. Phases: any.
[[nodiscard]] VakInt VakTrunc(VakNum value) noexcept;

#pragma once

// The random generator that all parts of an environment share.

#include <random>

#include "vakenv/fwd.h"
#include "vakenv/memory/memory_manager_object.h"

/// A generator of 64-bit random numbers: the same seed gives the same numbers, on every machine.
///
/// Made with VakCreate in a manager's memory, as VakEnvI::createRandom does, and deleted by its
/// owner. It is a uniform random bit generator in the sense of <random> too, so std::shuffle and
/// the standard distributions take it. Constant time. Not for several threads at once.
///
/// Threads: confined, also in thread-safe mode, where only making it is safe.
/// Phases: open; the environment's own until step 10 of the end.
/// Gives back: its owner deletes it.
class VakUniqueRandomI : public VakRttiMemoryManagerObjectI {
  VAK_RTTI(VakUniqueRandomI, VakRttiMemoryManagerObjectI);

  using Engine = std::mt19937_64;  ///< The language's own.
  using result_type = Engine::result_type;

  /// In the memory of this manager; equal seeds give equal numbers.
  VakUniqueRandomI(VakMemoryManager manager, VakInt seed);
  ~VakUniqueRandomI() noexcept(false) override;

  /// Starts again as if made with this seed.
  void reseed(VakInt seed);
  /// A number in [0, 1), every multiple of 2^-53 equally likely.
  [[nodiscard]] VakNum getNum();
  /// An integer from 0 to n - 1, each equally likely. Throws VakWrongUsage ("VakUniqueRandomI: the
  /// number of integers to draw from must be positive") when n is not positive.
  [[nodiscard]] VakInt getInt(VakInt n);

  /// The next 64 random bits.
  result_type operator()() { return _engine(); }
  /// The least and the greatest number of 64 bits.
  [[nodiscard]] static constexpr result_type min() { return Engine::min(); }
  [[nodiscard]] static constexpr result_type max() { return Engine::max(); }

 private:
  Engine _engine;  ///< The state.
};

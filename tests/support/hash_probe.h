#pragma once

// Hash and equality functions for tests of the hash tables: well behaved ones, and a probe that
// fails at a chosen call.

#include <stdexcept>

#include "vakbase/numbers.h"

/// Plain integer keys, bucket by bucket: key modulo the number of buckets.
inline VakInt VakHashModulo(VakInt key, VakInt size) { return key % size; }
/// All keys in one chain.
inline VakInt VakHashToZero(VakInt /*key*/, VakInt /*size*/) { return 0; }
inline VakInt VakHashToSize(VakInt /*key*/, VakInt size) { return size; }
inline VakInt VakHashToMinusOne(VakInt /*key*/, VakInt /*size*/) { return -1; }
inline VakInt VakCompareIntegers(VakInt a, VakInt b) { return a == b ? 1 : 0; }

/// Hashes like VakHashModulo and compares like VakCompareIntegers until a chosen call. Function
/// pointers carry no state, so there is one probe a process; a test resets it first.
struct VakHashProbe {
  enum class Failure { None, Throws, BelowRange, AboveRange };

  static void Reset(long call = 0, Failure kind = Failure::None, bool forGood = false) {
    calls = 0;
    failAt = call;
    failure = kind;
    staysBroken = forGood;
  }

  static VakInt Hash(VakInt key, VakInt size) {
    if (!IsDue()) return VakHashModulo(key, size);
    if (failure == Failure::Throws) throw std::runtime_error("hash");
    return failure == Failure::BelowRange ? -1 : size;
  }
  static VakInt Compare(VakInt a, VakInt b) {
    if (IsDue() && failure == Failure::Throws) throw std::runtime_error("compare");
    return VakCompareIntegers(a, b);
  }

  static inline long calls = 0;   ///< Calls of both functions since Reset.
  static inline long failAt = 0;  ///< The call that fails, counted from 1; 0: none.
  static inline Failure failure = Failure::None;
  static inline bool staysBroken = false;  ///< Every later call fails too.

 private:
  static bool IsDue() {
    ++calls;
    return failAt != 0 && (calls == failAt || (staysBroken && calls > failAt));
  }
};

#pragma once

// Makes the n-th request for an element of a memory pool fail.
//
// A program that includes this is linked with --wrap, so that the seldom taken path of every size
// class leads through a gate that counts. While a gate stands, the free lists of the environments
// that it was given are kept aside and elements are dealt out of them one by one, so that every
// request for an element takes that path, as in an environment whose pool is exhausted. Elements
// that are given back meanwhile may be taken again unasked: such a request cannot fail in life
// either. Without pooled memory every request takes that path anyway.
//
// What the pool asks of the global operator new is spared from VakFailingNew: the gate stands for
// it.

#include <span>

#include "tests/support/failing_new.h"
#include "vakenv/fwd.h"

/// Counts the requests of all pools while it lives, and lets one of them throw std::bad_alloc. One
/// thread; at most one lives at a time.
class VakPoolGate {
 public:
  /// Lets request number `failAt` fail, counted from 1, and with `FromThenOn` all that follow; with
  /// 0 none. `starved` are the environments whose free lists are kept aside; they outlive the gate.
  VakPoolGate(long failAt, VakFailureSpan span, std::span<VakEnvI* const> starved);
  VakPoolGate(const VakPoolGate&) = delete;
  VakPoolGate& operator=(const VakPoolGate&) = delete;
  /// Puts the free lists back.
  ~VakPoolGate();

  /// Requests so far, those that failed included.
  [[nodiscard]] long count() const;

 private:
  void starve(VakFixedSizeAllocatorI* allocator);
};

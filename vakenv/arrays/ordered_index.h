#pragma once

// Intersection of ascending integer arrays.

#include "vakenv/arrays/int_array.h"

/// A new array, in the memory of `m`, of the ascending values common to `a` and `b`, one for each
/// pair of equal elements; an empty handle, and no allocation, when there is none.
///
/// Both are ascending: not checked, and a subset results otherwise. An empty handle has nothing in
/// common with anything. Costs one pass over both; where one is far longer and begins lower, its
/// beginning is skipped by halving. Deliberate: the skip may land within equal elements of the
/// longer array, and those before the place where it lands find no partner. Throws std::bad_alloc.
[[nodiscard]] VakIntArray intersectOrderedIndex(VakMemoryManager m, VakIntArray a, VakIntArray b);
/// The same in the memory of an environment. Throws VakEmptyHandleException
/// ("VakEnv: Using empty handle") when `env` is empty.
[[nodiscard]] VakIntArray intersectOrderedIndex(VakEnv env, VakIntArray a, VakIntArray b);

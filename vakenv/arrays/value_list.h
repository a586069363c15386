#pragma once

// How the arrays read the lists of values that their constructors take.

#include <cstdarg>
#include <type_traits>

#include "vakbase/exception.h"
#include "vakbase/globals.h"
#include "vakenv/arrays/array.h"

/// Appends the first two of `n` values to an array of size 0 and makes room for all, so that
/// reading the further ones cannot throw and leave their list open. Throws VakWrongUsage with
/// `message` when `n` is below 2, and std::bad_alloc.
template <class T>
void VakAddFirstTwo(VakArray<T> array, VakInt n, T first, T second, const char* message) {
  if (n <= 1) throw VakWrongUsage(message);
  array.getImpl()->grow(n);
  array.add(first);
  array.add(second);
}

/// Appends `n` further values of type Further. Deliberate: integers pass through VakNum as well, so
/// beyond 2^53 they lose their low bits.
template <class Further, class T>
void VakAddFurther(VakArray<T> array, VakInt n, std::va_list* values) {
  for (VakInt i = 0; i < n; ++i) {
    const auto number = static_cast<VakNum>(va_arg(*values, Further));
    if constexpr (std::is_same_v<T, VakInt>) {
      array.add(VakTrunc(number));
    } else {
      array.add(number);
    }
  }
}

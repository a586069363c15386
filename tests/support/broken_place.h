#pragma once

// Breaks a structure for the time of one question.

#include <string>
#include <utility>

/// Puts `broken` into the place of a value, returns what `check` says then, and mends it.
template <class T, class U, class Check>
[[nodiscard]] std::string VakCheckBroken(T& place, U broken, Check check) {
  T intact = std::exchange(place, static_cast<T>(broken));
  std::string fault = check();
  place = intact;
  return fault;
}

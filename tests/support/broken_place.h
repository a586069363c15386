#pragma once

// Breaks a structure for the time of one question.

#include <string>
#include <utility>

#include "vakbase/checked_memory.h"

/// Puts `broken` into the place of a value, returns what `check` says then, and mends it.
template <class T, class U, class Check>
[[nodiscard]] std::string VakCheckBroken(T& place, U broken, Check check) {
  T intact = std::exchange(place, static_cast<T>(broken));
  std::string fault = check();
  place = intact;
  return fault;
}

/// What a check reports; of the checked build, which looks at every array there is and finds a
/// broken one a second time, the first line.
[[nodiscard]] inline std::string VakFirstFault(const std::string& report) {
  return VakChecksMemory ? report.substr(0, report.find('\n')) : report;
}

#pragma once

// Texts that may be null.

#include <cstring>
#include <functional>
#include <ostream>

/// Writes `text`; a null text writes nothing and leaves the stream good.
inline void VakWriteText(std::ostream& out, const char* text) {
  if (text != nullptr) out << text;
}

/// True when `text` points into the characters of `stored` or to its terminator. Both may be null.
[[nodiscard]] inline bool VakLiesInside(const char* text, const char* stored) {
  if (text == nullptr || stored == nullptr) return false;
  const std::less_equal<const char*> notAfter;
  return notAfter(stored, text) && notAfter(text, stored + std::strlen(stored));
}

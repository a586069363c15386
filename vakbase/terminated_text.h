#pragma once

// Texts of a known length for those who want a terminator.

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

/// A terminated copy of a text that lives as long as a call. Short texts are copied to the stack,
/// longer ones to the heap. Whoever is given the pointer must not keep it. A text that holds a null
/// character is read up to it, as everywhere in the library.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
class VakTerminatedText {
 public:
  static constexpr std::size_t ShortSize = 256;  ///< Bytes with the terminator.

  /// Throws std::bad_alloc for a long text.
  explicit VakTerminatedText(std::string_view text) {
    char* copy = _short;
    if (text.size() >= ShortSize) {
      _long = std::make_unique_for_overwrite<char[]>(text.size() + 1);
      copy = _long.get();
    }
    if (!text.empty()) std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
  }
  VakTerminatedText(const VakTerminatedText&) = delete;
  VakTerminatedText& operator=(const VakTerminatedText&) = delete;

  /// The copy, which lives as long as this object.
  [[nodiscard]] const char* get() const { return _long ? _long.get() : _short; }

 private:
  char _short[ShortSize];         ///< The copy, if it is short.
  std::unique_ptr<char[]> _long;  ///< The copy, if it is long; else null.
};

#pragma once

// The text of an exception that was made at run time.

#include <string_view>

/// A text that lives in the exception itself, so that throwing needs no memory and nobody has to
/// end the exception. Exceptions derive from it before the class that keeps the message, since that
/// one is handed the text.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
class VakErrorText {
 public:
  static constexpr int Capacity = 480;  ///< Bytes with the terminator; a longer text is cut.

  /// Copies `text`.
  explicit VakErrorText(std::string_view text);
  /// The copy.
  [[nodiscard]] const char* text() const { return _text; }

 private:
  char _text[Capacity];  ///< Terminated.
};

#pragma once

// What the scans of model files share: lines, words, and the first thing that is wrong.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vakbase/globals.h"

/// What is wrong with a file, and where; the first thing counts.
struct VakFileFaultI {
  VakInt line = 0;     ///< From 1; 0 for the file as a whole.
  std::string reason;  ///< Empty while nothing is wrong.

  [[nodiscard]] bool isFound() const { return !reason.empty(); }
  void note(VakInt where, std::string what) {
    if (isFound()) return;
    line = where;
    reason = std::move(what);
  }
};

/// Goes through a text line by line. The text has to outlive it.
class VakFileLinesI {
 public:
  explicit VakFileLinesI(std::string_view text) : _rest(text) {}
  /// The next line without its end; nothing behind the last one.
  [[nodiscard]] std::optional<std::string_view> next();
  /// The number of the line that was given last, from 1.
  [[nodiscard]] VakInt getNumber() const { return _number; }

 private:
  std::string_view _rest;
  VakInt _number = 0;
};

/// The parts of a line between blanks and tabs.
[[nodiscard]] std::vector<std::string_view> VakGetWords(std::string_view line);
/// Whether two words differ at most in the case of their letters; `b` is all in lower case.
[[nodiscard]] bool VakIsSameWord(std::string_view a, std::string_view b);
/// Whether the whole word is a number in decimal notation, perhaps with a sign and an exponent.
[[nodiscard]] bool VakIsNumber(std::string_view word);
/// -1 and 1 for the words for infinity, "-inf", "+infinity" and the like; 0 for other words.
[[nodiscard]] int VakGetInfinitySign(std::string_view word);
/// The text with a question mark for every byte that cannot be printed, and no longer than a line.
[[nodiscard]] std::string VakMakePrintable(std::string_view text);

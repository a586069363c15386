#include "vaksolver/lp_scan.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace {

constexpr std::size_t MostWord = 255;  // Bytes; the reader has room for more, but not for any.

template <std::size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& list) {
  return std::any_of(list.begin(), list.end(),
                     [word](std::string_view known) { return VakIsSameWord(word, known); });
}

bool isSign(std::string_view word) { return word == "+" || word == "-"; }

bool isComparison(std::string_view word) { return word == "<=" || word == ">=" || word == "="; }

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

std::string quoted(std::string_view word) { return VakMakePrintable(word); }

}  // namespace

void VakLpScanI::run(std::string_view content) {
  _text.reserve(content.size() + content.size() / 8);
  VakFileLinesI lines(content);
  while (const auto line = lines.next()) {
    _number = lines.getNumber();
    const Words words = split(line->substr(0, line->find('\\')));
    visit(words);
    if (_fault.isFound()) return;
    for (const std::string& word : words) {
      _text += word;
      _text += ' ';
    }
    _text += '\n';
  }
  if (_section != Section::End) _fault.note(0, "the file does not end with the word End");
}

// ---- Words --------------------------------------------------------------------------------------

VakLpScanI::Words VakLpScanI::split(std::string_view line) {
  Words words;
  for (std::string_view word : VakGetWords(line)) {
    // "c1:x" is "c1:" and "x"; "c1 :" is "c1:".
    const auto colon = word.find(':');
    const bool isApart = colon == 0 && !words.empty() && !isComparison(words.back());
    if (isApart && word.find(':', 1) == std::string_view::npos) {
      words.back() += ':';
      word.remove_prefix(1);
    } else if (colon != std::string_view::npos && colon + 1 < word.size()) {
      splitComparison(word.substr(0, colon + 1), words);
      word.remove_prefix(colon + 1);
    }
    splitComparison(word, words);
  }
  joinSigns(words);
  for (std::string& word : words) {
    const bool isSense = VakIsSameWord(word, "minimise") || VakIsSameWord(word, "maximise");
    if (_section == Section::None && isSense) word[word.size() - 2] = 'z';
    if (word.size() > MostWord) fault(quoted(word) + "... is too long");
  }
  return words;
}

// "x<=4" is "x", "<=" and "4".
void VakLpScanI::splitComparison(std::string_view word, Words& words) {
  constexpr std::string_view parts = "<>=";
  while (!word.empty()) {
    const bool isInside = parts.find(word[0]) != std::string_view::npos;
    const auto end =
        std::min(isInside ? word.find_first_not_of(parts) : word.find_first_of(parts), word.size());
    std::string part(word.substr(0, end));
    if (isInside) {
      if (!words.empty() && words.back().back() == '-') fault("conditions (->) are not supported");
      if (part == "<" || part == "=<") part = "<=";
      if (part == ">" || part == "=>") part = ">=";
      if (!isComparison(part)) fault(quoted(part) + " is no comparison; write <=, >= or =");
    }
    words.push_back(std::move(part));
    word.remove_prefix(end);
  }
}

// The reader takes a sign and its number for one word behind a comparison and in bounds.
void VakLpScanI::joinSigns(Words& words) const {
  for (std::size_t k = 0; k + 1 < words.size(); ++k) {
    const bool isSide = _section == Section::Bounds || (k > 0 && isComparison(words[k - 1]));
    const std::string& next = words[k + 1];
    if (!isSide || !isSign(words[k]) || (!isDigit(next[0]) && VakGetInfinitySign(next) == 0)) {
      continue;
    }
    words[k] += next;
    words.erase(words.begin() + static_cast<std::ptrdiff_t>(k) + 1);
  }
  for (std::string& word : words) {
    const int infinity = _section == Section::Bounds ? VakGetInfinitySign(word) : 0;
    if (infinity != 0) word = infinity > 0 ? "inf" : "-inf";
  }
  if (words.size() > 1 && VakIsSameWord(words[0], "such") && VakIsSameWord(words[1], "that")) {
    words[0] = "subject";
    words[1] = "to";
  }
}

// ---- Sections -----------------------------------------------------------------------------------

void VakLpScanI::visit(const Words& words) {
  for (std::size_t k = 0; k < words.size() && !_fault.isFound(); ++k) {
    if (_section == Section::End) return fault("something stands behind End");
    if (enter(words, k)) continue;
    const std::string& word = words[k];
    if (_section == Section::None) {
      return fault("the file begins with Minimize or Maximize, not " + quoted(word));
    }
    const std::size_t first = std::min(word.find_first_not_of("+-."), word.size() - 1);
    if (isDigit(word[first]) && !VakIsNumber(word) && word.back() != ':') {
      return fault(quoted(word) + " is neither a number nor a name; blanks stand between them");
    }
    if (_section == Section::Objective || _section == Section::Constraints) {
      visitTerm(word, k == 0);
    } else if (word.find(':') != std::string::npos) {
      return fault("a colon stands behind the constraints");
    }
  }
}

// Begins another section if the k-th word is its name, of which `k` becomes the last word.
bool VakLpScanI::enter(const Words& words, std::size_t& k) {
  static constexpr std::array<std::string_view, 8> objectives{
      "min", "max", "minimize", "maximize", "minimise", "maximise", "minimum", "maximum"};
  static constexpr std::array<std::string_view, 3> constraints{"st", "s.t.", "st."};
  static constexpr std::array<std::string_view, 2> bounds{"bounds", "bound"};
  static constexpr std::array<std::string_view, 9> kinds{
      "integers", "integer", "int", "generals", "general", "gen", "binaries", "binary", "bin"};
  static constexpr std::array<std::string_view, 9> others{
      "semi-continuous", "semis", "semi", "sec", "sos", "sos1", "sos2", "pwlobj", "lazy"};
  const std::string& word = words[k];
  const bool isSubject =
      VakIsSameWord(word, "subject") && k + 1 < words.size() && VakIsSameWord(words[k + 1], "to");
  Section section = Section::None;
  if (_section == Section::None && isOneOf(word, objectives)) {
    section = Section::Objective;
  } else if (isSubject || isOneOf(word, constraints)) {
    section = Section::Constraints;
    if (isSubject) ++k;
  } else if (isOneOf(word, bounds)) {
    section = Section::Bounds;
  } else if (isOneOf(word, kinds)) {
    section = Section::Kinds;
  } else if (VakIsSameWord(word, "end")) {
    section = Section::End;
  } else if (words.size() == 1 && isOneOf(word, others)) {
    fault("the section " + quoted(word) + " is not supported");
    return true;
  }
  if (section == Section::None) return false;
  if (_section < Section::Constraints && section > Section::Constraints) {
    fault("the constraints are missing, which begin with Subject To");
  }
  endConstraint();
  _section = section;
  return true;
}

// ---- Objective and constraints ------------------------------------------------------------------

void VakLpScanI::endConstraint() {
  const bool isOpen = _last != Last::Nothing && _last != Last::Side;
  if (_last == Last::Comparison) fault("there is no number behind a comparison");
  if (_section == Section::Constraints && isOpen) fault("a constraint has no comparison");
  if (_last == Last::Sign) fault("there is nothing behind a sign");
  _last = Last::Nothing;
}

void VakLpScanI::visitTerm(const std::string& word, bool isFirstOfLine) {
  if (word.find_first_of("[]*^") != std::string::npos) {
    return fault(quoted(word) + " is not supported: products and powers");
  }
  if (word == ":") return fault("there is no name before a colon");
  if (word.back() == ':') {
    if (_section == Section::Constraints) endConstraint();
    if (_last != Last::Nothing) fault(quoted(word) + " is a name in the wrong place");
    _last = Last::Name;
    return;
  }
  if (_last == Last::Comparison) {
    if (!VakIsNumber(word)) fault("a number has to follow a comparison, not " + quoted(word));
    _last = Last::Side;
    return;
  }
  if (_last == Last::Side) {
    if (isComparison(word)) return fault("a constraint with two bounds has to be two");
    if (!isFirstOfLine) return fault("nothing can follow the number of a constraint");
    _last = Last::Nothing;
  }
  if (isComparison(word)) return visitComparison();
  if (VakIsNumber(word)) return visitNumber(word);
  const bool hasSign = word[0] == '+' || word[0] == '-';
  if (hasSign && _last == Last::Number && _section == Section::Constraints) {
    return fault("a constant stands among the terms of a constraint");
  }
  if (isSign(word)) {
    if (_last == Last::Sign) fault("there are two signs in a row");
    _last = Last::Sign;
    return;
  }
  if (_last == Last::Term && !hasSign) return fault("there is no sign before " + quoted(word));
  _last = Last::Term;
}

void VakLpScanI::visitNumber(const std::string& word) {
  const bool hasSign = word[0] == '+' || word[0] == '-';
  if (_last == Last::Number && !hasSign) fault("there are two numbers in a row");
  if (_last == Last::Number && _section == Section::Constraints) {
    fault("a constant stands among the terms of a constraint");
  }
  if (_last == Last::Term && !hasSign) fault("there is no sign before " + quoted(word));
  _last = Last::Number;
}

void VakLpScanI::visitComparison() {
  if (_section == Section::Objective) return fault("a comparison stands in the objective");
  if (_last == Last::Number) {
    return fault("a number stands before a comparison; a constraint with two bounds has to be two");
  }
  if (_last != Last::Term) return fault("there are no terms before a comparison");
  _last = Last::Comparison;
}

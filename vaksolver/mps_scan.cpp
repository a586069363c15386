#include "vaksolver/mps_scan.h"

#include <cctype>
#include <utility>

namespace {

constexpr std::size_t MostWord = 150;  // Bytes that the reader has room for, with some to spare.
constexpr std::size_t MostLine = 800;

std::string quoted(std::string_view word) { return VakMakePrintable(word); }

// What stands behind a reason that is about a whole line.
std::string shown(std::string_view line) {
  const std::string_view text = line.substr(line.find_first_not_of(' '));
  const std::string part = quoted(text);
  return ": " + part + (part.size() < text.size() ? "..." : "");
}

// What stands at the fixed places of a line: a kind, and names and numbers in turn. Names lose the
// blanks in them, and places without anything are left out. No words at all when anything stands
// beside the places, or nothing at that of the second name, which every such line has.
std::vector<std::string> getFixedWords(std::string_view line) {
  struct Place {
    std::size_t from;
    std::size_t to;
    bool isNumber;
  };
  static constexpr Place secondName = {14, 22, false};
  static constexpr Place places[] = {{1, 3, false},  {4, 12, false},  secondName,
                                     {24, 36, true}, {39, 47, false}, {49, 61, true}};
  const auto partsBetween = [line](std::size_t from, std::size_t to) {
    return VakGetWords(from < line.size() ? line.substr(from, to - from) : "");
  };
  if (partsBetween(secondName.from, secondName.to).empty()) return {};
  std::vector<std::string> words;
  std::size_t end = 0;
  for (const Place& place : places) {
    const auto parts = partsBetween(place.from, place.to);
    if (!partsBetween(end, place.from).empty() || (place.isNumber && parts.size() > 1)) return {};
    end = place.to;
    if (parts.empty()) continue;
    words.emplace_back();
    for (const std::string_view part : parts) words.back() += part;
  }
  if (!partsBetween(end, line.size()).empty()) return {};
  return words;
}

}  // namespace

void VakMpsScanI::run(std::string_view content) {
  scan(content, true);
  if (_fault.isFound() || _fits) return;
  *this = VakMpsScanI();
  scan(content, false);
}

bool VakMpsScanI::isComplete(int columns, int rows) const {
  return static_cast<std::size_t>(columns) == _columns.size() &&
         static_cast<std::size_t>(rows) + static_cast<std::size_t>(_freeRows) == _rows.size();
}

void VakMpsScanI::scan(std::string_view content, bool isFree) {
  _text.reserve(content.size() + content.size() / 8);
  put("NAME model FREE");
  VakFileLinesI lines(content);
  while (const auto line = lines.next()) {
    _number = lines.getNumber();
    const Words words = VakGetWords(*line);
    const bool isComment = words.empty() || (*line)[0] == '*';
    const auto end = isComment ? 0 : static_cast<std::size_t>(words.back().end() - line->begin());
    if (end > MostLine) _fault.note(_number, "a line of more than 800 bytes");
    for (const std::string_view word : words) {
      if (!isComment) requireShort(word);
    }
    if (isComment) {
      put("*");
    } else if (std::isspace(static_cast<unsigned char>((*line)[0])) == 0) {
      enter(words, *line);
    } else if (_section == Section::Sense) {
      takeSense(words[0]);
      put("*");
    } else if (isFree) {
      visit(words);
    } else {
      visitFixed(words, line->substr(0, end));
    }
    if (_section == Section::End || _fault.isFound() || !_fits) break;
  }
  if (_fits && _section != Section::End) _fault.note(0, "the file ends without ENDATA");
}

void VakMpsScanI::requireShort(std::string_view word) {
  if (word.size() <= MostWord) return;
  _fault.note(_number, quoted(word) + "... is too long; 150 bytes are the most");
}

void VakMpsScanI::enter(const Words& words, std::string_view line) {
  static constexpr std::pair<std::string_view, Section> known[] = {
      {"NAME", Section::None},       {"OBJSENSE", Section::Sense}, {"ROWS", Section::Rows},
      {"COLUMNS", Section::Columns}, {"RHS", Section::Rhs},        {"RANGES", Section::Ranges},
      {"BOUNDS", Section::Bounds},   {"ENDATA", Section::End},
  };
  for (const auto& [name, section] : known) {
    if (words[0] != name) continue;
    _section = section;
    _set.clear();
    const bool isTaken = name == "NAME" || section == Section::Sense;
    put(isTaken ? "*" : name);
    if (name == "NAME") takeName(line);
    if (section == Section::Sense && words.size() > 1) takeSense(words[1]);
    return;
  }
  _fault.note(_number, "unknown section " + quoted(words[0]));
}

// Everything behind the word NAME, but for a word FREE at the end that says how the file is
// written.
void VakMpsScanI::takeName(std::string_view line) {
  Words words = VakGetWords(line);
  if (words.size() > 2 && words.back() == "FREE") words.pop_back();
  if (words.size() > 1) _name.assign(words[1].begin(), words.back().end());
}

void VakMpsScanI::takeSense(std::string_view word) {
  if (VakIsSameWord(word, "max") || VakIsSameWord(word, "maximize") ||
      VakIsSameWord(word, "maximise")) {
    _isMaximized = true;
  } else if (VakIsSameWord(word, "min") || VakIsSameWord(word, "minimize") ||
             VakIsSameWord(word, "minimise")) {
    _isMaximized = false;
  } else {
    _fault.note(_number, "unknown sense of the objective " + quoted(word));
  }
}

void VakMpsScanI::visit(const Words& words) {
  switch (_section) {
    case Section::Rows:
      return visitRow(words);
    case Section::Columns:
      return visitColumn(words);
    case Section::Rhs:
    case Section::Ranges:
      return visitNumbers(words);
    case Section::Bounds:
      return visitBound(words);
    default:
      _fault.note(_number, "a line that belongs to no section");
  }
}

void VakMpsScanI::visitRow(const Words& words) {
  if (words.size() != 2) {
    _fits = false;
    return;
  }
  noteRow(words[1]);
  if (VakIsSameWord(words[0], "n")) ++_freeRows;
  putSet(words[0], "", words, 1);
}

// Whether from `from` on there are one or two pairs of a name and a number.
bool VakMpsScanI::AreNumbersAfterNames(const Words& words, std::size_t from) {
  const std::size_t count = words.size() < from ? 0 : words.size() - from;
  return (count == 2 || count == 4) && VakIsNumber(words[from + 1]) &&
         (count == 2 || VakIsNumber(words[from + 3]));
}

void VakMpsScanI::visitColumn(const Words& words) {
  const bool isMarker = words.size() == 3 && words[1] == "'MARKER'";
  if (!isMarker && !AreNumbersAfterNames(words, 1)) {
    _fits = false;
    return;
  }
  if (!isMarker) noteColumn(words[0]);
  putSet("", words[0], words, 1);
}

void VakMpsScanI::noteRow(std::string_view name) {
  if (!_rows.emplace(name).second) _fault.note(_number, "row " + quoted(name) + " is there twice");
}

void VakMpsScanI::noteColumn(std::string_view name) {
  if (name == _column) return;
  _column = name;
  if (_columns.insert(_column).second) return;
  _fault.note(_number, "column " + quoted(_column) + " is there in two places");
}

// Words at fixed places, or else between blanks; the name of a row is all behind its kind.
void VakMpsScanI::visitFixed(const Words& words, std::string_view line) {
  std::vector<std::string> fixed;
  if (_section == Section::Rows) {
    fixed = {std::string(words[0]), ""};
    for (std::size_t k = 1; k < words.size(); ++k) fixed[1] += words[k];
    requireShort(fixed[1]);
    if (fixed[1].empty()) fixed.clear();
  } else {
    fixed = getFixedWords(line);
  }
  _fits = !fixed.empty();
  if (_fits) visit({fixed.begin(), fixed.end()});
  if (_fits) return;
  _fits = true;
  visit(words);
  if (!_fits) _fault.note(_number, "this cannot be understood" + shown(line));
}

void VakMpsScanI::visitNumbers(const Words& words) {
  const std::size_t from = words.size() % 2;
  if (!AreNumbersAfterNames(words, from)) {
    _fits = false;
    return;
  }
  if (_set.empty()) _set = from == 0 ? "SET" : words[0];
  putSet("", from == 0 ? std::string_view(_set) : words[0], words, from);
}

// A bound has a kind, perhaps the name of a set, a column and, for most kinds, a number.
void VakMpsScanI::visitBound(const Words& words) {
  const std::string_view kind = words[0];
  if (kind == "SC" || kind == "SI") {
    _fault.note(_number, "semi-continuous variables are not supported");
    return;
  }
  const bool needsNumber =
      kind == "UP" || kind == "LO" || kind == "FX" || kind == "UI" || kind == "LI";
  const bool needsNone = kind == "FR" || kind == "MI" || kind == "PL" || kind == "BV";
  if (!needsNumber && !needsNone) {
    _fault.note(_number, "unknown kind of bound " + quoted(kind));
    return;
  }
  const std::string_view last = words.back();
  const bool hasNumber = words.size() > 2 && (VakIsNumber(last) || VakGetInfinitySign(last) != 0) &&
                         (needsNumber || words.size() == 4);
  const std::size_t names = words.size() - 1 - (hasNumber ? 1 : 0);
  if (names < 1 || names > 2 || hasNumber < needsNumber) {
    _fits = false;
    return;
  }
  if (_set.empty()) _set = names == 1 ? "SET" : words[1];
  std::string line(' ' + std::string(kind) + ' ');
  line += names == 1 ? std::string_view(_set) : words[1];
  line += ' ';
  line += words[names];
  if (needsNumber) {
    const int infinity = VakGetInfinitySign(last);
    line += ' ';
    line += infinity == 0 ? last : infinity > 0 ? "1e30" : "-1e30";
  }
  put(line);
}

// Writes a line: `first` or nothing, `set` or nothing, and the words from `from` on.
void VakMpsScanI::putSet(std::string_view first, std::string_view set, const Words& words,
                         std::size_t from) {
  std::string line(" ");
  line += first;
  if (!set.empty()) {
    line += ' ';
    line += set;
  }
  for (std::size_t k = from; k < words.size(); ++k) {
    line += ' ';
    line += words[k];
  }
  put(line);
}

void VakMpsScanI::put(std::string_view line) {
  for (const char c : line) _text += c == '\t' ? ' ' : c;
  _text += '\n';
}

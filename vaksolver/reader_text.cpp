#include "vaksolver/reader_text.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

/// How a reader begins to say something, and how this module does.
struct Phrase {
  const char* theirs;
  const char* ours;
};

constexpr Phrase inOurWords(const char* theirs, const char* ours) { return {theirs, ours}; }

// What follows, which is a name or the line, stays.
constexpr Phrase Beginnings[] = {
    inOurWords("Bad image", "this cannot be understood"),
    inOurWords("No match for row", "there is no row"),
    inOurWords("No match for column", "there is no column"),
    inOurWords("Duplicate row", "there is a second number for row"),
    inOurWords("Duplicate objective", "there is a number too many for the objective"),
    inOurWords("Bounds; expect a number, get:", "a number is expected in the bounds, not"),
    inOurWords("Bounds; expect a sense, get:", "a comparison is expected in the bounds, not"),
};

// What stands around these says nothing to users.
constexpr Phrase Cores[] = {
    inOurWords("non distinct or missing row names",
               "two constraints have the same name, or one has that of the objective"),
    inOurWords(" duplicates in objective",
               "a variable stands twice in the objective or in a constraint"),
};

void dropMarks(std::string& text) {
  for (const char* mark : {"### ERROR: ", "### "}) {
    const auto at = text.find(mark);
    if (at != std::string::npos) text.erase(0, at + std::strlen(mark));
  }
  // "Coin3002W " and the like.
  if (text.starts_with("Coin") && text.find(' ') != std::string::npos) {
    text.erase(0, text.find(' ') + 1);
  }
  // "CoinLpIO::readLp(): " and the like.
  const auto scope = text.find("(): ");
  if (scope != std::string::npos && text.find(' ') > scope) text.erase(0, scope + 4);
}

// "Bad image at line 7 < UP BND x >" is of the reader's text, whose lines have other numbers.
void dropLine(std::string& text) {
  const auto line = text.find(" at line ");
  const auto image = line == std::string::npos ? line : text.find(" < ", line);
  if (image == std::string::npos) return;
  text.replace(line, text.find_first_not_of(' ', image + 2) - line, ": ");
  if (text.size() > 2 && text.back() == '>') text.resize(text.size() - 2);
}

void takeOurWords(std::string& text) {
  for (const Phrase& phrase : Beginnings) {
    if (text.starts_with(phrase.theirs)) {
      text.replace(0, std::strlen(phrase.theirs), phrase.ours);
      return;
    }
  }
  for (const Phrase& phrase : Cores) {
    if (text.find(phrase.theirs) != std::string::npos) {
      text = phrase.ours;
      return;
    }
  }
  // "Invalid name: vnames[2]: 3x" numbers the reader's own list.
  constexpr Phrase name = inOurWords("Invalid name:", "this is no name:");
  if (text.starts_with(name.theirs)) text.replace(0, text.rfind(':') + 1, name.ours);
}

}  // namespace

std::string VakExplainReaderText(std::string text) {
  dropMarks(text);
  dropLine(text);
  takeOurWords(text);
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
  return text.empty() ? "the file cannot be understood" : text;
}

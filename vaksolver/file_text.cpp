#include "vaksolver/file_text.h"

#include <algorithm>
#include <cctype>

std::optional<std::string_view> VakFileLinesI::next() {
  if (_rest.empty()) return std::nullopt;
  const auto end = _rest.find('\n');
  std::string_view line = _rest.substr(0, end);
  _rest.remove_prefix(end == std::string_view::npos ? _rest.size() : end + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  ++_number;
  return line;
}

std::vector<std::string_view> VakGetWords(std::string_view line) {
  std::vector<std::string_view> words;
  constexpr std::string_view blank = " \t";
  for (auto from = line.find_first_not_of(blank); from != std::string_view::npos;) {
    const auto to = std::min(line.find_first_of(blank, from), line.size());
    words.push_back(line.substr(from, to - from));
    from = line.find_first_not_of(blank, to);
  }
  return words;
}

bool VakIsSameWord(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](unsigned char x, unsigned char y) { return std::tolower(x) == y; });
}

bool VakIsNumber(std::string_view word) {
  const auto skipDigits = [&word] {
    std::size_t count = 0;
    while (count < word.size() && std::isdigit(static_cast<unsigned char>(word[count])) != 0)
      ++count;
    word.remove_prefix(count);
    return count;
  };
  const auto skip = [&word](std::string_view any) {
    if (word.empty() || any.find(word[0]) == std::string_view::npos) return false;
    word.remove_prefix(1);
    return true;
  };
  skip("+-");
  std::size_t digits = skipDigits();
  if (skip(".")) digits += skipDigits();
  if (digits == 0) return false;
  if (!skip("eE")) return word.empty();
  skip("+-");
  return skipDigits() > 0 && word.empty();
}

int VakGetInfinitySign(std::string_view word) {
  const bool isNegative = !word.empty() && word[0] == '-';
  if (isNegative || (!word.empty() && word[0] == '+')) word.remove_prefix(1);
  if (!VakIsSameWord(word, "inf") && !VakIsSameWord(word, "infinity")) return 0;
  return isNegative ? -1 : 1;
}

std::string VakMakePrintable(std::string_view text) {
  constexpr std::size_t most = 60;
  std::string printable(text.substr(0, most));
  for (char& c : printable) {
    if (std::isprint(static_cast<unsigned char>(c)) == 0) c = '?';
  }
  return printable;
}

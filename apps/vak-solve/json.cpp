#include "apps/vak-solve/json.h"

#include <charconv>
#include <cmath>

namespace vaksolve {

namespace {

constexpr std::string_view Replacement = "\xEF\xBF\xBD";

/// The bytes of the UTF-8 character that `text` begins with, 0 when there is none: overlong forms,
/// surrogates and what lies above U+10FFFF are none.
std::size_t characterLength(std::string_view text) {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const auto isIn = [&](std::size_t i, unsigned low, unsigned high) {
    return byte(i) >= low && byte(i) <= high;
  };
  const auto continues = [&](std::size_t i) { return isIn(i, 0x80, 0xbf); };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (isIn(0, 0xc2, 0xdf)) return continues(1) ? 2 : 0;
  if (isIn(0, 0xe0, 0xef)) {
    const unsigned low = first == 0xe0 ? 0xa0 : 0x80;
    const unsigned high = first == 0xed ? 0x9f : 0xbf;
    return isIn(1, low, high) && continues(2) ? 3 : 0;
  }
  if (isIn(0, 0xf0, 0xf4)) {
    const unsigned low = first == 0xf0 ? 0x90 : 0x80;
    const unsigned high = first == 0xf4 ? 0x8f : 0xbf;
    return isIn(1, low, high) && continues(2) && continues(3) ? 4 : 0;
  }
  return 0;
}

void appendEscape(std::string& json, char c) {
  switch (c) {
    case '"':
      json += "\\\"";
      return;
    case '\\':
      json += "\\\\";
      return;
    case '\n':
      json += "\\n";
      return;
    case '\r':
      json += "\\r";
      return;
    case '\t':
      json += "\\t";
      return;
    default:
      constexpr std::string_view digits = "0123456789abcdef";
      const auto byte = static_cast<unsigned char>(c);
      json += "\\u00";
      json += digits[byte >> 4];
      json += digits[byte & 0xf];
  }
}

}  // namespace

std::string jsonString(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    const auto first = static_cast<unsigned char>(text[0]);
    if (length == 0) {
      json += Replacement;
    } else if (length == 1 && (first < 0x20 || first == '"' || first == '\\' || first == 0x7f)) {
      appendEscape(json, text[0]);
    } else {
      json += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return json + '"';
}

std::string jsonNumber(double value) {
  if (std::isnan(value)) return "null";
  if (std::isinf(value)) return value > 0 ? "\"inf\"" : "\"-inf\"";
  if (value == 0) return "0";  // Without the sign that a zero may have.
  char text[32];
  const std::to_chars_result result = std::to_chars(text, text + sizeof(text), value);
  return {text, result.ptr};
}

void JsonWriter::key(std::string_view name) {
  startValue();
  _out << jsonString(name) << ": ";
  _isAfterKey = true;
}

void JsonWriter::begin(char bracket) {
  startValue();
  _out << bracket;
  _hasElements.push_back(false);
}

void JsonWriter::end(char bracket) {
  const bool hadElements = _hasElements.back();
  _hasElements.pop_back();
  if (hadElements) newLine();
  _out << bracket;
  if (_hasElements.empty()) _out << '\n';
}

void JsonWriter::put(std::string_view text) {
  startValue();
  _out << text;
}

void JsonWriter::startValue() {
  if (_isAfterKey) {
    _isAfterKey = false;
    return;
  }
  if (_hasElements.empty()) return;
  if (_hasElements.back()) _out << ',';
  _hasElements.back() = true;
  newLine();
}

void JsonWriter::newLine() {
  _out << '\n';
  for (std::size_t level = 0; level < _hasElements.size(); ++level) _out << "  ";
}

}  // namespace vaksolve

#include "apps/vak-solve/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace vaksolve {

namespace {

// Below this a value is what is left of 0 after a computation.
constexpr double Negligible = 1e-10;

[[nodiscard]] bool isControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7f;
}

template <class T>
std::string print(const char* format, T value) {
  char text[64];
  const int length = std::snprintf(text, sizeof(text), format, value);
  return {text, static_cast<std::size_t>(length)};
}

}  // namespace

std::string formatNumber(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  if (std::abs(value) < Negligible) return "0";
  return print("%.10g", value);
}

std::string formatSeconds(double seconds) {
  if (seconds < 0.0000995) return print("%.0f us", seconds * 1e6);
  if (seconds < 0.00995) return print("%.1f ms", seconds * 1000);
  if (seconds < 0.9995) return print("%.0f ms", seconds * 1000);
  return seconds < 9.995 ? print("%.2f s", seconds) : print("%.1f s", seconds);
}

std::string formatPercent(double ratio) { return print("%.3g %%", ratio * 100); }

std::string formatCount(long count, const char* singular, const char* plural) {
  return std::to_string(count) + ' ' + (count == 1 ? singular : plural);
}

std::optional<double> parseNumber(std::string_view text) {
  const char* end = text.data() + text.size();
  const char* begin = text.data();
  // The sign that from_chars does not know; a second one must not follow.
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') ++begin;
  double value = 0;
  const std::from_chars_result result = std::from_chars(begin, end, value);
  if (result.ec != std::errc() || result.ptr != end || std::isnan(value)) return std::nullopt;
  return value;
}

std::string printable(std::string_view text) {
  std::string line(text);
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

std::string quote(std::string_view text) { return '"' + printable(text) + '"'; }

std::string nameOf(VakExtractable object) {
  if (const char* name = object.getName(); name != nullptr) return name;
  return '#' + std::to_string(object.getId());
}

std::size_t widthOf(std::string_view text) {
  // Bytes that continue a character begin with the bits 10.
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
  }));
}

}  // namespace vaksolve

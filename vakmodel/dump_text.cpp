#include "vakmodel/dump_text.h"

#include <array>
#include <charconv>
#include <cmath>

std::string VakTextOfNumber(VakNum number) {
  if (std::isnan(number)) return "nan";
  if (std::isinf(number)) return number < 0 ? "-inf" : "inf";
  std::array<char, 32> text;  // the longest double takes 24 characters
  const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
  return {text.data(), result.ptr};
}

std::string VakTextOfCount(VakInt count, std::string_view noun) {
  std::string text = std::to_string(count) + ' ';
  text += noun;
  if (count != 1) text += 's';
  return text;
}

std::string VakTextOfBounds(VakNum lb, std::string_view middle, VakNum ub) {
  const bool hasLower = lb != -VakGetInfinity();
  const bool hasUpper = ub != VakGetInfinity();
  std::string text;
  if (hasLower && hasUpper && lb != ub) text = VakTextOfNumber(lb) + " <= ";
  text += middle;
  if (!hasLower && !hasUpper) return text + " free";
  if (lb == ub) return text + " = " + VakTextOfNumber(ub);
  return text + (hasUpper ? " <= " + VakTextOfNumber(ub) : " >= " + VakTextOfNumber(lb));
}

void VakUniqueNames::note(VakExtractable object) {
  const char* name = object.getName();
  if (name == nullptr) return;
  const auto [place, isNew] = _objects.try_emplace(name, object.getImpl());
  if (!isNew && place->second != object.getImpl()) place->second = nullptr;
}

std::string VakUniqueNames::get(VakExtractable object) const {
  std::string text;
  if (const char* name = object.getName()) {
    text = name;
    const auto place = _objects.find(text);
    if (place == _objects.end() || place->second != nullptr) return text;
  }
  return text + '#' + std::to_string(object.getId());
}

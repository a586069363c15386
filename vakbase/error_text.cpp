#include "vakbase/error_text.h"

#include <algorithm>
#include <cstddef>

VakErrorText::VakErrorText(std::string_view text) {
  const std::size_t length = std::min(text.size(), std::size_t{Capacity - 1});
  std::copy_n(text.data(), length, _text);
  _text[length] = '\0';
}

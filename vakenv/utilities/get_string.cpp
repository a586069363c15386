#include "vakenv/utilities/get_string.h"

#include <cstring>
#include <new>
#include <string>

#include "vakenv/types/exceptions.h"

namespace {

char* newArray(std::size_t length) {
  try {
    return new char[length];
  } catch (const std::bad_alloc&) {
    throw VakMemoryException();
  }
}

}  // namespace

char* VakGetString(std::ostringstream& stream) {
  const std::string text = stream.str();
  char* copy = newArray(text.size() + 1);
  // Deliberate: a byte-string copy, so that the text ends at its first zero byte.
  std::strcpy(copy, text.c_str());
  return copy;
}

#pragma once

// The arrays that columns and rows are made of in one go.
//
// The tests come first and change nothing: after them every entry may be read without looking
// again. They throw VakModelError with `operation`, the name of the function, in front of the text.

#include <cstddef>
#include <span>

#include "vakmodel/model.h"
#include "vakmodel/object_text.h"

/// Makes sure that an array that may be left out is empty or has an element for each of `count`.
inline void VakCheckOptional(const char* operation, std::size_t count, std::size_t given) {
  if (given != 0) VakCheckSizes(operation, count, given);
}
/// Makes sure that the entries of all `count` rows or columns can be read, and that their members
/// are indices below `members`.
void VakCheckSparse(const char* operation, const VakSparse& matrix, std::size_t count,
                    std::size_t members);

/// The element of a checked array, or `usual` if the array was left out.
template <class T>
[[nodiscard]] T VakValueOr(std::span<const T> values, std::size_t i, T usual) {
  return values.empty() ? usual : values[i];
}

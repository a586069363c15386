#pragma once

// Numbers, names and bounds as both dumps of a model write them.

#include <string>
#include <string_view>
#include <unordered_map>

#include "vakmodel/model.h"

/// The shortest text that reads back as the same number; "inf", "-inf" and "nan" for those.
[[nodiscard]] std::string VakTextOfNumber(VakNum number);
/// The count with its noun, as in "1 term" and "2 terms".
[[nodiscard]] std::string VakTextOfCount(VakInt count, std::string_view noun);
/// `middle` with its bounds around it, as in "1 <= x <= 4", "x = 4", "x <= 4" and "x free".
[[nodiscard]] std::string VakTextOfBounds(VakNum lb, std::string_view middle, VakNum ub);

/// The names of the objects of models, made unique.
class VakUniqueNames {
 public:
  /// Notes the name of an object.
  void note(VakExtractable object);
  /// The name; followed by # and the identifier if several noted objects have it; that alone if
  /// there is no name.
  [[nodiscard]] std::string get(VakExtractable object) const;

 private:
  std::unordered_map<std::string_view, VakExtractableI*> _objects;  ///< Null for several objects.
};

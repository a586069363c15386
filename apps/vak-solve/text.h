#pragma once

// Numbers and names as people read and write them.

#include <optional>
#include <string>
#include <string_view>

#include "vakmodel/extractable.h"

namespace vaksolve {

/// A number in at most ten significant digits, without the noise of the last ones: "0", "36",
/// "33.33333333", "1.5e+20", "inf", "-inf", "nan". What is smaller than 1e-10 is "0".
[[nodiscard]] std::string formatNumber(double value);

/// A time in seconds with a unit that suits it: "15 us", "0.4 ms", "12 ms", "1.25 s", "75.2 s".
[[nodiscard]] std::string formatSeconds(double seconds);

/// A ratio as a percentage: "2.5 %".
[[nodiscard]] std::string formatPercent(double ratio);

/// A count with its noun in the singular or plural: "1 variable", "0 variables".
[[nodiscard]] std::string formatCount(long count, const char* singular, const char* plural);

/// The number that the whole of `text` spells, as in "4", "-0.5", "+1e6", "inf", "-infinity"; none
/// for anything else, NaN and numbers out of range included.
[[nodiscard]] std::optional<double> parseNumber(std::string_view text);

/// `text` between quotation marks on one line: control characters are shown as "?".
[[nodiscard]] std::string quote(std::string_view text);

/// `text` with "?" in the place of control characters, so that it cannot break lines or confuse a
/// terminal.
[[nodiscard]] std::string printable(std::string_view text);

/// The name of an object or, when it has none, "#" and its identifier.
[[nodiscard]] std::string nameOf(VakExtractable object);

/// The number of characters that `text`, in UTF-8, takes on a terminal, each counted as one.
[[nodiscard]] std::size_t widthOf(std::string_view text);

}  // namespace vaksolve

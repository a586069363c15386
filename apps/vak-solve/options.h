#pragma once

// The command line.

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/vak-solve/edits.h"

namespace vaksolve {

/// What the user asked for.
struct Options {
  static constexpr long UsualRows = 50;

  std::string model;                ///< The file to solve.
  std::vector<Edit> edits;          ///< In the order of the command line.
  std::optional<double> timeLimit;  ///< Seconds for each solve; none for no limit.
  std::optional<double> gap;        ///< Relative gap at which a solve may stop.
  std::string writeTo;              ///< The file to write the edited model to; empty for none.
  long rows = UsualRows;            ///< Most rows of a table of results; 0 for all.
  bool isJson = false;
  bool isReported = false;
  bool isQuiet = false;
  bool isHelp = false;     ///< Everything else is meaningless then.
  bool isVersion = false;  ///< The same.
};

/// One option of the command line.
struct OptionRule {
  const char* name;   ///< Without the two dashes.
  const char* value;  ///< What stands for its value in the help; null for an option without.
  const char* help;   ///< What it does; lines are separated by newlines.
};

/// All options in the order of the help. The manual page and the completion list the same.
[[nodiscard]] std::span<const OptionRule> optionRules();

/// Reads the arguments behind the program's name. Values follow their option or an equals sign, and
/// behind "--" there are no options. Throws InputError.
[[nodiscard]] Options parseOptions(std::span<const char* const> arguments);

/// What --help prints.
[[nodiscard]] std::string helpText();

}  // namespace vaksolve

#pragma once

// What the program does, from its options to its exit code.

#include <ostream>
#include <span>

#include "apps/vak-solve/errors.h"

namespace vaksolve {

/// Where the program writes to.
struct Streams {
  std::ostream& out;   ///< Results.
  std::ostream& err;   ///< Errors, and the progress line.
  bool isErrTerminal;  ///< Whether the progress line is wanted.
};

/// Runs the program with the arguments behind its name. Throws nothing: each error is one line on
/// `err`, and decides the exit code.
[[nodiscard]] ExitCode run(std::span<const char* const> arguments, const Streams& streams);

}  // namespace vaksolve

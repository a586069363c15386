// The program vak-solve: solves an optimisation model from a file, changes it and solves it again.
// The manual page vak-solve.1 says how it is used.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <vector>

#include "apps/vak-solve/interruption.h"
#include "apps/vak-solve/output.h"
#include "apps/vak-solve/program.h"

namespace {

/// Puts something in the place of standard streams that the caller closed: otherwise the next file
/// that is opened would take that place, and output would go into it. What is written to these
/// fails.
void fillStandardStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    // The lowest number that is free is the one just found so.
    if (open("/dev/null", O_RDONLY) != descriptor) std::_Exit(1);
  }
}

/// Whether standard error is a terminal that can clear a line.
bool isErrTerminal() {
  const char* kind = std::getenv("TERM");
  return isatty(STDERR_FILENO) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

}  // namespace

int main(int count, char** words) {
  fillStandardStreams();
  // A reader that went away is an error of writing, which is reported like any other.
  std::signal(SIGPIPE, SIG_IGN);
  vaksolve::Interruption::Install();

  vaksolve::DescriptorBuffer buffer(STDOUT_FILENO);
  std::ostream out(&buffer);
  out.exceptions(std::ios::badbit);
  const std::vector<const char*> arguments(words + (count > 0 ? 1 : 0), words + count);
  const vaksolve::Streams streams{out, std::cerr, isErrTerminal()};
  return static_cast<int>(vaksolve::run(arguments, streams));
}

// Signals that come while no solve runs. They stay noted for the rest of the process.

#include "apps/vak-solve/interruption.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sstream>

#include "apps/vak-solve/program.h"

namespace vaksolve {
namespace {

Streams streamsTo(std::ostream& out, std::ostream& err) { return {out, err, false}; }

TEST(Interruption, BeforeTheFirstSolveEndsTheProgramInOrder) {
  Interruption::Install();
  EXPECT_FALSE(Interruption::IsRequested());
  ASSERT_EQ(std::raise(SIGTERM), 0);
  EXPECT_TRUE(Interruption::IsRequested());
  std::ostringstream out;
  std::ostringstream err;
  const char* const arguments[] = {VAK_SOLVE_MODEL, "--set", "doors.ub=1"};
  EXPECT_EQ(run(arguments, streamsTo(out, err)), ExitCode::Aborted);
  EXPECT_TRUE(out.str().ends_with(" coefficients\nInterrupted\n")) << out.str();
  EXPECT_EQ(err.str(), "");
}

TEST(Interruption, LeavesSignalsAloneThatTheCallerSwitchedOff) {
  std::signal(SIGINT, SIG_IGN);
  Interruption::Install();
  ASSERT_EQ(std::raise(SIGINT), 0);
  EXPECT_EQ(std::signal(SIGINT, SIG_DFL), SIG_IGN);
}

}  // namespace
}  // namespace vaksolve

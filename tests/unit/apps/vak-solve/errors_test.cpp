#include "apps/vak-solve/errors.h"

#include <gtest/gtest.h>

namespace vaksolve {
namespace {

TEST(ExitCodeOf, TellsEveryOutcomeApart) {
  EXPECT_EQ(exitCodeOf(VakStatus::Optimal, true), ExitCode::Optimal);
  EXPECT_EQ(exitCodeOf(VakStatus::GapLimit, true), ExitCode::Optimal);
  EXPECT_EQ(exitCodeOf(VakStatus::Infeasible, false), ExitCode::Infeasible);
  EXPECT_EQ(exitCodeOf(VakStatus::Unbounded, true), ExitCode::Unbounded);
  EXPECT_EQ(exitCodeOf(VakStatus::InfeasibleOrUnbounded, false), ExitCode::InfeasibleOrUnbounded);
  for (const VakStatus limit :
       {VakStatus::TimeLimit, VakStatus::NodeLimit, VakStatus::IterationLimit}) {
    EXPECT_EQ(exitCodeOf(limit, true), ExitCode::LimitWithSolution);
    EXPECT_EQ(exitCodeOf(limit, false), ExitCode::LimitWithoutSolution);
  }
  EXPECT_EQ(exitCodeOf(VakStatus::Aborted, true), ExitCode::Aborted);
  EXPECT_EQ(exitCodeOf(VakStatus::Aborted, false), ExitCode::Aborted);
  EXPECT_EQ(exitCodeOf(VakStatus::Failed, false), ExitCode::InternalError);
  EXPECT_EQ(exitCodeOf(VakStatus::NotSolved, false), ExitCode::InternalError);
}

}  // namespace
}  // namespace vaksolve

#include "apps/vak-solve/progress.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace vaksolve {
namespace {

TEST(Progress, DescribesALinearProgramByItsIterations) {
  VakSolverProgress progress;
  progress.seconds = 12.34;
  progress.iterations = 4711;
  EXPECT_EQ(describeProgress(progress), "12.3 s, 4711 iterations");
}

TEST(Progress, DescribesASearchByWhatIsKnown) {
  VakSolverProgress progress;
  progress.seconds = 2;
  progress.isMip = true;
  progress.nodes = 1;
  progress.bound = -std::numeric_limits<double>::infinity();
  EXPECT_EQ(describeProgress(progress), "2.00 s, 1 node, no solution yet");
  progress.bound = 39;
  EXPECT_EQ(describeProgress(progress), "2.00 s, 1 node, no solution yet, bound 39");
  progress.hasIncumbent = true;
  progress.incumbent = 40;
  EXPECT_EQ(describeProgress(progress), "2.00 s, 1 node, best 40, bound 39, gap 2.5 %");
}

TEST(ProgressLine, AppearsAfterASecondAndIsOverwrittenAndCleared) {
  std::ostringstream out;
  {
    ProgressLine line(&out);
    VakSolverProgress progress;
    progress.seconds = 0.99;
    line.show(progress);
    EXPECT_EQ(out.str(), "");
    progress.seconds = 1;
    line.show(progress);
    progress.seconds = 1.5;
    progress.iterations = 1;
    line.show(progress);
    EXPECT_EQ(out.str(), "\r\033[K1.00 s, 0 iterations\r\033[K1.50 s, 1 iteration");
    line.clear();
    line.clear();
    EXPECT_TRUE(out.str().ends_with("1 iteration\r\033[K"));
    line.show(progress);
  }
  EXPECT_TRUE(out.str().ends_with("\r\033[K1.50 s, 1 iteration\r\033[K"));
}

TEST(ProgressLine, IsSilentWithoutATerminal) {
  ProgressLine line(nullptr);
  VakSolverProgress progress;
  progress.seconds = 10;
  line.show(progress);
  line.clear();
}

}  // namespace
}  // namespace vaksolve

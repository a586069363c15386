#include "apps/vak-solve/report.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/scoped_env.h"
#include "vakenv/core/create.h"
#include "vakmodel/modelling.h"

namespace vaksolve {
namespace {

TEST(ChangeCounter, CountsWhatIsPropagatedByKind) {
  const VakScopedEnv scope;
  auto* counter = VakCreate<ChangeCounter>(scope.env);
  const VakModel model(scope.env, "m");
  const VakNumVar x(scope.env, "x");
  model.add(x);
  x.setUB(4);
  x.setLB(1);
  EXPECT_EQ(counter->getCounts(),
            (std::map<std::string, long>{{"VakAddChange", 1}, {"VakBoundsChange", 2}}));
  delete counter;
  // Nobody is told any more.
  x.setUB(5);
}

TEST(PhaseTimes, AddUpByPhase) {
  PhaseTimes times;
  times.add("read", 1);
  times.add("solve", 2);
  times.add("solve", 0.5);
  { const PhaseTimes::Scope scope(times, "edit"); }
  ASSERT_EQ(times.getPhases().size(), 3U);
  EXPECT_EQ(times.getPhases()[0].name, "read");
  EXPECT_EQ(times.getPhases()[1].seconds, 2.5);
  EXPECT_EQ(times.getPhases()[2].name, "edit");
  EXPECT_GE(times.getPhases()[2].seconds, 0);
}

struct ReportTest : testing::Test {
  VakScopedEnv scope;
  ChangeCounter* counter = VakCreate<ChangeCounter>(scope.env);
  PhaseTimes times;

  ~ReportTest() override { delete counter; }

  Report make() {
    const VakModel model(scope.env, "m");
    const VakNumVar x(scope.env, 0, 4, "x");
    model.add(x <= 3, "c");
    model.maximize(x);
    VakSolver solver(model);
    solver.solve();
    x.setUB(2);
    solver.solve();
    times.add("solve", 0.25);
    Report report = makeReport(scope.env, times, *counter, solver);
    solver.end();
    return report;
  }
};

TEST_F(ReportTest, HoldsTimesChangesSolvesAndMemory) {
  const Report report = make();
  ASSERT_EQ(report.phases.size(), 1U);
  EXPECT_EQ(report.changes.at("VakBoundsChange"), 1);
  EXPECT_EQ(report.loads, 1);
  EXPECT_EQ(report.warmStarts, 1);
  EXPECT_EQ(report.memory.inUse, scope.env.getMemoryUsage());
  EXPECT_EQ(report.memory.identifiers.count, 4);
}

TEST_F(ReportTest, IsWrittenAsTables) {
  const Report report = make();
  std::ostringstream memory;
  memory << report.memory;
  std::ostringstream out;
  writeReport(out, report);
  EXPECT_EQ(out.str(),
            "\n"
            "Report\n"
            "\n"
            "Phase    Time\n"
            "-----  ------\n"
            "solve  250 ms\n"
            "\n"
            "Change           Propagated\n"
            "---------------  ----------\n"
            "VakAddChange              2\n"
            "VakBoundsChange           1\n"
            "Problem loaded 1 time, started warm 1 time\n"
            "\n" +
                memory.str());
}

TEST_F(ReportTest, SaysWhenNothingWasPropagated) {
  const VakSolver solver(scope.env);
  std::ostringstream out;
  writeReport(out, makeReport(scope.env, times, *counter, solver));
  EXPECT_NE(out.str().find("\nnone             0\n"), std::string::npos) << out.str();
}

TEST_F(ReportTest, IsWrittenAsJson) {
  const Report report = make();
  std::ostringstream out;
  JsonWriter json(out);
  writeJson(json, report);
  EXPECT_EQ(out.str(), R"({
  "seconds": {
    "solve": 0.25
  },
  "changes": {
    "VakAddChange": 2,
    "VakBoundsChange": 1
  },
  "loads": 1,
  "warmStarts": 1,
  "memory": )" + report.memory.toJson() +
                           "\n}\n");
}

}  // namespace
}  // namespace vaksolve

// Options: which there are, and what is said of wrong ones.

#include "vaksolver/options.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/support/scoped_env.h"
#include "vakenv/properties.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

class SolverOptions : public testing::Test {
 protected:
  /// The text of the error; empty when there is none.
  [[nodiscard]] std::string error() const {
    try {
      (void)VakReadSolverOptions(env);
    } catch (const VakSolverOptionError& e) {
      return e.getMessage();
    }
    return "";
  }
  VakScopedEnv scoped;
  VakEnv env = scoped.env;
};

TEST_F(SolverOptions, HaveTheirUsualValues) {
  const VakSolverOptions options = VakReadSolverOptions(env);
  EXPECT_EQ(options.timeLimit, VakGetInfinity());
  EXPECT_EQ(options.gap, 0);
  EXPECT_EQ(options.nodeLimit, -1);
  EXPECT_EQ(options.logLevel, 0);
  EXPECT_TRUE(options.presolve);
}

TEST_F(SolverOptions, AreReadFromNumbersOfEitherKind) {
  env.setIntProperty("solver.timeLimit", 60);
  env.setNumProperty("solver.nodeLimit", 1000);
  env.setNumProperty("solver.gap", 0.01);
  env.setIntProperty("solver.cuts", 0);
  env.setStringProperty("solver.algorithm", "dual");
  env.setIntProperty("somebody.else", 3);
  const VakSolverOptions options = VakReadSolverOptions(env);
  EXPECT_EQ(options.timeLimit, 60);
  EXPECT_EQ(options.nodeLimit, 1000);
  EXPECT_EQ(options.gap, 0.01);
  EXPECT_FALSE(options.cuts);
  EXPECT_EQ(options.algorithm, VakSolverOptions::Algorithm::Dual);
}

TEST_F(SolverOptions, RefuseWrongValues) {
  const auto errorOf = [&](const char* name, VakNum value) {
    env.setNumProperty(name, value);
    const std::string text = error();
    env.removeProperty(name);
    return text;
  };
  EXPECT_EQ(errorOf("solver.gap", -1),
            "option \"solver.gap\" must be a number of at least 0, not -1");
  EXPECT_EQ(errorOf("solver.timeLimit", std::nan("")),
            "option \"solver.timeLimit\" must be a number of at least 0, not nan");
  EXPECT_EQ(errorOf("solver.feasibilityTolerance", 1),
            "option \"solver.feasibilityTolerance\" must be a number of at least 1e-09 and at most "
            "0.0001, not 1");
  EXPECT_EQ(errorOf("solver.nodeLimit", 2.5),
            "option \"solver.nodeLimit\" must be a whole number of at least 0, not 2.5");
  EXPECT_EQ(errorOf("solver.logLevel", 9),
            "option \"solver.logLevel\" must be a whole number from 0 to 4, not 9");
  EXPECT_EQ(errorOf("solver.presolve", 2),
            "option \"solver.presolve\" must be a whole number from 0 to 1, not 2");
}

TEST_F(SolverOptions, RefuseWrongTypesAndNames) {
  env.setStringProperty("solver.gap", "small");
  EXPECT_EQ(error(), "option \"solver.gap\" must be a number of at least 0, not of another type");
  env.removeProperty("solver.gap");
  env.setIntProperty("solver.algorithm", 1);
  EXPECT_EQ(error(),
            "option \"solver.algorithm\" must be \"auto\", \"primal\" or \"dual\", not of another "
            "type");
  env.removeProperty("solver.algorithm");
  env.setStringProperty("solver.algorithm", "fast");
  EXPECT_EQ(error(),
            "option \"solver.algorithm\" must be \"auto\", \"primal\" or \"dual\", not \"fast\"");
  env.removeProperty("solver.algorithm");
  env.setNumProperty("solver.timelimit", 1);
  EXPECT_EQ(error(), "there is no option \"solver.timelimit\"");
}

TEST_F(SolverOptions, AreReadBySolveWhichCanBeCalledAgain) {
  const VakModel model(env);
  const VakNumVar x(env, 0, 1);
  model.add(x + 0 <= 5);
  const VakSolver solver(model);
  env.setIntProperty("solver.typo", 1);
  EXPECT_THROW(solver.solve(), VakSolverOptionError);
  EXPECT_EQ(solver.getStatus(), VakStatus::Failed);
  EXPECT_FALSE(solver.hasSolution());
  env.removeProperty("solver.typo");
  EXPECT_EQ(solver.solve(), VakStatus::Optimal);
}

}  // namespace

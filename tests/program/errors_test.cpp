// What vak-solve says about wrong input and output that fails: one line, and an exit code.

#include <gtest/gtest.h>

#include "tests/program/process.h"

namespace {

constexpr const char* Mix = "examples/models/product_mix.lp";
constexpr int BadInput = 2;
constexpr int OutputFailed = 9;

/// Solves the product mix with these options, which are wrong, and returns the one line of error;
/// nothing was solved.
std::string errorOf(std::vector<std::string> options) {
  options.insert(options.begin(), Mix);
  const Outcome outcome = solve(std::move(options));
  EXPECT_EQ(outcome.code, BadInput);
  EXPECT_EQ(outcome.out, "");
  return outcome.err;
}

TEST(Errors, AreToldForMalformedOptions) {
  EXPECT_EQ(errorOf({"--wrong"}), "vak-solve: unknown option \"--wrong\"; --help lists all\n");
  EXPECT_EQ(errorOf({"--set"}), "vak-solve: --set needs a value: NAME.PROPERTY=VALUE\n");
  EXPECT_EQ(errorOf({"--set", "doors.ub=abc"}),
            "vak-solve: --set doors.ub=abc: \"abc\" is not a number\n");
  EXPECT_EQ(errorOf({"--time-limit", "never"}),
            "vak-solve: --time-limit never: write a number of seconds, 0 or more\n");
  EXPECT_EQ(errorOf({"other.mps"}),
            "vak-solve: one model file at a time: \"examples/models/product_mix.lp\" and "
            "\"other.mps\" were given\n");
}

TEST(Errors, AreToldForUnknownNamesBeforeAnythingIsSolved) {
  EXPECT_EQ(errorOf({"--maximize", "--set", "gates.ub=4"}),
            "vak-solve: --set gates.ub=4: the model has no variable or constraint \"gates\"\n");
  EXPECT_EQ(errorOf({"--remove", "gates"}),
            "vak-solve: --remove gates: the model has no variable or constraint \"gates\"\n");
  EXPECT_EQ(errorOf({"--fix", "plant1=1"}),
            "vak-solve: --fix plant1=1: \"plant1\" is a constraint, not a variable\n");
}

TEST(Errors, OfAnEditComeAfterTheSolvesBeforeIt) {
  const Outcome outcome = solve({Mix, "--quiet", "--set", "doors.lb=1", "--set", "doors.ub=0"});
  EXPECT_EQ(outcome.code, BadInput);
  EXPECT_EQ(outcome.out.find("Optimal: objective 36 "), 0U);
  EXPECT_EQ(outcome.err,
            "vak-solve: --set doors.ub=0: the lower bound 1 would be above the upper bound 0\n");
}

TEST(Errors, LeaveNoHalfJson) {
  const Outcome outcome = solve({Mix, "--json", "--set", "doors.ub=-1"});
  EXPECT_EQ(outcome.code, BadInput);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err,
            "vak-solve: --set doors.ub=-1: the lower bound 0 would be above the upper bound -1\n");
}

TEST(Errors, AreToldForNumbersThatTheSolverCannotTake) {
  const Outcome outcome = solve({Mix, "--quiet", "--set", "plant1.doors=1e30"});
  EXPECT_EQ(outcome.code, BadInput);
  EXPECT_EQ(outcome.err,
            "vak-solve: --set plant1.doors=1e30: the solver cannot take this change\n");
}

// ---- Model files --------------------------------------------------------------------------------

TEST(ModelFiles, ThatAreNotThereAreReported) {
  const Outcome outcome = solve({"no/such.mps"});
  EXPECT_EQ(outcome.code, BadInput);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "vak-solve: no/such.mps: there is no such file\n");
}

TEST(ModelFiles, ThatAreFoldersAreReported) {
  const Outcome outcome = solve({"examples"});
  EXPECT_EQ(outcome.code, BadInput);
  EXPECT_EQ(outcome.err, "vak-solve: examples: this is a directory\n");
}

TEST(ModelFiles, ThatAreBrokenAreReportedWithTheLine) {
  const TemporaryFolder folder;
  const std::string file = folder.file("broken.mps");
  std::string text = readFile(VAK_MODELS "/transport.mps");
  const std::size_t wrong = text.find("SE_CH     SEATTLE");
  text.replace(wrong, 17, "SE_CH     ATLANTA");
  writeFile(file, text);
  const Outcome outcome = solve({file});
  EXPECT_EQ(outcome.code, BadInput);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err.find("vak-solve: " + file + ", line 15: "), 0U) << outcome.err;
  EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
}

TEST(ModelFiles, ThatAreNoModelsAreReported) {
  const TemporaryFolder folder;
  for (const char* name : {"empty.mps", "empty.lp", "empty"}) {
    writeFile(folder.file(name), "");
    const Outcome outcome = solve({folder.file(name)});
    EXPECT_EQ(outcome.code, BadInput) << name;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.find("vak-solve: " + folder.file(name)), 0U) << outcome.err;
    EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
  }
}

TEST(ModelFiles, MayNameAVariableAndAConstraintAlike) {
  const TemporaryFolder folder;
  const std::string file = folder.file("alike.lp");
  writeFile(file, "Maximize\n obj: x + y\nSubject To\n x: x + y <= 4\nEnd\n");
  const Outcome outcome = solve({file, "--set", "x.ub=1"});
  EXPECT_EQ(outcome.code, BadInput);
  EXPECT_EQ(outcome.err,
            "vak-solve: --set x.ub=1: both a variable and a constraint are called \"x\": write "
            "variable:NAME or constraint:NAME\n");
  EXPECT_EQ(solve({file, "--quiet", "--set", "constraint:x.ub=1"}).code, 0);
}

// ---- Output -------------------------------------------------------------------------------------

TEST(Output, ThatIsFullIsReported) {
  for (const char* option : {"--quiet", "--json", "--report", "--help", "--version"}) {
    const Outcome outcome = solve({Mix, option}, Sink::FullDevice);
    EXPECT_EQ(outcome.code, OutputFailed) << option;
    EXPECT_EQ(outcome.err, "vak-solve: standard output: No space left on device\n");
  }
}

TEST(Output, ThatNobodyReadsIsReported) {
  const Outcome outcome = solve({Mix}, Sink::BrokenPipe);
  EXPECT_EQ(outcome.code, OutputFailed);
  EXPECT_EQ(outcome.err, "vak-solve: standard output: Broken pipe\n");
}

TEST(Output, ThatIsClosedIsReported) {
  const TemporaryFolder folder;
  const Outcome outcome = solve({Mix, "--write", folder.file("out.lp")}, Sink::Closed);
  EXPECT_EQ(outcome.code, OutputFailed);
  EXPECT_EQ(outcome.err, "vak-solve: standard output: Bad file descriptor\n");
}

TEST(Output, OfErrorsMayBeClosedToo) {
  EXPECT_EQ(solve({"no/such.mps"}, Sink::Test, Sink::Closed).code, BadInput);
  EXPECT_EQ(solve({Mix, "--quiet"}, Sink::Test, Sink::Closed).code, 0);
}

TEST(Write, NeedsAPlaceThatCanBeWritten) {
  const TemporaryFolder folder;
  const auto errorOfWrite = [](const std::string& file) {
    const Outcome outcome = solve({Mix, "--write", file});
    EXPECT_EQ(outcome.code, OutputFailed) << file;
    EXPECT_EQ(outcome.out, "") << file;
    return outcome.err;
  };
  EXPECT_EQ(errorOfWrite("no/such/folder/out.lp"),
            "vak-solve: --write no/such/folder/out.lp: No such file or directory\n");
  EXPECT_EQ(errorOfWrite("README.md/out.lp"),
            "vak-solve: --write README.md/out.lp: Not a directory\n");
  EXPECT_EQ(errorOfWrite("out.txt"),
            "vak-solve: --write out.txt: the name has to end in .mps, .mps.gz or .lp\n");
  const std::string inFile = folder.file("taken.lp");
  writeFile(folder.file("x"), "");
  EXPECT_EQ(errorOfWrite(folder.file("x") + "/out.mps"),
            "vak-solve: --write " + folder.file("x") + "/out.mps: Not a directory\n");
}

TEST(Write, DoesNotTakeAFolderForAFile) {
  const TemporaryFolder folder;
  const std::string inner = folder.file("folder.lp");
  ASSERT_EQ(runProgram({"/bin/mkdir", inner}).code, 0);
  const Outcome outcome = solve({Mix, "--write", inner});
  EXPECT_EQ(outcome.code, OutputFailed);
  EXPECT_EQ(outcome.err, "vak-solve: --write " + inner + ": this is a directory\n");
}

TEST(Write, LeavesTheFileAloneWhenAnEditFails) {
  const TemporaryFolder folder;
  const std::string file = folder.file("out.lp");
  writeFile(file, "precious");
  EXPECT_EQ(solve({Mix, "--write", file, "--set", "doors.ub=-1"}).code, BadInput);
  EXPECT_EQ(readFile(file), "precious");
}

}  // namespace

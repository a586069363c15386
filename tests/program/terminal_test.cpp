// vak-solve on a terminal: progress, and Ctrl-C.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include "tests/program/process.h"

namespace {

constexpr int Aborted = 8;

/// A model on which a search takes much longer than any test waits: an equality that no subset
/// fulfils, and that bounds do not refute.
std::string makeLongModel(const TemporaryFolder& folder) {
  constexpr int count = 40;
  std::string text = "Maximize\n obj: x1\nSubject To\n parity: ";
  for (int i = 1; i <= count; ++i) text += "+ 2 x" + std::to_string(i) + '\n';
  text += "= " + std::to_string(count - 1) + "\nBinaries\n";
  for (int i = 1; i <= count; ++i) text += " x" + std::to_string(i) + '\n';
  const std::string file = folder.file("long.lp");
  writeFile(file, text + "End\n");
  return file;
}

TEST(Progress, IsShownOnATerminalWhileALongSolveRuns) {
  const TemporaryFolder folder;
  Process process(solveWords({makeLongModel(folder), "--time-limit", "2"}), Sink::Test,
                  Sink::Terminal);
  EXPECT_TRUE(process.waitForError("\r\033[K1."));
  const Outcome outcome = process.wait();
  EXPECT_NE(outcome.err.find(" nodes, no solution yet"), std::string::npos);
  EXPECT_TRUE(outcome.err.ends_with("\r\033[K")) << "The line was not cleared";
  EXPECT_NE(outcome.out.find("\nTime limit reached, no solution found"), std::string::npos);
  EXPECT_EQ(outcome.code, 7);
}

TEST(Progress, IsNotShownElsewhere) {
  const TemporaryFolder folder;
  const std::string file = makeLongModel(folder);
  EXPECT_EQ(solve({file, "--time-limit", "1.5"}).err, "");
  EXPECT_EQ(solve({file, "--time-limit", "1.5", "--quiet"}, Sink::Test, Sink::Terminal).err, "");
}

TEST(Progress, IsNotShownOnATerminalThatCannotClearLines) {
  const TemporaryFolder folder;
  std::vector<std::string> words = solveWords({makeLongModel(folder), "--time-limit", "1.5"});
  words.insert(words.begin(), {"/usr/bin/env", "TERM=dumb"});
  EXPECT_EQ(runProgram(words, Sink::Test, Sink::Terminal).err, "");
}

TEST(Interruption, EndsTheSolveAndSkipsTheEdits) {
  const TemporaryFolder folder;
  const std::string written = folder.file("out.lp");
  for (const int signal : {SIGINT, SIGTERM}) {
    Process process(solveWords({makeLongModel(folder), "--set", "x1.ub=0", "--write", written}),
                    Sink::Test, Sink::Terminal);
    EXPECT_TRUE(process.waitForError("no solution yet"));
    process.send(signal);
    const Outcome outcome = process.wait();
    EXPECT_EQ(outcome.code, Aborted);
    EXPECT_NE(outcome.out.find("\nInterrupted, no solution found"), std::string::npos);
    EXPECT_EQ(outcome.out.find("Edit:"), std::string::npos);
    EXPECT_THROW(static_cast<void>(readFile(written)), std::exception);
  }
}

TEST(Interruption, AtTheSecondTimeEndsTheProgram) {
  const TemporaryFolder folder;
  // From a named pipe into which nobody writes, the program waits to read.
  const std::string pipe = folder.file("pipe.lp");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  Process process(solveWords({pipe}));
  process.waitForHandler(SIGINT, true);
  process.send(SIGINT);
  process.waitForHandler(SIGINT, false);
  process.send(SIGINT);
  EXPECT_EQ(process.wait().signal, SIGINT);
}

}  // namespace

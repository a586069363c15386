#pragma once

// Programs that tests run: with their standard streams where the test wants them, and signals.

#include <string>
#include <vector>

/// A folder that is gone at the end of the scope with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  /// The path of a file in it.
  [[nodiscard]] std::string file(const std::string& name) const { return _path + '/' + name; }
  [[nodiscard]] const std::string& path() const { return _path; }

 private:
  std::string _path;
};

[[nodiscard]] std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);

/// How a program ended, and what it wrote.
struct Outcome {
  int code = -1;    ///< The exit code; -1 when a signal ended it.
  int signal = 0;   ///< The signal that ended it; 0 for none.
  std::string out;  ///< Standard output, where it went into the test.
  std::string err;  ///< Standard error.
};

/// Where a standard stream of a program goes.
enum class Sink {
  Test,        ///< To the test.
  Terminal,    ///< To the test, through a pseudo terminal.
  Closed,      ///< Nowhere: the stream is closed.
  BrokenPipe,  ///< Into a pipe that nobody reads.
  FullDevice,  ///< Into /dev/full, where there is never space.
};

/// A program that runs. Its working directory is the root of the sources.
class Process {
 public:
  /// Starts `words[0]` with the other words as arguments.
  explicit Process(const std::vector<std::string>& words, Sink out = Sink::Test,
                   Sink err = Sink::Test);
  /// Kills it if it was not waited for.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void send(int signal) const;
  /// Reads until standard error holds `text`, or ends; tells whether it does.
  bool waitForError(const std::string& text);
  /// Waits until the program has a handler for `signal`, or has none any more.
  void waitForHandler(int signal, bool isThere) const;
  /// Reads both streams to their ends and waits for the program.
  Outcome wait();

 private:
  /// Reads what is there, waiting for something; false when both streams are over.
  bool read();

  int _pid = -1;
  int _out = -1;  ///< Reading end; -1 when there is none, or it is over.
  int _err = -1;
  Outcome _outcome;
};

/// `text` with "N" in the place of every number that stands between `before` and `behind`: what
/// differs from run to run.
[[nodiscard]] std::string withoutNumbers(std::string text, const std::string& before,
                                         const std::string& behind);

/// `text` with "N iterations" and "N nodes" in the place of all counts of them, which depend on the
/// solver.
[[nodiscard]] std::string withoutCounts(std::string text);

/// Runs a program to its end.
[[nodiscard]] inline Outcome runProgram(const std::vector<std::string>& words,
                                        Sink out = Sink::Test, Sink err = Sink::Test) {
  return Process(words, out, err).wait();
}

/// Runs vak-solve with these arguments.
[[nodiscard]] Outcome solve(std::vector<std::string> arguments, Sink out = Sink::Test,
                            Sink err = Sink::Test);

/// The words of a call of vak-solve.
[[nodiscard]] std::vector<std::string> solveWords(std::vector<std::string> arguments);

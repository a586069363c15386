#include "tests/program/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

int checked(int result, const char* what) {
  if (result < 0) fail(what);
  return result;
}

/// The two ends of a stream: what the program gets in the place of it, and what the test reads.
struct Ends {
  int program = -1;  ///< -1 for a stream that is closed.
  int test = -1;     ///< -1 for nothing to read.
};

Ends makeTerminal() {
  Ends ends;
  ends.test = checked(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "posix_openpt");
  checked(grantpt(ends.test), "grantpt");
  checked(unlockpt(ends.test), "unlockpt");
  ends.program = checked(open(ptsname(ends.test), O_RDWR | O_NOCTTY | O_CLOEXEC), "open pts");
  return ends;
}

Ends makeEnds(Sink sink) {
  Ends ends;
  if (sink == Sink::Closed) return ends;
  if (sink == Sink::Terminal) return makeTerminal();
  if (sink == Sink::FullDevice) {
    ends.program = checked(open("/dev/full", O_WRONLY | O_CLOEXEC), "open /dev/full");
    return ends;
  }
  int pipe[2];
  checked(pipe2(pipe, O_CLOEXEC), "pipe2");
  ends.program = pipe[1];
  ends.test = pipe[0];
  if (sink == Sink::BrokenPipe) {
    close(ends.test);
    ends.test = -1;
  }
  return ends;
}

/// In the child: puts `program` in the place of a standard stream.
void install(int program, int stream) {
  if (program < 0) {
    close(stream);
  } else if (dup2(program, stream) < 0) {
    _exit(126);
  }
}

/// Appends what can be read to `text`; closes and forgets the stream at its end.
void readSome(int& stream, std::string& text) {
  char buffer[4096];
  const ssize_t size = ::read(stream, buffer, sizeof(buffer));
  if (size < 0 && errno == EINTR) return;
  // A terminal whose other side is closed gives an error where a pipe gives 0.
  if (size <= 0) {
    close(stream);
    stream = -1;
    return;
  }
  text.append(buffer, static_cast<std::size_t>(size));
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vak-solve-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) fail("mkdtemp");
  _path = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(_path, ignored);
}

std::string readFile(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

std::string withoutNumbers(std::string text, const std::string& before, const std::string& behind) {
  for (std::size_t place = text.find(before); place != std::string::npos;
       place = text.find(before, place + before.size())) {
    const std::size_t begin = place + before.size();
    const std::size_t end = text.find_first_not_of("0123456789.e+-", begin);
    if (end == begin || end == std::string::npos) continue;
    if (text.compare(end, behind.size(), behind) == 0) text.replace(begin, end - begin, "N");
  }
  return text;
}

std::string withoutCounts(std::string text) {
  for (const char* word : {"iteration", "node"}) {
    const std::string unit = std::string(" ") + word;
    for (std::size_t place = text.find(unit); place != std::string::npos;
         place = text.find(unit, place + 1)) {
      const std::size_t behind = place + unit.size();
      if (text.compare(behind, 1, "s") != 0) text.insert(behind, "s");
      const std::size_t digits = text.find_last_not_of("0123456789", place - 1) + 1;
      text.replace(digits, place - digits, "N");
      place = digits;
      place = text.find(unit, place);
    }
  }
  return text;
}

Process::Process(const std::vector<std::string>& words, Sink out, Sink err) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const Ends outEnds = makeEnds(out);
  const Ends errEnds = makeEnds(err);
  _pid = checked(fork(), "fork");
  if (_pid == 0) {
    install(outEnds.program, STDOUT_FILENO);
    install(errEnds.program, STDERR_FILENO);
    setenv("TERM", "xterm", 1);
    if (chdir(VAK_SOURCE_DIR) != 0) _exit(126);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  if (outEnds.program >= 0) close(outEnds.program);
  if (errEnds.program >= 0) close(errEnds.program);
  _out = outEnds.test;
  _err = errEnds.test;
}

Process::~Process() {
  if (_pid > 0) {
    kill(_pid, SIGKILL);
    waitpid(_pid, nullptr, 0);
  }
  if (_out >= 0) close(_out);
  if (_err >= 0) close(_err);
}

void Process::send(int signal) const { checked(kill(_pid, signal), "kill"); }

bool Process::read() {
  pollfd streams[2] = {{_out, POLLIN, 0}, {_err, POLLIN, 0}};
  if (_out < 0 && _err < 0) return false;
  if (poll(streams, 2, -1) < 0 && errno != EINTR) fail("poll");
  if (streams[0].revents != 0) readSome(_out, _outcome.out);
  if (streams[1].revents != 0) readSome(_err, _outcome.err);
  return true;
}

bool Process::waitForError(const std::string& text) {
  while (_outcome.err.find(text) == std::string::npos) {
    if (_err < 0 || !read()) return false;
  }
  return true;
}

void Process::waitForHandler(int signal, bool isThere) const {
  const std::string path = "/proc/" + std::to_string(_pid) + "/status";
  const unsigned long bit = 1UL << (signal - 1);
  for (;;) {
    const std::string status = readFile(path);
    const std::size_t mask = status.find("SigCgt:");
    if (mask == std::string::npos) throw std::runtime_error("the program is over");
    const unsigned long handled = std::strtoul(status.c_str() + mask + 7, nullptr, 16);
    if (((handled & bit) != 0) == isThere) return;
    usleep(1000);
  }
}

Outcome Process::wait() {
  while (read()) {
  }
  int status = 0;
  checked(waitpid(_pid, &status, 0), "waitpid");
  _pid = -1;
  if (WIFEXITED(status)) _outcome.code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) _outcome.signal = WTERMSIG(status);
  return _outcome;
}

std::vector<std::string> solveWords(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), VAK_SOLVE_PROGRAM);
  return arguments;
}

Outcome solve(std::vector<std::string> arguments, Sink out, Sink err) {
  return runProgram(solveWords(std::move(arguments)), out, err);
}

// Starts this program again for one measurement and reads what it reports.
#include "benchmarks/support/fresh_process.h"

#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>

namespace {

constexpr const char* Flag = "--fresh-process";
constexpr const char* Warm = "warm";

std::map<std::string, VakMeasurement>& measurements() {
  static std::map<std::string, VakMeasurement> all;
  return all;
}

/// A line of /proc/self/status in bytes.
double readStatus(const char* name) {
  std::FILE* file = std::fopen("/proc/self/status", "r");
  if (file == nullptr) return 0;
  char line[256];
  double bytes = 0;
  while (std::fgets(line, sizeof(line), file) != nullptr) {
    long kilobytes = 0;
    const std::size_t length = std::strlen(name);
    if (std::strncmp(line, name, length) == 0 &&
        std::sscanf(line + length, ": %ld", &kilobytes) == 1) {
      bytes = 1024.0 * static_cast<double>(kilobytes);
    }
  }
  std::fclose(file);
  return bytes;
}

/// Writes to more memory than any measurement takes and gives it back. A virtual machine hands
/// memory that was free for some seconds back to its host, and the first touch of such memory costs
/// a multiple of what it costs a process on a machine of its own. Which contender meets it is
/// chance.
void warmMemory() {
  constexpr std::size_t bytes = std::size_t{640} << 20;
  void* memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return;
  ::madvise(memory, bytes, MADV_HUGEPAGE);
  std::memset(memory, 1, bytes);
  ::munmap(memory, bytes);
}

/// Runs `measure` and reports to whoever started the process.
bool report(VakMeasurement measure) {
  const double before = VakResidentBytes();
  const double seconds = measure();
  std::FILE* out = ::fdopen(3, "w");
  if (out == nullptr) return false;
  std::fprintf(out, "%.9e %.0f", seconds, VakPeakResidentBytes() - before);
  return std::fclose(out) == 0;
}

/// Starts this program again and returns what it reports.
VakFreshResult start(std::string measurement, std::string pages) {
  VakFreshResult result;
  int ends[2];
  if (::pipe(ends) != 0) return result;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], 3);
  std::string program = "/proc/self/exe";
  std::string flag = Flag;
  char* arguments[] = {program.data(), flag.data(), measurement.data(), pages.data(), nullptr};
  pid_t child = 0;
  const bool started =
      ::posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  if (started) {
    char text[128] = {};
    const ssize_t length = ::read(ends[0], text, sizeof(text) - 1);
    int status = 0;
    result.isThere = ::waitpid(child, &status, 0) == child && status == 0 && length > 0 &&
                     std::sscanf(text, "%lf %lf", &result.seconds, &result.peakBytes) == 2;
  }
  ::close(ends[0]);
  return result;
}

}  // namespace

double VakResidentBytes() { return readStatus("VmRSS"); }
double VakPeakResidentBytes() { return readStatus("VmHWM"); }

bool VakAnnounceMeasurement(const std::string& name, VakMeasurement measure) {
  measurements()[name] = measure;
  return true;
}

VakFreshResult VakRunFresh(const std::string& name, bool hugePages) {
  const std::string pages = hugePages ? "huge" : "small";
  (void)start(Warm, pages);
  return start(name, pages);
}

bool VakIsFreshProcess(int argc, char** argv, int& status) {
  if (argc != 4 || std::strcmp(argv[1], Flag) != 0) return false;
  status = 0;
  if (std::strcmp(argv[3], "small") == 0) ::prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
  const auto found = measurements().find(argv[2]);
  if (found != measurements().end()) {
    status = report(found->second) ? 0 : 1;
  } else if (std::strcmp(argv[2], Warm) == 0) {
    warmMemory();
  } else {
    status = 1;
  }
  return true;
}

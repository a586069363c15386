// Starts this program again for one measurement and reads what it reports.
#include "benchmarks/support/fresh_process.h"

#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>

namespace {

constexpr const char* Flag = "--fresh-process";

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

}  // namespace

double VakResidentBytes() { return readStatus("VmRSS"); }
double VakPeakResidentBytes() { return readStatus("VmHWM"); }

bool VakAnnounceMeasurement(const std::string& name, VakMeasurement measure) {
  measurements()[name] = measure;
  return true;
}

VakFreshResult VakRunFresh(const std::string& name, bool hugePages) {
  VakFreshResult result;
  int ends[2];
  if (::pipe(ends) != 0) return result;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], 3);
  std::string program = "/proc/self/exe";
  std::string flag = Flag;
  std::string measurement = name;
  std::string pages = hugePages ? "huge" : "small";
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

bool VakIsFreshProcess(int argc, char** argv, int& status) {
  if (argc != 4 || std::strcmp(argv[1], Flag) != 0) return false;
  status = 1;
  const auto found = measurements().find(argv[2]);
  if (found == measurements().end()) return true;
  if (std::strcmp(argv[3], "small") == 0) ::prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
  const double before = VakResidentBytes();
  const double seconds = found->second();
  std::FILE* report = ::fdopen(3, "w");
  if (report == nullptr) return true;
  std::fprintf(report, "%.9e %.0f", seconds, VakPeakResidentBytes() - before);
  std::fclose(report);
  status = 0;
  return true;
}

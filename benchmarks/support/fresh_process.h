#pragma once

// Measurements that need a process in which nothing has happened yet: first touch of memory, and
// peak memory. The program starts itself again for each of them.

#include <string>

/// What a fresh process reports.
struct VakFreshResult {
  double seconds = 0;    ///< What the measurement returned.
  double peakBytes = 0;  ///< The most memory that the process had, less what it had at its start.
  bool isThere = false;  ///< False when the process could not be started or failed.
};

/// A measurement; returns seconds of processor time.
using VakMeasurement = double (*)();

/// Announces a measurement under a name; returns true, so that it can initialise a variable.
bool VakAnnounceMeasurement(const std::string& name, VakMeasurement measure);

/// Runs a measurement in a fresh process, in which huge pages are refused unless `hugePages`.
[[nodiscard]] VakFreshResult VakRunFresh(const std::string& name, bool hugePages);

/// In a process that was started for a measurement, runs it and returns true: the program then ends
/// with `status`.
bool VakIsFreshProcess(int argc, char** argv, int& status);

/// Bytes of memory that the process has now, and the most it ever had.
[[nodiscard]] double VakResidentBytes();
[[nodiscard]] double VakPeakResidentBytes();

#pragma once

// A timer of processor time.

#include "vakenv/fwd.h"

/// Measures the processor time (user plus system) of the whole process over one or more start-stop
/// intervals, in seconds.
///
/// A small value that allocates nothing; the memory manager serves only to find its environment.
/// Invariant: _running is 1 exactly between a start() and the stop() that follows it. One thread
/// uses a timer; the time of all threads of the process counts.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
class VakTimer {
 public:
  /// Stopped, with nothing accumulated. An empty manager is allowed.
  explicit VakTimer(VakMemoryManager manager);
  /// The same with the environment's memory manager, or null for an empty handle.
  explicit VakTimer(VakEnv env);

  /// In whose memory the timer is.
  [[nodiscard]] VakMemoryManager getMemoryManager() const;
  /// Throws VakEnv::IncompatibleMemoryManagerException ("Incompatible memory manager") when the
  /// memory manager is null or belongs to no environment.
  [[nodiscard]] VakEnv getEnv() const;

  /// Processor time of the process so far, in seconds, at a resolution of 1/100 s.
  [[nodiscard]] static VakNum getCPUtime();

  /// Opens an interval if none is open and returns the time accumulated before it; otherwise
  /// changes nothing and returns the total so far, the open interval included.
  VakNum start();
  /// Closes the open interval, if any, and returns the accumulated time.
  VakNum stop();
  /// The accumulated time, the open interval included; changes nothing.
  [[nodiscard]] VakNum getTime() const;

  VakGenAlloc* _memoryManager;  ///< Not owned; null when built from an empty handle.
  VakNum _accumulated = 0.0;    ///< Seconds over all completed intervals.
  VakNum _startTime = -1.0;     ///< When the last interval began, in seconds; -1.0 for none yet.
  VakInt _running = 0;          ///< 1 while an interval is open, else 0.
};

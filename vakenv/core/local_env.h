#pragma once

// The local environment: what an environment's allocation path goes through while it is installed.

#include "vakenv/fwd.h"

/// A detour for allocation, release and identifier booking of one environment.
///
/// Installed and deleted by VakEnvI::useMTSafeAllocation. Whoever takes memory of the environment
/// tests on every call whether one is installed.
///
/// Threads: confined, unless the class derived from it says otherwise.
/// Phases: open, between switching thread-safe allocation on and off.
/// Gives back: free takes back alloc, releaseId takes back bookId and init.
class VakLocalEnvI {
 public:
  explicit VakLocalEnvI(VakEnvI* env);
  virtual ~VakLocalEnvI();
  VakLocalEnvI(const VakLocalEnvI&) = delete;
  VakLocalEnvI& operator=(const VakLocalEnvI&) = delete;

  /// What the environment's memory functions and its record of values are led to while this is
  /// installed: memory is taken and given back with the same size.
  [[nodiscard]] virtual void* alloc(unsigned long size) = 0;
  virtual void free(void* p, unsigned long size) = 0;
  /// Books an identifier for `e` and returns it.
  virtual VakInt init(VakExtractableI* e) = 0;
  /// Told before a value changes that a user wants brought back.
  virtual void saveValue(void** address) = 0;
  virtual void saveValue(long* address) = 0;
  virtual void saveValue(double* address) = 0;

  /// Books an identifier whose slot holds null.
  VakInt bookId();
  /// Gives a booked identifier back.
  void releaseId(VakInt id);

  VakEnvI* _env;                  ///< The environment served; not owned.
  VakLocalEnvI* _next = nullptr;  ///< The local environment installed before, or null.
};

/// The thread-safe local environment: every operation runs under the environment's mutex.
///
/// Threads: thread safe, given that the environment has a mutex; made and deleted by one thread.
/// Phases: open, between switching thread-safe allocation on and off.
/// Gives back: as VakLocalEnvI.
class VakMTSafeLocalEnvI final : public VakLocalEnvI {
 public:
  explicit VakMTSafeLocalEnvI(VakEnvI* env);
  ~VakMTSafeLocalEnvI() override;

  /// Like VakTarnAlloc::alloc without a local environment, including null for a size of 0.
  [[nodiscard]] void* alloc(unsigned long size) override;
  /// Gives `p` back to the size class of `size` unless it is null.
  void free(void* p, unsigned long size) override;
  /// Books an identifier. Deliberate: the slot receives null, not the extractable.
  VakInt init(VakExtractableI* e) override;
  /// Does nothing.
  void saveValue(void** address) override;
  void saveValue(long* address) override;
  void saveValue(double* address) override;
};

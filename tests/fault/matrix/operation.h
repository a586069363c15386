#pragma once

// One operation of the library as the fault matrix drives it.
//
//   stage       fresh environments in which one attempt is made
//   scene       what was set up on a stage, and how the operation is run there and taken back
//   operation   a name, the functions of the library that it stands for, and how its scene is made

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/fault/matrix/fault_kind.h"
#include "tests/fault/matrix/user_callback.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/env.h"

/// How the environments of a stage are made.
enum class VakStageKind {
  Plain,       ///< Two environments for one thread.
  Locked,      ///< A mutex is installed before; taking it is a callback.
  ThreadSafe,  ///< Locked, and thread-safe allocation is on in the first environment.
  Unstarved,   ///< Plain; the operation may end an environment, or look at free lists, which stay.
  Foreign,     ///< Plain; the operation runs code of other libraries, whose memory does not fail.
};

/// The user's mutex.
class VakTickingMutex final : public VakBaseEnvMutex {
 public:
  void lock() override {
    VakFailingCallback::Tick();
    ++depth;
  }
  void unlock() override { --depth; }

  long depth = 0;  ///< Locks that are held.
};

/// Two environments and what a scene keeps until they have ended.
class VakStage {
 public:
  explicit VakStage(VakStageKind kind);
  /// Ends the environments that are not ended yet.
  ~VakStage();
  VakStage(const VakStage&) = delete;
  VakStage& operator=(const VakStage&) = delete;

  VakEnvI* operator->() const { return env.getImpl(); }
  [[nodiscard]] VakEnvI* impl() const { return env.getImpl(); }
  [[nodiscard]] VakTarnAlloc* allocator() const { return env.getImpl()->_allocator; }

  /// A new T that lives until the stage is gone, so after the environments.
  template <class T, class... Args>
  T& keep(Args&&... args) {
    auto kept = std::make_shared<T>(std::forward<Args>(args)...);
    T& object = *kept;
    _kept.push_back(std::move(kept));
    return object;
  }

  /// The environments that have not ended.
  [[nodiscard]] std::vector<VakEnvI*> environments() const;
  /// Bytes of model memory in use in all environments.
  [[nodiscard]] VakInt getUsage() const;
  /// What is broken in an environment or left undone; an empty text for nothing.
  [[nodiscard]] std::string check() const;

 private:
  VakTickingMutex _mutex;
  bool _isLocked;
  std::vector<std::shared_ptr<void>> _kept;

 public:
  VakEnv env;
  VakEnv other;
};

/// A fault that an operation does without what failed.
struct VakAbsorbedFault {
  VakFaultKind kind;  ///< What may fail.
  const char* why;    ///< How it succeeds nevertheless.
};

/// What was set up on a stage.
struct VakScene {
  std::function<void()> act;        ///< Runs the operation.
  std::function<void()> undo = {};  ///< Gives back what act() made; nothing by default.
  /// Sets up once more, after a failure, what act() needs to be run anew; nothing by default.
  std::function<void()> prepare = {};
  /// Does, after act() was run anew, what the failed run left undone; nothing by default.
  std::function<void()> complete = {};
  /// Says what is wrong after a failure that the deep check does not see; nothing by default.
  std::function<std::string()> afterFailure = {};
  /// Says what is wrong after success; nothing by default.
  std::function<std::string()> afterSuccess = {};
  /// Why a failure may leave memory in use that was not in use before. What it leaves has to be
  /// used or given back by the next success.
  const char* mayKeep = nullptr;
  /// What may fail in act() although it succeeds; nothing by default.
  std::optional<VakAbsorbedFault> mayAbsorb = {};
  /// Heap blocks that the process keeps for ever each time the scene is set up and succeeds.
  long processKeeps = 0;
};

struct VakFaultOperation {
  const char* name;                        ///< In words; unique.
  const char* drives;                      ///< Functions of the library, separated by blanks.
  VakScene (*makeScene)(VakStage& stage);  ///< Sets up.
  VakStageKind stage = VakStageKind::Plain;
};

/// The operations of one subsystem.
struct VakFaultGroup {
  const char* name;  ///< In words.
  std::vector<VakFaultOperation> operations;
};

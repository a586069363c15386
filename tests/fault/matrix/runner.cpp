#include "tests/fault/matrix/runner.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <optional>

#include "tests/fault/matrix/foreign_code.h"
#include "tests/fault/matrix/pool_gate.h"
#include "tests/fault/matrix/prescribed_leaks.h"
#include "tests/support/failing_new.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/algorithm.h"

// The leak sanitizer's switches, where there is one.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

namespace {

// The runner counts every block of the heap itself and compares with what is prescribed to stay, so
// the leak sanitizer does not look at what is obtained meanwhile.
class LeaksAreCountedHere {
 public:
  LeaksAreCountedHere() {
    if (__lsan_disable != nullptr) __lsan_disable();
  }
  LeaksAreCountedHere(const LeaksAreCountedHere&) = delete;
  LeaksAreCountedHere& operator=(const LeaksAreCountedHere&) = delete;
  ~LeaksAreCountedHere() {
    if (__lsan_enable != nullptr) __lsan_enable();
  }
};

// Which request fails, and whether those after it fail too.
struct Point {
  VakFaultKind kind;
  long failAt;
  VakFailureSpan span;
};

const char* nameOf(VakFaultKind kind) {
  switch (kind) {
    case VakFaultKind::Heap:
      return "heap allocation";
    case VakFaultKind::Pool:
      return "pool allocation";
    default:
      return "callback";
  }
}

// The attempt under way, for a program that breaks down within it.
const VakFaultOperation* _operation = nullptr;
Point _point{};

[[noreturn]] void reportBreakdown() {
  if (_operation != nullptr) {
    std::fprintf(stderr, "terminate in \"%s\" at %s %ld%s\n", _operation->name, nameOf(_point.kind),
                 _point.failAt, _point.span == VakFailureSpan::Once ? "" : " and all that follow");
  }
  std::abort();
}

// What came out of one run of the operation.
struct Run {
  std::exception_ptr thrown;
  bool isReached = false;
};

template <class Faults>
Run runWith(Faults& faults, const Point& point, const std::function<void()>& act) {
  Run run;
  try {
    act();
  } catch (...) {
    run.thrown = std::current_exception();
  }
  run.isReached = point.failAt != 0 && faults.count() >= point.failAt;
  return run;
}

Run runAt(const Point& point, const VakStage& stage, VakStageKind kind,
          const std::function<void()>& act) {
  if (point.kind == VakFaultKind::Heap) {
    const bool isForeign = kind == VakStageKind::Foreign;
    VakFailingNew faults(point.failAt, point.span, isForeign ? VakIsForeignCode : nullptr);
    return runWith(faults, point, act);
  }
  if (point.kind == VakFaultKind::Callback) {
    VakFailingCallback faults(point.failAt);
    return runWith(faults, point, act);
  }
  std::vector<VakEnvI*> starved;
  if (kind != VakStageKind::Unstarved) starved = stage.environments();
  VakPoolGate faults(point.failAt, point.span, starved);
  return runWith(faults, point, act);
}

std::string describe(const std::exception_ptr& thrown) {
  try {
    std::rethrow_exception(thrown);
  } catch (const std::exception& e) {
    return e.what();
  } catch (const VakUserFailure&) {
    return "what a callback threw";
  } catch (...) {
    return "an unknown exception";
  }
}

// A refusal owns an array in the environment; whoever handles it gives that back.
void handle(const std::exception_ptr& thrown) {
  try {
    std::rethrow_exception(thrown);
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    refusal.end();
  } catch (...) {
  }
}

bool isExpected(const std::exception_ptr& thrown, VakFaultKind kind) {
  if (kind == VakFaultKind::Callback) return VakIsException<VakUserFailure>(thrown);
  return VakIsException<std::bad_alloc>(thrown) || VakIsException<VakMemoryException>(thrown);
}

std::string runPlainly(const char* what, const std::function<void()>& step) {
  if (!step) return "";
  try {
    step();
  } catch (...) {
    return std::string(what) + " threw " + describe(std::current_exception());
  }
  return "";
}

// One attempt on a stage of its own.
class Attempt {
 public:
  Attempt(const VakFaultOperation& operation, const Point& point)
      : _operation(operation),
        _point(point),
        _stage(operation.stage),
        _scene(operation.makeScene(_stage)) {}

  // Runs the operation, and after a failure whatever has to hold and work then. `usageAtEnd` is
  // what is in use when nothing fails; null when that is to be found out.
  void run(const VakInt* usageAtEnd) {
    const VakInt before = _stage.getUsage();
    const Run run = runAt(_point, _stage, _operation.stage, _scene.act);
    isReached = run.isReached;
    const bool isFailure = run.isReached && run.thrown != nullptr;
    judge(run);
    if (run.thrown != nullptr) handle(run.thrown);
    if (run.isReached) recover();
    if (isFailure) checkFailure(before);
    if (run.thrown != nullptr) runAnew();
    note(_stage.check());
    if (_scene.afterSuccess) note(_scene.afterSuccess());
    note(runPlainly("taking it back", _scene.undo));
    note(_stage.check());
    usage = _stage.getUsage();
    if (usageAtEnd != nullptr && !isPrescribed(usage - *usageAtEnd)) {
      note(std::to_string(usage - *usageAtEnd) +
           " bytes more are in use in the end than when nothing fails");
    }
  }

  [[nodiscard]] long processKeeps() const { return _scene.processKeeps; }

  bool isReached = false;
  VakInt usage = 0;                   // In use in the end.
  VakInt lost = 0;                    // Bytes of memory in use that were lost as prescribed.
  std::optional<std::string> defect;  // The first one.

 private:
  void note(const std::string& text) {
    if (!text.empty() && !defect) defect = text;
  }
  void judge(const Run& run) {
    if (run.thrown == nullptr) {
      const bool isPardoned = _scene.mayAbsorb && _scene.mayAbsorb->kind == _point.kind;
      if (run.isReached && !isPardoned) note("the failure was absorbed");
      return;
    }
    if (!run.isReached) {
      note("the operation threw " + describe(run.thrown) + " though nothing failed");
    } else if (!isExpected(run.thrown, _point.kind)) {
      note("the operation threw " + describe(run.thrown));
    }
  }
  // The operation itself once more, with whatever has to be done before and after it.
  void runAnew() {
    note(runPlainly("preparing the operation anew", _scene.prepare));
    note(runPlainly("the operation", _scene.act));
    note(runPlainly("completing the operation", _scene.complete));
  }
  // Whether it is nothing or a prescribed leak that so many bytes more than before are in use.
  bool isPrescribed(VakInt bytes) {
    if (bytes == 0) return true;
    const VakPrescribedLeak* leak = VakFindPrescribedLeak(_operation.name, _point.kind);
    if (leak == nullptr || bytes < 0 || bytes > leak->mostBytes) return false;
    lost = std::max(lost, bytes);
    return true;
  }
  // A removal that was broken off is given up before anything else is asked for.
  void recover() {
    for (VakEnvI* env : _stage.environments()) {
      note(runPlainly("giving up the removal", [env] { env->abandonRemoval(); }));
    }
  }
  void checkFailure(VakInt before) {
    note(_stage.check());
    if (_scene.afterFailure) note(_scene.afterFailure());
    const VakInt left = _stage.getUsage() - before;
    if (_scene.mayKeep == nullptr && !isPrescribed(left)) {
      note("the failure left " + std::to_string(left) + " bytes in use");
    }
  }

  const VakFaultOperation& _operation;
  Point _point;
  VakStage _stage;
  VakScene _scene;
};

// One attempt from the heap's point of view.
struct Result {
  bool isReached = false;
  bool isLeaking = false;  // As prescribed.
  VakInt usage = 0;
  std::string defect;
};

// Whether it is nothing or a prescribed leak that so many heap blocks are left.
bool isPrescribed(const VakFaultOperation& operation, VakFaultKind kind, long blocks) {
  if (blocks == 0) return true;
  const VakPrescribedLeak* leak = VakFindPrescribedLeak(operation.name, kind);
  return leak != nullptr && blocks > 0 && blocks <= leak->mostBlocks;
}

Result attempt(const VakFaultOperation& operation, const Point& point, const VakInt* usageAtEnd) {
  _operation = &operation;
  _point = point;
  Result result;
  long blocks = VakFailingNew::CountBlocks();
  {
    Attempt one(operation, point);
    one.run(usageAtEnd);
    result.isReached = one.isReached;
    result.usage = one.usage;
    result.isLeaking = one.lost > 0;
    blocks += one.processKeeps();
    if (one.defect) result.defect = *one.defect;
  }
  const long left = VakFailingNew::CountBlocks() - blocks;
  if (left != 0) result.isLeaking = true;
  if (result.defect.empty() && !isPrescribed(operation, point.kind, left)) {
    result.defect = std::to_string(left) + " heap blocks are left when all has ended";
  }
  _operation = nullptr;
  return result;
}

std::string describe(const Point& point, const std::string& defect) {
  return std::string(nameOf(point.kind)) + " " + std::to_string(point.failAt) +
         (point.span == VakFailureSpan::Once ? ": " : " and all that follow: ") + defect;
}

}  // namespace

VakFaultRow VakDriveFaults(const VakFaultOperation& operation) {
  std::set_terminate(reportBreakdown);
  const LeaksAreCountedHere counted;
  VakFaultRow row;
  // The first run makes what the process keeps; the second one is the measure.
  static_cast<void>(attempt(operation, {VakFaultKind::Heap, 0, VakFailureSpan::Once}, nullptr));
  for (const VakFaultKind kind : VakFaultKinds) {
    const Point none{kind, 0, VakFailureSpan::Once};
    const Result measure = attempt(operation, none, nullptr);
    if (!measure.defect.empty()) row.defects.push_back(describe(none, measure.defect));
    VakFaultCount& count = row.counts[static_cast<std::size_t>(kind)];
    bool isLeaking = false;
    for (long failAt = 1;; ++failAt) {
      Point point{kind, failAt, VakFailureSpan::Once};
      Result result = attempt(operation, point, &measure.usage);
      if (!result.isReached) break;
      isLeaking |= result.isLeaking;
      if (result.defect.empty() && kind != VakFaultKind::Callback) {
        point.span = VakFailureSpan::FromThenOn;
        result = attempt(operation, point, &measure.usage);
        isLeaking |= result.isLeaking;
      }
      ++count.tried;
      if (result.defect.empty()) {
        ++count.survived;
      } else {
        row.defects.push_back(describe(point, result.defect));
      }
    }
    if (!isLeaking && VakFindPrescribedLeak(operation.name, kind) != nullptr) {
      row.defects.push_back(std::string(nameOf(kind)) + ": the prescribed leak does not occur");
    }
  }
  return row;
}

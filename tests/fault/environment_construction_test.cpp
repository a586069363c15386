// The creation of an environment while memory runs out, for every allocation that it makes.

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/failing_new.h"
#include "tests/support/heap_log.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/env.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/memory/tarn_alloc.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/clone_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakenv/types/exceptions.h"

namespace {

// Too large for the stack, and made before anything is counted.
VakHeapLog* newLog() { return new VakHeapLog; }

// The blocks, by their rank in the order of obtaining, that make up the service objects on the
// general heap, step by step. Everything else that a construction takes goes with the pool.
using Steps = std::vector<std::vector<long>>;

Steps observeConstruction() {
  const std::unique_ptr<VakHeapLog> log(newLog());
  VakEnv env;
  const VakEnvI* impl = env.getImpl();
  Steps steps = {
      {log->obtainedAt(impl->_allocator)},
      {log->obtainedAt(impl->_cloneManager)},
      {log->obtainedAt(impl->_destroyables), log->obtainedAt(impl->_destroyables->table._buckets)},
      {log->obtainedAt(impl->_idManager)},
      {log->obtainedAt(impl->_plugInManager)},
      {log->obtainedAt(impl->_termAllocator)}};
  if (impl->_termAllocator->_list != nullptr) {
    steps.push_back({log->obtainedAt(impl->_termAllocator->_list)});
  }
  EXPECT_FALSE(log->isFull());
  env.end();
  return steps;
}

// What stays unreleased when the allocation of this rank fails: the objects of the steps before the
// one that failed.
std::vector<long> allowedLeak(const Steps& steps, long failAt) {
  std::vector<long> leak;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const bool isOver =
        i + 1 < steps.size() ? steps[i + 1].front() <= failAt : steps[i].back() < failAt;
    const bool isDone = isOver || steps[i].back() < failAt;
    if (!isDone) break;
    leak.insert(leak.end(), steps[i].begin(), steps[i].end());
  }
  return leak;
}

std::string messageOf(const std::exception_ptr& thrown) {
  try {
    std::rethrow_exception(thrown);
  } catch (const VakMemoryException& exception) {
    return exception.getMessage();
  } catch (...) {
    return "another exception";
  }
}

// One construction with the k-th allocation failing. True when it failed.
bool failsAt(const Steps& steps, long failAt) {
  const std::unique_ptr<VakHeapLog> log(newLog());
  std::exception_ptr thrown;
  VakEnv env(static_cast<VakEnvI*>(nullptr));
  {
    const VakFailingNew failing(failAt);
    try {
      env = VakEnv();
    } catch (...) {
      thrown = std::current_exception();
    }
  }
  if (!thrown) {
    env.end();
    return false;
  }
  EXPECT_EQ(messageOf(thrown), "not enough memory") << failAt;
  std::vector<long> leak;
  const std::size_t taken = log->count;
  for (std::size_t i = 0; i < taken; ++i) {
    if (log->entries[i].givenBackAt != 0) continue;
    leak.push_back(static_cast<long>(i) + 1);
    ::operator delete(log->entries[i].start);
  }
  EXPECT_EQ(leak, allowedLeak(steps, failAt)) << failAt;
  EXPECT_FALSE(log->isFull());
  return true;
}

void failEveryAllocation() {
  const Steps steps = observeConstruction();
  const long blocks = VakFailingNew::CountBlocks();
  long failures = 0;
  while (failsAt(steps, failures + 1)) ++failures;
  EXPECT_GE(failures, steps.back().back());
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

TEST(EnvironmentConstruction, ThrowsAMemoryExceptionForEveryFailingAllocationWithPooledMemory) {
  VakUsePooledMemory();
  failEveryAllocation();
}

TEST(EnvironmentConstruction, ThrowsAMemoryExceptionForEveryFailingAllocationWithoutPooledMemory) {
  VakUseUnpooledMemory();
  failEveryAllocation();
}

TEST(EnvironmentConstruction, WorksAgainWhenThereIsMemoryAgain) {
  const Steps steps = observeConstruction();
  EXPECT_TRUE(failsAt(steps, 1));
  VakEnv env;
  EXPECT_GT(env.getTotalMemoryUsage(), 0);
  env.end();
}

}  // namespace

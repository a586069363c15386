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

// One step of a construction that leaves service objects on the general heap. Everything else that
// a construction takes goes with the pool. Allocations are numbered in their order.
struct Step {
  std::vector<long> blocks;  // The allocations of the service objects.
  long last;                 // The last allocation of the step.
};

std::vector<Step> observeConstruction() {
  const std::unique_ptr<VakHeapLog> log(newLog());
  VakEnv env;
  const VakEnvI* impl = env.getImpl();
  const long allocator = log->obtainedAt(impl->_allocator);
  const long cloneManager = log->obtainedAt(impl->_cloneManager);
  const long destroyables = log->obtainedAt(impl->_destroyables);
  const long buckets = log->obtainedAt(impl->_destroyables->table._buckets);
  const long idManager = log->obtainedAt(impl->_idManager);
  const long plugInManager = log->obtainedAt(impl->_plugInManager);
  const long termAllocator = log->obtainedAt(impl->_termAllocator);
  // The clone manager and the identifier manager take memory of the environment as well.
  std::vector<Step> steps = {{{allocator}, allocator},           {{cloneManager}, destroyables - 1},
                             {{destroyables, buckets}, buckets}, {{idManager}, plugInManager - 1},
                             {{plugInManager}, plugInManager},   {{termAllocator}, termAllocator}};
  if (impl->_termAllocator->_list != nullptr) {
    const long list = log->obtainedAt(impl->_termAllocator->_list);
    steps.push_back({{list}, list});
  }
  EXPECT_FALSE(log->isFull());
  env.end();
  return steps;
}

// What stays unreleased when this allocation fails: the objects of the steps that were over.
std::vector<long> allowedLeak(const std::vector<Step>& steps, long failAt) {
  std::vector<long> leak;
  for (const Step& step : steps) {
    if (step.last < failAt) leak.insert(leak.end(), step.blocks.begin(), step.blocks.end());
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
bool failsAt(const std::vector<Step>& steps, long failAt) {
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
  const std::vector<Step> steps = observeConstruction();
  const long blocks = VakFailingNew::CountBlocks();
  long failures = 0;
  while (failsAt(steps, failures + 1)) ++failures;
  EXPECT_GE(failures, steps.back().last);
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
  const std::vector<Step> steps = observeConstruction();
  EXPECT_TRUE(failsAt(steps, 1));
  VakEnv env;
  EXPECT_GT(env.getTotalMemoryUsage(), 0);
  env.end();
}

}  // namespace

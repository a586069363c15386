// The timer of processor time. Tests that need time to pass use it up in a loop; none measures how
// long anything takes.

#include "vakenv/utilities/timer.h"

#include <gtest/gtest.h>
#include <sys/times.h>

#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vaksupport/stack_gen_alloc.h"

namespace {

// Works until the clock of processor time has moved on by `seconds`.
void work(double seconds) {
  const double from = VakTimer::getCPUtime();
  volatile double sum = 0.0;
  while (VakTimer::getCPUtime() < from + seconds) {
    for (int i = 0; i < 10000; ++i) sum = sum + 1.0 / (i + 1);
  }
}

VakTimer newTimer() { return VakTimer(VakMemoryManager()); }

TEST(Timer, BeginsStoppedWithNothingAccumulated) {
  const VakTimer timer = newTimer();
  EXPECT_EQ(timer._memoryManager, nullptr);
  EXPECT_EQ(timer._accumulated, 0.0);
  EXPECT_EQ(timer._startTime, -1.0);
  EXPECT_EQ(timer._running, 0);
}

TEST(Timer, ReturnsZeroFromTheFirstStop) {
  VakTimer timer = newTimer();
  EXPECT_EQ(timer.stop(), 0.0);
  EXPECT_EQ(timer._running, 0);
  EXPECT_EQ(timer._startTime, -1.0);
}

TEST(Timer, ReturnsZeroFromTheFirstStart) {
  VakTimer timer = newTimer();
  EXPECT_EQ(timer.start(), 0.0);
  EXPECT_EQ(timer._running, 1);
}

TEST(Timer, CountsFromTheTimeOfItsStart) {
  VakTimer timer = newTimer();
  const double before = VakTimer::getCPUtime();
  timer.start();
  EXPECT_GE(timer._startTime, before);
  EXPECT_LE(timer._startTime, VakTimer::getCPUtime());
}

TEST(Timer, AccumulatesItsIntervals) {
  VakTimer timer = newTimer();
  timer.start();
  work(0.03);
  const double first = timer.stop();
  EXPECT_GE(first, 0.03 - 1e-9);
  work(0.02);
  EXPECT_EQ(timer.start(), first);
  work(0.02);
  const double both = timer.stop();
  EXPECT_GE(both, first + 0.02 - 1e-9);
  EXPECT_EQ(timer._accumulated, both);
}

TEST(Timer, DoesNotCountBetweenItsIntervals) {
  VakTimer timer = newTimer();
  timer._accumulated = 5.0;
  work(0.03);
  EXPECT_EQ(timer.stop(), 5.0);
  EXPECT_EQ(timer.getTime(), 5.0);
}

TEST(Timer, GoesOnCountingWhenItIsStartedAgain) {
  VakTimer timer = newTimer();
  timer.start();
  const double begun = timer._startTime;
  work(0.03);
  EXPECT_GE(timer.start(), 0.03 - 1e-9);
  EXPECT_EQ(timer._startTime, begun);
  EXPECT_EQ(timer._accumulated, 0.0);
  EXPECT_EQ(timer._running, 1);
  work(0.02);
  EXPECT_GE(timer.stop(), 0.05 - 1e-9);
}

TEST(Timer, AddsTheOpenIntervalToWhatItReturnsFromASecondStart) {
  VakTimer timer = newTimer();
  timer._accumulated = 5.0;
  timer.start();
  work(0.02);
  EXPECT_GE(timer.start(), 5.02 - 1e-9);
}

TEST(Timer, KeepsItsStartTimeAfterItStopped) {
  VakTimer timer = newTimer();
  timer.start();
  const double begun = timer._startTime;
  timer.stop();
  EXPECT_EQ(timer._startTime, begun);
  EXPECT_EQ(timer._running, 0);
}

TEST(Timer, TellsTheTimeWithoutChangingAnything) {
  VakTimer timer = newTimer();
  timer.start();
  const double begun = timer._startTime;
  work(0.02);
  EXPECT_GE(timer.getTime(), 0.02 - 1e-9);
  EXPECT_EQ(timer._startTime, begun);
  EXPECT_EQ(timer._accumulated, 0.0);
  EXPECT_EQ(timer._running, 1);
}

TEST(Timer, ConvertsTicksOfUserAndSystemTimeWithItsTwoConstants) {
  tms before{};
  tms after{};
  double seconds = 0.0;
  do {
    times(&before);
    seconds = VakTimer::getCPUtime();
    times(&after);
  } while (before.tms_utime != after.tms_utime || before.tms_stime != after.tms_stime);
  const double ticks =
      static_cast<double>(before.tms_utime) + static_cast<double>(before.tms_stime);
  EXPECT_EQ(seconds, ticks / 1000000.0 * 10000.0);
}

TEST(Timer, NeverRunsBackwards) {
  double last = VakTimer::getCPUtime();
  for (int i = 0; i < 1000; ++i) {
    const double now = VakTimer::getCPUtime();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST(Timer, HoldsItsMemoryManagerAndFindsItsEnvironment) {
  const VakScopedEnv env;
  const VakTimer byManager(env.env.getMemoryManager());
  const VakTimer byEnv(env.env);
  EXPECT_EQ(byManager.getMemoryManager().getImpl(), env.allocator());
  EXPECT_EQ(byEnv.getMemoryManager().getImpl(), env.allocator());
  EXPECT_TRUE(byManager.getEnv() == env.env);
  EXPECT_TRUE(byEnv.getEnv() == env.env);
}

TEST(Timer, OfAnEmptyEnvironmentHasNoMemoryManager) {
  const VakTimer timer(VakEnv(static_cast<VakEnvI*>(nullptr)));
  EXPECT_EQ(timer.getMemoryManager().getImpl(), nullptr);
}

TEST(Timer, WithoutAnEnvironmentThrowsWhenAskedForIt) {
  VakAllocationStack stack;
  VakStackGenAlloc allocator(&stack, nullptr);
  for (const VakTimer& timer : {newTimer(), VakTimer(VakMemoryManager(&allocator))}) {
    try {
      static_cast<void>(timer.getEnv());
      FAIL() << "nothing was thrown";
    } catch (const VakEnv::IncompatibleMemoryManagerException& exception) {
      EXPECT_STREQ(exception.getMessage(), "Incompatible memory manager");
    }
  }
}

}  // namespace

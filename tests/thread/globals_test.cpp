#include "vakbase/globals.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

namespace {

TEST(VakInitGlobals, MayBeCalledFromSeveralThreadsAtOnce) {
  std::array<VakInt, 4> results{};
  std::array<std::thread, 4> threads;
  for (std::size_t i = 0; i < threads.size(); ++i) {
    threads[i] = std::thread([&result = results[i], i] {
      VakInitGlobals();
      result = VakTrunc(static_cast<VakNum>(i) + 0.5);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(results, (std::array<VakInt, 4>{0, 1, 2, 3}));
}

}  // namespace

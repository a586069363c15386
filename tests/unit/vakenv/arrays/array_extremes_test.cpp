// Sizes at the end of what integers hold.
#include <climits>

#include "tests/unit/vakenv/arrays/array_test_tools.h"
namespace {
class SmallestSizeTest : public VakArrayEnvTest {};
TEST_F(SmallestSizeTest, TheSmallestIntegerIsKeptAsASize) {
  VakIntArray a(env, LONG_MIN);
  EXPECT_EQ(a.getSize(), LONG_MIN);
  a.add(3);
  EXPECT_EQ(a.getSize(), LONG_MIN + 1);
}
TEST_F(SmallestSizeTest, AnArrayOfTheSmallestSizeTakesAnotherOne) {
  VakIntArray a(env, -1);
  a.getImpl()->_size = LONG_MIN;
  a.append(VakIntArray(env, 3, 1, 2, 3));
  EXPECT_EQ(a.getSize(), LONG_MIN + 3);
}
TEST_F(SmallestSizeTest, RemovingFromANegativeSizeBeyondEverythingThrows) {
  VakIntArray a(env, -2);
  EXPECT_THROW(a.remove(LONG_MAX, 1), VakArrayError);
}
}  // namespace

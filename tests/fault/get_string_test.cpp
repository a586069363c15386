// The capture of a stream's text while memory runs out.

#include "vakenv/utilities/get_string.h"

#include <gtest/gtest.h>

#include <exception>
#include <new>
#include <sstream>
#include <string>

#include "tests/support/failing_new.h"
#include "vakenv/types/exceptions.h"

namespace {

// What is thrown when the allocation of this number fails.
std::exception_ptr thrownAt(long failAt, std::ostringstream& stream) {
  const VakFailingNew failing(failAt);
  try {
    delete[] VakGetString(stream);
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

TEST(GetStringOutOfMemory, ThrowsAMemoryExceptionForItsOwnArray) {
  std::ostringstream stream;
  stream << "short";
  const std::exception_ptr thrown = thrownAt(1, stream);
  ASSERT_TRUE(VakIsException<VakMemoryException>(thrown));
  try {
    std::rethrow_exception(thrown);
  } catch (const VakException& exception) {
    EXPECT_STREQ(exception.getMessage(), "not enough memory");
  }
}

TEST(GetStringOutOfMemory, PassesTheFailureOfTheStreamsCopyOn) {
  std::ostringstream stream;
  stream << std::string(1000, 'x');
  const long blocks = VakFailingNew::CountBlocks();
  EXPECT_TRUE(VakIsException<std::bad_alloc>(thrownAt(1, stream)));
  EXPECT_TRUE(VakIsException<VakMemoryException>(thrownAt(2, stream)));
  EXPECT_FALSE(thrownAt(3, stream));
  EXPECT_EQ(VakFailingNew::CountBlocks(), blocks);
}

TEST(GetStringOutOfMemory, LeavesTheStreamAsItIs) {
  std::ostringstream stream;
  stream << "short";
  EXPECT_TRUE(thrownAt(1, stream));
  EXPECT_EQ(stream.str(), "short");
}

}  // namespace

#include "vakbase/exception.h"

#include <gtest/gtest.h>

#include <cstring>
#include <exception>
#include <sstream>
#include <string>
#include <type_traits>

namespace {

std::string printed(const VakException& exception) {
  std::ostringstream out;
  exception.print(out);
  EXPECT_TRUE(out.good());
  return out.str();
}

// A message as an exception may own it.
char* ownedText(const char* text) {
  char* copy = new char[std::strlen(text) + 1];
  std::strcpy(copy, text);
  return copy;
}

TEST(VakException, HoldsItsMessageAsThePointerThatWasGiven) {
  const char message[] = "out of paper";
  const VakException exception(message, 0);
  EXPECT_EQ(exception.getMessage(), message);
}

TEST(VakException, PrintsItsMessageAndNothingElse) {
  EXPECT_EQ(printed(VakException("out of paper", 0)), "out of paper");
  EXPECT_EQ(printed(VakException("", 0)), "");
}

TEST(VakException, GivesItsMessageAsWhat) {
  EXPECT_STREQ(VakException("out of paper", 0).what(), "out of paper");
}

TEST(VakException, PrintsNothingForANullMessageAndLeavesTheStreamGood) {
  const VakException exception(nullptr, 0);
  EXPECT_EQ(printed(exception), "");
  EXPECT_EQ(exception.getMessage(), nullptr);
}

TEST(VakException, GivesTheEmptyTextAsWhatForANullMessage) {
  EXPECT_STREQ(VakException(nullptr, 0).what(), "");
}

TEST(VakException, IsCaughtAsVakExceptionByReference) {
  try {
    throw VakWrongUsage("turned the wrong way");
  } catch (VakException& exception) {
    EXPECT_STREQ(exception.getMessage(), "turned the wrong way");
    EXPECT_EQ(printed(exception), "turned the wrong way");
    return;
  }
  FAIL() << "not caught";
}

TEST(VakException, IsCaughtAsStandardExceptionByReference) {
  try {
    throw VakWrongUsage("turned the wrong way");
  } catch (std::exception& exception) {
    EXPECT_STREQ(exception.what(), "turned the wrong way");
    EXPECT_NE(dynamic_cast<VakWrongUsage*>(&exception), nullptr);
    return;
  }
  FAIL() << "not caught";
}

TEST(VakException, CopiesHoldTheSameMessage) {
  const char message[] = "out of paper";
  const VakException original(message, 0);
  const VakException copy(original);
  VakException assigned(nullptr, 0);
  assigned = original;
  EXPECT_EQ(copy.getMessage(), message);
  EXPECT_EQ(assigned.getMessage(), message);
}

TEST(VakException, EndLeavesAMessageThatIsNotOwned) {
  VakException exception("out of paper", 0);
  exception.end();
  exception.end();
  EXPECT_STREQ(exception.getMessage(), "out of paper");
}

TEST(VakException, EndReleasesAnOwnedMessageOnce) {
  VakException exception(ownedText("out of ink"), 1);
  EXPECT_EQ(printed(exception), "out of ink");
  exception.end();
  EXPECT_EQ(exception.getMessage(), nullptr);
  EXPECT_EQ(printed(exception), "");
  exception.end();
}

TEST(VakException, EveryFlagOtherThanZeroMakesTheMessageOwned) {
  VakException exception(ownedText("out of ink"), -7);
  exception.end();
  EXPECT_EQ(exception.getMessage(), nullptr);
}

TEST(VakException, DestructorLeavesAnOwnedMessage) {
  char* message = ownedText("out of ink");
  { const VakException exception(message, 1); }
  EXPECT_STREQ(message, "out of ink");
  delete[] message;
}

TEST(VakException, HoldsItsMessageAndFlagBehindTheFirstVirtualTable) {
  EXPECT_TRUE((std::is_base_of_v<std::exception, VakException>));
  EXPECT_EQ(sizeof(VakException), 4 * sizeof(void*));
  EXPECT_EQ(sizeof(VakWrongUsage), sizeof(VakException));
  const VakException exception("out of paper", 0);
  const void* whole = &exception;
  EXPECT_EQ(static_cast<const void*>(static_cast<const VakExceptionBase*>(&exception)), whole);
  EXPECT_NE(static_cast<const void*>(static_cast<const std::exception*>(&exception)), whole);
}

// The number of a virtual function, read from a pointer to it: such a pointer holds one more than
// the byte offset of the function in the virtual table.
template <class Member>
long slotOf(Member member) {
  long word = 0;
  std::memcpy(&word, &member, sizeof(word));
  return (word - 1) / static_cast<long>(sizeof(void*));
}

TEST(VakException, VirtualFunctionsFollowTheDestructorPairInTheirOrder) {
  EXPECT_EQ(slotOf(&VakException::getMessage), 2);
  EXPECT_EQ(slotOf(&VakException::print), 3);
  EXPECT_EQ(slotOf(&VakException::end), 4);
}

TEST(VakWrongUsage, HoldsItsMessage) {
  const VakWrongUsage exception("turned the wrong way");
  EXPECT_STREQ(exception.getMessage(), "turned the wrong way");
  EXPECT_STREQ(exception.what(), "turned the wrong way");
}

TEST(VakWrongUsage, EndIsHarmless) {
  VakWrongUsage exception("turned the wrong way");
  exception.end();
  EXPECT_STREQ(exception.getMessage(), "turned the wrong way");
}

TEST(VakWrongUsage, CopiesHoldTheSameMessage) {
  const VakWrongUsage first("turned the wrong way");
  const VakWrongUsage copy(first);
  VakWrongUsage assigned("pushed too hard");
  assigned = copy;
  EXPECT_STREQ(copy.what(), "turned the wrong way");
  EXPECT_STREQ(assigned.what(), "turned the wrong way");
}

}  // namespace

#include "vakenv/types/exceptions.h"

#include <gtest/gtest.h>

#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>

#include "vakenv/memory/env.h"

namespace {

std::string printed(const VakException& exception) {
  std::ostringstream out;
  exception.print(out);
  return out.str();
}

// What a program sees of a thrown exception, whichever of its bases it catches.
template <class Exception>
void expectThrownAs(const Exception& exception, const std::string& message) {
  try {
    throw exception;
  } catch (const Exception& caught) {
    EXPECT_EQ(message, caught.getMessage());
    EXPECT_EQ(printed(caught), message);
  }
  try {
    throw exception;
  } catch (const VakException& caught) {
    EXPECT_EQ(message, caught.getMessage());
    EXPECT_EQ(printed(caught), message);
  }
  try {
    throw exception;
  } catch (const std::exception& caught) {
    EXPECT_EQ(message, caught.what());
  }
}

template <class Exception>
void expectKeepsPointer() {
  const char message[] = "a text of the caller";
  Exception exception(message);
  EXPECT_EQ(exception.getMessage(), message);
  EXPECT_EQ(Exception(exception).getMessage(), message);
}

TEST(Exceptions, SayTheirDefaultMessages) {
  expectThrownAs(VakMemoryException(), "not enough memory");
  expectThrownAs(VakEmptyHandleException(), "Using empty handle.");
  expectThrownAs(VakNotImplemented(), "Feature Not Implemented.");
  expectThrownAs(VakNotSupportedOperation(), "Operation Not Supported.");
  expectThrownAs(VakBadConversion(),
                 "Bad Conversion between an integer object and a numeric object.");
  expectThrownAs(VakEnvironmentMismatch(), "Environment mismatch");
}

TEST(Exceptions, SayTheMessageThatWasGiven) {
  expectThrownAs(VakEmptyHandleException("VakEnv: Using empty handle"),
                 "VakEnv: Using empty handle");
  expectThrownAs(VakNotImplemented("no cuts"), "no cuts");
  expectThrownAs(VakNotSupportedOperation("no undo"), "no undo");
  expectThrownAs(VakBadConversion("not whole"), "not whole");
  expectThrownAs(VakEnvironmentMismatch("two worlds"), "two worlds");
}

TEST(Exceptions, KeepTheMessageAsThePointerThatWasGiven) {
  expectKeepsPointer<VakEmptyHandleException>();
  expectKeepsPointer<VakNotImplemented>();
  expectKeepsPointer<VakNotSupportedOperation>();
  expectKeepsPointer<VakBadConversion>();
  expectKeepsPointer<VakEnvironmentMismatch>();
}

TEST(Exceptions, PrintNothingForANullMessage) {
  EXPECT_EQ(printed(VakEmptyHandleException(nullptr)), "");
  EXPECT_EQ(VakEmptyHandleException(nullptr).getMessage(), nullptr);
}

TEST(Exceptions, StayAsTheyAreWhenEnded) {
  VakMemoryException exception;
  exception.end();
  exception.end();
  EXPECT_STREQ(exception.getMessage(), "not enough memory");
}

TEST(Exceptions, OfTheEnvironmentSayTheirFixedMessages) {
  expectThrownAs(VakEnv::AbortException(), "VakEnv has been requested to abort.");
  expectThrownAs(VakEnv::IncompatibleMemoryManagerException(), "Incompatible memory manager");
}

TEST(Exceptions, WithAFixedMessageTakeNoOther) {
  EXPECT_FALSE((std::is_constructible_v<VakMemoryException, const char*>));
  EXPECT_FALSE((std::is_constructible_v<VakEnv::AbortException, const char*>));
  EXPECT_FALSE((std::is_constructible_v<VakEnv::IncompatibleMemoryManagerException, const char*>));
}

TEST(Exceptions, AreNotMadeFromATextBySurprise) {
  EXPECT_FALSE((std::is_convertible_v<const char*, VakEmptyHandleException>));
  EXPECT_FALSE((std::is_convertible_v<const char*, VakNotImplemented>));
  EXPECT_FALSE((std::is_convertible_v<const char*, VakNotSupportedOperation>));
  EXPECT_FALSE((std::is_convertible_v<const char*, VakBadConversion>));
  EXPECT_FALSE((std::is_convertible_v<const char*, VakEnvironmentMismatch>));
}

TEST(Exceptions, AddNoDataToTheirBase) {
  EXPECT_EQ(sizeof(VakMemoryException), sizeof(VakException));
  EXPECT_EQ(sizeof(VakEmptyHandleException), sizeof(VakException));
  EXPECT_EQ(sizeof(VakNotImplemented), sizeof(VakException));
  EXPECT_EQ(sizeof(VakNotSupportedOperation), sizeof(VakException));
  EXPECT_EQ(sizeof(VakBadConversion), sizeof(VakException));
  EXPECT_EQ(sizeof(VakEnvironmentMismatch), sizeof(VakException));
  EXPECT_EQ(sizeof(VakEnv::AbortException), sizeof(VakException));
  EXPECT_EQ(sizeof(VakEnv::IncompatibleMemoryManagerException), sizeof(VakException));
}

// A program that handles exhaustion of the heap keeps the two kinds of failure apart.
TEST(Exceptions, OfMemoryAreNotBadAlloc) {
  EXPECT_FALSE((std::is_base_of_v<std::bad_alloc, VakMemoryException>));
}

}  // namespace

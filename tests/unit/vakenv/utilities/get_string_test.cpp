#include "vakenv/utilities/get_string.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>

namespace {

using Text = std::unique_ptr<char[]>;

TEST(GetString, HoldsTheGatheredText) {
  std::ostringstream stream;
  stream << "x" << 1 << " + " << 2.5;
  const Text text(VakGetString(stream));
  EXPECT_STREQ(text.get(), "x1 + 2.5");
}

TEST(GetString, OfAnEmptyStreamHoldsTheTerminatorOnly) {
  std::ostringstream stream;
  const Text text(VakGetString(stream));
  EXPECT_EQ(text[0], '\0');
}

TEST(GetString, LeavesTheStreamAsItIs) {
  std::ostringstream stream;
  stream << "model";
  const Text first(VakGetString(stream));
  const Text second(VakGetString(stream));
  EXPECT_STREQ(first.get(), "model");
  EXPECT_STREQ(second.get(), "model");
  EXPECT_NE(first.get(), second.get());
  stream << "ling";
  EXPECT_EQ(stream.str(), "modelling");
}

TEST(GetString, CutsTheTextAtItsFirstZeroByte) {
  std::ostringstream stream;
  stream << "left" << '\0' << "right";
  const Text text(VakGetString(stream));
  EXPECT_STREQ(text.get(), "left");
}

TEST(GetString, HoldsLongTextsWhole) {
  std::ostringstream stream;
  const std::string line(100000, 'z');
  stream << line;
  const Text text(VakGetString(stream));
  EXPECT_EQ(std::string(text.get()), line);
}

TEST(GetString, TakesTheTextOfAStreamThatIsBad) {
  std::ostringstream stream;
  stream << "before";
  stream.setstate(std::ios::badbit);
  stream << "after";
  const Text text(VakGetString(stream));
  EXPECT_STREQ(text.get(), "before");
}

}  // namespace

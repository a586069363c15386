#include "vakenv/utilities/null_stream.h"

#include <gtest/gtest.h>

#include <iostream>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

namespace {

TEST(NullStream, IsUsableAtOnce) {
  VakNullStream out;
  EXPECT_TRUE(out.good());
  EXPECT_NE(out.rdbuf(), nullptr);
}

TEST(NullStream, IsBadAfterANumberAndAText) {
  VakNullStream out;
  out << 12 << " dozen";
  EXPECT_TRUE(out.bad());
}

TEST(NullStream, IsBadAfterOneCharacter) {
  VakNullStream out;
  out.put('x');
  EXPECT_TRUE(out.bad());
}

TEST(NullStream, StaysGoodWhenNoCharacterIsOffered) {
  VakNullStream out;
  out << "" << std::flush;
  EXPECT_TRUE(out.good());
}

TEST(NullStream, WritesNothingAnywhere) {
  std::ostringstream standardOutput;
  std::ostringstream standardError;
  std::streambuf* out = std::cout.rdbuf(standardOutput.rdbuf());
  std::streambuf* err = std::cerr.rdbuf(standardError.rdbuf());
  VakNullStream stream;
  stream << "lost" << 3.5 << std::endl;
  stream.clear();
  stream << "lost again" << std::flush;
  std::cout.rdbuf(out);
  std::cerr.rdbuf(err);
  EXPECT_EQ(standardOutput.str(), "");
  EXPECT_EQ(standardError.str(), "");
}

TEST(NullStream, IsUsableAgainWhenItsStateIsCleared) {
  VakNullStream out;
  out << 1;
  out.clear();
  EXPECT_TRUE(out.good());
  out << 2;
  EXPECT_TRUE(out.bad());
}

TEST(NullStream, IgnoresFormattingArgumentsWhileBad) {
  VakNullStream out;
  out << 'x';
  for (int i = 0; i < 1000; ++i) out << i << ' ' << 0.5 << '\n';
  EXPECT_TRUE(out.bad());
}

TEST(NullStream, RaisesNothingUnlessItIsAskedTo) {
  VakNullStream out;
  EXPECT_NO_THROW(out << 1);
  out.clear();
  out.exceptions(std::ios::badbit);
  EXPECT_THROW(out << 1, std::ios::failure);
}

TEST(NullStream, IsAnOutputStream) {
  EXPECT_TRUE((std::is_convertible_v<VakNullStream*, std::ostream*>));
}

TEST(NullStreamBuffer, RefusesEveryCharacterAndHasNoPutArea) {
  VakNullStream::Buf buffer;
  EXPECT_EQ(buffer.sputc('x'), std::streambuf::traits_type::eof());
  EXPECT_EQ(buffer.sputn("text", 4), 0);
  EXPECT_EQ(buffer.pubsync(), 0);
}

}  // namespace

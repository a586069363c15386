#include "apps/vak-solve/json.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace vaksolve {
namespace {

using namespace std::string_view_literals;

const std::string Wrong = "\xEF\xBF\xBD";  // The replacement character.

TEST(JsonString, EscapesQuotesBackslashesAndControlCharacters) {
  EXPECT_EQ(jsonString("plain"), R"("plain")");
  EXPECT_EQ(jsonString(R"(a"b\c)"), R"("a\"b\\c")");
  EXPECT_EQ(jsonString("\n\r\t\x01\x1f\x7f"), R"("\n\r\t\u0001\u001f\u007f")");
  EXPECT_EQ(jsonString("a\0b"sv), R"("a\u0000b")");
}

TEST(JsonString, KeepsUtf8) {
  EXPECT_EQ(jsonString("Grün € \xF0\x9F\x98\x80"), "\"Grün € \xF0\x9F\x98\x80\"");
}

TEST(JsonString, ReplacesEveryByteThatIsNoUtf8) {
  EXPECT_EQ(jsonString("a\xff z"), "\"a" + Wrong + " z\"");
  EXPECT_EQ(jsonString("\xc3"), '"' + Wrong + '"');                          // Cut off.
  EXPECT_EQ(jsonString("\xe2\x82"), '"' + Wrong + Wrong + '"');              // Cut off.
  EXPECT_EQ(jsonString("\xc0\x80"), '"' + Wrong + Wrong + '"');              // Overlong.
  EXPECT_EQ(jsonString("\xe0\x80\x80"), '"' + Wrong + Wrong + Wrong + '"');  // Overlong.
  EXPECT_EQ(jsonString("\xed\xa0\x80"), '"' + Wrong + Wrong + Wrong + '"');  // A surrogate.
  EXPECT_EQ(jsonString("\xf4\x90\x80\x80"), '"' + Wrong + Wrong + Wrong + Wrong + '"');
  EXPECT_EQ(jsonString("\x80"), '"' + Wrong + '"');
}

TEST(JsonNumber, ReadsBackAsTheSameNumber) {
  EXPECT_EQ(jsonNumber(36), "36");
  EXPECT_EQ(jsonNumber(0.1), "0.1");
  EXPECT_EQ(jsonNumber(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(jsonNumber(-1e300), "-1e+300");
  EXPECT_EQ(jsonNumber(-0.0), "0");
}

TEST(JsonNumber, WritesWhatJsonCannotSayAsTextOrNull) {
  EXPECT_EQ(jsonNumber(std::numeric_limits<double>::infinity()), R"("inf")");
  EXPECT_EQ(jsonNumber(-std::numeric_limits<double>::infinity()), R"("-inf")");
  EXPECT_EQ(jsonNumber(std::numeric_limits<double>::quiet_NaN()), "null");
}

TEST(JsonWriter, NestsObjectsAndArrays) {
  std::ostringstream out;
  JsonWriter json(out);
  json.beginObject();
  json.member("number", 1.5);
  json.member("whole", 7L);
  json.member("truth", false);
  json.member("text", "a\"b");
  json.key("nothing");
  json.null();
  json.key("list");
  json.beginArray();
  json.value(1L);
  json.beginObject();
  json.endObject();
  json.endArray();
  json.key("empty");
  json.beginArray();
  json.endArray();
  json.endObject();
  EXPECT_EQ(out.str(), R"({
  "number": 1.5,
  "whole": 7,
  "truth": false,
  "text": "a\"b",
  "nothing": null,
  "list": [
    1,
    {}
  ],
  "empty": []
}
)");
}

}  // namespace
}  // namespace vaksolve

// Texts that exceptions and calls keep for themselves.

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "tests/support/failing_new.h"
#include "vakbase/error_text.h"
#include "vakbase/exception.h"
#include "vakbase/terminated_text.h"

namespace {

TEST(ErrorText, IsACopy) {
  std::string given = "too late";
  const VakErrorText text(given);
  given = "changed!";
  EXPECT_STREQ(text.text(), "too late");
}

TEST(ErrorText, IsCutWhenItIsLong) {
  const std::string given(VakErrorText::Capacity, 'x');
  EXPECT_EQ(VakErrorText(given).text(), std::string(VakErrorText::Capacity - 1, 'x'));
  EXPECT_EQ(VakErrorText(given.substr(1)).text(), given.substr(1));
  EXPECT_STREQ(VakErrorText("").text(), "");
}

TEST(TerminatedText, EndsWhereTheViewEnds) {
  const std::string given = "variable";
  EXPECT_STREQ(VakTerminatedText(std::string_view(given).substr(0, 3)).get(), "var");
  EXPECT_STREQ(VakTerminatedText({}).get(), "");
}

TEST(TerminatedText, CopiesTextsOfEveryLength) {
  for (std::size_t length : {VakTerminatedText::ShortSize - 1, VakTerminatedText::ShortSize,
                             VakTerminatedText::ShortSize + 1, std::size_t{100000}}) {
    const std::string given(length, 'x');
    EXPECT_EQ(VakTerminatedText(given).get(), given);
  }
}

TEST(TerminatedText, TakesMemoryForLongTextsOnly) {
  const std::string shortText(VakTerminatedText::ShortSize - 1, 'x');
  const std::string longText(VakTerminatedText::ShortSize, 'x');
  const VakFailingNew counting(0);
  { const VakTerminatedText text(shortText); }
  EXPECT_EQ(counting.count(), 0);
  { const VakTerminatedText text(longText); }
  EXPECT_EQ(counting.count(), 1);
}

TEST(PrintedException, IsWhatItPrints) {
  std::ostringstream out;
  out << VakWrongUsage("do not do that") << '.' << VakException(nullptr, 0);
  EXPECT_EQ(out.str(), "do not do that.");
  EXPECT_TRUE(out.good());
}

class Loud : public VakException {
 public:
  Loud() : VakException("quiet", 0) {}
  void print(std::ostream& out) const override { out << "LOUD"; }
};

TEST(PrintedException, IsPrintedByItsOwnClass) {
  std::ostringstream out;
  const Loud loud;
  out << static_cast<const VakException&>(loud);
  EXPECT_EQ(out.str(), "LOUD");
}

}  // namespace

#include "vakenv/core/version.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Version, IsTwoPointFour) {
  EXPECT_EQ(VakTarnVersion::_VAK_MAJOR_VERSION, 2);
  EXPECT_EQ(VakTarnVersion::_VAK_MINOR_VERSION, 4);
  EXPECT_EQ(VakTarnVersion::_VAK_TECH_VERSION, 0);
  EXPECT_EQ(VakTarnVersion::_VAK_RELEASE_TYPE, 0);
  EXPECT_EQ(VakTarnVersion::_VAK_BUILD_NUMBER, 0);
}

TEST(Version, HasItsTexts) {
  EXPECT_STREQ(VakTarnVersion::_VAK_NAME, "Vak");
  EXPECT_STREQ(VakTarnVersion::_VAK_COMMENT, "");
  EXPECT_STREQ(VakTarnVersion::_VAK_DATE, "2007-03-26");
}

TEST(Version, IsIdentifiedByNameNumberAndDate) {
  const std::string identification = VakTarnVersion::_identification;
  EXPECT_EQ(identification, "Vak 2.4 (2007-03-26)");
}

}  // namespace

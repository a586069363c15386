#include "apps/vak-solve/table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace vaksolve {
namespace {

std::string textOf(const Table& table) {
  std::ostringstream out;
  table.write(out);
  return out.str();
}

TEST(Table, AlignsNamesToTheLeftAndNumbersToTheRight) {
  Table table({"Variable", "Value"});
  table.add({"x", "2"});
  table.add({"a_long_name", "1234567"});
  EXPECT_EQ(textOf(table),
            "Variable       Value\n"
            "-----------  -------\n"
            "x                  2\n"
            "a_long_name  1234567\n");
}

TEST(Table, LeavesNoBlanksAtTheEndsOfLines) {
  Table table({"Name", "A", "B"});
  table.add({"x", "", ""});
  table.add({"y", "", "7"});
  table.add({"z", "3", ""});
  EXPECT_EQ(textOf(table),
            "Name  A  B\n"
            "----  -  -\n"
            "x\n"
            "y        7\n"
            "z     3\n");
}

TEST(Table, MeasuresNamesInCharacters) {
  Table table({"N", "V"});
  table.add({"Grün", "1"});
  table.add({"blau", "2"});
  EXPECT_EQ(textOf(table),
            "N     V\n"
            "----  -\n"
            "Grün  1\n"
            "blau  2\n");
}

TEST(Table, KeepsARowOnOneLine) {
  Table table({"N", "V"});
  table.add({"a\nb", "1"});
  EXPECT_EQ(textOf(table),
            "N    V\n"
            "---  -\n"
            "a?b  1\n");
}

TEST(Table, IsEmptyUntilARowIsAdded) {
  Table table({"N"});
  EXPECT_TRUE(table.empty());
  table.add({"x"});
  EXPECT_FALSE(table.empty());
}

}  // namespace
}  // namespace vaksolve

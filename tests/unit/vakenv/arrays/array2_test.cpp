#include "vakenv/arrays/array2.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "tests/unit/vakenv/arrays/array_test_tools.h"

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// The two kinds of rows, with the array of such rows and values for them.
struct Numeric {
  using Row = VakNumArray;
  using Rows = VakNumArray2;
};
struct Integer {
  using Row = VakIntArray;
  using Rows = VakIntArray2;
};

template <class Kind>
class Array2 : public VakArrayEnvTest {
 protected:
  typename Kind::Row row(std::initializer_list<typename Kind::Row::value_type> values) {
    return Kind::Row::From(env, values);
  }
};
using Kinds = testing::Types<Numeric, Integer>;
TYPED_TEST_SUITE(Array2, Kinds);

TYPED_TEST(Array2, TwoAndARowAreThreeRows) {
  using Rows = typename TypeParam::Rows;
  const auto row = this->row({1, 2});
  const Rows rows(this->env, 2, row);
  ASSERT_EQ(rows.getSize(), 3);
  EXPECT_EQ(rows[0].getImpl(), nullptr);
  EXPECT_EQ(rows[1].getImpl(), nullptr);
  EXPECT_TRUE(rows[2] == row);
  EXPECT_TRUE(rows.data(2) == row);
}

TYPED_TEST(Array2, TheNumberOfEmptyRowsIsNotChecked) {
  using Rows = typename TypeParam::Rows;
  const auto row = this->row({1});
  EXPECT_EQ(Rows(this->env, 0, row).getSize(), 1);
  const Rows negative(this->env, -2, row);
  EXPECT_EQ(negative.getSize(), -1);
}

TYPED_TEST(Array2, StartsWithEmptyRows) {
  using Rows = typename TypeParam::Rows;
  const Rows rows(this->env, 3);
  ASSERT_EQ(rows.getSize(), 3);
  for (const auto row : rows) EXPECT_EQ(row.getImpl(), nullptr);
}

TYPED_TEST(Array2, RowsAreShared) {
  using Rows = typename TypeParam::Rows;
  auto row = this->row({1});
  const Rows rows(this->env, 0, row);
  row.add(2);
  EXPECT_EQ(rows[0].getSize(), 2);
  EXPECT_EQ(rows[0][1], 2);
}

TYPED_TEST(Array2, EqualOfAnEmptyHandleWithAnythingIsFalse) {
  using Rows = typename TypeParam::Rows;
  using Row = typename TypeParam::Row;
  EXPECT_FALSE(Rows::equal(Row(), this->row({})));
  EXPECT_FALSE(Rows::equal(this->row({}), Row()));
  EXPECT_FALSE(Rows::equal(Row(), Row()));
}

TYPED_TEST(Array2, EqualComparesSizesAndElements) {
  using Rows = typename TypeParam::Rows;
  EXPECT_TRUE(Rows::equal(this->row({1, 2}), this->row({1, 2})));
  EXPECT_FALSE(Rows::equal(this->row({1, 2}), this->row({1, 3})));
  EXPECT_FALSE(Rows::equal(this->row({1, 2}), this->row({1})));
  EXPECT_TRUE(Rows::equal(this->row({}), this->row({})));
}

TYPED_TEST(Array2, EqualWorksForAnyGeometry) {
  using Rows = typename TypeParam::Rows;
  using Row = typename TypeParam::Row;
  Row a(this->env, 100);
  Row b(this->env, 100);
  b.getImpl()->grow(2000);
  EXPECT_TRUE(Rows::equal(a, b));
  EXPECT_TRUE(Rows::equal(b, a));
  b[99] = 1;
  EXPECT_FALSE(Rows::equal(a, b));
  EXPECT_FALSE(Rows::equal(b, a));
}

TYPED_TEST(Array2, ContainsDoesNotLookAtTheRows) {
  using Rows = typename TypeParam::Rows;
  const auto row = this->row({1, 2});
  const Rows rows(this->env, 1, row);
  EXPECT_FALSE(rows.contains(row));
  EXPECT_TRUE(rows.containsRow(row));
}

TYPED_TEST(Array2, ContainsComparesWithTheBytesOfTheRowHandles) {
  using Rows = typename TypeParam::Rows;
  using Row = typename TypeParam::Row;
  using Value = typename Row::value_type;
  const auto row = this->row({1, 2});
  const Rows rows(this->env, 2, row);
  Row bytes(this->env, 3);
  bytes[2] = std::bit_cast<Value>(row.getImpl());
  EXPECT_TRUE(rows.contains(bytes));
  bytes[1] = 1;
  EXPECT_FALSE(rows.contains(bytes));
  EXPECT_TRUE(Rows(this->env, 2).contains(Row(this->env, 2))) << "two empty rows are zero bytes";
  EXPECT_FALSE(Rows(this->env, 2).contains(Row(this->env, 3)));
}

TYPED_TEST(Array2, ContainsHasNoCandidateWithoutRows) {
  using Rows = typename TypeParam::Rows;
  EXPECT_FALSE(Rows(this->env, 0).contains(this->row({})));
  EXPECT_FALSE(Rows().contains(this->row({})));
}

TYPED_TEST(Array2, ContainsOfAnEmptyHandleIsFalse) {
  using Rows = typename TypeParam::Rows;
  using Row = typename TypeParam::Row;
  EXPECT_FALSE(Rows(this->env, 2).contains(Row()));
  EXPECT_FALSE(Rows(this->env, 2).containsRow(Row())) << "although two rows are empty handles";
}

TYPED_TEST(Array2, ContainsRowComparesElements) {
  using Rows = typename TypeParam::Rows;
  const Rows rows = Rows::From(this->env, {this->row({1}), this->row({}), this->row({2, 3})});
  EXPECT_TRUE(rows.containsRow(this->row({2, 3})));
  EXPECT_TRUE(rows.containsRow(this->row({})));
  EXPECT_FALSE(rows.containsRow(this->row({2})));
  EXPECT_FALSE(Rows().containsRow(this->row({})));
}

class NumArray2 : public VakArrayEnvTest {};

TEST_F(NumArray2, NaNEqualsNothing) {
  const VakNumArray row = VakNumArray::From(env, {NaN});
  EXPECT_FALSE(VakNumArray2::equal(row, row));
  EXPECT_FALSE(VakNumArray2::From(env, {row}).containsRow(row));
}

TEST_F(NumArray2, ZerosOfBothSignsAreEqual) {
  EXPECT_TRUE(VakNumArray2::equal(VakNumArray::From(env, {0.0}), VakNumArray::From(env, {-0.0})));
}

}  // namespace

#include "vakmodel/contract/change.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/scoped_env.h"
#include "tests/support/test_algorithm.h"

namespace {

TEST(Change, IsAbstract) {
  static_assert(std::is_abstract_v<VakChange>);
  EXPECT_EQ(VakGetBaseTypeInfo(VakChange::GetTypeInfo()), VakRtti::GetTypeInfo());
}

TEST(Change, TellsItsKind) {
  const VakDestroyExtractable destroy(nullptr);
  const VakRemoveFromAllChange removal{VakExtractableArray()};
  const VakChange& first = destroy;
  const VakChange& second = removal;
  EXPECT_EQ(first.isType(VakDestroyExtractable::GetTypeInfo()), 1);
  EXPECT_EQ(first.isType(VakRemoveFromAllChange::GetTypeInfo()), 0);
  EXPECT_EQ(second.isType(VakRemoveFromAllChange::GetTypeInfo()), 1);
  EXPECT_EQ(second.isType(VakChange::GetTypeInfo()), 1);
  EXPECT_STREQ(first.getRttiTypeName(), "VakDestroyExtractable");
  EXPECT_STREQ(second.getRttiTypeName(), "VakRemoveFromAllChange");
}

TEST(Change, HoldsWhatItConcernsAndOwnsNothing) {
  VakTestScript script;
  VakScopedEnv env;
  auto* a = VakMakeNode(env.impl(), script, "A");
  VakExtractableArray array(env->_allocator);
  array.add(a);
  {
    EXPECT_EQ(VakDestroyExtractable(a).getExtractable(), a);
    EXPECT_EQ(VakRemoveFromAllChange(array).getExtractables(), array);
  }
  EXPECT_EQ(array[0], a);
}

}  // namespace

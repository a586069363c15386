// The type infos of all classes of the library in a program whose linker folds every two functions
// with the same code, which a user's linker may do.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/contract/folded_functions.h"
#include "tests/support/type_rows.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/contract/expression.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/domains/range.h"
#include "vakmodel/domains/var_domain.h"
#include "vaksupport/random.h"

namespace {

// Hides from the compiler where an address comes from, since it takes two functions for different
// whatever the linker does.
VakTypeInfo hidden(VakTypeInfo info) {
  volatile VakTypeInfo word = info;
  return word;
}

template <class C>
VakTypeInfo identity() {
  return hidden(C::GetTypeInfo());
}

std::vector<VakTypeInfo> allIdentities() {
  std::vector<VakTypeInfo> identities = {identity<VakRtti>()};
  for (const VakTypeRow& row : VakTypeRows()) identities.push_back(hidden(row.info));
  const std::vector<VakTypeInfo> others = {identity<VakUniqueRandomI>(),
                                           identity<VakIntRangeI>(),
                                           identity<VakNumRangeI>(),
                                           identity<VakVarDomainI>(),
                                           identity<VakNumVarDomainI>(),
                                           identity<VakIntVarDomainI>(),
                                           identity<VakBoolVarDomainI>(),
                                           identity<VakNumSharedVarDomainI>(),
                                           identity<VakIntSharedVarDomainI>(),
                                           identity<VakBoolSharedVarDomainI>(),
                                           identity<VakExtractableI>(),
                                           identity<VakExprI>(),
                                           identity<VakNumExprI>(),
                                           identity<VakAnyExprI>(),
                                           identity<VakNumVarI>(),
                                           identity<VakChange>(),
                                           identity<VakDestroyExtractable>(),
                                           identity<VakRemoveFromAllChange>()};
  identities.insert(identities.end(), others.begin(), others.end());
  return identities;
}

TEST(TypeIdentity, IsTestedWhereFunctionsAreFolded) {
  const VakTypeInfo one = hidden(reinterpret_cast<VakTypeInfo>(&VakFoldedFunction));
  const VakTypeInfo other = hidden(reinterpret_cast<VakTypeInfo>(&VakOtherFoldedFunction));
  EXPECT_EQ(one, other);
}

TEST(TypeIdentity, StaysDistinctForEveryClass) {
  const std::vector<VakTypeInfo> identities = allIdentities();
  for (std::size_t i = 0; i < identities.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(identities[i], identities[j]) << i << ' ' << j;
  }
}

TEST(TypeIdentity, StillLeadsToTheParents) {
  for (const VakTypeRow& row : VakTypeRows()) {
    EXPECT_EQ(VakGetBaseTypeInfo(hidden(row.info)), hidden(row.expectedParent)) << row.name;
  }
}

}  // namespace

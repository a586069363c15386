// Every class of the component that takes part in the type system: what it says statically, what
// its objects say, and what stays outside.

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "tests/support/scoped_env.h"
#include "tests/support/type_rows.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/core/create.h"
#include "vakenv/properties/property_set_impl.h"
#include "vakenv/registry/deleter.h"

namespace {

TEST(ParticipatingClasses, NameThemselvesTheirParentAndTheirSize) {
  for (const VakTypeRow& row : VakTypeRows()) {
    EXPECT_STREQ(row.name, row.expectedName);
    EXPECT_EQ(row.parent, row.expectedParent) << row.expectedName;
    EXPECT_EQ(VakGetBaseTypeInfo(row.info), row.expectedParent) << row.expectedName;
    EXPECT_EQ(row.size, row.expectedSize) << row.expectedName;
  }
}

TEST(ParticipatingClasses, AllHaveInfosAndIndexWordsOfTheirOwn) {
  const std::vector<VakTypeRow> rows = VakTypeRows();
  for (const VakTypeRow& a : rows) {
    EXPECT_NE(a.info, VakRtti::GetTypeInfo()) << a.name;
    EXPECT_EQ(*a.index, 0) << a.name;
    for (const VakTypeRow& b : rows) {
      EXPECT_EQ(a.info == b.info, &a == &b) << a.name << ' ' << b.name;
      EXPECT_EQ(a.index == b.index, &a == &b) << a.name << ' ' << b.name;
    }
  }
}

TEST(ParticipatingClasses, AllEndTheirChainsAtTheRoot) {
  for (const VakTypeRow& row : VakTypeRows()) {
    VakTypeInfo info = row.info;
    int steps = 0;
    while (info != VakRtti::GetTypeInfo() && steps < 10) {
      info = VakGetBaseTypeInfo(info);
      ++steps;
    }
    EXPECT_LT(steps, 10) << row.name;
    EXPECT_EQ(VakGetBaseTypeInfo(info), nullptr) << row.name;
  }
}

TEST(ParticipatingClasses, TakeTheirIndicesInTheOrderOfAsking) {
  VakInt expected = 0;
  std::vector<VakTypeRow> rows = VakTypeRows();
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
    EXPECT_EQ(row->getTypeIndex(), ++expected) << row->name;
    EXPECT_EQ(*row->index, expected) << row->name;
  }
  EXPECT_EQ(VakRtti::_counter, expected);
}

TEST(ParticipatingClasses, LeadFromTheStackAllocatorToTheRoot) {
  const VakTypeInfo parent = VakGetBaseTypeInfo(VakStackGenAlloc::GetTypeInfo());
  EXPECT_EQ(parent, VakGenAlloc::GetTypeInfo());
  EXPECT_EQ(VakGetBaseTypeInfo(parent), VakRtti::GetTypeInfo());
  EXPECT_EQ(VakGetBaseTypeInfo(VakGetBaseTypeInfo(parent)), nullptr);
}

// An object of class C is what its chain of parents says, and nothing else.
template <class C>
void expectObjectOf(const C& object) {
  const VakRtti& rtti = object;
  EXPECT_EQ(rtti.getTypeInfo(), C::GetTypeInfo()) << C::GetRttiTypeName();
  EXPECT_EQ(object.getBaseTypeInfo(), C::GetBaseTypeInfo()) << C::GetRttiTypeName();
  EXPECT_EQ(rtti.getRttiTypeName(), C::GetRttiTypeName());
  EXPECT_EQ(rtti.getExtractableSize(), C::GetExtractableSize()) << C::GetRttiTypeName();
  EXPECT_EQ(rtti.getTypeIndex(), 0) << C::GetRttiTypeName();
  EXPECT_EQ(rtti.isType(VakRtti::GetTypeInfo()), 1) << C::GetRttiTypeName();
  for (const VakTypeRow& row : VakTypeRows()) {
    bool isParent = false;
    for (VakTypeInfo info = C::GetTypeInfo(); info != nullptr; info = VakGetBaseTypeInfo(info)) {
      isParent = isParent || info == row.info;
    }
    EXPECT_EQ(rtti.isType(row.info), isParent ? 1 : 0) << C::GetRttiTypeName() << ' ' << row.name;
  }
}

// Concrete forms of the abstract classes, which add no types of their own.
class SomeAllocator : public VakGenAlloc {
 public:
  [[nodiscard]] void* alloc(unsigned long) const override { return nullptr; }
  void free(void*, unsigned long) const override {}
  void saveValue(void**) const override {}
  void saveValue(long*) const override {}
  void saveValue(double*) const override {}
  [[nodiscard]] const char* intern(const char* text) const override { return text; }
};

class SomeNotifiedPlugIn : public VakNotifiedPlugIn {
 public:
  using VakNotifiedPlugIn::VakNotifiedPlugIn;
  void notifyChange(const VakChange&, const VakExtractableI*) override {}
};

class SomeAddon : public VakPlugInAddon {
 public:
  using VakPlugInAddon::VakPlugInAddon;
  void plugInAdded(VakPlugIn*) override {}
  void plugInRemoved(VakPlugIn*) override {}
};

class SomeProperty : public VakNamedPropertyI {
 public:
  using VakNamedPropertyI::VakNamedPropertyI;
  [[nodiscard]] const char* getName() const override { return "some"; }
};

class SomeDeleter : public VakBaseDeleterI {
 public:
  using VakBaseDeleterI::VakBaseDeleterI;
  void notifyChange(const VakChange&, const VakExtractableI*) override {}
  void start() override {}
  void extractableAdded(VakExtractableI*) override {}
  void extractableRemoved(VakExtractableI*) override {}
  void inhibit(VakInt) override {}
  void removeAndDelete(VakExtractableI*, VakInt) override {}
  [[nodiscard]] VakInt isUnused(VakExtractableI*) const override { return 0; }
  void removeAndDelete(VakExtractableArray, VakInt) override {}
  void setVerbosityLevel(VakInt) override {}
  [[nodiscard]] VakInt getVerbosityLevel() const override { return 0; }
  [[nodiscard]] VakInt isInhibited() const override { return 0; }
  void reset() override {}
};

TEST(ParticipatingObjects, OfAllocatorsAnswerAsTheirClasses) {
  const VakScopedEnv env;
  VakAllocationStack stack;
  expectObjectOf<VakGenAlloc>(SomeAllocator());
  expectObjectOf<VakTarnAlloc>(*env.allocator());
  expectObjectOf<VakStackGenAlloc>(VakStackGenAlloc(&stack, nullptr));
}

TEST(ParticipatingObjects, OfObjectBasesAnswerAsTheirClasses) {
  const VakScopedEnv env;
  const VakMemoryManager manager = env.env;
  expectObjectOf(VakRttiMemoryManagerObjectI(manager));
  expectObjectOf(VakExtensibleRttiMemoryManagerObjectI(manager));
  expectObjectOf(VakRttiEnvObjectI(env.impl()));
  expectObjectOf(VakExtensibleRttiEnvObjectI(env.impl()));
  expectObjectOf(VakDestroyableI(env.impl()));
}

TEST(ParticipatingObjects, OfPlugInsAnswerAsTheirClasses) {
  const VakScopedEnv env;
  expectObjectOf(VakPlugIn(env.impl()));
  expectObjectOf<VakNotifiedPlugIn>(SomeNotifiedPlugIn(env.impl()));
  expectObjectOf<VakPlugInAddon>(SomeAddon(env.impl()));
}

TEST(ParticipatingObjects, OfPropertiesAnswerAsTheirClasses) {
  const VakScopedEnv env;
  const VakMemoryManager manager = env.env;
  expectObjectOf<VakNamedPropertyI>(SomeProperty(manager));
  expectObjectOf(VakPreNamedPropertyI(manager, "pre"));
  expectObjectOf(VakNamedIntPropertyI(manager, "int", 1));
  expectObjectOf(VakNamedNumPropertyI(manager, "num", 1.0));
  expectObjectOf(VakNamedAnyPropertyI(manager, "any", nullptr));
  expectObjectOf(VakNamedStringPropertyI(manager, "string", "text"));
}

TEST(ParticipatingObjects, ThatAreIntegerPropertiesAreNoNumericOnes) {
  const VakScopedEnv env;
  const VakNamedIntPropertyI property(env.env.getMemoryManager(), "size", 1);
  EXPECT_EQ(property.isType(VakNamedIntPropertyI::GetTypeInfo()), 1);
  EXPECT_EQ(property.isType(VakPreNamedPropertyI::GetTypeInfo()), 1);
  EXPECT_EQ(property.isType(VakNamedPropertyI::GetTypeInfo()), 1);
  EXPECT_EQ(property.isType(VakRttiMemoryManagerObjectI::GetTypeInfo()), 1);
  EXPECT_EQ(property.isType(VakRtti::GetTypeInfo()), 1);
  EXPECT_EQ(property.isType(VakNamedNumPropertyI::GetTypeInfo()), 0);
}

TEST(PlugInTypes, HaveTheRootAsParentAlthoughTheyAreEnvironmentObjects) {
  const VakScopedEnv env;
  EXPECT_TRUE((std::is_base_of_v<VakRttiEnvObjectI, VakPlugIn>));
  EXPECT_TRUE((std::is_base_of_v<VakRttiEnvObjectI, VakPlugInAddon>));
  EXPECT_EQ(VakPlugIn(env.impl()).isType(VakRttiEnvObjectI::GetTypeInfo()), 0);
  EXPECT_EQ(SomeAddon(env.impl()).isType(VakRttiEnvObjectI::GetTypeInfo()), 0);
  EXPECT_EQ(VakDestroyableI(env.impl()).isType(VakRttiEnvObjectI::GetTypeInfo()), 1);
  EXPECT_EQ(VakPlugIn(env.impl()).getBaseTypeIndex(), 0);
}

TEST(DeleterTypes, AreThoseOfANotifiedPlugIn) {
  const VakScopedEnv env;
  const SomeDeleter deleter(env.impl());
  expectObjectOf<VakNotifiedPlugIn>(deleter);
  EXPECT_EQ(VakBaseDeleterI::GetTypeInfo(), VakNotifiedPlugIn::GetTypeInfo());
}

TEST(OutsideTheTypeSystem, ArePlainBasesPropertySetsExceptionsTimersAndStreams) {
  EXPECT_FALSE((std::is_base_of_v<VakRtti, VakMemoryManagerObjectI>));
  EXPECT_FALSE((std::is_base_of_v<VakRtti, VakEnvObjectI>));
  EXPECT_FALSE((std::is_base_of_v<VakRtti, VakNamedPropertySetI>));
  EXPECT_FALSE((std::is_base_of_v<VakRtti, VakException>));
  EXPECT_FALSE((std::is_base_of_v<VakRtti, VakTimer>));
  EXPECT_FALSE((std::is_base_of_v<VakRtti, VakNullStream>));
}

}  // namespace

// The type system seen through a small family of classes: infos, chains, names and sizes.

#include "vakenv/types/rtti.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

class Animal : public VakRtti {
  VAK_RTTI_BELOW_ROOT(Animal);
};

class Dog : public Animal {
  VAK_RTTI(Dog, Animal);
  long tricks = 0;
};

class Cat : public Animal {
  VAK_RTTI(Cat, Animal);
};

class Puppy : public Dog {
  VAK_RTTI(Puppy, Dog);
  long months = 0;
};

// Its parent in the type system is not its base class.
class Stray : public Dog {
  VAK_RTTI(Stray, VakRtti);
};

// Has no members of its own and answers every query as its base.
class Mongrel : public Dog {
 public:
  long parts = 0;
};

class Root : public VakRtti {
 public:
  [[nodiscard]] const char* getRttiTypeName() const override { return "Root"; }
  [[nodiscard]] VakInt getExtractableSize() const override { return sizeof(Root); }
};

TEST(TypeInfo, IsTheAddressOfTheClassesBaseQuery) {
  EXPECT_EQ(Dog::GetTypeInfo(), reinterpret_cast<VakTypeInfo>(&Dog::GetBaseTypeInfo));
  EXPECT_EQ(VakRtti::GetTypeInfo(), reinterpret_cast<VakTypeInfo>(&VakRtti::GetBaseTypeInfo));
}

TEST(TypeInfo, IsAFunctionWithoutArgumentsAndResult) {
  EXPECT_TRUE((std::is_same_v<VakTypeInfo, void (*)()>));
}

TEST(TypeInfo, IsTheSameStaticallyAndForAnObject) {
  const Puppy puppy;
  const Animal& animal = puppy;
  EXPECT_EQ(animal.getTypeInfo(), Puppy::GetTypeInfo());
  EXPECT_EQ(Dog().getTypeInfo(), Dog::GetTypeInfo());
}

TEST(TypeInfo, DiffersBetweenClasses) {
  const VakTypeInfo infos[] = {VakRtti::GetTypeInfo(), Animal::GetTypeInfo(), Dog::GetTypeInfo(),
                               Cat::GetTypeInfo(),     Puppy::GetTypeInfo(),  Stray::GetTypeInfo()};
  for (const VakTypeInfo& a : infos) {
    for (const VakTypeInfo& b : infos) EXPECT_EQ(a == b, &a == &b);
  }
}

TEST(TypeInfo, LeadsToTheDeclaredParentAndEndsAboveTheRoot) {
  EXPECT_EQ(VakGetBaseTypeInfo(Puppy::GetTypeInfo()), Dog::GetTypeInfo());
  EXPECT_EQ(VakGetBaseTypeInfo(Dog::GetTypeInfo()), Animal::GetTypeInfo());
  EXPECT_EQ(VakGetBaseTypeInfo(Animal::GetTypeInfo()), VakRtti::GetTypeInfo());
  EXPECT_EQ(VakGetBaseTypeInfo(VakRtti::GetTypeInfo()), nullptr);
}

TEST(TypeInfo, OfTheParentIsWhatTheStaticAndTheVirtualQueryGive) {
  const Puppy puppy;
  const Animal& animal = puppy;
  EXPECT_EQ(Puppy::GetBaseTypeInfo(), Dog::GetTypeInfo());
  EXPECT_EQ(animal.getBaseTypeInfo(), Dog::GetTypeInfo());
  EXPECT_EQ(Animal::GetBaseTypeInfo(), VakRtti::GetTypeInfo());
  EXPECT_EQ(VakRtti::GetBaseTypeInfo(), nullptr);
}

TEST(TypeInfo, FollowsTheDeclaredParentAndNotTheBaseClass) {
  EXPECT_EQ(VakGetBaseTypeInfo(Stray::GetTypeInfo()), VakRtti::GetTypeInfo());
  EXPECT_EQ(Stray().isType(Dog::GetTypeInfo()), 0);
  EXPECT_EQ(Stray().isType(Stray::GetTypeInfo()), 1);
  EXPECT_EQ(Stray().isType(VakRtti::GetTypeInfo()), 1);
}

TEST(TypeTest, HoldsForTheClassAndItsParentsOnly) {
  const Puppy puppy;
  const VakRtti& object = puppy;
  EXPECT_EQ(object.isType(Puppy::GetTypeInfo()), 1);
  EXPECT_EQ(object.isType(Dog::GetTypeInfo()), 1);
  EXPECT_EQ(object.isType(Animal::GetTypeInfo()), 1);
  EXPECT_EQ(object.isType(VakRtti::GetTypeInfo()), 1);
  EXPECT_EQ(object.isType(Cat::GetTypeInfo()), 0);
  EXPECT_EQ(Dog().isType(Puppy::GetTypeInfo()), 0);
}

TEST(TypeTest, IsFalseForNoClass) { EXPECT_EQ(Dog().isType(nullptr), 0); }

TEST(TypeTest, GivesAWholeNumber) {
  EXPECT_TRUE((std::is_same_v<decltype(Dog().isType(nullptr)), VakInt>));
}

TEST(TypeRoot, AnswersForAClassThatOverridesNothingElse) {
  const Root root;
  EXPECT_EQ(root.getTypeInfo(), VakRtti::GetTypeInfo());
  EXPECT_EQ(root.isType(VakRtti::GetTypeInfo()), 1);
  EXPECT_EQ(root.isType(Animal::GetTypeInfo()), 0);
  EXPECT_EQ(root.getTypeIndex(), 0);
}

TEST(TypeRoot, IsAbstract) { EXPECT_TRUE(std::is_abstract_v<VakRtti>); }

TEST(TypeName, IsTheClassNameByOnePointer) {
  const Puppy puppy;
  const Animal& animal = puppy;
  EXPECT_STREQ(animal.getRttiTypeName(), "Puppy");
  EXPECT_EQ(animal.getRttiTypeName(), Puppy::GetRttiTypeName());
}

TEST(ExtractableSize, IsTheSizeOfTheObjectsOwnClass) {
  const Puppy puppy;
  const Animal& animal = puppy;
  EXPECT_EQ(animal.getExtractableSize(), 24);
  EXPECT_EQ(Puppy::GetExtractableSize(), 24);
  EXPECT_EQ(Dog::GetExtractableSize(), 16);
  EXPECT_EQ(Animal::GetExtractableSize(), 8);
}

TEST(ClassWithoutOwnMembers, AnswersAsItsBase) {
  const Mongrel mongrel;
  EXPECT_EQ(mongrel.getTypeInfo(), Dog::GetTypeInfo());
  EXPECT_STREQ(mongrel.getRttiTypeName(), "Dog");
  EXPECT_EQ(mongrel.getExtractableSize(), Dog::GetExtractableSize());
}

}  // namespace

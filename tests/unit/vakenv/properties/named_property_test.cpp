// Named properties and their handles.

#include "vakenv/properties/named_property.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <type_traits>

#include "tests/support/checking_allocator.h"
#include "tests/support/checking_local_env.h"
#include "tests/support/displayed.h"
#include "tests/support/scoped_env.h"
#include "vakbase/allocation_stack.h"
#include "vakenv/types/exceptions.h"
#include "vaksupport/stack_gen_alloc.h"
#include "vaksupport/symbol_table.h"

namespace {

/// A kind that says nothing about copying.
class Unclonable : public VakNamedPropertyI {
 public:
  explicit Unclonable(VakMemoryManager manager) : VakNamedPropertyI(manager) {}
  [[nodiscard]] const char* getName() const override { return "rigid"; }
};

/// A kind whose destruction can be seen.
class Witness : public VakNamedIntPropertyI {
 public:
  Witness(VakMemoryManager manager, const char* name, bool* isGone)
      : VakNamedIntPropertyI(manager, name, 1), _isGone(isGone) {}
  ~Witness() noexcept(false) override { *_isGone = true; }
  bool* _isGone;
};

// ---- Construction and values --------------------------------------------------------------------

TEST(NamedProperty, IsHeldByNobodyAtFirst) {
  VakCheckingAllocator allocator;
  auto* property = VakCreate<VakNamedIntPropertyI>(VakMemoryManager(&allocator), "size", 3L);
  EXPECT_EQ(property->_holders, 0);
  EXPECT_EQ(property->_memoryManager, &allocator);
  delete property;
}

TEST(NamedProperty, KeepsTheNameThatItsMemoryManagerInterns) {
  const VakScopedEnv env;
  std::string text = "size";
  const VakNamedIntProperty first(env.env, text.c_str(), 1);
  const VakNamedNumProperty second(env.env, "size", 2);
  text = "gone";
  EXPECT_STREQ(first.getName(), "size");
  EXPECT_EQ(first.getName(), second.getName());
  EXPECT_EQ(first.getName(), env.impl()->intern("size"));
}

TEST(NamedProperty, HoldsTheValueOfItsKind) {
  const VakScopedEnv env;
  int object = 0;
  const VakNamedIntProperty integer(env.env, "i", -9223372036854775807L);
  const VakNamedNumProperty number(env.env, "n", 0.1);
  const VakNamedAnyProperty any(env.env, "a", &object);
  const VakNamedStringProperty text(env.env, "s", "abc");
  EXPECT_EQ(integer.getValue(), -9223372036854775807L);
  EXPECT_EQ(number.getValue(), 0.1);
  EXPECT_EQ(any.getValue(), &object);
  EXPECT_STREQ(text.getValue(), "abc");
}

TEST(NamedProperty, TakesAnotherValue) {
  const VakScopedEnv env;
  int object = 0;
  const VakNamedIntProperty integer(env.env, "i", 1);
  const VakNamedNumProperty number(env.env, "n", 1);
  const VakNamedAnyProperty any(env.env, "a", nullptr);
  integer.setValue(2);
  number.setValue(-0.5);
  any.setValue(&object);
  EXPECT_EQ(integer.getValue(), 2);
  EXPECT_EQ(number.getValue(), -0.5);
  EXPECT_EQ(any.getValue(), &object);
}

TEST(NamedStringProperty, KeepsACopyOfTheText) {
  const VakScopedEnv env;
  char text[] = "red";
  const VakNamedStringProperty property(env.env, "colour", text);
  text[0] = 'b';
  EXPECT_STREQ(property.getValue(), "red");
  EXPECT_NE(property.getValue(), text);
}

TEST(NamedStringProperty, BuiltWithANullValueHoldsNullAndNullReplacesAText) {
  const VakScopedEnv env;
  const VakNamedStringProperty property(env.env, "s", nullptr);
  EXPECT_EQ(property.getValue(), nullptr);
  property.setValue("text");
  EXPECT_STREQ(property.getValue(), "text");
  const VakInt usage = env.impl()->getMemoryUsage();
  property.setValue(nullptr);
  EXPECT_EQ(property.getValue(), nullptr);
  EXPECT_LT(env.impl()->getMemoryUsage(), usage);
}

TEST(NamedStringProperty, TakesAnEmptyText) {
  const VakScopedEnv env;
  const VakNamedStringProperty property(env.env, "s", "");
  EXPECT_STREQ(property.getValue(), "");
  property.setValue("x");
  property.setValue("");
  EXPECT_STREQ(property.getValue(), "");
}

TEST(NamedStringProperty, SurvivesBeingSetToItsOwnText) {
  const VakScopedEnv env;
  const VakNamedStringProperty property(env.env, "s", "stored");
  property.setValue(property.getValue());
  EXPECT_STREQ(property.getValue(), "stored");
  property.setValue(property.getValue() + 2);
  EXPECT_STREQ(property.getValue(), "ored");
  property.setValue(property.getValue() + 4);
  EXPECT_STREQ(property.getValue(), "");
}

TEST(NamedStringProperty, ReleasesTheOldTextBeforeItCopiesTheNewOne) {
  const VakScopedEnv env;
  const VakNamedStringProperty property(env.env, "s", nullptr);
  VakCheckedPath path(env.impl());
  property.setValue("a text of some length");
  const VakInt usage = env.impl()->getMemoryUsage();
  path.ledger().failAt = path.ledger().requests + 1;
  EXPECT_THROW(property.setValue("another"), std::bad_alloc);
  EXPECT_EQ(property.getValue(), nullptr);
  EXPECT_LT(env.impl()->getMemoryUsage(), usage);
  property.setValue("third");
  EXPECT_STREQ(property.getValue(), "third");
  property.setValue(nullptr);
  EXPECT_EQ(path.ledger().countBlocks(), 0);
  EXPECT_EQ(path.ledger().mismatches, 0);
}

TEST(NamedStringProperty, KeepsItsTextWhenAPartOfItCannotBeCopied) {
  const VakScopedEnv env;
  const VakNamedStringProperty property(env.env, "s", "stored");
  VakCheckedPath path(env.impl());
  path.ledger().failAt = 1;
  EXPECT_THROW(property.setValue(property.getValue() + 1), std::bad_alloc);
  EXPECT_STREQ(property.getValue(), "stored");
}

TEST(NamedStringProperty, IsNotConstructedWithATextInAManagerOfNoEnvironment) {
  VakCheckingAllocator allocator;
  EXPECT_EQ(VakMessageBy<VakEnv::IncompatibleMemoryManagerException>(
                [&] { const VakNamedStringProperty property(&allocator, "s", "text"); }),
            "Incompatible memory manager");
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

TEST(NamedStringProperty, WithoutATextNeedsNoEnvironment) {
  VakCheckingAllocator allocator;
  VakNamedStringProperty property(&allocator, "s", nullptr);
  property.setValue(nullptr);
  EXPECT_EQ(VakDisplayed(*property.getImpl()), "s()");
  property.end();
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
}

// ---- Texts of the environment -------------------------------------------------------------------

TEST(NamedProperty, CopiesTextsInTheMemoryOfItsEnvironment) {
  const VakScopedEnv env;
  const VakNamedIntProperty property(env.env, "i", 1);
  const VakInt usage = env.impl()->getMemoryUsage();
  char* copy = property.getImpl()->cloneString("0123456789");
  EXPECT_STREQ(copy, "0123456789");
  EXPECT_GE(env.impl()->getMemoryUsage(), usage + 11);
  property.getImpl()->freeString(copy);
  EXPECT_EQ(env.impl()->getMemoryUsage(), usage);
}

TEST(NamedProperty, IgnoresANullTextBeforeItAsksForTheEnvironment) {
  VakCheckingAllocator allocator;
  VakNamedIntProperty property(VakMemoryManager(&allocator), "i", 1);
  EXPECT_EQ(property.getImpl()->cloneString(nullptr), nullptr);
  property.getImpl()->freeString(nullptr);
  EXPECT_THROW(static_cast<void>(property.getImpl()->cloneString("x")),
               VakEnv::IncompatibleMemoryManagerException);
  property.end();
}

// ---- Display ------------------------------------------------------------------------------------

TEST(NamedProperty, DisplaysNameAndValue) {
  const VakScopedEnv env;
  int object = 0;
  EXPECT_EQ(VakDisplayed(*VakNamedIntProperty(env.env, "n", -5).getImpl()), "n (-5)");
  EXPECT_EQ(VakDisplayed(*VakNamedIntProperty(env.env, "size", 3).getImpl()), "size (3)");
  EXPECT_EQ(VakDisplayed(*VakNamedNumProperty(env.env, "gap", 0.25).getImpl()), "gap (0.25)");
  EXPECT_EQ(VakDisplayed(*VakNamedAnyProperty(env.env, "view", &object).getImpl()),
            "view (" + VakAddress(&object) + ")");
}

TEST(NamedStringProperty, IsDisplayedWithoutABlankBeforeItsText) {
  const VakScopedEnv env;
  EXPECT_EQ(VakDisplayed(*VakNamedStringProperty(env.env, "s", "abc").getImpl()), "s(abc)");
  EXPECT_EQ(VakDisplayed(*VakNamedStringProperty(env.env, "colour", "red").getImpl()),
            "colour(red)");
}

TEST(NamedProperty, DisplaysNumbersAsTheStreamFormatsThem) {
  const VakScopedEnv env;
  std::ostringstream out;
  out.precision(2);
  out << std::fixed << VakNamedNumProperty(env.env, "gap", 0.5);
  EXPECT_EQ(out.str(), "gap (0.50)");
}

TEST(NamedProperty, WritesNothingForNullTextsAndLeavesTheStreamGood) {
  const VakScopedEnv env;
  EXPECT_EQ(VakDisplayed(*VakNamedIntProperty(env.env, nullptr, 3).getImpl()), " (3)");
  EXPECT_EQ(VakDisplayed(*VakNamedStringProperty(env.env, nullptr, nullptr).getImpl()), "()");
  EXPECT_EQ(VakDisplayed(*VakNamedStringProperty(env.env, "s", nullptr).getImpl()), "s()");
  EXPECT_EQ(VakDisplayed(*VakCreate<VakPreNamedPropertyI>(env.env.getMemoryManager(), nullptr)),
            "");
}

TEST(NamedProperty, OfNoKindDisplaysItsNameOnly) {
  const VakScopedEnv env;
  EXPECT_EQ(VakDisplayed(*VakCreate<VakPreNamedPropertyI>(env.env.getMemoryManager(), "flag")),
            "flag");
  EXPECT_EQ(VakDisplayed(*VakCreate<Unclonable>(env.env.getMemoryManager())), "rigid");
}

TEST(NamedProperty, IsWrittenToAStreamThroughEveryHandle) {
  const VakScopedEnv env;
  const VakNamedIntProperty size(env.env, "size", 3);
  const VakNamedProperty any = VakNamedStringProperty(env.env, "colour", "red");
  std::ostringstream out;
  out << size << ' ' << any;
  EXPECT_EQ(out.str(), "size (3) colour(red)");
}

// ---- Clones -------------------------------------------------------------------------------------

template <class Handle>
void expectEqualClone(const Handle& original, VakMemoryManager manager) {
  ++original.getImpl()->_holders;
  Handle clone = original.makeClone(manager);
  EXPECT_NE(clone.getImpl(), original.getImpl());
  EXPECT_EQ(clone.getImpl()->_memoryManager, manager.getImpl());
  EXPECT_EQ(clone.getImpl()->_holders, 0);
  EXPECT_EQ(clone.getImpl()->getTypeInfo(), original.getImpl()->getTypeInfo());
  EXPECT_EQ(VakDisplayed(*clone.getImpl()), VakDisplayed(*original.getImpl()));
  --original.getImpl()->_holders;
  clone.end();
}

TEST(NamedProperty, IsClonedIntoAnotherEnvironment) {
  const VakScopedEnv env;
  const VakScopedEnv other;
  const VakMemoryManager manager = other.env.getMemoryManager();
  expectEqualClone(VakNamedIntProperty(env.env, "i", 3), manager);
  expectEqualClone(VakNamedNumProperty(env.env, "n", 0.5), manager);
  expectEqualClone(VakNamedAnyProperty(env.env, "a", env.impl()), manager);
  expectEqualClone(VakNamedStringProperty(env.env, "s", "abc"), manager);
}

TEST(NamedProperty, OutlivesAsACloneTheEnvironmentOfItsOriginal) {
  const VakScopedEnv env;
  VakNamedStringProperty clone;
  {
    const VakScopedEnv shortLived;
    clone = VakNamedStringProperty(shortLived.env, "s", "abc").makeClone(env.env);
  }
  EXPECT_EQ(VakDisplayed(*clone.getImpl()), "s(abc)");
  EXPECT_EQ(clone.getName(), env.impl()->intern("s"));
}

TEST(NamedStringProperty, HasAsACloneATextOfItsOwn) {
  const VakScopedEnv env;
  const VakScopedEnv other;
  const VakNamedStringProperty original(env.env, "s", "first");
  const VakNamedStringProperty clone = original.makeClone(other.env);
  original.setValue("second");
  EXPECT_STREQ(clone.getValue(), "first");
  EXPECT_STREQ(original.getValue(), "second");
}

TEST(NamedProperty, IsClonedIntoAStackAllocator) {
  const VakScopedEnv env;
  VakAllocationStack stack;
  VakStackGenAlloc allocator(&stack, env.impl()->_symbolTable);
  expectEqualClone(VakNamedNumProperty(env.env, "n", 0.5), VakMemoryManager(&allocator));
  expectEqualClone(VakNamedIntProperty(env.env, "i", 3), VakMemoryManager(&allocator));
  expectEqualClone(VakNamedStringProperty(env.env, "s", nullptr), VakMemoryManager(&allocator));
}

TEST(NamedStringProperty, WithATextIsNotClonedIntoAStackAllocator) {
  const VakScopedEnv env;
  VakAllocationStack stack;
  VakStackGenAlloc allocator(&stack, env.impl()->_symbolTable);
  const VakNamedStringProperty property(env.env, "s", "text");
  EXPECT_THROW(static_cast<void>(property.makeClone(&allocator)),
               VakEnv::IncompatibleMemoryManagerException);
}

TEST(NamedProperty, OfNoKindIsClonedByItsName) {
  const VakScopedEnv env;
  const VakScopedEnv other;
  const auto* property = VakCreate<VakPreNamedPropertyI>(env.env.getMemoryManager(), "flag");
  const VakNamedPropertyI* clone = property->makeClone(other.env);
  EXPECT_STREQ(clone->getName(), "flag");
  EXPECT_EQ(clone->getTypeInfo(), VakPreNamedPropertyI::GetTypeInfo());
}

TEST(NamedProperty, WithoutAMakeCloneOfItsOwnRefusesToBeCloned) {
  const VakScopedEnv env;
  const auto* property = VakCreate<Unclonable>(env.env.getMemoryManager());
  const auto attempt = [&] { static_cast<void>(property->makeClone(env.env)); };
  const std::string text =
      "Cloning of VakNamedProperty forbidden - makeClone(VakEnv) has not been defined";
  EXPECT_EQ(VakMessageBy<VakNamedPropertyI::Exception>(attempt), text);
  EXPECT_EQ(VakPrintedBy<VakNamedPropertyI::Exception>(attempt), text);
}

// ---- Deletion -----------------------------------------------------------------------------------

TEST(NamedProperty, ReturnsItsStorageAndItsTextWhenDeleted) {
  const VakScopedEnv env;
  static_cast<void>(env.impl()->intern("s"));
  VakCheckedPath path(env.impl());
  VakNamedStringProperty text(env.env, "s", "a text");
  VakNamedIntProperty integer(env.env, "s", 3);
  EXPECT_EQ(path.ledger().countBlocks(), 3);
  text.end();
  integer.end();
  EXPECT_EQ(path.ledger().countBlocks(), 0);
  EXPECT_EQ(path.ledger().mismatches, 0);
  EXPECT_EQ(text.getImpl(), nullptr);
}

TEST(NamedProperty, RefusesToBeDeletedWhileHeldAndStaysWhole) {
  VakCheckingAllocator allocator;
  bool isGone = false;
  auto* property = VakCreate<Witness>(VakMemoryManager(&allocator), "w", &isGone);
  property->_holders = 1;
  VakNamedPropertyI* base = property;
  EXPECT_EQ(VakMessageBy<VakWrongUsage>([&] { delete base; }),
            "Dangerous deletion of named property");
  EXPECT_FALSE(isGone);
  EXPECT_EQ(allocator.ledger.countBlocks(), 1);
  EXPECT_EQ(VakDisplayed(*base), "w (1)");
  property->_holders = 0;
  delete base;
  EXPECT_TRUE(isGone);
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
  EXPECT_EQ(allocator.ledger.mismatches, 0);
}

TEST(NamedProperty, RefusesThroughItsHandleToBeDeletedWhileHeld) {
  const VakScopedEnv env;
  VakNamedStringProperty property(env.env, "s", "abc");
  ++property.getImpl()->_holders;
  EXPECT_EQ(VakMessageBy<VakWrongUsage>([&] { property.end(); }),
            "Dangerous deletion of named property");
  EXPECT_EQ(VakDisplayed(*property.getImpl()), "s(abc)");
  --property.getImpl()->_holders;
}

TEST(NamedProperty, RefusesAnExplicitDestructionWhileHeld) {
  VakCheckingAllocator allocator;
  auto* property = VakCreate<VakNamedIntPropertyI>(VakMemoryManager(&allocator), "i", 1L);
  property->_holders = 1;
  EXPECT_EQ(VakMessageBy<VakWrongUsage>([&] { property->~VakNamedIntPropertyI(); }),
            "Dangerous deletion of named property");
  EXPECT_EQ(allocator.ledger.countBlocks(), 1);
}

TEST(NamedProperty, GivesBackTheStorageOfADestroyedPropertyThroughThePlainDelete) {
  VakCheckingAllocator allocator;
  auto* property = VakCreate<VakNamedIntPropertyI>(VakMemoryManager(&allocator), "i", 1L);
  VakNamedPropertyI::operator delete(static_cast<void*>(property), sizeof(VakNamedIntPropertyI));
  EXPECT_EQ(allocator.ledger.countBlocks(), 0);
  EXPECT_EQ(allocator.ledger.mismatches, 0);
}

// ---- Types --------------------------------------------------------------------------------------

TEST(NamedProperty, AnswersToItsKindAndToWhatItDerivesFrom) {
  const VakScopedEnv env;
  const auto* property = VakNamedIntProperty(env.env, "i", 1).getImpl();
  EXPECT_EQ(property->isType(VakNamedIntPropertyI::GetTypeInfo()), 1);
  EXPECT_EQ(property->isType(VakPreNamedPropertyI::GetTypeInfo()), 1);
  EXPECT_EQ(property->isType(VakNamedPropertyI::GetTypeInfo()), 1);
  EXPECT_EQ(property->isType(VakRttiMemoryManagerObjectI::GetTypeInfo()), 1);
  EXPECT_EQ(property->isType(VakRtti::GetTypeInfo()), 1);
  EXPECT_EQ(property->isType(VakNamedNumPropertyI::GetTypeInfo()), 0);
}

TEST(NamedProperty, KnowsTheNameOfItsKind) {
  const VakScopedEnv env;
  EXPECT_STREQ(VakNamedPropertyI::GetRttiTypeName(), "VakNamedPropertyI");
  EXPECT_STREQ(VakPreNamedPropertyI::GetRttiTypeName(), "VakPreNamedPropertyI");
  EXPECT_STREQ(VakNamedIntProperty(env.env, "i", 1).getImpl()->getRttiTypeName(),
               "VakNamedIntPropertyI");
  EXPECT_STREQ(VakNamedNumProperty(env.env, "n", 1).getImpl()->getRttiTypeName(),
               "VakNamedNumPropertyI");
  EXPECT_STREQ(VakNamedAnyProperty(env.env, "a", nullptr).getImpl()->getRttiTypeName(),
               "VakNamedAnyPropertyI");
  EXPECT_STREQ(VakNamedStringProperty(env.env, "s", "").getImpl()->getRttiTypeName(),
               "VakNamedStringPropertyI");
}

// ---- Handles ------------------------------------------------------------------------------------

TEST(NamedPropertyHandle, IsOnePointerAndEqualForTheSameProperty) {
  const VakScopedEnv env;
  EXPECT_EQ(sizeof(VakNamedProperty), sizeof(void*));
  const VakNamedIntProperty property(env.env, "i", 1);
  const VakNamedProperty same = property;
  const VakNamedIntProperty other(env.env, "i", 1);
  EXPECT_TRUE(same == property);
  EXPECT_FALSE(same == other);
}

TEST(NamedPropertyHandle, ConvertsToItsKindOnly) {
  const VakScopedEnv env;
  const VakNamedProperty property = VakNamedIntProperty(env.env, "i", 7);
  EXPECT_EQ(property.as<VakNamedIntProperty>().getValue(), 7);
  EXPECT_EQ(property.as<VakNamedNumProperty>().getImpl(), nullptr);
  EXPECT_EQ(VakNamedProperty().as<VakNamedIntProperty>().getImpl(), nullptr);
}

TEST(NamedPropertyHandle, NamesItselfWhenItIsEmpty) {
  const std::string text = "VakNamedProperty: Using empty handle";
  VakNamedIntProperty empty;
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { static_cast<void>(empty.getName()); }),
            text);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { static_cast<void>(empty.getValue()); }),
            text);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { empty.setValue(1); }), text);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { empty.end(); }), text);
}

}  // namespace

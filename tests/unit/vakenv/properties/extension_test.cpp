// The record of an owner's name, object and properties.

#include "vakenv/properties/extension.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "tests/support/checking_allocator.h"
#include "tests/support/scoped_env.h"
#include "vakenv/memory/create.h"
#include "vakenv/properties/named_property.h"
#include "vakenv/properties/property_set.h"

namespace {

static_assert(std::is_trivially_destructible_v<VakExtension>);
static_assert(std::is_trivially_destructible_v<VakExtension::VakObjectExtension>);

/// An allocator that checks every block, and a set made in it.
class Extension : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(allocator.ledger.mismatches, 0); }

  [[nodiscard]] long blocks() const { return allocator.ledger.countBlocks(); }
  VakNamedPropertySetI* makeSet() {
    return VakCreate<VakNamedPropertySetI>(VakMemoryManager(&allocator));
  }

  VakCheckingAllocator allocator;
};

TEST_F(Extension, IsEmptyWhenBuiltFromNulls) {
  const VakExtension extension(&allocator, nullptr, nullptr);
  EXPECT_EQ(extension._name, nullptr);
  EXPECT_EQ(extension._objectExtension, nullptr);
  EXPECT_EQ(allocator.ledger.requests, 0);
}

TEST_F(Extension, IsBuiltWithACopyOfTheNameAndWithTheObject) {
  char name[] = "model";
  VakExtension extension(&allocator, name, this);
  name[0] = 'n';
  EXPECT_STREQ(extension._name, "model");
  EXPECT_EQ(extension._objectExtension->_object, this);
  EXPECT_EQ(extension._objectExtension->_properties, nullptr);
  EXPECT_EQ(blocks(), 2);
  extension.end(&allocator);
  EXPECT_EQ(blocks(), 0);
  EXPECT_EQ(extension._name, nullptr);
  EXPECT_EQ(extension._objectExtension, nullptr);
}

TEST_F(Extension, UsesTheAllocatorOfAnEnvironmentGivenInItsPlace) {
  const VakScopedEnv env;
  VakEnvI* impl = env.impl();
  const VakInt usage = impl->getMemoryUsage();
  VakExtension extension(impl, "a name that is longer than sixteen", this);
  EXPECT_GT(impl->getMemoryUsage(), usage + 32);
  extension.setName(impl, "another");
  extension.setObject(impl, nullptr);
  EXPECT_STREQ(extension._name, "another");
  EXPECT_EQ(extension._objectExtension->_object, nullptr);
  VakExtension* slot = nullptr;
  EXPECT_EQ(VakExtension::getOrMake(impl, &slot), slot);
  extension.end(impl);
  impl->_allocator->free(slot, sizeof(VakExtension));
  EXPECT_EQ(impl->getMemoryUsage(), usage);
}

TEST_F(Extension, IsMadeInAnEmptySlotOnly) {
  VakExtension* slot = nullptr;
  VakExtension* made = VakExtension::getOrMake(&allocator, &slot);
  EXPECT_EQ(made, slot);
  EXPECT_EQ(made->_name, nullptr);
  EXPECT_EQ(made->_objectExtension, nullptr);
  EXPECT_EQ(VakExtension::getOrMake(&allocator, &slot), made);
  EXPECT_EQ(blocks(), 1);
}

TEST_F(Extension, ReplacesAndClearsItsName) {
  VakExtension extension(&allocator, "first", nullptr);
  extension.setName(&allocator, "the second name");
  EXPECT_STREQ(extension._name, "the second name");
  extension.setName(&allocator, "");
  EXPECT_STREQ(extension._name, "");
  extension.setName(&allocator, nullptr);
  EXPECT_EQ(extension._name, nullptr);
  EXPECT_EQ(blocks(), 0);
}

TEST_F(Extension, SurvivesBeingGivenAPartOfItsOwnName) {
  VakExtension extension(&allocator, "stored", nullptr);
  extension.setName(&allocator, extension._name);
  EXPECT_STREQ(extension._name, "stored");
  extension.setName(&allocator, extension._name + 2);
  EXPECT_STREQ(extension._name, "ored");
  extension.setName(&allocator, extension._name + 4);
  EXPECT_STREQ(extension._name, "");
  extension.end(&allocator);
  EXPECT_EQ(blocks(), 0);
}

TEST_F(Extension, HasNoNameWhenTheNewOneCannotBeCopied) {
  VakExtension extension(&allocator, "first", nullptr);
  allocator.ledger.failAt = allocator.ledger.requests + 1;
  EXPECT_THROW(extension.setName(&allocator, "second"), std::bad_alloc);
  EXPECT_EQ(extension._name, nullptr);
  EXPECT_EQ(blocks(), 0);
}

TEST_F(Extension, KeepsItsNameWhenAPartOfItCannotBeCopied) {
  VakExtension extension(&allocator, "first", nullptr);
  allocator.ledger.failAt = allocator.ledger.requests + 1;
  EXPECT_THROW(extension.setName(&allocator, extension._name + 1), std::bad_alloc);
  EXPECT_STREQ(extension._name, "first");
  extension.end(&allocator);
}

TEST_F(Extension, LeavesNothingWhenItCannotBeBuilt) {
  EXPECT_EQ(VakFailEachRequest(
                allocator.ledger,
                [&] {
                  VakExtension extension(&allocator, "name", this);
                  extension.end(&allocator);
                },
                [&] { EXPECT_EQ(blocks(), 0); }),
            2);
}

TEST_F(Extension, TakesAnObjectTwiceIntoOneObjectExtension) {
  VakExtension extension(&allocator, nullptr, nullptr);
  extension.setObject(&allocator, this);
  extension.setObject(&allocator, nullptr);
  EXPECT_EQ(extension._objectExtension->_object, nullptr);
  EXPECT_EQ(blocks(), 1);
  extension.end(&allocator);
}

TEST_F(Extension, DoesNothingForANullSetWithoutAnObjectExtension) {
  VakExtension extension(&allocator, nullptr, nullptr);
  extension.setProperties(nullptr);
  EXPECT_EQ(extension._objectExtension, nullptr);
  EXPECT_EQ(allocator.ledger.requests, 0);
}

TEST_F(Extension, MakesItsObjectExtensionInTheMemoryOfTheSetThatItTakesOver) {
  VakCheckingAllocator other;
  VakExtension extension(&other, nullptr, nullptr);
  VakNamedPropertySetI* set = makeSet();
  extension.setProperties(set);
  EXPECT_EQ(extension._objectExtension->_properties, set);
  EXPECT_EQ(extension._objectExtension->_object, nullptr);
  EXPECT_EQ(blocks(), 2);
  EXPECT_EQ(other.ledger.countBlocks(), 0);
  extension.end(&allocator);
  EXPECT_EQ(blocks(), 0);
}

TEST_F(Extension, DeletesTheSetThatItHeldForAnotherOrForNull) {
  VakExtension extension(&allocator, nullptr, this);
  extension.setProperties(makeSet());
  VakNamedPropertySetI* second = makeSet();
  extension.setProperties(second);
  EXPECT_EQ(extension._objectExtension->_properties, second);
  EXPECT_EQ(blocks(), 2);
  extension.setProperties(nullptr);
  EXPECT_EQ(extension._objectExtension->_properties, nullptr);
  EXPECT_EQ(extension._objectExtension->_object, this);
  EXPECT_EQ(blocks(), 1);
  extension.end(&allocator);
}

// Whoever passes the set that is held is left with a pointer to a deleted set, which this test
// therefore takes out of the record again.
TEST_F(Extension, DeletesTheSetThatItHeldEvenWhenItIsPassedAgain) {
  VakExtension extension(&allocator, nullptr, this);
  VakNamedPropertySetI* set = makeSet();
  extension.setProperties(set);
  extension.setProperties(set);
  EXPECT_EQ(extension._objectExtension->_properties, set);
  EXPECT_EQ(blocks(), 1);
  extension._objectExtension->_properties = nullptr;
  extension.end(&allocator);
}

TEST_F(Extension, CreatesASetWithoutDeletingTheOldOne) {
  VakExtension extension(&allocator, nullptr, this);
  VakExtension::VakObjectExtension* objects = extension._objectExtension;
  objects->createProperties(&allocator);
  VakNamedPropertySetI* first = objects->_properties;
  objects->createProperties(&allocator);
  EXPECT_NE(objects->_properties, first);
  EXPECT_EQ(objects->_properties->_first, nullptr);
  EXPECT_EQ(blocks(), 3);
  delete first;
  extension.end(&allocator);
  EXPECT_EQ(blocks(), 0);
}

TEST_F(Extension, ForgetsObjectAndSetWhenItsObjectExtensionEnds) {
  VakExtension extension(&allocator, nullptr, this);
  extension.setProperties(makeSet());
  extension._objectExtension->end();
  EXPECT_EQ(extension._objectExtension->_object, nullptr);
  EXPECT_EQ(extension._objectExtension->_properties, nullptr);
  EXPECT_EQ(blocks(), 1);
  extension._objectExtension->end();
  extension.end(&allocator);
  EXPECT_EQ(blocks(), 0);
}

TEST_F(Extension, MayEndTwice) {
  VakExtension extension(&allocator, "name", this);
  extension.end(&allocator);
  extension.end(&allocator);
  EXPECT_EQ(blocks(), 0);
}

}  // namespace

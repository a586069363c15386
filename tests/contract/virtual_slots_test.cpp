// The order of virtual functions of every class for which it is fixed. Other modules are compiled
// against this order, so a function must never move.
//
// In the C++ ABI of 64-bit Linux a pointer to a virtual member function holds 1 plus 8 times the
// index of its slot. Slots 0 and 1 are the complete and the deleting destructor.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <iosfwd>

#include "vakbase/exception.h"
#include "vakenv/core/local_env.h"
#include "vakenv/core/multithreading.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/memory/gen_alloc.h"
#include "vakenv/memory/memory_manager_object.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/properties/named_property_impl.h"
#include "vakenv/registry/deleter.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/contract/algorithm.h"

namespace {

// The slot of a virtual function; -1 for one that is not virtual.
template <class Function>
long slotOf(Function function) {
  struct {
    std::size_t pointer;
    std::ptrdiff_t adjustment;
  } parts{};
  static_assert(sizeof(parts) == sizeof(function));
  std::memcpy(&parts, &function, sizeof(function));
  if (parts.adjustment != 0 || parts.pointer % 8 != 1) return -1;
  return static_cast<long>(parts.pointer / 8);
}

// What every class with run-time types has first.
template <class C>
void expectTypeSlots() {
  EXPECT_EQ(slotOf(static_cast<VakInt (C::*)() const>(&C::getTypeIndex)), 2);
  EXPECT_EQ(slotOf(static_cast<VakTypeInfo (C::*)() const>(&C::getTypeInfo)), 3);
  EXPECT_EQ(slotOf(static_cast<VakInt (C::*)(VakTypeInfo) const>(&C::isType)), 4);
  EXPECT_EQ(slotOf(static_cast<const char* (C::*)() const>(&C::getRttiTypeName)), 5);
  EXPECT_EQ(slotOf(static_cast<VakInt (C::*)() const>(&C::getExtractableSize)), 6);
}

template <class C>
void expectTypeSlotsBelowRoot() {
  expectTypeSlots<C>();
  EXPECT_EQ(slotOf(static_cast<VakTypeInfo (C::*)() const>(&C::getBaseTypeInfo)), 7);
  EXPECT_EQ(slotOf(static_cast<VakInt (C::*)() const>(&C::getBaseTypeIndex)), 8);
}

// Counts the virtual functions of C: a class that adds one to it finds it in the next slot.
template <class C>
long firstFreeSlot() {
  struct Extended : C {
    virtual void added() {}
  };
  return slotOf(&Extended::added);
}

TEST(VirtualSlots, OfExceptionsAreMessagePrintAndEnd) {
  EXPECT_EQ(slotOf(&VakExceptionBase::getMessage), 2);
  EXPECT_EQ(slotOf(&VakExceptionBase::print), 3);
  EXPECT_EQ(slotOf(&VakExceptionBase::end), 4);
  EXPECT_EQ(slotOf(static_cast<const char* (VakException::*)() const>(&VakException::getMessage)),
            2);
}

TEST(VirtualSlots, OfTheTypeRootAreFiveTypeOperations) {
  expectTypeSlots<VakRtti>();
  EXPECT_EQ(firstFreeSlot<VakRtti>(), 7);
}

TEST(VirtualSlots, OfClassesBelowTheTypeRootAddTheTwoBaseQueries) {
  expectTypeSlotsBelowRoot<VakRttiMemoryManagerObjectI>();
  EXPECT_EQ(firstFreeSlot<VakRttiMemoryManagerObjectI>(), 9);
  expectTypeSlotsBelowRoot<VakRttiEnvObjectI>();
  EXPECT_EQ(firstFreeSlot<VakRttiEnvObjectI>(), 9);
}

TEST(VirtualSlots, OfAllocatorsAddMemoryValuesAndTexts) {
  expectTypeSlotsBelowRoot<VakGenAlloc>();
  EXPECT_EQ(slotOf(&VakGenAlloc::alloc), 9);
  EXPECT_EQ(slotOf(&VakGenAlloc::free), 10);
  EXPECT_EQ(slotOf(static_cast<void (VakGenAlloc::*)(void**) const>(&VakGenAlloc::saveValue)), 11);
  EXPECT_EQ(slotOf(static_cast<void (VakGenAlloc::*)(long*) const>(&VakGenAlloc::saveValue)), 12);
  EXPECT_EQ(slotOf(static_cast<void (VakGenAlloc::*)(double*) const>(&VakGenAlloc::saveValue)), 13);
  EXPECT_EQ(slotOf(&VakGenAlloc::intern), 14);
  EXPECT_EQ(firstFreeSlot<VakGenAlloc>(), 15);
}

TEST(VirtualSlots, OfPlainObjectBasesAreTheDestructorsOnly) {
  EXPECT_EQ(firstFreeSlot<VakMemoryManagerObjectI>(), 2);
  EXPECT_EQ(firstFreeSlot<VakEnvObjectI>(), 2);
}

TEST(VirtualSlots, OfTheMutexAreLockUnlockAndThenTheDestructors) {
  EXPECT_EQ(slotOf(&VakBaseEnvMutex::lock), 0);
  EXPECT_EQ(slotOf(&VakBaseEnvMutex::unlock), 1);
  EXPECT_EQ(firstFreeSlot<VakBaseEnvMutex>(), 4);
}

TEST(VirtualSlots, OfLocalEnvironmentsAreMemoryIdentifiersAndValues) {
  EXPECT_EQ(slotOf(&VakLocalEnvI::alloc), 2);
  EXPECT_EQ(slotOf(&VakLocalEnvI::free), 3);
  EXPECT_EQ(slotOf(&VakLocalEnvI::init), 4);
  EXPECT_EQ(slotOf(static_cast<void (VakLocalEnvI::*)(void**)>(&VakLocalEnvI::saveValue)), 5);
  EXPECT_EQ(slotOf(static_cast<void (VakLocalEnvI::*)(long*)>(&VakLocalEnvI::saveValue)), 6);
  EXPECT_EQ(slotOf(static_cast<void (VakLocalEnvI::*)(double*)>(&VakLocalEnvI::saveValue)), 7);
  EXPECT_EQ(slotOf(&VakLocalEnvI::bookId), -1);
  EXPECT_EQ(slotOf(&VakLocalEnvI::releaseId), -1);
  EXPECT_EQ(firstFreeSlot<VakLocalEnvI>(), 8);
}

TEST(VirtualSlots, OfDestroyablesAreThoseOfTheirBase) {
  expectTypeSlotsBelowRoot<VakDestroyableI>();
  EXPECT_EQ(firstFreeSlot<VakDestroyableI>(), 9);
}

TEST(VirtualSlots, OfPlugInsAddNotificationsToThoseOfTheirBase) {
  expectTypeSlotsBelowRoot<VakPlugIn>();
  EXPECT_EQ(firstFreeSlot<VakPlugIn>(), 9);
  expectTypeSlotsBelowRoot<VakNotifiedPlugIn>();
  EXPECT_EQ(slotOf(&VakNotifiedPlugIn::notifyChange), 9);
  EXPECT_EQ(firstFreeSlot<VakNotifiedPlugIn>(), 10);
  expectTypeSlotsBelowRoot<VakPlugInAddon>();
  EXPECT_EQ(slotOf(&VakPlugInAddon::plugInAdded), 9);
  EXPECT_EQ(slotOf(&VakPlugInAddon::plugInRemoved), 10);
  EXPECT_EQ(firstFreeSlot<VakPlugInAddon>(), 11);
}

TEST(VirtualSlots, OfDeletersAddElevenToThoseOfNotifiedPlugIns) {
  using Deleter = VakBaseDeleterI;
  EXPECT_EQ(slotOf(&Deleter::start), 10);
  EXPECT_EQ(slotOf(&Deleter::extractableAdded), 11);
  EXPECT_EQ(slotOf(&Deleter::extractableRemoved), 12);
  EXPECT_EQ(slotOf(&Deleter::inhibit), 13);
  EXPECT_EQ(
      slotOf(static_cast<void (Deleter::*)(VakExtractableI*, VakInt)>(&Deleter::removeAndDelete)),
      14);
  EXPECT_EQ(slotOf(&Deleter::isUnused), 15);
  EXPECT_EQ(slotOf(static_cast<void (Deleter::*)(VakExtractableArray, VakInt)>(
                &Deleter::removeAndDelete)),
            16);
  EXPECT_EQ(slotOf(&Deleter::setVerbosityLevel), 17);
  EXPECT_EQ(firstFreeSlot<Deleter>(), 21);
}

TEST(VirtualSlots, OfNamedPropertiesAddDisplayNameAndClone) {
  expectTypeSlotsBelowRoot<VakNamedPropertyI>();
  EXPECT_EQ(slotOf(&VakNamedPropertyI::display), 9);
  EXPECT_EQ(slotOf(&VakNamedPropertyI::getName), 10);
  EXPECT_EQ(slotOf(&VakNamedPropertyI::makeClone), 11);
  EXPECT_EQ(firstFreeSlot<VakNamedPropertyI>(), 12);
  EXPECT_EQ(firstFreeSlot<VakNamedIntPropertyI>(), 12);
}

TEST(VirtualSlots, OfAlgorithmsBeginWithTheirEnd) { EXPECT_EQ(slotOf(&VakAlgorithmI::end), 2); }

}  // namespace

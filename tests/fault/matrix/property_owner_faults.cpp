// Objects that carry named properties: the environment and the two extensible objects.

#include <string_view>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/property_world.h"
#include "vakenv/properties/extensible_object.h"
#include "vakenv/properties/extension.h"
#include "vakenv/properties/extension_slot.h"

namespace {

constexpr const char* Records = "records that were made stay with their owner";

// The owners of properties as one: the environment itself, and the two extensible objects.
template <class Owner>
Owner* makeOwner(VakStage& s);
template <>
VakEnvI* makeOwner(VakStage& s) {
  return s.impl();
}
template <>
VakExtensibleRttiEnvObjectI* makeOwner(VakStage& s) {
  return VakCreate<VakExtensibleRttiEnvObjectI>(s.impl());
}
template <>
VakExtensibleRttiMemoryManagerObjectI* makeOwner(VakStage& s) {
  return VakCreate<VakExtensibleRttiMemoryManagerObjectI>(s.env.getMemoryManager());
}

// Frees what an owner got, so that all that is made is given back.
template <class Owner>
void clearOwner(Owner* owner) {
  owner->setName(nullptr);
  owner->removeAllProperties();
}

template <class Owner>
VakScene nameOwner(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  owner->setName("an old name");
  return {.act = [owner] { owner->setName("another name"); },
          .undo = [owner] { clearOwner(owner); },
          .afterFailure = [owner]() -> std::string {
            return owner->getName() == nullptr ? "" : "a name is there";
          },
          .mayKeep = "the old name is given back first"};
}

template <class Owner>
VakScene giveObject(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  return {.act = [owner] { owner->setObject(owner); },
          .afterFailure = [owner]() -> std::string {
            return owner->getObject() == nullptr ? "" : "an object is there";
          },
          .mayKeep = Records};
}

template <class Owner>
VakScene setValues(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  return {.act =
              [owner] {
                owner->setIntProperty("i", 1);
                owner->setNumProperty("n", 1.5);
                owner->setAnyProperty("a", owner);
                owner->setStringProperty("s", "text");
                owner->setStringProperty("s", "another text");
              },
          .undo = [owner] { clearOwner(owner); },
          .afterFailure = [owner]() -> std::string {
            const VakNamedPropertySetI* set = owner->getProperties();
            return set == nullptr || set->isConsistent() ? "" : "the set";
          },
          .afterSuccess = [owner]() -> std::string {
            const bool fine = owner->getIntProperty("i") == 1 &&
                              owner->getNumProperty("n") == 1.5 &&
                              owner->getAnyProperty("a") == owner &&
                              std::string(owner->getStringProperty("s")) == "another text";
            return fine ? "" : "a value";
          },
          .mayKeep = "properties that were set before stay"};
}

template <class Owner>
VakScene addShared(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  auto& property = s.keep<VakNamedIntProperty>(s.env, "size", 3);
  return {.act = [owner, &property] { owner->addProperty(property.getImpl()); },
          .undo = [owner] { clearOwner(owner); },
          .afterFailure = [&property]() -> std::string {
            return property.getImpl()->_holders == 0 ? "" : "the property is held";
          },
          .mayKeep = Records};
}

template <class Owner>
VakScene addCopy(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  auto& property = s.keep<VakNamedStringProperty>(s.env, "colour", "red");
  return {.act = [owner, &property] { owner->addClonedProperty(property.getImpl()); },
          .undo =
              [owner, &property] {
                clearOwner(owner);
                property.end();
              },
          .afterFailure = [owner]() -> std::string {
            return owner->hasProperty("colour") == 0 ? "" : "a copy is there";
          },
          .mayKeep = Records};
}

template <class Owner>
VakScene addCopies(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  auto& set = s.keep<VakNamedPropertySet>(VakMakePropertySet(s));
  return {.act = [owner, &set] { owner->addProperties(set.getImpl()); },
          .undo =
              [owner, &set] {
                clearOwner(owner);
                set.end();
              },
          .prepare = [owner] { owner->removeAllProperties(); },
          .afterFailure = [owner]() -> std::string {
            const VakNamedPropertySetI* added = owner->getProperties();
            return added == nullptr || added->isConsistent() ? "" : "the set";
          },
          .mayKeep = "copies that were added before stay"};
}

template <class Owner>
VakScene takeOverSet(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  auto& set = s.keep<VakNamedPropertySet>(VakMakePropertySet(s));
  return {.act = [owner, &set] { owner->setProperties(set.getImpl()); },
          .undo = [owner] { clearOwner(owner); },
          .afterFailure = [owner]() -> std::string {
            return owner->getProperties() == nullptr ? "" : "a set is there";
          },
          .mayKeep = Records};
}

template <class Owner>
VakScene readOwner(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  owner->setProperties(VakMakePropertySet(s).getImpl());
  return {.act =
              [owner, &s] {
                bool fine = owner->getName() == nullptr && owner->getObject() == nullptr;
                fine = fine && owner->hasProperty("size") == 1;
                fine = fine && owner->getProperty("size") != nullptr;
                fine = fine && VakGetOwnerAllocator(owner) == s.allocator();
                VakNamedIntProperty property;
                VakGetPropertyI(static_cast<const char*>("size"), owner, property);
                VakInt value = 0;
                VakGetPropertyValueI<VakNamedIntProperty>("size", owner, value);
                fine = fine && value == 3 && property.getValue() == 3;
                VakSetPropertyValueI<VakNamedIntProperty>("size", owner, 4L);
                owner->removeProperty("size");
                owner->removeProperty(owner->getProperty("colour"));
                if (!fine) throw std::logic_error("an answer");
              },
          .undo = [owner] { clearOwner(owner); }};
}

// Values of names of a known length, which are not terminated where they end.
VakScene setValuesOfKnownLength(VakStage& s) {
  auto* owner = makeOwner<VakExtensibleRttiEnvObjectI>(s);
  constexpr std::string_view text = "size and weight of a thing";
  constexpr std::string_view first = text.substr(0, 4);
  constexpr std::string_view second = text.substr(9, 6);
  return {.act =
              [owner, first, second] {
                owner->setPropertyValue<VakNamedIntProperty>(first, 2);
                owner->setPropertyValue<VakNamedStringProperty>(second, "heavy");
                owner->setPropertyValue<VakNamedStringProperty>(second, "light");
              },
          .undo = [owner] { clearOwner(owner); },
          .afterFailure = [owner]() -> std::string {
            const VakNamedPropertySetI* set = owner->getProperties();
            return set == nullptr || set->isConsistent() ? "" : "the set";
          },
          .afterSuccess = [owner, first, second]() -> std::string {
            const bool fine = owner->getPropertyValue<VakNamedIntProperty>(first) == 2;
            const char* value = owner->getPropertyValue<VakNamedStringProperty>(second);
            return fine && std::string_view(value) == "light" ? "" : "a value";
          },
          .mayKeep = "properties that were set before stay"};
}

const std::vector<VakFaultOperation> _operations = {
    {"name the environment", "VakEnvI::setName VakEnvI::getName", nameOwner<VakEnvI>},
    {"name an extensible object",
     "VakPropertyOwner::setName VakPropertyOwner::getName "
     "VakExtensibleRttiEnvObjectI::VakExtensibleRttiEnvObjectI",
     nameOwner<VakExtensibleRttiEnvObjectI>},
    {"name an extensible object of a memory manager",
     "VakExtensibleRttiMemoryManagerObjectI::VakExtensibleRttiMemoryManagerObjectI",
     nameOwner<VakExtensibleRttiMemoryManagerObjectI>},
    {"give the environment an object", "VakEnvI::setObject VakEnvI::getObject",
     giveObject<VakEnvI>},
    {"give an extensible object an object",
     "VakPropertyOwner::setObject VakPropertyOwner::getObject",
     giveObject<VakExtensibleRttiEnvObjectI>},
    {"set values of the environment",
     "VakEnvI::setIntProperty VakEnvI::setNumProperty VakEnvI::setAnyProperty "
     "VakEnvI::setStringProperty VakEnvI::getIntProperty VakEnvI::getNumProperty "
     "VakEnvI::getAnyProperty VakEnvI::getStringProperty",
     setValues<VakEnvI>},
    {"set values of an extensible object",
     "VakPropertyOwner::setIntProperty VakPropertyOwner::setNumProperty "
     "VakPropertyOwner::setAnyProperty VakPropertyOwner::setStringProperty "
     "VakPropertyOwner::getIntProperty VakPropertyOwner::getNumProperty "
     "VakPropertyOwner::getAnyProperty VakPropertyOwner::getStringProperty",
     setValues<VakExtensibleRttiEnvObjectI>},
    {"set values of an extensible object of a memory manager",
     "VakPropertyOwner::setStringProperty", setValues<VakExtensibleRttiMemoryManagerObjectI>},
    {"set values of names of a known length",
     "VakPropertyOwner::setPropertyValue VakPropertyOwner::getPropertyValue",
     setValuesOfKnownLength},
    {"share a property with the environment", "VakEnvI::addProperty", addShared<VakEnvI>},
    {"share a property with an extensible object", "VakPropertyOwner::addProperty",
     addShared<VakExtensibleRttiEnvObjectI>},
    {"add a copy of a property to the environment", "VakEnvI::addClonedProperty", addCopy<VakEnvI>},
    {"add a copy of a property to an extensible object", "VakPropertyOwner::addClonedProperty",
     addCopy<VakExtensibleRttiEnvObjectI>},
    {"add copies of a set to the environment", "VakEnvI::addProperties", addCopies<VakEnvI>},
    {"add copies of a set to an extensible object", "VakPropertyOwner::addProperties",
     addCopies<VakExtensibleRttiEnvObjectI>},
    {"hand a set over to the environment", "VakEnvI::setProperties VakEnvI::getProperties",
     takeOverSet<VakEnvI>},
    {"hand a set over to an extensible object",
     "VakPropertyOwner::setProperties VakPropertyOwner::getProperties",
     takeOverSet<VakExtensibleRttiEnvObjectI>},
    {"read and remove properties of the environment",
     "VakEnvI::hasProperty VakEnvI::getProperty VakEnvI::removeProperty "
     "VakEnvI::removeAllProperties VakGetOwnerAllocator VakGetPropertyI VakGetPropertyValueI "
     "VakSetPropertyValueI",
     readOwner<VakEnvI>},
    {"read and remove properties of an extensible object",
     "VakPropertyOwner::hasProperty VakPropertyOwner::getProperty "
     "VakPropertyOwner::removeProperty VakPropertyOwner::removeAllProperties",
     readOwner<VakExtensibleRttiEnvObjectI>},
    {"use properties through the environment's handle",
     "VakEnv::setName VakEnv::getName VakEnv::setObject VakEnv::getObject VakEnv::getProperties "
     "VakEnv::setProperties VakEnv::hasProperty VakEnv::getProperty VakEnv::getPropertyI "
     "VakEnv::addProperty VakEnv::addClonedProperty VakEnv::addProperties VakEnv::removeProperty "
     "VakEnv::removeAllProperties VakEnv::getIntProperty VakEnv::getNumProperty "
     "VakEnv::getAnyProperty VakEnv::getStringProperty VakEnv::setIntProperty "
     "VakEnv::setNumProperty VakEnv::setAnyProperty VakEnv::setStringProperty",
     [](VakStage& s) {
       VakNamedPropertySet copied = VakMakePropertySet(s);
       VakNamedIntProperty cloned(s.env, "cloned", 1);
       struct Made {
         VakNamedPropertySet set;
         VakNamedProperty shared;
       };
       auto& made = s.keep<Made>();
       const auto use = [&s, &made, copied, cloned] {
         s.env.setName("a name");
         s.env.setObject(&s);
         made.set = VakNamedPropertySet(s.env.getMemoryManager());
         s.env.setProperties(made.set);
         made.set = VakNamedPropertySet();
         made.shared = VakNamedIntProperty(s.env, "shared", 1);
         s.env.addProperty(made.shared);
         made.shared = VakNamedProperty();
         s.env.addClonedProperty(cloned);
         s.env.addProperties(copied);
         s.env.setIntProperty("i", 1);
         s.env.setNumProperty("n", 1.5);
         s.env.setAnyProperty("a", &s);
         s.env.setStringProperty("s", "text");
         bool fine = s.env.getIntProperty("i") == 1 && s.env.getNumProperty("n") == 1.5;
         fine = fine && s.env.getAnyProperty("a") == &s && s.env.getObject() == &s;
         fine = fine && std::string(s.env.getStringProperty("s")) == "text";
         fine = fine && s.env.getName() != nullptr && s.env.hasProperty("cloned") == 1;
         fine = fine && s.env.getProperty("i").getImpl() == s.env.getPropertyI("i");
         fine = fine && s.env.getProperty<int>("i") == 1;
         fine = fine && s.env.getProperties().hasProperty("shared");
         s.env.removeProperty("i");
         if (!fine) throw std::logic_error("an answer");
       };
       return VakScene{.act = use,
                       .undo =
                           [&s] {
                             s.env.setName(nullptr);
                             s.env.removeAllProperties();
                           },
                       .prepare =
                           [&s, &made] {
                             // What was made and could not be handed over is still ours.
                             if (made.set.getImpl() != nullptr) made.set.end();
                             if (made.shared.getImpl() != nullptr) made.shared.end();
                             s.env.removeAllProperties();
                           },
                       .mayKeep = "everything that was set before stays"};
     }},
    {"make and end an extension",
     "VakExtension::VakExtension VakExtension::getOrMake VakExtension::setName "
     "VakExtension::setObject VakExtension::setProperties VakExtension::end "
     "VakExtension::VakObjectExtension::createProperties VakExtension::VakObjectExtension::end",
     [](VakStage& s) {
       auto& slot = s.keep<VakExtension*>(nullptr);
       return VakScene{.act =
                           [&] {
                             VakExtension* record = VakExtension::getOrMake(s.impl(), &slot);
                             record->setName(s.impl(), "a name");
                             record->setObject(s.allocator(), &s);
                             VakExtension::VakObjectExtension& part = *record->_objectExtension;
                             part.end();
                             part.createProperties(s.allocator());
                             VakNamedPropertySet set(s.env.getMemoryManager());
                             record->setProperties(set.getImpl());
                           },
                       .undo =
                           [&] {
                             slot->end(s.impl());
                             s->giveBack(slot, sizeof(VakExtension));
                             slot = nullptr;
                           },
                       .mayKeep = Records};
     }},
    {"construct an extension with a name and an object", "VakExtension::VakExtension",
     [](VakStage& s) {
       auto& record = s.keep<std::unique_ptr<VakExtension>>();
       return VakScene{
           .act = [&] { record = std::make_unique<VakExtension>(s.impl(), "a name", &s); },
           .undo = [&] { record->end(s.allocator()); }};
     }},
    {"use a slot for an extension",
     "VakExtensionSlot::VakExtensionSlot VakExtensionSlot::setName VakExtensionSlot::setObject "
     "VakExtensionSlot::setProperties VakExtensionSlot::addProperty "
     "VakExtensionSlot::addClonedProperty VakExtensionSlot::addProperties "
     "VakExtensionSlot::removeProperty VakExtensionSlot::removeAllProperties "
     "VakExtensionSlot::end VakExtensionSlot::GetName VakExtensionSlot::GetObject "
     "VakExtensionSlot::GetProperties VakExtensionSlot::HasProperty VakExtensionSlot::GetProperty",
     [](VakStage& s) {
       auto& record = s.keep<VakExtension*>(nullptr);
       VakNamedPropertySet copied = VakMakePropertySet(s);
       VakNamedIntProperty shared(s.env, "shared", 1);
       ++shared.getImpl()->_holders;  // Ours, so that it survives the set.
       const auto use = [&s, &record, copied, shared] {
         const VakExtensionSlot slot(s.allocator(), record);
         slot.setName("a name");
         slot.setObject(&s);
         slot.setProperties(nullptr);
         slot.addProperty(shared.getImpl());
         slot.addProperties(copied.getImpl());
         slot.removeProperty("own");
         slot.addClonedProperty(copied.getProperty("own").getImpl());
         bool fine = VakExtensionSlot::GetName(record) != nullptr;
         fine = fine && VakExtensionSlot::GetObject(record) == &s;
         fine = fine && VakExtensionSlot::GetProperties(record)->isConsistent();
         fine = fine && VakExtensionSlot::HasProperty(record, "own") == 1;
         slot.removeProperty(VakExtensionSlot::GetProperty(record, "own"));
         slot.removeAllProperties();
         if (!fine) throw std::logic_error("an answer");
       };
       return VakScene{.act = use,
                       .undo = [&s, &record] { VakExtensionSlot(s.allocator(), record).end(); },
                       .mayKeep = Records};
     }},
};

}  // namespace

VakFaultGroup VakPropertyOwnerFaults() { return {"Objects that carry properties", _operations}; }

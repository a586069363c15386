// Named properties, sets of them, and the objects that carry them.

#include <sstream>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/properties.h"
#include "vakenv/properties/extensible_object.h"
#include "vakenv/properties/extension.h"
#include "vakenv/properties/extension_slot.h"

namespace {

constexpr const char* Interned =
    "a name that was interned stays, and so do the environment's tables";
constexpr const char* Records = "records that were made stay with their owner";

// A set with properties of all kinds, one of which is the user's.
VakNamedPropertySet makeSet(VakStage& s) {
  VakNamedPropertySet set(s.env.getMemoryManager());
  set.addProperty(VakNamedIntProperty(s.env, "size", 3));
  set.addProperty(VakNamedStringProperty(s.env, "colour", "red"));
  set.addProperty(VakNamedProperty(VakCreate<VakUserProperty>(s.env, "own")));
  return set;
}

template <class Property, class Value>
VakScene makeProperty(VakStage& s, Value value) {
  auto& property = s.keep<Property>();
  return {.act =
              [&property, &s, value] {
                property = Property(s.env, "size", value);
                if (property.getValue() != value && property.getValue() == Value()) {
                  throw std::logic_error("a value");
                }
              },
          .undo = [&property] { property.end(); },
          .mayKeep = Interned};
}

template <class Property, class Value>
VakScene cloneProperty(VakStage& s, Value value) {
  auto& property = s.keep<Property>(s.env, "size", value);
  auto& copy = s.keep<Property>();
  return {.act = [&] { copy = property.makeClone(s.other); },
          .undo =
              [&] {
                property.end();
                copy.end();
              },
          .mayKeep = Interned};
}

std::string checkSet(VakNamedPropertySet set, VakInt size) {
  if (!set.getImpl()->isConsistent()) return "the set";
  VakInt found = 0;
  for (const VakNamedProperty property : set.all()) {
    ++found;
    if (property.getImpl()->_holders != 1) return "a count of holders";
  }
  return found == size ? "" : "its size";
}

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
  auto& set = s.keep<VakNamedPropertySet>(makeSet(s));
  return {.act = [owner, &set] { owner->addProperties(set.getImpl()); },
          .undo =
              [owner, &set] {
                clearOwner(owner);
                set.end();
              },
          .again =
              [owner, &set] {
                owner->removeAllProperties();
                owner->addProperties(set.getImpl());
              },
          .afterFailure = [owner]() -> std::string {
            const VakNamedPropertySetI* added = owner->getProperties();
            return added == nullptr || added->isConsistent() ? "" : "the set";
          },
          .mayKeep = "copies that were added before stay"};
}

template <class Owner>
VakScene takeOverSet(VakStage& s) {
  Owner* owner = makeOwner<Owner>(s);
  auto& set = s.keep<VakNamedPropertySet>(makeSet(s));
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
  owner->setProperties(makeSet(s).getImpl());
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

const std::vector<VakFaultOperation> _operations = {
    {"make an integer property",
     "VakTypedNamedProperty::VakTypedNamedProperty* VakNamedProperty::VakNamedProperty "
     "VakTypedNamedProperty::getValue VakNamedIntPropertyI::VakNamedIntPropertyI* "
     "VakPreNamedPropertyI::VakPreNamedPropertyI VakNamedPropertyI::VakNamedPropertyI "
     "VakNamedIntPropertyI::getValue VakNamedProperty::end",
     [](VakStage& s) { return makeProperty<VakNamedIntProperty>(s, 3L); }},
    {"make a numeric property",
     "VakNamedNumPropertyI::VakNamedNumPropertyI* "
     "VakNamedNumPropertyI::getValue",
     [](VakStage& s) { return makeProperty<VakNamedNumProperty>(s, 3.5); }},
    {"make a property of an object",
     "VakNamedAnyPropertyI::VakNamedAnyPropertyI* "
     "VakNamedAnyPropertyI::getValue",
     [](VakStage& s) { return makeProperty<VakNamedAnyProperty>(s, static_cast<void*>(&s)); }},
    {"make a text property",
     "VakNamedStringPropertyI::VakNamedStringPropertyI* VakNamedPropertyI::cloneString* "
     "VakNamedPropertyI::freeString* VakNamedStringPropertyI::getValue",
     [](VakStage& s) {
       return makeProperty<VakNamedStringProperty>(s, static_cast<const char*>("red"));
     }},
    {"clone an integer property",
     "VakNamedProperty::makeClone VakTypedNamedProperty::makeClone VakNamedPropertyI::makeClone "
     "VakNamedIntPropertyI::makeClone",
     [](VakStage& s) { return cloneProperty<VakNamedIntProperty>(s, 3L); }},
    {"clone a numeric property", "VakNamedNumPropertyI::makeClone",
     [](VakStage& s) { return cloneProperty<VakNamedNumProperty>(s, 3.5); }},
    {"clone a property of an object", "VakNamedAnyPropertyI::makeClone",
     [](VakStage& s) { return cloneProperty<VakNamedAnyProperty>(s, static_cast<void*>(&s)); }},
    {"clone a text property", "VakNamedStringPropertyI::makeClone",
     [](VakStage& s) {
       return cloneProperty<VakNamedStringProperty>(s, static_cast<const char*>("red"));
     }},
    {"clone a property without a value", "VakPreNamedPropertyI::makeClone",
     [](VakStage& s) {
       auto& bare = s.keep<VakNamedProperty>(VakCreate<VakPreNamedPropertyI>(s.env, "bare"));
       auto& copy = s.keep<VakNamedProperty>();
       return VakScene{.act = [&] { copy = bare.makeClone(s.env); },
                       .undo =
                           [&] {
                             bare.end();
                             copy.end();
                           }};
     }},
    {"change the values of properties",
     "VakTypedNamedProperty::setValue VakTypedNamedProperty::getImpl "
     "VakNamedIntPropertyI::setValue VakNamedNumPropertyI::setValue VakNamedAnyPropertyI::setValue "
     "VakNamedStringPropertyI::setValue",
     [](VakStage& s) {
       auto& text = s.keep<VakNamedStringProperty>(s.env, "colour", "red");
       VakNamedIntProperty integer(s.env, "i", 1);
       VakNamedNumProperty number(s.env, "n", 1);
       VakNamedAnyProperty object(s.env, "a", nullptr);
       return VakScene{.act =
                           [&text, integer, number, object, &s] {
                             integer.setValue(2);
                             number.setValue(2);
                             object.getImpl()->setValue(&s);
                             text.setValue("a longer text");
                           },
                       .undo = [&text] { text.end(); },
                       .afterFailure = [&text]() -> std::string {
                         return text.getValue() == nullptr ? "" : "a text is there";
                       },
                       .mayKeep = "the old text is given back first"};
     }},
    {"display properties",
     "VakNamedProperty::display VakNamedProperty::getName VakNamedProperty::getImpl "
     "VakNamedProperty::operator== VakNamedProperty::as operator<< VakNamedPropertyI::display "
     "VakNamedPropertyI::getName VakPreNamedPropertyI::getName VakNamedIntPropertyI::display "
     "VakNamedNumPropertyI::display VakNamedAnyPropertyI::display VakNamedStringPropertyI::display",
     [](VakStage& s) {
       auto& out = s.keep<VakUserStream>();
       VakNamedPropertySet set = makeSet(s);
       set.addProperty(VakNamedNumProperty(s.env, "n", 1.5));
       set.addProperty(VakNamedAnyProperty(s.env, "a", nullptr));
       return VakScene{.act =
                           [&out, set] {
                             for (const VakNamedProperty property : set.all()) {
                               out << property;
                               property.display(out);
                               property.getImpl()->display(out);
                               bool fine = property.getName() == property.getImpl()->getName();
                               fine = fine && property == VakNamedProperty(property.getImpl());
                               if (!fine) throw std::logic_error("an answer");
                               static_cast<void>(property.as<VakNamedIntProperty>());
                             }
                           },
                       .again = [&out] { out.clear(); }};
     }},
    {"make a property set",
     "VakNamedPropertySet::VakNamedPropertySet "
     "VakNamedPropertySetI::VakNamedPropertySetI VakNamedPropertySet::end",
     [](VakStage& s) {
       auto& set = s.keep<VakNamedPropertySet>();
       return VakScene{.act = [&] { set = VakNamedPropertySet(s.env.getMemoryManager()); },
                       .undo = [&] { set.end(); }};
     }},
    {"share a property with a set",
     "VakNamedPropertySet::addProperty VakNamedPropertySet::fastAdd "
     "VakNamedPropertySetI::addProperty VakNamedPropertySetI::fastAdd",
     [](VakStage& s) {
       auto& set = s.keep<VakNamedPropertySet>(makeSet(s));
       auto& first = s.keep<VakNamedProperty>(VakNamedIntProperty(s.env, "first", 1));
       auto& second = s.keep<VakNamedProperty>(VakNamedIntProperty(s.env, "second", 2));
       return VakScene{
           .act =
               [&] {
                 if (!set.hasProperty("first")) set.addProperty(first);
                 set.fastAdd(second);
               },
           .undo = [&] { set.end(); },
           .afterFailure = [&] { return checkSet(set, set.hasProperty("first") ? 4 : 3); },
           .afterSuccess = [&] { return checkSet(set, 5); },
           .mayKeep = "the entry that was made before stays"};
     }},
    {"add a copy of a property to a set",
     "VakNamedPropertySet::addClonedProperty VakNamedPropertySetI::addClonedProperty",
     [](VakStage& s) {
       auto& set = s.keep<VakNamedPropertySet>(s.env.getMemoryManager());
       VakNamedProperty own(VakCreate<VakUserProperty>(s.env, "own"));
       return VakScene{.act = [&set, own] { set.addClonedProperty(own); },
                       .undo = [&set] { set.end(); },
                       .afterFailure = [&set] { return checkSet(set, 0); },
                       .afterSuccess = [&set] { return checkSet(set, 1); }};
     }},
    {"add a copy of a property of another environment to a set",
     "VakNamedPropertySet::addClonedProperty",
     [](VakStage& s) {
       auto& set = s.keep<VakNamedPropertySet>(s.env.getMemoryManager());
       VakNamedProperty own(VakCreate<VakUserProperty>(s.other, "own"));
       return VakScene{.act = [&set, own] { set.addClonedProperty(own); },
                       .undo = [&set] { set.end(); },
                       .afterFailure = [&set] { return checkSet(set, 0); },
                       .afterSuccess = [&set] { return checkSet(set, 1); },
                       .mayKeep = Interned};
     }},
    {"clone a property set", "VakNamedPropertySet::makeClone VakNamedPropertySetI::makeClone",
     [](VakStage& s) {
       VakNamedPropertySet set = makeSet(s);
       auto& copy = s.keep<VakNamedPropertySet>();
       return VakScene{.act = [set, &copy, &s] { copy = set.makeClone(s.env); }};
     }},
    {"copy a property set deeply",
     "VakNamedPropertySet::makeDeepCopy VakNamedPropertySetI::makeDeepCopy",
     [](VakStage& s) {
       VakNamedPropertySet set = makeSet(s);
       auto& copy = s.keep<VakNamedPropertySet>();
       return VakScene{.act = [set, &copy, &s] { copy = set.makeDeepCopy(s.env); },
                       .undo = [&copy] { copy.end(); },
                       .afterSuccess = [&copy] { return checkSet(copy, 3); }};
     }},
    {"look into a property set and empty it",
     "VakNamedPropertySet::getImpl VakNamedPropertySet::operator== "
     "VakNamedPropertySet::hasProperty VakNamedPropertySet::getProperty "
     "VakNamedPropertySet::removeProperty VakNamedPropertySet::removeAllProperties "
     "VakNamedPropertySet::all VakNamedPropertySetI::getElem VakNamedPropertySetI::getProperty "
     "VakNamedPropertySetI::removeProperty VakNamedPropertySetI::remove "
     "VakNamedPropertySetI::removeAllProperties VakNamedPropertySetI::isConsistent "
     "VakReadProperty VakAsPropertyKind",
     [](VakStage& s) {
       auto& set = s.keep<VakNamedPropertySet>(makeSet(s));
       return VakScene{
           .act =
               [&] {
                 const VakNamedProperty own = set.getProperty("own");
                 bool fine = set == VakNamedPropertySet(set.getImpl()) && set.hasProperty(own);
                 fine = fine && set.hasProperty("size") && set.getProperty<int>("size") == 3;
                 fine = fine && VakReadProperty<int>(set, "size") == 3;
                 fine = fine && VakReadProperty<int>(set, "none", 7) == 7;
                 fine = fine && VakAsPropertyKind<VakNamedIntProperty>(
                                    "size", set.getImpl()->getProperty("size"))
                                        .getValue() == 3;
                 fine = fine && set.getImpl()->getElem("size") != nullptr;
                 fine = fine && set.getImpl()->isConsistent();
                 VakNamedPropertySetI* impl = set.getImpl();
                 impl->remove(impl->getElem(own.getImpl()));
                 impl->removeProperty("size");
                 set.removeProperty("colour");
                 impl->removeAllProperties();
                 set.removeAllProperties();
                 if (!fine) throw std::logic_error("an answer");
               },
           .undo = [&] { set.end(); }};
     }},
    {"miss a property",
     "VakNamedPropertySet::NotPresent::NotPresent VakNamedPropertySet::NotPresent::print "
     "VakNamedPropertySet::BadType::BadType VakNamedPropertySet::BadType::print "
     "VakNamedPropertySet::AlreadyPresent::AlreadyPresent "
     "VakNamedPropertySet::AlreadyPresent::print VakNamedPropertyI::Exception::Exception",
     [](VakStage& s) {
       auto& out = s.keep<VakUserStream>();
       return VakScene{.act =
                           [&] {
                             VakNamedPropertySet::NotPresent("a", nullptr).print(out);
                             VakNamedPropertySet::BadType("a").print(out);
                             VakNamedPropertySet::AlreadyPresent("a").print(out);
                             VakNamedPropertyI::Exception("a").print(out);
                           },
                       .again = [&] { out.clear(); }};
     }},
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
       VakNamedPropertySet copied = makeSet(s);
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
                       .again =
                           [&s, &made, use] {
                             // What was made and could not be handed over is still ours.
                             if (made.set.getImpl() != nullptr) made.set.end();
                             if (made.shared.getImpl() != nullptr) made.shared.end();
                             s.env.removeAllProperties();
                             use();
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
       VakNamedPropertySet copied = makeSet(s);
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

VakFaultGroup VakPropertyFaults() { return {"Named properties", _operations}; }

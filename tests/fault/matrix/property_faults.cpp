// Named properties and sets of them.

#include <sstream>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/property_world.h"

namespace {

constexpr const char* Interned =
    "a name that was interned stays, and so do the environment's tables";

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

const std::vector<VakFaultOperation> _operations = {
    {"make an integer property",
     "VakTypedNamedProperty::VakTypedNamedProperty* VakNamedProperty::VakNamedProperty* "
     "VakTypedNamedProperty::getValue VakNamedIntPropertyI::VakNamedIntPropertyI* "
     "VakPreNamedPropertyI::VakPreNamedPropertyI* VakNamedPropertyI::VakNamedPropertyI* "
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
     "VakNamedProperty::requireImpl "
     "VakNamedProperty::operator== VakNamedProperty::as VakNamedPropertySet::all "
     "operator<<(VakNamedProperty) "
     "operator<<(VakNamedPropertySet) VakNamedPropertyI::display "
     "VakNamedPropertyI::getName VakPreNamedPropertyI::getName VakNamedIntPropertyI::display "
     "VakNamedNumPropertyI::display VakNamedAnyPropertyI::display VakNamedStringPropertyI::display",
     [](VakStage& s) {
       auto& out = s.keep<VakUserStream>();
       VakNamedPropertySet set = VakMakePropertySet(s);
       set.addProperty(VakNamedNumProperty(s.env, "n", 1.5));
       set.addProperty(VakNamedAnyProperty(s.env, "a", nullptr));
       return VakScene{.act =
                           [&out, set] {
                             for (const VakNamedProperty property : set.all()) {
                               property.requireImpl();
                               out << property;
                               property.display(out);
                               property.getImpl()->display(out);
                               bool fine = property.getName() == property.getImpl()->getName();
                               fine = fine && property == VakNamedProperty(property.getImpl());
                               if (!fine) throw std::logic_error("an answer");
                               static_cast<void>(property.as<VakNamedIntProperty>());
                             }
                             out << set;
                           },
                       .prepare = [&out] { out.clear(); }};
     }},
    {"make a property set",
     "VakNamedPropertySet::VakNamedPropertySet "
     "VakNamedPropertySetI::VakNamedPropertySetI* VakNamedPropertySet::end",
     [](VakStage& s) {
       auto& set = s.keep<VakNamedPropertySet>();
       return VakScene{.act = [&] { set = VakNamedPropertySet(s.env.getMemoryManager()); },
                       .undo = [&] { set.end(); }};
     }},
    {"share a property with a set",
     "VakNamedPropertySet::addProperty VakNamedPropertySet::fastAdd "
     "VakNamedPropertySetI::addProperty VakNamedPropertySetI::fastAdd",
     [](VakStage& s) {
       auto& set = s.keep<VakNamedPropertySet>(VakMakePropertySet(s));
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
       VakNamedPropertySet set = VakMakePropertySet(s);
       auto& copy = s.keep<VakNamedPropertySet>();
       return VakScene{.act = [set, &copy, &s] { copy = set.makeClone(s.env); }};
     }},
    {"copy a property set deeply",
     "VakNamedPropertySet::makeDeepCopy VakNamedPropertySetI::makeDeepCopy",
     [](VakStage& s) {
       VakNamedPropertySet set = VakMakePropertySet(s);
       auto& copy = s.keep<VakNamedPropertySet>();
       return VakScene{.act = [set, &copy, &s] { copy = set.makeDeepCopy(s.env); },
                       .undo = [&copy] { copy.end(); },
                       .afterSuccess = [&copy] { return checkSet(copy, 3); }};
     }},
    {"look into a property set and empty it",
     "VakNamedPropertySet::getImpl VakNamedPropertySet::operator== "
     "VakNamedPropertySet::hasProperty VakNamedPropertySet::getProperty "
     "VakNamedPropertySet::removeProperty VakNamedPropertySet::removeAllProperties "
     "VakNamedPropertySetI::getElem VakNamedPropertySetI::getProperty "
     "VakNamedPropertySetI::removeProperty VakNamedPropertySetI::remove "
     "VakNamedPropertySetI::removeAllProperties VakNamedPropertySetI::isConsistent "
     "VakReadProperty VakAsPropertyKind",
     [](VakStage& s) {
       auto& set = s.keep<VakNamedPropertySet>(VakMakePropertySet(s));
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
     "VakNamedPropertySet::AlreadyPresent::print VakNamedPropertyI::Exception::Exception "
     "VakThrowNotPresent VakThrowBadType",
     [](VakStage& s) {
       auto& out = s.keep<VakUserStream>();
       return VakScene{.act =
                           [&] {
                             VakNamedPropertySet::NotPresent("a", nullptr).print(out);
                             VakNamedPropertySet::BadType("a").print(out);
                             VakNamedPropertySet::AlreadyPresent("a").print(out);
                             VakNamedPropertyI::Exception("a").print(out);
                             try {
                               VakThrowNotPresent(std::string_view("a"));
                             } catch (const VakNamedPropertySet::NotPresent& missing) {
                               missing.print(out);
                             }
                             try {
                               VakThrowBadType(std::string_view("a"));
                             } catch (const VakNamedPropertySet::BadType& wrong) {
                               wrong.print(out);
                             }
                           },
                       .prepare = [&] { out.clear(); }};
     }},
};

}  // namespace

VakFaultGroup VakPropertyFaults() { return {"Named properties", _operations}; }

// Sets of named properties and the environment's own properties, beside lists of plain records.

#include "vakenv/properties.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/fuzz/program.h"
#include "vakenv/core/environment_impl.h"

namespace {

const char* const Names[] = {"a", "b", "gap", "size", "", "a name that no small block can hold"};
constexpr int NameCount = 6;

/// What a property has to be. Sets share it, as they share the property.
struct Expected {
  VakNamedProperty property;
  std::string name;
  int kind = 0;      ///< 0: integer, 1: number, 2: pointer, 3: text.
  int value = 0;     ///< For a text its length.
  VakInt holds = 0;  ///< Sets that hold it.
};
using ExpectedRef = std::shared_ptr<Expected>;
using ExpectedSet = std::vector<ExpectedRef>;  ///< Newest first.

class Properties {
 public:
  explicit Properties(VakFuzzProgram& program)
      : _program(program), _scope(program), _env(_scope.env) {}
  ~Properties() noexcept(false) {
    for (Slot& slot : _slots) endSet(slot);
    for (ExpectedRef& loose : _loose) {
      if (loose && loose->holds == 0) loose->property.end();
    }
    _env.removeAllProperties();
    _env.setName(static_cast<const char*>(nullptr));
  }

  void run() {
    while (!_program.isOver()) {
      step();
      for (const Slot& slot : _slots) compare(slot.set, slot.expected);
      compare(_env.getProperties(), _own);
      for (const ExpectedRef& loose : _loose) {
        if (loose) VAK_FUZZ_REQUIRE(loose->property.getImpl()->_holders == loose->holds);
      }
      _scope.check();
    }
  }

 private:
  struct Slot {
    VakNamedPropertySet set;
    ExpectedSet expected;
  };

  // ---- Choosing ---------------------------------------------------------------------------------

  Slot& anySlot() { return _slots[static_cast<std::size_t>(_program.below(3))]; }
  ExpectedRef& anyLoose() { return _loose[static_cast<std::size_t>(_program.below(5))]; }
  const char* anyName() { return Names[_program.below(NameCount)]; }
  static ExpectedSet::iterator find(ExpectedSet& set, const std::string& name) {
    return std::find_if(set.begin(), set.end(), [&](const auto& e) { return e->name == name; });
  }
  static void* place(int n) {
    static char places[256];
    return places + n;
  }

  // ---- Steps ------------------------------------------------------------------------------------

  void step() {
    switch (_program.below(12)) {
      case 0:
        makeLoose(anyLoose());
        break;
      case 1:
        endLoose(anyLoose());
        break;
      case 2:
        makeOrEndSet(anySlot());
        break;
      case 3:
      case 4:
        add(anySlot());
        break;
      case 5:
        removeByName(anySlot());
        break;
      case 6:
        removeInLoop(anySlot());
        break;
      case 7:
        copySet();
        break;
      case 8:
        setOwn();
        break;
      case 9:
        getOwn();
        break;
      case 10:
        removeOwn();
        break;
      default:
        giveAway();
    }
  }

  void makeLoose(ExpectedRef& loose) {
    if (loose) {
      changeValue(*loose);
      return;
    }
    loose = std::make_shared<Expected>();
    loose->name = anyName();
    loose->kind = _program.below(4);
    loose->value = _program.byte();
    const char* name = loose->name.c_str();
    const std::string text(static_cast<std::size_t>(loose->value), 'x');
    switch (loose->kind) {
      case 0:
        loose->property = VakNamedIntProperty(_env, name, loose->value);
        break;
      case 1:
        loose->property = VakNamedNumProperty(_env, name, loose->value);
        break;
      case 2:
        loose->property = VakNamedAnyProperty(_env, name, place(loose->value));
        break;
      default:
        loose->property = VakNamedStringProperty(_env, name, text.c_str());
    }
  }
  void changeValue(Expected& e) {
    e.value = _program.byte();
    const std::string text(static_cast<std::size_t>(e.value), 'x');
    if (auto p = e.property.as<VakNamedIntProperty>(); p.getImpl() != nullptr) p.setValue(e.value);
    if (auto p = e.property.as<VakNamedNumProperty>(); p.getImpl() != nullptr) p.setValue(e.value);
    if (auto p = e.property.as<VakNamedAnyProperty>(); p.getImpl() != nullptr) {
      p.setValue(place(e.value));
    }
    if (auto p = e.property.as<VakNamedStringProperty>(); p.getImpl() != nullptr) {
      // A text that lies in the old one has to be good, too.
      const char* old = p.getValue();
      const auto length = static_cast<int>(std::strlen(old));
      p.setValue(e.value < length ? old + (length - e.value) : text.c_str());
    }
  }
  void endLoose(ExpectedRef& loose) {
    if (!loose) return;
    const std::string message = VakFuzzMessage<VakWrongUsage>([&] { loose->property.end(); });
    if (loose->holds > 0) {
      VAK_FUZZ_REQUIRE(message == "Dangerous deletion of named property");
    } else {
      VAK_FUZZ_REQUIRE(message.empty());
      loose.reset();
    }
  }

  void makeOrEndSet(Slot& slot) {
    if (slot.set.getImpl() == nullptr) {
      slot.set = VakNamedPropertySet(_env);
    } else if (_program.flag()) {
      endSet(slot);
    } else {
      slot.set.removeAllProperties();
      letAllGo(slot.expected);
    }
  }
  void endSet(Slot& slot) {
    if (slot.set.getImpl() == nullptr) return;
    slot.set.end();
    letAllGo(slot.expected);
  }
  // A property that nobody holds any more is gone.
  void letGo(const ExpectedRef& e) {
    if (--e->holds > 0) return;
    for (ExpectedRef& loose : _loose) {
      if (loose == e) loose.reset();
    }
  }
  void letAllGo(ExpectedSet& set) {
    for (const ExpectedRef& e : set) letGo(e);
    set.clear();
  }

  void add(Slot& slot) {
    const ExpectedRef loose = anyLoose();
    const bool isCopied = _program.flag();
    if (!loose || slot.set.getImpl() == nullptr) return;
    const bool isTaken = find(slot.expected, loose->name) != slot.expected.end();
    bool isRefused = false;
    try {
      isCopied ? slot.set.addClonedProperty(loose->property)
               : slot.set.addProperty(loose->property);
    } catch (const VakNamedPropertySet::AlreadyPresent& failure) {
      isRefused = failure.getMessage() == loose->name;
    }
    VAK_FUZZ_REQUIRE(isRefused == isTaken);
    if (!isTaken) enter(slot.expected, slot.set, loose, isCopied);
  }
  static void enter(ExpectedSet& expected, VakNamedPropertySet set, const ExpectedRef& e,
                    bool isCopied) {
    ExpectedRef entered = e;
    if (isCopied) {
      entered = std::make_shared<Expected>(*e);
      entered->property = *set.all().begin();
      entered->holds = 0;
    }
    ++entered->holds;
    expected.insert(expected.begin(), entered);
  }

  void removeByName(Slot& slot) {
    if (slot.set.getImpl() == nullptr) return;
    const std::string name = anyName();
    const auto found = find(slot.expected, name);
    VAK_FUZZ_REQUIRE(slot.set.hasProperty(name) == (found != slot.expected.end()));
    bool isMissed = false;
    try {
      if (_program.flag() && found != slot.expected.end()) {
        slot.set.removeProperty((*found)->property);
      } else {
        slot.set.removeProperty(name);
      }
    } catch (const VakNamedPropertySet::NotPresent&) {
      isMissed = true;
    }
    VAK_FUZZ_REQUIRE(isMissed == (found == slot.expected.end()));
    if (isMissed) return;
    const ExpectedRef e = *found;
    slot.expected.erase(found);
    letGo(e);
  }
  void removeInLoop(Slot& slot) {
    const int which = _program.byte();
    std::size_t i = 0;
    for (const VakNamedProperty property : slot.set.all()) {
      const ExpectedRef e = slot.expected.at(i);
      VAK_FUZZ_REQUIRE(e->property == property);
      if ((which >> (i % 8) & 1) == 0) {
        ++i;
        continue;
      }
      slot.set.removeProperty(property);
      slot.expected.erase(slot.expected.begin() + static_cast<std::ptrdiff_t>(i));
      letGo(e);
    }
  }
  void copySet() {
    const Slot& from = anySlot();
    Slot& to = anySlot();
    if (from.set.getImpl() == nullptr || to.set.getImpl() != nullptr) return;
    to.set = from.set.makeDeepCopy(_env);
    auto property = to.set.all().begin();
    for (const ExpectedRef& e : from.expected) {
      to.expected.push_back(std::make_shared<Expected>(*e));
      to.expected.back()->property = *property;
      to.expected.back()->holds = 1;
      ++property;
    }
  }

  // ---- The environment's own properties ---------------------------------------------------------

  void setOwn() {
    const std::string name = anyName();
    const int kind = _program.below(4);
    const int value = _program.byte();
    const std::string text(static_cast<std::size_t>(value), 'x');
    const auto found = find(_own, name);
    bool isRefused = false;
    try {
      if (kind == 0) _env.setIntProperty(name, value);
      if (kind == 1) _env.setNumProperty(name, value);
      if (kind == 2) _env.setAnyProperty(name, place(value));
      if (kind == 3) _env.setStringProperty(name, text);
    } catch (const VakNamedPropertySet::BadType&) {
      isRefused = true;
    }
    VAK_FUZZ_REQUIRE(isRefused == (found != _own.end() && (*found)->kind != kind));
    if (isRefused) return;
    if (found != _own.end()) {
      (*found)->value = value;
      return;
    }
    auto made = std::make_shared<Expected>();
    *made = {*_env.getProperties().all().begin(), name, kind, value, 1};
    _own.insert(_own.begin(), made);
  }
  void getOwn() {
    const std::string name = anyName();
    const int kind = _program.below(4);
    const auto found = find(_own, name);
    enum { Given, BadType, NotPresent } result = Given;
    try {
      const int value = (*this.*Readers[kind])(name);
      VAK_FUZZ_REQUIRE(found != _own.end() && value == (*found)->value);
    } catch (const VakNamedPropertySet::BadType&) {
      result = BadType;
    } catch (const VakNamedPropertySet::NotPresent&) {
      result = NotPresent;
    }
    const auto expected = found == _own.end()      ? NotPresent
                          : (*found)->kind != kind ? BadType
                                                   : Given;
    VAK_FUZZ_REQUIRE(result == expected);
  }
  int readInt(const std::string& name) { return static_cast<int>(_env.getIntProperty(name)); }
  int readNum(const std::string& name) { return static_cast<int>(_env.getNumProperty(name)); }
  int readAny(const std::string& name) {
    return static_cast<int>(static_cast<char*>(_env.getAnyProperty(name)) -
                            static_cast<char*>(place(0)));
  }
  int readString(const std::string& name) {
    return static_cast<int>(std::strlen(_env.getStringProperty(name)));
  }
  using Reader = int (Properties::*)(const std::string&);
  static constexpr Reader Readers[] = {&Properties::readInt, &Properties::readNum,
                                       &Properties::readAny, &Properties::readString};

  void removeOwn() {
    const std::string name = anyName();
    const auto found = find(_own, name);
    bool isMissed = false;
    try {
      _env.removeProperty(name);
    } catch (const VakNamedPropertySet::NotPresent&) {
      isMissed = true;
    }
    VAK_FUZZ_REQUIRE(isMissed == (found == _own.end()));
    if (isMissed) return;
    const ExpectedRef e = *found;
    _own.erase(found);
    letGo(e);
  }
  // The environment takes a set over, or copies of what is in it.
  void giveAway() {
    Slot& slot = anySlot();
    _env.setName(anyName());
    if (slot.set.getImpl() == nullptr) return;
    if (_program.flag()) {
      _env.setProperties(slot.set);
      slot.set = VakNamedPropertySet();
      letAllGo(_own);
      _own.swap(slot.expected);
      return;
    }
    std::size_t added = 0;
    for (const ExpectedRef& e : slot.expected) {
      if (find(_own, e->name) != _own.end()) break;
      ++added;
    }
    bool isRefused = false;
    try {
      _env.addProperties(slot.set);
    } catch (const VakNamedPropertySet::AlreadyPresent&) {
      isRefused = true;
    }
    VAK_FUZZ_REQUIRE(isRefused == (added < slot.expected.size()));
    for (std::size_t i = 0; i < added; ++i) {
      auto copy = std::make_shared<Expected>(*slot.expected[i]);
      copy->property = _env.getProperty(copy->name);
      copy->holds = 1;
      _own.insert(_own.begin(), copy);
    }
  }

  // ---- Comparing --------------------------------------------------------------------------------

  static void compare(VakNamedPropertySet set, const ExpectedSet& expected) {
    std::size_t i = 0;
    for (const VakNamedProperty property : set.all()) {
      const Expected& e = *expected.at(i++);
      VAK_FUZZ_REQUIRE(property == e.property);
      VAK_FUZZ_REQUIRE(property.getName() == e.name);
      VAK_FUZZ_REQUIRE(property.getImpl()->_holders == e.holds);
      compareValue(property, e);
    }
    VAK_FUZZ_REQUIRE(i == expected.size());
    if (set.getImpl() != nullptr) VAK_FUZZ_REQUIRE(set.getImpl()->isConsistent());
  }
  static void compareValue(VakNamedProperty property, const Expected& e) {
    std::ostringstream text;
    text << property;
    std::ostringstream expected;
    expected << e.name;
    const std::string x(static_cast<std::size_t>(e.value), 'x');
    if (e.kind == 2) {
      expected << " (" << place(e.value) << ')';
    } else if (e.kind == 3) {
      expected << '(' << x << ')';
    } else {
      expected << " (" << e.value << ')';
    }
    VAK_FUZZ_REQUIRE(text.str() == expected.str());
  }

  VakFuzzProgram& _program;
  VakFuzzEnv _scope;
  VakEnv _env;
  std::array<Slot, 3> _slots;
  std::array<ExpectedRef, 5> _loose;  ///< Made by themselves; sets may hold them.
  ExpectedSet _own;                   ///< The environment's.
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  VakFuzzProgram program(data, size);
  Properties(program).run();
  return 0;
}

// Names and texts given as std::string and std::string_view.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>

#include "tests/support/displayed.h"
#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "vakenv/environment.h"
#include "vakenv/properties.h"
#include "vaksupport/symbol_table.h"

namespace {

struct NameView : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  // Views into a longer text, so that whoever reads up to a terminator reads another name.
  const std::string text = "sizegapviewcolour";
  const std::string_view size = std::string_view(text).substr(0, 4);
  const std::string_view gap = std::string_view(text).substr(4, 3);
  const std::string_view view = std::string_view(text).substr(7, 4);
  const std::string_view colour = std::string_view(text).substr(11);
};

TEST_F(NameView, NamesTheEnvironment) {
  env.setName(size);
  EXPECT_STREQ(env.getName(), "size");
  env.setName(std::string(300, 'n'));
  EXPECT_EQ(env.getName(), std::string(300, 'n'));
  env.setName(nullptr);
  EXPECT_EQ(env.getName(), nullptr);
}

TEST_F(NameView, FindsSymbols) {
  EXPECT_EQ(env.getSymbol(size), nullptr);
  VakSymbolI* symbol = env.makeSymbol(size);
  EXPECT_STREQ(symbol->getName(), "size");
  EXPECT_EQ(env.getSymbol("size"), symbol);
  EXPECT_EQ(env.getSymbol(std::string("size")), symbol);
  EXPECT_EQ(env.makeSymbol(size), symbol);
}

TEST_F(NameView, SetsAndReadsPropertiesOfEveryKind) {
  env.setIntProperty(size, 3);
  env.setNumProperty(gap, 0.5);
  env.setAnyProperty(view, &env);
  env.setStringProperty(colour, std::string_view("redgreen").substr(0, 3));
  EXPECT_EQ(env.getIntProperty("size"), 3);
  EXPECT_EQ(env.getIntProperty(size), 3);
  EXPECT_EQ(env.getNumProperty(gap), 0.5);
  EXPECT_EQ(env.getAnyProperty(view), &env);
  EXPECT_STREQ(env.getStringProperty(colour), "red");
  EXPECT_EQ(env.getProperty<VakNum>(gap), 0.5);
  EXPECT_EQ(env.getProperty<VakNum>(std::string("none"), 2.5), 2.5);
  EXPECT_STREQ(env.getProperty(size).getName(), "size");
  env.setIntProperty(size, 4);
  EXPECT_EQ(env.getIntProperty(size), 4);
  EXPECT_TRUE(env.getProperties().getImpl()->isConsistent());
}

TEST_F(NameView, TakesTextsOfEverySortAndNull) {
  env.setStringProperty("a", std::string("one"));
  env.setStringProperty(std::string("b"), "two");
  env.setStringProperty(std::string("c"), nullptr);
  EXPECT_STREQ(env.getStringProperty("a"), "one");
  EXPECT_STREQ(env.getStringProperty("b"), "two");
  EXPECT_EQ(env.getStringProperty("c"), nullptr);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { (void)env.hasProperty(nullptr); }),
            "VakEnv: Using empty string");
}

TEST_F(NameView, RemovesProperties) {
  env.setIntProperty(size, 3);
  EXPECT_EQ(env.hasProperty(size), 1);
  env.removeProperty(size);
  EXPECT_EQ(env.hasProperty(size), 0);
}

TEST_F(NameView, WorksOnSets) {
  VakNamedPropertySet set(env);
  set.addProperty(VakNamedIntProperty(env, size, 3));
  EXPECT_TRUE(set.hasProperty(size));
  EXPECT_FALSE(set.hasProperty(gap));
  EXPECT_EQ(set.getProperty<VakInt>(size), 3);
  EXPECT_EQ(set.getProperty<VakInt>(gap, 5), 5);
  EXPECT_STREQ(set.getProperty(size).getName(), "size");
  set.removeProperty(size);
  EXPECT_FALSE(set.hasProperty(size));
  set.end();
}

TEST_F(NameView, LooksUpWithoutCopies) {
  const std::string longName(1000, 'n');
  env.setIntProperty(longName, 3);
  const VakFailingNew counting(0);
  EXPECT_EQ(env.getIntProperty(longName), 3);
  EXPECT_EQ(env.hasProperty(longName), 1);
  env.setIntProperty(longName, 4);
  EXPECT_EQ(counting.count(), 0);
}

// The exception outlives the name.
TEST_F(NameView, IsHeldByExceptionsAsACopy) {
  const std::string notPresent = "Named property <gap> not present";
  const auto ask = [](auto what) {
    return VakPrintedBy<VakNamedPropertySet::NotPresent>([&] {
      std::string name = "gap";
      what(std::string_view(name));
    });
  };
  EXPECT_EQ(ask([this](std::string_view name) { (void)env.getIntProperty(name); }), notPresent);
  EXPECT_EQ(ask([this](std::string_view name) { env.removeProperty(name); }), notPresent);
  env.setIntProperty(size, 3);
  EXPECT_EQ(ask([this](std::string_view name) { (void)env.getIntProperty(name); }), notPresent);
  EXPECT_EQ(ask([this](std::string_view name) { (void)env.getProperty<VakNum>(name); }),
            notPresent);
  EXPECT_EQ(ask([this](std::string_view name) { env.removeProperty(name); }), notPresent);
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::BadType>([this] { (void)env.getNumProperty(size); }),
            "Named property <size> has wrong type");
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::BadType>([this] { env.setNumProperty(size, 1); }),
            "Named property <size> has wrong type");
}

TEST_F(NameView, IsCutInExceptionsWhenItIsLong) {
  const std::string name(1000, 'n');
  EXPECT_EQ(VakMessageBy<VakNamedPropertySet::NotPresent>([&] { (void)env.getProperty(name); }),
            name.substr(0, 479));
}

TEST_F(NameView, TestsTheHandleFirst) {
  const VakEnv empty(static_cast<VakEnvI*>(nullptr));
  const std::string text1 = "VakEnv: Using empty handle";
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { (void)empty.hasProperty(size); }), text1);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { (void)empty.getIntProperty(size); }),
            text1);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { empty.setIntProperty(size, 1); }), text1);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { empty.removeProperty(size); }), text1);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { empty.setName(size); }), text1);
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { (void)empty.getSymbol(size); }),
            "Using empty handle.");
  EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { empty.makeSymbol(size); }),
            "Using empty handle.");
  EXPECT_EQ(
      VakMessageBy<VakEmptyHandleException>([&] { (void)VakNamedPropertySet().hasProperty(size); }),
      "VakNamedPropertySet: Using empty handle");
}

TEST_F(NameView, LosesNothingWhenMemoryRunsOut) {
  const std::string longName(1000, 'n');
  env.setIntProperty("old", 1);
  VakFailEachNew([&] { env.setStringProperty(longName, std::string_view("value")); },
                 [&](const std::exception_ptr& thrown) {
                   EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                   EXPECT_EQ(env.hasProperty(longName), 0);
                   EXPECT_EQ(env.getIntProperty("old"), 1);
                 });
  EXPECT_STREQ(env.getStringProperty(longName), "value");
}

// ---- What is written ----------------------------------------------------------------------------

template <class T>
std::string written(const T& value) {
  std::ostringstream out;
  out << value;
  EXPECT_TRUE(out.good());
  return out.str();
}

TEST_F(NameView, IsWrittenWithTheEnvironment) {
  const std::string usage = std::to_string(env.getMemoryUsage());
  EXPECT_EQ(written(env), "environment (" + usage + " bytes in use)");
  env.setName("plant");
  EXPECT_EQ(written(env).substr(0, 22), "environment \"plant\" (" + usage.substr(0, 1));
  EXPECT_EQ(written(VakEnv(static_cast<VakEnvI*>(nullptr))), "(empty)");
}

TEST_F(NameView, IsWrittenWithItsSet) {
  EXPECT_EQ(written(env.getProperties()), "{}");
  env.setIntProperty("size", 3);
  env.setStringProperty("colour", "red");
  EXPECT_EQ(written(env.getProperties()), "{colour(red), size (3)}");
}

TEST_F(NameView, IsWrittenWithManagersVersionsAndExceptions) {
  EXPECT_EQ(written(env.getMemoryManager()), "VakTarnAlloc");
  EXPECT_EQ(written(VakMemoryManager()), "(empty)");
  EXPECT_EQ(written(VakTarnVersion()), env.getVersion());
  EXPECT_EQ(written(VakNamedPropertySet::BadType("gap")), "Named property <gap> has wrong type");
}

}  // namespace

// The property operations of the environment's handle.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/displayed.h"
#include "tests/support/scoped_env.h"
#include "vakenv/environment.h"
#include "vakenv/properties.h"

namespace {

const char* const NoName = nullptr;

/// Everything that can be asked of a handle: with names (an empty one where null is a mistake) and
/// with empty property and set handles.
std::vector<std::function<void(VakEnv)>> operationsWithName(const char* name) {
  return {[=](VakEnv env) { static_cast<void>(env.hasProperty(name)); },
          [=](VakEnv env) { static_cast<void>(env.getProperty(name)); },
          [=](VakEnv env) { static_cast<void>(env.getPropertyI(name)); },
          [=](VakEnv env) { static_cast<void>(env.getProperty<double>(name)); },
          [=](VakEnv env) { static_cast<void>(env.getProperty(name, 1.5)); },
          [=](VakEnv env) { env.removeProperty(name); },
          [=](VakEnv env) { static_cast<void>(env.getIntProperty(name)); },
          [=](VakEnv env) { static_cast<void>(env.getNumProperty(name)); },
          [=](VakEnv env) { static_cast<void>(env.getAnyProperty(name)); },
          [=](VakEnv env) { static_cast<void>(env.getStringProperty(name)); },
          [=](VakEnv env) { env.setIntProperty(name, 1); },
          [=](VakEnv env) { env.setNumProperty(name, 1); },
          [=](VakEnv env) { env.setAnyProperty(name, nullptr); },
          [=](VakEnv env) { env.setStringProperty(name, "text"); }};
}

std::vector<std::function<void(VakEnv)>> operationsWithProperty() {
  return {[](VakEnv env) { env.addProperty(VakNamedProperty()); },
          [](VakEnv env) { env.addClonedProperty(VakNamedProperty()); }};
}

std::vector<std::function<void(VakEnv)>> operationsWithSet() {
  return {[](VakEnv env) { env.addProperties(VakNamedPropertySet()); },
          [](VakEnv env) { env.setProperties(VakNamedPropertySet()); }};
}

std::vector<std::function<void(VakEnv)>> operationsWithoutTest() {
  return {[](VakEnv env) { static_cast<void>(env.getName()); },
          [](VakEnv env) { env.setName(nullptr); },
          [](VakEnv env) { static_cast<void>(env.getObject()); },
          [](VakEnv env) { env.setObject(nullptr); },
          [](VakEnv env) { static_cast<void>(env.getProperties()); },
          [](VakEnv env) { env.removeAllProperties(); }};
}

void expectMessage(const std::vector<std::function<void(VakEnv)>>& operations, VakEnv env,
                   const std::string& message) {
  for (std::size_t i = 0; i < operations.size(); ++i) {
    EXPECT_EQ(VakMessageBy<VakEmptyHandleException>([&] { operations[i](env); }), message)
        << "operation " << i;
  }
}

TEST(EnvProperties, NameAnEmptyEnvironmentBeforeTheyLookAtTheirArgument) {
  const VakEnv empty(static_cast<VakEnvI*>(nullptr));
  const std::string message = "VakEnv: Using empty handle";
  expectMessage(operationsWithoutTest(), empty, message);
  expectMessage(operationsWithName("a"), empty, message);
  expectMessage(operationsWithName(NoName), empty, message);
  expectMessage(operationsWithProperty(), empty, message);
  expectMessage(operationsWithSet(), empty, message);
}

TEST(EnvProperties, RefuseANullName) {
  const VakScopedEnv env;
  expectMessage(operationsWithName(NoName), env.env, "VakEnv: Using empty string");
  EXPECT_EQ(env.impl()->_extension, nullptr);
}

TEST(EnvProperties, RefuseAnEmptyPropertyHandle) {
  const VakScopedEnv env;
  expectMessage(operationsWithProperty(), env.env, "VakNamedProperty: Using empty handle");
  EXPECT_EQ(env.impl()->_extension, nullptr);
}

TEST(EnvProperties, RefuseAnEmptySetHandle) {
  const VakScopedEnv env;
  expectMessage(operationsWithSet(), env.env, "VakNamedPropertySet: Using empty handle");
  EXPECT_EQ(env.impl()->_extension, nullptr);
}

TEST(EnvProperties, NeedNoArgumentToBeTested) {
  const VakScopedEnv env;
  for (const auto& operation : operationsWithoutTest()) EXPECT_NO_THROW(operation(env.env));
  EXPECT_EQ(env.impl()->_extension, nullptr);
}

TEST(EnvProperties, GiveTheEnvironmentANameAndAnObject) {
  const VakScopedEnv env;
  int object = 0;
  env.env.setName("planning");
  env.env.setObject(&object);
  EXPECT_STREQ(env.env.getName(), "planning");
  EXPECT_EQ(env.env.getObject(), &object);
  env.env.setName(nullptr);
  EXPECT_EQ(env.env.getName(), nullptr);
}

TEST(EnvProperties, AddFindAndRemoveProperties) {
  const VakScopedEnv env;
  const VakNamedIntProperty size(env.env, "size", 3);
  env.env.addProperty(size);
  env.env.addClonedProperty(VakNamedNumProperty(env.env, "gap", 0.5));
  EXPECT_EQ(env.env.hasProperty("size"), 1);
  EXPECT_TRUE(env.env.getProperty("size") == size);
  EXPECT_EQ(env.env.getPropertyI("size"), size.getImpl());
  EXPECT_EQ(env.env.getNumProperty("gap"), 0.5);
  env.env.removeProperty("size");
  EXPECT_EQ(env.env.hasProperty("size"), 0);
  env.env.removeAllProperties();
  EXPECT_EQ(env.env.getProperties().getImpl(), nullptr);
}

TEST(EnvProperties, SetAndGetTheFourKinds) {
  const VakScopedEnv env;
  env.env.setIntProperty("i", 3);
  env.env.setNumProperty("n", 0.5);
  env.env.setAnyProperty("a", env.impl());
  env.env.setStringProperty("s", "abc");
  EXPECT_EQ(env.env.getIntProperty("i"), 3);
  EXPECT_EQ(env.env.getNumProperty("n"), 0.5);
  EXPECT_EQ(env.env.getAnyProperty("a"), env.impl());
  EXPECT_STREQ(env.env.getStringProperty("s"), "abc");
}

TEST(EnvProperties, GiveValuesByTheirType) {
  const VakScopedEnv env;
  env.env.setIntProperty("i", 3);
  env.env.setNumProperty("n", 0.5);
  env.env.setStringProperty("s", "abc");
  EXPECT_EQ(env.env.getProperty<VakInt>("i"), 3);
  EXPECT_EQ(env.env.getProperty<double>("n"), 0.5);
  EXPECT_STREQ(env.env.getProperty<const char*>("s"), "abc");
  EXPECT_EQ(env.env.getProperty("n", 1.5), 0.5);
  EXPECT_EQ(env.env.getProperty("m", 1.5), 1.5);
  EXPECT_EQ(VakPrintedBy<VakNamedPropertySet::BadType>(
                [&] { static_cast<void>(env.env.getProperty<double>("i")); }),
            "Named property <i> has wrong type");
}

TEST(EnvProperties, MoveWholeSets) {
  const VakScopedEnv env;
  const VakScopedEnv other;
  const VakNamedPropertySet set(env.env.getMemoryManager());
  set.addProperty(VakNamedIntProperty(env.env, "size", 3));
  env.env.setProperties(set);
  EXPECT_TRUE(env.env.getProperties() == set);
  other.env.addProperties(env.env.getProperties());
  EXPECT_EQ(other.env.getIntProperty("size"), 3);
}

TEST(EnvProperties, AreWrittenInALoop) {
  const VakScopedEnv env;
  env.env.setIntProperty("size", 3);
  env.env.setStringProperty("colour", "red");
  std::ostringstream out;
  for (const VakNamedProperty property : env.env.getProperties().all()) out << property << ';';
  EXPECT_EQ(out.str(), "colour(red);size (3);");
}

TEST(EnvProperties, LoopOverNothingWhenThereAreNone) {
  const VakScopedEnv env;
  long count = 0;
  for ([[maybe_unused]] const VakNamedProperty property : env.env.getProperties().all()) ++count;
  EXPECT_EQ(count, 0);
}

}  // namespace

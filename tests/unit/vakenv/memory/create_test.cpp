// Making objects in a memory manager or an environment.

#include "vakenv/core/create.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/memory/memory_manager_object.h"
#include "vakenv/types/exceptions.h"

namespace {

using testing::ElementsAre;

class Note : public VakMemoryManagerObjectI {
 public:
  Note(VakMemoryManager manager, long key, const char* words)
      : VakMemoryManagerObjectI(manager), _key(key), _words(words) {}
  long _key;
  const char* _words;
};

class Card : public VakEnvObjectI {
 public:
  Card(VakEnvI* env, long key) : VakEnvObjectI(env), _key(key) {
    if (key < 0) throw key;
  }
  long _key;
};

TEST(Create, ConstructsInTheMemoryOfAManagerFromTheManagerAndTheArguments) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  Note* note = VakCreate<Note>(env.env.getMemoryManager(), 7, "seven");
  EXPECT_EQ(env->getMemoryUsage(), usage + 32);
  EXPECT_EQ(note->_memoryManager, env.allocator());
  EXPECT_EQ(note->_key, 7);
  EXPECT_STREQ(note->_words, "seven");
  delete note;
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(Create, ConstructsInTheMemoryOfAnEnvironmentFromTheEnvironment) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  Card* byImpl = VakCreate<Card>(env.impl(), 1);
  Card* byHandle = VakCreate<Card>(env.env, 2);
  EXPECT_EQ(env->getMemoryUsage(), usage + 48);
  EXPECT_EQ(byImpl->_env, env.impl());
  EXPECT_EQ(byHandle->_env, env.impl());
  delete byImpl;
  delete byHandle;
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(Create, GivesAnEnvironmentsAllocatorToClassesThatHoldAManager) {
  const VakScopedEnv env;
  Note* note = VakCreate<Note>(env.env, 7, "seven");
  EXPECT_EQ(note->_memoryManager, env.allocator());
  delete note;
}

TEST(Create, GivesTheBlockBackWithItsSizeWhenTheConstructorThrows) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  EXPECT_THROW(static_cast<void>(VakCreate<Card>(env.impl(), -1)), long);
  EXPECT_EQ(env->getMemoryUsage(), usage);
  const VakRecordedPath path(env.impl());
  EXPECT_THROW(static_cast<void>(VakCreate<Card>(env.impl(), -1)), long);
  EXPECT_THAT(path.local.calls, ElementsAre("alloc 24", "free 24"));
}

TEST(Create, InAnEmptyEnvironmentThrows) {
  const VakEnv empty(static_cast<VakEnvI*>(nullptr));
  try {
    static_cast<void>(VakCreate<Card>(empty, 1));
    FAIL() << "nothing was thrown";
  } catch (const VakEmptyHandleException& exception) {
    EXPECT_STREQ(exception.getMessage(), "VakEnv: Using empty handle");
  }
}

}  // namespace

#include "vakmodel/ref.h"

#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tests/support/environment_mode.h"
#include "tests/support/failing_new.h"
#include "tests/support/model_objects.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakenv/core/multithreading.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/plugins/plugin.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakenv/registry/destroyable.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/variable_impl.h"

namespace {

struct Ref : testing::Test {
  VakTestScript script;  // outlives the environment, whose end may destroy objects
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, "y"};
};

/// What checked() of a dead reference throws, with the state that the exception tells.
template <class Handle>
std::string refusalOf(const VakRef<Handle>& ref) {
  try {
    (void)ref.checked();
  } catch (const VakRefError& e) {
    return std::string(VakGetRefStateName(e.getState())) + ": " + e.getMessage();
  }
  return "nothing was thrown";
}

TEST_F(Ref, GivesItsObjectAsLongAsThatLives) {
  const VakRef<VakNumVar> ref = x;
  EXPECT_TRUE(ref.isAlive());
  EXPECT_TRUE(ref.get().is(x));
  EXPECT_TRUE(ref.checked().is(x));
  EXPECT_EQ(ref.getState(), VakRefState::Alive);
  EXPECT_EQ(VakTextOf(ref), "x");
}

TEST_F(Ref, IsEmptyWhenMadeOfNothing) {
  const VakRef<VakNumVar> none;
  const VakRef<VakNumVar> ofEmpty = VakNumVar();
  for (const auto& ref : {none, ofEmpty}) {
    EXPECT_TRUE(ref.isEmpty());
    EXPECT_FALSE(ref.isAlive());
    EXPECT_TRUE(ref.get().isEmpty());
    EXPECT_EQ(refusalOf(ref), "empty: The reference is empty. Make it of an object first.");
    EXPECT_EQ(VakTextOf(ref), "(empty)");
  }
  EXPECT_EQ(none, ofEmpty);
}

TEST_F(Ref, NoticesTheEndOfItsObject) {
  const std::string id = std::to_string(x.getId());
  const VakRef<VakNumVar> ref = x;
  const VakRef<VakNumVar> copy = ref;
  x.end();
  EXPECT_EQ(ref.getState(), VakRefState::ObjectGone);
  EXPECT_TRUE(ref.get().isEmpty());
  EXPECT_TRUE(copy.get().isEmpty());
  EXPECT_FALSE(ref.isEmpty());
  EXPECT_EQ(refusalOf(ref), "object gone: Variable #" + id +
                                " was ended, or taken out of its environment. Drop the reference.");
  EXPECT_EQ(VakTextOf(ref), "(object gone)");
}

TEST_F(Ref, NoticesThatAnotherObjectHasTheIdentifierAndTheAddress) {
  const VakRef<VakNumVar> ref = x;
  const VakInt id = x.getId();
  x.end();
  const VakNumVar next(env, 0, 40);
  ASSERT_EQ(next.getId(), id);
  const VakRef<VakNumVar> nextRef = next;
  EXPECT_EQ(ref.getState(), VakRefState::ObjectGone);
  EXPECT_TRUE(nextRef.get().is(next));
  EXPECT_NE(ref, nextRef);
}

TEST_F(Ref, NoticesEveryWayOut) {
  const auto makeConstraint = [this] { return m.add(x + y <= 4); };
  const VakEnvI* impl = env.getImpl();
  std::vector<VakRef<VakConstraint>> refs;
  for (int way = 0; way < 5; ++way) refs.emplace_back(makeConstraint());

  VakConstraint first = refs[0].get();
  first.end();
  delete refs[1].get().getImpl();
  scope->destroy(refs[2].get().getImpl(), 0);
  VakExtractableArray array{env};
  array.add(refs[3].get().getImpl());
  VakEndAll(array);
  array.end();
  scope->removeVerticalEnv(refs[4].get().getImpl());
  for (const auto& ref : refs) EXPECT_EQ(ref.getState(), VakRefState::ObjectGone);
  EXPECT_EQ(impl->_idManager->check(), "");
}

TEST_F(Ref, NoticesWhatGoesWithAnother) {
  const VakRef<VakConstraint> inModel = m.add(x + y <= 4);
  const VakRef<VakModel> model = m;
  const VakRef<VakNumVar> variable = x;
  m.end();
  EXPECT_FALSE(inModel.isAlive());
  EXPECT_FALSE(model.isAlive());
  EXPECT_TRUE(variable.isAlive());
}

TEST_F(Ref, StaysWithAnObjectThatIsOnlyRemovedFromModels) {
  const VakRef<VakConstraint> ref = m.add(x + y <= 4);
  m.remove(ref.get());
  EXPECT_TRUE(ref.isAlive());
  ref.get().removeFromAll();
  EXPECT_TRUE(ref.isAlive());
}

TEST_F(Ref, NoticesThatItsObjectIsTakenOutOfTheEnvironment) {
  const VakRef<VakNumVar> ref = x;
  scope->destroy(x.VakExtractable::getImpl(), 1);
  EXPECT_EQ(ref.getState(), VakRefState::ObjectGone);
  EXPECT_EQ(VakMessageOf<VakModelError>([this] { (void)VakRef<VakNumVar>(x); }),
            "Variable \"x\" was taken out of its environment. Make a new one in its place.");
  x.end();
}

TEST_F(Ref, NoticesTheEndOfTheEnvironment) {
  const std::string id = std::to_string(x.getId());
  const VakRef<VakNumVar> ref = x;
  const VakRef<VakNumVar> copy = ref;
  scope.env.end();
  EXPECT_EQ(ref.getState(), VakRefState::EnvironmentEnded);
  EXPECT_TRUE(copy.get().isEmpty());
  EXPECT_EQ(refusalOf(ref), "environment ended: Variable #" + id +
                                " went with its environment, which has ended. Drop the reference.");
  EXPECT_EQ(VakTextOf(ref), "(environment ended)");
}

TEST_F(Ref, NoticesAnotherEnvironmentAtTheSameAddress) {
  alignas(VakEnvI) unsigned char place[sizeof(VakEnvI)];
  auto* first = ::new (place) VakEnvI();
  const VakNumVar old(VakEnv(first), "old");
  const VakRef<VakNumVar> ref = old;
  const VakInt id = old.getId();
  first->~VakEnvI();
  auto* second = ::new (place) VakEnvI();
  const VakNumVar next(VakEnv(second), "next");
  ASSERT_EQ(next.getId(), id);
  const VakRef<VakNumVar> nextRef = next;
  EXPECT_EQ(ref.getState(), VakRefState::EnvironmentEnded);
  EXPECT_TRUE(nextRef.get().is(next));
  second->~VakEnvI();
  EXPECT_EQ(nextRef.getState(), VakRefState::EnvironmentEnded);
}

TEST_F(Ref, NoticesThatItIsAskedForInAnotherEnvironment) {
  const VakScopedEnv other;
  const std::string id = std::to_string(x.getId());
  const VakRef<VakNumVar> ref = x;
  EXPECT_EQ(ref.getState(env), VakRefState::Alive);
  EXPECT_TRUE(ref.get(env).is(x));
  EXPECT_TRUE(ref.checked(env).is(x));
  EXPECT_EQ(ref.getState(other.env), VakRefState::OtherEnvironment);
  EXPECT_TRUE(ref.get(other.env).isEmpty());
  EXPECT_EQ(VakMessageOf<VakRefError>([&] { (void)ref.checked(other.env); }),
            "Variable #" + id +
                " belongs to another environment than the one it is asked for in. Use objects of "
                "one environment, or copy the model with a VakCopier.");
  x.end();
  EXPECT_EQ(ref.getState(other.env), VakRefState::ObjectGone);
}

TEST_F(Ref, NamesWhatItReferredTo) {
  VakConstraint c(env, x <= 4);
  const VakRef<VakConstraint> ref = c;
  const std::string id = std::to_string(c.getId());
  c.end();
  EXPECT_EQ(refusalOf(ref), "object gone: Constraint #" + id +
                                " was ended, or taken out of its environment. Drop the reference.");
}

TEST_F(Ref, OfADerivedHandleIsOneOfTheBase) {
  const VakIntVar n(env, 0, 3, "n");
  const VakRef<VakIntVar> ref = n;
  const VakRef<VakNumVar> asVariable = ref;
  const VakRef<VakExtractable> asObject = asVariable;
  EXPECT_TRUE(ref.get().is(n));
  EXPECT_TRUE(asVariable.get().is(n));
  EXPECT_TRUE(asObject.get().is(n));
  EXPECT_EQ(ref, asObject);
}

TEST_F(Ref, IsAKeyThatStaysWhenTheObjectGoes) {
  std::unordered_map<VakRef<VakNumVar>, int> values;
  values[x] = 1;
  values[y] = 2;
  const VakRef<VakNumVar> key = x;
  x.end();
  const VakNumVar next(env, 0, 40, "x");
  values[next] = 3;
  EXPECT_EQ(values.size(), 3u);
  EXPECT_EQ(values.at(key), 1);
  EXPECT_EQ(values.at(next), 3);
  std::erase_if(values, [](const auto& entry) { return !entry.first.isAlive(); });
  EXPECT_EQ(values.size(), 2u);
}

TEST_F(Ref, KeepsTheIdentifierTableAtOnePointerASlot) {
  const VakInt before = env.getIdManagerMemoryUsage();
  EXPECT_TRUE(VakRef<VakNumVar>(x).isAlive());
  EXPECT_EQ(env.getIdManagerMemoryUsage(), before);
  EXPECT_EQ(before, scope->_idManager->_capacity * static_cast<VakInt>(sizeof(void*)));
}

TEST_F(Ref, NoticesObjectsOfThreadSafeMode) {
  VakRecursiveEnvMutex mutex;
  VakInitMT(&mutex);
  {
    VakScopedEnv threadSafe;
    threadSafe->useMTSafeAllocation(1);
    VakNumVar v(threadSafe.env, "v");
    const VakRef<VakNumVar> ref = v;
    EXPECT_TRUE(ref.get().is(v));
    delete v.VakExtractable::getImpl();
    EXPECT_EQ(ref.getState(), VakRefState::ObjectGone);
    const VakNumVar next(threadSafe.env, "next");
    EXPECT_FALSE(ref.isAlive());
    threadSafe->useMTSafeAllocation(0);
  }
  VakEndMT();
}

TEST_F(Ref, IsAliveWhileItsObjectIsBeingHidden) {
  auto* node = VakMakeNode(scope.impl(), script, "A");
  auto* other = VakMakeNode(scope.impl(), script, "B", {node});
  const VakRef<VakExtractable> ref = VakExtractable(node);
  VakRefState during = VakRefState::Empty;
  script.onSweep = [&](VakTestNode&) { during = ref.getState(); };
  scope->removeFromAllAndDestroy(node, 0);
  EXPECT_EQ(during, VakRefState::Alive);
  EXPECT_EQ(ref.getState(), VakRefState::ObjectGone);
  EXPECT_FALSE(other->refersTo(node));
  script.onSweep = nullptr;
}

// Destructors of user objects run while an environment ends; what they ask is answered.
class Asker : public VakDestroyableI {
 public:
  Asker(VakEnvI* env, VakRef<VakNumVar> ref, VakRefState& answer)
      : VakDestroyableI(env), _ref(std::move(ref)), _answer(answer) {}
  ~Asker() noexcept(false) override { _answer = _ref.getState(); }

 private:
  VakRef<VakNumVar> _ref;
  VakRefState& _answer;
};

TEST_F(Ref, AnswersDestructorsThatRunAtTheEnd) {
  VakRefState answer = VakRefState::Empty;
  VakCreate<Asker>(scope.impl(), VakRef<VakNumVar>(x), answer);
  scope.env.end();
  EXPECT_EQ(answer, VakRefState::Alive);
}

/// Asks when the environment has given up its identifiers and is not over yet.
class AskingPlugIn : public VakPlugIn {
 public:
  AskingPlugIn(VakEnvI* env, VakRef<VakNumVar> ref, VakRefState& answer)
      : VakPlugIn(env), _ref(std::move(ref)), _answer(answer) {}
  ~AskingPlugIn() noexcept(false) override { _answer = _ref.getState(); }

 private:
  VakRef<VakNumVar> _ref;
  VakRefState& _answer;
};

TEST_F(Ref, IsLostWithTheIdentifiersOfTheEnvironment) {
  VakRefState answer = VakRefState::Empty;
  scope->_plugInManager->add(VakCreate<AskingPlugIn>(scope.impl(), VakRef<VakNumVar>(x), answer),
                             "asking");
  scope.env.end();
  EXPECT_EQ(answer, VakRefState::ObjectGone);
}

TEST_F(Ref, NoticesTheEndInBothMemoryModes) {
  for (const bool pooled : {true, false}) {
    pooled ? VakUsePooledMemory() : VakUseUnpooledMemory();
    VakEnv other;
    const VakNumVar v(other, "v");
    const VakRef<VakNumVar> ref = v;
    EXPECT_TRUE(ref.isAlive());
    other.end();
    EXPECT_EQ(ref.getState(), VakRefState::EnvironmentEnded);
  }
}

TEST_F(Ref, IsNotMadeWhenMemoryRunsOut) {
  // As many lives as use up what ended environments left behind.
  VakScopedEnv others[8];
  for (const VakScopedEnv& other : others) (void)VakEnvLife(other.impl());
  VakRef<VakNumVar> ref;
  const long failures = VakFailEachNew([&] { ref = x; },
                                       [&](const std::exception_ptr& thrown) {
                                         EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                                         EXPECT_TRUE(ref.isEmpty());
                                       });
  EXPECT_EQ(failures, 3);  // what an attempt made is there for the next one
  EXPECT_TRUE(ref.get().is(x));
}

TEST(RefError, KeepsItsTextInCopies) {
  VakRefError copy("other", VakRefState::Empty);
  {
    const VakRefError error("text", VakRefState::ObjectGone);
    const VakRefError second = error;
    copy = second;
  }
  EXPECT_STREQ(copy.getMessage(), "text");
  EXPECT_EQ(copy.getState(), VakRefState::ObjectGone);
}

}  // namespace

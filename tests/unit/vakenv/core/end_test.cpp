// The end of an environment: its order, seen by the objects that go with it, and how it survives
// what they do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/end_witnesses.h"
#include "tests/support/environment_mode.h"
#include "tests/support/recording_local_env.h"
#include "tests/support/scoped_env.h"
#include "vakenv/memory/env_object.h"
#include "vakenv/registry/recycle_bin.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// An environment with a log, both of which outlive the end.
class End : public testing::Test {
 protected:
  End() : env(std::make_unique<VakEnvI>()), log(env.get()) {}

  VakMemoryManager manager() const { return env->_allocator; }
  // One object of every kind that is deleted in a step of its own.
  void makeOneOfEach() {
    env->addProperty(VakCreate<VakPropertyWitness>(manager(), &log, "property"));
    VakCreate<VakDestroyableWitness>(env.get(), &log, "destroyable");
    new VakAlgorithmWitness(env.get(), &log, "algorithm");
    env->setDeleter(VakCreate<VakDeleterWitness>(env.get(), &log, "deleter"), 1);
    VakCreate<VakExtractableWitness>(env.get(), &log, "extractable");
    env->_plugInManager->add(VakCreate<VakPlugInWitness>(env.get(), &log, "plug-in"), "kit");
  }
  const VakSighting& seenBy(const std::string& who) const {
    for (const VakSighting& sighting : log.sightings) {
      if (sighting.who == who) return sighting;
    }
    ADD_FAILURE() << who << " was not deleted";
    return log.sightings.front();
  }

  std::unique_ptr<VakEnvI> env;
  VakEndLog log;
};

TEST_F(End, DeletesUserObjectsInTheOrderOfItsSteps) {
  makeOneOfEach();
  const bool pooled = env->_useMemoryManager != 0;
  env->end();
  if (pooled) {
    EXPECT_THAT(log.names(),
                ElementsAre("property", "destroyable", "algorithm", "deleter", "plug-in"));
  } else {
    EXPECT_THAT(log.names(), ElementsAre("property", "destroyable", "algorithm", "deleter",
                                         "extractable", "plug-in"));
  }
}

TEST_F(End, DeletesExtractablesWithoutPooledMemoryOnly) {
  VakUseUnpooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  VakCreate<VakExtractableWitness>(env.get(), &log, "unpooled");
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("unpooled"));
  VakUsePooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  VakCreate<VakExtractableWitness>(env.get(), &log, "pooled");
  env->end();
  EXPECT_THAT(log.names(), IsEmpty());
}

TEST_F(End, ShowsPropertiesTheWholeEnvironment) {
  makeOneOfEach();
  env->end();
  const VakSighting& seen = seenBy("property");
  EXPECT_EQ(seen.ending, 0);
  EXPECT_TRUE(seen.hasExtension);
  EXPECT_TRUE(seen.hasDestroyables);
  EXPECT_TRUE(seen.hasAlgorithms);
}

TEST_F(End, ShowsDestroyablesThatItIsEndingAndHasNoExtensionAnyMore) {
  makeOneOfEach();
  env->end();
  const VakSighting& seen = seenBy("destroyable");
  EXPECT_EQ(seen.ending, 1);
  EXPECT_FALSE(seen.hasExtension);
  EXPECT_TRUE(seen.hasDestroyables);
  EXPECT_TRUE(seen.hasAlgorithms);
  EXPECT_TRUE(seen.hasDeleter);
}

TEST_F(End, ShowsAlgorithmsThatDestroyablesAreGone) {
  makeOneOfEach();
  env->_typedLists.switchOn(env.get());
  env->end();
  const VakSighting& seen = seenBy("algorithm");
  EXPECT_EQ(seen.ending, 0);
  EXPECT_FALSE(seen.hasDestroyables);
  EXPECT_TRUE(seen.hasTypedLists);
  EXPECT_TRUE(seen.hasDeleter);
}

TEST_F(End, ShowsTheDeleterThatAlgorithmsAndTypedListsAreGone) {
  makeOneOfEach();
  env->_typedLists.switchOn(env.get());
  env->getExpander();
  env->end();
  const VakSighting& seen = seenBy("deleter");
  EXPECT_EQ(seen.ending, 0);
  EXPECT_FALSE(seen.hasAlgorithms);
  EXPECT_FALSE(seen.hasExpander);
  EXPECT_FALSE(seen.hasTypedLists);
  EXPECT_TRUE(seen.hasIdentifiers);
}

TEST_F(End, ShowsExtractablesThatItIsEndingAndHasNoDeleterAnyMore) {
  VakUseUnpooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  makeOneOfEach();
  env->end();
  const VakSighting& seen = seenBy("extractable");
  EXPECT_EQ(seen.ending, 1);
  EXPECT_FALSE(seen.hasDeleter);
  EXPECT_TRUE(seen.hasIdentifiers);
  EXPECT_EQ(VakExtractableWitness::idAtTheEnd, -1);
}

TEST_F(End, ShowsPlugInsThatItIsEndingAndHasNeitherIdentifiersNorDomains) {
  makeOneOfEach();
  env->end();
  const VakSighting& seen = seenBy("plug-in");
  EXPECT_EQ(seen.ending, 1);
  EXPECT_FALSE(seen.hasIdentifiers);
  EXPECT_FALSE(seen.hasDomains);
}

TEST_F(End, DeletesDestroyablesNewestFirst) {
  for (const char* who : {"1", "2", "3"}) VakCreate<VakDestroyableWitness>(env.get(), &log, who);
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("3", "2", "1"));
}

TEST_F(End, EndsAlgorithmsNewestFirst) {
  for (const char* who : {"1", "2", "3"}) new VakAlgorithmWitness(env.get(), &log, who);
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("3", "2", "1"));
  EXPECT_EQ(env->_algorithms, nullptr);
}

TEST_F(End, LeavesTheFlagsDownAndTheListsEmpty) {
  makeOneOfEach();
  env->end();
  EXPECT_EQ(env->_ending, 0);
  EXPECT_EQ(env->_destroyables, nullptr);
  EXPECT_EQ(env->_algorithms, nullptr);
  EXPECT_EQ(env->_expander, nullptr);
  EXPECT_EQ(env->_deleter, nullptr);
  EXPECT_EQ(env->_deleterLevel, 0);
  EXPECT_EQ(env->_extension, nullptr);
  EXPECT_EQ(env->_intDomains, nullptr);
  EXPECT_EQ(env->_numDomains, nullptr);
  EXPECT_EQ(env->_markArray, nullptr);
  EXPECT_EQ(env->_localEnv, nullptr);
}

TEST_F(End, RunsOnceHoweverOftenItIsCalled) {
  makeOneOfEach();
  env->end();
  const std::size_t seen = log.sightings.size();
  env->end();
  env.reset();
  EXPECT_EQ(log.sightings.size(), seen);
}

TEST_F(End, RunsInTheDestructorWhenItWasNotCalled) {
  makeOneOfEach();
  env.reset();
  EXPECT_GE(log.sightings.size(), 5U);
}

// Tells how much memory its environment uses when it goes.
class MeasuringPlugIn : public VakPlugIn {
 public:
  MeasuringPlugIn(VakEnvI* env, long* usage) : VakPlugIn(env), _usage(usage) {}
  ~MeasuringPlugIn() override { *_usage = _env->getMemoryUsage(); }

 private:
  long* _usage;
};

TEST_F(End, GivesTheGeneratorBackBeforePlugInsGo) {
  const auto usageSeenByPlugIn = [](bool withGenerator) {
    long usage = -1;
    VakEnvI environment;
    environment._plugInManager->add(VakCreate<MeasuringPlugIn>(&environment, &usage), "kit");
    if (withGenerator) environment.createRandom();
    environment.end();
    return usage;
  };
  EXPECT_EQ(usageSeenByPlugIn(true), usageSeenByPlugIn(false));
}

// What the objects of one step reach that earlier steps took away. An expression is not looked at
// while objects are being deleted, so null stands for one that is gone.
class Meddler {
 public:
  explicit Meddler(VakEnvI* env) : _env(env) {}
  void meddle() const {
    _env->removeDestroyable(nullptr);
    _env->_idManager->freeId(0);
    if (_env->_ending != 0) _env->release(static_cast<VakNumExprI*>(nullptr));
    _env->strFree(_env->strDup("late"));
    _env->_allocator->free(_env->_allocator->alloc(40), 40);
    delete VakCreate<VakDestroyableI>(_env);
  }

 private:
  VakEnvI* _env;
};

class MeddlingPlugIn : public VakPlugIn {
 public:
  explicit MeddlingPlugIn(VakEnvI* env) : VakPlugIn(env) {}
  ~MeddlingPlugIn() override { Meddler(_env).meddle(); }
};

class MeddlingDestroyable : public VakDestroyableI {
 public:
  explicit MeddlingDestroyable(VakEnvI* env) : VakDestroyableI(env) {}
  ~MeddlingDestroyable() override { Meddler(_env).meddle(); }
};

class MeddlingAlgorithm : public VakAlgorithmWitness {
 public:
  MeddlingAlgorithm(VakEnvI* env, VakEndLog* log) : VakAlgorithmWitness(env, log, "meddler") {}
  ~MeddlingAlgorithm() override { Meddler(_env).meddle(); }
};

TEST_F(End, MakesWhatIsGoneHarmless) {
  VakCreate<MeddlingDestroyable>(env.get());
  new MeddlingAlgorithm(env.get(), &log);
  env->_plugInManager->add(VakCreate<MeddlingPlugIn>(env.get()), "kit");
  env->end();
  EXPECT_EQ(env->_endedSteps, 16);
}

// Makes another object of its kind while it goes.
class Heir : public VakDestroyableI {
 public:
  Heir(VakEnvI* env, int generations, int* gone)
      : VakDestroyableI(env), _generations(generations), _gone(gone) {}
  ~Heir() override {
    ++*_gone;
    if (_generations > 0) VakCreate<Heir>(_env, _generations - 1, _gone);
  }

 private:
  int _generations;
  int* _gone;
};

TEST_F(End, DeletesDestroyablesThatDestroyablesMake) {
  int gone = 0;
  VakCreate<Heir>(env.get(), 4, &gone);
  env->end();
  EXPECT_EQ(gone, 5);
}

// Deletes another object while it goes.
class Killer : public VakDestroyableWitness {
 public:
  Killer(VakEnvI* env, VakEndLog* log, VakDestroyableI* victim)
      : VakDestroyableWitness(env, log, "killer"), _victim(victim) {}
  ~Killer() override { delete _victim; }

 private:
  VakDestroyableI* _victim;
};

TEST_F(End, DeletesEachDestroyableOnceAlsoWhenTheyDeleteEachOther) {
  auto* victim = VakCreate<VakDestroyableWitness>(env.get(), &log, "victim");
  VakCreate<VakDestroyableWitness>(env.get(), &log, "bystander");
  VakCreate<Killer>(env.get(), &log, victim);
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("victim", "killer", "bystander"));
}

// Does not detach itself when it is ended.
class StubbornAlgorithm : public VakAlgorithmI {
 public:
  explicit StubbornAlgorithm(VakEnvI* env) : VakAlgorithmI(env) { attach(); }
  void end() override { ++ends; }
  void change(const VakChange&, const VakExtractableI*) override {}
  void change(const VakChange&) override {}
  int ends = 0;
};

TEST_F(End, UnlinksAnAlgorithmThatDoesNotDetachItself) {
  new VakAlgorithmWitness(env.get(), &log, "older");
  StubbornAlgorithm stubborn(env.get());
  new VakAlgorithmWitness(env.get(), &log, "newer");
  env->end();
  EXPECT_EQ(stubborn.ends, 1);
  EXPECT_THAT(log.names(), ElementsAre("newer", "older"));
  EXPECT_EQ(env->_algorithms, nullptr);
}

TEST_F(End, LeavesNullAndHiddenSlotsAlone) {
  VakUseUnpooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  env->_idManager->newId(nullptr);
  auto* hidden = VakCreate<VakExtractableWitness>(env.get(), &log, "hidden");
  env->_idManager->_data[hidden->id] = VakIdManager::HiddenMark();
  VakCreate<VakExtractableWitness>(env.get(), &log, "live");
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("live"));
}

TEST_F(End, SkipsIdentifiersThatAreFree) {
  VakUseUnpooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  auto* gone = VakCreate<VakExtractableWitness>(env.get(), &log, "gone");
  VakCreate<VakExtractableWitness>(env.get(), &log, "live");
  delete gone;
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("gone", "live"));
}

// Deletes another extractable while it goes.
class ParentExtractable : public VakExtractableWitness {
 public:
  ParentExtractable(VakEnvI* env, VakEndLog* log)
      : VakExtractableWitness(env, log, "parent"),
        _child(VakCreate<VakExtractableWitness>(env, log, "child")) {}
  ~ParentExtractable() override { delete _child; }

 private:
  VakExtractableI* _child;
};

TEST_F(End, DeletesEachExtractableOnceAlsoWhenOneDeletesAnother) {
  VakUseUnpooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  VakCreate<ParentExtractable>(env.get(), &log);
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("child", "parent"));
}

class CountedLocalEnv : public VakRecordingLocalEnv {
 public:
  CountedLocalEnv(VakEnvI* env, int* gone) : VakRecordingLocalEnv(env), _gone(gone) {}
  ~CountedLocalEnv() override { ++*_gone; }

 private:
  int* _gone;
};

TEST_F(End, DeletesLocalEnvironmentsThatWereLeftInstalled) {
  int gone = 0;
  env->_localEnv = new CountedLocalEnv(env.get(), &gone);
  env->_localEnv->_next = new CountedLocalEnv(env.get(), &gone);
  env->end();
  EXPECT_EQ(gone, 2);
}

TEST_F(End, GivesUpARemovalThatAnExceptionBrokeOff) {
  env->_recycleBin = VakCreate<VakRecycleBinI>(env.get());
  env->end();
  EXPECT_EQ(env->_recycleBin, nullptr);
}

TEST_F(End, DeletesWhatIsListedAlsoWhileThreadSafeModeIsOn) {
  VakCreate<VakDestroyableWitness>(env.get(), &log, "before");
  env->useMTSafeAllocation(1);
  VakCreate<VakDestroyableWitness>(env.get(), &log, "during");
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("before"));
  EXPECT_EQ(env->_localEnv, nullptr);
}

TEST_F(End, ReleasesTypedListsMarksAndTermsThatAreStillInUse) {
  env->_typedLists.switchOn(env.get());
  VakCreate<VakExtractableWitness>(env.get(), &log, "listed");
  env->useMTSafeNormalization(1);
  static_cast<void>(env->getMarkArray());
  static_cast<void>(env->newTerm(nullptr, 1.0));
  env->end();
  EXPECT_FALSE(env->_typedLists.isOn());
}

// ---- Destructors that throw -------------------------------------------------------------------

class EndWithThrower : public End, public testing::WithParamInterface<const char*> {};

TEST_P(EndWithThrower, PassesTheExceptionOnAndGoesOnWhenCalledAgain) {
  VakUseUnpooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  makeOneOfEach();
  log.throwing = GetParam();
  EXPECT_THROW(env->end(), std::string);
  EXPECT_EQ(log.names().back(), GetParam());
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("property", "destroyable", "algorithm", "deleter",
                                       "extractable", "plug-in"));
  EXPECT_EQ(env->_endedSteps, 16);
  EXPECT_EQ(env->_ending, 0);
}

TEST_P(EndWithThrower, ReleasesEverythingAndThenPassesTheExceptionOn) {
  VakUseUnpooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  makeOneOfEach();
  log.throwing = GetParam();
  VakEnv handle(env.release());
  EXPECT_THROW(handle.end(), std::string);
  EXPECT_EQ(handle.getImpl(), nullptr);
  EXPECT_EQ(log.sightings.size(), 6U);
}

INSTANTIATE_TEST_SUITE_P(, EndWithThrower,
                         testing::Values("property", "destroyable", "algorithm", "deleter",
                                         "extractable", "plug-in"),
                         [](const auto& thrower) {
                           std::string name = thrower.param;
                           std::erase(name, '-');
                           return name;
                         });

TEST_F(End, DeletesTheOtherObjectsOfAStepWhenOneThrows) {
  VakUseUnpooledMemory();
  env = std::make_unique<VakEnvI>();
  log = VakEndLog(env.get());
  for (const char* who : {"d1", "d2", "d3"}) VakCreate<VakDestroyableWitness>(env.get(), &log, who);
  for (const char* who : {"a1", "a2", "a3"}) new VakAlgorithmWitness(env.get(), &log, who);
  for (const char* who : {"e1", "e2", "e3"}) VakCreate<VakExtractableWitness>(env.get(), &log, who);
  for (const char* who : {"p1", "p2", "p3"}) {
    env->_plugInManager->add(VakCreate<VakPlugInWitness>(env.get(), &log, who), "kit");
  }
  log.throwing = "d2 a2 e2 p2";
  try {
    VakEnv(env.release()).end();
    FAIL() << "nothing was thrown";
  } catch (const std::string& first) {
    EXPECT_EQ(first, "d2");
  }
  EXPECT_THAT(log.names(),
              ElementsAre("d3", "d2", "d1", "a3", "a2", "a1", "e1", "e2", "e3", "p3", "p2", "p1"));
}

// ---- Vertical removal -------------------------------------------------------------------------

TEST_F(End, DoesNotDeleteAgainWhatWasRemovedVertically) {
  auto* e = VakCreate<VakExtractableWitness>(env.get(), &log, "e");
  env->removeVerticalEnv(e);
  EXPECT_THAT(log.names(), ElementsAre("e"));
  env->end();
  EXPECT_THAT(log.names(), ElementsAre("e"));
}

TEST(VerticalRemoval, IgnoresNull) {
  const VakScopedEnv env;
  const long usage = env->getMemoryUsage();
  env->removeVerticalEnv(nullptr);
  EXPECT_EQ(env->getMemoryUsage(), usage);
}

TEST(VerticalRemoval, FreesTheIdentifierAndDeletesTheExtractable) {
  const VakScopedEnv env;
  VakEndLog log(env.impl());
  const long usage = env->getMemoryUsage();
  auto* e = VakCreate<VakExtractableWitness>(env.impl(), &log, "e");
  const VakInt id = e->id;
  env->removeVerticalEnv(e);
  EXPECT_THAT(log.names(), ElementsAre("e"));
  EXPECT_EQ(VakExtractableWitness::idAtTheEnd, -1);
  EXPECT_EQ(env->getMemoryUsage(), usage);
  EXPECT_EQ(env->_idManager->newId(nullptr), id);
}

// ---- The type system --------------------------------------------------------------------------

class AskedFirst : public VakRtti {
  VAK_RTTI_BELOW_ROOT(AskedFirst);
};

class AskedSecond : public VakRtti {
  VAK_RTTI_BELOW_ROOT(AskedSecond);
};

TEST_F(End, LeavesTheFirstTwoTypeIndicesToTheFirstTwoThatAsk) {
  makeOneOfEach();
  env->_typedLists.switchOn(env.get());
  VakCreate<VakExtractableWitness>(env.get(), &log, "listed");
  env->createRandom();
  env->makeSymbol("x");
  env->useMTSafeAllocation(1);
  env->useMTSafeNormalization(1);
  static_cast<void>(env->getMarkArray());
  env->useMTSafeAllocation(0);
  env->setIntProperty("size", 1);
  static_cast<void>(env->getIntProperty("size"));
  env->getOrMakeSharedDomain(1.0, 2.0);
  env->getOrMakeSharedDomain(1L, 2L);
  env->getExpander();
  env->recycleTerm(env->newTerm(nullptr, 1.0));
  auto* e = VakCreate<VakExtractableWitness>(env.get(), &log, "removed");
  env->unsetDeleter();
  env->removeFromAllAndDestroy(e, 0);
  env->end();
  EXPECT_EQ(VakRtti::_counter, 0);
  EXPECT_EQ(AskedSecond::GetTypeIndex(), 1);
  EXPECT_EQ(AskedFirst::GetTypeIndex(), 2);
}

}  // namespace

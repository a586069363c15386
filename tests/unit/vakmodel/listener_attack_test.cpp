// Listeners that end objects, change models, detach or end algorithms while they are told of a
// change, followed by a refusal that has to take the change back.

#include <stdexcept>

#include "tests/support/failing_new.h"
#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/mirror_algorithm.h"
#include "tests/unit/vakmodel/model_text.h"

namespace {

struct ListenerAttack : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, 0, 3, "y"};
  VakNumVar z{env, 0, 7, "z"};
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
  VakConstraint d = m.add(x + y >= 1, "d");
  VakObjective o = m.maximize(3 * x + 4 * y - 1);

  // The later one is told first.
  VakModelListener* refuser = new VakModelListener(env, "refuser: ");
  VakModelListener* actor = new VakModelListener(env, "actor: ");

  /// The first listener does this when it is told of the next change, and the second one refuses.
  void actThenRefuse(const std::function<void()>& action) {
    actor->_reaction = [action](VakModelListener& self, const VakChange&) {
      self._reaction = {};
      action();
    };
    // What the action itself reports is accepted.
    refuser->_reaction = [this](VakModelListener& self, const VakChange& change) {
      if (change.isType(VakRemoveFromAllChange::GetTypeInfo()) != 0) return;
      if (change.isType(VakDestroyExtractable::GetTypeInfo()) != 0) return;
      self._reaction = {};
      self.refuse({m});
    };
  }

  void TearDown() override {
    EXPECT_EQ(m.check(), "");
    EXPECT_FALSE(scope->isRemoving());
  }
};

TEST_F(ListenerAttack, EndingAVariableOfTheObjectWhoseCoefficientsAreTakenBack) {
  actThenRefuse([&] { y.end(); });
  EXPECT_EQ(VakRefusalOf([&] { c.setCoefs(std::vector<VakNumVar>{x, z}, {{5, 6}}); }), "[m]");
  EXPECT_EQ(VakTextOf(m), "maximize: 3 x - 1\nc: x <= 14\nd: x >= 1\nx in [0, 40]\n");
}

TEST_F(ListenerAttack, EndingAVariableOfTheObjectWhoseCoefficientsAreKept) {
  actor->_reaction = [&](VakModelListener& self, const VakChange&) {
    self._reaction = {};
    y.end();
  };
  c.setCoefs(std::vector<VakNumVar>{x, z}, {{0, 6}});
  EXPECT_EQ(VakTextOf(c), "c: 6 z <= 14");
}

TEST_F(ListenerAttack, EndingAVariableThatOnlyTheReplacedTermsHave) {
  actThenRefuse([&] { y.end(); });
  EXPECT_EQ(VakRefusalOf([&] { c.setRelation(z <= 5); }), "[m]");
  EXPECT_EQ(VakTextOf(c), "c: x <= 14");
  actThenRefuse([&] { z.end(); });
  VakNumExpr stored(env, z + x, "stored");
  EXPECT_EQ(VakRefusalOf([&] { stored.setExpr(x - 4); }), "[m]");
  EXPECT_EQ(VakTextOf(stored.getExpr()), "x");
  actThenRefuse([&] { x.end(); });
  EXPECT_EQ(VakRefusalOf([&] { o.setExpr(7); }), "[m]");
  EXPECT_EQ(VakTextOf(o), "maximize: -1");
}

TEST_F(ListenerAttack, TakingAVariableOutOfEverythingThatOnlyTheReplacedTermsHave) {
  actThenRefuse([&] { y.removeFromAll(); });
  EXPECT_EQ(VakRefusalOf([&] { c.setRelation(z <= 5); }), "[m]");
  EXPECT_EQ(VakTextOf(c), "c: x <= 14");
  EXPECT_FALSE(m.contains(y));
}

TEST_F(ListenerAttack, EndingAConstraintThatARemovedVariableWasIn) {
  actThenRefuse([&] { c.end(); });
  EXPECT_EQ(VakRefusalOf([&] { m.remove(x); }), "[m]");
  EXPECT_EQ(VakTextOf(m), "maximize: 3 x + 4 y - 1\nd: x + y >= 1\nx in [0, 40]\ny in [0, 3]\n");
  actor->_reaction = [&](VakModelListener& self, const VakChange&) {
    self._reaction = {};
    d.end();
  };
  m.remove(x);
  EXPECT_EQ(VakTextOf(m), "maximize: 4 y - 1\ny in [0, 3]\n");
}

TEST_F(ListenerAttack, EndingTheOnlyVariableOfANewConstraintLeavesThatEmpty) {
  VakNumVar v(env, "v");
  VakNumVar w(env, "w");
  m.add(std::vector<VakNumVar>{v, w});
  const std::string before = VakTextOf(c) + VakTextOf(d);
  actThenRefuse([&] { v.end(); });
  EXPECT_EQ(VakRefusalOf([&] { m.add(v <= 3, "e"); }), "[m]");
  EXPECT_EQ(m.getConstraintCount(), 2);
  actor->_reaction = [&](VakModelListener& self, const VakChange&) {
    self._reaction = {};
    w.end();
  };
  std::vector<VakConstraint> made(3);
  m.add(std::vector<VakRelation>{x <= 3, w <= 3, y >= 0}, made);
  EXPECT_EQ(VakTextOf(made[0].getExpr()), "x");
  EXPECT_EQ(VakTextOf(made[1].getExpr()), "0");
  EXPECT_EQ(VakTextOf(made[2].getExpr()), "y");
  EXPECT_EQ(VakTextOf(c) + VakTextOf(d), before);
}

TEST_F(ListenerAttack, EndingTheOnlyVariableOfAConstraintThatIsChangedLeavesThatEmpty) {
  VakNumVar w(env, "w");
  VakConstraint e = m.add(w <= 3, "e");
  actThenRefuse([&] { w.end(); });
  EXPECT_EQ(VakRefusalOf([&] { e.setUB(7); }), "[m]");
  EXPECT_EQ(VakTextOf(e), "e: 0 <= 3");
  // Nobody is told of it now, so it can be ended, and pointless ones end again.
  e.end();
  VakNumVar v(env, "v");
  m.add(v <= 3, "f");
  v.end();
  EXPECT_EQ(m.getConstraintCount(), 2);
}

TEST_F(ListenerAttack, EndingWhatAChangeIsAboutIsRefused) {
  o.setName("o");
  const std::string before = VakTextOf(m);
  const VakNumVar spare(env, "spare");
  const VakNumVar w(env, "w");
  VakNumExpr stored(env, w + 1, "stored");
  const VakConstraint e(env, w <= 1, "e");
  struct Case {
    std::function<void()> change;
    VakExtractable object;
    const char* text;
  };
  const std::vector<VakNumVar> both = {x, y};
  const std::vector<VakConstraint> rows = {c, d};
  const std::vector<Case> cases = {{[&] { x.setUB(1); }, x, "Variable \"x\""},
                                   {[&] { x.setKind(VakVarKind::Integer); }, x, "Variable \"x\""},
                                   {[&] { VakSetBounds(both, 1, 1); }, y, "Variable \"y\""},
                                   {[&] { c.setUB(1); }, c, "Constraint \"c\""},
                                   {[&] { c.setUB(1); }, m, "Model \"m\""},
                                   {[&] { VakSetBounds(rows, 1, 1); }, d, "Constraint \"d\""},
                                   {[&] { VakSetBounds(rows, 1, 1); }, m, "Model \"m\""},
                                   {[&] { c.setCoef(x, 9); }, x, "Variable \"x\""},
                                   {[&] { c.setCoef(x, 9); }, c, "Constraint \"c\""},
                                   {[&] { c.setCoef(x, 9); }, m, "Model \"m\""},
                                   {[&] { c.setRelation(w <= 1); }, c, "Constraint \"c\""},
                                   {[&] { stored.setExpr(x); }, stored, "Expression \"stored\""},
                                   {[&] { o.setSense(VakSense::Minimize); }, m, "Model \"m\""},
                                   {[&] { o.setConstant(4); }, o, "Objective \"o\""},
                                   {[&] { m.add(w); }, w, "Variable \"w\""},
                                   {[&] { m.add(e); }, e, "Constraint \"e\""},
                                   {[&] { m.remove(x); }, x, "Variable \"x\""},
                                   {[&] { m.remove(d); }, d, "Constraint \"d\""},
                                   {[&] { m.remove(o); }, m, "Model \"m\""}};
  for (const Case& wrong : cases) {
    VakExtractable object = wrong.object;
    for (const auto& action :
         std::vector<std::function<void()>>{[&] { object.end(); },
                                            [&] {
                                              VakEndAll(std::vector<VakExtractable>{spare, object});
                                            },
                                            [&] { object.removeFromAll(); }}) {
      actor->_reaction = [&](VakModelListener& self, const VakChange&) {
        self._reaction = {};
        action();
      };
      EXPECT_EQ(VakMessageOf<VakModelError>(wrong.change),
                wrong.text + std::string(" is in a change that is being reported. Leave it as it "
                                         "is until the report is over."));
      EXPECT_EQ(VakTextOf(m), before);
      EXPECT_EQ(VakTextOf(stored.getExpr()), "w + 1");
    }
  }
}

TEST_F(ListenerAttack, AVariableThatJoinedWithNewTermsCanEndAtOnce) {
  VakNumVar w(env, "w");
  actThenRefuse([&] { w.end(); });
  EXPECT_EQ(VakRefusalOf([&] { c.setRelation(w + z <= 1); }), "[m]");
  EXPECT_EQ(VakTextOf(c), "c: x + 2 y <= 14");
  EXPECT_EQ(m.getVariableCount(), 2);
}

TEST_F(ListenerAttack, ChangingWhatIsInTheModelWhileThatIsReportedIsRefused) {
  const std::string before = VakTextOf(m);
  const std::vector<std::function<void()>> changes = {[&] { m.add(z); },
                                                      [&] { m.add(z <= 1); },
                                                      [&] { m.remove(y); },
                                                      [&] { m.remove(d); },
                                                      [&] { m.remove(o); },
                                                      [&] { d.setCoef(z, 1); },
                                                      [&] { d.setRelation(z <= 1); }};
  const VakNumVar w(env, "w");
  const VakConstraint e(env, w <= 1, "e");
  for (const auto& inner : changes) {
    for (const auto& outer : std::vector<std::function<void()>>{
             [&] { m.add(w); }, [&] { m.add(e); }, [&] { m.remove(x); }, [&] { m.remove(c); },
             [&] { c.setCoef(w, 1); }, [&] { c.setRelation(w <= 1); }}) {
      actor->_reaction = [&](VakModelListener& self, const VakChange&) {
        self._reaction = {};
        inner();
      };
      EXPECT_EQ(VakMessageOf<VakModelError>(outer),
                "Model \"m\" is being changed and that is being reported. Change it when the "
                "report is over.");
      EXPECT_EQ(VakTextOf(m), before);
      EXPECT_EQ(m.check(), "");
    }
  }
  // It is over, so everything can be changed again.
  m.add(z);
  EXPECT_EQ(m.getVariableCount(), 3);
}

TEST_F(ListenerAttack, OtherModelsCanBeChangedWhileAChangeIsReported) {
  VakModel other(env, "other");
  actor->_reaction = [&](VakModelListener& self, const VakChange&) {
    self._reaction = {};
    other.add(x + z <= 4, "copy");
  };
  m.add(z <= 4);
  EXPECT_EQ(VakTextOf(other), "copy: x + z <= 4\nx in [0, 40]\nz in [0, 7]\n");
}

TEST_F(ListenerAttack, AlgorithmsThatEndThemselvesOrOthersAreSurvived) {
  actor->_reaction = [&](VakModelListener& self, const VakChange&) {
    refuser->end();
    self.end();
  };
  x.setUB(30);
  EXPECT_EQ(x.getUB(), 30);
  auto* third = new VakModelListener(env, "third");
  auto* fourth = new VakModelListener(env, "fourth");
  third->_reaction = [](VakModelListener& self, const VakChange&) { self.refuse({}); };
  fourth->_reaction = [&](VakModelListener& self, const VakChange&) { self.detach(); };
  EXPECT_EQ(VakRefusalOf([&] { x.setUB(20); }), "[]");
  EXPECT_EQ(x.getUB(), 30);
  EXPECT_EQ(third->takeLog(), "thirdbounds [x] / x\nthirdbounds [x] / x");
  EXPECT_EQ(fourth->takeLog(), "fourthbounds [x] / x");
  fourth->end();
  third->end();
}

TEST_F(ListenerAttack, AHookCanEndItsOwnAlgorithm) {
  for (const bool throws : {false, true}) {
    auto* a = new MirrorAlgorithm(env);
    a->extract(m);
    a->onHook = [a, throws] {
      a->end();
      EXPECT_FALSE(a->isAttached());
      if (throws) throw std::runtime_error("ended");
    };
    const auto change = [&] { x.setUB(x.getUB() + 1); };
    if (throws) {
      EXPECT_THROW(change(), std::runtime_error);
    } else {
      change();
    }
    auto* b = new MirrorAlgorithm(env);
    b->extract(m);
    b->onRun = [b] { b->end(); };
    EXPECT_EQ(b->solve(), VakStatus::Optimal);
  }
}

TEST_F(ListenerAttack, ExchangingTheObjectiveIsOneChangeThatIsTakenBackWhole) {
  actor->takeLog();
  o.setName("o");
  m.minimize(x);
  EXPECT_EQ(actor->takeLog(), "actor: terms o / o");
  // Refuses what is new and what was before.
  refuser->_reaction = [&](VakModelListener& self, const VakChange&) { self.refuse({o}); };
  EXPECT_EQ(VakRefusalOf([&] { m.maximize(y + 1); }), "[o]");
  EXPECT_EQ(VakTextOf(o), "minimize o: x");
  actor->takeLog();
  refuser->_reaction = [&](VakModelListener&, const VakChange&) {
    throw VakNoChangeDuringSearchException();
  };
  EXPECT_THROW(m.maximize(y + 1), VakNoChangeDuringSearchException);
  EXPECT_EQ(VakTextOf(o), "minimize o: x");
}

TEST_F(ListenerAttack, NobodyIsLeftOutOfTheRepeatedReportOfWhatWasTakenBack) {
  // The one in the middle throws at everything, so the last one is told of the old state only.
  auto* first = new VakModelListener(env, "first: ");
  actor->_reaction = [](VakModelListener&, const VakChange&) {
    throw VakNoChangeDuringSearchException();
  };
  refuser->takeLog();
  EXPECT_THROW(x.setUB(1), VakNoChangeDuringSearchException);
  EXPECT_EQ(x.getUB(), 40);
  EXPECT_EQ(first->takeLog(), "first: bounds [x] / x\nfirst: bounds [x] / x");
  EXPECT_EQ(refuser->takeLog(), "refuser: bounds [x] / x");
}

// A removal that is broken off has taken everything out, so everybody has to know.
TEST_F(ListenerAttack, EverybodyIsToldWhatARemovalTookOutBeforeItWasBrokenOff) {
  auto* mirror = new MirrorAlgorithm(env);
  mirror->extract(m);
  auto* newest = new VakModelListener(env, "newest: ");
  newest->_reaction = [](VakModelListener&, const VakChange& change) {
    if (change.isType(VakRemoveFromAllChange::GetTypeInfo()) != 0) throw std::runtime_error("no");
  };
  actor->takeLog();
  EXPECT_THROW(y.end(), std::runtime_error);
  EXPECT_EQ(actor->takeLog(), "actor: removed from all [y]");
  EXPECT_EQ(mirror->text(), mirror->expectedText());
  EXPECT_THROW(x.removeFromAll(), std::runtime_error);
  EXPECT_EQ(actor->takeLog(), "actor: removed from all [x]");
  EXPECT_EQ(mirror->text(), mirror->expectedText());
  EXPECT_EQ(mirror->getColumnCount(), 0);
}

TEST_F(ListenerAttack, AlgorithmsStayInStepWhenMemoryRunsOutDuringARemoval) {
  auto* mirror = new MirrorAlgorithm(env);
  VakNumVar w(env, "w");
  for (VakInt i = 0; i < 40; ++i) m.add(w <= static_cast<VakNum>(i));
  mirror->extract(m);
  const auto inStep = [&](const std::exception_ptr&) {
    if (!mirror->isLoaded()) static_cast<void>(mirror->solve());
    EXPECT_EQ(mirror->text(), mirror->expectedText());
  };
  EXPECT_GT(VakFailEachNew([&] { w.end(); }, inStep), 0);
  inStep({});
  EXPECT_GT(VakFailEachNew([&] { y.removeFromAll(); }, inStep), 0);
  inStep({});
}

TEST_F(ListenerAttack, AHandleIsEmptyWhenItsObjectEndedAlthoughTheRemovalFailed) {
  VakNumVar w(env, "w");
  actor->_reaction = [&](VakModelListener& self, const VakChange& change) {
    if (change.isType(VakDestroyExtractable::GetTypeInfo()) == 0) return;
    self._reaction = [&](VakModelListener&, const VakChange&) { throw std::runtime_error("no"); };
    VakNumVar(z).end();
  };
  EXPECT_THROW(w.end(), std::runtime_error);
  EXPECT_TRUE(w.isEmpty());
  actor->_reaction = {};
  EXPECT_STREQ(z.getName(), "z");
  z.end();
}

TEST_F(ListenerAttack, AModelThatEndsWhileItIsReportedByAnotherOfItsObjectsIsLeftAlone) {
  VakModel other(env, "other");
  other.add(x + y <= 5, "e");
  actor->_reaction = [&](VakModelListener& self, const VakChange&) {
    self._reaction = {};
    other.end();
  };
  x.setUB(12);
  EXPECT_EQ(x.getUB(), 12);
  EXPECT_TRUE(other.isEmpty());
}

}  // namespace

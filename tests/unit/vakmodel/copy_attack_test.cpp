// Copies that are asked for in unusual ways: copiers within copiers, levels, substitutions of every
// shape, originals that go meanwhile.

#include "tests/support/failing_new.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakmodel/contract/expander.h"

namespace {

struct CopyAttack : testing::Test {
  VakScopedEnv scope;
  VakScopedEnv otherScope;
  VakScopedEnv thirdScope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, 0, 3, "y"};
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
};

TEST_F(CopyAttack, ACopierWithinAnotherTakesNoOriginalsOfAnotherEnvironment) {
  // The first object of the third environment has the identifier of the first one of this one.
  const VakModel foreign(thirdScope.env, "foreign");
  const VakNumVar foreignVar(thirdScope.env, "v");
  VakCopier outer(otherScope.env);
  outer.copy(m);
  VakCopier inner(otherScope.env);
  EXPECT_THROW(inner.copy(foreign), VakModelMismatch);
  EXPECT_THROW(inner.substitute(foreignVar, VakNumVar(otherScope.env)), VakModelMismatch);
  EXPECT_TRUE(inner.getCopy(foreign).isEmpty());
  EXPECT_TRUE(inner.getCopy(m).is(outer.getCopy(m)));
  EXPECT_EQ(inner.getMap().getSize(), outer.getMap().getSize());
}

TEST_F(CopyAttack, ACopierWithinAnotherSubstitutesAsThatOneDoes) {
  const VakNumVar z(env, "z");
  VakCopier outer(env);
  outer.substitute(x, z);
  {
    VakCopier inner(env);
    EXPECT_EQ(VakTextOf(inner.copy(c).getExpr()), "z + 2 y");
  }
  EXPECT_TRUE(outer.copy(x).is(z));
}

TEST_F(CopyAttack, TheInnerSubstitutionCountsUntilTheInnerCopierEnds) {
  const VakNumVar u(env, "u");
  const VakNumVar v(env, "v");
  VakCopier outer(env);
  outer.substitute(x, u);
  {
    VakCopier inner(env);
    inner.substitute(x, v);
    const VakInt level = inner.openLevel();
    EXPECT_EQ(VakTextOf(inner.copy(c).getExpr()), "v + 2 y");
    inner.closeLevel(level);
  }
  EXPECT_EQ(VakTextOf(outer.copy(c).getExpr()), "u + 2 y");
}

TEST_F(CopyAttack, VariablesCanChangePlaces) {
  VakCopier copier(env);
  copier.substitute(x, y);
  copier.substitute(y, x);
  EXPECT_EQ(VakTextOf(copier.copy(c).getExpr()), "y + 2 x");
}

TEST_F(CopyAttack, TermsThatCancelInACopyAreGone) {
  const VakConstraint d(env, x - y + VakNumVar(env, "z") <= 1, "d");
  VakCopier copier(env);
  copier.substitute(x, y);
  copier.substitute(y, y);
  const VakConstraint copy = copier.copy(d);
  EXPECT_EQ(VakTextOf(copy.getExpr()), "z");
}

TEST_F(CopyAttack, AnExpanderThatEndedLeavesTheCopierWhole) {
  VakCopier copier(env);
  copier.substitute(x, y);
  scope->getExpander()->end();
  EXPECT_EQ(copier.copy(c).getTermCount(), 2);
}

TEST_F(CopyAttack, AnOriginalThatEndsTakesItsSubstitutionAlong) {
  VakNumVar gone(env, "gone");
  const VakNumVar u(env, "u");
  const VakNumVar v(env, "v");
  VakCopier outer(env);
  outer.substitute(gone, u);
  VakExtractableI* const address = gone.VakExtractable::getImpl();
  {
    VakCopier inner(env);
    inner.substitute(gone, v);
    gone.end();
  }
  EXPECT_EQ(scope->getExpander()->substitute(address), nullptr);
}

TEST_F(CopyAttack, AModelWhoseConstraintIsCopiedAlreadyTakesThatCopy) {
  VakCopier copier(otherScope.env);
  const VakConstraint d = copier.copy(c);
  EXPECT_TRUE(d.getModel().isEmpty());
  const VakModel copy = copier.copy(m);
  EXPECT_TRUE(d.getModel().is(copy));
  EXPECT_TRUE(copier.copy(m).is(copy));
  EXPECT_EQ(copy.check(), "");
}

TEST_F(CopyAttack, AMapOutlivesCopierAndCopies) {
  VakObjectMap map;
  VakModel copy;
  {
    VakCopier copier(otherScope.env);
    copy = copier.copy(m);
    map = copier.getMap();
  }
  EXPECT_TRUE(map(m).is(copy));
  EXPECT_TRUE(map(VakNumVar()).isEmpty());
  EXPECT_TRUE(map(VakNumVar(env)).isEmpty());
  EXPECT_STREQ(map(x).getName(), "x");
  otherScope.env.end();
  EXPECT_EQ(map.getSize(), 4U);
}

TEST_F(CopyAttack, ChainsOfCopiesThroughThreeEnvironmentsAreEqual) {
  x.setNumProperty("weight", 2.5);
  x.setObject(this);
  const VakModel second = VakCopier(otherScope.env).copy(m);
  const VakModel third = VakCopier(thirdScope.env).copy(second);
  const VakModel back = VakCopier(env).copy(third);
  EXPECT_EQ(VakTextOf(back), VakTextOf(m));
  EXPECT_EQ(back.findVariable("x").getProperty<VakNum>("weight"), 2.5);
  EXPECT_EQ(back.findVariable("x").getObject(), this);
  otherScope.env.end();
  EXPECT_EQ(VakTextOf(back), VakTextOf(third));
}

TEST_F(CopyAttack, SubstitutingRunsOutOfMemoryWithoutATrace) {
  const VakNumVar z(env, "z");
  VakFailEachNew(
      [&] {
        VakCopier copier(env);
        copier.substitute(x, z);
        copier.substitute(y, y);
        VakConstraint copy = copier.copy(c);
        copy.end();
      },
      [&](const std::exception_ptr&) {
        EXPECT_EQ(scope->isCloningLocked(), 0);
        if (scope->_expander != nullptr) {
          EXPECT_EQ(scope->_expander->substitute(x.VakExtractable::getImpl()), nullptr);
        }
      });
}

}  // namespace

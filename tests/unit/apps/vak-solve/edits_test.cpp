#include "apps/vak-solve/edits.h"

#include <gtest/gtest.h>

#include "apps/vak-solve/errors.h"
#include "tests/support/scoped_env.h"
#include "vakmodel/changes.h"
#include "vakmodel/modelling.h"

namespace vaksolve {
namespace {

const double Infinity = VakGetInfinity();

template <class Action>
std::string errorOf(Action action) {
  try {
    action();
  } catch (const InputError& error) {
    return error.what();
  }
  return "no error";
}

// ---- Parsing ------------------------------------------------------------------------------------

TEST(ParseSet, ReadsTargetPropertyAndValue) {
  const Edit edit = parseSet("x.ub=4.5");
  EXPECT_EQ(edit.kind, Edit::Kind::UpperBound);
  EXPECT_EQ(edit.target, "x");
  EXPECT_EQ(edit.number, 4.5);
  EXPECT_EQ(edit.text, "--set x.ub=4.5");
  EXPECT_EQ(parseSet("c.lb=-inf").number, -Infinity);
  EXPECT_EQ(parseSet("c.rhs=7").kind, Edit::Kind::RightHandSide);
  EXPECT_EQ(parseSet("x.obj=7").kind, Edit::Kind::ObjectiveCoef);
  EXPECT_EQ(parseSet("x.kind=integer").variableKind, VakVarKind::Integer);
  EXPECT_EQ(parseSet("x.kind=binary").variableKind, VakVarKind::Boolean);
  EXPECT_EQ(parseSet("x.kind=boolean").variableKind, VakVarKind::Boolean);
  EXPECT_EQ(parseSet("x.kind=continuous").variableKind, VakVarKind::Continuous);
}

TEST(ParseSet, AllowsDotsAndEqualsSignsInNames) {
  EXPECT_EQ(parseSet("x.1.ub=4").target, "x.1");
  EXPECT_EQ(parseSet("a=b.ub=4").target, "a=b");
}

TEST(ParseSet, TakesAnythingElseAsACoefficient) {
  const Edit edit = parseSet("c.x=5");
  EXPECT_EQ(edit.kind, Edit::Kind::Coef);
  EXPECT_EQ(edit.target, "c.x");
  EXPECT_EQ(edit.number, 5);
}

TEST(ParseSet, SaysWhatIsMalformed) {
  for (const char* text : {"", "x", "x.ub", "x=4", ".ub=4", "x.=4", "x.ub=", "=4"}) {
    EXPECT_EQ(errorOf([&] { static_cast<void>(parseSet(text)); }),
              std::string("--set ") + text + ": write NAME.PROPERTY=VALUE, as in x.ub=4");
  }
  EXPECT_EQ(errorOf([] { static_cast<void>(parseSet("x.ub=abc")); }),
            R"(--set x.ub=abc: "abc" is not a number)");
  EXPECT_EQ(errorOf([] { static_cast<void>(parseSet("x.ub=nan")); }),
            R"(--set x.ub=nan: "nan" is not a number)");
  EXPECT_EQ(errorOf([] { static_cast<void>(parseSet("x.kind=real")); }),
            R"(--set x.kind=real: "real" is no kind: write continuous, integer or binary)");
  EXPECT_EQ(errorOf([] { static_cast<void>(parseSet("x.obj=inf")); }),
            "--set x.obj=inf: only bounds can be infinite");
  EXPECT_EQ(errorOf([] { static_cast<void>(parseSet("c.x=-inf")); }),
            "--set c.x=-inf: only bounds can be infinite");
}

TEST(ParseFix, ReadsNameAndValue) {
  const Edit edit = parseFix("x.1=1");
  EXPECT_EQ(edit.kind, Edit::Kind::Fix);
  EXPECT_EQ(edit.target, "x.1");
  EXPECT_EQ(edit.number, 1);
  for (const char* text : {"", "x", "=1", "x="}) {
    EXPECT_EQ(errorOf([&] { static_cast<void>(parseFix(text)); }),
              std::string("--fix ") + text + ": write VARIABLE=VALUE, as in x=1");
  }
  EXPECT_EQ(errorOf([] { static_cast<void>(parseFix("x=y")); }),
            R"(--fix x=y: "y" is not a number)");
  EXPECT_EQ(errorOf([] { static_cast<void>(parseFix("x=inf")); }),
            "--fix x=inf: only bounds can be infinite");
}

TEST(ParseRemove, NeedsAName) {
  EXPECT_EQ(parseRemove("c").target, "c");
  EXPECT_EQ(errorOf([] { static_cast<void>(parseRemove("")); }),
            "--remove: write the name of a variable or a constraint");
}

// ---- Applying -----------------------------------------------------------------------------------

struct EditorTest : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 10, "x"};
  VakNumVar y{env, "y"};
  VakBoolVar b{env, "b"};
  VakConstraint c;
  VakConstraint e;
  VakConstraint r;

  EditorTest() {
    c = m.add(x + 2 * y + b <= 14, "c");
    e = m.add(x - y == 2, "e");
    r = m.add(1 <= x + y <= 8, "r");
    m.maximize(3 * x + y);
  }

  std::string set(const char* text) { return apply(parseSet(text)); }
  std::string apply(const Edit& edit) {
    Editor editor(m);
    try {
      return editor.apply(edit);
    } catch (const InputError& error) {
      return error.what();
    }
  }
};

TEST_F(EditorTest, SetsBoundsOfVariablesAndConstraints) {
  EXPECT_EQ(set("x.ub=4"), "x.ub = 4 (was 10)");
  EXPECT_EQ(set("x.lb=-inf"), "x.lb = -inf (was 0)");
  EXPECT_EQ(set("c.lb=2"), "c.lb = 2 (was -inf)");
  EXPECT_EQ(set("c.ub=12"), "c.ub = 12 (was 14)");
  EXPECT_EQ(x.getUB(), 4);
  EXPECT_EQ(x.getLB(), -Infinity);
  EXPECT_EQ(c.getLB(), 2);
  EXPECT_EQ(c.getUB(), 12);
}

TEST_F(EditorTest, RefusesBoundsThatCross) {
  EXPECT_EQ(set("x.lb=11"), "--set x.lb=11: the lower bound 11 would be above the upper bound 10");
  EXPECT_EQ(set("c.lb=15"), "--set c.lb=15: the lower bound 15 would be above the upper bound 14");
  EXPECT_EQ(set("y.lb=inf"), "--set y.lb=inf: a lower bound cannot be inf");
  EXPECT_EQ(set("c.ub=-inf"), "--set c.ub=-inf: an upper bound cannot be -inf");
  EXPECT_EQ(x.getLB(), 0);
  EXPECT_EQ(y.getLB(), 0);
  EXPECT_EQ(c.getLB(), -Infinity);
  EXPECT_EQ(c.getUB(), 14);
}

TEST_F(EditorTest, SetsTheRightHandSideWhereThereIsOne) {
  EXPECT_EQ(set("c.rhs=7"), "c.rhs = 7 (was 14)");
  EXPECT_EQ(c.getUB(), 7);
  EXPECT_EQ(c.getLB(), -Infinity);
  EXPECT_EQ(set("e.rhs=3"), "e.rhs = 3 (was 2)");
  EXPECT_EQ(e.getLB(), 3);
  EXPECT_EQ(e.getUB(), 3);
  r.setUB(Infinity);
  EXPECT_EQ(set("r.rhs=4"), "r.rhs = 4 (was 1)");
  EXPECT_EQ(r.getLB(), 4);
}

TEST_F(EditorTest, RefusesARightHandSideWhereThereIsNotExactlyOne) {
  EXPECT_EQ(set("r.rhs=4"), "--set r.rhs=4: the constraint has two sides: set lb or ub");
  r.setBounds(-Infinity, Infinity);
  EXPECT_EQ(set("r.rhs=4"), "--set r.rhs=4: the constraint has no right-hand side: set lb or ub");
  EXPECT_EQ(set("e.rhs=inf"), "--set e.rhs=inf: a lower bound cannot be inf");
  EXPECT_EQ(set("x.rhs=4"), R"(--set x.rhs=4: "x" is a variable, not a constraint)");
}

TEST_F(EditorTest, SetsObjectiveCoefficients) {
  EXPECT_EQ(set("y.obj=5"), "y.obj = 5 (was 1)");
  EXPECT_EQ(set("b.obj=-1"), "b.obj = -1 (was 0)");
  EXPECT_EQ(m.getObjective().getCoef(y), 5);
  EXPECT_EQ(m.getObjective().getCoef(b), -1);
}

TEST_F(EditorTest, MakesAnObjectiveWhereThereIsNone) {
  m.remove(m.getObjective());
  EXPECT_EQ(set("y.obj=5"), "y.obj = 5 (was 0)");
  EXPECT_EQ(m.getObjective().getCoef(y), 5);
  m.remove(m.getObjective());
  EXPECT_EQ(apply(makeMaximize()), "maximize (was no objective)");
  EXPECT_EQ(m.getObjective().getSense(), VakSense::Maximize);
}

TEST_F(EditorTest, SetsKinds) {
  EXPECT_EQ(set("y.kind=integer"), "y.kind = integer (was continuous)");
  EXPECT_EQ(y.getKind(), VakVarKind::Integer);
  EXPECT_EQ(set("b.kind=continuous"), "b.kind = continuous (was binary)");
  EXPECT_EQ(set("x.kind=binary"),
            "--set x.kind=binary: a binary variable has bounds within 0 and 1, but here they are 0 "
            "and 10");
  EXPECT_EQ(x.getKind(), VakVarKind::Continuous);
}

TEST_F(EditorTest, WidensABinaryVariableToAnIntegerOne) {
  EXPECT_EQ(set("b.ub=0"), "b.ub = 0 (was 1)");
  EXPECT_EQ(b.getKind(), VakVarKind::Boolean);
  EXPECT_EQ(set("b.ub=3"), "b.ub = 3 (was 0), and integer instead of binary");
  EXPECT_EQ(b.getKind(), VakVarKind::Integer);
  EXPECT_EQ(b.getUB(), 3);
}

TEST_F(EditorTest, SetsCoefficients) {
  EXPECT_EQ(set("c.x=5"), "c.x = 5 (was 1)");
  EXPECT_EQ(c.getCoef(x), 5);
  EXPECT_EQ(set("e.b=2"), "e.b = 2 (was 0)");
  EXPECT_EQ(e.getCoef(b), 2);
}

TEST_F(EditorTest, FindsCoefficientsOfNamesWithDots) {
  x.setName("x.1");
  c.setName("c.2");
  EXPECT_EQ(set("c.2.x.1=5"), "c.2.x.1 = 5 (was 1)");
  e.setName("c");
  y.setName("2.x.1");
  EXPECT_EQ(
      set("c.2.x.1=6"),
      R"(--set c.2.x.1=6: "c.2.x.1" can be read as several pairs of constraint and variable)");
}

TEST_F(EditorTest, FixesVariables) {
  EXPECT_EQ(apply(parseFix("x=3")), "x = 3 (was 0 to 10)");
  EXPECT_EQ(x.getLB(), 3);
  EXPECT_EQ(x.getUB(), 3);
  EXPECT_EQ(apply(parseFix("b=2")), "--fix b=2: the variable is binary: fix it to 0 or 1");
  EXPECT_EQ(apply(parseFix("c=2")), R"(--fix c=2: "c" is a constraint, not a variable)");
}

TEST_F(EditorTest, RemovesConstraints) {
  EXPECT_EQ(apply(parseRemove("c")), "removed constraint c");
  EXPECT_EQ(m.getConstraintCount(), 2);
  EXPECT_EQ(m.getVariableCount(), 3);
}

TEST_F(EditorTest, RemovesVariablesWithTheConstraintsThatHaveNoOther) {
  m.add(b <= 0.5, "only");
  m.add(2 * b >= 0, "also");
  EXPECT_EQ(apply(parseRemove("b")), "removed variable b and, empty without it, only, also");
  EXPECT_EQ(m.getVariableCount(), 2);
  EXPECT_EQ(m.getConstraintCount(), 3);
  EXPECT_EQ(c.getTermCount(), 2);
  EXPECT_EQ(apply(parseRemove("x")), "removed variable x");
}

TEST_F(EditorTest, KnowsWhatItRemoved) {
  Editor editor(m);
  editor.apply(parseRemove("c"));
  EXPECT_EQ(errorOf([&] { editor.apply(parseSet("c.ub=4")); }),
            R"(--set c.ub=4: the model has no variable or constraint "c")");
  EXPECT_EQ(editor.apply(parseSet("e.rhs=4")), "e.rhs = 4 (was 2)");
}

TEST_F(EditorTest, ChangesTheSense) {
  EXPECT_EQ(apply(makeMinimize()), "minimize (was maximize)");
  EXPECT_EQ(m.getObjective().getSense(), VakSense::Minimize);
  EXPECT_EQ(apply(makeMinimize()), "minimize (as before)");
}

// ---- Names --------------------------------------------------------------------------------------

TEST_F(EditorTest, SaysWhichNameIsUnknown) {
  EXPECT_EQ(set("z.ub=4"), R"(--set z.ub=4: the model has no variable or constraint "z")");
  EXPECT_EQ(set("z.x=4"), R"(--set z.x=4: the model has no variable or constraint "z")");
  EXPECT_EQ(set("c.zz=4"),
            R"(--set c.zz=4: "zz" is neither lb, ub, rhs, obj or kind nor, after a constraint, )"
            "a variable");
  EXPECT_EQ(set("c.obj=4"), R"(--set c.obj=4: "c" is a constraint, not a variable)");
  EXPECT_EQ(apply(parseRemove("z")), R"(--remove z: the model has no variable or constraint "z")");
}

TEST_F(EditorTest, RefusesNamesOfSeveralObjects) {
  y.setName("x");
  EXPECT_EQ(set("x.ub=4"), R"(--set x.ub=4: the name "x" is ambiguous: 2 variables have it)");
  r.setName("c");
  EXPECT_EQ(apply(parseRemove("c")),
            R"(--remove c: the name "c" is ambiguous: 2 constraints have it)");
}

TEST_F(EditorTest, TellsAVariableAndAConstraintOfOneNameApartByAPrefix) {
  c.setName("x");
  EXPECT_EQ(set("x.ub=4"), R"(--set x.ub=4: both a variable and a constraint are called "x": )"
                           "write variable:NAME or constraint:NAME");
  EXPECT_EQ(set("variable:x.ub=4"), "variable:x.ub = 4 (was 10)");
  EXPECT_EQ(x.getUB(), 4);
  EXPECT_EQ(set("constraint:x.ub=5"), "constraint:x.ub = 5 (was 14)");
  EXPECT_EQ(c.getUB(), 5);
  // Where only one of the two makes sense, the name is enough.
  EXPECT_EQ(set("x.rhs=6"), "x.rhs = 6 (was 5)");
  EXPECT_EQ(set("x.obj=6"), "x.obj = 6 (was 3)");
  EXPECT_EQ(set("x.x=6"), "x.x = 6 (was 1)");
  EXPECT_EQ(apply(parseFix("x=1")), "x = 1 (was 0 to 4)");
}

TEST_F(EditorTest, TakesANameThatLooksLikeAPrefixAsAName) {
  y.setName("variable:x");
  EXPECT_EQ(set("variable:x.ub=4"), "variable:x.ub = 4 (was inf)");
  EXPECT_EQ(y.getUB(), 4);
  EXPECT_EQ(x.getUB(), 10);
}

TEST_F(EditorTest, ChecksAllNamesBeforehand) {
  const Editor editor(m);
  editor.check({parseSet("x.ub=4"), parseSet("c.x=1"), parseFix("y=1"), parseRemove("c"),
                makeMaximize(), parseSet("e.rhs=3"), parseSet("x.kind=integer")});
  for (const Edit& wrong : {parseSet("z.ub=4"), parseSet("c.z=4"), parseFix("z=1"),
                            parseRemove("z"), parseSet("z.rhs=1"), parseSet("z.obj=1")}) {
    EXPECT_NE(errorOf([&] {
                editor.check({parseSet("x.ub=4"), wrong});
              }),
              "no error")
        << wrong.text;
  }
  EXPECT_EQ(x.getUB(), 10);
}

// ---- Refusals -----------------------------------------------------------------------------------

/// Refuses changes of bounds.
class Refuser final : public VakAlgorithmI {
 public:
  explicit Refuser(VakEnvI* env) : VakAlgorithmI(env) { attach(); }
  void change(const VakChange& change, const VakExtractableI* /*extractable*/) override {
    this->change(change);
  }
  void change(const VakChange& change) override {
    if (change.isType(VakBoundsChange::GetTypeInfo()) == 0) return;
    throw VakAlgorithm::CannotChangeException(VakAlgorithm(this),
                                              VakExtractableArray(VakEnv(_env)));
  }
};

TEST_F(EditorTest, PassesARefusalOnAsAnError) {
  auto* refuser = new Refuser(env.getImpl());
  EXPECT_EQ(set("x.ub=4"), "--set x.ub=4: the solver cannot take this change");
  EXPECT_EQ(x.getUB(), 10);
  refuser->end();
}

TEST_F(EditorTest, LeavesTheKindAsItWasWhenTheBoundIsRefused) {
  auto* refuser = new Refuser(env.getImpl());
  EXPECT_EQ(set("b.ub=4"), "--set b.ub=4: the solver cannot take this change");
  EXPECT_EQ(b.getKind(), VakVarKind::Boolean);
  EXPECT_EQ(b.getUB(), 1);
  refuser->end();
}

}  // namespace
}  // namespace vaksolve

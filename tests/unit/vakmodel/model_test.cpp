#include "vakmodel/model.h"

#include <limits>

#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/model_text.h"

namespace {

const VakNum Infinity = VakGetInfinity();

struct Model : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  VakNumVar x{env, 0, 40, "x"};
  VakNumVar y{env, "y"};
  VakIntVar z{env, 0, 3, "z"};

  [[nodiscard]] std::string variables() const {
    std::string text;
    for (const VakNumVar v : m.variables()) text += v.getName();
    return text;
  }
};

TEST_F(Model, IsWrittenAsOnPaper) {
  m.add(x + 2 * y <= 14, "c");
  m.add(1 <= x - y <= 2);
  m.add(x == y);
  m.maximize(3 * x + 4 * y + z);
  EXPECT_EQ(VakTextOf(m),
            "maximize: 3 x + 4 y + z\n"
            "c: x + 2 y <= 14\n"
            "1 <= x - y <= 2\n"
            "x - y == 0\n"
            "x in [0, 40]\n"
            "y in [0, inf]\n"
            "z in [0, 3] integer\n");
  EXPECT_EQ(m.check(), "");
}

TEST_F(Model, HoldsTheVariablesOfWhatIsAdded) {
  m.add(z);
  m.add(z);
  VakConstraint c = m.add(y + z <= 4, "c");
  EXPECT_EQ(variables(), "zy");
  c.setCoef(x, 1);
  EXPECT_EQ(variables(), "zyx");
  EXPECT_EQ(m.getVariableCount(), 3);
  EXPECT_EQ(m.getConstraintCount(), 1);
  EXPECT_EQ(m.getTermCount(), 3);
  EXPECT_TRUE(m.contains(x));
  EXPECT_TRUE(m.contains(c));
  EXPECT_EQ(c.getModel(), m);
  m.remove(c);
  EXPECT_EQ(variables(), "zyx");
  EXPECT_FALSE(m.contains(c));
  EXPECT_TRUE(c.getModel().isEmpty());
}

TEST_F(Model, FindsMembersByName) {
  VakConstraint c = m.add(x + y <= 4, "c");
  EXPECT_TRUE(m.findVariable("y").is(y));
  EXPECT_TRUE(m.findConstraint("c").is(c));
  EXPECT_TRUE(m.findVariable("c").isEmpty());
  EXPECT_TRUE(m.findVariable(nullptr).isEmpty());
}

TEST_F(Model, ReportsWhatJoinsAndLeaves) {
  auto* listener = new VakModelListener(env);
  VakConstraint c = m.add(x + y <= 4, "c");
  m.add(z);
  m.add(z);
  VakObjective o = m.minimize(x);
  o.setName("o");
  c.setCoef(z, 1);
  m.remove(c);
  m.remove(o);
  m.remove(z);
  EXPECT_EQ(listener->takeLog(),
            "add m variables [x y] constraints [c] / m\n"
            "add m variables [z] / m\n"
            "add m objective VakObjectiveI / m\n"
            "coefs [c:z=1] / c\n"
            "remove m constraints [c] / m\n"
            "remove m objective o / m\n"
            "remove m variables [z] / m");
}

TEST_F(Model, AddsManyInOneChange) {
  VakConstraint c(env, x <= 4, "c");
  VakConstraint d(env, y <= 4, "d");
  auto* listener = new VakModelListener(env);
  m.add(std::vector<VakConstraint>{c, d});
  m.add(std::vector<VakNumVar>{y, z});
  std::vector<VakConstraint> made(2);
  m.add(std::vector<VakRelation>{x + y <= 1, y + z >= 2}, made);
  EXPECT_EQ(listener->takeLog(),
            "add m variables [x y] constraints [c d] / m\n"
            "add m variables [z] / m\n"
            "add m constraints [VakConstraintI VakConstraintI] / m");
  EXPECT_EQ(VakTextOf(made[1]), "y + z >= 2");
  VakNumVarArray array(env, 2, 0, 1);
  m.add(array);
  EXPECT_EQ(m.getVariableCount(), 5);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Model, RemovesAVariableWithItsTerms) {
  VakConstraint c = m.add(x + 2 * y + 3 * z <= 4, "c");
  VakConstraint d = m.add(x <= 1, "d");
  m.minimize(x + y);
  m.remove(x);
  EXPECT_EQ(VakTextOf(c), "c: 2 y + 3 z <= 4");
  EXPECT_EQ(VakTextOf(d), "d: 0 <= 1");
  EXPECT_EQ(VakTextOf(m.getObjective()), "minimize: y");
  EXPECT_EQ(variables(), "yz");
  EXPECT_EQ(m.check(), "");
  EXPECT_EQ(x.getUB(), 40);
  m.add(x);
  EXPECT_EQ(variables(), "yzx");
}

TEST_F(Model, RemovesManyInOneChange) {
  VakConstraint c = m.add(x + 2 * y + 3 * z <= 4, "c");
  VakConstraint d = m.add(x <= 1, "d");
  auto* listener = new VakModelListener(env);
  m.remove(std::vector<VakNumVar>{z, x});
  m.remove(std::vector<VakConstraint>{d, c});
  EXPECT_EQ(listener->takeLog(), "remove m variables [z x] / m\nremove m constraints [d c] / m");
  EXPECT_EQ(VakTextOf(c), "c: 2 y <= 4");
  EXPECT_EQ(m.getConstraintCount(), 0);
}

TEST_F(Model, RefusesToRemoveWhatItHasNotOrTwice) {
  VakConstraint c = m.add(x <= 4, "c");
  VakConstraint d(env, y <= 4, "d");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.remove(y); }),
            "Variable \"y\" is not in model \"m\". Add it there first.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.remove(d); }),
            "Constraint \"d\" is not in model \"m\". Add it there first.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] {
              m.remove(std::vector<VakNumVar>{x, x});
            }),
            "Model \"m\": an object to be removed is listed twice. List each one once.");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] {
              m.remove(std::vector<VakConstraint>{c, c});
            }),
            "Model \"m\": an object to be removed is listed twice. List each one once.");
  VakObjective o = VakMinimize(env, x, "o");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.remove(o); }),
            "Objective \"o\" is not in model \"m\". Add it there first.");
  EXPECT_EQ(m.check(), "");
}

TEST_F(Model, RefusesWhatIsInAModelAlready) {
  VakModel other(env, "other");
  VakConstraint c = other.add(x <= 4, "c");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.add(c); }),
            "Constraint \"c\" is in model \"other\" already. Remove it there before it is added to "
            "model \"m\".");
  VakConstraint d(env, y <= 1, "d");
  EXPECT_THROW(m.add(std::vector<VakConstraint>{d, d}), VakModelError);
  EXPECT_EQ(m.getVariableCount(), 0);
  EXPECT_EQ(m.getConstraintCount(), 0);
  EXPECT_TRUE(d.getModel().isEmpty());
  other.remove(c);
  m.add(c);
  EXPECT_EQ(c.getModel(), m);
}

TEST_F(Model, HasOneObjective) {
  m.minimize(x).setName("o");
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.add(VakMaximize(env, y)); }),
            "Model \"m\" has objective \"o\" already. Change that one, or remove it first.");
  m.maximize(y + 1);
  EXPECT_EQ(VakTextOf(m.getObjective()), "maximize o: y + 1");
  EXPECT_EQ(variables(), "xy");
}

TEST_F(Model, RefusesObjectsOfAnotherEnvironmentAndEmptyHandles) {
  VakScopedEnv other;
  VakNumVar foreign(other.env, "foreign");
  VakConstraint c(other.env, foreign <= 1, "c");
  EXPECT_THROW(m.add(foreign), VakModelMismatch);
  EXPECT_EQ(VakMessageOf<VakModelMismatch>([&] { m.add(c); }),
            "Constraint \"c\" belongs to another environment than model \"m\". Use objects of one "
            "environment, or copy the model with a VakCopier.");
  EXPECT_THROW(m.add(x + foreign <= 1), VakModelMismatch);
  EXPECT_THROW(m.minimize(foreign), VakModelMismatch);
  EXPECT_FALSE(m.contains(foreign));
  EXPECT_THROW(m.add(VakNumVar()), VakEmptyHandleException);
  EXPECT_THROW(m.add(VakConstraint()), VakEmptyHandleException);
  EXPECT_EQ(VakMessageOf<VakEmptyHandleException>([&] { VakModel().add(x); }),
            "VakModel: Using empty handle");
  EXPECT_EQ(m.getVariableCount(), 0);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Model, LeavesNothingBehindWhenARelationIsRefused) {
  const VakInt usage = env.getMemoryUsage();
  EXPECT_THROW(m.add(x + y <= std::numeric_limits<VakNum>::quiet_NaN()), VakModelError);
  EXPECT_THROW(m.add(Infinity * x + y <= 1), VakModelError);
  EXPECT_EQ(env.getMemoryUsage(), usage);
  EXPECT_EQ(m.getVariableCount(), 0);
}

// A refused addition is taken back: what was made for it is gone, what was there before stays.
TEST_F(Model, TakesBackWhatIsRefused) {
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
  VakObjective o = m.maximize(3 * x);
  o.setName("o");
  VakConstraint d(env, z <= 4, "d");
  const std::string before = VakTextOf(m);
  auto* listener = new VakModelListener(env);
  const std::vector<std::function<void()>> changes = {
      [&] { m.add(z); },
      [&] { m.add(z + y <= 3); },
      [&] { m.add(d); },
      [&] { m.remove(x); },
      [&] {
        m.remove(std::vector<VakNumVar>{y, x});
      },
      [&] { m.remove(c); },
      [&] { m.remove(o); },
      [&] { m.minimize(x); },
      [&] { m.maximize(z); },
      [&] { c.setCoef(z, 3); },
      [&] { c.setRelation(z <= 4); },
      [&] {
        m.addColumn(0, 1, 5, {&c, 1}, std::vector<VakNum>{2});
      },
      [&] {
        VakSetCoefs(std::vector<VakCoef>{{c, z, 3}, {o, z, 4}, {c, x, 0}});
      },
  };
  for (const auto& change : changes) {
    listener->takeLog();
    listener->refuseNext({c});
    EXPECT_EQ(VakRefusalOf(change), "[c]") << listener->takeLog();
    EXPECT_EQ(VakTextOf(m), before) << listener->takeLog();
    EXPECT_EQ(m.check(), "") << listener->takeLog();
    EXPECT_TRUE(d.getModel().isEmpty());
  }
}

TEST_F(Model, ReportsTheOppositeOfWhatIsTakenBack) {
  VakConstraint c = m.add(x + 2 * y <= 14, "c");
  VakConstraint d(env, z <= 4, "d");
  auto* listener = new VakModelListener(env);
  listener->refuseNext({c});
  EXPECT_EQ(VakRefusalOf([&] { m.add(d); }), "[c]");
  EXPECT_EQ(listener->takeLog(),
            "add m variables [z] constraints [d] / m\n"
            "remove m variables [z] constraints [d] / m");
  listener->refuseNext({c});
  EXPECT_EQ(VakRefusalOf([&] { m.remove(y); }), "[c]");
  EXPECT_EQ(listener->takeLog(),
            "remove m variables [y] / m\nadd m variables [y] coefs [c:y=2] / m");
  listener->refuseNext({c});
  EXPECT_EQ(VakRefusalOf([&] { c.setCoef(z, 1); }), "[c]");
  EXPECT_EQ(listener->takeLog(),
            "coefs [c:z=1] / c\ncoefs [c:z=0] / c\nremove m variables [z] / m");
}

TEST_F(Model, KeepsTheOrderOfItsMembersWhenOthersLeave) {
  std::vector<VakConstraint> rows;
  VakNumVarArray vars(env, 400, 0, 1);
  for (VakInt i = 0; i < 400; ++i) rows.push_back(m.add(vars[i] <= static_cast<VakNum>(i)));
  for (std::size_t i = 0; i < 400; ++i) {
    if (i % 4 != 3) m.remove(rows[i]);
  }
  for (VakInt i = 0; i < 400; ++i) {
    if (i % 4 != 3) m.remove(vars[i]);
  }
  EXPECT_EQ(m.check(), "");
  m.add(x <= 1000);
  EXPECT_EQ(m.check(), "");
  EXPECT_LT(m.getImpl()->_constraints.size(), 200);
  VakNum last = -1;
  for (const VakConstraint c : m.constraints()) {
    EXPECT_LT(last, c.getUB());
    last = c.getUB();
  }
  EXPECT_EQ(m.getConstraintCount(), 101);
  EXPECT_EQ(m.getVariableCount(), 101);
}

TEST_F(Model, IsEmptyAtFirst) {
  EXPECT_EQ(VakTextOf(m), "");
  EXPECT_EQ(m.check(), "");
  EXPECT_TRUE(m.getObjective().isEmpty());
  m.add(std::span<const VakNumVar>());
  m.add(std::vector<VakRelation>());
  EXPECT_EQ(VakTextOf(m), "");
}

}  // namespace

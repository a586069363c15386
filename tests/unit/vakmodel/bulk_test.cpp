// Building models from arrays.

#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_deleter.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakenv/core/create.h"
#include "vakmodel/model.h"

namespace {

struct Bulk : testing::Test {
  VakScopedEnv scope;
  VakEnv env = scope.env;
  VakModel m{env, "m"};
  std::vector<VakConstraint> rows = {m.add(VakExpr() <= 10, "a"), m.add(VakExpr() >= 1, "b"),
                                     m.add(VakExpr() == 3, "c")};

  // Columns: 1 a + 2 c; nothing; 3 b + 4 a + 5 a.
  const std::vector<VakInt> starts = {0, 2, 2, 5};
  const std::vector<int> members = {0, 2, 1, 0, 0};
  const std::vector<VakNum> coefs = {1, 2, 3, 4, 5};
};

TEST_F(Bulk, AddsOneColumn) {
  auto* listener = new VakModelListener(env);
  const std::vector<VakNum> two = {2, 3};
  VakNumVar x = m.addColumn(0, 5, 7, std::span(rows).first(2), two, VakVarKind::Integer);
  x.setName("x");
  EXPECT_EQ(VakTextOf(m),
            "minimize: 7 x\na: 2 x <= 10\nb: 3 x >= 1\nc: 0 == 3\nx in [0, 5] integer\n");
  EXPECT_EQ(m.check(), "");
  EXPECT_EQ(listener->takeLog(),
            "add m variables [VakModelVarI] objective VakObjectiveI coefs "
            "[VakObjectiveI:VakModelVarI=7 a:VakModelVarI=2 b:VakModelVarI=3] / m");
}

TEST_F(Bulk, AddsColumnsInOneChange) {
  auto* listener = new VakModelListener(env);
  std::vector<VakNumVar> made(3);
  const std::vector<VakNum> lbs = {0, -1, 2};
  const std::vector<VakNum> ubs = {1, 1, 9};
  const std::vector<VakVarKind> kinds = {VakVarKind::Boolean, VakVarKind::Continuous,
                                         VakVarKind::Integer};
  const std::vector<VakNum> objective = {0, 0, 5};
  VakColumns columns;
  columns.count = 3;
  columns.lbs = lbs;
  columns.ubs = ubs;
  columns.kinds = kinds;
  columns.objective = objective;
  columns.rows = rows;
  columns.matrix = {starts, members, coefs};
  m.addColumns(columns, made);
  made[0].setName("x");
  made[1].setName("y");
  made[2].setName("z");
  EXPECT_EQ(VakTextOf(m),
            "minimize: 5 z\n"
            "a: 9 z + x <= 10\n"
            "b: 3 z >= 1\n"
            "c: 2 x == 3\n"
            "x in [0, 1] Boolean\n"
            "y in [-1, 1]\n"
            "z in [2, 9] integer\n");
  EXPECT_EQ(m.check(), "");
  const std::string log = listener->takeLog();
  EXPECT_EQ(log.find('\n'), std::string::npos);
  EXPECT_NE(log.find("a:VakModelVarI=9"), std::string::npos);
}

TEST_F(Bulk, GivesWhatIsLeftOutItsUsualValue) {
  VakColumns columns;
  columns.count = 2;
  m.addColumns(columns);
  const std::vector<VakVarKind> kinds = {VakVarKind::Boolean, VakVarKind::Integer};
  columns.kinds = kinds;
  m.addColumns(columns);
  VakRows free;
  free.count = 1;
  m.addRows(free);
  EXPECT_EQ(m.getVariableCount(), 4);
  std::vector<VakNumVar> vars;
  for (const VakNumVar x : m.variables()) vars.push_back(x);
  EXPECT_EQ(vars[0].getUB(), VakGetInfinity());
  EXPECT_EQ(vars[2].getUB(), 1);
  EXPECT_EQ(vars[3].getUB(), VakGetInfinity());
  EXPECT_TRUE(m.getObjective().isEmpty());
  EXPECT_EQ(m.getConstraintCount(), 4);
}

TEST_F(Bulk, AddsUpTheCoefficientsOfARepeatedRow) {
  const std::vector<VakConstraint> twice = {rows[0], rows[1], rows[0], rows[2], rows[2]};
  const std::vector<VakNum> five = {1, 2, 3, 4, -4};
  VakNumVar x = m.addColumn(0, 1, 0, twice, five);
  EXPECT_EQ(rows[0].getCoef(x), 4);
  EXPECT_EQ(rows[1].getCoef(x), 2);
  EXPECT_EQ(rows[2].getTermCount(), 0);
  std::vector<VakConstraint> many;
  std::vector<VakNum> ones;
  for (int i = 0; i < 60; ++i) {
    many.push_back(rows[static_cast<std::size_t>(i % 3)]);
    ones.push_back(1);
  }
  VakNumVar y = m.addColumn(0, 1, 0, many, ones);
  EXPECT_EQ(rows[2].getCoef(y), 20);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Bulk, AddsUpTheCoefficientsOfARowThatIsListedUnderTwoIndices) {
  const std::vector<VakConstraint> twice = {rows[0], rows[1], rows[0]};
  VakColumns columns;
  columns.count = 3;
  columns.rows = twice;
  columns.matrix = {starts, members, coefs};
  std::vector<VakNumVar> made(3);
  m.addColumns(columns, made);
  EXPECT_EQ(rows[0].getCoef(made[0]), 3);
  EXPECT_EQ(rows[0].getCoef(made[2]), 9);
  EXPECT_EQ(rows[1].getCoef(made[2]), 3);
  EXPECT_EQ(rows[2].getTermCount(), 0);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Bulk, IgnoresListedRowsThatNoColumnUses) {
  const VakConstraint foreign(env, 0, 1, "d");
  const std::vector<VakConstraint> more = {rows[0], rows[1], rows[2], foreign, VakConstraint()};
  VakColumns columns;
  columns.count = 3;
  columns.rows = more;
  columns.matrix = {starts, members, coefs};
  std::vector<VakNumVar> made(3);
  m.addColumns(columns, made);
  EXPECT_EQ(rows[2].getCoef(made[0]), 2);
  EXPECT_EQ(rows[0].getCoef(made[2]), 9);
  EXPECT_EQ(foreign.getTermCount(), 0);
  const std::vector<int> usesEmpty = {0, 4, 1, 0, 0};
  columns.matrix.members = usesEmpty;
  EXPECT_THROW(m.addColumns(columns), VakEmptyHandleException);
  EXPECT_EQ(m.getVariableCount(), 3);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Bulk, TakesColumnsOfManyEntries) {
  std::vector<VakConstraint> many(40);
  VakRows block;
  block.count = many.size();
  m.addRows(block, many);
  std::vector<int> all;
  for (int i = 0; i < 40; ++i) all.push_back(39 - i);
  all.push_back(7);
  const std::vector<VakInt> bounds = {0, 17, 41};
  const std::vector<VakNum> ones(41, 1.0);
  VakColumns columns;
  columns.count = 2;
  columns.rows = many;
  columns.matrix = {bounds, all, ones};
  std::vector<VakNumVar> made(2);
  m.addColumns(columns, made);
  EXPECT_EQ(many[39].getCoef(made[0]), 1);
  EXPECT_EQ(many[22].getCoef(made[0]), 0);
  EXPECT_EQ(many[22].getCoef(made[1]), 1);
  EXPECT_EQ(many[7].getCoef(made[1]), 2);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Bulk, AddsRowsInOneChange) {
  std::vector<VakNumVar> vars = {VakNumVar(env, "x"), VakNumVar(env, "y"), VakNumVar(env, "z")};
  auto* listener = new VakModelListener(env);
  std::vector<VakConstraint> made(3);
  const std::vector<VakNum> lbs = {0, 0, 0};
  const std::vector<VakNum> ubs = {1, 2, 3};
  VakRows block;
  block.count = 3;
  block.lbs = lbs;
  block.ubs = ubs;
  block.columns = vars;
  block.matrix = {starts, members, coefs};
  m.addRows(block, made);
  EXPECT_EQ(VakTextOf(made[0]), "0 <= x + 2 z <= 1");
  EXPECT_EQ(VakTextOf(made[1]), "0 <= 0 <= 2");
  EXPECT_EQ(VakTextOf(made[2]), "0 <= 3 y + 9 x <= 3");
  EXPECT_EQ(
      listener->takeLog(),
      "add m variables [x z y] constraints [VakConstraintI VakConstraintI VakConstraintI] / m");
  EXPECT_EQ(m.check(), "");
  m.addRows(block);
  EXPECT_EQ(m.getConstraintCount(), 9);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Bulk, RefusesArraysThatDoNotFit) {
  const std::string before = VakTextOf(m);
  VakColumns columns;
  columns.count = 3;
  columns.rows = rows;
  columns.matrix = {starts, members, std::span(coefs).first(4)};
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.addColumns(columns); }),
            "VakModel::addColumns: 5 and 4 elements do not go together. Give equally many.");
  const std::vector<int> wrongMembers = {0, 2, 1, 3, 0};
  columns.matrix = {starts, wrongMembers, coefs};
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.addColumns(columns); }),
            "VakModel::addColumns: entry 3 has the index 3. Indices lie from 0 below 3.");
  const std::vector<VakInt> wrongStarts = {0, 4, 2, 5};
  columns.matrix = {wrongStarts, members, coefs};
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.addColumns(columns); }),
            "VakModel::addColumns: start 2 is 2. Starts must not fall and lie from 0 to the number "
            "of entries, which is 5.");
  columns.matrix = {starts, members, coefs};
  columns.count = 4;
  EXPECT_THROW(m.addColumns(columns), VakModelError);
  columns.count = 3;
  const std::vector<VakNum> short2 = {1, 2};
  columns.lbs = short2;
  EXPECT_THROW(m.addColumns(columns), VakModelError);
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.addColumn(0, 1, 0, rows, short2); }),
            "VakModel::addColumn: 3 and 2 elements do not go together. Give equally many.");
  EXPECT_EQ(VakTextOf(m), before);
}

TEST_F(Bulk, LeavesNothingBehindWhenAnElementIsWrong) {
  VakNumVar old = m.addColumn(0, 1, 1, std::span(rows).first(1), std::vector<VakNum>{1});
  old.setName("old");
  const std::string before = VakTextOf(m);
  const VakInt usage = env.getMemoryUsage();
  const std::vector<VakNum> wrongBounds = {0, 0, 5};
  const std::vector<VakNum> ubs = {1, 1, 4};
  const std::vector<VakNum> objective = {1, 2, 3};
  VakColumns columns;
  columns.count = 3;
  columns.lbs = wrongBounds;
  columns.ubs = ubs;
  columns.objective = objective;
  columns.rows = rows;
  columns.matrix = {starts, members, coefs};
  EXPECT_THROW(m.addColumns(columns), VakModelError);
  EXPECT_EQ(VakTextOf(m), before);
  columns.lbs = {};
  std::vector<VakNum> wrongCoefs = coefs;
  wrongCoefs[4] = std::numeric_limits<VakNum>::infinity();
  columns.matrix = {starts, members, wrongCoefs};
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.addColumns(columns); }).substr(0, 28),
            "The coefficient of variable ");
  EXPECT_EQ(VakTextOf(m), before);
  VakConstraint foreign(env, 0, 1, "d");
  const std::vector<VakConstraint> wrongRows = {rows[0], foreign, rows[1]};
  columns.rows = wrongRows;
  columns.matrix = {starts, members, coefs};
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.addColumns(columns); }),
            "Constraint \"d\" is not in model \"m\". Add it there first.");
  foreign.end();
  EXPECT_EQ(VakTextOf(m), before);
  EXPECT_EQ(m.check(), "");
  EXPECT_LE(env.getMemoryUsage() - usage, 2048);
}

// Bounds are compared with those of the column before, of which there is none at first, and none to
// compare with behind a column that has bounds of its own.
TEST_F(Bulk, RefusesEveryLowerBoundAboveTheUpperBound) {
  const std::string before = VakTextOf(m);
  EXPECT_THROW(m.addColumn(1, 0, 0, {}, {}), VakModelError);
  const std::vector<VakNum> lbs = {0.25, 1};
  const std::vector<VakNum> ubs = {7, 0};
  const std::vector<VakVarKind> kinds = {VakVarKind::Integer, VakVarKind::Continuous};
  for (const std::size_t first : {1U, 0U}) {
    VakColumns columns;
    columns.count = lbs.size() - first;
    columns.lbs = std::span(lbs).subspan(first);
    columns.ubs = std::span(ubs).subspan(first);
    columns.kinds = std::span(kinds).subspan(first);
    EXPECT_THROW(m.addColumns(columns), VakModelError) << "after " << 1 - first << " columns";
  }
  EXPECT_EQ(VakTextOf(m), before);
}

// Rows get the terms of several columns at once; one that is refused comes behind columns that were
// made, and rows have older terms.
TEST_F(Bulk, TakesTermsOutOfAllRowsWhenALaterColumnIsWrong) {
  const VakNumVar old = m.addColumn(0, 1, 1, std::span(rows).first(2), std::vector<VakNum>{1, -1});
  const std::string before = VakTextOf(m);
  for (const VakNum wrong : {std::numeric_limits<VakNum>::max(),  // The sum is too large.
                             std::numeric_limits<VakNum>::quiet_NaN()}) {
    std::vector<VakNum> wrongCoefs = coefs;
    wrongCoefs[3] = wrongCoefs[4] = wrong;
    VakColumns columns;
    columns.count = 3;
    columns.rows = rows;
    columns.matrix = {starts, members, wrongCoefs};
    EXPECT_THROW(m.addColumns(columns), VakModelError);
    const VakInt usage = env.getMemoryUsage();
    EXPECT_THROW(m.addColumns(columns), VakModelError);
    EXPECT_EQ(env.getMemoryUsage(), usage) << "terms were not given back";
    EXPECT_EQ(VakTextOf(m), before);
    EXPECT_EQ(m.check(), "");
  }
  EXPECT_EQ(rows[0].getCoef(old), 1);
}

// A deleter that is told of a new variable sees the terms of those before it.
TEST_F(Bulk, ShowsADeleterTheRowsAsTheyGrow) {
  class Looker : public VakTestDeleter {
   public:
    Looker(VakEnvI* e, VakTestScript& script, VakConstraint row)
        : VakTestDeleter(e, script), _row(row) {}
    void extractableAdded(VakExtractableI* /*e*/) override { seen.push_back(_row.getTermCount()); }
    std::vector<VakInt> seen;

   private:
    VakConstraint _row;
  };
  VakTestScript script;
  auto* looker = VakCreate<Looker>(env.getImpl(), script, rows[0]);
  env.getImpl()->setDeleter(looker, 1);
  VakColumns columns;
  columns.count = 3;
  columns.rows = rows;
  columns.matrix = {starts, members, coefs};
  m.addColumns(columns);
  EXPECT_EQ(looker->seen, (std::vector<VakInt>{0, 1, 1}));
  EXPECT_EQ(rows[0].getTermCount(), 2);
  env.getImpl()->unsetDeleter();
}

// Columns that are added in one go and one by one give the same terms in the same order.
TEST_F(Bulk, GivesTheSameInOneGoAsColumnByColumn) {
  std::mt19937 random(7);
  for (int round = 0; round < 50; ++round) {
    VakScopedEnv fresh;
    std::vector<VakModel> models;
    std::vector<std::vector<VakConstraint>> modelRows(2);
    for (std::vector<VakConstraint>& own : modelRows) {
      models.emplace_back(fresh.env);
      for (int i = 0; i < 8; ++i) own.push_back(models.back().add(VakExpr() <= i));
    }
    std::vector<VakInt> from{0};
    std::vector<int> in;
    std::vector<VakNum> of;
    std::vector<VakNum> ubs;
    for (int j = 0; j < 12; ++j) {
      const auto entries = random() % 6;
      for (unsigned i = 0; i < entries; ++i) {
        in.push_back(static_cast<int>(random() % 8));
        of.push_back(static_cast<VakNum>(random() % 5) - 2);
      }
      from.push_back(static_cast<VakInt>(in.size()));
      ubs.push_back(static_cast<VakNum>(1 + random() % 3));
    }
    VakColumns columns;
    columns.count = ubs.size();
    columns.ubs = ubs;
    columns.objective = ubs;
    columns.rows = modelRows[0];
    columns.matrix = {from, in, of};
    models[0].addColumns(columns);
    for (std::size_t j = 0; j < ubs.size(); ++j) {
      std::vector<VakConstraint> own;
      std::vector<VakNum> ownCoefs;
      for (auto k = static_cast<std::size_t>(from[j]); k < static_cast<std::size_t>(from[j + 1]);
           ++k) {
        own.push_back(modelRows[1][static_cast<std::size_t>(in[k])]);
        ownCoefs.push_back(of[k]);
      }
      models[1].addColumn(0, ubs[j], ubs[j], own, ownCoefs);
    }
    int number = 0;
    for (const VakModel& model : models) {
      number = 0;
      for (VakNumVar x : model.variables()) x.setName(("x" + std::to_string(number++)).c_str());
      number = 0;
      for (VakConstraint c : model.constraints()) {
        c.setName(("c" + std::to_string(number++)).c_str());
      }
      ASSERT_EQ(model.check(), "");
    }
    ASSERT_EQ(VakTextOf(models[0]), VakTextOf(models[1])) << round;
  }
}

TEST_F(Bulk, TakesBackWhatIsRefused) {
  const std::string before = VakTextOf(m);
  auto* listener = new VakModelListener(env);
  VakColumns columns;
  columns.count = 3;
  const std::vector<VakNum> objective = {1, 2, 3};
  columns.objective = objective;
  columns.rows = rows;
  columns.matrix = {starts, members, coefs};
  listener->refuseNext({rows[0]});
  EXPECT_EQ(VakRefusalOf([&] { m.addColumns(columns); }), "[a]");
  EXPECT_EQ(VakTextOf(m), before);
  EXPECT_EQ(m.check(), "");
  std::vector<VakNumVar> vars = {VakNumVar(env), VakNumVar(env), VakNumVar(env)};
  VakRows block;
  block.count = 3;
  block.columns = vars;
  block.matrix = {starts, members, coefs};
  listener->refuseNext({rows[0]});
  EXPECT_EQ(VakRefusalOf([&] { m.addRows(block); }), "[a]");
  EXPECT_EQ(VakTextOf(m), before);
  EXPECT_EQ(m.check(), "");
}

TEST_F(Bulk, RefusesWrongRows) {
  std::vector<VakNumVar> vars = {VakNumVar(env, "x"), VakNumVar(), VakNumVar(env, "z")};
  VakRows block;
  block.count = 3;
  block.columns = vars;
  block.matrix = {starts, members, coefs};
  EXPECT_THROW(m.addRows(block), VakEmptyHandleException);
  vars[1] = VakNumVar(env, "y");
  std::vector<VakNum> wrong = coefs;
  wrong[1] = std::numeric_limits<VakNum>::quiet_NaN();
  block.matrix.coefs = wrong;
  EXPECT_EQ(VakMessageOf<VakModelError>([&] { m.addRows(block); }),
            "The coefficient of variable \"z\" in an expression is NaN. Give a finite number.");
  block.matrix.coefs = coefs;
  const std::vector<VakNum> lbs = {0, 0, 4};
  const std::vector<VakNum> ubs = {1, 1, 3};
  block.lbs = lbs;
  block.ubs = ubs;
  EXPECT_THROW(m.addRows(block), VakModelError);
  EXPECT_EQ(m.getConstraintCount(), 3);
  EXPECT_EQ(m.getVariableCount(), 0);
}

// The same model by rows, by columns, one by one and with operators.
TEST_F(Bulk, GivesTheSameModelByRowsByColumnsAndByOperators) {
  std::mt19937 random(7);
  constexpr int rowCount = 20;
  constexpr int columnCount = 30;
  std::vector<std::vector<VakNum>> dense(rowCount, std::vector<VakNum>(columnCount, 0));
  for (int k = 0; k < 120; ++k) dense[random() % rowCount][random() % columnCount] = 1 + k % 5;
  const auto check = [&](const std::vector<VakConstraint>& c, const std::vector<VakNumVar>& x) {
    for (std::size_t i = 0; i < rowCount; ++i) {
      for (std::size_t j = 0; j < columnCount; ++j) ASSERT_EQ(c[i].getCoef(x[j]), dense[i][j]);
    }
  };
  std::vector<VakInt> rowStarts = {0};
  std::vector<int> rowMembers;
  std::vector<VakNum> rowCoefs;
  for (const auto& row : dense) {
    for (int j = 0; j < columnCount; ++j) {
      if (row[static_cast<std::size_t>(j)] == 0) continue;
      rowMembers.push_back(j);
      rowCoefs.push_back(row[static_cast<std::size_t>(j)]);
    }
    rowStarts.push_back(static_cast<VakInt>(rowMembers.size()));
  }
  VakModel byRows(env);
  std::vector<VakNumVar> x;
  for (int j = 0; j < columnCount; ++j) x.emplace_back(env, 0, 1);
  std::vector<VakConstraint> c(rowCount);
  VakRows block;
  block.count = rowCount;
  block.columns = x;
  block.matrix = {rowStarts, rowMembers, rowCoefs};
  byRows.addRows(block, c);
  check(c, x);

  VakModel byColumns(env);
  VakRows empty;
  empty.count = rowCount;
  byColumns.addRows(empty, c);
  for (std::size_t j = 0; j < columnCount; ++j) {
    std::vector<VakConstraint> columnRows;
    std::vector<VakNum> columnCoefs;
    for (std::size_t i = 0; i < rowCount; ++i) {
      if (dense[i][j] == 0) continue;
      columnRows.push_back(c[i]);
      columnCoefs.push_back(dense[i][j]);
    }
    x[j] = byColumns.addColumn(0, 1, 0, columnRows, columnCoefs);
  }
  check(c, x);

  VakModel byOperators(env);
  for (std::size_t i = 0; i < rowCount; ++i) {
    VakExpr sum;
    for (std::size_t j = 0; j < columnCount; ++j) sum += dense[i][j] * x[j];
    c[i] = byOperators.add(sum <= 1);
  }
  check(c, x);
  EXPECT_EQ(byOperators.check() + byRows.check() + byColumns.check(), "");
}

}  // namespace

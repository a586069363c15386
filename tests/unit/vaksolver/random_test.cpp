// Random models and random sequences of edits: after each edit, the solver that follows the changes
// finds what a solver finds in a fresh environment with the edited model built anew.

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <random>
#include <unordered_map>
#include <vector>

#include "tests/support/scoped_env.h"
#include "vakmodel/modelling.h"
#include "vaksolver/solver.h"

namespace {

const VakNum Infinity = VakGetInfinity();

std::vector<VakNumVar> variablesOf(VakModel model) {
  std::vector<VakNumVar> list;
  for (const VakNumVar x : model.variables()) list.push_back(x);
  return list;
}

std::vector<VakConstraint> constraintsOf(VakModel model) {
  std::vector<VakConstraint> list;
  for (const VakConstraint c : model.constraints()) list.push_back(c);
  return list;
}

/// The model, written down once more with objects of another environment.
VakModel buildAnew(VakModel model, VakEnv env) {
  VakModel anew(env);
  std::unordered_map<VakInt, VakNumVar> twins;
  for (const VakNumVar x : model.variables()) {
    const VakNumVar twin(env, x.getLB(), x.getUB(), x.getKind());
    twins[x.getId()] = twin;
    anew.add(twin);
  }
  const auto translate = [&](const VakExpr& e) {
    VakExpr translated = e.getConstant();
    for (const VakTerm& term : e.getTerms()) translated += term.coef * twins[term.var.getId()];
    return translated;
  };
  for (const VakConstraint c : model.constraints()) {
    const VakConstraint twin(env, c.getLB(), c.getUB());
    twin.setKeptWhenEmpty(true);
    twin.setRelation(VakBetween(c.getLB(), translate(c.getExpr()), c.getUB()));
    anew.add(twin);
  }
  const VakObjective objective = model.getObjective();
  if (!objective.isEmpty()) {
    const VakExpr expr = translate(objective.getExpr());
    objective.getSense() == VakSense::Minimize ? anew.minimize(expr) : anew.maximize(expr);
  }
  return anew;
}

/// True when the solution is one, by what the model says.
testing::AssertionResult isSolution(VakSolver solver) {
  constexpr VakNum Tolerance = 1e-5;
  for (const VakNumVar x : solver.getModel().variables()) {
    const VakNum value = solver.getValue(x);
    if (value < x.getLB() - Tolerance || value > x.getUB() + Tolerance) {
      return testing::AssertionFailure() << "variable at " << value;
    }
    if (x.isInteger() && value != std::round(value)) {
      return testing::AssertionFailure() << "integer variable at " << value;
    }
  }
  for (const VakConstraint c : solver.getModel().constraints()) {
    const VakNum activity = solver.getValue(c.getExpr());
    if (activity < c.getLB() - Tolerance || activity > c.getUB() + Tolerance) {
      return testing::AssertionFailure() << "constraint at " << activity;
    }
    if (std::abs(activity - solver.getActivity(c)) > Tolerance) {
      return testing::AssertionFailure() << "activity " << solver.getActivity(c);
    }
  }
  return testing::AssertionSuccess();
}

/// The optimum by trying all points; nothing when there are too many.
class Enumeration {
 public:
  explicit Enumeration(VakModel model) : _model(model), _variables(variablesOf(model)) {}

  [[nodiscard]] bool isPossible() const {
    constexpr VakNum MostPoints = 3000;
    VakNum points = 1;
    for (const VakNumVar x : _variables) {
      if (!x.isInteger() || !std::isfinite(x.getLB()) || !std::isfinite(x.getUB())) return false;
      points *= std::max(0.0, std::floor(x.getUB()) - std::ceil(x.getLB()) + 1);
    }
    return points <= MostPoints;
  }

  [[nodiscard]] std::optional<VakNum> optimum() {
    for (const VakConstraint c : _model.constraints()) {
      _rows.push_back({c.getLB(), c.getUB(), coefsOf(c.getExpr())});
    }
    const VakObjective objective = _model.getObjective();
    if (!objective.isEmpty()) {
      _objective = coefsOf(objective.getExpr());
      _constant = objective.getConstant();
      _sign = objective.getSense() == VakSense::Minimize ? 1 : -1;
    } else {
      _objective.assign(_variables.size(), 0);
    }
    _point.assign(_variables.size(), 0);
    visit(0);
    return _best;
  }

 private:
  struct Row {
    VakNum lb;
    VakNum ub;
    std::vector<VakNum> coefs;
  };

  std::vector<VakNum> coefsOf(const VakExpr& e) {
    std::vector<VakNum> coefs;
    for (const VakNumVar x : _variables) coefs.push_back(e.getCoef(x));
    return coefs;
  }
  VakNum product(const std::vector<VakNum>& coefs) const {
    VakNum sum = 0;
    for (std::size_t j = 0; j < coefs.size(); ++j) sum += coefs[j] * _point[j];
    return sum;
  }
  void visit(std::size_t j) {
    if (j == _variables.size()) {
      for (const Row& row : _rows) {
        const VakNum activity = product(row.coefs);
        if (activity < row.lb - 1e-9 || activity > row.ub + 1e-9) return;
      }
      const VakNum value = product(_objective) + _constant;
      if (!_best || _sign * value < _sign * *_best) _best = value;
      return;
    }
    const VakNum last = std::floor(_variables[j].getUB());
    for (VakNum v = std::ceil(_variables[j].getLB()); v <= last; ++v) {
      _point[j] = v;
      visit(j + 1);
    }
  }

  VakModel _model;
  std::vector<VakNumVar> _variables;
  std::vector<Row> _rows;
  std::vector<VakNum> _objective;
  VakNum _constant = 0;
  VakNum _sign = 1;
  std::vector<VakNum> _point;
  std::optional<VakNum> _best;
};

/// One model that is edited at random.
class Edited {
 public:
  Edited(unsigned seed, bool isMip) : _random(seed), _isMip(isMip) {
    limitNodes(_env);
    const int columns = pick(1, 6);
    for (int j = 0; j < columns; ++j) _model.add(makeVariable());
    const int rows = pick(0, 6);
    for (int i = 0; i < rows; ++i) addConstraint();
    if (pick(0, 9) > 0) addObjective();
    _solver = VakSolver(_model);
  }

  void compare() {
    const VakStatus status = _solver.solve();
    const VakScopedEnv other;
    limitNodes(other.env);
    VakModel anew = buildAnew(_model, other.env);
    VakSolver fresh(anew);
    const VakStatus expected = fresh.solve();
    ASSERT_EQ(_solver.getLoadCount(), 1);
    if (isOpen(status) || isOpen(expected)) {
      ++_openCount;
      return;
    }
    ASSERT_STREQ(VakGetStatusName(status), VakGetStatusName(expected)) << anew;
    ASSERT_EQ(_solver.hasSolution(), status == VakStatus::Optimal);
    if (status == VakStatus::Optimal) {
      const VakNum value = _solver.getObjectiveValue();
      ASSERT_NEAR(value, fresh.getObjectiveValue(), 1e-6 * std::max(1.0, std::abs(value))) << anew;
      ASSERT_NEAR(_solver.getBestBound(), value, 1e-6 * std::max(1.0, std::abs(value))) << anew;
      ASSERT_TRUE(isSolution(_solver)) << anew;
      ASSERT_TRUE(isSolution(fresh)) << anew;
    }
    Enumeration points(_model);
    if (points.isPossible()) {
      const std::optional<VakNum> best = points.optimum();
      ASSERT_EQ(best.has_value(), status == VakStatus::Optimal) << anew;
      if (best) {
        ASSERT_NEAR(*best, _solver.getObjectiveValue(), 1e-6) << anew;
      }
    }
    ASSERT_EQ(_model.check(), "");
  }

  /// Comparisons that were not made because a search did not come to its end.
  [[nodiscard]] int getOpenCount() const { return _openCount; }

  static constexpr int Kinds = 24;  ///< Kinds of edit.

  void edit(int kind) {
    const std::vector<VakNumVar> xs = variablesOf(_model);
    const std::vector<VakConstraint> cs = constraintsOf(_model);
    if (kind < 10 || kind == 14 || kind == 21) {
      if (!xs.empty()) editNumbers(kind, xs, cs);
    } else {
      editMembers(kind, xs, cs);
    }
  }

  int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(_random); }

 private:
  // A search among endlessly many points may not end, so it gets a limit.
  static void limitNodes(VakEnv env) { env.setIntProperty("solver.nodeLimit", 1000); }
  static bool isOpen(VakStatus status) {
    return status == VakStatus::NodeLimit || status == VakStatus::InfeasibleOrUnbounded;
  }

  void editNumbers(int kind, const std::vector<VakNumVar>& xs,
                   const std::vector<VakConstraint>& cs) {
    const VakNumVar x = oneOf(xs);
    switch (kind) {
      case 0:
        setBounds(x);
        break;
      case 1: {
        const std::vector<VakNumVar> some(xs.begin(), xs.begin() + pick(1, size(xs)));
        const VakNum lb = pick(0, 1) == 0 ? 0 : -Infinity;
        if (pick(0, 1) == 0) {
          VakSetKind(some, VakVarKind::Continuous);
          VakSetBounds(some, lb, pick(1, 6));
        } else if (_isMip) {
          VakSetKind(some, VakVarKind::Integer);
        }
        break;
      }
      case 2:
        setKind(x);
        break;
      case 3:
        if (!cs.empty()) oneOf(cs).setCoef(x, coef());
        break;
      case 4: {
        std::vector<VakCoef> coefs;
        for (int k = pick(1, 12); k > 0 && !cs.empty(); --k) {
          coefs.push_back({oneOf(cs), oneOf(xs), coef()});
        }
        if (!_model.getObjective().isEmpty()) coefs.push_back({_model.getObjective(), x, coef()});
        if (!coefs.empty()) VakSetCoefs(coefs);
        break;
      }
      case 5:
        if (!cs.empty()) {
          const auto [lb, ub] = rowBounds();
          oneOf(cs).setBounds(lb, ub);
        }
        break;
      case 6:
        if (!cs.empty()) VakSetBounds(cs, -20, pick(0, 20));
        break;
      case 7:
        if (!cs.empty()) oneOf(cs).setRelation(relation());
        break;
      case 8:
        if (!_model.getObjective().isEmpty()) _model.getObjective().setCoef(x, coef());
        break;
      case 9:
        if (!_model.getObjective().isEmpty()) _model.getObjective().setExpr(expr() + pick(-9, 9));
        break;
      case 14:
        for (const VakConstraint c : cs) {
          VakExpr e = c.getExpr();
          e.substitute(x, 2 * oneOf(xs) + 1);
          c.setRelation(VakBetween(c.getLB(), e, c.getUB()));
        }
        break;
      default: {
        VakCopier copier(_env);
        VakModel copy = copier.copy(_model);
        VakSolver other(copy);
        const VakStatus status = other.solve();
        EXPECT_STREQ(VakGetStatusName(status), VakGetStatusName(_solver.solve()));
        if (status == VakStatus::Optimal) {
          EXPECT_NEAR(other.getObjectiveValue(), _solver.getObjectiveValue(), 1e-6);
        }
        other.end();
        copier.getCopy(x).setKind(VakVarKind::Continuous);
        copy.end();
      }
    }
  }

  void editMembers(int kind, const std::vector<VakNumVar>& xs,
                   const std::vector<VakConstraint>& cs) {
    switch (kind) {
      case 10:
        if (!_model.getObjective().isEmpty()) {
          _model.getObjective().setSense(pick(0, 1) == 0 ? VakSense::Minimize : VakSense::Maximize);
        }
        break;
      case 11:
        if (!_model.getObjective().isEmpty()) _model.getObjective().setConstant(pick(-50, 50));
        break;
      case 12:
        addConstraint();
        break;
      case 13: {
        const VakNumVar x = makeVariable();
        _model.add(2 * x + expr() <= pick(0, 15));
        break;
      }
      case 15:
        addColumns(cs);
        break;
      case 16:
        addRows(xs);
        break;
      case 17:
        if (xs.size() > 1) _model.remove(oneOf(xs));
        break;
      case 18:
        if (!cs.empty()) _model.remove(oneOf(cs));
        break;
      case 19:
        if (xs.size() > 2) {
          VakNumVar x = oneOf(xs);
          x.end();
        }
        break;
      case 20: {
        std::vector<VakExtractable> some;
        if (xs.size() > 3) some.insert(some.end(), {xs[0], xs[2]});
        if (cs.size() > 1) some.push_back(cs.back());
        VakEndAll(some);
        break;
      }
      case 22: {
        VakObjective objective = _model.getObjective();
        if (!objective.isEmpty()) {
          pick(0, 1) == 0 ? _model.remove(objective) : objective.end();
        }
        if (pick(0, 2) > 0) addObjective();
        break;
      }
      default:
        if (!xs.empty() && !cs.empty()) {
          // Several kinds before the next solve, some of which undo others.
          const VakConstraint added = addConstraint();
          const VakNumVar x = makeVariable();
          added.setCoef(x, 3);
          oneOf(cs).setCoef(x, 1);
          oneOf(cs).setCoef(x, pick(0, 2));
          setKind(x);
          if (pick(0, 1) == 0) _model.remove(added);
          setBounds(x);
          if (pick(0, 1) == 0) _model.remove(oneOf(xs));
          addConstraint().setCoef(x, coef());
        }
    }
  }

  template <class T>
  static int size(const T& list) {
    return static_cast<int>(list.size());
  }
  template <class T>
  T oneOf(const std::vector<T>& list) {
    return list[static_cast<std::size_t>(pick(0, size(list) - 1))];
  }
  VakNum coef() { return pick(0, 3) == 0 ? 0 : pick(-6, 6) * (pick(0, 4) == 0 ? 0.5 : 1); }
  VakExpr expr() {
    VakExpr e;
    for (const VakNumVar x : _model.variables()) {
      if (pick(0, 2) > 0) e += coef() * x;
    }
    return e;
  }
  std::pair<VakNum, VakNum> rowBounds() {
    const VakNum base = pick(-10, 15);
    switch (pick(0, 9)) {
      case 0:
        return {base, base};
      case 1:
        return {-Infinity, Infinity};
      case 2:
      case 3:
        return {base - 15, base};
      case 4:
      case 5:
        return {base - 10, Infinity};
      default:
        return {-Infinity, base};
    }
  }
  VakRelation relation() {
    const auto [lb, ub] = rowBounds();
    return VakBetween(lb, expr(), ub);
  }
  VakConstraint addConstraint() {
    const VakConstraint c(_env, relation());
    c.setKeptWhenEmpty(pick(0, 1) == 0);
    _model.add(c);
    return c;
  }
  void addObjective() {
    pick(0, 1) == 0 ? _model.minimize(expr() + pick(-3, 3)) : _model.maximize(expr() - 1);
  }
  void setBounds(VakNumVar x) {
    const auto [lb, ub] = bounds(x.getKind());
    x.setBounds(lb, ub);
  }
  std::pair<VakNum, VakNum> bounds(VakVarKind kind) {
    if (kind == VakVarKind::Boolean) return {pick(0, 1), 1};
    const VakNum part = pick(0, 2) == 0 ? 0.25 * pick(0, 3) : 0;
    const VakNum lb = pick(-4, 2) + part;
    switch (pick(0, 9)) {
      case 0:
        return {lb, Infinity};
      case 1:
        return {-Infinity, lb + 3};
      case 2:
        return {lb, lb};
      case 3:
        return {-Infinity, Infinity};
      default:
        return {lb, lb + pick(0, 4) + 0.25 * pick(0, 3)};
    }
  }
  void setKind(VakNumVar x) {
    if (!_isMip) return;
    const int kind = pick(0, 2);
    if (kind == 2) {
      x.setBounds(0, 1);
      x.setKind(VakVarKind::Boolean);
    } else {
      x.setKind(kind == 0 ? VakVarKind::Continuous : VakVarKind::Integer);
    }
  }
  VakNumVar makeVariable() {
    const VakVarKind kind =
        _isMip && pick(0, 3) > 0 ? static_cast<VakVarKind>(pick(1, 2)) : VakVarKind::Continuous;
    const auto [lb, ub] = bounds(kind);
    return VakNumVar(_env, lb, ub, kind);
  }
  void addColumns(const std::vector<VakConstraint>& cs) {
    const int rows = size(cs);
    const std::vector<VakNum> ubs{1, 3, 2};
    const std::vector<VakNum> objective{VakNum(pick(-3, 3)), VakNum(pick(-3, 3)), 0};
    std::vector<VakInt> starts{0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    for (int j = 0; j < 3; ++j) {
      for (int i = 0; i < rows; ++i) {
        if (pick(0, 1) == 0) continue;
        members.push_back(i);
        coefs.push_back(pick(-5, 5));
      }
      starts.push_back(size(members));
    }
    const std::vector<VakVarKind> kinds(3, _isMip ? VakVarKind::Integer : VakVarKind::Continuous);
    VakColumns columns;
    columns.count = 3;
    columns.ubs = ubs;
    columns.kinds = kinds;
    columns.objective = objective;
    columns.rows = cs;
    columns.matrix = {starts, members, coefs};
    _model.addColumns(columns);
  }
  void addRows(const std::vector<VakNumVar>& xs) {
    const std::vector<VakNum> ubs{VakNum(pick(0, 9)), VakNum(pick(0, 9))};
    std::vector<VakInt> starts{0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    for (int i = 0; i < 2; ++i) {
      for (int j = 0; j < size(xs); ++j) {
        members.push_back(j);
        coefs.push_back(pick(-4, 4));
      }
      starts.push_back(size(members));
    }
    VakRows rows;
    rows.count = 2;
    rows.ubs = ubs;
    rows.columns = xs;
    rows.matrix = {starts, members, coefs};
    _model.addRows(rows);
  }

  VakScopedEnv _scoped;
  VakEnv _env = _scoped.env;
  std::mt19937 _random;
  bool _isMip;
  VakModel _model{_env};
  VakSolver _solver;
  int _openCount = 0;
};

void editAtRandom(unsigned firstSeed, unsigned models, bool isMip) {
  constexpr int Edits = 12;
  int open = 0;
  for (unsigned seed = firstSeed; seed < firstSeed + models; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Edited edited(seed, isMip);
    ASSERT_NO_FATAL_FAILURE(edited.compare());
    for (int i = 0; i < Edits; ++i) {
      const int kind = edited.pick(0, Edited::Kinds - 1);
      SCOPED_TRACE("edit " + std::to_string(i) + " of kind " + std::to_string(kind));
      edited.edit(kind);
      ASSERT_NO_FATAL_FAILURE(edited.compare());
    }
    open += edited.getOpenCount();
  }
  EXPECT_LE(open, static_cast<int>(models) * Edits / 50);
}

TEST(EditedLps, AreSolvedAsIfBuiltAnew1) { editAtRandom(1000, 150, false); }
TEST(EditedLps, AreSolvedAsIfBuiltAnew2) { editAtRandom(1150, 150, false); }
TEST(EditedMips, AreSolvedAsIfBuiltAnew1) { editAtRandom(2000, 150, true); }
TEST(EditedMips, AreSolvedAsIfBuiltAnew2) { editAtRandom(2150, 150, true); }

}  // namespace

// Random sequences of edits, compared after each edit with a plain reference model and with an
// algorithm that follows the changes.

#include <limits>
#include <map>
#include <random>
#include <set>

#include "tests/support/model_listener.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/mirror_algorithm.h"
#include "tests/unit/vakmodel/model_text.h"

namespace {

using Coefs = std::map<std::size_t, VakNum>;  // By number of the variable; none is 0.

struct RefVariable {
  VakNum lb = 0;
  VakNum ub = 0;
  VakVarKind kind = VakVarKind::Continuous;
  bool isAlive = true;
  bool isInModel = false;
};

struct RefRow {
  VakNum lb = 0;
  VakNum ub = 0;
  Coefs coefs;
  bool isAlive = true;
  bool isInModel = false;
};

/// What the model must be like.
struct Reference {
  void setCoef(Coefs& coefs, std::size_t variable, VakNum coef) {
    if (coef == 0) {
      coefs.erase(variable);
    } else {
      coefs[variable] = coef;
    }
  }
  void join(const Coefs& coefs) {
    for (const auto& entry : coefs) variables[entry.first].isInModel = true;
  }
  void removeVariable(std::size_t j, bool fromModelOnly) {
    variables[j].isInModel = false;
    for (RefRow& row : rows) {
      if (!fromModelOnly || row.isInModel) row.coefs.erase(j);
    }
    objective.erase(j);
  }
  // Ends variables together: a row that this leaves without terms ends too.
  void endVariables(const std::vector<std::size_t>& ended) {
    std::vector<bool> hadTerms;
    for (const RefRow& row : rows) hadTerms.push_back(!row.coefs.empty());
    for (const std::size_t j : ended) {
      removeVariable(j, false);
      variables[j].isAlive = false;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (hadTerms[i] && rows[i].coefs.empty()) rows[i].isAlive = rows[i].isInModel = false;
    }
  }

  std::vector<RefVariable> variables;
  std::vector<RefRow> rows;
  Coefs objective;
  VakNum constant = 0;
  bool isMaximized = false;
};

class RandomEdits {
 public:
  explicit RandomEdits(unsigned seed) : _random(seed) {
    _mirror->extract(_model);
    _objective = _model.minimize(0);
    _listener = new VakModelListener(_env);
  }

  void run(int edits) {
    for (int i = 0; i < edits && !testing::Test::HasFatalFailure(); ++i) {
      if (below(10) == 0) {
        refusedEdit();
      } else if (below(12) == 0) {
        wrongEdit();
      } else {
        edit();
      }
      compare();
    }
  }

 private:
  int below(int n) { return static_cast<int>(_random() % static_cast<unsigned>(n)); }
  VakNum number() { return below(9) - 4; }

  std::vector<std::size_t> living() const {
    std::vector<std::size_t> result;
    for (std::size_t j = 0; j < _ref.variables.size(); ++j) {
      if (_ref.variables[j].isAlive) result.push_back(j);
    }
    return result;
  }
  std::vector<std::size_t> livingRows() const {
    std::vector<std::size_t> result;
    for (std::size_t i = 0; i < _ref.rows.size(); ++i) {
      if (_ref.rows[i].isAlive) result.push_back(i);
    }
    return result;
  }
  // Up to `most` different elements, in any order.
  std::vector<std::size_t> some(std::vector<std::size_t> from, std::size_t most) {
    std::shuffle(from.begin(), from.end(), _random);
    from.resize(std::min(from.size(), static_cast<std::size_t>(below(static_cast<int>(most) + 1))));
    return from;
  }
  // One element, or none.
  std::vector<std::size_t> one(std::vector<std::size_t> from) {
    if (from.empty()) return from;
    return {from[static_cast<std::size_t>(below(static_cast<int>(from.size())))]};
  }

  // A random expression, some of whose variables occur twice, and its coefficients.
  std::pair<VakExpr, Coefs> expression() {
    VakExpr expr;
    Coefs coefs;
    for (int round = 0; round < 2; ++round) {
      for (const std::size_t j : some(living(), 4)) {
        const VakNum coef = number();
        expr += coef * _vars[j];
        _ref.setCoef(coefs, j, coefs[j] + coef);
      }
    }
    return {expr, coefs};
  }

  void makeVariable() {
    const auto kind = static_cast<VakVarKind>(below(3));
    const VakNum lb = kind == VakVarKind::Boolean ? 0 : number();
    const VakNum ub = kind == VakVarKind::Boolean ? 1 : lb + below(6);
    _vars.emplace_back(_env, lb, ub, kind, ("x" + std::to_string(_vars.size())).c_str());
    _ref.variables.push_back({lb, ub, kind, true, false});
  }

  void makeRow(bool isInModel) {
    auto [expr, coefs] = expression();
    const VakNum lb = number();
    const VakNum ub = lb + below(5);
    const std::string name = "c" + std::to_string(_rows.size());
    _rows.push_back(isInModel ? _model.add(lb <= expr + 1 <= ub, name.c_str())
                              : VakConstraint(_env, lb <= expr + 1 <= ub, name.c_str()));
    _ref.rows.push_back({lb - 1, ub - 1, coefs, true, isInModel});
    if (isInModel) _ref.join(coefs);
  }

  void changeCoef() {
    for (const std::size_t j : one(living())) {
      const VakNum coef = number();
      for (const std::size_t i : one(livingRows())) {
        _rows[i].setCoef(_vars[j], coef);
        _ref.setCoef(_ref.rows[i].coefs, j, coef);
        if (coef != 0 && _ref.rows[i].isInModel) _ref.variables[j].isInModel = true;
        return;
      }
      _objective.setCoef(_vars[j], coef);
      _ref.setCoef(_ref.objective, j, coef);
      if (coef != 0) _ref.variables[j].isInModel = true;
    }
  }

  void changeCoefs() {
    std::vector<VakCoef> coefs;
    for (const std::size_t i : some(livingRows(), 4)) {
      for (const std::size_t j : some(living(), 8)) {
        const VakNum coef = number();
        coefs.push_back({_rows[i], _vars[j], coef});
        _ref.setCoef(_ref.rows[i].coefs, j, coef);
        if (coef != 0 && _ref.rows[i].isInModel) _ref.variables[j].isInModel = true;
      }
    }
    VakSetCoefs(coefs);
  }

  void changeBounds() {
    std::vector<VakNumVar> vars;
    std::vector<VakNum> lbs;
    std::vector<VakNum> ubs;
    for (const std::size_t j : some(living(), 5)) {
      RefVariable& variable = _ref.variables[j];
      const bool isBoolean = variable.kind == VakVarKind::Boolean;
      variable.lb = isBoolean ? below(2) : number();
      variable.ub = isBoolean ? 1 : variable.lb + below(3);
      vars.push_back(_vars[j]);
      lbs.push_back(variable.lb);
      ubs.push_back(variable.ub);
    }
    if (vars.size() == 1) {
      vars[0].setBounds(lbs[0], ubs[0]);
    } else {
      VakSetBounds(vars, lbs, ubs);
    }
  }

  void changeKind() {
    for (const std::size_t j : one(living())) {
      RefVariable& variable = _ref.variables[j];
      const bool canBeBoolean = variable.lb >= 0 && variable.ub <= 1;
      variable.kind = static_cast<VakVarKind>(below(canBeBoolean ? 3 : 2));
      _vars[j].setKind(variable.kind);
    }
  }

  void changeRow() {
    for (const std::size_t i : one(livingRows())) {
      RefRow& row = _ref.rows[i];
      row.lb = number();
      row.ub = row.lb + below(4);
      if (below(2) == 0) {
        _rows[i].setBounds(row.lb, row.ub);
        return;
      }
      auto [expr, coefs] = expression();
      _rows[i].setRelation(row.lb <= expr <= row.ub);
      row.coefs = coefs;
      if (row.isInModel) _ref.join(coefs);
    }
  }

  void changeObjective() {
    switch (below(3)) {
      case 0:
        _ref.isMaximized = below(2) == 0;
        _objective.setSense(_ref.isMaximized ? VakSense::Maximize : VakSense::Minimize);
        return;
      case 1:
        _ref.constant = number();
        _objective.setConstant(_ref.constant);
        return;
      default:
        auto [expr, coefs] = expression();
        _ref.constant = number();
        _ref.isMaximized = false;
        _model.minimize(expr + _ref.constant);
        _ref.objective = coefs;
        _ref.join(coefs);
    }
  }

  void moveRow() {
    for (const std::size_t i : one(livingRows())) {
      RefRow& row = _ref.rows[i];
      if (row.isInModel) {
        _model.remove(_rows[i]);
      } else {
        _model.add(_rows[i]);
        _ref.join(row.coefs);
      }
      row.isInModel = !row.isInModel;
    }
  }

  void moveVariables() {
    std::vector<VakNumVar> removed;
    for (const std::size_t j : some(living(), 3)) {
      if (_ref.variables[j].isInModel) {
        removed.push_back(_vars[j]);
        _ref.removeVariable(j, true);
      } else {
        _model.add(_vars[j]);
        _ref.variables[j].isInModel = true;
      }
    }
    _model.remove(removed);
  }

  void removeFromAll() {
    for (const std::size_t j : one(living())) {
      _vars[j].removeFromAll();
      _ref.removeVariable(j, false);
    }
  }

  void endVariables() {
    std::vector<VakNumVar> ended;
    const std::vector<std::size_t> which = some(living(), 3);
    for (const std::size_t j : which) ended.push_back(_vars[j]);
    VakEndAll(ended);
    _ref.endVariables(which);
  }

  void endRow() {
    for (const std::size_t i : one(livingRows())) {
      _rows[i].end();
      _ref.rows[i].isAlive = _ref.rows[i].isInModel = false;
    }
  }

  void addColumn() {
    std::vector<VakConstraint> rows;
    std::vector<VakNum> coefs;
    const std::size_t j = _vars.size();
    const VakNum cost = number();
    Coefs objective = _ref.objective;
    _ref.setCoef(objective, j, cost);
    std::vector<std::size_t> members;
    for (const std::size_t i : some(livingRows(), 6)) {
      if (!_ref.rows[i].isInModel) continue;
      rows.push_back(_rows[i]);
      coefs.push_back(number());
      members.push_back(i);
    }
    _vars.push_back(_model.addColumn(0, 5, cost, rows, coefs));
    _vars.back().setName(("x" + std::to_string(j)).c_str());
    _ref.variables.push_back({0, 5, VakVarKind::Continuous, true, true});
    _ref.objective = objective;
    for (std::size_t k = 0; k < members.size(); ++k) {
      _ref.setCoef(_ref.rows[members[k]].coefs, j, coefs[k]);
    }
  }

  void addRows() {
    std::vector<VakNumVar> columns;
    const std::vector<std::size_t> numbers = some(living(), 6);
    for (const std::size_t j : numbers) columns.push_back(_vars[j]);
    if (columns.empty()) return;
    std::vector<VakInt> starts = {0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    std::vector<VakNum> ubs;
    for (int i = 0; i < 2; ++i) {
      RefRow row;
      row.lb = -std::numeric_limits<VakNum>::infinity();
      row.ub = number();
      row.isInModel = true;
      for (int k = below(5); k > 0; --k) {
        members.push_back(below(static_cast<int>(columns.size())));
        coefs.push_back(number());
        const std::size_t j = numbers[static_cast<std::size_t>(members.back())];
        const auto old = row.coefs.find(j);
        _ref.setCoef(row.coefs, j, (old == row.coefs.end() ? 0 : old->second) + coefs.back());
      }
      starts.push_back(static_cast<VakInt>(members.size()));
      ubs.push_back(row.ub);
      _ref.rows.push_back(row);
      _ref.join(row.coefs);
    }
    std::vector<VakConstraint> made(2);
    VakRows block;
    block.count = 2;
    block.ubs = ubs;
    block.columns = columns;
    block.matrix = {starts, members, coefs};
    _model.addRows(block, made);
    for (VakConstraint row : made) {
      row.setName(("c" + std::to_string(_rows.size())).c_str());
      _rows.push_back(row);
    }
  }

  void copy() {
    VakModel copy = VakCopier(_env).copy(_model);
    EXPECT_EQ(VakTextOf(copy), VakTextOf(_model));
    EXPECT_EQ(copy.check(), "");
    const std::vector<VakNumVar> vars(copy.variables().begin(), copy.variables().end());
    copy.end();
    VakEndAll(vars);
  }

  void edit() {
    switch (below(20)) {
      case 0:
      case 1:
        return makeVariable();
      case 2:
        return makeRow(true);
      case 3:
        return makeRow(below(2) == 0);
      case 4:
      case 5:
        return changeCoef();
      case 6:
        return changeCoefs();
      case 7:
        return changeBounds();
      case 8:
        return changeKind();
      case 9:
      case 10:
        return changeRow();
      case 11:
        return changeObjective();
      case 12:
        return moveRow();
      case 13:
        return moveVariables();
      case 14:
        return removeFromAll();
      case 15:
        return below(3) == 0 ? endVariables() : makeVariable();
      case 16:
        return below(2) == 0 ? endRow() : makeRow(true);
      case 17:
        return addColumn();
      case 18:
        return addRows();
      default:
        return copy();
    }
  }

  // Edits that an algorithm refuses leave everything as it was.
  void refusedEdit() {
    const std::vector<std::size_t> variables = living();
    const std::vector<std::size_t> rows = livingRows();
    if (variables.empty() || rows.empty()) return;
    const VakNumVar x =
        _vars[variables[static_cast<std::size_t>(below(static_cast<int>(variables.size())))]];
    const VakConstraint c =
        _rows[rows[static_cast<std::size_t>(below(static_cast<int>(rows.size())))]];
    _listener->refuseNext({x});
    const auto change = [&] {
      switch (below(9)) {
        case 0:
          return x.setBounds(0.25, 0.5);
        case 1:
          return c.setBounds(-77, 77);
        case 2:
          return c.setCoef(x, 0.125);
        case 3:
          return c.setRelation(5 * x + 3 * _vars[variables[0]] <= 9);
        case 4:
          return _objective.setConstant(1234);
        case 5:
          return static_cast<void>(_model.maximize(3 * x + 777));
        case 6:
          return static_cast<void>(_model.add(x + _vars[variables[0]] <= 3));
        case 7:
          return VakSetCoefs(std::vector<VakCoef>{{c, x, 0}, {_objective, x, 55}});
        default:
          if (_model.contains(x)) return _model.remove(x);
          return _model.add(x);
      }
    };
    const std::string refused = VakRefusalOf(change);
    EXPECT_TRUE(refused == std::string("[") + x.getName() + "]" || refused == "nothing was refused")
        << refused;
    _listener->_reaction = {};
    if (!_mirror->isLoaded()) static_cast<void>(_mirror->solve());
  }

  void wrongEdit() {
    const std::vector<std::size_t> variables = living();
    if (variables.empty()) return;
    const VakNumVar x = _vars[variables[0]];
    const VakNum nan = std::numeric_limits<VakNum>::quiet_NaN();
    EXPECT_THROW(x.setBounds(2, 1), VakModelError);
    EXPECT_THROW(_model.add(x + nan * x <= 1), VakModelError);
    EXPECT_THROW(_model.minimize(x + nan), VakModelError);
    EXPECT_THROW(_model.add(x >= nan), VakModelError);
    const VakNumVar foreign(_otherScope.env, "foreign");
    EXPECT_THROW(_model.add(x + foreign <= 1), VakModelMismatch);
    EXPECT_THROW(_objective.setCoef(foreign, 1), VakModelMismatch);
    EXPECT_THROW(_objective.setCoef(VakNumVar(), 1), VakEmptyHandleException);
  }

  void compareTerms(VakLinear linear, const Coefs& coefs) {
    Coefs found;
    for (const VakTerm term : linear.terms()) {
      const char* name = term.var.getName();
      found[static_cast<std::size_t>(std::atoi(name + 1))] = term.coef;
    }
    ASSERT_EQ(found, coefs);
    ASSERT_EQ(linear.getTermCount(), static_cast<VakInt>(coefs.size()));
  }

  void compare() {
    ASSERT_EQ(_model.check(), "");
    VakInt variables = 0;
    for (std::size_t j = 0; j < _vars.size(); ++j) {
      const RefVariable& ref = _ref.variables[j];
      if (!ref.isAlive) continue;
      ASSERT_EQ(_vars[j].getLB(), ref.lb);
      ASSERT_EQ(_vars[j].getUB(), ref.ub);
      ASSERT_EQ(_vars[j].getKind(), ref.kind);
      ASSERT_EQ(_model.contains(_vars[j]), ref.isInModel);
      variables += ref.isInModel ? 1 : 0;
    }
    ASSERT_EQ(_model.getVariableCount(), variables);
    VakInt rows = 0;
    for (std::size_t i = 0; i < _rows.size(); ++i) {
      const RefRow& ref = _ref.rows[i];
      if (!ref.isAlive) continue;
      ASSERT_EQ(_rows[i].getLB(), ref.lb);
      ASSERT_EQ(_rows[i].getUB(), ref.ub);
      ASSERT_EQ(_model.contains(_rows[i]), ref.isInModel);
      compareTerms(_rows[i], ref.coefs);
      rows += ref.isInModel ? 1 : 0;
    }
    ASSERT_EQ(_model.getConstraintCount(), rows);
    compareTerms(_objective, _ref.objective);
    ASSERT_EQ(_objective.getConstant(), _ref.constant);
    ASSERT_EQ(_objective.getSense() == VakSense::Maximize, _ref.isMaximized);
    ASSERT_TRUE(_mirror->isLoaded());
    ASSERT_EQ(_mirror->text(), _mirror->expectedText()) << _mirror->log;
    _mirror->log.clear();
    _listener->takeLog();
  }

  VakScopedEnv _scope;
  VakScopedEnv _otherScope;
  VakEnv _env = _scope.env;
  VakModel _model{_env, "m"};
  MirrorAlgorithm* _mirror = new MirrorAlgorithm(_env);
  VakModelListener* _listener = nullptr;
  VakObjective _objective;
  std::vector<VakNumVar> _vars;
  std::vector<VakConstraint> _rows;
  Reference _ref;
  std::mt19937 _random;
};

class ModelRandom : public testing::TestWithParam<unsigned> {};

TEST_P(ModelRandom, EditsGiveWhatAPlainModelGives) { RandomEdits(GetParam()).run(250); }

INSTANTIATE_TEST_SUITE_P(, ModelRandom, testing::Range(1U, 41U));

}  // namespace

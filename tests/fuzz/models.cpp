// The modelling layer: variables, constraints, objectives and models are made, changed, removed,
// ended and copied, with a listener that refuses now and then, beside plain records of all of it.

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/fuzz/program.h"
#include "vakbase/globals.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/modelling.h"

namespace {

/// An algorithm that refuses the next change when it is told to.
class Listener : public VakAlgorithmI {
 public:
  explicit Listener(VakEnv env) : VakAlgorithmI(env.getImpl()) { attach(); }
  void change(const VakChange&, const VakExtractableI*) override { tell(); }
  void change(const VakChange&) override { tell(); }

  bool refusesNext = false;

 private:
  void tell() {
    if (!refusesNext) return;
    refusesNext = false;
    throw VakAlgorithm::CannotChangeException(VakAlgorithm(this), VakExtractableArray());
  }
};

struct Var {
  VakNumVar handle;
  VakNum lb = 0;
  VakNum ub = 0;
  VakVarKind kind = VakVarKind::Continuous;
};
using Terms = std::map<VakExtractableI*, VakNum>;

/// A constraint, or an objective with its constant in `lb`.
struct Row {
  VakLinear handle;
  Terms terms;
  VakNum lb = 0;
  VakNum ub = 0;
  bool isKept = false;
  bool isObjective = false;
  bool isMaximized = false;
  VakExtractableI* model = nullptr;
};
struct Model {
  VakModel handle;
  std::set<VakExtractableI*> vars;
};

/// All that is expected of the environment.
struct World {
  std::map<VakExtractableI*, Var> vars;
  std::map<VakExtractableI*, Row> rows;
  std::map<VakExtractableI*, Model> models;
  /// The same objects in the order in which they were made, which does not depend on addresses.
  std::vector<VakExtractableI*> varOrder;
  std::vector<VakExtractableI*> rowOrder;
  std::vector<VakExtractableI*> modelOrder;
};

class Models {
 public:
  explicit Models(VakFuzzProgram& program) : _program(program), _scope(program) {
    _env = _scope.env;
    _listener = new Listener(_env);
  }

  void run() {
    while (!_program.isOver()) {
      step();
      compare();
      _scope.check();
    }
  }

 private:
  static constexpr std::size_t Most = 12;

  // ---- Choosing ---------------------------------------------------------------------------------

  template <class T>
  T* any(std::map<VakExtractableI*, T>& table, const std::vector<VakExtractableI*>& order) {
    if (order.empty()) return nullptr;
    return &table.at(order[static_cast<std::size_t>(_program.byte()) % order.size()]);
  }
  Var* anyVar() { return any(_world.vars, _world.varOrder); }
  Row* anyRow() { return any(_world.rows, _world.rowOrder); }
  Model* anyModel() { return any(_world.models, _world.modelOrder); }
  VakNum number() { return _program.byte() - 128; }
  static VakExtractableI* idOf(VakExtractable object) { return object.getImpl(); }

  VakExpr anyExpr() {
    VakExpr expr(number());
    for (int n = _program.below(5); n > 0; --n) {
      if (const Var* x = anyVar()) expr += (_program.below(5) - 2) * x->handle;
    }
    return expr;
  }
  static Terms termsOf(VakExpr expr) {
    Terms terms;
    for (const VakTerm& term : expr.getTerms()) terms[idOf(term.var)] += term.coef;
    std::erase_if(terms, [](const auto& t) { return t.second == 0; });
    return terms;
  }

  // Does what may be refused; the record changes only when nobody refuses.
  template <class Operation>
  bool attempt(Operation operation) {
    _listener->refusesNext = _program.below(6) == 0;
    try {
      operation();
    } catch (VakAlgorithm::CannotChangeException& refusal) {
      refusal.end();
      return false;
    } catch (...) {
      _listener->refusesNext = false;
      throw;
    }
    _listener->refusesNext = false;
    return true;
  }

  // ---- Steps ------------------------------------------------------------------------------------

  void step() {
    switch (_program.below(18)) {
      case 0:
      case 1:
        makeVar();
        break;
      case 2:
      case 3:
        makeRow();
        break;
      case 4:
        makeModel();
        break;
      case 5:
        setVarBounds();
        break;
      case 6:
        setKind();
        break;
      case 7:
      case 8:
        setCoef();
        break;
      case 9:
        setCoefs();
        break;
      case 10:
        setRow();
        break;
      case 11:
      case 12:
        addToModel();
        break;
      case 13:
        removeFromModel();
        break;
      case 14:
        removeFromAll();
        break;
      case 15:
        endSome();
        break;
      case 16:
        copy();
        break;
      default:
        addMany();
    }
  }

  void makeVar() {
    if (_world.vars.size() >= Most) return;
    VakNum lb = number();
    VakNum ub = number();
    const std::string message =
        VakFuzzMessage<VakModelError>([&] { enterVar(VakNumVar(_env, lb, ub)); });
    VAK_FUZZ_REQUIRE(message.empty() == (lb <= ub));
  }
  void enterVar(VakNumVar x) {
    _world.vars[idOf(x)] = {x, x.getLB(), x.getUB(), x.getKind()};
    _world.varOrder.push_back(idOf(x));
  }
  void makeRow() {
    if (_world.rows.size() >= Most) return;
    const VakExpr expr = anyExpr();
    Row row;
    row.terms = termsOf(expr);
    row.isObjective = _program.below(4) == 0;
    if (row.isObjective) {
      row.isMaximized = _program.flag();
      row.lb = expr.getConstant();
      row.handle =
          VakObjective(_env, row.isMaximized ? VakSense::Maximize : VakSense::Minimize, expr);
    } else {
      row.ub = number();
      row.lb = -VakGetInfinity();
      row.handle = VakConstraint(_env, expr <= row.ub);
      row.ub -= expr.getConstant();
    }
    enterRow(row);
  }
  void enterRow(const Row& row) {
    _world.rows[idOf(row.handle)] = row;
    _world.rowOrder.push_back(idOf(row.handle));
  }
  void makeModel() {
    if (_world.models.size() >= 3) return;
    const VakModel model(_env, "model");
    _world.models[idOf(model)] = {model, {}};
    _world.modelOrder.push_back(idOf(model));
  }

  void setVarBounds() {
    Var* x = anyVar();
    if (x == nullptr) return;
    const VakNum lb = number();
    const VakNum ub = number();
    bool isDone = false;
    const std::string message = VakFuzzMessage<VakModelError>(
        [&] { isDone = attempt([&] { x->handle.setBounds(lb, ub); }); });
    const bool isBoolean = x->kind == VakVarKind::Boolean;
    const bool isWrong = lb > ub || (isBoolean && (lb < 0 || ub > 1));
    VAK_FUZZ_REQUIRE(message.empty() != isWrong);
    if (!isDone) return;
    x->lb = lb;
    x->ub = ub;
  }
  void setKind() {
    Var* x = anyVar();
    if (x == nullptr) return;
    const VakVarKind kinds[] = {VakVarKind::Continuous, VakVarKind::Integer, VakVarKind::Boolean};
    const VakVarKind kind = kinds[_program.below(3)];
    bool isDone = false;
    const std::string message =
        VakFuzzMessage<VakModelError>([&] { isDone = attempt([&] { x->handle.setKind(kind); }); });
    const bool isWrong = kind == VakVarKind::Boolean && (x->lb < 0 || x->ub > 1);
    VAK_FUZZ_REQUIRE(message.empty() != isWrong);
    if (isDone) x->kind = kind;
  }

  static void put(Row& row, VakExtractableI* x, VakNum coef) {
    if (coef == 0) {
      row.terms.erase(x);
    } else {
      row.terms[x] = coef;
    }
  }
  // Variables of a row that is in a model are in the model.
  void join(const Row& row) {
    if (row.model == nullptr) return;
    for (const auto& [x, coef] : row.terms) _world.models.at(row.model).vars.insert(x);
  }
  void setCoef() {
    Row* row = anyRow();
    Var* x = anyVar();
    if (row == nullptr || x == nullptr) return;
    const VakNum coef = _program.below(5) - 2;
    const bool isSum = _program.flag();
    const bool isDone = attempt([&] {
      isSum ? row->handle.addTerm(x->handle, coef) : row->handle.setCoef(x->handle, coef);
    });
    if (!isDone) return;
    const auto found = row->terms.find(idOf(x->handle));
    const VakNum old = found == row->terms.end() ? 0 : found->second;
    put(*row, idOf(x->handle), isSum ? old + coef : coef);
    join(*row);
  }
  void setCoefs() {
    std::vector<VakCoef> coefs;
    for (int n = _program.below(8); n > 0; --n) {
      const Row* row = anyRow();
      const Var* x = anyVar();
      if (row == nullptr || x == nullptr) return;
      coefs.push_back({row->handle, x->handle, VakNum(_program.below(5) - 2)});
    }
    if (!attempt([&] { VakSetCoefs(coefs); })) return;
    for (const VakCoef& c : coefs) {
      put(_world.rows.at(idOf(c.linear)), idOf(c.var), c.coef);
    }
    for (const VakCoef& c : coefs) join(_world.rows.at(idOf(c.linear)));
  }
  void setRow() {
    Row* row = anyRow();
    if (row == nullptr) return;
    if (row->isObjective) {
      const VakExpr expr = anyExpr();
      const VakObjective objective = VakObjective::From(row->handle);
      if (_program.flag()) {
        const VakSense sense = row->isMaximized ? VakSense::Minimize : VakSense::Maximize;
        if (attempt([&] { objective.setSense(sense); })) row->isMaximized = !row->isMaximized;
      } else if (attempt([&] { objective.setExpr(expr); })) {
        row->lb = expr.getConstant();
        row->terms = termsOf(expr);
        join(*row);
      }
      return;
    }
    const VakConstraint constraint = VakConstraint::From(row->handle);
    row->isKept = _program.flag();
    constraint.setKeptWhenEmpty(row->isKept);
    const VakNum lb = number();
    const VakNum ub = lb + _program.byte();
    if (!attempt([&] { constraint.setBounds(lb, ub); })) return;
    row->lb = lb;
    row->ub = ub;
  }

  [[nodiscard]] Row* objectiveOf(const Model& model) {
    for (auto& [key, row] : _world.rows) {
      if (row.isObjective && row.model == idOf(model.handle)) return &row;
    }
    return nullptr;
  }
  void addToModel() {
    Model* model = anyModel();
    if (model == nullptr) return;
    if (_program.below(3) == 0) {
      Var* x = anyVar();
      if (x == nullptr || !attempt([&] { model->handle.add(x->handle); })) return;
      model->vars.insert(idOf(x->handle));
      return;
    }
    Row* row = anyRow();
    if (row == nullptr) return;
    const bool isWrong =
        row->model != nullptr || (row->isObjective && objectiveOf(*model) != nullptr);
    bool isDone = false;
    const std::string message = VakFuzzMessage<VakModelError>([&] {
      isDone = attempt([&] {
        if (row->isObjective) {
          model->handle.add(VakObjective::From(row->handle));
        } else {
          model->handle.add(VakConstraint::From(row->handle));
        }
      });
    });
    VAK_FUZZ_REQUIRE(message.empty() != isWrong);
    if (!isDone) return;
    row->model = idOf(model->handle);
    join(*row);
  }
  void removeFromModel() {
    Model* model = anyModel();
    if (model == nullptr) return;
    if (_program.flag()) {
      Row* row = anyRow();
      if (row == nullptr || row->model != idOf(model->handle)) return;
      const bool isDone = attempt([&] {
        if (row->isObjective) {
          model->handle.remove(VakObjective::From(row->handle));
        } else {
          model->handle.remove(VakConstraint::From(row->handle));
        }
      });
      if (isDone) row->model = nullptr;
      return;
    }
    Var* x = anyVar();
    if (x == nullptr || model->vars.count(idOf(x->handle)) == 0) return;
    if (!attempt([&] { model->handle.remove(x->handle); })) return;
    model->vars.erase(idOf(x->handle));
    for (auto& [key, row] : _world.rows) {
      if (row.model == idOf(model->handle)) row.terms.erase(idOf(x->handle));
    }
  }

  // Takes the variables out of all rows and models; returns the rows that lost their last one.
  std::vector<VakExtractableI*> strike(const std::vector<VakExtractableI*>& gone) {
    std::vector<VakExtractableI*> emptied;
    for (auto& [key, row] : _world.rows) {
      const auto erased = std::erase_if(row.terms, [&](const auto& term) {
        return std::find(gone.begin(), gone.end(), term.first) != gone.end();
      });
      if (erased > 0 && row.terms.empty()) emptied.push_back(key);
    }
    for (auto& [key, model] : _world.models) {
      for (VakExtractableI* x : gone) model.vars.erase(x);
    }
    return emptied;
  }
  void removeFromAll() {
    if (_program.flag()) {
      Var* x = anyVar();
      if (x == nullptr) return;
      x->handle.removeFromAll();
      strike({idOf(x->handle)});
    } else {
      Row* row = anyRow();
      if (row == nullptr) return;
      row->handle.removeFromAll();
      row->model = nullptr;
    }
  }

  void forgetRow(VakExtractableI* key) {
    _world.rows.erase(key);
    std::erase(_world.rowOrder, key);
  }
  void endSome() {
    std::vector<VakExtractable> objects;
    std::vector<VakExtractableI*> vars;
    std::set<VakExtractableI*> rows;
    for (int n = 1 + _program.below(3); n > 0; --n) {
      if (Var* x = anyVar(); x != nullptr && _program.flag()) {
        objects.push_back(x->handle);
        vars.push_back(idOf(x->handle));
      } else if (Row* row = anyRow(); row != nullptr && _program.flag()) {
        objects.push_back(row->handle);
        rows.insert(idOf(row->handle));
      } else if (Model* model = anyModel(); model != nullptr && _program.below(4) == 0) {
        objects.push_back(model->handle);
        for (const auto& [key, owned] : _world.rows) {
          if (owned.model == idOf(model->handle)) rows.insert(key);
        }
        std::erase(_world.modelOrder, idOf(model->handle));
        _world.models.erase(idOf(model->handle));
      }
    }
    VakEndAll(objects);
    for (VakExtractableI* key : strike(vars)) {
      const Row& row = _world.rows.at(key);
      if (!row.isObjective && !row.isKept) rows.insert(key);
    }
    for (VakExtractableI* key : rows) forgetRow(key);
    for (VakExtractableI* key : vars) {
      _world.vars.erase(key);
      std::erase(_world.varOrder, key);
    }
  }

  void addMany() {
    Model* model = anyModel();
    if (model == nullptr) return;
    if (_program.flag()) {
      minimizeOrMaximize(*model);
      return;
    }
    if (_world.rows.size() >= Most) return;
    std::vector<VakNumVar> columns;
    for (const auto x : _world.varOrder) columns.push_back(_world.vars.at(x).handle);
    std::vector<VakInt> starts{0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    VakRows rows;
    rows.count = static_cast<std::size_t>(_program.below(4));
    std::vector<Row> expected(rows.count);
    for (Row& row : expected) {
      row.lb = -VakGetInfinity();
      row.ub = VakGetInfinity();
      for (int n = columns.empty() ? 0 : _program.below(6); n > 0; --n) {
        const int j = _program.byte() % static_cast<int>(columns.size());
        members.push_back(j);
        coefs.push_back(_program.below(5) - 2);
        row.terms[idOf(columns[static_cast<std::size_t>(j)])] += coefs.back();
      }
      std::erase_if(row.terms, [](const auto& t) { return t.second == 0; });
      starts.push_back(static_cast<VakInt>(members.size()));
    }
    rows.columns = columns;
    rows.matrix = {starts, members, coefs};
    std::vector<VakConstraint> made(rows.count);
    if (!attempt([&] { model->handle.addRows(rows, made); })) return;
    for (std::size_t i = 0; i < made.size(); ++i) {
      expected[i].handle = made[i];
      expected[i].model = idOf(model->handle);
      enterRow(expected[i]);
      join(expected[i]);
    }
  }
  void minimizeOrMaximize(Model& model) {
    Row* row = objectiveOf(model);
    if (row == nullptr && _world.rows.size() >= Most) return;
    const VakExpr expr = anyExpr();
    const bool isMaximized = _program.flag();
    VakObjective made;
    const bool isDone = attempt(
        [&] { made = isMaximized ? model.handle.maximize(expr) : model.handle.minimize(expr); });
    if (!isDone) return;
    Row fresh = row == nullptr ? Row() : *row;
    fresh.handle = made;
    fresh.isObjective = true;
    fresh.isMaximized = isMaximized;
    fresh.lb = expr.getConstant();
    fresh.terms = termsOf(expr);
    fresh.model = idOf(model.handle);
    if (row == nullptr) {
      enterRow(fresh);
    } else {
      VAK_FUZZ_REQUIRE(idOf(row->handle) == idOf(made));
      *row = fresh;
    }
    join(fresh);
  }

  // A copy of a model is compared with its original and ended, with its variables.
  void copy() {
    Model* model = anyModel();
    if (model == nullptr) return;
    const VakInt before = countObjects();
    {
      VakCopier copier(_env);
      VakModel made = copier.copy(model->handle);
      VAK_FUZZ_REQUIRE(made.getVariableCount() == model->handle.getVariableCount());
      VAK_FUZZ_REQUIRE(made.getConstraintCount() == model->handle.getConstraintCount());
      VAK_FUZZ_REQUIRE(made.getTermCount() == model->handle.getTermCount());
      for (const auto& [key, row] : _world.rows) {
        if (row.model != idOf(model->handle)) continue;
        VakLinear copied;
        if (row.isObjective) {
          copied = copier.getCopy(VakObjective::From(row.handle));
        } else {
          copied = copier.getCopy(VakConstraint::From(row.handle));
        }
        VAK_FUZZ_REQUIRE(copied.getTermCount() == static_cast<VakInt>(row.terms.size()));
        for (const auto& [x, coef] : row.terms) {
          const VakNumVar y = copier.getCopy(_world.vars.at(x).handle);
          VAK_FUZZ_REQUIRE(copied.getCoef(y) == coef);
        }
      }
      _scope.check();
      std::vector<VakExtractable> all{made};
      for (const VakNumVar x : made.variables()) all.push_back(x);
      VakEndAll(all);
    }
    VAK_FUZZ_REQUIRE(countObjects() == before);
  }
  [[nodiscard]] VakInt countObjects() const {
    const VakIdManager* ids = _env.getImpl()->_idManager;
    VakInt count = 0;
    for (VakInt id = 0; id < ids->_size; ++id) count += ids->isLive(id) ? 1 : 0;
    return count;
  }

  // ---- Comparing --------------------------------------------------------------------------------

  void compare() {
    for (const auto& [key, x] : _world.vars) {
      VAK_FUZZ_REQUIRE(x.handle.getLB() == x.lb && x.handle.getUB() == x.ub);
      VAK_FUZZ_REQUIRE(x.handle.getKind() == x.kind);
    }
    for (const auto& [key, row] : _world.rows) compareRow(row);
    for (const auto& [key, model] : _world.models) compareModel(model);
  }
  void compareRow(const Row& row) const {
    VAK_FUZZ_REQUIRE(idOf(row.handle.getModel()) == row.model);
    Terms terms;
    for (const VakTerm term : row.handle.terms()) terms[idOf(term.var)] = term.coef;
    VAK_FUZZ_REQUIRE(terms == row.terms);
    VAK_FUZZ_REQUIRE(row.handle.getTermCount() == static_cast<VakInt>(terms.size()));
    if (row.isObjective) {
      const VakObjective objective = VakObjective::From(row.handle);
      VAK_FUZZ_REQUIRE(objective.getConstant() == row.lb);
      VAK_FUZZ_REQUIRE((objective.getSense() == VakSense::Maximize) == row.isMaximized);
      return;
    }
    const VakConstraint constraint = VakConstraint::From(row.handle);
    VAK_FUZZ_REQUIRE(constraint.getLB() == row.lb && constraint.getUB() == row.ub);
    VAK_FUZZ_REQUIRE(constraint.isKeptWhenEmpty() == row.isKept);
  }
  void compareModel(const Model& model) {
    std::set<VakExtractableI*> vars;
    for (const VakNumVar x : model.handle.variables()) vars.insert(idOf(x));
    VAK_FUZZ_REQUIRE(vars == model.vars);
    VAK_FUZZ_REQUIRE(model.handle.getVariableCount() == static_cast<VakInt>(vars.size()));
    std::set<VakExtractableI*> constraints;
    for (const VakConstraint c : model.handle.constraints()) constraints.insert(idOf(c));
    std::set<VakExtractableI*> expected;
    for (const auto& [key, row] : _world.rows) {
      if (!row.isObjective && row.model == idOf(model.handle)) expected.insert(key);
    }
    VAK_FUZZ_REQUIRE(constraints == expected);
    const Row* objective = objectiveOf(model);
    VAK_FUZZ_REQUIRE(idOf(model.handle.getObjective()) ==
                     (objective == nullptr ? nullptr : idOf(objective->handle)));
    VAK_FUZZ_SOUND(model.handle.check());
  }

  VakFuzzProgram& _program;
  VakFuzzEnv _scope;
  VakEnv _env;
  Listener* _listener = nullptr;  ///< Ends with the environment.
  World _world;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  VakFuzzProgram program(data, size);
  Models(program).run();
  return 0;
}

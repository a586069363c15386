// The modelling layer: variables, constraints, objectives, models and stored expressions are made,
// changed, removed, ended and copied, with algorithms that come, go, follow all changes and refuse
// some, beside plain records of all of it.

#include <algorithm>

#include "tests/fuzz/model_changes.h"
#include "tests/fuzz/model_copies.h"
#include "tests/fuzz/model_world.h"

namespace {

/// Steps by which objects come and go, and join and leave models.
class ModelObjects {
 public:
  explicit ModelObjects(ModelWorld& world) : _world(world), _program(world.program) {}

  void step() {
    using Step = void (ModelObjects::*)();
    static constexpr Step steps[] = {
        &ModelObjects::makeVar,          &ModelObjects::makeVar,       &ModelObjects::makeRow,
        &ModelObjects::makeRow,          &ModelObjects::makeModel,     &ModelObjects::makeStored,
        &ModelObjects::addVar,           &ModelObjects::addRow,        &ModelObjects::addRow,
        &ModelObjects::addRelation,      &ModelObjects::addColumns,    &ModelObjects::addRows,
        &ModelObjects::replaceObjective, &ModelObjects::removeRow,     &ModelObjects::removeVars,
        &ModelObjects::removeRows,       &ModelObjects::removeFromAll, &ModelObjects::endSome};
    (this->*steps[_program.below(std::size(steps))])();
  }

 private:
  static VakExtractableI* IdOf(VakExtractable object) { return ModelWorld::IdOf(object); }

  // ---- Making -----------------------------------------------------------------------------------

  void makeVar() {
    if (_world.vars.size() >= ModelWorld::Most) return;
    switch (_program.below(5)) {
      case 0:
        return enterVar(VakNumVar(_world.env), 0, VakGetInfinity(), VakVarKind::Continuous);
      case 1:
        return enterVar(VakBoolVar(_world.env), 0, 1, VakVarKind::Boolean);
      case 2:
        return enterVar(VakIntVar(_world.env, -3, 3), -3, 3, VakVarKind::Integer);
      default:
        break;
    }
    FuzzVar x;
    x.kind = _world.anyKind();
    x.lb = _world.anyNumber();
    x.ub = _world.anyNumber();
    const std::string message = VakFuzzMessage<VakModelError>(
        [&] { x.handle = VakNumVar(_world.env, x.lb, x.ub, x.kind); });
    VAK_FUZZ_REQUIRE(message.empty() != x.refuses(x.lb, x.ub));
    if (message.empty()) _world.vars.add(x);
  }
  void enterVar(VakNumVar x, VakNum lb, VakNum ub, VakVarKind kind) {
    _world.vars.add({x, lb, ub, kind});
  }

  // A constraint of a random kind, not made yet, and the relation for it.
  FuzzRow planRow(VakRelation& relation) {
    const VakExpr expr = _world.anyExpr();
    FuzzRow row;
    row.terms = ModelWorld::TermsOf(expr);
    row.lb = -VakGetInfinity();
    row.ub = VakGetInfinity();
    const VakNum bound = _world.anyNumber();
    switch (_program.below(4)) {
      case 0:
        relation = expr <= bound;
        row.ub = bound;
        break;
      case 1:
        relation = expr >= bound;
        row.lb = bound;
        break;
      case 2:
        relation = expr == bound;
        row.lb = row.ub = bound;
        break;
      default:
        relation = VakBetween(bound, expr, bound + 7);
        row.lb = bound;
        row.ub = bound + 7;
    }
    row.lb -= expr.getConstant();
    row.ub -= expr.getConstant();
    return row;
  }
  void makeRow() {
    if (_world.rows.size() >= ModelWorld::Most) return;
    if (_program.below(4) == 0) {
      const VakExpr expr = _world.anyExpr();
      FuzzRow row;
      row.terms = ModelWorld::TermsOf(expr);
      row.isObjective = true;
      row.isMaximized = _program.flag();
      row.lb = expr.getConstant();
      row.handle =
          VakObjective(_world.env, row.isMaximized ? VakSense::Maximize : VakSense::Minimize, expr);
      _world.rows.add(row);
      return;
    }
    VakRelation relation(0, {}, 0);
    FuzzRow row = planRow(relation);
    row.handle = VakConstraint(_world.env, relation);
    _world.rows.add(row);
  }
  void makeModel() {
    if (_world.models.size() >= 3) return;
    const VakModel model(_world.env, "model");
    _world.models.add({model, {}});
    _world.names[IdOf(model)] = "model";
  }
  void makeStored() {
    if (_world.stored.size() >= 4) return;
    const VakExpr expr = _world.anyExpr();
    _world.stored.add(
        {VakNumExpr(_world.env, expr), ModelWorld::TermsOf(expr), expr.getConstant()});
  }

  // ---- Adding -----------------------------------------------------------------------------------

  void addVar() {
    FuzzModel* model = _world.anyModel();
    const FuzzVar* x = _world.anyVar();
    if (model == nullptr || x == nullptr) return;
    if (!_world.attempt([&] { model->handle.add(x->handle); })) return;
    model->vars.insert(IdOf(x->handle));
  }
  void addRow() {
    FuzzModel* model = _world.anyModel();
    FuzzRow* row = _world.anyRow();
    if (model == nullptr || row == nullptr) return;
    const bool isWrong =
        row->model != nullptr || (row->isObjective && _world.objectiveOf(*model) != nullptr);
    const bool isDone = _world.attemptUnless(isWrong, [&] {
      row->isObjective ? model->handle.add(row->objective()) : model->handle.add(row->constraint());
    });
    if (!isDone) return;
    row->model = IdOf(model->handle);
    _world.join(*row);
  }
  void addRelation() {
    FuzzModel* model = _world.anyModel();
    if (model == nullptr || _world.rows.size() >= ModelWorld::Most) return;
    VakRelation relation(0, {}, 0);
    FuzzRow row = planRow(relation);
    const std::string name = _world.anyName();
    const bool isNamed = _program.flag();
    const bool isDone = _world.attempt([&] {
      row.handle = isNamed ? model->handle.add(relation, name) : model->handle.add(relation);
    });
    if (!isDone) return;
    enterMember(row, *model);
    if (isNamed) _world.names[IdOf(row.handle)] = name;
  }
  FuzzRow& enterMember(FuzzRow row, const FuzzModel& model) {
    row.model = IdOf(model.handle);
    FuzzRow& entered = _world.rows.add(row);
    _world.join(entered);
    return entered;
  }

  // Columns in constraints that are of the model or not, and with coefficients in its objective,
  // which is made when there is none.
  void addColumns() {
    FuzzModel* model = _world.anyModel();
    if (model == nullptr || _world.vars.size() >= ModelWorld::Most) return;
    std::vector<VakConstraint> rows;
    for (const auto key : _world.rows.order()) {
      if (!_world.rows.at(key).isObjective) rows.push_back(_world.rows.at(key).constraint());
    }
    const auto count = static_cast<std::size_t>(_program.below(4));
    std::vector<FuzzVar> planned(count);
    std::vector<VakNum> lbs, ubs, objective;
    std::vector<VakVarKind> kinds;
    std::vector<VakInt> starts{0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    bool isWrong = false;
    for (FuzzVar& x : planned) {
      x.kind = _world.anyKind();
      x.lb = _program.below(2);
      x.ub = _program.below(4);
      isWrong = isWrong || x.refuses(x.lb, x.ub);
      lbs.push_back(x.lb);
      ubs.push_back(x.ub);
      kinds.push_back(x.kind);
      objective.push_back(_world.anyCoef());
      for (int n = rows.empty() ? 0 : _program.below(4); n > 0; --n) {
        members.push_back(_program.byte() % static_cast<int>(rows.size()));
        coefs.push_back(_world.anyCoef());
        const VakLinear row = rows[static_cast<std::size_t>(members.back())];
        isWrong = isWrong || !row.getModel().is(model->handle);
      }
      starts.push_back(static_cast<VakInt>(members.size()));
    }
    std::vector<VakNumVar> made(count);
    const bool isDone = _world.attemptUnless(isWrong, [&] {
      model->handle.addColumns({count, lbs, ubs, kinds, objective, rows, {starts, members, coefs}},
                               made);
    });
    if (!isDone) return;
    for (std::size_t j = 0; j < count; ++j) {
      planned[j].handle = made[j];
      _world.vars.add(planned[j]);
      model->vars.insert(IdOf(made[j]));
      for (auto i = static_cast<std::size_t>(starts[j]);
           i < static_cast<std::size_t>(starts[j + 1]); ++i) {
        FuzzRow& row = _world.rows.at(IdOf(rows[static_cast<std::size_t>(members[i])]));
        row.put(IdOf(made[j]), row.terms[IdOf(made[j])] + coefs[i]);
      }
      enterCost(*model, made[j], objective[j]);
    }
  }
  void enterCost(const FuzzModel& model, VakNumVar x, VakNum cost) {
    if (cost == 0) return;
    FuzzRow* row = _world.objectiveOf(model);
    if (row == nullptr) {
      FuzzRow fresh;
      fresh.handle = model.handle.getObjective();
      fresh.isObjective = true;
      row = &enterMember(fresh, model);
    }
    row->put(IdOf(x), cost);
  }

  void addRows() {
    FuzzModel* model = _world.anyModel();
    if (model == nullptr || _world.rows.size() >= ModelWorld::Most) return;
    std::vector<VakNumVar> columns;
    for (const auto x : _world.vars.order()) columns.push_back(_world.vars.at(x).handle);
    std::vector<VakInt> starts{0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    VakRows rows;
    rows.count = static_cast<std::size_t>(_program.below(4));
    std::vector<FuzzRow> planned(rows.count);
    for (FuzzRow& row : planned) {
      row.lb = -VakGetInfinity();
      row.ub = VakGetInfinity();
      for (int n = columns.empty() ? 0 : _program.below(6); n > 0; --n) {
        const int j = _program.byte() % static_cast<int>(columns.size());
        members.push_back(j);
        coefs.push_back(_world.anyCoef());
        row.terms[IdOf(columns[static_cast<std::size_t>(j)])] += coefs.back();
      }
      std::erase_if(row.terms, [](const auto& t) { return t.second == 0; });
      starts.push_back(static_cast<VakInt>(members.size()));
    }
    rows.columns = columns;
    rows.matrix = {starts, members, coefs};
    std::vector<VakConstraint> made(rows.count);
    if (!_world.attempt([&] { model->handle.addRows(rows, made); })) return;
    for (std::size_t i = 0; i < made.size(); ++i) {
      planned[i].handle = made[i];
      enterMember(planned[i], *model);
    }
  }

  void replaceObjective() {
    FuzzModel* model = _world.anyModel();
    if (model == nullptr) return;
    FuzzRow* row = _world.objectiveOf(*model);
    const VakExpr expr = _world.anyExpr();
    const bool isMaximized = _program.flag();
    VakObjective made;
    const bool isDone = _world.attempt(
        [&] { made = isMaximized ? model->handle.maximize(expr) : model->handle.minimize(expr); });
    if (!isDone) return;
    if (row == nullptr) {
      FuzzRow fresh;
      fresh.handle = made;
      fresh.isObjective = true;
      row = &enterMember(fresh, *model);
    }
    VAK_FUZZ_REQUIRE(IdOf(row->handle) == IdOf(made));
    row->isMaximized = isMaximized;
    row->lb = expr.getConstant();
    row->terms = ModelWorld::TermsOf(expr);
    _world.join(*row);
  }

  // ---- Removing ---------------------------------------------------------------------------------

  void removeRow() {
    const FuzzModel* model = _world.anyModel();
    FuzzRow* row = _world.anyRow();
    if (model == nullptr || row == nullptr) return;
    const bool isDone = _world.attemptUnless(row->model != IdOf(model->handle), [&] {
      row->isObjective ? model->handle.remove(row->objective())
                       : model->handle.remove(row->constraint());
    });
    if (isDone) row->model = nullptr;
  }
  void removeRows() {
    const FuzzModel* model = _world.anyModel();
    if (model == nullptr) return;
    std::vector<VakConstraint> some;
    bool isWrong = false;
    for (int n = _program.below(4); n > 0; --n) {
      const FuzzRow* row = _world.anyConstraint();
      if (row == nullptr) continue;
      isWrong = isWrong || row->model != IdOf(model->handle) ||
                std::find(some.begin(), some.end(), row->constraint()) != some.end();
      some.push_back(row->constraint());
    }
    if (!_world.attemptUnless(isWrong, [&] { model->handle.remove(some); })) return;
    for (const VakConstraint c : some) _world.rows.at(IdOf(c)).model = nullptr;
  }
  void removeVars() {
    FuzzModel* model = _world.anyModel();
    if (model == nullptr) return;
    std::vector<VakNumVar> some;
    bool isWrong = false;
    for (int n = _program.below(4); n > 0; --n) {
      const FuzzVar* x = _world.anyVar();
      if (x == nullptr) return;
      isWrong = isWrong || model->vars.count(IdOf(x->handle)) == 0 ||
                std::any_of(some.begin(), some.end(),
                            [x](VakNumVar other) { return other.is(x->handle); });
      some.push_back(x->handle);
    }
    const bool isSingle = some.size() == 1;
    const bool isDone = _world.attemptUnless(
        isWrong, [&] { isSingle ? model->handle.remove(some[0]) : model->handle.remove(some); });
    if (!isDone) return;
    for (const VakNumVar x : some) {
      model->vars.erase(IdOf(x));
      for (auto& [key, row] : _world.rows) {
        if (row.model == IdOf(model->handle)) row.terms.erase(IdOf(x));
      }
    }
  }

  void removeFromAll() {
    std::vector<VakExtractable> objects;
    for (int n = 1 + _program.below(3); n > 0; --n) {
      const VakExtractable object = _world.anyObject();
      if (!object.isEmpty()) objects.push_back(object);
    }
    if (objects.size() == 1) {
      objects[0].removeFromAll();
    } else {
      VakRemoveAllFromAll(objects);
    }
    std::set<VakExtractableI*> removed;
    for (const VakExtractable object : objects) removed.insert(IdOf(object));
    // What they hold of one another stays; a model loses its rows and keeps its variables.
    for (auto& [key, row] : _world.rows) {
      if (removed.count(key) != removed.count(row.model)) row.model = nullptr;
    }
    _world.strike(removed, removed);
  }

  // One removal of objects of all classes, some of which go with others.
  void endSome() {
    std::vector<VakExtractable> objects;
    for (int n = 1 + _program.below(3); n > 0; --n) {
      const VakExtractable object = _world.anyObject();
      if (_world.models.holds(IdOf(object)) && _program.below(4) != 0) continue;
      objects.push_back(object);
    }
    std::set<VakExtractableI*> gone;
    for (const VakExtractable object : objects) gone.insert(IdOf(object));
    gone.erase(nullptr);
    if (objects.size() == 1) {
      objects[0].end();
      VAK_FUZZ_REQUIRE(objects[0].isEmpty());
    } else {
      VakEndAll(objects);
    }
    forget(gone);
  }
  void forget(std::set<VakExtractableI*> gone) {
    for (const auto& [key, row] : _world.rows) {
      if (row.model != nullptr && gone.count(row.model) > 0) gone.insert(key);
    }
    for (VakExtractableI* key : _world.strike(gone)) {
      const FuzzRow& row = _world.rows.at(key);
      if (!row.isObjective && !row.isKept) gone.insert(key);
    }
    for (VakExtractableI* key : gone) {
      if (_world.vars.holds(key)) _world.forgetVar(key);
      if (_world.rows.holds(key)) _world.forgetRow(key);
      if (_world.models.holds(key)) _world.forgetModel(key);
      if (_world.stored.holds(key)) _world.forgetStored(key);
    }
  }

  ModelWorld& _world;
  VakFuzzProgram& _program;
};

/// Algorithms come, take models, solve and go.
void changeAlgorithms(ModelWorld& world) {
  if (world.program.below(4) == 0) {
    world.listener->isAttached() ? world.listener->detach() : world.listener->attach();
    return;
  }
  if (world.mirror == nullptr) {
    world.mirror = new MirrorAlgorithm(world.env);
  }
  switch (world.program.below(5)) {
    case 0:
    case 1:
      if (const FuzzModel* model = world.anyModel(); model != nullptr) {
        world.mirror->extract(model->handle);
        world.mirrored = ModelWorld::IdOf(model->handle);
      }
      break;
    case 2:
      world.mirror->clear();
      world.mirrored = nullptr;
      break;
    case 3:
      world.mirror->end();
      world.mirror = nullptr;
      world.mirrored = nullptr;
      break;
    default:
      if (world.mirrored == nullptr) break;
      VAK_FUZZ_REQUIRE(world.mirror->solve() == VakStatus::Optimal);
      for (const VakNumVar x : world.mirror->getModel().variables()) {
        VAK_FUZZ_REQUIRE(world.mirror->getValue(x) == x.getLB());
      }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  VakFuzzProgram program(data, size);
  ModelWorld world(program);
  while (!program.isOver()) {
    switch (program.below(8)) {
      case 0:
      case 1:
      case 2:
      case 3:
        ModelObjects(world).step();
        break;
      case 4:
      case 5:
        ModelChanges(world).step();
        break;
      case 6:
        ModelCopies(world).step();
        break;
      default:
        changeAlgorithms(world);
    }
    world.compare();
  }
  return 0;
}

#include "tests/fuzz/model_copies.h"

void ModelCopies::step() {
  FuzzModel* model = _world.anyModel();
  if (model == nullptr) return;
  _varFor.clear();
  _rowTaken = nullptr;
  _rowFor = nullptr;
  const VakInt before = _world.countObjects();
  _program.flag() ? copyInside(*model) : copyAcross(*model);
  VAK_FUZZ_REQUIRE(_world.countObjects() == before);
}

void ModelCopies::copyInside(FuzzModel& model) {
  VakModel made;
  {
    VakCopier copier(_world.env);
    substituteVars(copier, _world.env);
    substituteRow(copier, model);
    // A constraint is in one model at most, also when it is there in the place of another.
    const bool isWrong =
        _rowTaken != nullptr && _rowTaken->model == IdOf(model.handle) && _rowFor->model != nullptr;
    const std::string message =
        VakFuzzMessage<VakModelError>([&] { made = copier.copy(model.handle); });
    VAK_FUZZ_REQUIRE(message.empty() != isWrong);
    if (isWrong) return;
    VAK_FUZZ_REQUIRE(copier.copy(model.handle).is(made));
    compare(copier, model, made);
    if (_program.flag()) return end(made);
  }
  end(made);
}

void ModelCopies::copyAcross(FuzzModel& model) {
  VakEnv other;
  {
    VakCopier copier(other);
    substituteVars(copier, other);
    const VakModel made = copier.copy(model.handle);
    compare(copier, model, made);
    VAK_FUZZ_SOUND(VakCheckModels(other));
  }
  other.end();
}

void ModelCopies::substituteVars(VakCopier& copier, VakEnv target) {
  const bool isInside = target == _world.env;
  for (int n = _program.below(3); n > 0; --n) {
    const FuzzVar* x = _world.anyVar();
    const FuzzVar* y = _world.anyVar();
    if (x == nullptr || y == nullptr) return;
    const VakNumVar replacement = isInside ? y->handle : VakNumVar(target);
    copier.substitute(x->handle, replacement);
    _varFor[IdOf(x->handle)] = replacement;
  }
}

void ModelCopies::substituteRow(VakCopier& copier, const FuzzModel& model) {
  if (_program.below(3) != 0) return;
  const FuzzRow* row = _world.anyConstraint();
  FuzzRow* replacement = _world.anyConstraint();
  if (row == nullptr || replacement == nullptr) return;
  copier.substitute(row->handle, replacement->handle);
  _rowTaken = row;
  _rowFor = replacement;
  const std::string message =
      VakFuzzMessage<VakModelError>([&] { copier.substitute(row->handle, model.handle); });
  VAK_FUZZ_REQUIRE(!message.empty());
}

void ModelCopies::compare(const VakCopier& copier, const FuzzModel& model, VakModel made) {
  std::set<VakExtractableI*> vars;
  for (VakExtractableI* key : model.vars) {
    const FuzzVar& x = _world.vars.at(key);
    compareVar(copier, x);
    vars.insert(IdOf(copier.getCopy(x.handle)));
  }
  VakInt terms = 0;
  VakInt constraints = 0;
  for (const auto& [key, row] : _world.rows) {
    if (row.model != IdOf(model.handle)) continue;
    if (&row == _rowTaken) {
      VAK_FUZZ_REQUIRE(copier.getCopy(row.constraint()).is(_rowFor->handle));
      VAK_FUZZ_REQUIRE(_rowFor->handle.getModel().is(made));
      for (const auto& [x, coef] : _rowFor->terms) vars.insert(x);
      terms += static_cast<VakInt>(_rowFor->terms.size());
      ++constraints;
      continue;
    }
    compareRow(copier, row, made);
    if (row.isObjective) continue;
    terms += copier.getCopy(row.constraint()).getTermCount();
    ++constraints;
  }
  std::set<VakExtractableI*> madeVars;
  for (const VakNumVar x : made.variables()) madeVars.insert(IdOf(x));
  VAK_FUZZ_REQUIRE(madeVars == vars);
  VAK_FUZZ_REQUIRE(made.getVariableCount() == static_cast<VakInt>(vars.size()));
  VAK_FUZZ_REQUIRE(made.getConstraintCount() == constraints && made.getTermCount() == terms);
  VAK_FUZZ_REQUIRE(made.getObjective().isEmpty() == (_world.objectiveOf(model) == nullptr));
  VAK_FUZZ_SOUND(made.check());
}

void ModelCopies::compareVar(const VakCopier& copier, const FuzzVar& x) {
  const VakNumVar copy = copier.getCopy(x.handle);
  const auto replaced = _varFor.find(IdOf(x.handle));
  if (replaced != _varFor.end()) {
    VAK_FUZZ_REQUIRE(IdOf(copy) == IdOf(replaced->second));
    return;
  }
  VAK_FUZZ_REQUIRE(!_world.vars.holds(IdOf(copy)));
  VAK_FUZZ_REQUIRE(copy.getLB() == x.lb && copy.getUB() == x.ub && copy.getKind() == x.kind);
  const auto named = _world.names.find(IdOf(x.handle));
  const char* name = copy.getName();
  VAK_FUZZ_REQUIRE((name != nullptr) == (named != _world.names.end()));
  VAK_FUZZ_REQUIRE(name == nullptr || named->second == name);
}

void ModelCopies::compareRow(const VakCopier& copier, const FuzzRow& row, VakModel made) {
  VakLinear copy;
  if (row.isObjective) {
    const VakObjective objective = copier.getCopy(row.objective());
    VAK_FUZZ_REQUIRE(objective.getConstant() == row.lb);
    VAK_FUZZ_REQUIRE((objective.getSense() == VakSense::Maximize) == row.isMaximized);
    copy = objective;
  } else {
    const VakConstraint constraint = copier.getCopy(row.constraint());
    VAK_FUZZ_REQUIRE(constraint.getLB() == row.lb && constraint.getUB() == row.ub);
    VAK_FUZZ_REQUIRE(constraint.isKeptWhenEmpty() == row.isKept);
    copy = constraint;
  }
  VAK_FUZZ_REQUIRE(copy.getModel().is(made) && !_world.rows.holds(IdOf(copy)));
  FuzzTerms expected;
  for (const auto& [x, coef] : row.terms) {
    expected[IdOf(copier.getCopy(_world.vars.at(x).handle))] += coef;
  }
  std::erase_if(expected, [](const auto& t) { return t.second == 0; });
  FuzzTerms terms;
  for (const VakTerm term : copy.terms()) terms[IdOf(term.var)] = term.coef;
  VAK_FUZZ_REQUIRE(terms == expected);
}

// The variables and the constraint that stand in the place of others stay.
void ModelCopies::end(VakModel made) {
  if (_rowFor != nullptr && _rowFor->handle.getModel().is(made)) {
    made.remove(_rowFor->constraint());
  }
  std::vector<VakExtractable> all{made};
  for (const VakNumVar x : made.variables()) {
    if (!_world.vars.holds(IdOf(x))) all.push_back(x);
  }
  VakEndAll(all);
}

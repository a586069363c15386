#include "tests/fuzz/model_changes.h"

#include <limits>

void ModelChanges::step() {
  using Step = void (ModelChanges::*)();
  static constexpr Step steps[] = {
      &ModelChanges::setVarBounds,  &ModelChanges::setManyVarBounds, &ModelChanges::setKind,
      &ModelChanges::setManyKinds,  &ModelChanges::setCoef,          &ModelChanges::setCoef,
      &ModelChanges::setCoefs,      &ModelChanges::setCoefsOfOne,    &ModelChanges::setObjective,
      &ModelChanges::setConstraint, &ModelChanges::setManyRowBounds, &ModelChanges::setStored,
      &ModelChanges::setName,       &ModelChanges::misuse,           &ModelChanges::compute};
  (this->*steps[_program.below(std::size(steps))])();
}

// ---- Variables ----------------------------------------------------------------------------------

void ModelChanges::setVarBounds() {
  FuzzVar* x = _world.anyVar();
  if (x == nullptr) return;
  VakNum lb = _world.anyNumber();
  VakNum ub = _world.anyNumber();
  const int which = _program.below(4);
  if (which == 1) ub = x->ub;
  if (which == 2) lb = x->lb;
  if (which == 3) ub = lb;
  const bool isDone = _world.attemptUnless(x->refuses(lb, ub), [&] {
    switch (which) {
      case 0:
        return x->handle.setBounds(lb, ub);
      case 1:
        return x->handle.setLB(lb);
      case 2:
        return x->handle.setUB(ub);
      default:
        return x->handle.fix(lb);
    }
  });
  if (!isDone) return;
  x->lb = lb;
  x->ub = ub;
}

void ModelChanges::setManyVarBounds() {
  std::vector<VakNumVar> vars;
  std::vector<VakNum> lbs;
  std::vector<VakNum> ubs;
  bool isWrong = false;
  for (int n = _program.below(6); n > 0; --n) {
    const FuzzVar* x = _world.anyVar();
    if (x == nullptr) return;
    vars.push_back(x->handle);
    lbs.push_back(_program.below(3) - 1);
    ubs.push_back(_program.below(3));
    isWrong = isWrong || x->refuses(lbs.back(), ubs.back());
  }
  if (!_world.attemptUnless(isWrong, [&] { VakSetBounds(vars, lbs, ubs); })) return;
  for (std::size_t i = 0; i < vars.size(); ++i) {
    FuzzVar& x = _world.vars.at(IdOf(vars[i]));
    x.lb = lbs[i];
    x.ub = ubs[i];
  }
}

void ModelChanges::setKind() {
  FuzzVar* x = _world.anyVar();
  if (x == nullptr) return;
  const VakVarKind kind = _world.anyKind();
  if (_world.attemptUnless(x->refuses(kind), [&] { x->handle.setKind(kind); })) x->kind = kind;
}

void ModelChanges::setManyKinds() {
  const VakVarKind kind = _world.anyKind();
  std::vector<VakNumVar> vars;
  bool isWrong = false;
  for (int n = _program.below(5); n > 0; --n) {
    const FuzzVar* x = _world.anyVar();
    if (x == nullptr) return;
    vars.push_back(x->handle);
    isWrong = isWrong || x->refuses(kind);
  }
  if (!_world.attemptUnless(isWrong, [&] { VakSetKind(vars, kind); })) return;
  for (const VakNumVar x : vars) _world.vars.at(IdOf(x)).kind = kind;
}

// ---- Coefficients -------------------------------------------------------------------------------

void ModelChanges::setCoef() {
  FuzzRow* row = _world.anyRow();
  const FuzzVar* x = _world.anyVar();
  if (row == nullptr || x == nullptr) return;
  const VakNum coef = _world.anyCoef();
  const bool isSum = _program.flag();
  const bool isDone = _world.attempt(
      [&] { isSum ? row->handle.addTerm(x->handle, coef) : row->handle.setCoef(x->handle, coef); });
  if (!isDone) return;
  const auto found = row->terms.find(IdOf(x->handle));
  const VakNum old = found == row->terms.end() ? 0 : found->second;
  row->put(IdOf(x->handle), isSum ? old + coef : coef);
  _world.join(*row);
}

void ModelChanges::setCoefs() {
  std::vector<VakCoef> coefs;
  for (int n = _program.below(8); n > 0; --n) {
    const FuzzRow* row = _world.anyRow();
    const FuzzVar* x = _world.anyVar();
    if (row == nullptr || x == nullptr) return;
    coefs.push_back({row->handle, x->handle, _world.anyCoef()});
  }
  if (!_world.attempt([&] { VakSetCoefs(coefs); })) return;
  for (const VakCoef& c : coefs) _world.rows.at(IdOf(c.linear)).put(IdOf(c.var), c.coef);
  for (const VakCoef& c : coefs) _world.join(_world.rows.at(IdOf(c.linear)));
}

void ModelChanges::setCoefsOfOne() {
  FuzzRow* row = _world.anyRow();
  if (row == nullptr) return;
  std::vector<VakNumVar> vars;
  std::vector<VakNum> coefs;
  for (int n = _program.below(6); n > 0; --n) {
    const FuzzVar* x = _world.anyVar();
    if (x == nullptr) return;
    vars.push_back(x->handle);
    coefs.push_back(_world.anyCoef());
  }
  if (!_world.attempt([&] { row->handle.setCoefs(vars, coefs); })) return;
  for (std::size_t i = 0; i < vars.size(); ++i) row->put(IdOf(vars[i]), coefs[i]);
  _world.join(*row);
}

// ---- Rows, expressions, names -------------------------------------------------------------------

void ModelChanges::setObjective() {
  FuzzRow* row = _world.anyRow();
  if (row == nullptr || !row->isObjective) return;
  const VakObjective objective = row->objective();
  const VakExpr expr = _world.anyExpr();
  switch (_program.below(3)) {
    case 0: {
      const VakSense sense = row->isMaximized ? VakSense::Minimize : VakSense::Maximize;
      if (_world.attempt([&] { objective.setSense(sense); })) row->isMaximized = !row->isMaximized;
      return;
    }
    case 1:
      if (!_world.attempt([&] { objective.setConstant(expr.getConstant()); })) return;
      row->lb = expr.getConstant();
      return;
    default:
      if (!_world.attempt([&] { objective.setExpr(expr); })) return;
      row->lb = expr.getConstant();
      row->terms = ModelWorld::TermsOf(expr);
      _world.join(*row);
  }
}

void ModelChanges::setConstraint() {
  FuzzRow* row = _world.anyConstraint();
  if (row == nullptr) return;
  const VakConstraint constraint = row->constraint();
  row->isKept = _program.flag();
  constraint.setKeptWhenEmpty(row->isKept);
  const VakNum lb = _world.anyNumber();
  const VakNum ub = lb + _program.byte() - 16;
  if (_program.flag()) {
    if (!_world.attemptUnless(lb > ub, [&] { constraint.setBounds(lb, ub); })) return;
    row->lb = lb;
    row->ub = ub;
    return;
  }
  const VakExpr expr = _world.anyExpr();
  const bool isDone =
      _world.attemptUnless(lb > ub, [&] { constraint.setRelation(VakBetween(lb, expr, ub)); });
  if (!isDone) return;
  row->lb = lb - expr.getConstant();
  row->ub = ub - expr.getConstant();
  row->terms = ModelWorld::TermsOf(expr);
  _world.join(*row);
}

void ModelChanges::setManyRowBounds() {
  std::vector<VakConstraint> constraints;
  std::vector<VakNum> lbs;
  std::vector<VakNum> ubs;
  bool isWrong = false;
  for (int n = _program.below(6); n > 0; --n) {
    const FuzzRow* row = _world.anyConstraint();
    if (row == nullptr) return;
    constraints.push_back(row->constraint());
    lbs.push_back(_program.below(4) - 2);
    ubs.push_back(_program.below(4) - 1);
    isWrong = isWrong || lbs.back() > ubs.back();
  }
  if (!_world.attemptUnless(isWrong, [&] { VakSetBounds(constraints, lbs, ubs); })) return;
  for (std::size_t i = 0; i < constraints.size(); ++i) {
    FuzzRow& row = _world.rows.at(IdOf(constraints[i]));
    row.lb = lbs[i];
    row.ub = ubs[i];
  }
}

void ModelChanges::setStored() {
  FuzzStored* expression = _world.stored.any(_program);
  if (expression == nullptr) return;
  const VakExpr expr = _world.anyExpr();
  if (!_world.attempt([&] { expression->handle.setExpr(expr); })) return;
  expression->constant = expr.getConstant();
  expression->terms = ModelWorld::TermsOf(expr);
}

void ModelChanges::setName() {
  const VakExtractable object = _world.anyObject();
  if (object.isEmpty()) return;
  const std::string name = _world.anyName();
  switch (_program.below(3)) {
    case 0:
      object.setName(nullptr);
      _world.names.erase(IdOf(object));
      return;
    case 1:
      object.setName(name.c_str());
      break;
    default:
      object.setName(std::string_view(name));
  }
  _world.names[IdOf(object)] = name;
}

// ---- What is refused, and what concerns no object -----------------------------------------------

// The comparison that follows shows that nothing changed.
void ModelChanges::misuse() {
  const FuzzRow* row = _world.anyRow();
  const FuzzVar* x = _world.anyVar();
  const FuzzModel* model = _world.anyModel();
  if (row == nullptr || x == nullptr || model == nullptr) return;
  const VakNum wrongNumbers[] = {std::numeric_limits<VakNum>::quiet_NaN(), VakGetInfinity(),
                                 -VakGetInfinity()};
  const VakNum wrong = wrongNumbers[_program.below(3)];
  const auto isRefused = [&](auto operation) { return _world.attemptUnless(true, operation); };
  switch (_program.below(8)) {
    case 0:
      isRefused([&] { row->handle.setCoef(x->handle, wrong); });
      break;
    case 1:
      isRefused([&] { model->handle.minimize(wrong * x->handle + 1); });
      break;
    case 2:
      isRefused([&] { model->handle.maximize(VakExpr(wrong)); });
      break;
    case 3:
      isRefused([&] { model->handle.add(_world.anyExpr() + wrong * x->handle <= 1); });
      break;
    case 4:
      isRefused([&] { x->handle.setBounds(wrongNumbers[0], 1); });
      isRefused([&] { x->handle.setLB(VakGetInfinity()); });
      isRefused([&] { x->handle.setUB(-VakGetInfinity()); });
      break;
    case 5: {
      const VakNumVar twice[] = {x->handle, x->handle};
      isRefused([&] { model->handle.remove(twice); });
      break;
    }
    case 6: {
      const VakNum one[] = {1};
      isRefused([&] { row->handle.setCoefs({}, one); });
      break;
    }
    default: {
      const std::string message =
          VakFuzzMessage<VakEmptyHandleException>([&] { row->handle.setCoef(VakNumVar(), 1); });
      VAK_FUZZ_REQUIRE(message == "VakNumVar: Using empty handle");
    }
  }
}

// Expressions are values: a substitution in one beside the same on a map.
void ModelChanges::compute() {
  const FuzzVar* x = _world.anyVar();
  if (x == nullptr) return;
  VakExpr expr = _world.anyExpr();
  const VakExpr part = _world.anyExpr();
  FuzzTerms terms = ModelWorld::TermsOf(expr);
  const auto found = terms.find(IdOf(x->handle));
  const VakNum coef = found == terms.end() ? 0 : found->second;
  VAK_FUZZ_REQUIRE(expr.getCoef(x->handle) == coef);
  const VakNum constant = expr.getConstant() + coef * part.getConstant();
  terms.erase(IdOf(x->handle));
  for (const auto& [y, c] : ModelWorld::TermsOf(part)) terms[y] += coef * c;
  std::erase_if(terms, [](const auto& t) { return t.second == 0; });

  expr.substitute(x->handle, part);
  VAK_FUZZ_REQUIRE(expr.getConstant() == constant && ModelWorld::TermsOf(expr) == terms);
  VAK_FUZZ_REQUIRE(!expr.isNormal() || expr.getTerms().size() == terms.size());
  expr.normalize();
  VAK_FUZZ_REQUIRE(expr.getTerms().size() == terms.size());
  VAK_FUZZ_REQUIRE(ModelWorld::TermsOf(expr) == terms);
  const VakExpr twice = expr + expr;
  expr *= 2;
  VAK_FUZZ_REQUIRE(ModelWorld::TermsOf(twice) == ModelWorld::TermsOf(expr));
  expr -= twice;
  VAK_FUZZ_REQUIRE(ModelWorld::TermsOf(expr).empty() && expr.getConstant() == 0);
}

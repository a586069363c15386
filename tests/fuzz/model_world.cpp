#include "tests/fuzz/model_world.h"

#include <algorithm>

#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"

void FuzzListener::tell() {
  const bool isThrowing = std::exchange(throwsNext, false);
  if (std::exchange(refusesNext, false)) {
    throw VakAlgorithm::CannotChangeException(VakAlgorithm(this), VakExtractableArray());
  }
  if (isThrowing) throw FuzzTrouble();
}

void FuzzRow::put(VakExtractableI* x, VakNum coef) {
  if (coef == 0) {
    terms.erase(x);
  } else {
    terms[x] = coef;
  }
}

ModelWorld::ModelWorld(VakFuzzProgram& bytes)
    : program(bytes), scope(bytes), env(scope.env), listener(new FuzzListener(env)) {}

ModelWorld::~ModelWorld() {
  if (!listener->isAttached()) listener->attach();
}

// ---- Choosing -----------------------------------------------------------------------------------

FuzzRow* ModelWorld::anyConstraint() {
  FuzzRow* row = anyRow();
  return row == nullptr || row->isObjective ? nullptr : row;
}

VakExtractable ModelWorld::anyObject() {
  const auto handleOf = [](auto* record) {
    return record == nullptr ? VakExtractable() : VakExtractable(record->handle);
  };
  switch (program.below(4)) {
    case 0:
      return handleOf(anyVar());
    case 1:
      return handleOf(anyRow());
    case 2:
      return handleOf(anyModel());
    default:
      return handleOf(stored.any(program));
  }
}

VakVarKind ModelWorld::anyKind() {
  constexpr VakVarKind kinds[] = {VakVarKind::Continuous, VakVarKind::Integer, VakVarKind::Boolean};
  return kinds[program.below(3)];
}

// Few short names, so that some occur twice, and long ones.
std::string ModelWorld::anyName() {
  const int length = program.below(8);
  if (length == 7) return std::string(static_cast<std::size_t>(program.byte()), 'n');
  std::string name;
  for (int i = 0; i < length / 2; ++i) name += static_cast<char>('a' + program.below(3));
  return name;
}

VakExpr ModelWorld::anyExpr() {
  VakExpr expr(anyNumber());
  for (int n = program.below(5); n > 0; --n) {
    const FuzzVar* x = anyVar();
    if (x == nullptr) break;
    const VakNum coef = anyCoef();
    switch (program.below(3)) {
      case 0:
        expr.addTerm(x->handle, coef);
        break;
      case 1:
        expr -= -coef * x->handle;
        break;
      default:
        expr = std::move(expr) + coef * x->handle;
    }
  }
  return expr;
}

ModelWorld::Armed::Armed(ModelWorld& world) : _world(world) {
  switch (world.program.below(16)) {
    case 0:
      world.listener->refusesNext = true;
      break;
    case 1:
      world.listener->throwsNext = true;
      break;
    case 2:
      if (world.mirror == nullptr) break;
      if (const VakExtractable object = world.anyObject(); !object.isEmpty()) {
        world.mirror->refused = {IdOf(object)};
      }
      break;
    case 3:
      if (world.mirror == nullptr) break;
      world.mirror->onHook = [mirror = world.mirror] {
        mirror->onHook = nullptr;
        throw FuzzTrouble();
      };
      break;
    default:
      break;
  }
}

ModelWorld::Armed::~Armed() {
  _world.listener->refusesNext = false;
  _world.listener->throwsNext = false;
  if (_world.mirror == nullptr) return;
  _world.mirror->refused.clear();
  _world.mirror->onHook = nullptr;
}

// ---- Records ------------------------------------------------------------------------------------

FuzzTerms ModelWorld::TermsOf(const VakExpr& expr) {
  FuzzTerms terms;
  for (const VakTerm& term : expr.getTerms()) terms[IdOf(term.var)] += term.coef;
  std::erase_if(terms, [](const auto& t) { return t.second == 0; });
  return terms;
}

FuzzRow* ModelWorld::objectiveOf(const FuzzModel& model) {
  for (auto& [key, row] : rows) {
    if (row.isObjective && row.model == IdOf(model.handle)) return &row;
  }
  return nullptr;
}

void ModelWorld::join(const FuzzRow& row) {
  if (row.model == nullptr) return;
  for (const auto& [x, coef] : row.terms) models.at(row.model).vars.insert(x);
}

std::vector<VakExtractableI*> ModelWorld::strike(const std::set<VakExtractableI*>& gone,
                                                 const std::set<VakExtractableI*>& spared) {
  const auto isGone = [&](const auto& term) { return gone.count(term.first) > 0; };
  std::vector<VakExtractableI*> emptied;
  for (auto& [key, row] : rows) {
    if (spared.count(key) > 0) continue;
    if (std::erase_if(row.terms, isGone) > 0 && row.terms.empty()) emptied.push_back(key);
  }
  for (auto& [key, expression] : stored) {
    if (spared.count(key) == 0) std::erase_if(expression.terms, isGone);
  }
  for (auto& [key, model] : models) {
    if (spared.count(key) > 0) continue;
    for (VakExtractableI* x : gone) model.vars.erase(x);
  }
  return emptied;
}

void ModelWorld::forgetRow(VakExtractableI* key) {
  rows.drop(key);
  names.erase(key);
}
void ModelWorld::forgetVar(VakExtractableI* key) {
  vars.drop(key);
  names.erase(key);
}
void ModelWorld::forgetModel(VakExtractableI* key) {
  models.drop(key);
  names.erase(key);
  if (mirrored == key) mirrored = nullptr;
}
void ModelWorld::forgetStored(VakExtractableI* key) {
  stored.drop(key);
  names.erase(key);
}

VakInt ModelWorld::countObjects() const {
  const VakIdManager* ids = env.getImpl()->_idManager;
  VakInt count = 0;
  for (VakInt id = 0; id < ids->_size; ++id) count += ids->isLive(id) ? 1 : 0;
  return count;
}

// ---- Comparing ----------------------------------------------------------------------------------

namespace {

FuzzTerms termsIn(const VakTermRange& range) {
  FuzzTerms terms;
  for (const VakTerm term : range) {
    VAK_FUZZ_REQUIRE(terms.emplace(ModelWorld::IdOf(term.var), term.coef).second);
  }
  return terms;
}

}  // namespace

void ModelWorld::compare() {
  VAK_FUZZ_REQUIRE(countObjects() ==
                   static_cast<VakInt>(vars.size() + rows.size() + models.size() + stored.size()));
  for (const auto& [key, x] : vars) {
    VAK_FUZZ_REQUIRE(x.handle.getLB() == x.lb && x.handle.getUB() == x.ub);
    VAK_FUZZ_REQUIRE(x.handle.getKind() == x.kind);
    compareName(x.handle);
  }
  for (const auto& [key, row] : rows) compareRow(row);
  for (const auto& [key, expression] : stored) {
    VAK_FUZZ_REQUIRE(termsIn(expression.handle.terms()) == expression.terms);
    VAK_FUZZ_REQUIRE(expression.handle.getConstant() == expression.constant);
    compareName(expression.handle);
  }
  for (const auto& [key, model] : models) compareModel(model);
  if (mirror != nullptr) compareMirror();
  scope.check();
}

void ModelWorld::compareName(VakExtractable object) const {
  const auto found = names.find(IdOf(object));
  const char* name = object.getName();
  VAK_FUZZ_REQUIRE((name != nullptr) == (found != names.end()));
  VAK_FUZZ_REQUIRE(name == nullptr || found->second == name);
}

void ModelWorld::compareRow(const FuzzRow& row) const {
  VAK_FUZZ_REQUIRE(IdOf(row.handle.getModel()) == row.model);
  VAK_FUZZ_REQUIRE(termsIn(row.handle.terms()) == row.terms);
  VAK_FUZZ_REQUIRE(row.handle.getTermCount() == static_cast<VakInt>(row.terms.size()));
  compareName(row.handle);
  if (row.isObjective) {
    const VakObjective objective = row.objective();
    VAK_FUZZ_REQUIRE(objective.getConstant() == row.lb);
    VAK_FUZZ_REQUIRE((objective.getSense() == VakSense::Maximize) == row.isMaximized);
    return;
  }
  const VakConstraint constraint = row.constraint();
  VAK_FUZZ_REQUIRE(constraint.getLB() == row.lb && constraint.getUB() == row.ub);
  VAK_FUZZ_REQUIRE(constraint.isKeptWhenEmpty() == row.isKept);
}

void ModelWorld::compareModel(const FuzzModel& model) {
  std::map<std::string, VakExtractableI*> firstNamed;
  std::set<VakExtractableI*> members;
  for (const VakNumVar x : model.handle.variables()) {
    VAK_FUZZ_REQUIRE(members.insert(IdOf(x)).second && model.handle.contains(x));
    const auto named = names.find(IdOf(x));
    if (named != names.end()) firstNamed.emplace(named->second, IdOf(x));
  }
  VAK_FUZZ_REQUIRE(members == model.vars);
  VAK_FUZZ_REQUIRE(model.handle.getVariableCount() == static_cast<VakInt>(members.size()));
  for (const auto& [name, x] : firstNamed) {
    VAK_FUZZ_REQUIRE(IdOf(model.handle.findVariable(name)) == x);
  }
  VAK_FUZZ_REQUIRE(model.handle.findVariable("no such name").isEmpty());

  std::set<VakExtractableI*> constraints;
  VakInt terms = 0;
  for (const VakConstraint c : model.handle.constraints()) {
    VAK_FUZZ_REQUIRE(constraints.insert(IdOf(c)).second && model.handle.contains(c));
    terms += c.getTermCount();
  }
  std::set<VakExtractableI*> expected;
  for (const auto& [key, row] : rows) {
    if (!row.isObjective && row.model == IdOf(model.handle)) expected.insert(key);
  }
  VAK_FUZZ_REQUIRE(constraints == expected);
  VAK_FUZZ_REQUIRE(model.handle.getTermCount() == terms);
  const FuzzRow* objective = objectiveOf(model);
  VAK_FUZZ_REQUIRE(IdOf(model.handle.getObjective()) ==
                   (objective == nullptr ? nullptr : IdOf(objective->handle)));
  compareName(model.handle);
  VAK_FUZZ_SOUND(model.handle.check());
}

// What the mirror was told one by one has to be what it would read now.
void ModelWorld::compareMirror() const {
  VAK_FUZZ_REQUIRE(IdOf(mirror->getModel()) == mirrored);
  if (mirror->isLoaded()) VAK_FUZZ_REQUIRE(mirror->text() == mirror->expectedText());
}

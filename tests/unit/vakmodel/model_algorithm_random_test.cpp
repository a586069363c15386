// Algorithms whose hooks keep a problem of their own, compared after every edit of a random
// sequence with the problem that a new algorithm loads. Some hooks refuse at random, and objects
// leave the models through the environment too.

#include <random>

#include "tests/support/environment_mode.h"
#include "tests/support/memory_modes.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/vakmodel/mirror_algorithm.h"
#include "tests/unit/vakmodel/model_text.h"
#include "vakenv/memory/id_manager.h"

namespace {

// Two models that share variables, one of them with two algorithms.
class Session {
 public:
  explicit Session(unsigned seed) : _random(seed) {
    follow(_models[0]);
    follow(_models[0]);
    follow(_models[1]);
    for (int i = 0; i < 6; ++i) makeVariable();
    rescan();
  }

  void run(int edits) {
    for (int i = 0; i < edits && !testing::Test::HasFatalFailure(); ++i) {
      _refuses = below(4) == 0;
      try {
        edit(below(25));
      } catch (VakAlgorithm::CannotChangeException& refusal) {
        ++_refusals;
        refusal.end();
      }
      _refuses = false;
      rescan();
      compare();
    }
  }

  int _edits = 0;
  int _refusals = 0;
  int _loads = 0;  ///< Beyond the first ones.

 private:
  int below(int n) { return static_cast<int>(_random() % static_cast<unsigned>(n)); }
  VakNum number() { return below(9) - 4; }
  VakModel model() { return _models[static_cast<std::size_t>(below(2))]; }
  template <class T>
  T one(const std::vector<T>& from) {
    return from[static_cast<std::size_t>(below(static_cast<int>(from.size())))];
  }
  template <class T>
  std::vector<T> some(std::vector<T> from, int most) {
    std::shuffle(from.begin(), from.end(), _random);
    from.resize(std::min(from.size(), static_cast<std::size_t>(below(most + 1))));
    return from;
  }

  void follow(VakModel model) {
    auto* mirror = new MirrorAlgorithm(_env);
    mirror->extract(model);
    mirror->onHook = [this, mirror, model] {
      if (_refuses && below(3) == 0) mirror->refused = {model.VakExtractable::getImpl()};
    };
    _mirrors.push_back(mirror);
  }

  // What there is, read from the environment, because refusals leave removals half done.
  void rescan() {
    _vars.clear();
    _rows.clear();
    _objectives.clear();
    const VakIdManager* ids = _scope->_idManager;
    for (VakInt id = 0; id < ids->_size; ++id) {
      if (!ids->isLive(id)) continue;
      const VakExtractable object(static_cast<VakExtractableI*>(ids->_data[id]));
      if (!VakNumVar::From(object).isEmpty()) _vars.push_back(VakNumVar::From(object));
      if (!VakConstraint::From(object).isEmpty()) _rows.push_back(VakConstraint::From(object));
      if (!VakObjective::From(object).isEmpty()) _objectives.push_back(VakObjective::From(object));
    }
  }

  void compare() {
    ++_edits;
    ASSERT_FALSE(_scope->isRemoving());
    for (const VakModel m : _models) ASSERT_EQ(m.check(), "");
    for (MirrorAlgorithm* mirror : _mirrors) {
      if (!mirror->isLoaded()) {
        ++_loads;
        static_cast<void>(mirror->solve());
      }
      ASSERT_EQ(mirror->text(), mirror->expectedText()) << mirror->log;
      mirror->log.clear();
    }
  }

  VakExpr expression() {
    VakExpr expr(number());
    for (int round = 0; round < 2; ++round) {
      for (const VakNumVar x : some(_vars, 3)) expr += number() * x;
    }
    return expr;
  }
  VakRelation relation() {
    const VakNum lb = number();
    return VakBetween(lb, expression(), lb + below(5));
  }
  VakLinear linear() {
    if (_rows.empty() || (below(4) == 0 && !_objectives.empty())) {
      return _objectives.empty() ? VakLinear(VakMinimize(_env)) : VakLinear(one(_objectives));
    }
    return one(_rows);
  }
  void makeVariable() {
    const auto kind = static_cast<VakVarKind>(below(3));
    const VakNum lb = kind == VakVarKind::Boolean ? 0 : number();
    _vars.emplace_back(_env, lb, kind == VakVarKind::Boolean ? 1 : lb + below(6), kind);
  }

  void edit(int which) {
    if (_vars.size() < 4 || which == 0) return makeVariable();
    if (_rows.size() < 3 || which == 1) return static_cast<void>(model().add(relation()));
    switch (which) {
      case 2:
        return static_cast<void>(VakConstraint(_env, relation()));
      case 3:
        return VakSetBounds(some(_vars, 4), 0.25, 0.75);
      case 4:
        return one(_vars).setKind(below(2) == 0 ? VakVarKind::Integer : VakVarKind::Continuous);
      case 5:
        return one(_rows).setBounds(number() - 9, number() + 9);
      case 6:
        return VakSetBounds(some(_rows, 3), -9 + number(), 9 + number());
      case 7:
        return linear().setCoef(one(_vars), number());
      case 8:
        return linear().addTerm(one(_vars), number());
      case 9:
        return manyCoefs();
      case 10:
        return one(_rows).setRelation(relation());
      case 11:
        return static_cast<void>(below(2) == 0 ? model().minimize(expression())
                                               : model().maximize(expression()));
      case 12:
        return changeObjective();
      case 13:
        return addOrRemoveRows();
      case 14:
        return addOrRemoveVariables();
      case 15:
        return addColumns();
      case 16:
        return addRows();
      case 17:
        return model().add(std::vector<VakRelation>{relation(), relation(), relation()});
      default:
        return removeThroughEnvironment(which);
    }
  }

  void manyCoefs() {
    std::vector<VakCoef> coefs;
    for (int i = 0; i < 3; ++i) {
      const VakLinear object = linear();
      for (const VakNumVar x : some(_vars, 6)) coefs.push_back({object, x, number()});
    }
    VakSetCoefs(coefs);
  }

  void changeObjective() {
    const VakModel m = model();
    const VakObjective objective = m.getObjective();
    if (objective.isEmpty()) return m.add(VakMaximize(_env, expression()));
    switch (below(3)) {
      case 0:
        return objective.setSense(below(2) == 0 ? VakSense::Minimize : VakSense::Maximize);
      case 1:
        return objective.setConstant(number());
      default:
        return m.remove(objective);
    }
  }

  void addOrRemoveRows() {
    const VakModel m = model();
    std::vector<VakConstraint> added;
    std::vector<VakConstraint> removed;
    for (const VakConstraint row : some(_rows, 4)) {
      if (row.getModel().isEmpty()) added.push_back(row);
      if (m.contains(row)) removed.push_back(row);
    }
    m.remove(removed);
    m.add(added);
  }

  void addOrRemoveVariables() {
    const VakModel m = model();
    std::vector<VakNumVar> added;
    std::vector<VakNumVar> removed;
    for (const VakNumVar x : some(_vars, 4)) (m.contains(x) ? removed : added).push_back(x);
    m.add(added);
    m.remove(removed);
  }

  void addColumns() {
    const VakModel m = model();
    const std::vector<VakConstraint> rows(m.constraints().begin(), m.constraints().end());
    std::vector<VakInt> starts = {0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    std::vector<VakNum> objective;
    for (int j = 0; j < 3; ++j) {
      for (int k = rows.empty() ? 0 : below(4); k > 0; --k) {
        members.push_back(below(static_cast<int>(rows.size())));
        coefs.push_back(number());
      }
      starts.push_back(static_cast<VakInt>(members.size()));
      objective.push_back(number());
    }
    VakColumns columns;
    columns.count = 3;
    columns.rows = rows;
    columns.matrix = {starts, members, coefs};
    if (below(2) == 0) columns.objective = objective;
    m.addColumns(columns);
  }

  void addRows() {
    std::vector<VakInt> starts = {0};
    std::vector<int> members;
    std::vector<VakNum> coefs;
    for (int i = 0; i < 2; ++i) {
      for (int k = below(5); k > 0; --k) {
        members.push_back(below(static_cast<int>(_vars.size())));
        coefs.push_back(number());
      }
      starts.push_back(static_cast<VakInt>(members.size()));
    }
    VakRows rows;
    rows.count = 2;
    rows.columns = _vars;
    rows.matrix = {starts, members, coefs};
    model().addRows(rows);
  }

  void removeThroughEnvironment(int which) {
    std::vector<VakExtractable> objects;
    for (const VakNumVar x : some(_vars, 2)) objects.push_back(x);
    if (below(2) == 0) {
      for (const VakConstraint row : some(_rows, 2)) objects.push_back(row);
    }
    if (below(6) == 0 && !_objectives.empty()) objects.push_back(one(_objectives));
    if (objects.empty()) return;
    switch (which) {
      case 18:
      case 19:
        return VakEndAll(objects);
      case 20:
        return VakRemoveAllFromAll(objects);
      case 21:
        return objects[0].end();
      case 22:
        return objects[0].removeFromAll();
      case 23:
        if (_refuses) return;  // The environment's own calls leave a removal open when refused.
        return _scope->removeFromAllAndDestroy(objects[0].getImpl(), 0);
      default:
        if (_refuses) return;
        return VakWithExtractableArray(
            objects, [this](VakExtractableArray array) { _scope->removeFromAll(array); });
    }
  }

  VakScopedEnv _scope;
  VakEnv _env = _scope.env;
  std::vector<VakModel> _models = {VakModel(_env, "m"), VakModel(_env, "n")};
  std::vector<MirrorAlgorithm*> _mirrors;
  std::vector<VakNumVar> _vars;
  std::vector<VakConstraint> _rows;
  std::vector<VakObjective> _objectives;
  bool _refuses = false;  ///< Whether hooks refuse at random.
  std::mt19937 _random;
};

class ModelAlgorithmRandom : public testing::TestWithParam<long> {};

TEST_P(ModelAlgorithmRandom, HooksKeepTheProblemInStepThroughFiveHundredSequences) {
  if (GetParam() != 0) {
    VakUsePooledMemory();
  } else {
    VakUseUnpooledMemory();
  }
  int edits = 0;
  int refusals = 0;
  int loads = 0;
  for (unsigned seed = 1; seed <= 500 && !HasFailure(); ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Session session(seed);
    session.run(40);
    edits += session._edits;
    refusals += session._refusals;
    loads += session._loads;
  }
  // Problems are kept, not loaded anew: only a refusal makes an algorithm drop its problem.
  EXPECT_EQ(edits, 20000);
  EXPECT_GT(refusals, 1000);
  EXPECT_LT(loads, refusals);
}

VAK_IN_BOTH_MEMORY_MODES(ModelAlgorithmRandom);

}  // namespace

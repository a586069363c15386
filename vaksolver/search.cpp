#include "vaksolver/search.h"

#include <CbcEventHandler.hpp>
#include <CbcHeuristic.hpp>
#include <CbcHeuristicDiveCoefficient.hpp>
#include <CbcHeuristicDiveFractional.hpp>
#include <CbcHeuristicDiveVectorLength.hpp>
#include <CbcHeuristicGreedy.hpp>
#include <CbcHeuristicRINS.hpp>
#include <CbcModel.hpp>
#include <CglClique.hpp>
#include <CglFlowCover.hpp>
#include <CglGomory.hpp>
#include <CglKnapsackCover.hpp>
#include <CglMixedIntegerRounding2.hpp>
#include <CglProbing.hpp>
#include <CglTwomir.hpp>
#include <CglZeroHalf.hpp>
#include <ClpEventHandler.hpp>
#include <OsiClpSolverInterface.hpp>
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>

#include "vaksolver/ready_copy.h"

namespace {

constexpr int MostNodesForAny =
    2000;                             // Among endlessly many points a search may find none forever.
constexpr double NoObjective = 1e49;  // The search calls objectives of this size unknown.

/// By how much a solution has to be better than the last one to be looked for.
double getIncrement(double objective) {
  constexpr double most = 1e-5;
  constexpr double least = 1e-10;
  return std::clamp(1e-7 * std::abs(objective), least, most);
}

void addCuts(CbcModel& tree) {
  constexpr int whenUseful = -1;  // At the root, and deeper if they helped there.
  constexpr int rootOnly = -99;
  // Deliberate: bounds are all that probing gives, and it does not look at the objective. The rows
  // that it makes of the objective cut the optimum off on rare occasions.
  CglProbing probing;
  probing.setUsingObjective(0);
  probing.setMaxPass(1);
  probing.setMaxPassRoot(5);
  probing.setMaxProbe(10);
  probing.setMaxProbeRoot(1000);
  probing.setMaxLook(50);
  probing.setMaxLookRoot(500);
  probing.setRowCuts(0);
  tree.addCutGenerator(&probing, whenUseful, "Probing");
  CglGomory gomory;
  gomory.setLimitAtRoot(1000);
  gomory.setLimit(50);
  tree.addCutGenerator(&gomory, whenUseful, "Gomory");
  CglKnapsackCover knapsack;
  tree.addCutGenerator(&knapsack, whenUseful, "Knapsack");
  CglClique clique;
  clique.setStarCliqueReport(false);
  clique.setRowCliqueReport(false);
  tree.addCutGenerator(&clique, whenUseful, "Clique");
  CglMixedIntegerRounding2 rounding;
  tree.addCutGenerator(&rounding, whenUseful, "Rounding");
  CglFlowCover flow;
  tree.addCutGenerator(&flow, whenUseful, "Flow");
  CglTwomir twomir;
  tree.addCutGenerator(&twomir, rootOnly, "Twomir");
  CglZeroHalf zeroHalf;
  tree.addCutGenerator(&zeroHalf, whenUseful, "ZeroHalf");
}

bool isBounded(const OsiSolverInterface& solver) {
  for (int j = 0; j < solver.getNumCols(); ++j) {
    if (solver.getColLower()[j] <= -COIN_DBL_MAX || solver.getColUpper()[j] >= COIN_DBL_MAX) {
      return false;
    }
  }
  return true;
}

// Deliberate: no feasibility pump. That of the libraries may give a point that it never filled in.
void addHeuristics(CbcModel& tree) {
  CbcRounding rounding(tree);
  tree.addHeuristic(&rounding, "Rounding");
  // Starts from the lower bounds, infinite ones included, and ends the program then.
  CbcHeuristicGreedyCover cover(tree);
  if (isBounded(*tree.solver())) tree.addHeuristic(&cover, "Cover");
  CbcHeuristicDiveCoefficient dive(tree);
  tree.addHeuristic(&dive, "Dive");
  CbcHeuristicDiveFractional fractional(tree);
  tree.addHeuristic(&fractional, "Fractional");
  CbcHeuristicDiveVectorLength length(tree);
  tree.addHeuristic(&length, "Length");
  CbcHeuristicRINS neighbours(tree);
  neighbours.setHowOften(100);
  tree.addHeuristic(&neighbours, "Neighbours");
}

}  // namespace

/// A linear relaxation, with the hot starts of strong branching made the plain way: those of the
/// base class for the simplex method end the program on some small models.
class VakSearchI::Relaxation final : public OsiClpSolverInterface {
 public:
  Relaxation() = default;
  explicit Relaxation(ClpSimplex* owned) : OsiClpSolverInterface(owned, true) {}
  [[nodiscard]] OsiSolverInterface* clone(bool copyData = true) const override {
    return copyData ? new Relaxation(*this) : new Relaxation;
  }
  void markHotStart() override { OsiSolverInterface::markHotStart(); }
  void solveFromHotStart() override { OsiSolverInterface::solveFromHotStart(); }
  void unmarkHotStart() override { OsiSolverInterface::unmarkHotStart(); }
};

/// Offers a point that is known already, as a heuristic. Deliberate: given as the incumbent before
/// the search, it may hide better ones, because columns are fixed on its account before it is
/// concluded from those that are left in which steps the objective moves.
class VakSearchI::Start final : public CbcHeuristic {
 public:
  Start() = default;
  Start(CbcModel& tree, const double* point, double objective)
      : CbcHeuristic(tree), _point(point, point + tree.getNumCols()), _objective(objective) {}
  [[nodiscard]] CbcHeuristic* clone() const override { return new Start(*this); }
  void resetModel(CbcModel* tree) override { model_ = tree; }
  int solution(double& objective, double* point) override {
    constexpr int nothing = 0;
    constexpr int found = 1;
    // Heuristics search in trees of their own, with other columns.
    const bool isTaken = static_cast<std::size_t>(model_->getNumCols()) != _point.size() ||
                         model_->parentModel() != nullptr || _objective >= objective;
    if (isTaken) return nothing;
    std::copy(_point.begin(), _point.end(), point);
    objective = _objective;
    return found;
  }

 private:
  std::vector<double> _point;
  double _objective = 0;
};

/// Stops the simplex method inside a search.
class VakSearchI::SimplexWatch final : public ClpEventHandler, public VakReadyCopy<SimplexWatch> {
 public:
  explicit SimplexWatch(VakRunControlI* control) : _control(control) {}
  [[nodiscard]] ClpEventHandler* clone() const override { return takeCopy(); }
  int event(Event which) override {
    constexpr int goOn = -1;
    constexpr int stop = 0;
    if (which != endOfIteration && which != endOfFactorization) return goOn;
    return _control->step() ? stop : goOn;
  }

 private:
  VakRunControlI* _control;  ///< Not owned.
};

/// Tells the control how far the search is, and stops the search. Heuristics search in small trees
/// of their own with copies of this; only the big tree's objectives mean anything.
class VakSearchI::TreeWatch final : public CbcEventHandler, public VakReadyCopy<TreeWatch> {
 public:
  TreeWatch(VakRunControlI* control, Scale scale, bool withObjective)
      : _control(control), _scale(scale), _withObjective(withObjective) {}
  [[nodiscard]] CbcEventHandler* clone() const override { return takeCopy(); }
  CbcAction event(CbcEvent which) override {
    const bool isBigTree = model_ != nullptr && model_->parentModel() == nullptr;
    if (isBigTree) note(which);
    return _control->step() ? stop : noAction;
  }

 private:
  void note(CbcEvent which) {
    (void)_control->stepSearch(model_->getNodeCount(), model_->getIterationCount());
    if (!_withObjective || _control->getReason() != VakStatus::NotSolved) return;
    if (model_->bestSolution() != nullptr && model_->getObjValue() < NoObjective) {
      _control->noteIncumbent(_scale(model_->getObjValue()));
    }
    const double bound = model_->getBestPossibleObjValue();
    if (which == node && std::abs(bound) < NoObjective) _control->noteBound(_scale(bound));
  }

  VakRunControlI* _control;  ///< Not owned.
  Scale _scale;
  bool _withObjective;
};

/// The copies that one search works on.
class VakSearchI::Tree {
 public:
  Tree(const VakSearchI& search, bool withObjective)
      : _search(search),
        _withObjective(withObjective),
        _messages(static_cast<int>(search._control.getOptions().logLevel)),
        _original(new ClpSimplex(search._lp.simplex())) {
    SimplexWatch watch(&search._control);
    watch.makeReady();
    _original.passInMessageHandler(&_messages);
    _original.messageHandler()->setLogLevel(_messages.getLevel());
    _original.getModelPtr()->passInEventHandler(&watch);
    for (int j = 0; j < _original.getNumCols(); ++j) {
      if (search._integer[static_cast<std::size_t>(j)] != 0) _original.setInteger(j);
      if (!withObjective) _original.setObjCoeff(j, 0);
    }
  }

  void run(const double* start) {
    const VakSolverOptions& options = _search._control.getOptions();
    _model = std::make_unique<CbcModel>(_original);
    _model->passInMessageHandler(&_messages);
    _model->setLogLevel(_messages.getLevel());
    TreeWatch watch(&_search._control, _search._scale, _withObjective);
    watch.makeReady();
    _model->passInEventHandler(&watch);
    setLimits(options);
    if (start != nullptr) {
      Start known(*_model, start, _search._lp.getObjective(start));
      _model->addHeuristic(&known, "Start");
    }
    if (options.cuts) addCuts(*_model);
    if (options.heuristics) addHeuristics(*_model);
    _model->initialSolve();
    _model->branchAndBound();
    _search._control.noteNodes(_model->getNodeCount());
    _search._control.endSimplex(_model->getIterationCount());
  }

  [[nodiscard]] VakSearchResultI::End getEnd() const {
    enum Secondary { Gap = 2, Nodes = 3, Time = 4, Event = 5, Solutions = 6, Iterations = 8 };
    if (_search._control.getReason() != VakStatus::NotSolved) return VakSearchResultI::End::Stopped;
    if (_model->isAbandoned()) return VakSearchResultI::End::Failed;
    switch (_model->secondaryStatus()) {
      case Nodes:
        return VakSearchResultI::End::NodeLimit;
      case Iterations:
        return VakSearchResultI::End::IterationLimit;
      case Time:
      case Event:
        return _search._control.step() ? VakSearchResultI::End::Stopped
                                       : VakSearchResultI::End::Failed;
      default:
        return VakSearchResultI::End::Complete;
    }
  }

  /// The best point; null for none.
  [[nodiscard]] const double* getPoint() const { return _model->bestSolution(); }

 private:
  void setLimits(const VakSolverOptions& options) {
    constexpr int mostNodes = std::numeric_limits<int>::max();
    const auto limit = [](VakInt value) {
      return value < 0 ? mostNodes : static_cast<int>(std::min<VakInt>(value, mostNodes));
    };
    _model->setIntegerTolerance(options.integralityTolerance);
    _model->setCutoffIncrement(getIncrement(_search._lp.getObjective(_search._lp.getValues())));
    _model->setAllowableGap(0);
    _model->setAllowableFractionGap(0);
    const int nodes = limit(options.nodeLimit);
    _model->setMaximumNodes(_withObjective ? nodes : std::min(nodes, MostNodesForAny));
    if (options.iterationLimit >= 0) {
      const VakInt left = options.iterationLimit - _search._control.getState().iterations;
      _model->setMaximumNumberIterations(limit(std::max<VakInt>(left, 0)));
    }
    _model->setRandomSeed(static_cast<int>(options.seed));
    _model->setUseElapsedTime(true);
    const VakNum seconds = _search._control.getSecondsLeft();
    if (std::isfinite(seconds)) _model->setMaximumSeconds(std::max(seconds, 0.0));
    if (!_withObjective) _model->setMaximumSolutions(1);
  }

  const VakSearchI& _search;
  bool _withObjective;
  VakMessagesI _messages;
  Relaxation _original;
  std::unique_ptr<CbcModel> _model;
};

VakSearchResultI VakSearchI::run(const double* start) { return search(start, true); }

VakSearchResultI VakSearchI::findAny() { return search(nullptr, false); }

VakSearchResultI VakSearchI::search(const double* start, bool withObjective) {
  VakSearchResultI result;
  Tree tree(*this, withObjective);
  tree.run(start);
  result.end = tree.getEnd();
  const double* point = tree.getPoint();
  if (point == nullptr) return result;
  if (auto settled = settle(point)) {
    result.values = std::move(*settled);
  } else if (_lp.isFeasible(point, getTolerance())) {
    result.values.assign(point, point + _lp.getColumnCount());
  } else {
    result.end = VakSearchResultI::End::Failed;
    return result;
  }
  result.objective = _lp.getObjective(result.values.data());
  result.found = true;
  return result;
}

double VakSearchI::getTolerance() const { return 10 * _control.getOptions().feasibilityTolerance; }

std::vector<double> VakSearchI::round(const double* values) const {
  std::vector<double> point(values, values + _lp.getColumnCount());
  for (std::size_t j = 0; j < point.size(); ++j) {
    if (_integer[j] != 0) point[j] = std::round(point[j]) + 0.0;  // Not -0.
  }
  return point;
}

std::optional<std::vector<double>> VakSearchI::settle(const double* values) const {
  std::vector<double> point = round(values);
  if (_lp.isFeasible(point.data(), getTolerance())) return point;
  return polish(values);
}

// Limits do not count here: what was found is to be kept, and with the whole columns fixed little
// is left to do.
std::optional<std::vector<double>> VakSearchI::polish(const double* values) const {
  std::vector<double> point = round(values);
  if (std::find(_integer.begin(), _integer.end(), 0) != _integer.end()) {
    const std::unique_ptr<VakLinearProgramI> rest = _lp.makeCopy();
    for (std::size_t j = 0; j < point.size(); ++j) {
      if (_integer[j] != 0) rest->setColumnBounds(static_cast<int>(j), point[j], point[j]);
    }
    VakSolverOptions options = _control.getOptions();
    options.timeLimit = VakGetInfinity();
    options.iterationLimit = -1;
    const std::function<bool()> never = [] { return false; };
    const VakSolver::ProgressCallback nobody;
    VakRunControlI control(options, never, nobody);
    if (rest->solve(control) != VakLinearProgramI::Outcome::Optimal) return std::nullopt;
    for (std::size_t j = 0; j < point.size(); ++j) {
      if (_integer[j] == 0) point[j] = rest->getValues()[j];
    }
  }
  if (!_lp.isFeasible(point.data(), getTolerance())) return std::nullopt;
  return point;
}

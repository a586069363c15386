#pragma once

// The implementation behind VakSolver.
//
//   VakSolverI ---> VakLinearProgramI    the loaded problem: columns, rows, last basis
//        |
//        +--------> _integer, _values    what the linear program knows nothing of
//
// A model with integer variables is solved in two steps: the linear relaxation, warm, by the loaded
// problem, and then a search that works on a copy.

#include <memory>
#include <vector>

#include "vakmodel/model_algorithm.h"
#include "vaksolver/options.h"
#include "vaksolver/solver.h"

/// A solver. Made with `new`, ended by end() or with the environment. One thread at a time, except
/// for abort().
///
/// Invariant, while loaded: column j of the linear program is that of getVariable(j), with
/// _integer[j] telling whether it has to be whole, and row i that of getConstraint(i); the linear
/// program minimises, so that a maximised objective has its coefficients negated there.
///
/// Threads: confined; only abort() is thread safe.
/// Phases: open; as VakModelAlgorithmI says.
/// Gives back: end().
class VakSolverI final : public VakModelAlgorithmI {
 public:
  static constexpr VakNum MostSize = 1e20;  ///< Finite numbers of this size are refused.

  explicit VakSolverI(VakEnvI* env);
  ~VakSolverI() noexcept(false) override;

  [[nodiscard]] bool hasSolution() const override;
  /// As the functions of VakSolver.
  [[nodiscard]] bool hasDuals() const { return hasSolution() && _hasDuals; }
  [[nodiscard]] VakNum getActivity(const VakConstraintI* constraint) const;
  [[nodiscard]] VakNum getSlack(const VakConstraintI* constraint) const;
  [[nodiscard]] VakNum getReducedCost(const VakModelVarI* variable) const;
  [[nodiscard]] VakNum getDual(const VakConstraintI* constraint) const;
  [[nodiscard]] bool isMip() const { return _integerCount > 0; }
  [[nodiscard]] VakNum getGap() const;

  /// What the last solve took, and counts since the beginning.
  struct Statistics {
    VakInt iterations = 0;      ///< Simplex iterations.
    VakInt nodes = 0;           ///< Nodes of the search tree.
    VakNum seconds = 0;         ///< Wall-clock time.
    VakNum bound = 0;           ///< In the model's sense; infinite when nothing is known.
    VakInt loads = 0;           ///< How often the problem was built anew.
    VakInt warmStarts = 0;      ///< How often the last basis was used.
    VakInt startSolutions = 0;  ///< How often the last solution was.
  };
  /// What the last solve took.
  [[nodiscard]] const Statistics& getStatistics() const { return _statistics; }

  VakSolver::ProgressCallback _progress;  ///< Empty for none.

 protected:
  void load() override;
  void unload() override;
  [[nodiscard]] VakStatus run() override;
  [[nodiscard]] VakNum getColumnValue(int column) const override;

  /// The hooks, as VakModelAlgorithmI says.
  void boundsChanged(std::span<const int> columns) override;
  void kindsChanged(std::span<const int> columns) override;
  void rowBoundsChanged(std::span<const int> rows) override;
  void coefsChanged(std::span<const Entry> entries) override;
  void rowChanged(int row) override;
  void objectiveChanged() override;
  void constantChanged() override {}
  void columnsAdded(int first, int count, std::span<const Entry> entries) override;
  void rowsAdded(int first, int count) override;
  void rowsRemoved(std::span<const int> rows) override;
  void columnsRemoved(std::span<const int> columns) override;

 private:
  /// Bounds as the solver understands them: of integer columns the whole numbers within.
  struct Bounds {
    VakNum lb;
    VakNum ub;
  };

  // Loading.
  void loadMatrix();
  void loadObjective();
  void setInteger(int column);
  void setBounds(int column);
  [[nodiscard]] Bounds boundsOf(int column) const;
  /// 1 for a model that is minimised, -1 for one that is maximised.
  [[nodiscard]] VakNum sign() const;
  [[nodiscard]] VakNum getConstant() const;
  /// An objective of the linear program as one of the model.
  [[nodiscard]] VakNum toModel(VakNum value) const;

  // Refusals: objects with numbers that are too large are collected, then refused together.
  void checkColumns(int first);
  void checkColumn(int column);
  void checkRows(int first);
  void checkRow(int row);
  void checkObjective();
  void checkEntries(std::span<const Entry> entries);
  void refuseFound();

  // Columns and rows that were added wait until the linear program is needed, so that adding one by
  // one costs no more than adding all at once.
  void setObjective(const Entry& entry);
  void addWaiting();
  void addWaitingColumns();
  void addWaitingRows();
  void sortWaitingEntries();
  void bringUpToDate();

  // Solving.
  [[nodiscard]] VakStatus solveLoaded(VakRunControlI& control);
  [[nodiscard]] bool hasEmptyDomain() const;
  [[nodiscard]] VakStatus solveWithoutTerms(VakRunControlI& control);
  [[nodiscard]] VakStatus solveLinear(VakRunControlI& control);
  [[nodiscard]] VakStatus solveInteger(VakStatus relaxation, VakRunControlI& control);
  [[nodiscard]] VakStatus endSearch(const VakSearchResultI& result, VakRunControlI& control);
  [[nodiscard]] VakStatus decideUnbounded(VakSearchI& search, VakRunControlI& control);
  [[nodiscard]] bool offerIncumbent(const VakSearchI& search, VakRunControlI& control);
  void takeIncumbent(const std::vector<VakNum>& values, VakRunControlI& control);
  void takeValues(const VakNum* values);
  [[nodiscard]] bool isWhole(const VakNum* values) const;
  void forgetSolution();

  // Results.
  [[nodiscard]] int rowOf(const VakConstraintI* constraint) const;
  void requireDuals() const;

  std::unique_ptr<VakLinearProgramI> _lp;  ///< The loaded problem; null while not loaded.
  VakSolverOptions _options;               ///< Of the solve that runs or ran last.
  Statistics _statistics;
  std::vector<char> _integer;              ///< By column: 1 for those that have to be whole.
  int _integerCount = 0;                   ///< Number of ones in it.
  std::vector<Entry> _newEntries;          ///< Of columns that wait, in rows that do not.
  std::vector<VakExtractableI*> _refused;  ///< Collected by the checks; empty in between.
  std::vector<VakNum> _values;             ///< By column: the solution, if there is one.
  std::vector<VakNum> _activities;         ///< By row: of the solution.
  std::vector<VakNum> _reducedCosts;       ///< By column, of the linear program, if there are any.
  std::vector<VakNum> _duals;              ///< By row, of the linear program, if there are any.
  std::vector<VakNum> _incumbent;  ///< By column: the last solution of a search; empty for none.
  bool _hasValues = false;
  bool _hasDuals = false;
  bool _isMatrixOutOfDate = false;     ///< The matrix is built anew before the next solve.
  bool _isObjectiveOutOfDate = false;  ///< The objective is read anew before the next solve.
};

#pragma once

// The loaded linear program: minimise, columns and rows by number, and the basis of the last solve.

#include <ClpSimplex.hpp>
#include <memory>
#include <span>
#include <vector>

#include "vaksolver/fwd.h"
#include "vaksolver/messages.h"
#include "vaksolver/options.h"

/// A matrix by columns, in plain arrays that the linear program takes over.
struct VakMatrixI {
  std::unique_ptr<CoinBigIndex[]> starts;  ///< One more than there are columns.
  std::unique_ptr<int[]> lengths;          ///< One for each column.
  std::unique_ptr<int[]> rows;             ///< One for each entry.
  std::unique_ptr<double[]> coefs;         ///< One for each entry.
};

/// A linear program that remembers what changed since it was solved, so that the next solve takes
/// the simplex method that fits. Owned by a solver; its thread only.
///
/// Bounds of VakGetInfinity() size count as none. Numbers of rows and columns are not checked.
class VakLinearProgramI {
 public:
  enum class Outcome : unsigned char {
    Optimal,
    Infeasible,
    Unbounded,
    Stopped,  ///< By the control, which knows why.
    IterationLimit,
    Failed,
  };

  /// Rows or columns to be added.
  struct Addition {
    std::vector<double> lbs;
    std::vector<double> ubs;
    std::vector<double> objective;     ///< Of columns only.
    std::vector<CoinBigIndex> starts;  ///< One more than there are rows or columns.
    std::vector<int> members;          ///< By entry: the column or row.
    std::vector<double> coefs;
  };

  VakLinearProgramI();
  /// The same program with the same basis.
  [[nodiscard]] std::unique_ptr<VakLinearProgramI> makeCopy() const;
  /// The simplex object, for a search that takes a copy.
  [[nodiscard]] const ClpSimplex& simplex() const { return _simplex; }

  [[nodiscard]] int getColumnCount() const { return _simplex.numberColumns(); }
  [[nodiscard]] int getRowCount() const { return _simplex.numberRows(); }
  [[nodiscard]] bool hasTerms() const;

  // ---- Changes ----------------------------------------------------------------------------------

  /// Makes room for this many rows and columns of an empty program.
  void resize(int rows, int columns) { _simplex.resize(rows, columns); }
  void setMatrix(int rows, int columns, VakMatrixI matrix);
  void setColumnBounds(int column, double lb, double ub);
  void setRowBounds(int row, double lb, double ub);
  void setObjective(int column, double coef);
  void setCoef(int row, int column, double coef);
  [[nodiscard]] bool hasCoef(int row, int column) const;
  void addColumns(const Addition& columns);
  void addRows(const Addition& rows);
  void removeColumns(std::span<const int> columns);
  void removeRows(std::span<const int> rows);

  // ---- Solving ----------------------------------------------------------------------------------

  /// True when the next solve can start from a basis.
  [[nodiscard]] bool hasBasis() const { return _hasBasis; }
  /// Forgets the basis.
  void forgetBasis();
  [[nodiscard]] Outcome solve(VakRunControlI& control);

  [[nodiscard]] const double* getValues() const { return _simplex.primalColumnSolution(); }
  [[nodiscard]] const double* getReducedCosts() const { return _simplex.dualColumnSolution(); }
  [[nodiscard]] const double* getDuals() const { return _simplex.dualRowSolution(); }
  /// The objective of a point.
  [[nodiscard]] double getObjective(const double* values) const;
  /// The activities of a point.
  [[nodiscard]] std::vector<double> getActivities(const double* values) const;
  /// True when the point is within all bounds, but for `tolerance` relative to their size.
  [[nodiscard]] bool isFeasible(const double* values, double tolerance) const;
  [[nodiscard]] bool isFeasible(const double* values, const std::vector<double>& activities,
                                double tolerance) const;

 private:
  class Watch;

  explicit VakLinearProgramI(const ClpSimplex& simplex);

  enum class Method : unsigned char { Primal, Dual };

  void forgetCopies();
  void prepare(const VakSolverOptions& options);
  [[nodiscard]] Method chooseMethod(const VakSolverOptions& options) const;
  void runFirst(VakRunControlI& control);
  void runSimplex(Method method, VakRunControlI& control);
  [[nodiscard]] Outcome settle(VakRunControlI& control);
  [[nodiscard]] Outcome decide(VakRunControlI& control);
  [[nodiscard]] Outcome toOutcome(const VakRunControlI& control) const;
  [[nodiscard]] bool isEnded(const VakRunControlI& control) const;
  [[nodiscard]] bool isOptimal() const;
  [[nodiscard]] bool isBroken(const VakRunControlI& control) const;
  void solveAgain(VakRunControlI& control);
  void limitIterations(const VakRunControlI& control);

  VakMessagesI _messages;  ///< Outlives the simplex object, which refers to it.
  ClpSimplex _simplex;
  bool _hasBasis = false;     ///< Whether the status arrays come from a solve.
  bool _feasChanged = false;  ///< Since the last solve something changed that breaks feasibility.
  bool _costChanged = false;  ///< Since the last solve something changed that breaks optimality.
};

#pragma once

// The base of algorithms that solve models.
//
//   extract(model)  --->  load()            columns and rows are listed, the problem is built
//   solve()         --->  load() if the problem was dropped; run()
//   changes of the model reach the hooks, which bring the loaded problem up to date
//
// Glossary
//   column, row   the number of a variable or a constraint in the algorithm's problem, from 0
//   entry         a coefficient at a row and a column; row -1 stands for the objective
//   loaded        the problem is there and in step with the model; an algorithm that is not loaded
//                 does not look at changes, because it will load anew

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "vakmodel/changes.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/linear_impl.h"
#include "vakmodel/model_impl.h"
#include "vakmodel/status.h"
#include "vakmodel/variable_impl.h"

/// An algorithm with at most one model of its environment.
///
/// Made with `new`, ended by end() or with the environment. One thread at a time, except for
/// abort().
///
/// A hook refuses a change with refuse(), before it alters the problem; the model then takes the
/// change back. A hook that throws anything else drops the problem, which is loaded anew when it is
/// needed. Hooks that are not overridden drop the problem, so an algorithm is right with load() and
/// run() alone, and each further hook makes it faster. A hook, and run(), may end their own
/// algorithm: it is detached at once and deleted when they have returned.
///
/// Threads: confined; only abort() is thread safe, signal handlers included. Hooks and run() are
///     called on the thread that changes or solves.
/// Phases: open; while it solves, extract, clear, solve and changes of its model throw
///     VakNoChangeDuringSearchException.
/// Gives back: end(), also from within hooks and run(); clear() takes back extract().
class VakModelAlgorithmI : public VakAlgorithmI {
 public:
  static constexpr int ObjectiveRow = -1;  ///< The row of the objective.

  /// A coefficient of the problem.
  struct Entry {
    int row;      ///< A row, or ObjectiveRow.
    int column;   ///< A column.
    VakNum coef;  ///< Its value.
  };

  /// Attaches itself; what it is told before it has a model, it ignores.
  explicit VakModelAlgorithmI(VakEnvI* env) : VakAlgorithmI(env) { attach(); }
  ~VakModelAlgorithmI() noexcept(false) override;

  /// Takes a model of the same environment in the place of the one it had, and loads it. Throws
  /// VakEmptyHandleException, VakModelMismatch, VakNoChangeDuringSearchException while it runs, and
  /// what load() throws; it has no model then.
  void extract(VakModel model);
  /// Lets the model go. Throws VakNoChangeDuringSearchException while it runs.
  void clear();
  /// Loads the model if it is not loaded, runs and returns how it ended. Throws
  /// VakAlgorithm::Exception ("No model was extracted.") without a model,
  /// VakNoChangeDuringSearchException while it runs, and what load() and run() throw; the status is
  /// Failed then.
  VakStatus solve();
  /// Asks a running solve to stop. From any thread, also from a signal handler.
  void abort() noexcept { _isAborting.store(true, std::memory_order_relaxed); }

  /// Detaches the algorithm and deletes it, at once or when it has returned from what it is doing.
  void end() override;

  /// The model, empty before extract(); what the last solve came to; whether it runs; whether the
  /// problem is built.
  [[nodiscard]] VakModel getModel() const { return VakModel(_model); }
  [[nodiscard]] VakStatus getStatus() const { return _status; }
  [[nodiscard]] bool isRunning() const { return _isRunning; }
  [[nodiscard]] bool isLoaded() const { return _isLoaded; }

  /// True when there is a solution to read values from.
  [[nodiscard]] virtual bool hasSolution() const = 0;
  /// The value of `x`, of `e`, of the objective in the solution. Throw VakAlgorithm::Exception:
  /// "No solution is available.", "A variable is not in the solved model.".
  [[nodiscard]] VakNum getValue(VakNumVar x) const;
  [[nodiscard]] VakNum getValue(const VakExpr& e) const;
  [[nodiscard]] VakNum getObjectiveValue() const;

  void change(const VakChange& change, const VakExtractableI* extractable) override;
  void change(const VakChange& change) override;
  /// Makes a model evaluator that answers from the solution; NaN where there is no value.
  void makeModelEvaluator() override;

  // ---- The problem ------------------------------------------------------------------------------

  /// The problem's size, and the object behind each column and row; the number is not checked.
  [[nodiscard]] int getColumnCount() const { return static_cast<int>(_columns.size()); }
  [[nodiscard]] int getRowCount() const { return static_cast<int>(_rows.size()); }
  [[nodiscard]] VakModelVarI* getVariable(int column) const {
    return _columns[static_cast<std::size_t>(column)];
  }
  [[nodiscard]] VakConstraintI* getConstraint(int row) const {
    return _rows[static_cast<std::size_t>(row)];
  }
  /// The column of a variable of this environment, -1 when it has none. Not meant for variables of
  /// other environments, whose identifiers are others'.
  [[nodiscard]] int getColumn(const VakExtractableI* variable) const {
    return Find(_columnOf, variable->id);
  }
  /// The row of a constraint, -1 when it has none.
  [[nodiscard]] int getRow(const VakExtractableI* constraint) const {
    return Find(_rowOf, constraint->id);
  }
  /// Calls `visit(column, coef)` for the terms of a constraint or objective of the model.
  template <class Visit>
  void forEachTerm(const VakLinearI* linear, Visit visit) const {
    for (const VakNumLinExprTermI* t = linear->_terms.first(); t != nullptr; t = t->next) {
      if (t->coef != 0) visit(getColumn(t->var), t->coef);
    }
  }

 protected:
  /// Builds the problem of all columns, rows and the objective.
  virtual void load() = 0;
  /// Solves the loaded problem. Polls isAborting().
  [[nodiscard]] virtual VakStatus run() = 0;
  /// The value of a column in the solution.
  [[nodiscard]] virtual VakNum getColumnValue(int column) const = 0;

  // ---- Hooks: the model changed. The numbers in the lists differ from each other. ---------------

  /// Bounds or kinds of columns, bounds of rows, or coefficients are others now.
  virtual void boundsChanged(std::span<const int> columns);
  virtual void kindsChanged(std::span<const int> columns);
  virtual void rowBoundsChanged(std::span<const int> rows);
  virtual void coefsChanged(std::span<const Entry> entries);
  /// Bounds and all coefficients of a row.
  virtual void rowChanged(int row);
  /// Anything of the objective: read it anew, if the model has one.
  virtual void objectiveChanged();
  virtual void senseChanged() { objectiveChanged(); }
  virtual void constantChanged() { objectiveChanged(); }
  /// `count` columns were added behind the others, with `entries` in rows that were there before
  /// and in the objective.
  virtual void columnsAdded(int first, int count, std::span<const Entry> entries);
  /// `count` rows were added behind the others.
  virtual void rowsAdded(int first, int count);
  /// These rows, in rising order, are gone; until this returns the others have their old numbers.
  virtual void rowsRemoved(std::span<const int> rows);
  /// The same for columns; they are gone from the rows and the objective too.
  virtual void columnsRemoved(std::span<const int> columns);
  /// The problem is dropped: nothing of it is needed any more.
  virtual void unload() {}

  /// Throws VakAlgorithm::CannotChangeException with these objects.
  [[noreturn]] void refuse(std::span<VakExtractableI* const> objects);
  /// Drops the problem: it is loaded anew when it is needed.
  void drop();
  [[nodiscard]] bool isAborting() const { return _isAborting.load(std::memory_order_relaxed); }

 private:
  class Busy;
  class Evaluator;
  using Numbers = std::vector<std::int32_t>;  // By identifier: 1 + the column or row; 0 for none.

  [[nodiscard]] static int Find(const Numbers& numbers, VakInt id) {
    const auto index = static_cast<std::size_t>(id);
    return index < numbers.size() ? numbers[index] - 1 : -1;
  }
  /// What a removal takes out of the problem.
  struct Removed {
    std::vector<int> rows;
    std::vector<int> columns;
    bool objective = false;
    bool model = false;
  };

  template <class T>
  static void Append(std::vector<T*>& list, Numbers& numbers, T* object) {
    const auto id = static_cast<std::size_t>(object->id);
    if (id >= numbers.size()) numbers.resize(std::max(id + 1, numbers.size() * 2), 0);
    list.push_back(object);
    numbers[id] = static_cast<std::int32_t>(list.size());
  }
  /// Drops what was appended behind the first `size`.
  template <class T>
  static void Truncate(std::vector<T*>& list, Numbers& numbers, int size);
  /// Drops these numbers, which rise; the others move up.
  template <class T>
  static void Compact(std::vector<T*>& list, Numbers& numbers, const std::vector<int>& removed);
  [[nodiscard]] static bool IsTakenBack(const VakChange& change);

  void requireRest() const;
  void list();
  void forgetModel();
  void loadModel();
  void endRun(VakStatus status);
  [[nodiscard]] bool concerns(const VakChange& change) const;
  [[nodiscard]] bool isKnown(const VakExtractableI* object) const;
  [[nodiscard]] bool isOurs(const VakExtractableI* linear) const;
  void update(const VakChange& change);
  void apply(const VakChange& change);
  [[nodiscard]] std::vector<int> columnsOf(std::span<VakModelVarI* const> variables) const;
  [[nodiscard]] std::vector<int> rowsOf(std::span<VakConstraintI* const> constraints) const;
  void addColumn(VakModelVarI* variable);
  void applyCoefs(std::span<const VakCoefI> coefs, int firstNewColumn);
  void applyTerms(const VakLinearI* linear);
  void applyAdded(const VakAddChange& change);
  void applyRemoved(const VakChange& change);
  void note(const VakExtractableI* object, Removed& removed) const;

  VakModelI* _model = nullptr;          ///< Not owned; null for none.
  std::vector<VakModelVarI*> _columns;  ///< By column; not owned; empty while not loaded.
  std::vector<VakConstraintI*> _rows;   ///< By row; not owned; empty while not loaded.
  Numbers _columnOf;
  Numbers _rowOf;
  const VakExtractableI* _objective = nullptr;  ///< The model's, as loaded; not owned; maybe null.
  VakStatus _status = VakStatus::NotSolved;
  int _hooksDone = 0;    ///< Hooks that the present change was passed to with success.
  int _busy = 0;         ///< Calls under way from which the algorithm has to return before it goes.
  bool _isOver = false;  ///< end() was called meanwhile.
  bool _isLoaded = false;
  bool _isRunning = false;
  bool _isOutOfDate = false;  ///< Something was taken out while it ran.
  std::atomic<bool> _isAborting = false;
};

/// A call during which the algorithm must not go. Ended meanwhile, it is deleted with the last one.
class VakModelAlgorithmI::Busy {
 public:
  /// Counts as busy until the end of the scope.
  explicit Busy(VakModelAlgorithmI* algorithm) : _algorithm(algorithm) { ++_algorithm->_busy; }
  ~Busy() noexcept(false) {
    if (--_algorithm->_busy == 0 && _algorithm->_isOver) delete _algorithm;
  }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;

 private:
  VakModelAlgorithmI* _algorithm;
};

#pragma once

// Solving models: linear programs by the simplex method, models with integer variables by branch
// and cut.
//
//   VakSolver solver(model);
//   if (solver.solve() == VakStatus::Optimal) std::cout << solver.getValue(x);
//   x.setUB(4);
//   solver.solve();         starts from where the last one ended
//
// Options are named properties of the environment (vaksolver/options.h).

#include <functional>

#include "vakmodel/constraint.h"
#include "vakmodel/contract/algorithm.h"
#include "vakmodel/expr.h"
#include "vakmodel/model.h"
#include "vakmodel/status.h"
#include "vakmodel/variable.h"
#include "vaksolver/fwd.h"

/// How far a running solve is.
///
/// Threads: confined to the solving thread.
/// Phases: open, during the call of the callback.
struct VakSolverProgress {
  VakNum seconds = 0;         ///< Wall time since the solve began.
  VakInt iterations = 0;      ///< Simplex iterations so far.
  VakInt nodes = 0;           ///< Nodes of the search tree so far; 0 for an LP.
  bool isMip = false;         ///< Whether there are integer variables.
  bool hasIncumbent = false;  ///< Whether a solution is known.
  VakNum incumbent = 0;       ///< The objective of the best known solution, if there is one.
  VakNum bound = 0;           ///< No solution is better than this; infinite when nothing is known.
};

/// Handle of a solver: one pointer, copied freely, never an owner; null when empty.
///
/// A solver has one model at most, extracts it once and brings its own copy of it up to date with
/// each change. It lives until end() or as long as its environment. Several solvers may be attached
/// to an environment, each with a model of its own or all with the same one.
///
/// A solver refuses, with VakAlgorithm::CannotChangeException, coefficients and finite bounds of
/// 1e20 and more in size: extract() and solve() throw it, and a change that brings such a number is
/// taken back by the model. The exception lists the variables, constraints and objective concerned;
/// whoever handles it calls its end(). While a solve runs, changes of its model throw
/// VakNoChangeDuringSearchException and are taken back, and so do extract, clear and solve.
///
/// Integer variables take the whole numbers within their bounds, so that fractional bounds are
/// rounded inwards: [0.5, 2.5] holds 1 and 2.
///
/// Every operation but getImpl, isEmpty, end and abort throws VakEmptyHandleException
/// ("VakSolver: Using empty handle") on an empty handle. One thread at a time, except for abort().
/// Solvers of different environments may run in different threads.
///
/// Threads: confined; only abort() is thread safe, signal handlers included. Solvers of different
///     environments run side by side.
/// Phases: open; while it solves, extract, clear, solve and changes of its model throw
///     VakNoChangeDuringSearchException. Results may be read until the next change.
/// Gives back: end() takes back the constructor, clear() takes back extract().
class VakSolver : public VakAlgorithm {
 public:
  /// What is called while the solver runs.
  using ProgressCallback = std::function<void(const VakSolverProgress&)>;

  VakSolver() = default;
  explicit VakSolver(VakSolverI* impl);
  /// A new solver without a model, attached to `env`. Throws VakEmptyHandleException
  /// ("VakEnv: Using empty handle").
  explicit VakSolver(VakEnv env);
  /// A new solver that extracts `model`. If that throws, the solver is gone again.
  explicit VakSolver(VakModel model);

  [[nodiscard]] VakSolverI* getImpl() const;
  [[nodiscard]] bool isEmpty() const { return _impl == nullptr; }
  /// The environment of the solver. Throws VakEmptyHandleException on an empty handle.
  [[nodiscard]] VakEnv getEnv() const;

  /// Takes `model`, of the same environment, in the place of the one it had. Throws
  /// VakModelMismatch and CannotChangeException; the solver has no model then.
  void extract(VakModel model) const;
  /// Lets the model go.
  void clear() const;
  /// The model, or an empty handle.
  [[nodiscard]] VakModel getModel() const;

  // ---- Solving ----------------------------------------------------------------------------------

  /// Solves the model and says how that ended. Starts from the last basis and, if it is still
  /// feasible, from the last incumbent. Throws VakAlgorithm::Exception ("No model was extracted."),
  /// VakSolverOptionError, CannotChangeException, std::bad_alloc and what the progress callback
  /// throws; the solver can be used on.
  VakStatus solve() const;
  /// Asks a running solve to stop with the best solution it has; VakStatus::Aborted. From any
  /// thread, from the progress callback, and from a signal handler. Nothing when none is running.
  void abort() const noexcept;
  /// `callback` is called on the solving thread, at most every "solver.progressInterval" seconds
  /// and not at all in a short solve. It may call abort() and read the model, but must not change
  /// it. An exception from it stops the solve and passes on. An empty function switches it off.
  void setProgressCallback(ProgressCallback callback) const;

  // ---- The result of the last solve -------------------------------------------------------------

  /// NotSolved as soon as the model changed.
  [[nodiscard]] VakStatus getStatus() const;
  /// True when there is a feasible solution; it belongs to the model as it was solved, so a change
  /// takes it away. What follows throws VakAlgorithm::Exception("No solution is available.")
  /// without one.
  [[nodiscard]] bool hasSolution() const;
  [[nodiscard]] VakNum getObjectiveValue() const;
  /// The value of a variable, whole for integer variables. Throws VakAlgorithm::Exception
  /// ("A variable is not in the solved model.").
  [[nodiscard]] VakNum getValue(VakNumVar x) const;
  [[nodiscard]] VakNum getValue(const VakExpr& e) const;
  /// The value of the constraint's terms. Throws VakAlgorithm::Exception
  /// ("A constraint is not in the solved model.").
  [[nodiscard]] VakNum getActivity(VakConstraint c) const;
  /// The distance of the activity from the nearer bound: negative when it is violated, infinite for
  /// a free row.
  [[nodiscard]] VakNum getSlack(VakConstraint c) const;

  /// True when there are dual values: after an LP that ended optimal.
  [[nodiscard]] bool hasDuals() const;
  /// By how much the objective grows for each unit by which the variable grows, while the
  /// constraints hold. Throws VakAlgorithm::Exception ("No dual values are available.").
  [[nodiscard]] VakNum getReducedCost(VakNumVar x) const;
  /// By how much the objective grows for each unit by which the bound that the constraint is at
  /// grows; 0 when it is at none.
  [[nodiscard]] VakNum getDual(VakConstraint c) const;

  // ---- Statistics -------------------------------------------------------------------------------

  /// Whether the model has integer variables. False without a loaded model.
  [[nodiscard]] bool isMip() const;
  /// Of the last solve: simplex iterations, nodes of the search tree, seconds of wall time.
  [[nodiscard]] VakInt getIterationCount() const;
  [[nodiscard]] VakInt getNodeCount() const;
  [[nodiscard]] VakNum getTime() const;
  /// No solution of the model is better than this; infinite when nothing is known.
  [[nodiscard]] VakNum getBestBound() const;
  /// |objective - best bound| / max(|objective|, 1e-10); infinite without a solution or a bound.
  [[nodiscard]] VakNum getGap() const;

  /// How often a problem was built from a whole model. Changes do not.
  [[nodiscard]] VakInt getLoadCount() const;
  /// How many solves began with the basis of an earlier one, and how many searches with an
  /// incumbent of an earlier one.
  [[nodiscard]] VakInt getWarmStartCount() const;
  [[nodiscard]] VakInt getStartSolutionCount() const;

 private:
  [[nodiscard]] VakSolverI* impl() const;
};

#pragma once

// What one solve has to watch: the limits, the wish to stop, and who wants to know how far it is.

#include <chrono>
#include <exception>
#include <functional>

#include "vakmodel/status.h"
#include "vaksolver/options.h"
#include "vaksolver/solver.h"

/// Watches one solve; on its stack, used by its thread only.
///
/// The simplex method and the search call the step functions often. Once one of them returned
/// true, all do, and getReason() says why. An exception of the progress callback is kept meanwhile,
/// since it must not pass through the libraries, and thrown by rethrow().
class VakRunControlI {
 public:
  /// `isAborting` tells whether somebody wants the solve to stop; `callback` may be empty. All
  /// three have to outlive this object.
  VakRunControlI(const VakSolverOptions& options, const std::function<bool()>& isAborting,
                 const VakSolver::ProgressCallback& callback);

  [[nodiscard]] const VakSolverOptions& getOptions() const { return *_options; }

  /// One simplex iteration is done, the `iterations`-th of the present call. True: stop.
  [[nodiscard]] bool stepSimplex(VakInt iterations) {
    _state.iterations = _iterationsBefore + iterations;
    return step();
  }
  /// The present call of the simplex method ended after `iterations`.
  void endSimplex(VakInt iterations) {
    _iterationsBefore += iterations;
    _state.iterations = _iterationsBefore;
  }
  /// The search stands at `nodes` nodes and `iterations` iterations of its own. True: stop.
  [[nodiscard]] bool stepSearch(VakInt nodes, VakInt iterations);
  /// Looks at the clock, at who wants to stop and at the gap, and reports. True: stop.
  [[nodiscard]] bool step();

  /// What is known of the objective, in the model's sense.
  void noteIncumbent(VakNum value);
  void noteBound(VakNum value) { _state.bound = value; }
  void noteMip() { _state.isMip = true; }
  void noteNodes(VakInt nodes) { _state.nodes = nodes; }

  [[nodiscard]] const VakSolverProgress& getState() const { return _state; }
  /// Why the solve is to stop; NotSolved when it is not.
  [[nodiscard]] VakStatus getReason() const { return _reason; }
  [[nodiscard]] VakNum getSeconds() const;
  /// Seconds until the time limit; infinite when there is none.
  [[nodiscard]] VakNum getSecondsLeft() const { return _options->timeLimit - getSeconds(); }
  /// Throws what the progress callback threw, if anything.
  void rethrow() const;

 private:
  using Clock = std::chrono::steady_clock;

  [[nodiscard]] bool stop(VakStatus reason);
  [[nodiscard]] bool isGapReached() const;
  void report(VakNum seconds);

  const VakSolverOptions* _options;
  const std::function<bool()>* _isAborting;
  const VakSolver::ProgressCallback* _callback;
  Clock::time_point _start;
  VakNum _nextReport;                        ///< Seconds since the start; infinite for never.
  VakSolverProgress _state;                  ///< As far as known.
  VakInt _iterationsBefore = 0;              ///< Iterations of the calls that ended.
  VakStatus _reason = VakStatus::NotSolved;  ///< Why to stop.
  std::exception_ptr _failure;               ///< What the callback threw; null for nothing.
};

/// |a - b| relative to the size of `a`.
[[nodiscard]] VakNum VakGetRelativeGap(VakNum incumbent, VakNum bound);

#pragma once

// The options of solvers: named properties of the environment, read at the start of each solve.
//
//   env.setNumProperty("solver.timeLimit", 60);
//   env.setIntProperty("solver.logLevel", 1);
//
// An option that is not there has its usual value. A number may be an integer property or a number
// property. Properties whose names begin with "solver." and are none of these are misspelt options,
// and refused.
//
//   name                         values         usual    meaning
//   solver.timeLimit             >= 0           none     seconds of wall time for one solve
//   solver.gap                   >= 0           0        stop when (incumbent - bound) is at most
//                                                        this share of the incumbent's size
//   solver.absoluteGap           >= 0           0        stop when incumbent - bound is at most
//                                                        this
//   solver.nodeLimit             whole, >= 0    none     nodes of the search tree
//   solver.iterationLimit        whole, >= 0    none     simplex iterations of an LP, or of the LP
//                                                        relaxations of a MIP together
//   solver.logLevel              0 to 4         0        what the solver writes to standard output:
//                                                        0 nothing, 1 a summary, more and more
//   solver.algorithm             text           auto     simplex of LPs: "auto", "primal", "dual"
//   solver.presolve              0 or 1         1        simplify a problem before it is solved
//                                                        from scratch
//   solver.cuts                  0 or 1         1        generate cutting planes
//   solver.heuristics            0 or 1         1        look for solutions by heuristics
//   solver.warmStart             0 or 1         1        start from the last basis and incumbent
//   solver.seed                  0 to 10^9      0        seed of random choices
//   solver.feasibilityTolerance  1e-9 to 1e-4   1e-7     by how much a bound may be violated
//   solver.optimalityTolerance   1e-9 to 1e-4   1e-7     by how much a reduced cost may have the
//                                                        wrong sign
//   solver.integralityTolerance  1e-9 to 1e-3   1e-6     how far from whole a number counts as
//                                                        whole
//   solver.progressInterval      >= 0           0.2      seconds between two calls of the progress
//                                                        callback

#include "vakbase/exception.h"
#include "vakbase/globals.h"
#include "vakenv/memory/env.h"
#include "vakmodel/errors.h"
#include "vaksolver/fwd.h"

/// The options of one solve. Limits that are not set are infinite, or -1 for whole numbers.
///
/// Threads: confined; each thread may have its own.
/// Phases: open to read the options of an environment; any afterwards.
struct VakSolverOptions {
  /// Which simplex method solves an LP.
  enum class Algorithm : unsigned char { Auto, Primal, Dual };

  /// Each as its option in the list above, with that unit and range.
  VakNum timeLimit = VakGetInfinity();
  VakNum gap = 0;
  VakNum absoluteGap = 0;
  VakInt nodeLimit = -1;
  VakInt iterationLimit = -1;
  VakInt logLevel = 0;
  Algorithm algorithm = Algorithm::Auto;
  bool presolve = true;
  bool cuts = true;
  bool heuristics = true;
  bool warmStart = true;
  VakInt seed = 0;
  VakNum feasibilityTolerance = 1e-7;
  VakNum optimalityTolerance = 1e-7;
  VakNum integralityTolerance = 1e-6;
  VakNum progressInterval = 0.2;
};

/// An option is misspelt or has a value that makes no sense, as in
/// option "solver.gap" must be a number of at least 0, not -1.
class VakSolverOptionError : private VakErrorText, public VakWrongUsage {
 public:
  /// Copies `text`.
  explicit VakSolverOptionError(const char* text);
  VakSolverOptionError(const VakSolverOptionError& other);
  VakSolverOptionError& operator=(const VakSolverOptionError& other);
  ~VakSolverOptionError() override;
};

/// The options that the properties of `env` say. Throws VakSolverOptionError, and
/// VakEmptyHandleException ("VakEnv: Using empty handle").
[[nodiscard]] VakSolverOptions VakReadSolverOptions(VakEnv env);

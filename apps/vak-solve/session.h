#pragma once

// One model on its way through the program: read, solved, edited, solved again, written.

#include <ostream>
#include <string>
#include <vector>

#include "apps/vak-solve/errors.h"
#include "apps/vak-solve/options.h"
#include "apps/vak-solve/progress.h"
#include "apps/vak-solve/report.h"
#include "apps/vak-solve/solution.h"
#include "vakenv/core/env_owner.h"
#include "vakmodel/model.h"
#include "vaksolver/solver.h"

namespace vaksolve {

/// Solves the model of the options in an environment of its own, which ends with it. Used once, by
/// one thread.
class Session {
 public:
  /// `out` takes the results; `progress` is a terminal, or null for no progress.
  Session(const Options& options, std::ostream& out, std::ostream* progress);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Does everything and says how the last solve ended. Throws InputError, OutputError,
  /// VakFileError and what else the library throws. What was printed before stays printed; as JSON,
  /// all is printed at the end or nothing.
  ExitCode run();

 private:
  /// A solve with the edit before it.
  struct Step {
    std::string edit;  ///< The option of the edit; empty for the first solve.
    std::string done;  ///< What the edit did, in words.
    Solution solution;
  };
  /// The model as it was read.
  struct Counts {
    long variables = 0;
    long integers = 0;
    long constraints = 0;
    long coefs = 0;
    const char* sense = "minimize";
  };

  void readModel();
  void extract();
  /// Solves and tells whether it did: not when the user interrupted the program before.
  bool solve(Solution& solution);
  /// Applies the edits, with a solve after each, and tells whether all were applied.
  bool applyEdits(Editor& editor, Solution last);
  void writeModel();

  [[nodiscard]] Counts countModel() const;
  void describeModel();
  void printStep(Step& step, const Solution* before);
  void printJson();

  const Options& _options;
  std::ostream& _out;
  ProgressLine _progress;
  PhaseTimes _times;
  VakEnvOwner _env;
  ChangeCounter* _changes = nullptr;  ///< Owned, in the environment; null without a report.
  VakModel _model;
  VakSolver _solver;
  Counts _counts;
  std::vector<Step> _steps;  ///< All solves so far, for JSON only.
  ExitCode _outcome = ExitCode::InternalError;
};

}  // namespace vaksolve

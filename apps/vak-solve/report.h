#pragma once

// What --report prints: where time and memory went and what the environment did.

#include <chrono>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "apps/vak-solve/json.h"
#include "vakenv/inspect/memory_report.h"
#include "vakenv/memory/env.h"
#include "vakenv/plugins/plugin.h"
#include "vaksolver/solver.h"

namespace vaksolve {

/// Counts the changes that an environment propagates, by their kind. Enters itself, and takes
/// itself out when it ends.
class ChangeCounter final : public VakNotifiedPlugIn {
  VAK_RTTI(ChangeCounter, VakNotifiedPlugIn);

  explicit ChangeCounter(VakEnvI* env);
  ~ChangeCounter() noexcept(false) override;

  void notifyChange(const VakChange& change, const VakExtractableI* extractable) override;
  /// How many there were, by the name of the kind.
  [[nodiscard]] const std::map<std::string, long>& getCounts() const { return _counts; }

 private:
  std::map<std::string, long> _counts;
};

/// Wall time by phase, in the order in which phases ended first.
class PhaseTimes {
 public:
  struct Phase {
    std::string name;
    double seconds;
  };

  /// Adds the time for which it lives to a phase.
  class Scope {
   public:
    /// `phase` is a literal.
    Scope(PhaseTimes& times, const char* phase);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    PhaseTimes& _times;
    const char* _phase;
    std::chrono::steady_clock::time_point _begin;
  };

  void add(const char* phase, double seconds);
  [[nodiscard]] const std::vector<Phase>& getPhases() const { return _phases; }

 private:
  std::vector<Phase> _phases;
};

/// A report on an environment, taken at one moment.
struct Report {
  std::vector<PhaseTimes::Phase> phases;
  std::map<std::string, long> changes;  ///< Propagated changes by kind.
  long loads = 0;       ///< How often the solver built its problem from the whole model.
  long warmStarts = 0;  ///< Solves that began with the basis of an earlier one.
  VakMemoryReport memory;
};

[[nodiscard]] Report makeReport(VakEnv env, const PhaseTimes& times, const ChangeCounter& changes,
                                const VakSolver& solver);
void writeReport(std::ostream& out, const Report& report);
/// Writes the report as a JSON object.
void writeJson(JsonWriter& json, const Report& report);

}  // namespace vaksolve

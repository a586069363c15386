#include "apps/vak-solve/report.h"

#include "apps/vak-solve/table.h"
#include "apps/vak-solve/text.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakmodel/contract/change.h"

namespace vaksolve {

// ---- Changes ------------------------------------------------------------------------------------

ChangeCounter::ChangeCounter(VakEnvI* env) : VakNotifiedPlugIn(env) {
  env->_plugInManager->addNotified(this);
}

ChangeCounter::~ChangeCounter() noexcept(false) { _env->_plugInManager->removeNotified(this); }

void ChangeCounter::notifyChange(const VakChange& change, const VakExtractableI* /*extractable*/) {
  ++_counts[change.getRttiTypeName()];
}

// ---- Times --------------------------------------------------------------------------------------

PhaseTimes::Scope::Scope(PhaseTimes& times, const char* phase)
    : _times(times), _phase(phase), _begin(std::chrono::steady_clock::now()) {}

PhaseTimes::Scope::~Scope() {
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - _begin;
  _times.add(_phase, time.count());
}

void PhaseTimes::add(const char* phase, double seconds) {
  for (Phase& known : _phases) {
    if (known.name != phase) continue;
    known.seconds += seconds;
    return;
  }
  _phases.push_back({phase, seconds});
}

// ---- The report ---------------------------------------------------------------------------------

Report makeReport(VakEnv env, const PhaseTimes& times, const ChangeCounter& changes,
                  const VakSolver& solver) {
  Report report;
  report.phases = times.getPhases();
  report.changes = changes.getCounts();
  report.loads = solver.getLoadCount();
  report.warmStarts = solver.getWarmStartCount();
  report.memory = VakMemoryReport(env);
  return report;
}

void writeReport(std::ostream& out, const Report& report) {
  out << "\nReport\n";
  Table times({"Phase", "Time"});
  for (const PhaseTimes::Phase& phase : report.phases) {
    times.add({phase.name, formatSeconds(phase.seconds)});
  }
  out << '\n';
  times.write(out);

  Table changes({"Change", "Propagated"});
  for (const auto& [kind, count] : report.changes) changes.add({kind, std::to_string(count)});
  if (changes.empty()) changes.add({"none", "0"});
  out << '\n';
  changes.write(out);
  out << "Problem loaded " << formatCount(report.loads, "time", "times") << ", started warm "
      << formatCount(report.warmStarts, "time", "times") << '\n';

  out << '\n' << report.memory;
}

void writeJson(JsonWriter& json, const Report& report) {
  json.beginObject();
  json.key("seconds");
  json.beginObject();
  for (const PhaseTimes::Phase& phase : report.phases) json.member(phase.name, phase.seconds);
  json.endObject();
  json.key("changes");
  json.beginObject();
  for (const auto& [kind, count] : report.changes) json.member(kind, count);
  json.endObject();
  json.member("loads", report.loads);
  json.member("warmStarts", report.warmStarts);
  json.key("memory");
  json.raw(report.memory.toJson());
  json.endObject();
}

}  // namespace vaksolve

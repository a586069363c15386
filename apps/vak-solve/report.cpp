#include "apps/vak-solve/report.h"

#include "apps/vak-solve/table.h"
#include "apps/vak-solve/text.h"
#include "vakenv/core/environment_impl.h"
#include "vakenv/memory/id_manager.h"
#include "vakenv/plugins/plugin_manager.h"
#include "vakmodel/contract/change.h"
#include "vakmodel/contract/extractable.h"

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

namespace {

std::vector<SizeClassUse> listClasses(const VakMemory& memory) {
  std::vector<SizeClassUse> classes;
  for (const VakFixedSizeAllocatorI* sizeClass : memory._allocators) {
    if (sizeClass->_bytesInUse == 0) continue;
    classes.push_back({sizeClass->_elementSize, sizeClass->_bytesInUse / sizeClass->_elementSize});
  }
  return classes;
}

void countObjects(const VakIdManager& ids, Report& report) {
  for (VakInt id = 0; id < ids._size; ++id) {
    if (!ids.isLive(id)) continue;
    const auto* object = static_cast<const VakExtractableI*>(ids._data[id]);
    TypeUse& use = report.types[object->getRttiTypeName()];
    ++use.objects;
    use.bytes += object->getExtractableSize();
    ++report.identifiers;
  }
}

void writeTable(std::ostream& out, const Table& table) {
  out << '\n';
  if (!table.empty()) table.write(out);
}

}  // namespace

Report makeReport(VakEnv env, const PhaseTimes& times, const ChangeCounter& changes,
                  const VakSolver& solver) {
  const VakEnvI* impl = env.getImpl();
  Report report;
  report.phases = times.getPhases();
  report.changes = changes.getCounts();
  report.classes = listClasses(impl->_memory);
  countObjects(*impl->_idManager, report);
  report.bytesInUse = env.getMemoryUsage();
  report.bytesObtained = env.getTotalMemoryUsage();
  report.identifierBytes = env.getIdManagerMemoryUsage();
  report.loads = solver.getLoadCount();
  report.warmStarts = solver.getWarmStartCount();
  return report;
}

void writeReport(std::ostream& out, const Report& report) {
  out << "\nReport\n";
  Table times({"Phase", "Time"});
  for (const PhaseTimes::Phase& phase : report.phases) {
    times.add({phase.name, formatSeconds(phase.seconds)});
  }
  writeTable(out, times);

  Table changes({"Change", "Propagated"});
  for (const auto& [kind, count] : report.changes) changes.add({kind, std::to_string(count)});
  if (changes.empty()) changes.add({"none", "0"});
  writeTable(out, changes);
  out << "Problem loaded " << formatCount(report.loads, "time", "times") << ", started warm "
      << formatCount(report.warmStarts, "time", "times") << '\n';

  Table objects({"Object type", "Objects", "Bytes"});
  for (const auto& [type, use] : report.types) {
    objects.add({type, std::to_string(use.objects), std::to_string(use.bytes)});
  }
  writeTable(out, objects);
  out << formatCount(report.identifiers, "identifier", "identifiers") << " in a table of "
      << report.identifierBytes << " bytes\n";

  Table classes({"Size class", "Elements", "Bytes"});
  for (const SizeClassUse& use : report.classes) {
    classes.add({std::to_string(use.elementSize), std::to_string(use.elements),
                 std::to_string(use.elementSize * use.elements)});
  }
  writeTable(out, classes);
  out << report.bytesInUse << " bytes in use, " << report.bytesObtained
      << " obtained from the system\n";
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
  json.key("objects");
  json.beginArray();
  for (const auto& [type, use] : report.types) {
    json.beginObject();
    json.member("type", type);
    json.member("objects", use.objects);
    json.member("bytes", use.bytes);
    json.endObject();
  }
  json.endArray();
  json.member("identifiers", report.identifiers);
  json.member("identifierBytes", report.identifierBytes);
  json.key("sizeClasses");
  json.beginArray();
  for (const SizeClassUse& use : report.classes) {
    json.beginObject();
    json.member("elementSize", use.elementSize);
    json.member("elements", use.elements);
    json.endObject();
  }
  json.endArray();
  json.member("bytesInUse", report.bytesInUse);
  json.member("bytesObtained", report.bytesObtained);
  json.endObject();
}

}  // namespace vaksolve

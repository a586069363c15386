// Reports of memory and dumps of models, which take no memory of the environment.

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/model_world.h"
#include "vakbase/checked_memory.h"
#include "vakbase/memory_ledger.h"
#include "vakenv/inspect/memory_report.h"
#include "vakmodel/dump.h"
#include "vaksupport/symbol_table.h"

namespace {

// Two reports of an environment, between which a model was made.
struct Reports {
  explicit Reports(VakStage& s) : before(s.env), w(s), after(s.env) {}
  VakMemoryReport before;
  VakModelWorld w;
  VakMemoryReport after;
  VakMemoryReport difference;
  VakUserStream out;
};

// Writes a model world to a stream that can fail.
VakScene dumping(VakStage& s, void (*dump)(VakModelWorld& w, std::ostream& out)) {
  auto& w = s.keep<VakModelWorld>(s);
  auto& out = s.keep<VakUserStream>();
  w.second = VakModel(s.env, "a second model with a rather long name");
  w.second.add(w.x + w.z <= 5, "a constraint with a rather long name");
  w.m.add(VakNumVar(s.env, 0, 1, VakVarKind::Boolean, "a \"quoted\" name of a variable"));
  w.before = w.state();
  return {.act = [&w, &out, dump] { dump(w, out); },
          .prepare = [&out] { out.clear(); },
          .afterFailure = [&w]() -> std::string {
            return w.state() == w.before ? "" : "the model was changed";
          }};
}

const std::vector<VakFaultOperation> _operations = {
    {"report the memory of an environment",
     "VakMemoryReport::VakMemoryReport VakMemoryReport::operator== "
     "VakMemoryReport::Amount::operator== VakMemoryReport::SizeClass::operator== "
     "VakMemoryReport::Type::operator== VakMemory::getHighWater VakSymbolTable::getMemoryUsage "
     "VakArrayTally::getTables VakArrayTally::getBytes",
     [](VakStage& s) {
       auto& w = s.keep<VakModelWorld>(s);
       w.env.makeSymbol("flow");
       auto& report = s.keep<VakMemoryReport>();
       return VakScene{.act = [&w, &report] { report = VakMemoryReport(w.env); },
                       .afterFailure = [&report]() -> std::string {
                         return report == VakMemoryReport() ? "" : "half a report is there";
                       },
                       .afterSuccess = [&w, &report]() -> std::string {
                         const VakEnvI* env = w.env.getImpl();
                         const VakMemoryReport::Amount symbols = {
                             env->_symbolTable->getSize(), env->_symbolTable->getMemoryUsage()};
                         bool fine = report.symbols == symbols && report == VakMemoryReport(w.env);
                         fine = fine && report.highWater == env->_memory.getHighWater();
                         fine = fine && report.arrays.count == env->_arrayTally.getTables() &&
                                report.arrays.bytes > env->_arrayTally.getBytes();
                         return fine ? "" : "the report";
                       }};
     }},
    {"take one report from another", "VakMemoryReport::operator-",
     [](VakStage& s) {
       auto& reports = s.keep<Reports>(s);
       return VakScene{.act = [&reports] { reports.difference = reports.after - reports.before; },
                       .afterFailure = [&reports]() -> std::string {
                         return reports.difference == VakMemoryReport() ? "" : "half a report";
                       },
                       .afterSuccess = [&reports]() -> std::string {
                         return reports.difference.inUse ==
                                        reports.after.inUse - reports.before.inUse
                                    ? ""
                                    : "the difference";
                       }};
     }},
    {"write a report as a table", "operator<<(VakMemoryReport)",
     [](VakStage& s) {
       auto& reports = s.keep<Reports>(s);
       return VakScene{.act = [&reports] { reports.out << reports.after; },
                       .prepare = [&reports] { reports.out.clear(); }};
     }},
    {"write a report as JSON", "VakMemoryReport::toJson",
     [](VakStage& s) {
       auto& reports = s.keep<Reports>(s);
       return VakScene{.act = [&reports] {
         if (reports.after.toJson().empty()) throw std::logic_error("no text");
       }};
     }},
    {"dump a model as text", "VakDumpModel VakGetKindName",
     [](VakStage& s) {
       return dumping(s, [](VakModelWorld& w, std::ostream& out) {
         VakDumpModel(out, w.m);
         VakDumpModel(out, VakModel());
         out << VakGetKindName(VakVarKind::Integer);
       });
     }},
    {"dump a part of a model as text", "VakDumpModel",
     [](VakStage& s) {
       return dumping(s, [](VakModelWorld& w, std::ostream& out) {
         VakDumpModel(out, w.m,
                      {.lineWidth = 20, .mostVariables = 1, .mostConstraints = 1, .mostTerms = 1});
       });
     }},
    {"draw a model as a graph", "VakDumpGraph",
     [](VakStage& s) {
       return dumping(s, [](VakModelWorld& w, std::ostream& out) { VakDumpGraph(out, w.m); });
     }},
    {"draw parts of several models as a graph", "VakDumpGraph",
     [](VakStage& s) {
       return dumping(s, [](VakModelWorld& w, std::ostream& out) {
         const std::array models = {w.m, w.second};
         VakDumpGraph(out, models, {.mostVariables = 2, .mostConstraints = 1, .mostTerms = 2});
       });
     }},
    {"choose what the checked build does",
     "VakSetLeftoverStream VakSetMemoryDefectHandler VakNameElement",
     [](VakStage& s) {
       auto& block = s.keep<void*>(nullptr);
       return VakScene{.act =
                           [&s, &block] {
                             VakSetLeftoverStream(VakSetLeftoverStream(nullptr));
                             VakSetMemoryDefectHandler(VakSetMemoryDefectHandler(nullptr));
                             block = s->allocate(40);
                             VakNameElement(block, typeid(int));
                           },
                       .undo = [&s, &block] { s->giveBack(block, 40); }};
     }},
};

}  // namespace

VakFaultGroup VakReportFaults() { return {"Reports and dumps", _operations}; }

#include "apps/vak-solve/session.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "apps/vak-solve/interruption.h"
#include "apps/vak-solve/text.h"
#include "vakenv/core/create.h"
#include "vakenv/core/version.h"
#include "vaksolver/files.h"

namespace vaksolve {

namespace {

// Of the objects that a solver refuses, a message names this many.
constexpr VakInt MostNamed = 3;

/// Throws unless a model can probably be written to `file`: a long solve should not end with a
/// mistake that was there from the beginning.
void requireWritable(const std::string& file) {
  namespace fs = std::filesystem;
  const auto fail = [&](const std::string& reason) {
    throw OutputError("--write " + printable(file) + ": " + reason);
  };
  std::string lower = file;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (!lower.ends_with(".mps") && !lower.ends_with(".lp") && !lower.ends_with(".mps.gz")) {
    fail("the name has to end in .mps, .mps.gz or .lp");
  }
  std::error_code ignored;
  if (fs::is_directory(file, ignored)) fail("this is a directory");
  fs::path folder = fs::path(file).parent_path();
  if (folder.empty()) folder = ".";
  if (access(folder.c_str(), F_OK) != 0) fail(std::strerror(errno));
  if (!fs::is_directory(folder, ignored)) fail(std::strerror(ENOTDIR));
  if (access(folder.c_str(), W_OK | X_OK) != 0) fail(std::strerror(errno));
}

/// The objects that the solver cannot take, in words. Ends the refusal.
std::string describeRefusal(VakAlgorithm::CannotChangeException& refusal) {
  const VakExtractableArray objects = refusal.getExtractables();
  std::string text = "the solver cannot take numbers as large as those of ";
  if (objects.getImpl() == nullptr || objects.getSize() == 0) {
    text += "this model";
  } else {
    const VakInt size = objects.getSize();
    for (VakInt i = 0; i < std::min(size, MostNamed); ++i) {
      text += (i == 0 ? "" : ", ") + quote(nameOf(VakExtractable(objects[i])));
    }
    if (size > MostNamed) text += " and " + std::to_string(size - MostNamed) + " more";
  }
  refusal.end();
  return text;
}

}  // namespace

Session::Session(const Options& options, std::ostream& out, std::ostream* progress)
    : _options(options), _out(out), _progress(progress) {
  if (options.isReported) _changes = VakCreate<ChangeCounter>(_env);
}

Session::~Session() {
  delete _changes;
  _solver.end();
}

ExitCode Session::run() {
  if (!_options.writeTo.empty()) requireWritable(_options.writeTo);
  readModel();
  Editor editor(_model);
  editor.check(_options.edits);
  extract();
  describeModel();
  Step step;
  if (solve(step.solution)) {
    printStep(step, nullptr);
    if (applyEdits(editor, std::move(step.solution)) && !_options.writeTo.empty()) writeModel();
  }
  if (_options.isJson) {
    printJson();
  } else if (_options.isReported) {
    writeReport(_out, makeReport(_env, _times, *_changes, _solver));
  }
  _out.flush();
  return _outcome;
}

void Session::readModel() {
  const PhaseTimes::Scope time(_times, "read");
  _model = VakReadModel(_env, _options.model.c_str());
}

void Session::extract() {
  const PhaseTimes::Scope time(_times, "extract");
  if (_options.timeLimit) _env.setNumProperty("solver.timeLimit", *_options.timeLimit);
  if (_options.gap) _env.setNumProperty("solver.gap", *_options.gap);
  _solver = VakSolver(_env);
  _solver.setProgressCallback([this](const VakSolverProgress& progress) {
    // A request that came just before the solve began is passed on here.
    if (Interruption::IsRequested()) _solver.abort();
    _progress.show(progress);
  });
  try {
    _solver.extract(_model);
  } catch (VakAlgorithm::CannotChangeException& refusal) {
    throw InputError(printable(_options.model) + ": " + describeRefusal(refusal));
  }
}

bool Session::solve(Solution& solution) {
  if (Interruption::IsRequested()) {
    _outcome = ExitCode::Aborted;
    if (!_options.isJson) _out << "Interrupted\n";
    return false;
  }
  {
    const PhaseTimes::Scope time(_times, "solve");
    const Interruption interruption(_solver);
    _solver.solve();
  }
  _progress.clear();
  const bool withValues = !_options.isQuiet;
  solution = takeSolution(_solver, _model, withValues);
  _outcome = exitCodeOf(solution.status, solution.hasSolution);
  return true;
}

bool Session::applyEdits(Editor& editor, Solution last) {
  for (const Edit& edit : _options.edits) {
    if (_outcome == ExitCode::Aborted) return false;
    Step step;
    step.edit = edit.text;
    {
      const PhaseTimes::Scope time(_times, "edit");
      step.done = editor.apply(edit);
    }
    if (!solve(step.solution)) return false;
    printStep(step, &last);
    last = std::move(step.solution);
  }
  return _outcome != ExitCode::Aborted;
}

void Session::writeModel() {
  const PhaseTimes::Scope time(_times, "write");
  try {
    VakWriteModel(_model, _options.writeTo.c_str());
  } catch (const VakFileError& error) {
    throw OutputError("--write " + printable(_options.writeTo) + ": " + error.getReason());
  }
  if (!_options.isJson && !_options.isQuiet) {
    _out << "\nWrote the model to " << printable(_options.writeTo) << '\n';
  }
}

// ---- Printing -----------------------------------------------------------------------------------

Session::Counts Session::countModel() const {
  Counts counts;
  counts.variables = _model.getVariableCount();
  counts.constraints = _model.getConstraintCount();
  counts.coefs = _model.getTermCount();
  for (const VakNumVar x : _model.variables()) counts.integers += x.isInteger() ? 1 : 0;
  const VakObjective objective = _model.getObjective();
  const bool isMaximized = !objective.isEmpty() && objective.getSense() == VakSense::Maximize;
  counts.sense = isMaximized ? "maximize" : "minimize";
  return counts;
}

void Session::describeModel() {
  _counts = countModel();
  if (_options.isJson || _options.isQuiet) return;
  _out << printable(_options.model) << ": " << _counts.sense << ", "
       << formatCount(_counts.variables, "variable", "variables");
  if (_counts.integers != 0) _out << " (" << _counts.integers << " integer)";
  _out << ", " << formatCount(_counts.constraints, "constraint", "constraints") << ", "
       << formatCount(_counts.coefs, "coefficient", "coefficients") << '\n';
  // A long solve begins after the reader knows what is solved.
  _out.flush();
}

void Session::printStep(Step& step, const Solution* before) {
  if (_options.isJson) {
    _steps.push_back({step.edit, step.done, step.solution});
    return;
  }
  if (_options.isQuiet) {
    _out << summarize(step.solution) << std::flush;
    return;
  }
  if (before != nullptr) _out << "\nEdit: " << printable(step.done) << '\n';
  _out << summarize(step.solution, before);
  if (before != nullptr) {
    writeDifference(_out, *before, step.solution, _options.rows);
  } else {
    writeValues(_out, step.solution, _options.rows);
  }
  _out.flush();
}

void Session::printJson() {
  JsonWriter json(_out);
  json.beginObject();
  json.member("program", "vak-solve");
  json.member("version", VakTarnVersion::_identification);
  json.member("file", _options.model);
  json.key("model");
  json.beginObject();
  json.member("name", std::string(_model.getName() == nullptr ? "" : _model.getName()));
  json.member("sense", _counts.sense);
  json.member("variables", _counts.variables);
  json.member("integerVariables", _counts.integers);
  json.member("constraints", _counts.constraints);
  json.member("coefficients", _counts.coefs);
  json.endObject();
  json.key("solves");
  json.beginArray();
  for (const Step& step : _steps) {
    json.beginObject();
    if (!step.edit.empty()) {
      json.member("option", step.edit);
      json.member("edit", step.done);
    }
    writeJson(json, step.solution);
    json.endObject();
  }
  json.endArray();
  if (_options.isReported) {
    json.key("report");
    writeJson(json, makeReport(_env, _times, *_changes, _solver));
  }
  json.member("exitCode", static_cast<long>(_outcome));
  json.endObject();
}

}  // namespace vaksolve

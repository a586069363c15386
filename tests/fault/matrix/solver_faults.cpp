// The solver and the files of models. The libraries behind them get all their memory: what is made to
// fail is ours.

#include <unistd.h>

#include <filesystem>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakenv/memory/id_manager.h"
#include "vakmodel/modelling.h"
#include "vaksolver/files.h"
#include "vaksolver/options.h"
#include "vaksolver/solver.h"
#include "vaksolver/solver_impl.h"

namespace {

// A small model, with integer variables if wanted, and a solver of it.
struct World {
  World(VakStage& s, bool isInteger)
      : env(s.env), m(env, "m"), x(env, 0, 40, "x"), y(env, 0, 30, "y"), z(env, 0, 7, "z") {
    if (isInteger) {
      x.setKind(VakVarKind::Integer);
      y.setKind(VakVarKind::Integer);
    }
    c = m.add(3 * x + 2 * y + z <= 25, "c");
    d = m.add(x + 3 * y - z <= 20, "d");
    m.maximize(5 * x + 4 * y + z);
    env.setNumProperty("solver.progressInterval", 0);
  }
  // The making of a solver is part of no scene but its own.
  void solve() {
    solver = VakSolver(m);
    solver.setProgressCallback([](const VakSolverProgress&) { VakFailingCallback::Tick(); });
    static_cast<void>(solver.solve());
  }

  VakEnv env;
  VakModel m;
  VakNumVar x;
  VakNumVar y;
  VakNumVar z;
  VakConstraint c;
  VakConstraint d;
  VakSolver solver;
};

void requireOptimal(VakStatus status) {
  if (status != VakStatus::Optimal) throw std::logic_error("not solved");
}

// Solves after a change, from where the last solve ended.
VakScene solvingAgain(VakStage& s, bool isInteger, void (*change)(World& w)) {
  auto& w = s.keep<World>(s, isInteger);
  w.solve();
  return {.act =
              [&w, change] {
                change(w);
                requireOptimal(w.solver.solve());
              },
          .undo = [&w] { w.solver.end(); },
          .mayKeep = "a change that was made before stays"};
}

std::string temporaryFile(const char* ending) {
  return (std::filesystem::temp_directory_path() /
          ("vak_fault_matrix_" + std::to_string(getpid()) + ending))
      .string();
}

// A file of a model that goes with the scene.
struct ModelFile {
  explicit ModelFile(const char* ending) : name(temporaryFile(ending)) {}
  ~ModelFile() { std::remove(name.c_str()); }
  std::string name;
};

VakScene writing(VakStage& s, const char* ending) {
  auto& w = s.keep<World>(s, true);
  auto& file = s.keep<ModelFile>(ending);
  return {.act = [&w, &file] { VakWriteModel(w.m, file.name.c_str()); },
          .afterFailure = [&file]() -> std::string {
            return std::filesystem::exists(file.name) ? "a file is there" : "";
          }};
}

VakScene reading(VakStage& s, const char* ending) {
  auto& w = s.keep<World>(s, true);
  auto& file = s.keep<ModelFile>(ending);
  VakWriteModel(w.m, file.name.c_str());
  const auto end = [&s] {
    VakIdManager& ids = *s.other.getImpl()->_idManager;
    for (VakInt id = ids._size; id-- > 0;) {
      if (ids.isLive(id)) delete static_cast<VakExtractableI*>(ids._data[id]);
    }
  };
  return {.act =
              [&s, &file] {
                if (VakReadModel(s.other, file.name.c_str()).getVariableCount() != 3) {
                  throw std::logic_error("a model");
                }
              },
          .undo = end,
          .afterFailure = [&s]() -> std::string {
            const VakIdManager& ids = *s.other.getImpl()->_idManager;
            for (VakInt id = 0; id < ids._size; ++id) {
              if (ids.isLive(id)) return "an object is left";
            }
            return "";
          },
          .mayKeep = "tables of the environment keep the room they got"};
}

const std::vector<VakFaultOperation> _operations = {
    {"make a solver",
     "VakSolver::VakSolver VakSolver::getImpl VakSolver::isEmpty VakSolver::getEnv "
     "VakSolverI::VakSolverI*",
     [](VakStage& s) {
       auto& solver = s.keep<VakSolver>();
       return VakScene{.act =
                           [&] {
                             solver = VakSolver(s.env);
                             bool fine = !solver.isEmpty() && solver.getEnv() == s.env;
                             fine = fine && solver.getImpl() != nullptr;
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&] { solver.end(); }};
     },
     VakStageKind::Foreign},
    {"make a solver of a model", "VakSolver::VakSolver",
     [](VakStage& s) {
       auto& w = s.keep<World>(s, true);
       return VakScene{.act = [&w] { w.solver = VakSolver(w.m); },
                       .undo = [&w] { w.solver.end(); },
                       .afterFailure = [&w]() -> std::string {
                         return w.env.getImpl()->_algorithms == nullptr ? "" : "a solver is left";
                       }};
     },
     VakStageKind::Foreign},
    {"extract a model with a solver", "VakSolver::extract VakSolver::clear VakSolver::getModel",
     [](VakStage& s) {
       auto& w = s.keep<World>(s, false);
       w.solver = VakSolver(w.env);
       return VakScene{.act =
                           [&w] {
                             w.solver.extract(w.m);
                             if (!(w.solver.getModel() == w.m)) throw std::logic_error("a model");
                           },
                       .undo =
                           [&w] {
                             w.solver.clear();
                             w.solver.end();
                           },
                       .afterFailure = [&w]() -> std::string {
                         return w.solver.getModel().isEmpty() ? "" : "there is a model";
                       }};
     },
     VakStageKind::Foreign},
    {"solve a linear program", "VakSolver::solve VakSolver::setProgressCallback",
     [](VakStage& s) {
       auto& w = s.keep<World>(s, false);
       w.solver = VakSolver(w.m);
       w.solver.setProgressCallback([](const VakSolverProgress&) { VakFailingCallback::Tick(); });
       return VakScene{.act = [&w] { requireOptimal(w.solver.solve()); },
                       .undo = [&w] { w.solver.end(); },
                       .afterFailure = [&w]() -> std::string {
                         return w.solver.hasSolution() ? "there is a solution" : "";
                       }};
     },
     VakStageKind::Foreign},
    {"solve a model with integer variables", "VakSolver::solve VakSolver::abort",
     [](VakStage& s) {
       auto& w = s.keep<World>(s, true);
       w.solver = VakSolver(w.m);
       w.solver.abort();
       w.solver.setProgressCallback([](const VakSolverProgress&) { VakFailingCallback::Tick(); });
       return VakScene{.act = [&w] { requireOptimal(w.solver.solve()); },
                       .undo = [&w] { w.solver.end(); },
                       .afterFailure = [&w]() -> std::string {
                         return w.solver.hasSolution() ? "there is a solution" : "";
                       }};
     },
     VakStageKind::Foreign},
    {"solve a linear program again with other bounds", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, false, [](World& w) { w.x.setUB(3); });
     },
     VakStageKind::Foreign},
    {"solve a model again with another coefficient", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, true, [](World& w) { w.c.setCoef(w.z, 4); });
     },
     VakStageKind::Foreign},
    {"solve a model again with another column and row", "VakSolver::solve",
     [](VakStage& s) {
       auto& w = s.keep<World>(s, true);
       w.solve();
       struct Added {
         VakNumVar v;
         VakConstraint row;
       };
       auto& added = s.keep<Added>();
       added.v = VakNumVar(s.env, 0, 3, "v");
       added.row = VakConstraint(s.env, w.x + added.v <= 9, "row");
       return VakScene{.act =
                           [&w, &added] {
                             if (added.row.getModel().isEmpty()) w.m.add(added.row);
                             requireOptimal(w.solver.solve());
                           },
                       .undo = [&w] { w.solver.end(); },
                       .mayKeep = "a change that was made before stays"};
     },
     VakStageKind::Foreign},
    {"solve a model again without a column and a row", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, true, [](World& w) {
         if (w.m.contains(w.d)) w.m.remove(w.d);
         if (w.m.contains(w.z)) w.m.remove(w.z);
       });
     },
     VakStageKind::Foreign},
    {"solve a model again with another objective", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, true, [](World& w) { w.m.maximize(w.y + 2 * w.z + 1); });
     },
     VakStageKind::Foreign},
    {"read the results of a solver",
     "VakSolver::getStatus VakSolver::hasSolution VakSolver::getObjectiveValue VakSolver::getValue "
     "VakSolver::getActivity VakSolver::getSlack VakSolver::hasDuals VakSolver::getReducedCost "
     "VakSolver::getDual VakSolver::isMip VakSolver::getIterationCount VakSolver::getNodeCount "
     "VakSolver::getTime VakSolver::getBestBound VakSolver::getGap VakSolver::getLoadCount "
     "VakSolver::getWarmStartCount VakSolver::getStartSolutionCount VakSolverI::hasSolution "
     "VakSolverI::hasDuals VakSolverI::getActivity VakSolverI::getSlack "
     "VakSolverI::getReducedCost VakSolverI::getDual VakSolverI::isMip VakSolverI::getGap "
     "VakSolverI::getStatistics*",
     [](VakStage& s) {
       auto& w = s.keep<World>(s, false);
       w.solve();
       return VakScene{.act =
                           [&w] {
                             const VakSolver& solver = w.solver;
                             bool fine = solver.getStatus() == VakStatus::Optimal;
                             fine = fine && solver.hasSolution() && solver.hasDuals();
                             fine = fine && !solver.isMip() && solver.getNodeCount() == 0;
                             fine = fine && solver.getIterationCount() >= 0;
                             fine = fine && solver.getTime() >= 0 && solver.getLoadCount() == 1;
                             fine = fine && solver.getWarmStartCount() == 0;
                             fine = fine && solver.getStartSolutionCount() == 0;
                             fine = fine && solver.getGap() < 1e-6 && solver.getBestBound() > 0;
                             const VakNum value = 5 * solver.getValue(w.x) +
                                                  solver.getValue(4 * w.y + w.z);
                             fine = fine && std::abs(value - solver.getObjectiveValue()) < 1e-6;
                             const VakNum activity = solver.getActivity(w.c) + solver.getSlack(w.c);
                             fine = fine && std::abs(activity - 25) < 1e-6;
                             fine = fine && std::isfinite(solver.getDual(w.c));
                             fine = fine && std::isfinite(solver.getReducedCost(w.x));
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&w] { w.solver.end(); }};
     },
     VakStageKind::Foreign},
    {"read the options of solvers", "VakReadSolverOptions",
     [](VakStage& s) {
       s.env.setNumProperty("solver.gap", 0.5);
       s.env.setStringProperty("solver.algorithm", "dual");
       return VakScene{.act = [&s] {
         if (VakReadSolverOptions(s.env).gap != 0.5) throw std::logic_error("an option");
       }};
     }},
    {"write a model in the MPS format", "VakWriteModel",
     [](VakStage& s) { return writing(s, ".mps"); }, VakStageKind::Foreign},
    {"write a model in the LP format", "VakWriteModel",
     [](VakStage& s) { return writing(s, ".lp"); }, VakStageKind::Foreign},
    {"read a model in the MPS format", "VakReadModel",
     [](VakStage& s) { return reading(s, ".mps"); }, VakStageKind::Foreign},
    {"read a model in the LP format", "VakReadModel",
     [](VakStage& s) { return reading(s, ".lp"); }, VakStageKind::Foreign},
    {"look names up",
     "VakNameMap::VakNameMap VakNameMap::findVariable VakNameMap::findConstraint "
     "VakNameMap::countVariables VakNameMap::countConstraints",
     [](VakStage& s) {
       auto& w = s.keep<World>(s, false);
       return VakScene{.act = [&w] {
         const VakNameMap names(w.m);
         bool fine = names.findVariable("x").is(w.x) && names.findConstraint("d") == w.d;
         fine = fine && names.countVariables("x") == 1 && names.countConstraints("x") == 0;
         if (!fine) throw std::logic_error("a name");
       }};
     }},
    {"throw the exceptions of the solver module",
     "VakFileError::VakFileError VakFileError::operator= VakFileError::getFile "
     "VakFileError::getLine VakFileError::getReason VakSolverOptionError::VakSolverOptionError "
     "VakSolverOptionError::operator=",
     [](VakStage& /*s*/) {
       return VakScene{.act = [] {
         VakFileError error("a file", 3, "a reason");
         const VakFileError copy(error);
         error = copy;
         VakSolverOptionError option("a text");
         const VakSolverOptionError same(option);
         option = same;
         bool fine = std::string_view(error.getFile()) == "a file" && error.getLine() == 3;
         fine = fine && std::string_view(error.getReason()) == "a reason";
         if (!fine) throw std::logic_error("a text");
       }};
     }},
};

}  // namespace

VakFaultGroup VakSolverFaults() { return {"The solver and files of models", _operations}; }

// The solver: made, solving, solving again after changes, and its results.

#include <cmath>

#include "tests/fault/matrix/groups.h"
#include "tests/fault/matrix/solver_world.h"
#include "vaksolver/solver_impl.h"

namespace {

// Solves a model for the first time.
VakScene solving(VakStage& s, bool isInteger, VakStatus expected,
                 void (*change)(VakSolverWorld& w)) {
  auto& w = s.keep<VakSolverWorld>(s, isInteger);
  change(w);
  w.makeSolver();
  return {.act = [&w, expected] { w.solve(expected); },
          .undo = [&w] { w.solver.end(); },
          .afterFailure = [&w] { return w.checkSolution(); },
          .afterSuccess = [&w] { return w.compareWithAnotherSolver(); }};
}

// Solves after a change, from where the last solve ended.
VakScene solvingAgain(VakStage& s, bool isInteger, void (*change)(VakSolverWorld& w)) {
  auto& w = s.keep<VakSolverWorld>(s, isInteger);
  w.makeSolver();
  w.solve(VakStatus::Optimal);
  return {.act =
              [&w, change] {
                change(w);
                w.solve(VakStatus::Optimal);
              },
          .undo = [&w] { w.solver.end(); },
          .afterFailure = [&w] { return w.checkSolution(); },
          .afterSuccess = [&w] { return w.compareWithAnotherSolver(); },
          .mayKeep = "a change that was made before stays",
          .mayAbsorb = {{VakFaultKind::Heap, "sorting does without memory when there is none"}}};
}

void changeNothing(VakSolverWorld& /*w*/) {}

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
       auto& w = s.keep<VakSolverWorld>(s, true);
       return VakScene{.act = [&w] { w.solver = VakSolver(w.m); },
                       .undo = [&w] { w.solver.end(); },
                       .afterFailure = [&w]() -> std::string {
                         return w.env.getImpl()->_algorithms == nullptr ? "" : "a solver is left";
                       }};
     },
     VakStageKind::Foreign},
    {"extract a model with a solver", "VakSolver::extract VakSolver::clear VakSolver::getModel",
     [](VakStage& s) {
       auto& w = s.keep<VakSolverWorld>(s, false);
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
    {"refuse a model with numbers that are too large", "VakSolver::extract",
     [](VakStage& s) {
       auto& w = s.keep<VakSolverWorld>(s, false);
       w.c.setCoef(w.x, 2e20);
       w.solver = VakSolver(w.env);
       return VakScene{.act =
                           [&w] {
                             try {
                               w.solver.extract(w.m);
                             } catch (VakAlgorithm::CannotChangeException& refusal) {
                               refusal.end();
                             }
                           },
                       .undo = [&w] { w.solver.end(); },
                       .afterFailure = [&w]() -> std::string {
                         return w.solver.getModel().isEmpty() ? "" : "there is a model";
                       }};
     },
     VakStageKind::Foreign},
    {"solve a linear program", "VakSolver::solve VakSolver::setProgressCallback*",
     [](VakStage& s) { return solving(s, false, VakStatus::Optimal, changeNothing); },
     VakStageKind::Foreign},
    {"solve a linear program that has no solution", "VakSolver::solve",
     [](VakStage& s) {
       return solving(s, false, VakStatus::Infeasible,
                      [](VakSolverWorld& w) { w.c.setBounds(-VakGetInfinity(), -1); });
     },
     VakStageKind::Foreign},
    {"solve a linear program without an optimum", "VakSolver::solve",
     [](VakStage& s) {
       return solving(s, false, VakStatus::Unbounded, [](VakSolverWorld& w) {
         w.m.remove(w.c);
         w.x.setUB(VakGetInfinity());
         w.z.setUB(VakGetInfinity());
       });
     },
     VakStageKind::Foreign},
    {"solve a model with integer variables", "VakSolver::solve VakSolver::abort",
     [](VakStage& s) {
       return solving(s, true, VakStatus::Optimal, [](VakSolverWorld& w) { w.solver.abort(); });
     },
     VakStageKind::Foreign},
    {"solve a model without any coefficient", "VakSolver::solve",
     [](VakStage& s) {
       return solving(s, false, VakStatus::Optimal, [](VakSolverWorld& w) {
         w.m.remove(w.c);
         w.m.remove(w.d);
       });
     },
     VakStageKind::Foreign},
    {"solve a linear program again with other bounds", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, false, [](VakSolverWorld& w) {
         w.x.setUB(3);
         w.d.setUB(15);
       });
     },
     VakStageKind::Foreign},
    {"solve a linear program again with other coefficients", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, false, [](VakSolverWorld& w) {
         w.c.setCoef(w.z, 4);
         w.d.setCoef(w.z, 2);
       });
     },
     VakStageKind::Foreign},
    {"solve a linear program again with many new coefficients", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, false, [](VakSolverWorld& w) {
         const std::array<VakNumVar, 6> fresh = {w.more[0], w.more[1], w.more[2],
                                                 w.more[3], w.more[4], w.more[5]};
         const std::array<VakNum, 6> coefs = {1, 2, 3, 4, 5, 6};
         w.c.setCoefs(fresh, coefs);
         w.d.setCoefs(fresh, coefs);
         w.m.getObjective().setCoefs(fresh, coefs);
       });
     },
     VakStageKind::Foreign},
    {"solve a model again with whole numbers only", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, false, [](VakSolverWorld& w) {
         w.x.setKind(VakVarKind::Integer);
         w.y.setKind(VakVarKind::Integer);
       });
     },
     VakStageKind::Foreign},
    {"solve a model again with another column and row", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, true, [](VakSolverWorld& w) {
         w.d.setCoef(w.more[0], 1);
         w.m.getObjective().setCoef(w.more[0], 6);
         if (w.loose.getModel().isEmpty()) w.m.add(w.loose);
         w.loose.setCoef(w.more[0], 2);
       });
     },
     VakStageKind::Foreign},
    {"solve a model again without a column and a row", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, true, [](VakSolverWorld& w) {
         if (w.m.contains(w.d)) w.m.remove(w.d);
         if (w.m.contains(w.z)) w.m.remove(w.z);
       });
     },
     VakStageKind::Foreign},
    {"solve a model again with another objective", "VakSolver::solve",
     [](VakStage& s) {
       return solvingAgain(s, false, [](VakSolverWorld& w) { w.m.minimize(-1 * w.y - w.z + 1); });
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
       auto& w = s.keep<VakSolverWorld>(s, false);
       w.makeSolver();
       w.solve(VakStatus::Optimal);
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
                             const VakNum value =
                                 5 * solver.getValue(w.x) + solver.getValue(4 * w.y + w.z);
                             fine = fine && std::abs(value - solver.getObjectiveValue()) < 1e-6;
                             const VakNum activity = solver.getActivity(w.c) + solver.getSlack(w.c);
                             fine = fine && std::abs(activity - 26) < 1e-6;
                             fine = fine && std::isfinite(solver.getDual(w.c));
                             fine = fine && std::isfinite(solver.getReducedCost(w.x));
                             if (!fine) throw std::logic_error("an answer");
                           },
                       .undo = [&w] { w.solver.end(); }};
     },
     VakStageKind::Foreign},
    {"read the options of solvers",
     "VakReadSolverOptions VakSolverOptionError::VakSolverOptionError "
     "VakSolverOptionError::operator=",
     [](VakStage& s) {
       s.env.setNumProperty("solver.gap", 0.5);
       s.env.setStringProperty("solver.algorithm", "dual");
       s.other.setStringProperty("solver.gap", "none");
       return VakScene{.act = [&s] {
         if (VakReadSolverOptions(s.env).gap != 0.5) throw std::logic_error("an option");
         VakSolverOptionError caught("a text");
         try {
           static_cast<void>(VakReadSolverOptions(s.other));
         } catch (const VakSolverOptionError& error) {
           caught = VakSolverOptionError(error);
         }
         if (std::string_view(caught.getMessage()).find("solver.gap") == std::string_view::npos) {
           throw std::logic_error("a text");
         }
       }};
     }},
};

}  // namespace

VakFaultGroup VakSolverFaults() { return {"The solver", _operations}; }

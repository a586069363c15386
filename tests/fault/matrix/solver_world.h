#pragma once

// A small model with a solver, on which the operations of the solver are driven.

#include <array>
#include <cmath>
#include <string>

#include "tests/fault/matrix/operation.h"
#include "vakmodel/modelling.h"
#include "vaksolver/options.h"
#include "vaksolver/solver.h"

/// Three variables in two constraints, as whole numbers if wanted, more that are in no model, and a
/// solver. The relaxation's solution is not whole.
struct VakSolverWorld {
  VakSolverWorld(VakStage& s, bool isInteger)
      : env(s.env),
        m(env, "m"),
        x(env, 0, 40, "x"),
        y(env, 0, 30, "y"),
        z(env, 0, 7, "z"),
        loose(env, x + 2 * z <= 9, "loose") {
    for (VakNumVar& v : more) v = VakNumVar(env, 0, 2);
    if (isInteger) {
      x.setKind(VakVarKind::Integer);
      y.setKind(VakVarKind::Integer);
    }
    c = m.add(3 * x + 2 * y + z <= 26, "c");
    d = m.add(x + 3 * y - z <= 20, "d");
    m.maximize(5 * x + 4 * y + z);
    env.setNumProperty("solver.progressInterval", 0);
  }

  /// Makes the solver. Its progress callback can fail at its first calls, which stand for all: how
  /// often it is called is up to the libraries behind.
  void makeSolver() {
    solver = VakSolver(m);
    solver.setProgressCallback([this](const VakSolverProgress&) {
      if (calls++ < MostFailingCalls) VakFailingCallback::Tick();
    });
  }
  void solve(VakStatus expected) {
    calls = 0;
    if (solver.solve() != expected) throw std::logic_error("another status");
  }
  /// What is wrong with the solution, if there is one: after a failure too it has to be one.
  [[nodiscard]] std::string checkSolution() const {
    if (!solver.hasSolution()) return "";
    if (!isNear(evaluateObjective())) return "the objective is not that of the solution";
    for (const VakConstraint row : m.constraints()) {
      VakNum activity = 0;
      for (const VakTerm term : row.terms()) activity += term.coef * solver.getValue(term.var);
      if (std::abs(activity - solver.getActivity(row)) > 1e-6) return "an activity is wrong";
      if (solver.getSlack(row) < -1e-6) return "a constraint is violated";
    }
    return "";
  }
  /// What is wrong with the result; a solver of its own, which was told of no change, says what is
  /// right.
  [[nodiscard]] std::string compareWithAnotherSolver() {
    VakSolver other(m);
    std::string defect;
    if (other.solve() != solver.getStatus()) {
      defect = "the status is wrong";
    } else if (other.hasSolution() != solver.hasSolution()) {
      defect = "there is a solution, or there is none";
    } else if (other.hasSolution() && !isNear(other.getObjectiveValue())) {
      defect = "the objective is wrong";
    } else {
      defect = checkSolution();
    }
    other.end();
    return defect;
  }

  static constexpr int MostFailingCalls = 4;

  VakEnv env;
  VakModel m;
  VakNumVar x;
  VakNumVar y;
  VakNumVar z;
  std::array<VakNumVar, 6> more;  ///< In no model.
  VakConstraint c;
  VakConstraint d;
  VakConstraint loose;  ///< In no model.
  VakSolver solver;     ///< Empty at first.
  int calls = 0;        ///< Of the progress callback in the last solve.

 private:
  [[nodiscard]] VakNum evaluateObjective() const {
    VakNum value = m.getObjective().getConstant();
    for (const VakTerm term : m.getObjective().terms()) {
      value += term.coef * solver.getValue(term.var);
    }
    return value;
  }
  [[nodiscard]] bool isNear(VakNum value) const {
    return std::abs(value - solver.getObjectiveValue()) < 1e-6 * std::max(1.0, std::abs(value));
  }
};

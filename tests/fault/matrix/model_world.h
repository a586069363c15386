#pragma once

// A model with listeners, on which the operations of the modelling layer are driven.

#include <array>
#include <sstream>
#include <string>

#include "tests/fault/matrix/operation.h"
#include "tests/fault/matrix/user_objects.h"
#include "vakmodel/modelling.h"

/// Variables, constraints, an objective, a stored expression, and what is told of their changes:
/// two algorithms and a plug-in, each of which can fail.
struct VakModelWorld {
  explicit VakModelWorld(VakStage& s)
      : env(s.env),
        m(env, "m"),
        x(env, 0, 40, "x"),
        y(env, 0, 3, "y"),
        z(env, 0, 7, "z"),
        c(m.add(x + 2 * y <= 14, "c")),
        d(m.add(x >= 1, "d")),
        loose(env, z + y <= 3, "loose"),
        o(m.maximize(3 * x + 4 * y - 1)),
        e(env, x + z, "e") {
    z.setBounds(0, 7.5);
    new VakUserAlgorithm(env.getImpl());
    new VakUserAlgorithm(env.getImpl());
    env.getImpl()->_plugInManager->addNotified(VakCreate<VakUserNotified>(env));
  }

  /// Everything that a failed operation must leave as it was.
  [[nodiscard]] std::string state() const {
    std::ostringstream text;
    for (const VakModel model : {m, second}) {
      if (!model.isEmpty()) text << model << model.check();
    }
    for (const VakConstraint row : {c, d, loose}) {
      if (row.isEmpty()) continue;
      text << row << row.getModel().isEmpty() << row.isKeptWhenEmpty() << '\n';
    }
    if (!o.isEmpty()) text << o << o.getModel().isEmpty() << '\n';
    if (!e.isEmpty()) text << e.getExpr() << '\n';
    for (const VakNumVar v : {x, y, z}) {
      if (v.isEmpty()) continue;
      text << v.getLB() << ' ' << v.getUB() << ' ' << static_cast<int>(v.getKind()) << ' '
           << m.contains(v) << '\n';
    }
    return text.str();
  }

  VakEnv env;
  VakModel m;
  VakNumVar x;
  VakNumVar y;
  VakNumVar z;
  VakConstraint c;
  VakConstraint d;
  VakConstraint loose;  ///< In no model.
  VakObjective o;
  VakNumExpr e;
  VakModel second;     ///< Empty unless a scene makes it.
  std::string before;  ///< The state after the set-up.
};

/// A change of a model world: all or nothing.
inline VakScene VakChangeModel(VakStage& s, void (*change)(VakModelWorld& w)) {
  auto& w = s.keep<VakModelWorld>(s);
  w.before = w.state();
  return {.act = [&w, change] { change(w); },
          .afterFailure = [&w]() -> std::string {
            return w.state() == w.before ? "" : "the model was changed";
          },
          .mayKeep = "lists of the model, and tables of the environment, keep the room they got"};
}

/// The making of an object that undo() ends, beside a model world.
template <class Handle>
VakScene VakMakeObject(VakStage& s, Handle (*make)(VakModelWorld& w)) {
  auto& w = s.keep<VakModelWorld>(s);
  auto& made = s.keep<Handle>();
  w.before = w.state();
  return {.act = [&w, &made, make] { made = make(w); },
          .undo = [&made] { made.end(); },
          .afterFailure = [&w]() -> std::string {
            return w.state() == w.before ? "" : "the model was changed";
          },
          .mayKeep = "tables of the environment keep the room they got"};
}

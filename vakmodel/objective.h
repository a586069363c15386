#pragma once

// Objectives.
//
//   model.minimize(3 * x + 2 * y);
//   VakObjective cost = VakMinimize(env, 3 * x + 2 * y, "cost");   model.add(cost);

#include "vakmodel/linear.h"

/// Handle of an objective: terms and a constant to be minimised or maximised; see VakLinear.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakObjective : public VakLinear {
 public:
  VakObjective() = default;
  explicit VakObjective(VakObjectiveI* impl);
  /// A new objective, in no model yet. Throws VakEmptyHandleException
  /// ("VakEnv: Using empty handle") for an empty environment, VakModelError for a constant that is
  /// NaN or infinite.
  VakObjective(VakEnv env, VakSense sense, const VakExpr& expr = {}, const char* name = nullptr);

  /// The same with a name of a known length.
  VakObjective(VakEnv env, VakSense sense, const VakExpr& expr, std::string_view name);

  /// The object as an objective; an empty handle when it is something else.
  [[nodiscard]] static VakObjective From(VakExtractable object);
  [[nodiscard]] VakObjectiveI* getImpl() const;
  /// The same; throws "VakObjective: Using empty handle" when there is none.
  [[nodiscard]] VakObjectiveI* checked() const;

  /// Sense, constant and whole expression. Changes are reported. Throw VakEmptyHandleException on
  /// an empty handle.
  [[nodiscard]] VakSense getSense() const;
  void setSense(VakSense sense) const;
  [[nodiscard]] VakNum getConstant() const;
  void setConstant(VakNum constant) const;
  [[nodiscard]] VakExpr getExpr() const;
  /// Replaces terms and constant in one change.
  void setExpr(const VakExpr& expr) const;
};

/// A new objective that is to be minimised.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakMinimize : public VakObjective {
 public:
  /// An objective that is looked for the least of; in no model yet.
  explicit VakMinimize(VakEnv env, const VakExpr& expr = {}, const char* name = nullptr)
      : VakObjective(env, VakSense::Minimize, expr, name) {}
  VakMinimize(VakEnv env, const VakExpr& expr, std::string_view name)
      : VakObjective(env, VakSense::Minimize, expr, name) {}
};

/// A new objective that is to be maximised.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakMaximize : public VakObjective {
 public:
  /// An objective that is looked for the greatest of; in no model yet.
  explicit VakMaximize(VakEnv env, const VakExpr& expr = {}, const char* name = nullptr)
      : VakObjective(env, VakSense::Maximize, expr, name) {}
  VakMaximize(VakEnv env, const VakExpr& expr, std::string_view name)
      : VakObjective(env, VakSense::Maximize, expr, name) {}
};

/// Writes "minimize" or "maximize".
/// Threads: confined, as the stream is. Phases: any.
std::ostream& operator<<(std::ostream& out, VakSense sense);
/// Writes it as in "minimize cost: 3 x + 2 y"; an empty handle as (empty).
std::ostream& operator<<(std::ostream& out, VakObjective objective);

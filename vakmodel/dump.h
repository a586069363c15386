#pragma once

// Models written for people to look at: as text, and as a graph for the dot program.
//
//   VakDumpModel(std::cout, model);
//   std::ofstream file("plan.dot");  VakDumpGraph(file, model);      dot -Tsvg plan.dot > plan.svg
//
// Both write numbers with as many digits as it takes to read the same number back, whatever the
// stream is set to, and change nothing of it. A name that several objects have is followed by the
// identifier, as in x#12; an object without a name is written as in #12. Nothing is thrown but
// std::bad_alloc and what the stream throws; a stream that fails is left as it is. Both take
// linear time.

#include <iosfwd>
#include <limits>
#include <span>

#include "vakmodel/model.h"

/// How a model is written as text.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
struct VakDumpOptions {
  /// Characters after which a line is broken, between terms only.
  VakInt lineWidth = 80;
  // How many are written of each; what is left out is counted.
  VakInt mostVariables = std::numeric_limits<VakInt>::max();
  VakInt mostConstraints = std::numeric_limits<VakInt>::max();
  VakInt mostTerms = std::numeric_limits<VakInt>::max();  ///< Of one constraint or objective.
};

/// Writes the model as text in sections: the objective, the constraints, the bounds of the
/// variables, and which of them are integer and Boolean. A bound that is not written is not there;
/// Boolean variables with the usual bounds are left out of the bounds. A name that could be
/// mistaken for something else stands in quotes. An empty handle is written as (empty).
///
///   model plan: 3 variables, 1 constraint, 3 terms
///   maximize
///     profit: 3 x + 4 y - 2 "z 1"
///   subject to
///     capacity: 1 <= x + 2 y + "z 1" <= 14
///   bounds
///     0 <= x <= 40
///     y >= 0
///   Boolean
///     "z 1"
void VakDumpModel(std::ostream& out, VakModel model, const VakDumpOptions& options = {});

/// How models are drawn. Graphs of more than a few hundred nodes are hard to look at.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
struct VakGraphOptions {
  // How much is drawn of each model; a note says how much is not.
  VakInt mostVariables = 150;
  VakInt mostConstraints = 150;
  VakInt mostTerms = 1500;  ///< Of all constraints and the objective together.
  bool showsCoefs = true;   ///< Whether terms have their coefficients written beside them.
};

/// Writes a graph in the language of the dot program: a node for each variable (an ellipse; a
/// rounded box for an integer and a diamond for a Boolean one), each constraint (a box) and the
/// objective (a house), and an edge for each term. An empty handle makes an empty graph.
void VakDumpGraph(std::ostream& out, VakModel model, const VakGraphOptions& options = {});
/// Draws several models of one environment in one graph, each in a frame of its own. Variables that
/// several of them share stand outside the frames, with a double line. Empty handles are passed
/// over. Throws VakModelMismatch for models of different environments, and has written nothing
/// then.
void VakDumpGraph(std::ostream& out, std::span<const VakModel> models,
                  const VakGraphOptions& options = {});

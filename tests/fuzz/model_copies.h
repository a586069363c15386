#pragma once

#include "tests/fuzz/model_world.h"

/// A step that copies a model, inside the environment or into another one, with substitutions, and
/// compares the copy with the records of its original. The copy is ended with all that is in it.
class ModelCopies {
 public:
  explicit ModelCopies(ModelWorld& world) : _world(world), _program(world.program) {}
  void step();

 private:
  static VakExtractableI* IdOf(VakExtractable object) { return ModelWorld::IdOf(object); }

  void copyInside(FuzzModel& model);
  void copyAcross(FuzzModel& model);
  void substituteVars(VakCopier& copier, VakEnv target);
  void substituteRow(VakCopier& copier, const FuzzModel& model);
  void compare(const VakCopier& copier, const FuzzModel& model, VakModel made);
  void compareVar(const VakCopier& copier, const FuzzVar& x);
  void compareRow(const VakCopier& copier, const FuzzRow& row, VakModel made);
  void end(VakModel made);

  ModelWorld& _world;
  VakFuzzProgram& _program;
  std::map<VakExtractableI*, VakExtractable> _varFor;  ///< By variable, what is to be in its place.
  const FuzzRow* _rowTaken = nullptr;  ///< The constraint in whose place another is to be, or null.
  FuzzRow* _rowFor = nullptr;          ///< ... and that other one.
};

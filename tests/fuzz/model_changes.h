#pragma once

#include "tests/fuzz/model_world.h"

/// Steps that change what is there: bounds, kinds, coefficients, expressions, names; and steps that
/// must be refused.
class ModelChanges {
 public:
  explicit ModelChanges(ModelWorld& world) : _world(world), _program(world.program) {}
  void step();

 private:
  static VakExtractableI* IdOf(VakExtractable object) { return ModelWorld::IdOf(object); }

  void setVarBounds();
  void setManyVarBounds();
  void setKind();
  void setManyKinds();
  void setCoef();
  void setCoefs();
  void setCoefsOfOne();
  void setObjective();
  void setConstraint();
  void setManyRowBounds();
  void setStored();
  void setName();
  void misuse();
  void compute();

  ModelWorld& _world;
  VakFuzzProgram& _program;
};

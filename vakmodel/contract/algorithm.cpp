#include "vakmodel/contract/algorithm.h"

#include <new>

#include "vakenv/core/environment_impl.h"
#include "vakenv/types/exceptions.h"
#include "vakmodel/contract/model_evaluator.h"

void VakAlgorithm::end() {
  VakAlgorithmI* algorithm = _impl;
  _impl = nullptr;
  if (algorithm != nullptr) algorithm->end();
}

VakAlgorithm::Exception::Exception(const char* message) : VakException(message, 0) {}

VakAlgorithm::Exception::~Exception() = default;

VakAlgorithm::CannotChangeException::CannotChangeException(VakAlgorithm algorithm,
                                                           VakExtractableArray extractables)
    : Exception("Algorithm cannot take the change."),
      _algorithm(algorithm),
      _extractables(extractables) {}

VakAlgorithm::CannotChangeException::~CannotChangeException() = default;

void VakAlgorithm::CannotChangeException::end() {
  _extractables.end();
  Exception::end();
}

VakNoChangeDuringSearchException::VakNoChangeDuringSearchException()
    : VakException("No change is allowed while the algorithm is running.", 0) {}

VakNoChangeDuringSearchException::~VakNoChangeDuringSearchException() = default;

VakAlgorithmI::VakAlgorithmI(VakEnvI* env) : _env(env) {}

VakAlgorithmI::~VakAlgorithmI() noexcept(false) {
  detach();
  delete _modelEvaluator;
}

void VakAlgorithmI::end() {
  detach();
  delete this;
}

void VakAlgorithmI::makeModelEvaluator() {
  if (_modelEvaluator != nullptr) return;
  try {
    _modelEvaluator = new VakModelEvaluatorI();
  } catch (const std::bad_alloc&) {
    throw VakMemoryException();
  }
}

void VakAlgorithmI::attach() { _env->addAlgorithm(this); }

void VakAlgorithmI::detach() {
  if (isAttached()) _env->removeAlgorithm(this);
}

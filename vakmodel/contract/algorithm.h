#pragma once

// Algorithms: what extracts models and solves them, and how it refuses a change.

#include "vakbase/exception.h"
#include "vakenv/fwd.h"
#include "vakmodel/contract/extractable_array.h"

/// Handle of an algorithm: one pointer, copied freely, never an owner; null when empty.
///
/// Threads: confined, except where the class of the algorithm says otherwise.
/// Phases: open, until the algorithm's end.
/// Gives back: end() takes back what made the algorithm.
class VakAlgorithm {
 public:
  class Exception;
  class CannotChangeException;

  VakAlgorithm() = default;
  explicit VakAlgorithm(VakAlgorithmI* impl) : _impl(impl) {}

  [[nodiscard]] VakAlgorithmI* getImpl() const { return _impl; }
  friend bool operator==(VakAlgorithm a, VakAlgorithm b) { return a._impl == b._impl; }

  /// Ends the algorithm and empties this handle; nothing for an empty handle.
  void end();

  VakAlgorithmI* _impl = nullptr;  ///< The algorithm, not owned; null when the handle is empty.
};

/// Base of what algorithms throw.
class VakAlgorithm::Exception : public VakException {
 public:
  explicit Exception(const char* message);
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  ~Exception() override;
};

/// An algorithm refuses a change: "Algorithm cannot take the change.".
///
/// Copies are shallow: they share one array, which the destructor leaves alone and end() gives
/// back. Whoever handles a refusal for good ends one copy of it. The environment merges refusals of
/// several algorithms: the algorithm is then the first that refused, and the array lists the
/// objects of all, the first refuser's first.
class VakAlgorithm::CannotChangeException : public VakAlgorithm::Exception {
 public:
  /// The exception takes over `extractables`, which may be an empty handle.
  CannotChangeException(VakAlgorithm algorithm, VakExtractableArray extractables);
  CannotChangeException(const CannotChangeException&) = default;
  CannotChangeException& operator=(const CannotChangeException&) = default;
  ~CannotChangeException() override;

  /// The algorithm that refused, the first one of several.
  [[nodiscard]] VakAlgorithm getAlgorithm() const { return _algorithm; }
  /// The objects concerned; an empty handle when the refusal named none.
  [[nodiscard]] VakExtractableArray getExtractables() const { return _extractables; }
  /// Gives the array back; the handle is empty afterwards, in this copy only.
  void end() override;

  VakAlgorithm _algorithm;            ///< Not owned.
  VakExtractableArray _extractables;  ///< Given back by end() alone.
};

/// A change was reported to an algorithm that is running:
/// "No change is allowed while the algorithm is running.".
class VakNoChangeDuringSearchException : public VakException {
 public:
  VakNoChangeDuringSearchException();
  ~VakNoChangeDuringSearchException() override;
};

/// An algorithm: an element of its environment's list of algorithms, newest first.
///
/// It lives on the general heap, made with `new` and ended by end(), or wherever its owner puts it.
/// It attaches itself with attach() once it can be told of changes; not in this class's
/// constructor, where its change operations are not there yet. The end of the environment ends all
/// algorithms that are attached. One thread at a time.
///
/// Virtual functions in their order: destructors, end, the two change operations.
///
/// Threads: confined; told of changes on the thread that makes them.
/// Phases: open; attached from attach() to detach() or end(); ended in step 3 of the environment's
///     end, or in step 11 when a destructor that runs in between attaches it.
/// Gives back: detach() takes back attach(); end() takes back `new`.
class VakAlgorithmI {
 public:
  /// An algorithm for models of `env`, not attached.
  explicit VakAlgorithmI(VakEnvI* env);
  /// Detaches the algorithm if it is attached and deletes its model evaluator.
  virtual ~VakAlgorithmI() noexcept(false);
  VakAlgorithmI(const VakAlgorithmI&) = delete;
  VakAlgorithmI& operator=(const VakAlgorithmI&) = delete;

  /// Detaches the algorithm, which must be done on return, and deletes it. An algorithm that has
  /// another owner overrides this to detach only; it may then outlive the environment.
  virtual void end();
  /// `extractable`, which was or is to be changed as `change` says. Refuses by throwing
  /// VakAlgorithm::CannotChangeException; other algorithms are told nevertheless. It may end or
  /// detach any algorithm, this one included.
  virtual void change(const VakChange& change, const VakExtractableI* extractable) = 0;
  /// The same for a change that concerns no single extractable.
  virtual void change(const VakChange& change) = 0;
  /// Makes the model evaluator, which this algorithm owns, if there is none. Throws
  /// VakMemoryException.
  virtual void makeModelEvaluator();

  /// Attaches the algorithm in front of the others. It must not be attached.
  void attach();
  /// Detaches the algorithm if it is attached.
  void detach();
  /// True while the algorithm is in its environment's list.
  [[nodiscard]] bool isAttached() const { return _isAttached; }

  VakAlgorithmI* next = nullptr;  ///< Attached before this one; null for none or when detached.
  VakEnvI* _env;                  ///< The environment served; not owned.
  VakModelEvaluatorI* _modelEvaluator = nullptr;  ///< Owned; null until made.
  bool _isAttached = false;  ///< Kept by VakEnvI::addAlgorithm and removeAlgorithm.
};

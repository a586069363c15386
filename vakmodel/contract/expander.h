#pragma once

// Substitution: which extractable takes the place of which while a model is copied.

#include <unordered_map>

#include "vakenv/fwd.h"
#include "vakmodel/contract/algorithm.h"

/// Says what replaces an extractable when copies are made through VakEnvI::substitute.
///
/// One an environment, made by VakEnvI::getExpander. It is an algorithm and attaches itself, so
/// that the end of the environment ends it; as an algorithm it learns which extractables are
/// destroyed and forgets them. It accepts every change.
///
/// Threads: confined, as the environment's copying operations are.
/// Phases: open; ended with the algorithms in step 3 of the end, or in step 11 when it is made in
///     between.
/// Gives back: clearSubstitutes() takes back setSubstitute(); the environment ends it.
class VakExpanderI : public VakAlgorithmI {
 public:
  /// An attached expander without substitutions.
  explicit VakExpanderI(VakEnvI* env);
  ~VakExpanderI() noexcept(false) override;

  /// Forgets an extractable that is about to be destroyed, also when another algorithm refuses
  /// that.
  void change(const VakChange& change, const VakExtractableI* extractable) override;
  /// Does nothing.
  void change(const VakChange& change) override;

  /// What replaces `e`, or null when it is to be copied. This form looks into the substitutions.
  [[nodiscard]] virtual VakExtractableI* substitute(VakExtractableI* e);

  /// Lets `replacement` take the place of `e`; null takes the substitution back. Neither is owned.
  void setSubstitute(VakExtractableI* e, VakExtractableI* replacement);
  /// Takes all substitutions back.
  void clearSubstitutes();

 private:
  /// Replacements by what they replace; none is null.
  std::unordered_map<const VakExtractableI*, VakExtractableI*> _substitutes;
};

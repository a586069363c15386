#pragma once

// Texts about modelling objects, and the tests that throw them.

#include <cmath>
#include <cstddef>
#include <limits>

#include "vakenv/core/environment_impl.h"
#include "vakmodel/contract/extractable.h"
#include "vakmodel/fwd.h"

/// An object in words, as in: variable "x", constraint "capacity", variable #12. The number is the
/// identifier. Holds its text itself; a long name is cut.
///
/// Threads: confined; each thread may have its own.
/// Phases: any.
class VakObjectText {
 public:
  /// `object` may be null, which gives `other`.
  explicit VakObjectText(const VakExtractableI* object, const char* other = "an object");
  /// The text.
  [[nodiscard]] const char* get() const { return _text; }

 private:
  char _text[112];  ///< Terminated.
};

/// What an object is, as in "variable"; of static lifetime.
[[nodiscard]] const char* VakGetKindText(const VakExtractableI* object);
/// Lets a sentence begin with a capital also when it begins with the kind of an object.
/// Threads: confined, as the text is. Phases: any.
void VakCapitalize(char* text);

/// Throws VakModelError about `object`, which may be null, with a text formatted as by printf.
[[noreturn, gnu::cold, gnu::format(printf, 2, 3)]] void VakThrowModelError(
    const VakExtractableI* object, const char* format, ...);

// What the tests below throw.

[[noreturn, gnu::cold]] void VakThrowMismatch(const VakExtractableI* object,
                                              const VakExtractableI* user);
[[noreturn, gnu::cold]] void VakThrowUnusable(const VakExtractableI* object);
[[noreturn, gnu::cold]] void VakThrowBounds(const VakExtractableI* user, const char* what,
                                            VakNum lb, VakNum ub);
[[noreturn, gnu::cold]] void VakThrowCoef(const VakExtractableI* object,
                                          const VakExtractableI* user, VakNum coef);

// The tests. `object` is what is used, `user` what is to refer to it or to be given the value; null
// stands for one that is only being made. They cost a few comparisons when all is well.

/// Throws VakModelMismatch unless `object` belongs to `env`, and VakModelError when it was taken
/// out of its environment or a removal hides it.
inline void VakCheckUsable(const VakExtractableI* object, const VakEnvI* env,
                           const VakExtractableI* user) {
  if (object->_env != env) [[unlikely]]
    VakThrowMismatch(object, user);
  if (object->id == -1 || (env->_recycleBin != nullptr && VakExtractableI::IsHidden(object)))
      [[unlikely]]
    VakThrowUnusable(object);
}
/// Throws VakModelError unless `lb` and `ub` make sense as bounds of `user`, or of a new `what`.
inline void VakCheckBounds(const VakExtractableI* user, const char* what, VakNum lb, VakNum ub) {
  constexpr VakNum infinity = std::numeric_limits<VakNum>::infinity();
  if (!(lb <= ub) || lb == infinity || ub == -infinity) [[unlikely]]
    VakThrowBounds(user, what, lb, ub);
}
/// Throws VakModelError unless `coef`, which is to be that of `object` in `user`, is finite.
inline void VakCheckCoef(const VakExtractableI* object, const VakExtractableI* user, VakNum coef) {
  if (!std::isfinite(coef)) [[unlikely]]
    VakThrowCoef(object, user, coef);
}
/// Throws VakModelError unless the constant of `user`, or of a new `what`, is finite.
void VakCheckConstant(const VakExtractableI* user, const char* what, VakNum constant);
/// Throws VakModelError unless two things that belong together are equally many.
/// Threads: thread safe. Phases: any.
void VakCheckSizes(const char* operation, std::size_t a, std::size_t b);

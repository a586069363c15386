#pragma once

// The terms of a constraint, an objective or a stored expression.
//
// A list of 24-byte records of the environment's term pool, linked in the order of the expression
// that they were made of; a term that joins later comes first, since that touches no other term.
// Nothing else is kept per term, so finding the term of a variable is a walk. One thing makes the
// usual ways of building fast: the list knows an address that none of its variables lies above,
// mostly that of the highest, so a variable that was made after all of them, and therefore mostly
// lies higher, is known to be new without a walk.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "vakenv/core/environment_impl.h"
#include "vakmodel/contract/linear_term.h"
#include "vakmodel/expr.h"
#include "vakmodel/fwd.h"

/// A list of terms in the pool of one environment, which every operation that needs it is given.
///
/// Invariant, which check() proves: `_size` terms from `_first` along `next`; no variable occurs
/// twice and no coefficient is 0, but for a change that is being reported; no variable lies above
/// `_highest`.
///
/// Threads: read-shared, as the object that it belongs to.
/// Phases: open, as long as that object.
/// Gives back: its release function gives the terms back to the environment.
class VakTermListI {
 public:
  VakTermListI() = default;
  VakTermListI(const VakTermListI&) = delete;
  VakTermListI& operator=(const VakTermListI&) = delete;

  /// The oldest term, null for none; the number of terms; whether there are none.
  [[nodiscard]] VakNumLinExprTermI* first() const { return _first; }
  [[nodiscard]] VakInt size() const { return _size; }
  [[nodiscard]] bool empty() const { return _first == nullptr; }

  /// The term of `var`, or null. Constant time for one above all that occurred and prependAll()'s.
  [[nodiscard]] VakNumLinExprTermI* find(const VakNumVarI* var) const {
    return std::less<>()(_highest, var) ? nullptr : findByWalk(var);
  }
  /// Links a term in front; its variable must not occur yet.
  void prepend(VakNumLinExprTermI* term) {
    term->next = _first;
    _first = term;
    if (std::less<>()(_highest, term->var)) _highest = term->var;
    ++_size;
  }
  /// Puts `count` terms in front, linked from `first` to the terms that are there; no variable of
  /// theirs lies above `highest`.
  void prependAll(VakNumLinExprTermI* first, std::int32_t count, const VakNumVarI* highest) {
    _first = first;
    _size += count;
    if (std::less<>()(_highest, highest)) _highest = highest;
  }
  /// Unlinks the first term, which must exist, and returns it.
  VakNumLinExprTermI* takeFirst() { return unlinkAfter(nullptr); }
  /// Unlinks the term behind `before`, or the first one for null, and returns it.
  VakNumLinExprTermI* unlinkAfter(VakNumLinExprTermI* before);
  /// Gives back the terms whose coefficient is 0.
  void dropZeros(VakEnvI* env);
  /// Gives back the first `count` terms, which must be there.
  void cut(VakEnvI* env, VakInt count);
  /// Exchanges the terms of two lists of one environment.
  void swap(VakTermListI& other) noexcept;
  /// Gives all terms back.
  void clear(VakEnvI* env) {
    cut(env, _size);
    _highest = nullptr;
  }
  /// Gives the terms of hidden variables back and tells whether there were any.
  bool removeHidden(VakEnvI* env);

  /// The value at a point.
  [[nodiscard]] VakNum evaluate(const VakModelEvaluatorI& point) const;
  /// Appends the terms to `expr`.
  void addTo(VakExpr& expr) const;
  /// An empty text if the invariant holds and, with `pool`, neither terms nor their variables are
  /// free memory, else what is broken.
  [[nodiscard]] std::string check(const VakMemoryInspection* pool = nullptr) const;

 private:
  [[nodiscard]] VakNumLinExprTermI* findByWalk(const VakNumVarI* var) const;

  VakNumLinExprTermI* _first = nullptr;  ///< Owned, like all behind it; null for no terms.
  const VakNumVarI* _highest = nullptr;  ///< Only compared; its variable may be gone.
  std::int32_t _size = 0;                ///< Number of terms.
};

static_assert(sizeof(VakTermListI) == 24);

/// A list that gives its terms back: terms that are made before it is known that nothing can fail
/// any more, or that are no longer needed.
///
/// Threads: read-shared, as the object that it belongs to.
/// Phases: open, as long as that object.
/// Gives back: the destructor gives the terms back.
struct VakOwnTermsI : VakTermListI {
  explicit VakOwnTermsI(VakEnvI* e) : env(e) {}
  ~VakOwnTermsI() { clear(env); }

  /// Prepends a new term. Throws std::bad_alloc.
  void make(VakNumVarI* var, VakNum coef) { prepend(env->newTerm(var, coef)); }
  /// Prepends new terms for those of `expr`, in their order.
  void makeAll(const VakExpr& expr);

  VakEnvI* env;  ///< Its pool; not owned.
};

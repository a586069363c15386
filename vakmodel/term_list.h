#pragma once

// The terms of a constraint, an objective or a stored expression.
//
// A list of 24-byte records of the environment's term pool, linked in the order in which the terms
// were written. Nothing else is kept per term, so finding the term of a variable is a walk. One
// thing makes the usual ways of building fast: while the addresses of the variables rise along the
// list, which is so as long as terms are added in the order in which their variables were made, a
// variable with a higher address than the last one is known to be new without a walk.

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
/// Invariant, which check() proves: `_size` terms from `_first` along `next` to `_last`; no
/// variable occurs twice and no coefficient is 0; if `_rising`, addresses of variables rise along
/// the list.
class VakTermListI {
 public:
  /// The end of a list.
  struct Mark {
    VakNumLinExprTermI* last = nullptr;
    std::int32_t size = 0;
    bool rising = true;
  };

  VakTermListI() = default;
  VakTermListI(const VakTermListI&) = delete;
  VakTermListI& operator=(const VakTermListI&) = delete;

  [[nodiscard]] VakNumLinExprTermI* first() const { return _first; }
  [[nodiscard]] VakNumLinExprTermI* last() const { return _last; }
  [[nodiscard]] VakInt size() const { return _size; }
  [[nodiscard]] bool empty() const { return _first == nullptr; }

  /// The term of `var`, or null. Constant time when the list shows that there is none.
  [[nodiscard]] VakNumLinExprTermI* find(const VakNumVarI* var) const {
    if (_first == nullptr) return nullptr;
    if (_last->var == var) return _last;
    if (_rising && std::less<>()(_last->var, var)) return nullptr;
    return findByWalk(var);
  }
  /// Links a term that was just made behind the last one; its variable must not occur yet.
  void append(VakNumLinExprTermI* term) {
    if (_first == nullptr) {
      _first = term;
      _rising = true;
    } else {
      _rising = _rising && std::less<>()(_last->var, term->var);
      _last->next = term;
    }
    _last = term;
    ++_size;
  }
  /// Moves all terms of `other` behind the last one; their variables must not occur yet.
  void splice(VakTermListI& other);
  /// Unlinks the first term, which must exist, and returns it with a null link.
  VakNumLinExprTermI* takeFirst();
  /// Unlinks the term behind `before`, or the first one for null, and returns it.
  VakNumLinExprTermI* unlinkAfter(VakNumLinExprTermI* before);
  /// Gives back the terms whose coefficient is 0.
  void dropZeros(VakEnvI* env);
  /// Where the list ends now, for truncate().
  [[nodiscard]] Mark mark() const { return {_last, _size, _rising}; }
  /// Gives back the terms that were appended since mark(); nothing else may have happened
  /// meanwhile.
  void truncate(VakEnvI* env, Mark mark);
  /// Exchanges the terms of two lists of one environment.
  void swap(VakTermListI& other) noexcept;
  /// Gives all terms back.
  void clear(VakEnvI* env);
  /// Gives the terms of hidden variables back and tells whether there were any.
  bool removeHidden(VakEnvI* env);

  /// The value at a point.
  [[nodiscard]] VakNum evaluate(const VakModelEvaluatorI& point) const;
  /// Appends the terms to `expr`.
  void addTo(VakExpr& expr) const;
  /// An empty text if the invariant holds, else what is broken.
  [[nodiscard]] std::string check() const;

 private:
  [[nodiscard]] VakNumLinExprTermI* findByWalk(const VakNumVarI* var) const;

  VakNumLinExprTermI* _first = nullptr;  ///< Owned, like all behind it; null for no terms.
  VakNumLinExprTermI* _last = nullptr;   ///< Null for no terms.
  std::int32_t _size = 0;                ///< Number of terms.
  bool _rising = true;                   ///< True when addresses of variables are known to rise.
};

static_assert(sizeof(VakTermListI) == 24);

/// A list that gives its terms back: terms that are made before it is known that nothing can fail
/// any more, or that are no longer needed.
struct VakOwnTermsI : VakTermListI {
  explicit VakOwnTermsI(VakEnvI* e) : env(e) {}
  ~VakOwnTermsI() { clear(env); }

  /// Appends a new term. Throws std::bad_alloc.
  void make(VakNumVarI* var, VakNum coef) { append(env->newTerm(var, coef)); }
  /// Appends new terms for those of `expr`.
  void makeAll(const VakExpr& expr);

  VakEnvI* env;  ///< Its pool; not owned.
};

#pragma once

// What constraints, objectives and stored expressions have in common: terms that can be read,
// walked over and changed.

#include <cstddef>
#include <iterator>

#include "vakmodel/expr.h"

/// The terms of a linear object in their order, for a range-based loop; each is a VakTerm. Changing
/// the terms invalidates iterators. Walking costs nothing but the walk: no copy is made.
///
/// Threads: read-shared, as the object that is walked.
/// Phases: open, until that object is changed or ends.
class VakTermRange {
 public:
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = VakTerm;
    using difference_type = std::ptrdiff_t;
    using pointer = const VakTerm*;
    using reference = VakTerm;

    Iterator() = default;
    /// At this term; null for the end.
    explicit Iterator(const VakNumLinExprTermI* term) : _term(term) {}
    VakTerm operator*() const;
    Iterator& operator++();
    Iterator operator++(int) {
      const Iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(Iterator a, Iterator b) { return a._term == b._term; }

   private:
    const VakNumLinExprTermI* _term = nullptr;  ///< The present term; null behind the last.
  };

  /// From this term on, which is not owned; null for no terms.
  explicit VakTermRange(const VakNumLinExprTermI* first) : _first(first) {}
  [[nodiscard]] Iterator begin() const { return Iterator(_first); }
  [[nodiscard]] Iterator end() const { return Iterator(); }

 private:
  const VakNumLinExprTermI* _first;  ///< Not owned; null for no terms.
};

/// Handle of a constraint or an objective; see VakExtractable.
///
/// Each variable stands in one term at most, and no coefficient is zero. Wrong use throws and
/// changes nothing: a coefficient that is NaN or infinite (VakModelError), a variable that was
/// taken out of its environment (VakModelError) or belongs to another one (VakModelMismatch).
///
/// When the object is in a model, variables that are new to the model join it. Each change is
/// reported once; when an algorithm refuses it or anything else throws, everything gets its old
/// state back, whoever had accepted is told of that, and the exception passes on.
///
/// Threads: read-shared; in thread-safe mode several threads may also make objects of their own.
/// Phases: open; while a change is told or a solve runs, what is concerned is read only: changing
///     it throws.
/// Gives back: end() takes back what the constructor made; the environment's end takes the rest.
class VakLinear : public VakExtractable {
 public:
  VakLinear() = default;
  explicit VakLinear(VakLinearI* impl);
  [[nodiscard]] VakLinearI* getImpl() const;
  /// The same; throws "VakLinear: Using empty handle" when there is none.
  [[nodiscard]] VakLinearI* checked() const;

  /// The model the object is in, or an empty handle. It is in one at most.
  [[nodiscard]] VakModel getModel() const;

  /// Number of terms, and each of them.
  [[nodiscard]] VakInt getTermCount() const;
  [[nodiscard]] VakTermRange terms() const;
  /// The coefficient of `x`, 0 when it does not occur. Costs a walk over the terms.
  [[nodiscard]] VakNum getCoef(VakNumVar x) const;

  /// Gives `x` this coefficient; 0 takes the term away. Costs a walk over the terms, unless `x` was
  /// made after all variables that are in the terms, which is then noticed.
  void setCoef(VakNumVar x, VakNum coef) const;
  /// Adds `coef` to the coefficient of `x`. Costs as setCoef.
  void addTerm(VakNumVar x, VakNum coef) const;
  /// Gives several variables their coefficients in one change. The spans must be equally long; of a
  /// variable that stands there twice the last coefficient counts. Costs one walk over the terms
  /// and time and memory in the number of variables.
  void setCoefs(std::span<const VakNumVar> vars, std::span<const VakNum> coefs) const;
};

/// One coefficient of a matrix: that of `var` in `linear`.
///
/// Threads: confined; each thread may have its own.
/// Phases: any to hold; open to use, while the objects and memory that it names live.
struct VakCoef {
  VakLinear linear;  ///< Where it is: a constraint, an objective or a stored expression.
  VakNumVar var;     ///< Of which variable.
  VakNum coef = 0;   ///< Its new value; 0 takes the term out.
};

/// Gives all these coefficients in one change, as setCoefs does for a single object. Costs one walk
/// over the terms of each object that occurs, if the coefficients of an object stand together.
void VakSetCoefs(std::span<const VakCoef> coefs);
